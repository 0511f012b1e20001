#pragma once

#include <QAbstractButton>

// An on/off switch with its label on the left, drawn as a rounded track with
// a knob. Checkable; clicking it toggles like a check box.
class ToggleSwitch : public QAbstractButton {
    Q_OBJECT
public:
    explicit ToggleSwitch(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool hitButton(const QPoint& pos) const override;

private:
    QSize trackSize() const;
};
