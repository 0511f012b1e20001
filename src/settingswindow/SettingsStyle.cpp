#include "settingswindow/SettingsStyle.h"

#include "settingswindow/SymbolIcons.h"
#include "settingswindow/WrappingLabel.h"

#include <QFontDatabase>
#include <QFrame>
#include <QLabel>
#include <QPalette>
#include <QToolButton>

namespace {

QFont scaled(const QFont& body, qreal factor) {
    QFont font = body;
    if (body.pointSizeF() > 0)
        font.setPointSizeF(body.pointSizeF() * factor);
    else
        font.setPixelSize(qRound(body.pixelSize() * factor));
    return font;
}

bool darkWindow(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < 128;
}

} // namespace

namespace SettingsStyle {

QFont caption(const QFont& body) {
    return scaled(body, 0.85);
}

QFont callout(const QFont& body) {
    return scaled(body, 0.93);
}

QFont headline(const QFont& body) {
    QFont font = body;
    font.setBold(true);
    return font;
}

QFont monospacedBody(const QFont& body) {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (body.pointSizeF() > 0)
        font.setPointSizeF(body.pointSizeF());
    return font;
}

QColor secondary(const QPalette& palette) {
    return palette.color(QPalette::PlaceholderText);
}

QColor green(const QPalette& palette) {
    return darkWindow(palette) ? QColor(0x4c, 0xd9, 0x64) : QColor(0x1e, 0x8e, 0x3e);
}

QColor orange(const QPalette& palette) {
    return darkWindow(palette) ? QColor(0xff, 0x9f, 0x0a) : QColor(0xc2, 0x62, 0x00);
}

QColor red(const QPalette& palette) {
    return darkWindow(palette) ? QColor(0xff, 0x45, 0x3a) : QColor(0xd0, 0x2b, 0x2b);
}

void setTextColor(QWidget* widget, const QColor& color) {
    QPalette palette = widget->palette();
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(role, color);
    widget->setPalette(palette);
}

QLabel* captionLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setFont(caption(label->font()));
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    setTextColor(label, secondary(label->palette()));
    return label;
}

QLabel* headlineLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setFont(headline(label->font()));
    label->setTextFormat(Qt::PlainText);
    return label;
}

QFrame* divider(QWidget* parent) {
    auto* line = new QFrame(parent);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    return line;
}

QToolButton* iconButton(const QString& symbol, const QString& name, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setObjectName(name);
    button->setIcon(SymbolIcons::icon(symbol, parent->palette().color(QPalette::ButtonText)));
    button->setIconSize(QSize(14, 14));
    button->setToolTip(name);
    return button;
}

QString outlinedEditorStyle(const QPalette& palette) {
    QColor edge = secondary(palette);
    edge.setAlphaF(edge.alphaF() * 0.4);
    return QStringLiteral("border: 1px solid rgba(%1, %2, %3, %4); border-radius: 4px;")
        .arg(edge.red())
        .arg(edge.green())
        .arg(edge.blue())
        .arg(edge.alphaF(), 0, 'f', 3);
}

} // namespace SettingsStyle
