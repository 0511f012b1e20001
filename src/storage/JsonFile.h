#pragma once

#include <QByteArray>
#include <QJsonValue>
#include <QString>

#include <optional>

// The one JSON layout Wendle writes, identical on every platform: two-space
// indentation, " : " between key and value, keys sorted, "/" escaped as "\/",
// non-ASCII text as UTF-8, no trailing newline. Files are replaced atomically,
// so a reader never sees half a file.
namespace JsonFile {

QByteArray encode(const QJsonValue& value);

// The largest file read: far above any real list (a thousand long snippets
// take well under a megabyte), low enough that no file can exhaust memory.
inline constexpr qint64 maxReadSize = 16 * 1024 * 1024;

// The whole file, or nothing when it cannot be read, is larger than
// maxReadSize or is not a regular file (a FIFO would block the reader, a
// device such as /dev/zero never ends). Symbolic links to regular files are
// followed.
std::optional<QByteArray> read(const QString& path);

// Writes `bytes` to a temporary file beside `path`, checks that every byte
// was written and synced to the disk, and only then renames it over `path`.
// On failure returns false with the system's reason in `error`; `path` is
// then untouched and no temporary file is left. A `path` that is, or links
// to, something other than a regular file is refused.
bool writeAtomically(const QString& path, const QByteArray& bytes, QString* error = nullptr);

// Saving one of Wendle's own data files: creates the file's folder first
// (the user may have deleted it while Wendle runs), and replaces an entry of
// that name that is not a regular file (a FIFO, a link to a device) the way a
// corrupt file is replaced. A folder of that name is left alone.
bool writeDataFile(const QString& path, const QByteArray& bytes);

} // namespace JsonFile
