#include "DesktopTestMain.h"
#include "PaletteDesktop.h"

#include "capture/SelectionCapture.h"

#include <QRegularExpression>

using namespace PaletteDesktop;

// The palette road driven the way a person drives it: the real `wendle` on a
// private X desktop with a window manager and a tray, real keystrokes from
// xdotool into the Qt test editor and l3afpad, and a model server replaying a
// recorded Ollama reply. One session, one Wendle, for every scenario (each
// leaves the palette closed). Terminal emulators have their own test.
class TestPaletteRoad : public QObject {
    Q_OBJECT
private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    quint16 m_port = 0;
    std::optional<ModelServer> m_server;
    QProcess* m_wendle = nullptr;
    QList<QProcess*> m_started;
    int m_files = 0;

    bool restartServer(const QString& reply, int lineDelayMs = 30) {
        if (m_server)
            desktop().stop(m_server->process);
        m_server = startModelServer(desktop(), m_port, reply, lineDelayMs);
        return m_server.has_value();
    }

    std::optional<DesktopSession::Editor> editor(const QString& text, bool selectAll) {
        auto editor = desktop().startEditor({.text = text, .selectAll = selectAll});
        if (editor) {
            m_started.append(editor->process);
            if (!desktop().activate(editor->window))
                return std::nullopt;
        }
        return editor;
    }

    // Presses Down in the palette and waits for the next action to be
    // selected: every key and click sent before it has then been handled,
    // with the palette open.
    bool paletteStillTakesKeys() {
        const int before = palette().value("selectedIndex").toInt();
        return desktop().key(QStringLiteral("Down")) && DesktopSession::waitUntil([&] {
                   const QJsonObject shown = palette();
                   return shown.value("visible").toBool() &&
                          shown.value("selectedIndex").toInt() == before + 1;
               });
    }

private Q_SLOTS:
    void initTestCase() {
        m_port = freePort();
        QVERIFY(m_port);
        QVERIFY(writeSettings(m_port));
        QVERIFY(restartServer(QStringLiteral("ollama_chat_stream_basic.txt")));
        m_wendle = startWendle(desktop());
        QVERIFY(m_wendle);
        QVERIFY(hotKeyAndTrayUp());
    }

    void cleanup() { QVERIFY(closePaletteAndStop(desktop(), m_started)); }

    void theQtEditorsSelectionIsReplacedAndTheClipboardKept() {
        const ClipboardContent before = ClipboardContent::rich();
        QProcess* owner = ownClipboard(desktop(), before);
        QVERIFY(owner);
        m_started.append(owner);
        const QString sentence = QStringLiteral("Their going to the park tomorow.");
        auto target = editor(sentence, true);
        QVERIFY(target);

        QVERIFY(openAt(desktop(), QPoint(300, 200)));
        QJsonObject shown = palette();
        QCOMPARE(shown.value("selectedText").toString(), sentence);
        QCOMPARE(shown.value("source").toString(), QStringLiteral("selection"));
        QCOMPARE(shown.value("note").toString(), QString());
        // Next to the pointer: 24 to the left, 16 below.
        QCOMPARE(shown.value("x").toInt(), 300 - 24);
        QCOMPARE(shown.value("y").toInt(), 200 + 16);
        // The capture put the user's clipboard back.
        QVERIFY(clipboardHolds(desktop(), before));
        QVERIFY(screenshot(desktop(), QStringLiteral("qt-editor-list")));

        QVERIFY(desktop().key(QStringLiteral("1")));
        // The reply streams in: a part of it shows before the whole.
        QVERIFY(DesktopSession::waitUntil([] {
            const QString output = palette().value("output").toString();
            return !output.isEmpty() && output != basicReply && basicReply.startsWith(output);
        }));
        QVERIFY(screenshot(desktop(), QStringLiteral("qt-editor-running")));
        QVERIFY(waitForPhase(QStringLiteral("done")));
        QCOMPARE(palette().value("runTitle").toString(), QStringLiteral("Fix grammar"));
        QVERIFY(screenshot(desktop(), QStringLiteral("qt-editor-done")));

        QVERIFY(desktop().key(QStringLiteral("Return")));
        QVERIFY(DesktopSession::waitUntil([&] { return target->text() == basicReply; }));
        QVERIFY(!paletteVisible());
        // Restored once the editor has read the reply: byte for byte, every format.
        QVERIFY(DesktopSession::waitUntil([&] { return clipboardHolds(desktop(), before); }, 3000));
        QCOMPARE(m_server->count(QStringLiteral("request")), 1);
    }

