#include "DesktopTestMain.h"
#include "PaletteDesktop.h"

#include <QDirIterator>

#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace PaletteDesktop;

// Quitting Wendle from its tray menu while it serves the user's clipboard
// (which it does after every palette, having put the user's content back):
// nothing of it may be lost. With a clipboard manager running (our test
// tool), the manager gets it; without one, Wendle leaves a keeper process of
// its own behind that serves it until another program takes the clipboard.
//
// This test is the "subreaper" of everything started under it, so the keeper,
// which Wendle starts detached, becomes its child once Wendle is gone: found
// by its parent process id, waited for and, at the latest at the end, ended
// by its process id.
class TestClipboardQuit : public QObject {
    Q_OBJECT
private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    QList<QProcess*> m_started;
    quint16 m_port = 0;

    // Wendle's keepers that have become children of this test. Its other
    // children (the display, the window manager, the programs it started)
    // are none of this code's business.
    static QList<pid_t> keepers() {
        QList<pid_t> found;
        QDirIterator entries(QStringLiteral("/proc"), QDir::Dirs | QDir::NoDotAndDotDot);
        while (entries.hasNext()) {
            bool number = false;
            const pid_t pid = entries.next().section(QLatin1Char('/'), -1).toInt(&number);
            if (!number)
                continue;
            QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
            QFile commandLine(QStringLiteral("/proc/%1/cmdline").arg(pid));
            if (!stat.open(QIODevice::ReadOnly) || !commandLine.open(QIODevice::ReadOnly))
                continue;
            // "pid (name) state ppid ...": the name may hold spaces and brackets.
            const QByteArray line = stat.readAll();
            const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
            const QList<QByteArray> arguments = commandLine.readAll().split('\0');
            if (fields.size() > 1 && fields.at(1).toInt() == getpid() &&
                arguments.value(0) == QByteArray(WENDLE_PROGRAM) &&
                arguments.value(1) == QByteArray("--keep-clipboard"))
                found.append(pid);
        }
        return found;
    }
    // Whether the keeper `pid` has ended (and is reaped).
    static bool ended(pid_t pid) {
        int status = 0;
        const pid_t result = waitpid(pid, &status, WNOHANG);
        return result == pid || (result < 0 && errno == ECHILD);
    }
    static void endKeepers() {
        for (pid_t pid : keepers()) {
            if (!ended(pid)) {
                kill(pid, SIGTERM);
                waitpid(pid, nullptr, 0);
            }
        }
    }

    // Chooses "Quit Wendle", the menu's last entry, as a person does: a click
    // on the tray icon, then the keyboard.
    bool quitFromTray() {
        const QJsonObject icon = tray().value(QStringLiteral("icon")).toObject();
        const int width = icon.value(QStringLiteral("width")).toInt();
        const int height = icon.value(QStringLiteral("height")).toInt();
        return width > 0 &&
               desktop().mouseMove(icon.value(QStringLiteral("x")).toInt() + width / 2,
                                   icon.value(QStringLiteral("y")).toInt() + height / 2) &&
               desktop().click() && DesktopSession::waitUntil(&trayMenuShown) &&
               desktop().key(QStringLiteral("Up Return"));
    }

    // Wendle, showing the palette on a selection in the test editor with
    // `content` on the clipboard, then closing it: the capture put the user's
    // content back, so Wendle serves it now. The program that had it before
    // has ended, so no one else could.
    QProcess* wendleServing(const ClipboardContent& content) {
        QProcess* wendle = startWendle(desktop());
        if (!wendle || !hotKeyAndTrayUp())
            return nullptr;
        m_started.append(wendle);
        QProcess* owner = ownClipboard(desktop(), content);
        auto editor =
            desktop().startEditor({.text = QStringLiteral("Selected."), .selectAll = true});
        if (!owner || !editor || !desktop().activate(editor->window))
            return nullptr;
        m_started.append(editor->process);
        if (!openAt(desktop(), QPoint(300, 200)) || !desktop().key(QStringLiteral("Escape")) ||
            !DesktopSession::waitUntil([] { return !paletteVisible(); }))
            return nullptr;
        desktop().stop(owner);
        return clipboardHolds(desktop(), content) ? wendle : nullptr;
    }

