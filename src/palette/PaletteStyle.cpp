#include "palette/PaletteStyle.h"

#include <QApplication>
#include <QLabel>
#include <QPalette>

namespace PaletteStyle {

namespace {
QFont scaled(qreal factor) {
    QFont font = QApplication::font();
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    else
        font.setPixelSize(qMax(1, qRound(font.pixelSize() * factor)));
    return font;
}
} // namespace

QFont body() {
    return QApplication::font();
}

QFont callout() {
    return scaled(12.0 / 13.0);
}

QFont caption() {
    return scaled(10.0 / 13.0);
}

QFont headline() {
    QFont font = body();
    font.setWeight(QFont::DemiBold);
    return font;
}

QFont largeTitle() {
    return scaled(2.0);
}

QColor primary() {
    return QApplication::palette().color(QPalette::WindowText);
}

QColor secondary() {
    return QApplication::palette().color(QPalette::PlaceholderText);
}

QColor accent() {
    return QApplication::palette().color(QPalette::Highlight);
}

QColor orange() {
    return QColor(0xFF, 0x95, 0x00);
}

QColor material() {
    return QApplication::palette().color(QPalette::Window);
}

void apply(QLabel* label, const QFont& font, const QColor& colour) {
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, colour);
    palette.setColor(QPalette::Text, colour);
    label->setPalette(palette);
}

} // namespace PaletteStyle
