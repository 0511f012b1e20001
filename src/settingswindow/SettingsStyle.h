#pragma once

#include <QColor>
#include <QFont>
#include <QString>

class QFrame;
class QLabel;
class QPalette;
class QToolButton;
class QWidget;

// The look shared by the settings tabs: text sizes relative to the
// application font, the secondary and status colours, dividers, the symbol
// buttons under the lists and the outline of the multi-line editors.
namespace SettingsStyle {

// Padding around every tab's content.
inline constexpr int padding = 20;

QFont caption(const QFont& body);  // small print under fields
QFont callout(const QFont& body);  // slightly smaller than body
QFont headline(const QFont& body); // body size, bold
QFont monospacedBody(const QFont& body);

// The palette's placeholder-text colour: explanations, hints, neutral marks.
QColor secondary(const QPalette& palette);
// Status colours, readable on the palette's window colour.
QColor green(const QPalette& palette);
QColor orange(const QPalette& palette);
QColor red(const QPalette& palette);

// Sets the colour every text role of `widget` is drawn in.
void setTextColor(QWidget* widget, const QColor& color);

// A label in caption size and the secondary colour that wraps its text.
QLabel* captionLabel(const QString& text, QWidget* parent = nullptr);
// A label in headline font.
QLabel* headlineLabel(const QString& text, QWidget* parent = nullptr);
// A thin horizontal line.
QFrame* divider(QWidget* parent = nullptr);
// A small button showing `symbol` in the button text colour of `parent`'s
// palette, for the add, delete and move buttons under a list; `name` is its
// object name and tool tip.
QToolButton* iconButton(const QString& symbol, const QString& name, QWidget* parent);

// Style sheet for a multi-line editor outlined by a rounded rectangle
// (radius 4, 1 pixel, the secondary colour at 40 % opacity).
QString outlinedEditorStyle(const QPalette& palette);

} // namespace SettingsStyle
