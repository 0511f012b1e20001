#include "platform/linux/XdgAutostart.h"

#include "storage/JsonFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

// An Exec value's argument, quoted as desktop entries want it when it holds
// anything a launcher would split or expand. A '%' would start a field code,
// and the value is unescaped as a string before it is split into arguments,
// so the quoting's own backslashes are written twice.
QString quotedArgument(const QString& argument) {
    static const QString special = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    bool plain = !argument.isEmpty();
    for (const QChar c : argument)
        plain = plain && !special.contains(c);
    if (plain)
        return QString(argument).replace(u'%', QStringLiteral("%%"));
    QString quoted = QStringLiteral("\"");
    for (const QChar c : argument) {
        if (c == u'"' || c == u'`' || c == u'$')
            quoted += QStringLiteral("\\\\") + c;
        else if (c == u'\\')
            quoted += QStringLiteral("\\\\\\\\");
        else
            quoted += c == u'%' ? QStringLiteral("%%") : QString(c);
    }
    return quoted + u'"';
}

// An installed Wendle lives in <prefix>/bin beside <prefix>/share, where its
// own desktop entry is; a build folder has neither.
bool isInstalledAt(const QString& executable) {
    const QFileInfo program(executable);
    const QDir bin = program.absoluteDir();
    if (bin.dirName() != u"bin")
        return false;
    return QFileInfo::exists(
        bin.absoluteFilePath(QStringLiteral("../share/applications/app.wendle.Wendle.desktop")));
}

} // namespace

XdgAutostart::XdgAutostart(QString executable)
    : m_executable(executable.isEmpty() ? QCoreApplication::applicationFilePath()
                                        : std::move(executable)) {}

QString XdgAutostart::entryPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/autostart/app.wendle.Wendle.desktop");
}

QByteArray XdgAutostart::entry(const QString& executable) {
    // A plain entry, no "Hidden" or "X-GNOME-Autostart-enabled=false": its
    // presence is the switch, so removing it is the way to turn it off.
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=Wendle\n"
                          "Comment=Rewrite selected text with a language model, expand snippets\n"
                          "Exec=%1\n"
                          "Icon=wendle\n"
                          "Terminal=false\n"
                          "X-GNOME-Autostart-enabled=true\n")
        .arg(quotedArgument(executable))
        .toUtf8();
}

bool XdgAutostart::isAvailable() {
    return isInstalledAt(m_executable);
}

bool XdgAutostart::isEnabled() {
    return QFileInfo(entryPath()).isFile();
}

bool XdgAutostart::setEnabled(bool enabled, QString* error) {
    const QString path = entryPath();
    auto fail = [&](const QString& reason) {
        if (error)
            *error = reason;
        return false;
    };
    if (!enabled) {
        if (!QFileInfo::exists(path) && !QFileInfo(path).isSymLink())
            return true;
        QFile file(path);
        return file.remove() ? true : fail(file.errorString());
    }
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return fail(QStringLiteral("%1 cannot be created").arg(QFileInfo(path).absolutePath()));
    QString reason;
    return JsonFile::writeAtomically(path, entry(m_executable), &reason) ? true : fail(reason);
}
