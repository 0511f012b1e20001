#include "snippets/AbbreviationIndex.h"

#include "snippets/Graphemes.h"

#include <algorithm>

namespace {

// Longer abbreviations can never fit into the buffer; leaving them out keeps
// them from ever matching.
constexpr qsizetype maximumCharacters = 64;

} // namespace

AbbreviationIndex::AbbreviationIndex(const QList<Snippet>& snippets) {
    for (qsizetype i = 0; i < snippets.size(); ++i) {
        const QString& abbreviation = snippets.at(i).abbreviation;
        if (abbreviation.isEmpty())
            continue;
        const qsizetype characters = Graphemes::count(abbreviation);
        if (characters > maximumCharacters)
            continue;
        m_byLastUnit[abbreviation.back().unicode()].append(Entry{abbreviation, characters, i});
    }
    for (QList<Entry>& entries : m_byLastUnit) {
        std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
            return a.characters > b.characters;
        });
    }
}

qsizetype AbbreviationIndex::find(const QString& typed) const {
    if (typed.isEmpty())
        return -1;
    const auto group = m_byLastUnit.constFind(typed.back().unicode());
    if (group == m_byLastUnit.constEnd())
        return -1;
    for (const Entry& entry : *group) {
        if (typed.endsWith(entry.abbreviation) &&
            Graphemes::isBoundary(typed, typed.size() - entry.abbreviation.size()))
            return entry.position;
    }
    return -1;
}
