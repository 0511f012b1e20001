#pragma once

#include <QString>
#include <QTemporaryDir>

// A tiny tmpfs of its own, mounted on a fresh folder for the life of the
// object, so that a test can make a disk really full or really read-only
// (root writes into folders whose permission bits forbid it, so those are no
// test). Mounting needs root: `skipReason()` says why it could not, for QSKIP.
// Unmounted in the destructor, whatever way the test leaves.
class ScratchFileSystem {
public:
    explicit ScratchFileSystem(qint64 bytes = 64 * 1024);
    ~ScratchFileSystem();
    ScratchFileSystem(const ScratchFileSystem&) = delete;
    ScratchFileSystem& operator=(const ScratchFileSystem&) = delete;

    bool isMounted() const { return m_mounted; }
    // Empty when mounted; otherwise the reason, for QSKIP.
    QString skipReason() const { return m_skipReason; }

    QString path() const { return m_dir.path(); }
    QString filePath(const QString& name) const { return m_dir.filePath(name); }

    // Writes a filler file until the file system has no space left. True
    // when it is then full.
    bool fill();
    // Mounts the file system again, read-only. True when it worked.
    bool makeReadOnly();
    // The names in the mounted folder, hidden ones too, without the filler.
    QStringList entries() const;

private:
    QTemporaryDir m_dir;
    qint64 m_bytes;
    bool m_mounted = false;
    QString m_skipReason;
};
