#include "platform/linux/ApplicationRulesFile.h"

#include "storage/JsonFile.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeySequence>

#include <cstdio>

ApplicationRulesFile::ApplicationRulesFile(QString path)
    : m_path(std::move(path)) {
    reloadIfChanged();
}

const ApplicationRulesFile::Rule* ApplicationRulesFile::find(const QString& instance,
                                                             const QString& windowClass) {
    reloadIfChanged();
    for (const Rule& rule : std::as_const(m_rules)) {
        if ((!windowClass.isEmpty() && rule.match.match(windowClass).hasMatch()) ||
            (!instance.isEmpty() && rule.match.match(instance).hasMatch()))
            return &rule;
    }
    return nullptr;
}

void ApplicationRulesFile::reloadIfChanged() {
    // Read whole each time: it is a few hundred bytes, looked at once per
    // copy or paste, and a time stamp can miss a quick edit.
    // Through the data files' reader: a FIFO or a link to a device under
    // this name must not block or fill memory on every keystroke.
    const bool exists = QFileInfo::exists(m_path) || QFileInfo(m_path).isSymLink();
    QByteArray content;
    QString unreadable;
    if (exists) {
        if (const std::optional<QByteArray> bytes = JsonFile::read(m_path))
            content = *bytes;
        else
            unreadable = QStringLiteral("it is not a readable regular file of at most %1 MB")
                             .arg(JsonFile::maxReadSize / (1024 * 1024));
    }
    if (m_read && exists == m_existed && content == m_content && unreadable == m_unreadable)
        return;
    m_read = true;
    m_existed = exists;
    m_content = content;
    m_unreadable = unreadable;
    m_rules.clear();
    m_error.clear();
    if (!exists)
        return;

    Parsed parsed;
    if (!unreadable.isEmpty())
        parsed.error = unreadable;
    else
        parsed = parse(content);
    if (!parsed.error.isEmpty()) {
        m_error = QStringLiteral("Wendle: %1 is ignored: %2. Until it is fixed, only the "
                                 "built-in keystroke rules apply.")
                      .arg(m_path, parsed.error);
        std::fprintf(stderr, "%s\n", qPrintable(m_error));
        std::fflush(stderr);
        return;
    }
    m_rules = parsed.rules;
}

bool ApplicationRulesFile::parseKeystroke(const QString& text,
                                          std::optional<Keystroke>* keystroke) {
    const QString trimmed = text.trimmed();
    if (trimmed.compare(QLatin1StringView("none"), Qt::CaseInsensitive) == 0) {
        keystroke->reset();
        return true;
    }
    const QKeySequence sequence = QKeySequence::fromString(trimmed, QKeySequence::PortableText);
    if (trimmed.isEmpty() || sequence.count() != 1)
        return false;
    const QKeyCombination combination = sequence[0];
    if (combination.key() == Qt::Key_unknown || combination.key() == 0)
        return false;
    *keystroke = Keystroke{combination.key(), combination.keyboardModifiers()};
    return true;
}

ApplicationRulesFile::Parsed ApplicationRulesFile::parse(const QByteArray& json) {
    Parsed result;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError) {
        result.error = QStringLiteral("it is not valid JSON (%1 at character %2)")
                           .arg(error.errorString())
                           .arg(error.offset);
        return result;
    }
    if (!document.isArray()) {
        result.error = QStringLiteral("it must hold a list of rules: [ {\"class\": ..., "
                                      "\"copy\": ..., \"paste\": ...}, ... ]");
        return result;
    }
    const QJsonArray list = document.array();
    for (qsizetype i = 0; i < list.size(); ++i) {
        const QString where = QStringLiteral("rule %1").arg(i + 1);
        const auto fail = [&](const QString& what) {
            result.rules.clear();
            result.error = where + QStringLiteral(": ") + what;
            return result;
        };
        if (!list.at(i).isObject())
            return fail(QStringLiteral("it is not an object"));
        const QJsonObject object = list.at(i).toObject();
        for (const QString& field : object.keys()) {
            if (field != QLatin1StringView("class") && field != QLatin1StringView("copy") &&
                field != QLatin1StringView("paste"))
                return fail(QStringLiteral("unknown field \"%1\" (a rule has \"class\", "
                                           "\"copy\" and \"paste\")")
                                .arg(field));
        }
        const QString pattern = object.value(QStringLiteral("class")).toString();
        if (pattern.trimmed().isEmpty())
            return fail(QStringLiteral("\"class\" must be a window class pattern such as "
                                       "\"MyTerm*\""));
        Rule rule;
        rule.pattern = pattern;
        // Shell-style: * is any run of characters, ? any one character.
        QString expression = QRegularExpression::escape(pattern);
        expression.replace(QStringLiteral("\\*"), QStringLiteral(".*"));
        expression.replace(QStringLiteral("\\?"), QStringLiteral("."));
        rule.match = QRegularExpression(QStringLiteral("\\A(?:%1)\\z").arg(expression),
                                        QRegularExpression::CaseInsensitiveOption);
        for (const char* name : {"copy", "paste"}) {
            const QString field = QLatin1StringView(name);
            const QJsonValue value = object.value(field);
            if (!value.isString())
                return fail(QStringLiteral("\"%1\" must be a keystroke such as "
                                           "\"Ctrl+Shift+%2\", or \"none\"")
                                .arg(field, field == QLatin1StringView("copy") ? "C" : "V"));
            if (!parseKeystroke(value.toString(),
                                field == QLatin1StringView("copy") ? &rule.copy : &rule.paste))
                return fail(QStringLiteral("\"%1\" is not a keystroke: \"%2\" (write it as "
                                           "\"Ctrl+Shift+C\", or \"none\")")
                                .arg(field, value.toString()));
        }
        result.rules.append(rule);
    }
    return result;
}