    void l3afpadsSelectionIsReplacedAndTheClipboardKept() {
        const ClipboardContent before = ClipboardContent::rich();
        QProcess* owner = ownClipboard(desktop(), before);
        QVERIFY(owner);
        m_started.append(owner);
        const QString file = desktop().tempPath() + QStringLiteral("/gtk-%1.txt").arg(++m_files);
        {
            QFile f(file);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("Some words to shorten.");
        }
        QProcess* gtk = desktop().start(QStringLiteral("l3afpad"), {file});
        QVERIFY(gtk);
        m_started.append(gtk);
        const quint64 window =
            desktop().findWindowByName(QFileInfo(file).fileName(), DesktopSession::programStartMs);
        QVERIFY(window);
        QVERIFY(desktop().activate(window));
        QVERIFY(desktop().key(QStringLiteral("ctrl+a")));

        QVERIFY(openAt(desktop(), QPoint(700, 300)));
        QCOMPARE(palette().value("selectedText").toString(),
                 QStringLiteral("Some words to shorten."));
        QCOMPARE(palette().value("source").toString(), QStringLiteral("selection"));
        QVERIFY(desktop().key(QStringLiteral("2")));
        QVERIFY(waitForPhase(QStringLiteral("done")));
        QVERIFY(desktop().key(QStringLiteral("Return")));
        QVERIFY(DesktopSession::waitUntil([] { return !paletteVisible(); }));
        // The paste marks the document modified ("*" before its name in the
        // title), in one step with the new text; then it is saved.
        QVERIFY(desktop().findWindowByName(QStringLiteral("^\\*") +
                                           QRegularExpression::escape(QFileInfo(file).fileName()) +
                                           QLatin1Char('$')));
        QVERIFY(desktop().key(QStringLiteral("ctrl+s")));
        QVERIFY(DesktopSession::waitUntil([&] {
            QFile f(file);
            return f.open(QIODevice::ReadOnly) && f.readAll() == basicReply.toUtf8();
        }));
        QVERIFY(DesktopSession::waitUntil([&] { return clipboardHolds(desktop(), before); }, 3000));
    }

    void withoutASelectionTheClipboardIsUsedWithANote() {
        QProcess* owner =
            ownClipboard(desktop(), ClipboardContent::textOnly("Words on the clipboard."));
        QVERIFY(owner);
        m_started.append(owner);
        auto target = editor(QStringLiteral("Nothing is selected here."), false);
        QVERIFY(target);

        QVERIFY(openAt(desktop(), QPoint(400, 300)));
        QCOMPARE(palette().value("source").toString(), QStringLiteral("clipboard"));
        QCOMPARE(palette().value("selectedText").toString(),
                 QStringLiteral("Words on the clipboard."));
        QCOMPARE(palette().value("note").toString(), SelectionCapture::noSelectionNote());
        QVERIFY(screenshot(desktop(), QStringLiteral("clipboard-note")));
        QVERIFY(desktop().key(QStringLiteral("1")));
        QVERIFY(waitForPhase(QStringLiteral("done")));
        QVERIFY(!palette().value("canReplace").toBool());

        // Return does nothing: Backspace after it still finds the palette
        // open with its reply, and the editor is untouched.
        QVERIFY(desktop().key(QStringLiteral("Return")));
        QVERIFY(desktop().key(QStringLiteral("BackSpace")));
        QVERIFY(waitForPhase(QStringLiteral("choose")));
        QVERIFY(paletteVisible());
        QCOMPARE(target->text(), QStringLiteral("Nothing is selected here."));

        // Ctrl+C copies the reply and closes.
        QVERIFY(desktop().key(QStringLiteral("1")));
        QVERIFY(waitForPhase(QStringLiteral("done")));
        QVERIFY(desktop().key(QStringLiteral("ctrl+c")));
        QVERIFY(DesktopSession::waitUntil([] { return !paletteVisible(); }));
        QVERIFY(DesktopSession::waitUntil(
            [&] { return desktop().clipboard() == std::optional(basicReply.toUtf8()); }));
        QCOMPARE(target->text(), QStringLiteral("Nothing is selected here."));
    }

