#pragma once

#include <QString>

// The reply as the user sees it: every "<think>…</think>" block removed (an
// unclosed one to the end of the text), then white space trimmed at both ends.
namespace ReplyText {

QString cleaned(const QString& raw);

// What a run whose cleaned reply is empty reports instead of a result.
inline const QString emptyReplyText = QStringLiteral(
    "The model returned an empty reply. Try again or pick a different model in Settings.");

inline constexpr QStringView openTag = u"<think>";
inline constexpr QStringView closeTag = u"</think>";

} // namespace ReplyText
