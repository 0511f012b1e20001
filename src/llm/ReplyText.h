#pragma once

#include <QString>

// The reply as the user sees it: every "<think>…</think>" block removed (an
// unclosed one to the end of the text), then white space trimmed at both ends.
namespace ReplyText {

QString cleaned(const QString& raw);

} // namespace ReplyText
