#include "settingswindow/SnippetTransfer.h"

#include "snippets/SnippetStore.h"
#include "storage/JsonFile.h"
#include "storage/JsonList.h"

namespace SnippetTransfer {

QString importFile(SnippetStore& store, const QString& path) {
    const std::optional<QByteArray> bytes = JsonFile::read(path);
    const std::optional<QList<Snippet>> imported =
        bytes ? JsonList::decode<Snippet>(*bytes) : std::nullopt;
    if (!imported)
        return QStringLiteral("Import failed: the file is not a valid snippets JSON list.");
    const SnippetStore::MergeResult result = store.merge(*imported);
    return QStringLiteral("Imported %1 new and updated %2 existing snippet(s).")
        .arg(result.added)
        .arg(result.updated);
}

QString exportFile(const QList<Snippet>& snippets, const QString& path) {
    // Replaced atomically like the data files: a failed export leaves no
    // truncated file and an older file of that name as it was.
    QString reason;
    if (!JsonFile::writeAtomically(path, JsonList::encode(snippets), &reason))
        return QStringLiteral("Export failed: ") + reason;
    return QStringLiteral("Exported %1 snippet(s).").arg(snippets.size());
}

} // namespace SnippetTransfer
