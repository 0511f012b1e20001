#include "palette/PaletteElidedLabel.h"

#include <QPainter>
#include <QTextLayout>

PaletteElidedLabel::PaletteElidedLabel(int maximumLines, QWidget* parent)
    : QWidget(parent)
    , m_maximumLines(maximumLines) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
}

void PaletteElidedLabel::setText(const QString& text) {
    m_text = text;
    updateGeometry();
    update();
}

QStringList PaletteElidedLabel::visibleLines() const {
    return linesFor(width());
}

QStringList PaletteElidedLabel::linesFor(int width) const {
    QStringList lines;
    if (m_text.isEmpty() || width <= 0)
        return lines;
    const QFontMetrics metrics(font());
    QTextLayout layout(m_text, font());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    while (true) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        if (lines.size() == m_maximumLines - 1) {
            // The last allowed line takes the rest of the text, elided.
            const QString rest = m_text.mid(line.textStart());
            lines.append(metrics.elidedText(rest, Qt::ElideRight, width));
            break;
        }
        lines.append(m_text.mid(line.textStart(), line.textLength()).trimmed());
    }
    layout.endLayout();
    return lines;
}

int PaletteElidedLabel::heightForWidth(int width) const {
    const int count = qMax<qsizetype>(1, linesFor(width).size());
    return count * QFontMetrics(font()).lineSpacing();
}

QSize PaletteElidedLabel::sizeHint() const {
    const QFontMetrics metrics(font());
    return QSize(metrics.horizontalAdvance(m_text.left(40)),
                 heightForWidth(width() > 0 ? width() : 300));
}

QSize PaletteElidedLabel::minimumSizeHint() const {
    return QSize(0, QFontMetrics(font()).lineSpacing());
}

void PaletteElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setFont(font());
    painter.setPen(palette().color(QPalette::WindowText));
    const QFontMetrics metrics(font());
    int y = metrics.ascent();
    for (const QString& line : linesFor(width())) {
        painter.drawText(0, y, line);
        y += metrics.lineSpacing();
    }
}
