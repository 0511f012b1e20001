#include "snippets/Graphemes.h"

#include <QTextBoundaryFinder>

namespace Graphemes {

namespace {

// Plain ASCII without control characters other than the line breaks is one
// character per UTF-16 unit except for CR LF, which is one character; this
// saves the boundary finder on what people type most.
bool isSimple(const QString& text) {
    for (const QChar c : text) {
        if (c.unicode() >= 0x7F || c.unicode() == u'\r')
            return false;
    }
    return true;
}

} // namespace

qsizetype count(const QString& text) {
    if (isSimple(text))
        return text.size();
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype characters = 0;
    while (finder.toNextBoundary() != -1)
        ++characters;
    return characters;
}

bool isBoundary(const QString& text, qsizetype position) {
    if (position <= 0 || position >= text.size())
        return true;
    if (isSimple(text))
        return true;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.setPosition(position);
    return finder.isAtBoundary();
}

void removeLast(QString& text) {
    if (text.isEmpty())
        return;
    if (isSimple(text)) {
        text.chop(1);
        return;
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.toEnd();
    const qsizetype start = finder.toPreviousBoundary();
    text.truncate(qMax<qsizetype>(start, 0));
}

void keepLast(QString& text, qsizetype limit) {
    // A character is at least one UTF-16 unit, so a string this short
    // cannot hold more than `limit` characters.
    if (text.size() <= limit)
        return;
    if (isSimple(text)) {
        text.remove(0, text.size() - limit);
        return;
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.toEnd();
    qsizetype start = text.size();
    for (qsizetype kept = 0; kept < limit; ++kept) {
        const qsizetype previous = finder.toPreviousBoundary();
        if (previous < 0)
            break;
        start = previous;
    }
    text.remove(0, start);
}

} // namespace Graphemes
