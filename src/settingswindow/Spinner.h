#pragma once

#include <QTimer>
#include <QWidget>

// A small indeterminate progress indicator: twelve spokes turning while the
// widget is on screen.
class Spinner : public QWidget {
    Q_OBJECT
public:
    explicit Spinner(QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QTimer m_timer;
    int m_step = 0;
};
