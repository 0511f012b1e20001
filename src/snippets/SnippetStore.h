#pragma once

#include "snippets/Snippet.h"

#include <QList>
#include <QObject>

// The user's snippets, kept in "snippets.json". Every assignment notifies
// observers and saves the whole file at once.
class SnippetStore : public QObject {
    Q_OBJECT
public:
    // Reads the file once. A missing or invalid file gives the two starter
    // snippets, and the file is left as it is until the first change.
    explicit SnippetStore(QString filePath, QObject* parent = nullptr);

    // The instance for "snippets.json" in the data folder, created on first use.
    static SnippetStore& shared();

    // ";sig" and ";addr", each with a fresh id.
    static QList<Snippet> starters();

    const QList<Snippet>& snippets() const { return m_snippets; }
    void setSnippets(const QList<Snippet>& snippets);

    // Saves the list as it is (the settings window calls it after each edit).
    void save();

    struct MergeResult {
        int added = 0;
        int updated = 0;
        bool operator==(const MergeResult&) const = default;
    };
    // Merges an imported list: an abbreviation already present (first match,
    // exact) takes the imported expansion and counts as updated, also when
    // nothing changed; a new one is appended with a new id; an empty one is
    // skipped. Assigns and saves once.
    MergeResult merge(const QList<Snippet>& imported);

    QString filePath() const { return m_filePath; }

Q_SIGNALS:
    // Emitted on every assignment, also when nothing changed.
    void snippetsChanged();

private:
    QString m_filePath;
    QList<Snippet> m_snippets;
};
