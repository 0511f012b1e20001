// A palette prepared by the shell floats as a popup: the user's window keeps
// the X focus, keys come to the palette, and a click outside closes it.

#include "X11TestSupport.h"

#include "DesktopTestMain.h"

#include <QKeyEvent>
#include <QWidget>

namespace {

class Palette : public QWidget {
public:
    QString typed;

protected:
    void keyPressEvent(QKeyEvent* event) override { typed += event->text(); }
};

} // namespace

class TestX11Shell : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void permissionsAreGranted();
    void paletteIsAPopup();

private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    std::unique_ptr<X11Platform> m_platform;
};

void TestX11Shell::initTestCase() {
    QString error;
    m_platform = createX11Platform(&error);
    QVERIFY2(m_platform, qPrintable(error));
}

void TestX11Shell::cleanupTestCase() {
    m_platform.reset();
}

void TestX11Shell::permissionsAreGranted() {
    PermissionService& permissions = m_platform->permissions();
    QVERIFY(permissions.accessibilityGranted());
    QVERIFY(permissions.inputMonitoringGranted());
    QVERIFY(!permissions.hasSettingsPanes());
    // Nothing opens: no window appears.
    permissions.openPane(PermissionService::Pane::accessibility);
    permissions.requestAccessibility();
    QCOMPARE(desktop().findWindowByName(QStringLiteral("."), 300), 0u);
}

void TestX11Shell::paletteIsAPopup() {
    auto editor = desktop().startEditor({.text = QStringLiteral("stays")});
    QVERIFY(editor);
    QVERIFY(desktop().activate(editor->window));

    Palette palette;
    m_platform->shell().preparePalettePanel(&palette);
    QCOMPARE(palette.windowType(), Qt::Popup);
    palette.setGeometry(100, 100, 240, 160);
    palette.show();
    QVERIFY(QTest::qWaitForWindowExposed(&palette));
    if (qEnvironmentVariableIsSet("WENDLE_KEEP_SCREENSHOTS"))
        desktop().screenshot(qEnvironmentVariable("WENDLE_KEEP_SCREENSHOTS") +
                             QStringLiteral("/palette-popup.png"));

    // The user's window is still the one in front, and has the X focus.
    QCOMPARE(m_platform->frontWindow().current().id, editor->window);
    QCOMPARE(desktop().focusedWindow(), editor->window);
    // Keys come to the palette, not to the editor.
    QVERIFY(desktop().type(QStringLiteral("k")));
    QTRY_COMPARE(palette.typed, QStringLiteral("k"));
    QCOMPARE(editor->text(), QStringLiteral("stays"));

    // A click outside closes it.
    QVERIFY(desktop().mouseMove(900, 700));
    QVERIFY(desktop().click(1));
    QTRY_VERIFY(!palette.isVisible());
    desktop().stop(editor->process);
}

WENDLE_DESKTOP_TEST_MAIN(TestX11Shell, (DesktopSession::Options{.windowManager = true}))

#include "tst_x11shell.moc"
