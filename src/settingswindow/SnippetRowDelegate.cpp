#include "settingswindow/SnippetRowDelegate.h"

#include "settingswindow/SettingsStyle.h"
#include "settingswindow/SnippetListModel.h"

#include <QApplication>
#include <QPainter>

namespace {
constexpr int margin = 6; // left and right
constexpr int lineGap = 2;
constexpr int verticalPad = 4;
} // namespace

QString SnippetRowDelegate::oneLine(const QString& expansion) {
    QString line = expansion;
    line.replace(QStringLiteral("\r\n"), QStringLiteral(" "));
    for (const QChar breakChar : {QChar(u'\n'), QChar(u'\r'), QChar(0x2028), QChar(0x2029)})
        line.replace(breakChar, QLatin1Char(' '));
    return line;
}

QSize SnippetRowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    const QFontMetrics top(SettingsStyle::monospacedBody(option.font));
    const QFontMetrics bottom(SettingsStyle::caption(option.font));
    return {option.rect.width(), verticalPad * 2 + top.height() + lineGap + bottom.height()};
}

void SnippetRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    QStyleOptionViewItem background = option;
    initStyleOption(&background, index);
    background.text.clear();
    const QWidget* widget = option.widget;
    QStyle* style = widget ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &background, painter, widget);

    const bool selected = option.state & QStyle::State_Selected;
    const QPalette& colors = option.palette;
    const QColor primary = colors.color(selected ? QPalette::HighlightedText : QPalette::Text);
    QColor secondary = SettingsStyle::secondary(colors);
    if (selected) {
        secondary = primary;
        secondary.setAlphaF(0.75);
    }

    const QRect area = option.rect.adjusted(margin, verticalPad, -margin, -verticalPad);
    const QFont topFont = SettingsStyle::monospacedBody(option.font);
    const QFont bottomFont = SettingsStyle::caption(option.font);
    const QFontMetrics top(topFont);
    const QFontMetrics bottom(bottomFont);

    painter->save();
    painter->setFont(topFont);
    painter->setPen(primary);
    const QRect topLine(area.left(), area.top(), area.width(), top.height());
    painter->drawText(
        topLine, Qt::AlignLeft | Qt::AlignVCenter,
        top.elidedText(index.data(Qt::DisplayRole).toString(), Qt::ElideRight, area.width()));
    painter->setFont(bottomFont);
    painter->setPen(secondary);
    const QRect bottomLine(area.left(), topLine.bottom() + 1 + lineGap, area.width(),
                           bottom.height());
    painter->drawText(
        bottomLine, Qt::AlignLeft | Qt::AlignVCenter,
        bottom.elidedText(oneLine(index.data(SnippetListModel::ExpansionRole).toString()),
                          Qt::ElideRight, area.width()));
    painter->restore();
}
