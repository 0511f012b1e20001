#include "palette/PaletteDivider.h"

#include "palette/PaletteStyle.h"

#include <QPainter>

PaletteDivider::PaletteDivider(QWidget* parent)
    : QWidget(parent) {
    setFixedHeight(1);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void PaletteDivider::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QColor colour = PaletteStyle::primary();
    colour.setAlphaF(0.15);
    painter.fillRect(rect(), colour);
}
