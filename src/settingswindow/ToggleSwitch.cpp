#include "settingswindow/ToggleSwitch.h"

#include <QPainter>
#include <QStyle>

namespace {
constexpr int gap = 8; // between the label and the track
}

ToggleSwitch::ToggleSwitch(const QString& text, QWidget* parent)
    : QAbstractButton(parent) {
    setText(text);
    setCheckable(true);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize ToggleSwitch::trackSize() const {
    const int height = fontMetrics().height() + 4;
    return {height * 2 - 4, height};
}

QSize ToggleSwitch::sizeHint() const {
    const QSize track = trackSize();
    return {fontMetrics().horizontalAdvance(text()) + gap + track.width() + 2,
            qMax(track.height(), fontMetrics().height()) + 2};
}

bool ToggleSwitch::hitButton(const QPoint& pos) const {
    return rect().contains(pos);
}

void ToggleSwitch::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& colors = palette();
    const int textWidth = fontMetrics().horizontalAdvance(text());
    painter.setPen(
        colors.color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
    painter.drawText(QRect(0, 0, textWidth, height()), Qt::AlignVCenter | Qt::AlignLeft, text());

    const QSize size = trackSize();
    const QRectF track(textWidth + gap, (height() - size.height()) / 2.0, size.width(),
                       size.height());
    const QColor on = colors.color(QPalette::Highlight);
    QColor off = colors.color(QPalette::Mid);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? on : off);
    if (!isEnabled())
        painter.setOpacity(0.5);
    painter.drawRoundedRect(track, track.height() / 2, track.height() / 2);

    const qreal inset = 2;
    const qreal knob = track.height() - 2 * inset;
    const qreal x = isChecked() ? track.right() - inset - knob : track.left() + inset;
    painter.setBrush(Qt::white);
    painter.drawEllipse(QRectF(x, track.top() + inset, knob, knob));
    if (hasFocus()) {
        QPen focus(on, 1);
        painter.setPen(focus);
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(track.adjusted(-1.5, -1.5, 1.5, 1.5), track.height() / 2 + 1.5,
                                track.height() / 2 + 1.5);
    }
}
