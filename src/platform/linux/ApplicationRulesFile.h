#pragma once

#include <QByteArray>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <Qt>

#include <optional>

// The user's own keystroke rules, in "keystrokes.json" in the data folder:
// for windows whose WM_CLASS class or instance name matches a pattern, the
// keystroke that copies the selection and the one that pastes, or none.
//
//     [
//       {"class": "MyTerm*", "copy": "Ctrl+Shift+C", "paste": "Ctrl+Shift+V"},
//       {"class": "notes", "copy": "none", "paste": "none"}
//     ]
//
// Patterns take * and ?, case-insensitively; the first rule that matches
// wins, before any built-in rule. A file that cannot be read as such a list
// is ignored as a whole, with a message on standard error saying why.
// Read again whenever it changes.
class ApplicationRulesFile {
public:
    struct Keystroke {
        Qt::Key key = Qt::Key_unknown;
        Qt::KeyboardModifiers modifiers;
        bool operator==(const Keystroke&) const = default;
    };
    struct Rule {
        QString pattern;
        QRegularExpression match;
        std::optional<Keystroke> copy; // nothing: "none"
        std::optional<Keystroke> paste;
    };

    explicit ApplicationRulesFile(QString path);

    // The first rule for a window with these WM_CLASS names, or null.
    const Rule* find(const QString& instance, const QString& windowClass);

    // The rules in `json`, or an error message saying what is wrong.
    struct Parsed {
        QList<Rule> rules;
        QString error;
    };
    static Parsed parse(const QByteArray& json);
    // "Ctrl+Shift+C", "Shift+Insert" into `keystroke`, or nothing for
    // "none"; false when `text` is neither.
    static bool parseKeystroke(const QString& text, std::optional<Keystroke>* keystroke);

    QString path() const { return m_path; }
    // The last reading's complaint, empty when the file was fine or absent.
    QString error() const { return m_error; }

private:
    void reloadIfChanged();

    QString m_path;
    QList<Rule> m_rules;
    QString m_error;
    bool m_read = false;
    bool m_existed = false;
    QByteArray m_content;
    QString m_unreadable;
};
