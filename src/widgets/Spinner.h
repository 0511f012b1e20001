#pragma once

#include <QTimer>
#include <QWidget>

// A small indeterminate progress indicator: spokes turning in the palette's
// WindowText colour. It animates only while it is visible, so a hidden spinner
// costs no timer wake-ups.
class Spinner : public QWidget {
    Q_OBJECT
public:
    explicit Spinner(QWidget* parent = nullptr);

    QSize sizeHint() const override { return {16, 16}; }
    bool isAnimating() const { return m_timer.isActive(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QTimer m_timer;
    int m_step = 0;
};
