#include "palette/PalettePanel.h"

#include "palette/PaletteStyle.h"
#include "palette/PaletteView.h"

#include <QCloseEvent>
#include <QGuiApplication>
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
    , m_view(new PaletteView(model, store, this))
    , m_announcedState(QGuiApplication::applicationState()) {
    setObjectName(QStringLiteral("WendlePalette"));
    setWindowTitle(QStringLiteral("Wendle"));
    setAttribute(Qt::WA_TranslucentBackground);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    setFixedSize(PaletteView::panelWidth, PaletteView::panelHeight);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) { m_announcedState = state; });
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

void PalettePanel::closeEvent(QCloseEvent* event) {
    // QApplication closes every popup when the application becomes inactive,
    // before it announces the new state. Qt's xcb backend makes the
    // application inactive 100 ms after one of its windows lost the focus
    // unless a focus-in comes first: the palette that closed a moment ago
    // lost it, and the focus-in of the palette shown again may be handled
    // just after that deadline. The palette closes on its own keys and on a
    // click outside it, not on Qt's idea of the application's activation.
    // (Qt tries 1024 times before it gives up on a popup that stays; that
    // takes about 0.2 ms.)
    const bool deactivating = QGuiApplication::applicationState() == Qt::ApplicationInactive &&
                              m_announcedState != Qt::ApplicationInactive;
    if (deactivating)
        event->ignore();
    else
        event->accept();
}

void PalettePanel::hideEvent(QHideEvent*) {
    Q_EMIT hidden();
}
