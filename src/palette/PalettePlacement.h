#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>

// Where the palette opens: just below and a little to the left of the pointer
// on the pointer's screen, above it when there is no room below, and always a
// few pixels inside the screen's usable area. Qt coordinates: origin at the
// top left, y growing downwards.
namespace PalettePlacement {

struct Screen {
    QRect frame;   // the whole screen
    QRect visible; // without panels and docks
};

// The usable area of the screen the pointer is on: the first screen whose
// frame contains `pointer`, else the primary one (index `primary`), else,
// when there is no screen at all, 1440 x 900 at the origin.
QRect visibleArea(const QList<Screen>& screens, int primary, QPoint pointer);

// The top-left corner of a panel of `size` opened at `pointer` within `visible`.
QPoint topLeft(QPoint pointer, QSize size, QRect visible);

// Both, on the screens Qt knows.
QPoint topLeftOnScreens(QPoint pointer, QSize size);

} // namespace PalettePlacement
