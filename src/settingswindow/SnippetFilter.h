#pragma once

#include "snippets/Snippet.h"

#include <QList>
#include <QLocale>
#include <QString>

// The search of the snippet list.
namespace SnippetFilter {

// True when the abbreviation or the expansion contains `query`, compared
// without regard to case under the rules of `locale` (so that, for example,
// "STRASSE" finds "Straße" and, in Turkish, "İ" finds "i").
bool matches(const Snippet& snippet, const QString& query, const QLocale& locale);

// The snippets to list for `query`, in list order: all of them when the query
// is empty or only white space, otherwise those that match the trimmed query.
QList<Snippet> filtered(const QList<Snippet>& snippets, const QString& query,
                        const QLocale& locale = QLocale());

} // namespace SnippetFilter
