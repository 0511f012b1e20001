#pragma once

#include <QString>

// The selection as the palette's header shows it: line feeds as spaces, and
// at most 160 user-perceived characters followed by an ellipsis.
namespace SelectionPreview {

inline constexpr int maximumLength = 160;

QString text(const QString& selection);

} // namespace SelectionPreview
