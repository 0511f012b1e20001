#include "settingswindow/WrappingLabel.h"

#include <QPainter>
#include <QTextLayout>
#include <QtMath>

namespace {
// A wrapping label asks for about this many characters per line.
constexpr int preferredCharacters = 80;
} // namespace

WrappingLabel::WrappingLabel(const QString& text, QWidget* parent)
    : QLabel(text, parent) {
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

qreal WrappingLabel::layOut(QTextLayout& layout, qreal width) const {
    QString shown = text();
    shown.replace(QLatin1Char('\n'), QChar::LineSeparator);
    layout.setText(shown);
    layout.setFont(font());
    QTextOption option(alignment() & Qt::AlignHorizontal_Mask);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    qreal height = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition(QPointF(0, height));
        height += line.height();
    }
    layout.endLayout();
    return height;
}

int WrappingLabel::heightForWidth(int width) const {
    if (text().isEmpty())
        return 0;
    const QMargins margins = contentsMargins();
    QTextLayout layout;
    return qCeil(layOut(layout, qMax(1, width - margins.left() - margins.right()))) +
           margins.top() + margins.bottom();
}

QSize WrappingLabel::sizeHint() const {
    const int natural = fontMetrics().horizontalAdvance(text()) + 1;
    const int width = qMin(natural, fontMetrics().averageCharWidth() * preferredCharacters);
    const QMargins margins = contentsMargins();
    return {width + margins.left() + margins.right(), heightForWidth(width)};
}

QSize WrappingLabel::minimumSizeHint() const {
    // As narrow as a few characters: the text wraps inside words if it must.
    return {fontMetrics().averageCharWidth() * 4, text().isEmpty() ? 0 : fontMetrics().height()};
}

void WrappingLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect area = contentsRect();
    QTextLayout layout;
    const qreal height = layOut(layout, area.width());
    qreal top = area.top();
    if (alignment() & Qt::AlignVCenter)
        top += (area.height() - height) / 2;
    else if (alignment() & Qt::AlignBottom)
        top += area.height() - height;
    painter.setPen(
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, foregroundRole()));
    layout.draw(&painter, QPointF(area.left(), top));
}
