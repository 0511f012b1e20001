#include "palette/PalettePlacement.h"

#include <QTest>

using PalettePlacement::Screen;

namespace {
const QSize panel(440, 380);
// A 1280 x 800 screen with a 24-pixel panel bar at the top.
const QRect visible(0, 24, 1280, 776);
} // namespace

class PalettePlacementTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void opensBelowAndLeftOfThePointer() {
        // Top edge 16 below the pointer, left edge 24 left of it.
        QCOMPARE(PalettePlacement::topLeft(QPoint(400, 200), panel, visible), QPoint(376, 216));
    }

    void nearTheBottomItFlipsAbove() {
        // Below would end at 780 + 16 + 380 > 800: the bottom edge goes 16
        // above the pointer instead.
        QCOMPARE(PalettePlacement::topLeft(QPoint(400, 780), panel, visible),
                 QPoint(376, 780 - 16 - 380));
    }

    void exactlyFittingBelowStaysBelowButKeepsTheMargin() {
        // 404 + 16 + 380 = 800, the bottom of the area: it fits, but the last
        // rule keeps 8 pixels from the bottom edge.
        QCOMPARE(PalettePlacement::topLeft(QPoint(400, 404), panel, visible),
                 QPoint(376, 800 - 8 - 380));
    }

    void flippedPanelNeverGoesAboveTheTop() {
        // Neither below nor above fits: the panel's top meets the area's top...
        const QRect roomy(0, 100, 1280, 500);
        QCOMPARE(PalettePlacement::topLeft(QPoint(400, 300), panel, roomy), QPoint(376, 100));
        // ...unless the area is too short for the panel and its bottom margin:
        // the bottom margin wins.
        const QRect shortArea(0, 100, 1280, 385);
        QCOMPARE(PalettePlacement::topLeft(QPoint(400, 300), panel, shortArea),
                 QPoint(376, 100 + 385 - 8 - 380));
    }

    void nearTheRightEdgeKeeps8Pixels() {
        QCOMPARE(PalettePlacement::topLeft(QPoint(1270, 200), panel, visible).x(), 1280 - 440 - 8);
    }

    void nearTheLeftEdgeKeeps8Pixels() {
        QCOMPARE(PalettePlacement::topLeft(QPoint(10, 200), panel, visible).x(), 8);
    }

    void corners() {
        QCOMPARE(PalettePlacement::topLeft(QPoint(1279, 799), panel, visible),
                 QPoint(1280 - 440 - 8, 799 - 16 - 380));
        QCOMPARE(PalettePlacement::topLeft(QPoint(0, 24), panel, visible), QPoint(8, 40));
    }

    void secondScreenUsesItsOwnArea() {
        const QList<Screen> screens{{QRect(0, 0, 1280, 800), visible},
                                    {QRect(1280, 0, 1920, 1080), QRect(1280, 0, 1920, 1040)}};
        const QPoint pointer(3190, 1070);
        const QRect area = PalettePlacement::visibleArea(screens, 0, pointer);
        QCOMPARE(area, QRect(1280, 0, 1920, 1040));
        QCOMPARE(PalettePlacement::topLeft(pointer, panel, area),
                 QPoint(1280 + 1920 - 440 - 8, 1040 - 8 - 380));
    }

    void pointerOffEveryScreenUsesThePrimary() {
        const QList<Screen> screens{{QRect(0, 0, 1280, 800), visible},
                                    {QRect(1280, 0, 1920, 1080), QRect(1280, 0, 1920, 1040)}};
        QCOMPARE(PalettePlacement::visibleArea(screens, 1, QPoint(-50, -50)),
                 QRect(1280, 0, 1920, 1040));
    }

    void noScreenAtAllUsesADefaultArea() {
        QCOMPARE(PalettePlacement::visibleArea({}, -1, QPoint(5, 5)), QRect(0, 0, 1440, 900));
    }
};

QTEST_GUILESS_MAIN(PalettePlacementTest)
#include "tst_paletteplacement.moc"
