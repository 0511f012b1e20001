#include "widgets/Spinner.h"

#include <QPainter>

namespace {
constexpr int spokes = 12;
}

Spinner::Spinner(QWidget* parent)
    : QWidget(parent) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_timer.setInterval(80);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_step = (m_step + 1) % spokes;
        update();
    });
}

void Spinner::showEvent(QShowEvent* event) {
    m_timer.start();
    QWidget::showEvent(event);
}

void Spinner::hideEvent(QHideEvent* event) {
    m_timer.stop();
    QWidget::hideEvent(event);
}

void Spinner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal side = qMin(width(), height());
    painter.translate(width() / 2.0, height() / 2.0);
    QColor color = palette().color(QPalette::WindowText);
    QPen pen;
    pen.setWidthF(side / 10.0);
    pen.setCapStyle(Qt::RoundCap);
    for (int i = 0; i < spokes; ++i) {
        // The spoke at the current step is the darkest; the others fade out behind it.
        const int age = (m_step - i + spokes) % spokes;
        color.setAlphaF(1.0 - age / qreal(spokes + 2));
        pen.setColor(color);
        painter.setPen(pen);
        painter.save();
        painter.rotate(i * 360.0 / spokes);
        painter.drawLine(QPointF(0, -side * 0.22), QPointF(0, -side * 0.44));
        painter.restore();
    }
}
