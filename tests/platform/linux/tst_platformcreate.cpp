// Without Qt's X11 platform there is no X11 desktop to serve: create() says so.

#include "platform/Platform.h"

#include <QGuiApplication>
#include <QTest>

class TestPlatformCreate : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void refusesAnotherQtPlatform();
};

void TestPlatformCreate::refusesAnotherQtPlatform() {
    QCOMPARE(QGuiApplication::platformName(), QStringLiteral("offscreen"));
    QString error;
    const std::unique_ptr<Platform> platform = Platform::create(&error);
    QVERIFY(!platform);
    QVERIFY2(error.contains(QStringLiteral("X11")), qPrintable(error));
    QVERIFY2(error.contains(QStringLiteral("offscreen")), qPrintable(error));
}

int main(int argc, char** argv) {
    // As on a Wayland session without XWayland: some Qt platform, not xcb.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    TestPlatformCreate test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_platformcreate.moc"