    static bool quits(QProcess* wendle, int withinMs) {
        return DesktopSession::waitUntil([&] { return wendle->state() == QProcess::NotRunning; },
                                         withinMs) &&
               wendle->exitStatus() == QProcess::NormalExit && wendle->exitCode() == 0;
    }

private Q_SLOTS:
    void initTestCase() {
        QCOMPARE(prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0), 0);
        m_port = freePort();
        QVERIFY(m_port);
        QVERIFY(writeSettings(m_port));
    }

    void cleanup() {
        for (QProcess* process : std::as_const(m_started))
            desktop().stop(process);
        m_started.clear();
        endKeepers();
    }

    void withoutAClipboardManagerAKeeperServesTheClipboardUntilAnotherTakesIt() {
        const ClipboardContent before = ClipboardContent::rich();
        QProcess* wendle = wendleServing(before);
        QVERIFY(wendle);

        QVERIFY(quitFromTray());
        QVERIFY(quits(wendle, 10000));
        QVERIFY(clipboardHolds(desktop(), before));
        const QList<pid_t> kept = keepers();
        QCOMPARE(kept.size(), 1);

        // Another program's copy ends it.
        QVERIFY(desktop().setClipboard("copied later"));
        QVERIFY(DesktopSession::waitUntil([&] { return ended(kept.first()); }));
        QVERIFY(keepers().isEmpty());
    }

    void aClipboardManagerGetsTheClipboardAndNoKeeperIsLeft() {
        QProcess* manager = desktop().start(QStringLiteral(WENDLE_CLIP_MANAGER));
        QVERIFY(manager);
        m_started.append(manager);
        QVERIFY(DesktopSession::waitUntil(
            [&] { return desktop().output(manager).contains("managing"); }));
        const ClipboardContent before = ClipboardContent::rich();
        QProcess* wendle = wendleServing(before);
        QVERIFY(wendle);

        QVERIFY(quitFromTray());
        QVERIFY(quits(wendle, 10000));
        QVERIFY(DesktopSession::waitUntil(
            [&] { return desktop().output(manager).contains("serving"); }));
        const QByteArray saved = desktop().output(manager);
        for (const auto& [format, bytes] : before.formats) {
            const QByteArray target = " " + targetOf(format).toLatin1();
            QVERIFY2(saved.contains(target), saved.constData());
        }
        QVERIFY(clipboardHolds(desktop(), before));
        QVERIFY(keepers().isEmpty());
    }

    void quittingDuringAReplaceFinishesItFirst() {
        const ClipboardContent before = ClipboardContent::rich();
        QProcess* wendle = startWendle(desktop());
        QVERIFY(wendle);
        m_started.append(wendle);
        QVERIFY(hotKeyAndTrayUp());
        QProcess* owner = ownClipboard(desktop(), before);
        QVERIFY(owner);
        m_started.append(owner);
        auto server =
            startModelServer(desktop(), m_port, QStringLiteral("ollama_chat_stream_basic.txt"));
        QVERIFY(server);
        m_started.append(server->process);
        const QString sentence = QStringLiteral("Replace me.");
        auto editor =
            desktop().startEditor({.text = sentence, .selectAll = true, .busyBeforePasteMs = 1500});
        QVERIFY(editor);
        m_started.append(editor->process);
        QVERIFY(desktop().activate(editor->window));
        QVERIFY(openAt(desktop(), QPoint(300, 200)));
        QVERIFY(desktop().key(QStringLiteral("1")));
        QVERIFY(waitForPhase(QStringLiteral("done")));
        QVERIFY(desktop().key(QStringLiteral("Return")));

        // While the editor is busy with the paste, the user quits.
        QVERIFY(DesktopSession::waitUntil(
            [&] { return desktop().output(editor->process).contains("busy"); }));
        QVERIFY(quitFromTray());
        QVERIFY(quits(wendle, 10000));
        QCOMPARE(editor->text(), basicReply);
        QVERIFY(clipboardHolds(desktop(), before));
        QCOMPARE(keepers().size(), 1);
    }

    void whenAnotherProgramHasTheClipboardWendleJustQuits() {
        QProcess* wendle = startWendle(desktop());
        QVERIFY(wendle);
        m_started.append(wendle);
        QVERIFY(hotKeyAndTrayUp());
        const ClipboardContent theirs = ClipboardContent::textOnly("not Wendle's");
        QProcess* owner = ownClipboard(desktop(), theirs);
        QVERIFY(owner);
        m_started.append(owner);

        QVERIFY(quitFromTray());
        QVERIFY(quits(wendle, 5000));
        QVERIFY(keepers().isEmpty());
        QVERIFY(clipboardHolds(desktop(), theirs));
    }
};

WENDLE_DESKTOP_TEST_MAIN(TestClipboardQuit,
                         (DesktopSession::Options{.windowManager = true, .trayHost = true}))
#include "tst_clipboard_quit.moc"
