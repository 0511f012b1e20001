#include "palette/PalettePanel.h"

#include "palette/PaletteStyle.h"
#include "palette/PaletteView.h"

#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>

namespace {
constexpr qreal cornerRadius = 12;

QPainterPath outline(const QRectF& rect) {
    QPainterPath path;
    path.addRoundedRect(rect, cornerRadius, cornerRadius);
    return path;
}
} // namespace

PalettePanel::PalettePanel(PaletteModel& model, ActionStore& store, QWidget* parent)
    : QWidget(parent, Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint)
    , m_view(new PaletteView(model, store, this)) {
    setObjectName(QStringLiteral("WendlePalette"));
    setWindowTitle(QStringLiteral("Wendle"));
    setAttribute(Qt::WA_TranslucentBackground);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    setFixedSize(PaletteView::panelWidth, PaletteView::panelHeight);
}

void PalettePanel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath shape = outline(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
    painter.fillPath(shape, PaletteStyle::material());
    QColor stroke = PaletteStyle::primary();
    stroke.setAlphaF(0.12);
    painter.setPen(QPen(stroke, 1));
    painter.drawPath(shape);
}

void PalettePanel::resizeEvent(QResizeEvent*) {
    // Without a compositing manager the transparent corners would show black;
    // the shape mask cuts them off the window itself.
    setMask(QRegion(outline(QRectF(rect())).toFillPolygon().toPolygon()));
}

void PalettePanel::hideEvent(QHideEvent*) {
    Q_EMIT hidden();
}
