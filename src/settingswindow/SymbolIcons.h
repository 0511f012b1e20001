#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>
#include <QStringList>

// The small monochrome symbols of the settings window ("plus", "cpu",
// "checkmark.circle.fill", ...). Each is taken from the desktop's icon theme
// when the theme has a matching icon, otherwise from the drawings bundled
// with the program, and painted in one colour so that status marks can be
// green, orange or grey and every symbol follows a dark or light palette.
namespace SymbolIcons {

// The freedesktop icon names tried for `symbol`, best first.
QStringList themeNames(const QString& symbol);

// The resource path of the bundled drawing of `symbol`.
QString bundledPath(const QString& symbol);

// True when the theme provides `symbol` (otherwise the drawing is used).
bool fromTheme(const QString& symbol);

// `symbol` painted in `color`, `size` device-independent pixels square.
QPixmap pixmap(const QString& symbol, const QColor& color, int size, qreal devicePixelRatio = 1.0);

// `symbol` in `color`, for buttons and tab bars.
QIcon icon(const QString& symbol, const QColor& color);

} // namespace SymbolIcons
