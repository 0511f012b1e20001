#include "settingswindow/SettingsTabs.h"
#include "settingswindow/SymbolIcons.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QTest>

namespace {

// Every symbol the settings window draws.
const QStringList symbols{"cpu",
                          "list.bullet",
                          "text.badge.plus",
                          "gearshape",
                          "checkmark.circle.fill",
                          "exclamationmark.triangle.fill",
                          "minus.circle",
                          "plus",
                          "minus",
                          "arrow.up",
                          "arrow.down",
                          "magnifyingglass"};

// How many pixels are covered, and whether all of them are in `colour`.
struct Coverage {
    int covered = 0;
    bool oneColour = true;
};

Coverage coverage(const QPixmap& pixmap, const QColor& colour) {
    Coverage result;
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (pixel.alpha() == 0)
                continue;
            ++result.covered;
            if (pixel.alpha() == 255 && pixel.rgb() != colour.rgb())
                result.oneColour = false;
        }
    }
    return result;
}

} // namespace

class TestSymbolIcons : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        for (const SettingsTab tab : SettingsTabs::allCases())
            QVERIFY(symbols.contains(SettingsTabs::symbol(tab)));
    }

    void everySymbolHasADrawingOfItsOwn_data() {
        QTest::addColumn<QString>("symbol");
        for (const QString& symbol : symbols)
            QTest::newRow(qPrintable(symbol)) << symbol;
    }
    void everySymbolHasADrawingOfItsOwn() {
        // No icon theme: what a bare system shows.
        QIcon::setThemeName(QString());
        QFETCH(QString, symbol);
        QVERIFY(!SymbolIcons::fromTheme(symbol));
        const QColor orange(0xc2, 0x62, 0x00);
        const QPixmap drawn = SymbolIcons::pixmap(symbol, orange, 32);
        QCOMPARE(drawn.size(), QSize(32, 32));
        const Coverage painted = coverage(drawn, orange);
        QVERIFY2(painted.covered > 32, qPrintable(QString::number(painted.covered)));
        QVERIFY2(painted.covered < 32 * 32 * 3 / 4, "a symbol, not a filled square");
        QVERIFY(painted.oneColour);
        // Sharp on a high-density screen too.
        QCOMPARE(SymbolIcons::pixmap(symbol, orange, 16, 2.0).size(), QSize(32, 32));
    }

    void aThemeIconIsPreferredAndRecoloured() {
        if (!QDir(QStringLiteral("/usr/share/icons/Adwaita")).exists())
            QSKIP("the Adwaita icon theme is not installed");
        QIcon::setThemeSearchPaths({QStringLiteral("/usr/share/icons")});
        QIcon::setThemeName(QStringLiteral("Adwaita"));
        QVERIFY(SymbolIcons::fromTheme(QStringLiteral("plus")));
        const QColor green(0x1e, 0x8e, 0x3e);
        const QPixmap themed = SymbolIcons::pixmap(QStringLiteral("plus"), green, 32);
        const Coverage painted = coverage(themed, green);
        QVERIFY(painted.covered > 16);
        QVERIFY(painted.oneColour);
        // Not the bundled drawing: the two differ somewhere.
        QIcon::setThemeName(QString());
        const QPixmap bundled = SymbolIcons::pixmap(QStringLiteral("plus"), green, 32);
        QVERIFY(themed.toImage() != bundled.toImage());
    }

    void iconsHoldSeveralSizes() {
        QIcon::setThemeName(QString());
        const QIcon icon = SymbolIcons::icon(QStringLiteral("gearshape"), Qt::black);
        QVERIFY(!icon.isNull());
        QVERIFY(icon.availableSizes().contains(QSize(16, 16)));
        QVERIFY(icon.availableSizes().contains(QSize(32, 32)));
    }
};

QTEST_MAIN(TestSymbolIcons)
#include "tst_symbolicons.moc"