    void withNothingAtAllOnlyEscapeActs() {
        // A program that owned the clipboard and quit leaves it empty.
        QProcess* owner = ownClipboard(desktop(), ClipboardContent::textOnly("gone"));
        QVERIFY(owner);
        desktop().stop(owner);
        QVERIFY(DesktopSession::waitUntil([&] { return desktop().clipboardTargets().isEmpty(); }));
        auto target = editor(QStringLiteral("Nothing selected."), false);
        QVERIFY(target);

        QVERIFY(openAt(desktop(), QPoint(500, 250)));
        QCOMPARE(palette().value("source").toString(), QStringLiteral("none"));
        QCOMPARE(palette().value("note").toString(), SelectionCapture::noSelectionNote());
        QVERIFY(screenshot(desktop(), QStringLiteral("empty-state")));
        for (const char* key : {"1", "Return", "Down", "ctrl+c", "BackSpace"})
            QVERIFY(desktop().key(QString::fromLatin1(key)));
        // Escape, handled after all of them, closes the palette; none of them
        // had started a run or moved the selection (the model keeps both).
        QVERIFY(desktop().key(QStringLiteral("Escape")));
        QVERIFY(DesktopSession::waitUntil([] { return !paletteVisible(); }));
        QCOMPARE(phase(), QStringLiteral("choose"));
        QCOMPARE(palette().value("selectedIndex").toInt(), 0);
        QCOMPARE(target->text(), QStringLiteral("Nothing selected."));
    }

    void escapeDuringARunClosesTheConnection() {
        QVERIFY(restartServer(QStringLiteral("ollama_chat_stream_basic.txt"), 250));
        auto target = editor(QStringLiteral("Stop me."), true);
        QVERIFY(target);
        QVERIFY(openAt(desktop(), QPoint(300, 200)));
        QVERIFY(desktop().key(QStringLiteral("3")));
        QVERIFY(DesktopSession::waitUntil(
            [] { return !palette().value("output").toString().isEmpty(); }));
        QCOMPARE(phase(), QStringLiteral("running"));
        QVERIFY(desktop().key(QStringLiteral("Escape")));
        QVERIFY(DesktopSession::waitUntil([] { return !paletteVisible(); }));
        // The server sees the client go away before its reply is over.
        QVERIFY(DesktopSession::waitUntil(
            [&] { return m_server->count(QStringLiteral("client-closed-early")) == 1; }));
        QCOMPARE(m_server->count(QStringLiteral("reply-complete")), 0);
        QVERIFY(restartServer(QStringLiteral("ollama_chat_stream_basic.txt")));
    }

    void aClickOutsideCloses() {
        auto target = editor(QStringLiteral("Click elsewhere."), true);
        QVERIFY(target);
        QVERIFY(openAt(desktop(), QPoint(300, 200)));
        const QJsonObject shown = palette();
        // A click inside, on the hint line, keeps it open.
        QVERIFY(
            desktop().mouseMove(shown.value("x").toInt() + 220, shown.value("y").toInt() + 370));
        QVERIFY(desktop().click());
        QVERIFY(paletteStillTakesKeys());
        QVERIFY(desktop().mouseMove(1100, 700));
        QVERIFY(desktop().click());
        QVERIFY(DesktopSession::waitUntil([] { return !paletteVisible(); }));
    }

