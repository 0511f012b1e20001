#pragma once

#include "snippets/Snippet.h"

#include <QList>
#include <QString>

class SnippetStore;

// Importing and exporting snippet files, in the same JSON format as the
// snippets file itself. Each returns the line the Snippets tab shows.
namespace SnippetTransfer {

// Reads `path` as a JSON array of snippets and merges it into `store`. A file
// that cannot be read, is not a regular file, is too large
// (JsonFile::maxReadSize) or is not such an array changes nothing.
QString importFile(SnippetStore& store, const QString& path);

// Writes all of `snippets` to `path`, replacing it atomically; on failure
// says why and leaves `path` as it was.
QString exportFile(const QList<Snippet>& snippets, const QString& path);

} // namespace SnippetTransfer
