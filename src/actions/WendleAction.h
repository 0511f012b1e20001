#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QUuid>

#include <optional>

// One user-editable instruction the palette offers for the captured text
// ("Fix grammar", "Shorten", ...).
struct WendleAction {
    // Which option picker the palette shows; also the order of the editor's
    // type picker.
    enum class Kind {
        plain,     // no option; the instruction is used as it stands
        tone,      // the tone list; "{tone}" is filled in
        translate, // the language list; "{language}" is filled in
    };

    QUuid id;
    QString name;
    QString instruction;
    Kind kind = Kind::plain;

    bool operator==(const WendleAction&) const = default;

    // The instruction sent to the model, given the palette's current tone and
    // language (the one that does not apply is ignored).
    QString resolvedInstruction(const QString& tone, const QString& language) const;

    // The built-in set of seven, computed once per process: their ids are
    // fresh on every launch but stable within one.
    static const QList<WendleAction>& defaults();

    QJsonObject toJson() const;
    // All four keys are required; a wrong type, a malformed id or an unknown
    // kind fails the whole element.
    static std::optional<WendleAction> fromJson(const QJsonValue& json);
};

namespace WendleActionKind {
const QList<WendleAction::Kind>& allCases();
QString rawValue(WendleAction::Kind kind);
std::optional<WendleAction::Kind> fromRawValue(const QString& raw);
} // namespace WendleActionKind

// The fixed option lists of the tone and translate actions.
namespace Options {
const QStringList& tones();     // "Professional", "Friendly", "Casual"
const QStringList& languages(); // 16 languages, "English" first
inline const QString defaultTone = QStringLiteral("Professional");
inline const QString defaultLanguage = QStringLiteral("Spanish");
} // namespace Options
