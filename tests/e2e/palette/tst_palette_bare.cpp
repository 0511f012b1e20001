#include "DesktopTestMain.h"
#include "PaletteDesktop.h"

using namespace PaletteDesktop;

// The palette on a bare X server: no window manager (the focus stays where it
// is put, nothing activates windows) and no tray.
class TestPaletteBare : public QObject {
    Q_OBJECT
private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    std::optional<ModelServer> m_server;
    QProcess* m_wendle = nullptr;

private Q_SLOTS:
    void initTestCase() {
        const quint16 port = freePort();
        QVERIFY(port);
        QVERIFY(writeSettings(port));
        m_server =
            startModelServer(desktop(), port, QStringLiteral("ollama_chat_stream_basic.txt"));
        QVERIFY(m_server);
        m_wendle = startWendle(desktop());
        QVERIFY(m_wendle);
        // Without a tray Wendle says so once, 0.6 s after the start; let that
        // happen before the focus is set up.
        QVERIFY(DesktopSession::waitUntil(
            [] { return alertMessages() == QStringList{QStringLiteral("No system tray")}; }));
    }

    void theSelectionIsReplacedWithoutAWindowManager() {
        const ClipboardContent before = ClipboardContent::rich();
        QVERIFY(ownClipboard(desktop(), before));
        auto editor =
            desktop().startEditor({.text = QStringLiteral("No manager here."), .selectAll = true});
        QVERIFY(editor);
        QVERIFY(desktop().focus(editor->window));
        QVERIFY(desktop().mouseMove(200, 150));
        QVERIFY(desktop().key(QStringLiteral("ctrl+alt+space")));
        QVERIFY(DesktopSession::waitUntil(&paletteVisible));
        QCOMPARE(palette().value("selectedText").toString(), QStringLiteral("No manager here."));
        // The palette leaves the keyboard focus with the editor.
        QCOMPARE(desktop().focusedWindow(), editor->window);
        QVERIFY(desktop().key(QStringLiteral("1")));
        QVERIFY(DesktopSession::waitUntil([] { return phase() == QStringLiteral("done"); }));
        QVERIFY(desktop().key(QStringLiteral("Return")));
        QVERIFY(DesktopSession::waitUntil([&] { return editor->text() == basicReply; }));
        QVERIFY(DesktopSession::waitUntil([&] { return clipboardHolds(desktop(), before); }, 3000));
        desktop().stop(editor->process);
    }

    void aClickOutsideClosesWithoutAWindowManager() {
        auto editor =
            desktop().startEditor({.text = QStringLiteral("Click away."), .selectAll = true});
        QVERIFY(editor);
        QVERIFY(desktop().focus(editor->window));
        QVERIFY(desktop().mouseMove(200, 150));
        QVERIFY(desktop().key(QStringLiteral("ctrl+alt+space")));
        QVERIFY(DesktopSession::waitUntil(&paletteVisible));
        QVERIFY(desktop().mouseMove(1200, 750));
        QVERIFY(desktop().click());
        QVERIFY(DesktopSession::waitUntil([] { return !paletteVisible(); }));
        desktop().stop(editor->process);
    }
};

WENDLE_DESKTOP_TEST_MAIN(TestPaletteBare, (DesktopSession::Options{}))
#include "tst_palette_bare.moc"
