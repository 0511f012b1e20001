#pragma once

#include <QLabel>

// A plain-text label that wraps at word boundaries and, where one word is
// wider than the label (a long URL, a masked key in a server's error
// message), inside the word, so that it never needs more width than it gets
// and its whole text is always shown. Its height follows its width.
class WrappingLabel : public QLabel {
    Q_OBJECT
public:
    explicit WrappingLabel(const QString& text = QString(), QWidget* parent = nullptr);

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    // Lays the text out `width` pixels wide; returns the height it takes.
    qreal layOut(class QTextLayout& layout, qreal width) const;
};
