#pragma once

#include <QWidget>

// A one-pixel horizontal line between the palette's header, content and hint.
class PaletteDivider : public QWidget {
    Q_OBJECT
public:
    explicit PaletteDivider(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};