    void theHotKeyClosesAnOpenPalette() {
        auto target = editor(QStringLiteral("Toggle me."), true);
        QVERIFY(target);
        QVERIFY(openAt(desktop(), QPoint(300, 200)));
        QVERIFY(desktop().key(QStringLiteral("ctrl+alt+space")));
        // Closed, and no new opening under way (it would be busy from the
        // moment the key is handled).
        QVERIFY(DesktopSession::waitUntil([] {
            const QJsonObject shown = palette();
            return !shown.value("visible").toBool() && !shown.value("busy").toBool();
        }));
        // The next key reaches the editor again, its selection still in place:
        // no palette holds the keyboard.
        QVERIFY(desktop().type(QStringLiteral("x")));
        QVERIFY(DesktopSession::waitUntil([&] { return target->text() == QStringLiteral("x"); }));
        QVERIFY(!paletteVisible());
    }

    void twoQuickPressesOpenOnePalette() {
        auto target = editor(QStringLiteral("Press twice."), true);
        QVERIFY(target);
        QVERIFY(desktop().mouseMove(300, 200));
        // Both presses come while the capture waits for Ctrl and Alt to go up.
        QVERIFY(desktop().keyDown(QStringLiteral("ctrl+alt")));
        QVERIFY(desktop().key(QStringLiteral("space")));
        QVERIFY(desktop().key(QStringLiteral("space")));
        QVERIFY(desktop().keyUp(QStringLiteral("ctrl+alt")));
        QVERIFY(DesktopSession::waitUntil(&paletteVisible));
        // The second press did not close it once it had opened.
        QVERIFY(paletteStillTakesKeys());
        QCOMPARE(palette().value("selectedText").toString(), QStringLiteral("Press twice."));
    }

    void aPaletteReopenedRightAfterClosingStaysOpen_data() {
        QTest::addColumn<QString>("closingKey");
        QTest::newRow("Escape") << QStringLiteral("Escape");
        QTest::newRow("hot key") << QStringLiteral("ctrl+alt+space");
    }

    void aPaletteReopenedRightAfterClosingStaysOpen() {
        QFETCH(QString, closingKey);
        // A run of about 150 ms: its end comes well after the moment a late
        // deactivation would have struck.
        QVERIFY(restartServer(QStringLiteral("ollama_chat_stream_basic.txt"), 15));
        auto target = editor(QStringLiteral("Open me again."), true);
        QVERIFY(target);
        QVERIFY(openAt(desktop(), QPoint(300, 200)));

        // Qt's X11 backend marks the application inactive about 100 ms after
        // one of its windows lost the focus, which the closing palette does.
        // The hot key follows the closing key after a growing pause, so that
        // the new palette comes up at every moment around that deadline.
        for (int pause = 0; pause <= 50; pause += 2) {
            const QString reopened = QStringLiteral("reopened after %1 ms").arg(pause);
            QVERIFY(paletteStillTakesKeys()); // the old palette is on its second action
            QVERIFY(desktop().run(QStringLiteral("xdotool"),
                                  {QStringLiteral("key"), closingKey, QStringLiteral("sleep"),
                                   QString::number(pause / 1000.0, 'f', 3), QStringLiteral("key"),
                                   QStringLiteral("ctrl+alt+space")}));
            QVERIFY2(DesktopSession::waitUntil([] {
                         const QJsonObject shown = palette();
                         return shown.value("visible").toBool() && !shown.value("busy").toBool() &&
                                shown.value("selectedIndex").toInt() == 0;
                     }),
                     qPrintable(reopened));
            // Later it still takes the keys only it handles: a run ends in
            // its reply, and Backspace goes back to the list.
            QVERIFY2(desktop().key(QStringLiteral("1")), qPrintable(reopened));
            QVERIFY2(waitForPhase(QStringLiteral("done")), qPrintable(reopened));
            QVERIFY2(desktop().key(QStringLiteral("BackSpace")), qPrintable(reopened));
            QVERIFY2(waitForPhase(QStringLiteral("choose")), qPrintable(reopened));
            QVERIFY2(paletteVisible(), qPrintable(reopened));
        }
        QCOMPARE(palette().value("selectedText").toString(), QStringLiteral("Open me again."));
        QVERIFY(restartServer(QStringLiteral("ollama_chat_stream_basic.txt")));
    }

