#pragma once

#include <QStyledItemDelegate>

// Draws a snippet row: the abbreviation in a monospaced font, and under it
// the expansion on one line (line breaks shown as spaces) in small grey print.
class SnippetRowDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    // The expansion as the row shows it: on one line.
    static QString oneLine(const QString& expansion);
};
