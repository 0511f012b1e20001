#pragma once

#include <QWidget>

// Wrapped text limited to a number of lines; the last line ends in "…" when
// the text does not fit.
class PaletteElidedLabel : public QWidget {
    Q_OBJECT
public:
    explicit PaletteElidedLabel(int maximumLines, QWidget* parent = nullptr);

    void setText(const QString& text);
    QString text() const { return m_text; }
    // The text as drawn, line by line (for tests).
    QStringList visibleLines() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QStringList linesFor(int width) const;

    int m_maximumLines;
    QString m_text;
};
