#include "settingswindow/SnippetFilter.h"

namespace {

bool containsIgnoringCase(const QString& text, const QString& query, const QLocale& locale) {
    // Upper case folds "ß" to "SS"; lower case keeps the final sigma apart.
    // Between them they cover what a case-insensitive comparison treats as
    // equal, in the locale's own case rules.
    return locale.toUpper(text).contains(locale.toUpper(query)) ||
           locale.toLower(text).contains(locale.toLower(query));
}

} // namespace

namespace SnippetFilter {

bool matches(const Snippet& snippet, const QString& query, const QLocale& locale) {
    return containsIgnoringCase(snippet.abbreviation, query, locale) ||
           containsIgnoringCase(snippet.expansion, query, locale);
}

QList<Snippet> filtered(const QList<Snippet>& snippets, const QString& query,
                        const QLocale& locale) {
    const QString trimmed = query.trimmed();
    if (trimmed.isEmpty())
        return snippets;
    QList<Snippet> shown;
    for (const Snippet& snippet : snippets) {
        if (matches(snippet, trimmed, locale))
            shown.append(snippet);
    }
    return shown;
}

} // namespace SnippetFilter
