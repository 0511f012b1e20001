#include "palette/PaletteSpinner.h"

#include "palette/PaletteStyle.h"

#include <QPainter>

namespace {
constexpr int spokes = 8;
}

PaletteSpinner::PaletteSpinner(QWidget* parent)
    : QWidget(parent) {
    setFixedSize(16, 16);
    m_timer.setInterval(100);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_step = (m_step + 1) % spokes;
        update();
    });
}

void PaletteSpinner::showEvent(QShowEvent*) {
    m_timer.start();
}

void PaletteSpinner::hideEvent(QHideEvent*) {
    m_timer.stop();
}

void PaletteSpinner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(width() / 2.0, height() / 2.0);
    const qreal radius = qMin(width(), height()) / 2.0;
    for (int i = 0; i < spokes; ++i) {
        QColor colour = PaletteStyle::secondary();
        // The spoke at the current step is darkest; the others fade behind it.
        const int age = (m_step - i + spokes) % spokes;
        colour.setAlphaF(1.0 - age * (0.8 / spokes));
        QPen pen(colour, radius / 4.0, Qt::SolidLine, Qt::RoundCap);
        painter.setPen(pen);
        painter.save();
        painter.rotate(i * 360.0 / spokes);
        painter.drawLine(QPointF(0, -radius * 0.45), QPointF(0, -radius * 0.85));
        painter.restore();
    }
}
