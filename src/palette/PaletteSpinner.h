#pragma once

#include <QTimer>
#include <QWidget>

// A small indeterminate progress spinner. It animates only while it is
// visible, so a hidden spinner costs no timer wake-ups.
class PaletteSpinner : public QWidget {
    Q_OBJECT
public:
    explicit PaletteSpinner(QWidget* parent = nullptr);

    QSize sizeHint() const override { return QSize(16, 16); }
    bool isAnimating() const { return m_timer.isActive(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QTimer m_timer;
    int m_step = 0;
};
