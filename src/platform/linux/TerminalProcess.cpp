#include "platform/linux/TerminalProcess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

namespace TerminalProcess {

namespace {

// Unix 98 pseudo-terminal slaves have the major numbers 136 to 143.
bool isPseudoTerminal(quint64 ttyNumber, quint32* index) {
    const quint32 major = (ttyNumber >> 8) & 0xfff;
    const quint32 minor = (ttyNumber & 0xff) | ((ttyNumber >> 12) & 0xfff00);
    if (major < 136 || major > 143)
        return false;
    *index = (major - 136) * 256 + minor;
    return true;
}

// The slave numbers of the pseudo-terminal masters the process holds.
QSet<quint32> masters(qint64 pid) {
    QSet<quint32> found;
    const QString fds = QStringLiteral("/proc/%1/fd").arg(pid);
    const QStringList entries = QDir(fds).entryList(QDir::Files | QDir::System);
    for (const QString& fd : entries) {
        const QString target = QFile::symLinkTarget(fds + QLatin1Char('/') + fd);
        if (target != QLatin1StringView("/dev/ptmx") &&
            target != QLatin1StringView("/dev/pts/ptmx"))
            continue;
        QFile info(QStringLiteral("/proc/%1/fdinfo/%2").arg(pid).arg(fd));
        if (!info.open(QIODevice::ReadOnly))
            continue;
        bool indexed = false;
        for (const QByteArray& line : info.readAll().split('\n')) {
            if (line.startsWith("tty-index:")) {
                found.insert(line.mid(10).trimmed().toUInt());
                indexed = true;
            }
        }
        // Kernels before 4.19 do not say which terminal: any will do.
        if (!indexed)
            found.insert(UINT_MAX);
    }
    return found;
}

} // namespace

bool runsTerminal(qint64 pid) {
    if (pid <= 0)
        return false;
    const QSet<quint32> held = masters(pid);
    if (held.isEmpty())
        return false;
    // A child whose controlling terminal is one of those.
    const QStringList processes = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString& name : processes) {
        bool number = false;
        name.toLongLong(&number);
        if (!number)
            continue;
        QFile stat(QStringLiteral("/proc/%1/stat").arg(name));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        // "pid (comm) state ppid pgrp session tty_nr ...": comm may hold
        // spaces and parentheses, so count from the last ')'.
        const QByteArray line = stat.readAll();
        const qsizetype close = line.lastIndexOf(')');
        if (close < 0)
            continue;
        const QList<QByteArray> fields = line.mid(close + 2).split(' ');
        if (fields.size() < 5 || fields.at(1).toLongLong() != pid)
            continue;
        quint32 index = 0;
        if (isPseudoTerminal(fields.at(4).toULongLong(), &index) &&
            (held.contains(index) || held.contains(UINT_MAX)))
            return true;
    }
    return false;
}

QString programName(qint64 pid) {
    if (pid <= 0)
        return {};
    const QString executable = QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(pid));
    return executable.isEmpty() ? QString() : QFileInfo(executable).fileName();
}

} // namespace TerminalProcess