    void aDeadServerThenRetryAfterItStarts() {
        desktop().stop(m_server->process);
        m_server.reset();
        auto target = editor(QStringLiteral("Try again later."), true);
        QVERIFY(target);
        QVERIFY(openAt(desktop(), QPoint(300, 200)));
        QVERIFY(desktop().key(QStringLiteral("1")));
        QVERIFY(waitForPhase(QStringLiteral("failed")));
        QCOMPARE(palette().value("errorMessage").toString(),
                 QStringLiteral("No model server is running at 127.0.0.1:%1. Start Ollama or LM "
                                "Studio (or check the server address in Settings \u2192 Model), "
                                "then press Retry.")
                     .arg(m_port));
        QVERIFY(screenshot(desktop(), QStringLiteral("failed")));

        QVERIFY(restartServer(QStringLiteral("ollama_chat_stream_basic.txt")));
        QVERIFY(desktop().key(QStringLiteral("ctrl+r")));
        QVERIFY(waitForPhase(QStringLiteral("done")));
        QCOMPARE(palette().value("cleanedOutput").toString(), basicReply);
        QCOMPARE(palette().value("errorMessage").toString(), QString());
    }

    void anHttpErrorShowsTheServersMessage() {
        QVERIFY(restartServer(QStringLiteral("ollama_chat_error_404_model_not_found.txt")));
        auto target = editor(QStringLiteral("Missing model."), true);
        QVERIFY(target);
        QVERIFY(openAt(desktop(), QPoint(300, 200)));
        QVERIFY(desktop().key(QStringLiteral("1")));
        QVERIFY(waitForPhase(QStringLiteral("failed")));
        QCOMPARE(palette().value("errorMessage").toString(),
                 QStringLiteral("The model server returned an error (HTTP 404): model 'llama9' "
                                "not found"));
        QVERIFY(restartServer(QStringLiteral("ollama_chat_stream_basic.txt")));
    }

    void aSecondWendleOpensThePaletteOfTheFirst() {
        auto target = editor(QStringLiteral("Second instance."), true);
        QVERIFY(target);
        QVERIFY(desktop().mouseMove(300, 200));
        QProcess* second = desktop().start(QStringLiteral(WENDLE_PROGRAM));
        QVERIFY(second);
        QVERIFY(second->waitForFinished(5000));
        QCOMPARE(second->exitCode(), 0);
        QVERIFY(DesktopSession::waitUntil(&paletteVisible));
        QCOMPARE(palette().value("selectedText").toString(), QStringLiteral("Second instance."));
        QCOMPARE(m_wendle->state(), QProcess::Running);
    }

    void wendleToggleClosesAndOpensThePalette() {
        auto target = editor(QStringLiteral("Bound to a shortcut."), true);
        QVERIFY(target);
        QVERIFY(desktop().mouseMove(300, 200));
        const auto toggle = [this] {
            QProcess* command =
                desktop().start(QStringLiteral(WENDLE_PROGRAM), {QStringLiteral("toggle")});
            return command && command->waitForFinished(5000) && command->exitCode() == 0;
        };
        QVERIFY(toggle());
        QVERIFY(DesktopSession::waitUntil(&paletteVisible));
        QCOMPARE(palette().value("selectedText").toString(),
                 QStringLiteral("Bound to a shortcut."));
        QVERIFY(toggle());
        QVERIFY(DesktopSession::waitUntil([] { return !paletteVisible(); }));
    }
};

WENDLE_DESKTOP_TEST_MAIN(TestPaletteRoad,
                         (DesktopSession::Options{.windowManager = true, .trayHost = true}))
#include "tst_palette_road.moc"
