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

// The whole file, or nothing when it cannot be read.
std::optional<QByteArray> read(const QString& path);

// Writes `bytes` to a temporary file beside `path` and renames it over
// `path`. False when any step fails; `path` is then untouched.
bool writeAtomically(const QString& path, const QByteArray& bytes);

} // namespace JsonFile
