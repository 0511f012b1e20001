#pragma once

#include "snippets/Snippet.h"

#include <QHash>
#include <QList>
#include <QString>

// The snippets' abbreviations arranged for the key watcher: grouped by their
// last UTF-16 unit, so that a key press looks only at the abbreviations that
// can end with what was just typed, and within a group ordered so that the
// first one found is the winner (most characters first, then list order).
class AbbreviationIndex {
public:
    AbbreviationIndex() = default;
    explicit AbbreviationIndex(const QList<Snippet>& snippets);

    // The position in the list of the snippet whose abbreviation `typed`
    // ends with and that wins over any other that does; -1 when none.
    qsizetype find(const QString& typed) const;

private:
    struct Entry {
        QString abbreviation;
        qsizetype characters = 0;
        qsizetype position = 0;
    };
    QHash<char16_t, QList<Entry>> m_byLastUnit;
};
