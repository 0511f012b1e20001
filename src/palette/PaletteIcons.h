#pragma once

#include <QColor>
#include <QPixmap>
#include <QString>

// The palette's symbols, by their symbol names ("text.quote", "text.cursor",
// "exclamationmark.triangle.fill", "wand.and.stars"): from the desktop's icon
// theme where it has a matching icon, otherwise the SVG drawn for Wendle,
// tinted in one colour like a symbol.
namespace PaletteIcons {

QPixmap symbol(const QString& name, int size, const QColor& colour, qreal devicePixelRatio = 1.0);

// The application's own icon (tray, desktop entry, alerts).
QString appIconPath();

} // namespace PaletteIcons
