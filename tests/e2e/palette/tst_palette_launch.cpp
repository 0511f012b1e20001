#include "DesktopTestMain.h"
#include "PaletteDesktop.h"

#include "texts/Texts.h"

using namespace PaletteDesktop;

// How Wendle starts on desktops that are not as it would like: the hot key
// already taken by another program, and no system tray at all. Each scenario
// starts its own `wendle`.
class TestPaletteLaunch : public QObject {
    Q_OBJECT
private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    std::optional<ModelServer> m_server;

    std::optional<DesktopSession::Editor> editor(const QString& text) {
        auto editor = desktop().startEditor({.text = text, .selectAll = true});
        if (editor && !desktop().activate(editor->window))
            return std::nullopt;
        return editor;
    }

private Q_SLOTS:
    void initTestCase() {
        const quint16 port = freePort();
        QVERIFY(port);
        QVERIFY(writeSettings(port));
        m_server =
            startModelServer(desktop(), port, QStringLiteral("ollama_chat_stream_basic.txt"));
        QVERIFY(m_server);
    }

    void aTakenHotKeyIsToldAndTheMenuStillOpensThePalette() {
        QProcess* holder = desktop().start(QStringLiteral(WENDLE_GRAB_HOTKEY));
        QVERIFY(holder);
        QVERIFY(DesktopSession::waitUntil(
            [&] { return desktop().output(holder).contains("grabbed"); }));
        auto target = editor(QStringLiteral("Opened from the menu."));
        QVERIFY(target);

        QProcess* wendle = startWendle(desktop());
        QVERIFY(wendle);
        QVERIFY(!state().value(QStringLiteral("hotKeyRegistered")).toBool());
        QVERIFY(DesktopSession::waitUntil(
            [] { return alertMessages() == QStringList{Texts::hotKeyFailedMessage()}; }));
        const QJsonObject alert =
            state().value(QStringLiteral("alerts")).toArray().at(0).toObject();
        QCOMPARE(alert.value("informative").toString(), Texts::hotKeyFailedInformative());
        QVERIFY(screenshot(desktop(), QStringLiteral("hot-key-taken-alert"), true));
        // The alert has the keyboard; Return answers its one button.
        QVERIFY(desktop().key(QStringLiteral("Return")));
        QVERIFY(DesktopSession::waitUntil([] { return alertMessages().isEmpty(); }));

        // The shortcut belongs to the other program...
        QVERIFY(desktop().activate(target->window));
        QVERIFY(desktop().key(QStringLiteral("ctrl+alt+space")));
        QVERIFY(DesktopSession::waitUntil(
            [&] { return desktop().output(holder).contains("pressed"); }));
        QVERIFY(!paletteVisible());

        // ...but the tray menu's first entry opens the palette on the selection.
        const QJsonObject icon = tray().value(QStringLiteral("icon")).toObject();
        QVERIFY(icon.value(QStringLiteral("width")).toInt() > 0);
        QVERIFY(desktop().mouseMove(icon.value(QStringLiteral("x")).toInt() +
                                        icon.value(QStringLiteral("width")).toInt() / 2,
                                    icon.value(QStringLiteral("y")).toInt() +
                                        icon.value(QStringLiteral("height")).toInt() / 2));
        QVERIFY(desktop().click());
        QVERIFY(DesktopSession::waitUntil(&trayMenuShown));
        QVERIFY(screenshot(desktop(), QStringLiteral("tray-menu"), true));
        QVERIFY(desktop().key(QStringLiteral("Down")));
        QVERIFY(desktop().key(QStringLiteral("Return")));
        QVERIFY(DesktopSession::waitUntil(&paletteVisible));
        QCOMPARE(palette().value("selectedText").toString(),
                 QStringLiteral("Opened from the menu."));
        QCOMPARE(palette().value("source").toString(), QStringLiteral("selection"));
        QVERIFY(desktop().key(QStringLiteral("Escape")));
        QVERIFY(DesktopSession::waitUntil([] { return !paletteVisible(); }));

        desktop().stop(wendle);
        desktop().stop(holder);
        desktop().stop(target->process);
    }

    void withoutATrayTheHotKeyStillWorks() {
        desktop().stopTrayHost();
        auto target = editor(QStringLiteral("No tray here."));
        QVERIFY(target);
        QProcess* wendle = startWendle(desktop());
        QVERIFY(wendle);
        QVERIFY(!state().value(QStringLiteral("trayAvailable")).toBool());
        QVERIFY(DesktopSession::waitUntil(
            [] { return alertMessages() == QStringList{QStringLiteral("No system tray")}; }));
        QVERIFY(DesktopSession::waitUntil([&] {
            return desktop().output(wendle).contains("This desktop shows no system tray");
        }));
        QVERIFY(screenshot(desktop(), QStringLiteral("no-tray-notice"), true));

        // With the notice still up, the hot key opens the palette.
        QVERIFY(desktop().activate(target->window));
        QVERIFY(desktop().mouseMove(300, 200));
        QVERIFY(desktop().key(QStringLiteral("ctrl+alt+space")));
        QVERIFY(DesktopSession::waitUntil(&paletteVisible));
        QCOMPARE(palette().value("selectedText").toString(), QStringLiteral("No tray here."));
        QVERIFY(desktop().key(QStringLiteral("2")));
        QVERIFY(DesktopSession::waitUntil([] { return phase() == QStringLiteral("done"); }));
        QVERIFY(desktop().key(QStringLiteral("Return")));
        QVERIFY(DesktopSession::waitUntil([&] { return target->text() == basicReply; }));
        // The notice was said once.
        QCOMPARE(desktop().output(wendle).count("This desktop shows no system tray"), 1);
        desktop().stop(wendle);
        desktop().stop(target->process);
    }
};

WENDLE_DESKTOP_TEST_MAIN(TestPaletteLaunch,
                         (DesktopSession::Options{.windowManager = true, .trayHost = true}))
#include "tst_palette_launch.moc"
