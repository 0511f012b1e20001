#include "palette/PalettePlacement.h"

#include <QGuiApplication>
#include <QScreen>

namespace PalettePlacement {

namespace {
constexpr int gapToPointer = 16; // between the pointer and the near edge of the panel
constexpr int leftOfPointer = 24;
constexpr int margin = 8; // kept from the usable area's edges
} // namespace

QRect visibleArea(const QList<Screen>& screens, int primary, QPoint pointer) {
    for (const Screen& screen : screens) {
        if (screen.frame.contains(pointer))
            return screen.visible;
    }
    if (primary >= 0 && primary < screens.size())
        return screens.at(primary).visible;
    return QRect(0, 0, 1440, 900);
}

QPoint topLeft(QPoint pointer, QSize size, QRect visible) {
    const int w = size.width();
    const int h = size.height();
    // Edges as coordinates: `bottom` is the first row below the area.
    const int left = visible.x();
    const int top = visible.y();
    const int right = visible.x() + visible.width();
    const int bottom = visible.y() + visible.height();

    // Below the pointer; when the panel would reach past the bottom, above it
    // (its bottom edge 16 above the pointer), but not past the top.
    int y = pointer.y() + gapToPointer;
    if (y + h > bottom)
        y = qMax(top, pointer.y() - gapToPointer - h);

    int x = qMin(right - w - margin, pointer.x() - leftOfPointer);
    x = qMax(left + margin, x);

    // The bottom margin wins over everything else.
    y = qMin(bottom - margin - h, y);
    return QPoint(x, y);
}

QPoint topLeftOnScreens(QPoint pointer, QSize size) {
    QList<Screen> screens;
    int primary = -1;
    const QList<QScreen*> all = QGuiApplication::screens();
    for (QScreen* screen : all) {
        if (screen == QGuiApplication::primaryScreen())
            primary = int(screens.size());
        screens.append({screen->geometry(), screen->availableGeometry()});
    }
    return topLeft(pointer, size, visibleArea(screens, primary, pointer));
}

} // namespace PalettePlacement
