#include "cli/Arguments.h"

Arguments::Arguments(const QStringList& arguments, const QList<Option>& options,
                     Positional positional) {
    bool optionsEnded = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (optionsEnded || !argument.startsWith(u'-') || argument == u"-") {
            m_positional.append(argument);
            continue;
        }
        if (argument == u"--") {
            optionsEnded = true;
            continue;
        }
        if (!argument.startsWith(u"--")) {
            m_error = u"unknown option '" % argument % u'\'';
            return;
        }
        const qsizetype equals = argument.indexOf(u'=');
        const QString name = argument.mid(2, equals < 0 ? -1 : equals - 2);
        const auto option = std::find_if(options.begin(), options.end(),
                                         [&](const Option& o) { return o.name == name; });
        if (option == options.end()) {
            m_error = u"unknown option '--" % name % u'\'';
            return;
        }
        if (!option->takesValue) {
            if (equals >= 0) {
                m_error = u"option '--" % name % u"' takes no value";
                return;
            }
            m_values.insert(name, QString());
            continue;
        }
        if (equals >= 0) {
            m_values.insert(name, argument.mid(equals + 1));
        } else if (i + 1 < arguments.size()) {
            m_values.insert(name, arguments[++i]);
        } else {
            m_error = u"option '--" % name % u"' needs a value";
            return;
        }
    }
    if (positional == Positional::none && !m_positional.isEmpty())
        m_error = u"unexpected argument '" % m_positional.first() % u'\'';
}

std::optional<QString> Arguments::value(const QString& name) const {
    const auto found = m_values.constFind(name);
    if (found == m_values.constEnd())
        return std::nullopt;
    return *found;
}
