#pragma once

#include <QString>

// User-perceived characters (extended grapheme clusters): what the snippet
// buffer counts, what a backspace removes and how many backspaces erase an
// abbreviation. "é" typed as e + combining accent is one character, and so is
// an emoji with its modifiers.
namespace Graphemes {

qsizetype count(const QString& text);
// True when `position` (in UTF-16 units) starts a new character of `text`.
bool isBoundary(const QString& text, qsizetype position);
// Removes the last character; nothing when `text` is empty.
void removeLast(QString& text);
// Keeps only the last `limit` characters.
void keepLast(QString& text, qsizetype limit);

} // namespace Graphemes
