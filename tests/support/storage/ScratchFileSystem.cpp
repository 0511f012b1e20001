#include "ScratchFileSystem.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>

#include <sys/mount.h>
#include <unistd.h>

namespace {

const QString fillerName = QStringLiteral("filler");

QByteArray sizeOption(qint64 bytes) {
    return "size=" + QByteArray::number(bytes);
}

} // namespace

// Under the test's own runtime folder when it has one: isolated-run unmounts
// what a crashed test left there.
ScratchFileSystem::ScratchFileSystem(qint64 bytes)
    : m_dir(QDir(qEnvironmentVariable("XDG_RUNTIME_DIR", QDir::tempPath()))
                .filePath(QStringLiteral("scratch-fs-XXXXXX")))
    , m_bytes(bytes) {
    if (geteuid() != 0) {
        m_skipReason = QStringLiteral("mounting a small tmpfs needs root (CI runs as root)");
        return;
    }
    if (!m_dir.isValid()) {
        m_skipReason = QStringLiteral("no temporary folder to mount on");
        return;
    }
    const QByteArray where = QFile::encodeName(m_dir.path());
    if (::mount("tmpfs", where.constData(), "tmpfs", 0, sizeOption(m_bytes).constData()) != 0) {
        m_skipReason =
            QStringLiteral("mount -t tmpfs failed: ") + QString::fromLocal8Bit(strerror(errno));
        return;
    }
    m_mounted = true;
}

ScratchFileSystem::~ScratchFileSystem() {
    if (m_mounted)
        ::umount2(QFile::encodeName(m_dir.path()).constData(), MNT_DETACH);
}

bool ScratchFileSystem::fill() {
    QFile filler(filePath(fillerName));
    if (!filler.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
        return false;
    const QByteArray block(4096, 'x');
    for (qint64 written = 0; written <= m_bytes; written += block.size()) {
        if (filler.write(block) != block.size())
            return true;
    }
    return false; // more room than the file system should have
}

bool ScratchFileSystem::makeReadOnly() {
    const QByteArray where = QFile::encodeName(m_dir.path());
    return m_mounted && ::mount(nullptr, where.constData(), nullptr, MS_REMOUNT | MS_RDONLY,
                                sizeOption(m_bytes).constData()) == 0;
}

QStringList ScratchFileSystem::entries() const {
    QStringList names = QDir(path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                               QDir::NoDotAndDotDot);
    names.removeAll(fillerName);
    return names;
}
