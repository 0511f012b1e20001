#include "settingswindow/SnippetTransfer.h"

#include "snippets/SnippetStore.h"
#include "storage/JsonFile.h"
#include "storage/JsonList.h"

#include <QSaveFile>

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
    // QSaveFile writes beside the target and renames over it, like the data
    // files, and keeps the system's reason when something fails.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return QStringLiteral("Export failed: ") + file.errorString();
    const QByteArray bytes = JsonList::encode(snippets);
    if (file.write(bytes) != bytes.size()) {
        const QString reason = file.errorString();
        file.cancelWriting();
        return QStringLiteral("Export failed: ") + reason;
    }
    if (!file.commit())
        return QStringLiteral("Export failed: ") + file.errorString();
    return QStringLiteral("Exported %1 snippet(s).").arg(snippets.size());
}

} // namespace SnippetTransfer
