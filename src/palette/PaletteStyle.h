#pragma once

#include <QColor>
#include <QFont>

class QLabel;
class QWidget;

// The palette's text styles and colours, derived from the application's font
// and palette so that they follow the desktop's theme. Sizes are relative to
// the body font: callout 12/13 of it, caption 10/13, headline the body in
// semibold, large title twice the body.
namespace PaletteStyle {

QFont body();
QFont callout();
QFont caption();
QFont headline();
QFont largeTitle();

QColor primary();   // ordinary text
QColor secondary(); // less important text and symbols
QColor accent();    // the highlighted row, the prominent button
QColor orange();    // notes and warnings
QColor material();  // the panel's background

// Sets a label's font and text colour.
void apply(QLabel* label, const QFont& font, const QColor& colour);

} // namespace PaletteStyle
