#include "actions/WendleAction.h"

#include "storage/UuidText.h"

#include <QJsonValue>

namespace {

const QString tonePlaceholder = QStringLiteral("{tone}");
const QString languagePlaceholder = QStringLiteral("{language}");

} // namespace

QString WendleAction::resolvedInstruction(const QString& tone, const QString& language) const {
    switch (kind) {
    case Kind::plain:
        return instruction;
    case Kind::tone:
        if (instruction.contains(tonePlaceholder))
            return QString(instruction).replace(tonePlaceholder, tone);
        return instruction + QStringLiteral(" Use a ") + tone.toLower() + QStringLiteral(" tone.");
    case Kind::translate:
        // The language keeps its capitals here, unlike the tone above.
        if (instruction.contains(languagePlaceholder))
            return QString(instruction).replace(languagePlaceholder, language);
        return instruction + QStringLiteral(" Translate the text into ") + language +
               QStringLiteral(".");
    }
    return instruction;
}

const QList<WendleAction>& WendleAction::defaults() {
    static const QList<WendleAction> builtIn = [] {
        auto make = [](const char* name, Kind kind, const char* instruction) {
            return WendleAction{QUuid::createUuid(), QString::fromUtf8(name),
                                QString::fromUtf8(instruction), kind};
        };
        return QList<WendleAction>{
            make("Fix grammar", Kind::plain,
                 "Fix all spelling, grammar and punctuation errors. Keep the original meaning, "
                 "tone and wording as much as possible."),
            make("Shorten", Kind::plain,
                 "Make the text significantly shorter and more concise while keeping the key "
                 "meaning."),
            make("Expand", Kind::plain,
                 "Expand the text with more detail and fuller sentences, keeping the same meaning "
                 "and voice."),
            make("Change tone", Kind::tone,
                 "Rewrite the text in a {tone} tone. Keep the meaning the same."),
            make("Translate", Kind::translate, "Translate the text into {language}."),
            make("Summarize", Kind::plain,
                 "Summarize the text briefly, keeping only the most important points."),
            make("Bullet points", Kind::plain,
                 "Convert the text into concise bullet points, one idea per bullet."),
        };
    }();
    return builtIn;
}

QJsonObject WendleAction::toJson() const {
    return QJsonObject{
        {QStringLiteral("id"), UuidText::format(id)},
        {QStringLiteral("name"), name},
        {QStringLiteral("instruction"), instruction},
        {QStringLiteral("kind"), WendleActionKind::rawValue(kind)},
    };
}

std::optional<WendleAction> WendleAction::fromJson(const QJsonValue& json) {
    if (!json.isObject())
        return std::nullopt;
    const QJsonObject object = json.toObject();
    const QJsonValue id = object.value(QStringLiteral("id"));
    const QJsonValue name = object.value(QStringLiteral("name"));
    const QJsonValue instruction = object.value(QStringLiteral("instruction"));
    const QJsonValue kind = object.value(QStringLiteral("kind"));
    if (!id.isString() || !name.isString() || !instruction.isString() || !kind.isString())
        return std::nullopt;
    const auto uuid = UuidText::parse(id.toString());
    const auto parsedKind = WendleActionKind::fromRawValue(kind.toString());
    if (!uuid || !parsedKind)
        return std::nullopt;
    return WendleAction{*uuid, name.toString(), instruction.toString(), *parsedKind};
}

namespace WendleActionKind {

const QList<WendleAction::Kind>& allCases() {
    static const QList<WendleAction::Kind> cases{
        WendleAction::Kind::plain, WendleAction::Kind::tone, WendleAction::Kind::translate};
    return cases;
}

QString rawValue(WendleAction::Kind kind) {
    switch (kind) {
    case WendleAction::Kind::plain:
        return QStringLiteral("plain");
    case WendleAction::Kind::tone:
        return QStringLiteral("tone");
    case WendleAction::Kind::translate:
        return QStringLiteral("translate");
    }
    return QStringLiteral("plain");
}

std::optional<WendleAction::Kind> fromRawValue(const QString& raw) {
    for (const WendleAction::Kind kind : allCases()) {
        if (rawValue(kind) == raw)
            return kind;
    }
    return std::nullopt;
}

} // namespace WendleActionKind

namespace Options {

const QStringList& tones() {
    static const QStringList list{QStringLiteral("Professional"), QStringLiteral("Friendly"),
                                  QStringLiteral("Casual")};
    return list;
}

const QStringList& languages() {
    static const QStringList list{
        QStringLiteral("English"),  QStringLiteral("Spanish"),
        QStringLiteral("French"),   QStringLiteral("German"),
        QStringLiteral("Italian"),  QStringLiteral("Portuguese"),
        QStringLiteral("Dutch"),    QStringLiteral("Swedish"),
        QStringLiteral("Polish"),   QStringLiteral("Russian"),
        QStringLiteral("Turkish"),  QStringLiteral("Arabic"),
        QStringLiteral("Hindi"),    QStringLiteral("Chinese (Simplified)"),
        QStringLiteral("Japanese"), QStringLiteral("Korean"),
    };
    return list;
}

} // namespace Options
