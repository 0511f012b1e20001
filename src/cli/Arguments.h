#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// A subcommand's arguments: long options ("--name value", "--name=value" or,
// for switches, "--name"), then positional arguments; "--" ends the options.
class Arguments {
public:
    struct Option {
        QString name; // without the dashes
        bool takesValue;
    };

    enum class Positional { none, allowed };

    // Parses `arguments`; on a mistake (including a positional argument where
    // `positional` is none), error() says what is wrong.
    Arguments(const QStringList& arguments, const QList<Option>& options,
              Positional positional = Positional::allowed);

    bool ok() const { return m_error.isEmpty(); }
    QString error() const { return m_error; }

    bool has(const QString& name) const { return m_values.contains(name); }
    // The value of the option's last occurrence.
    std::optional<QString> value(const QString& name) const;
    const QStringList& positional() const { return m_positional; }

private:
    QHash<QString, QString> m_values;
    QStringList m_positional;
    QString m_error;
};
