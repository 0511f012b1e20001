#include "DesktopTestMain.h"
#include "PaletteDesktop.h"

#include <QElapsedTimer>
#include <QFileInfo>

using namespace PaletteDesktop;

// The palette road into terminal emulators with their default bindings: a
// default xterm, which has no clipboard keystroke, and st, which copies and
// pastes with Ctrl+Shift+C/V. Neither may ever receive a Ctrl+C. The real
// `wendle` on a private X desktop, keystrokes and clicks from xdotool, a
// model server replaying a recorded Ollama reply.
class TestPaletteTerminals : public QObject {
    Q_OBJECT
private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    std::optional<ModelServer> m_server;
    QList<QProcess*> m_started;
    int m_files = 0;
    QProcess* m_wendle = nullptr;

    // A terminal emulator with its default bindings, running a shell that
    // notes every interrupt and appends every byte it is given to a file (no
    // line editing, no echo). Its first line reads "words to select here".
    struct Terminal {
        QProcess* process = nullptr;
        quint64 window = 0;
        QString interrupts;
        QString typed;
        bool interrupted() const { return QFile::exists(interrupts); }
        QByteArray received() const {
            QFile f(typed);
            return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
        }
    };

    // `arguments` go before the title and the command (-class, -c, -n).
    std::optional<Terminal> terminal(const QString& program, const QStringList& arguments = {}) {
        const QString name =
            QStringLiteral("palette-%1-%2").arg(QFileInfo(program).fileName()).arg(++m_files);
        Terminal term;
        term.interrupts = desktop().tempPath() + QLatin1Char('/') + name + QStringLiteral(".int");
        term.typed = desktop().tempPath() + QLatin1Char('/') + name + QStringLiteral(".typed");
        const QString script =
            QStringLiteral("trap 'echo INT >> %1' INT; echo words to select here; "
                           "stty -icanon min 1 time 0 -echo; while :; do cat >> %2; done")
                .arg(term.interrupts, term.typed);
        // xterm and st both take -T for the title and -e for the command.
        term.process = desktop().start(
            program, arguments + QStringList{QStringLiteral("-T"), name, QStringLiteral("-e"),
                                             QStringLiteral("sh"), QStringLiteral("-c"), script});
        if (!term.process)
            return std::nullopt;
        m_started.append(term.process);
        term.window = desktop().findWindowByName(QLatin1Char('^') + name + QLatin1Char('$'),
                                                 DesktopSession::programStartMs);
        // The shell is ready for input once its first cat has opened the file.
        if (!term.window || !desktop().activate(term.window) ||
            !DesktopSession::waitUntil([&] { return QFile::exists(term.typed); }))
            return std::nullopt;
        return term;
    }

    // Double-clicks the word "select" on the terminal's first line (characters
    // 9 to 14: x 75 lies inside it for fonts 6 to 8 pixels wide); returns the
    // selection the terminal made (PRIMARY).
    std::optional<QString> selectWord(const Terminal& term) {
        if (!desktop().mouseMove(75, 8, term.window) || !desktop().click(1, 2))
            return std::nullopt;
        std::optional<QByteArray> primary;
        const bool selected = DesktopSession::waitUntil([&] {
            primary = desktop().run(
                QStringLiteral("xclip"),
                {QStringLiteral("-o"), QStringLiteral("-selection"), QStringLiteral("primary")});
            return primary && primary->contains("select");
        });
        return selected ? std::optional(QString::fromUtf8(*primary)) : std::nullopt;
    }
    // Opens the palette over the terminal with a word selected in it, and
    // closes it again; the palette's source ("selection" or "clipboard").
    // With text of another program's on the clipboard, which a palette
    // without the selection works on.
    QString openAndClose(const Terminal& term) {
        QProcess* owner = ownClipboard(desktop(), ClipboardContent::textOnly("kept"));
        if (!owner)
            return {};
        m_started.append(owner);
        if (!selectWord(term) || !openAt(desktop(), QPoint(400, 300)))
            return {};
        const QString source = palette().value("source").toString();
        desktop().key(QStringLiteral("Escape"));
        return DesktopSession::waitUntil([] { return !paletteVisible(); }) ? source : QString();
    }

    // Types "ok" into the terminal and waits until its program got it: any
    // interrupt sent before would have been noted by then.
    bool neverInterrupted(const Terminal& term) {
        return desktop().type(QStringLiteral("ok")) &&
               DesktopSession::waitUntil([&] { return term.received().endsWith("ok"); }) &&
               !term.interrupted();
    }

    // The user's keystroke rules in the data folder.
    static bool writeRules(const QByteArray& json) {
        const QString folder =
            QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
            QStringLiteral("/Wendle");
        QFile file(folder + QStringLiteral("/keystrokes.json"));
        return QDir().mkpath(folder) && file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
               file.write(json) == json.size();
    }

    // st under another program name, which no rule knows.
    QString unknownTerminal() {
        const QString copy = desktop().tempPath() + QStringLiteral("/someterm");
        if (!QFile::exists(copy) && !QFile::copy(QStringLiteral("/usr/bin/stterm"), copy))
            return {};
        QFile::setPermissions(copy, QFile::permissions(copy) | QFileDevice::ExeOwner);
        return copy;
    }

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
        QVERIFY(hotKeyAndTrayUp());
    }

    void cleanup() { QVERIFY(closePaletteAndStop(desktop(), m_started)); }

    void aDefaultXtermNeverReceivesCtrlC() {
        // A default xterm has no keystroke for the CLIPBOARD: nothing is sent
        // to it, and what it shows selected (PRIMARY) is taken at once.
        const ClipboardContent before = ClipboardContent::textOnly("Words on the clipboard.");
        QProcess* owner = ownClipboard(desktop(), before);
        QVERIFY(owner);
        m_started.append(owner);
        auto term = terminal(QStringLiteral("xterm"));
        QVERIFY(term);
        QCOMPARE(selectWord(*term), std::optional<QString>(QStringLiteral("select")));

        // The palette opens at once, while Ctrl and Alt are still held: a
        // capture that copies would first wait up to 600 ms for them to go
        // up, then up to 500 ms for the copy.
        QVERIFY(desktop().mouseMove(400, 300));
        QVERIFY(desktop().keyDown(QStringLiteral("ctrl+alt")));
        QElapsedTimer clock;
        clock.start();
        QVERIFY(desktop().key(QStringLiteral("space")));
        const bool opened = DesktopSession::waitUntil(&paletteVisible);
        const qint64 openedMs = clock.elapsed();
        QVERIFY(desktop().keyUp(QStringLiteral("ctrl+alt")));
        QVERIFY(opened);
        QVERIFY2(openedMs < 600, qPrintable(QStringLiteral("opened after %1 ms").arg(openedMs)));
        QCOMPARE(palette().value("source").toString(), QStringLiteral("selection"));
        QCOMPARE(palette().value("selectedText").toString(), QStringLiteral("select"));
        QCOMPARE(palette().value("note").toString(), QString());
        QVERIFY(desktop().key(QStringLiteral("1")));
        QVERIFY(waitForPhase(QStringLiteral("done")));
        QVERIFY(desktop().key(QStringLiteral("Escape")));
        QVERIFY(DesktopSession::waitUntil([] { return !paletteVisible(); }));
        QVERIFY(clipboardHolds(desktop(), before));

        // What is typed now is the first and only input the program gets, and
        // it arrives after any interrupt would have been noted.
        QVERIFY(desktop().type(QStringLiteral("ok")));
        QVERIFY(DesktopSession::waitUntil([&] { return term->received() == "ok"; }));
        QVERIFY(!term->interrupted());
        // The shell does note a Ctrl+C.
        QVERIFY(desktop().key(QStringLiteral("ctrl+c")));
        QVERIFY(DesktopSession::waitUntil([&] { return term->interrupted(); }));
    }

    void stGivesItsSelectionAndTakesTheReply() {
        // st copies and pastes the CLIPBOARD with Ctrl+Shift+C / Ctrl+Shift+V.
        const ClipboardContent before = ClipboardContent::textOnly("kept");
        QProcess* owner = ownClipboard(desktop(), before);
        QVERIFY(owner);
        m_started.append(owner);
        auto term = terminal(QStringLiteral("stterm"));
        QVERIFY(term);
        // (st takes any click in the first 600 ms after its start for a
        // triple click, which selects the whole line: either will do.)
        const std::optional<QString> selected = selectWord(*term);
        QVERIFY(selected);

        QVERIFY(openAt(desktop(), QPoint(400, 300)));
        QCOMPARE(palette().value("source").toString(), QStringLiteral("selection"));
        QCOMPARE(palette().value("selectedText").toString(), *selected);
        QVERIFY(clipboardHolds(desktop(), before));
        QVERIFY(desktop().key(QStringLiteral("1")));
        QVERIFY(waitForPhase(QStringLiteral("done")));
        QVERIFY(desktop().key(QStringLiteral("Return")));
        QVERIFY(DesktopSession::waitUntil([] { return !paletteVisible(); }));

        // The reply reaches the program as its only input; no interrupt came
        // before it, and the clipboard is the user's again.
        QVERIFY(DesktopSession::waitUntil([&] { return term->received() == basicReply.toUtf8(); }));
        QVERIFY(!term->interrupted());
        QVERIFY(DesktopSession::waitUntil([&] { return clipboardHolds(desktop(), before); }, 3000));
        // The shell does note a Ctrl+C.
        QVERIFY(desktop().key(QStringLiteral("ctrl+c")));
        QVERIFY(DesktopSession::waitUntil([&] { return term->interrupted(); }));
    }

    void anXtermWithAnotherClassAndNameNeverReceivesCtrlC() {
        // Neither WM_CLASS name says xterm; the program behind the window does.
        auto term =
            terminal(QStringLiteral("xterm"), {QStringLiteral("-class"), QStringLiteral("Console"),
                                               QStringLiteral("-name"), QStringLiteral("logs")});
        QVERIFY(term);
        // No keystroke: what it shows selected comes from PRIMARY.
        QCOMPARE(openAndClose(*term), QStringLiteral("selection"));
        QVERIFY(neverInterrupted(*term));
    }

    void stWithAnotherClassAndNameStillCopiesWithCtrlShiftC() {
        auto term =
            terminal(QStringLiteral("stterm"), {QStringLiteral("-c"), QStringLiteral("Notes"),
                                                QStringLiteral("-n"), QStringLiteral("notes")});
        QVERIFY(term);
        QCOMPARE(openAndClose(*term), QStringLiteral("selection"));
        QVERIFY(neverInterrupted(*term));
    }

    void aTerminalNoRuleKnowsGetsNoKeystrokeAndAUserRuleGivesItOne() {
        const QString program = unknownTerminal();
        QVERIFY(!program.isEmpty());
        const QStringList names{QStringLiteral("-c"), QStringLiteral("FooTerm"),
                                QStringLiteral("-n"), QStringLiteral("foo")};
        auto term = terminal(program, names);
        QVERIFY(term);
        // Known only by what runs in it: a shell on a pseudo-terminal. It gets
        // no keystroke, and what it shows selected comes from PRIMARY.
        QCOMPARE(openAndClose(*term), QStringLiteral("selection"));
        QVERIFY(neverInterrupted(*term));

        // The user's rule holds at once: its copy keystroke is sent. This one
        // copies nothing in st, so the capture falls back to the clipboard,
        // which tells it apart from the PRIMARY read above.
        QVERIFY(
            writeRules(R"([{"class": "foo*", "copy": "Ctrl+Shift+X", "paste": "Ctrl+Shift+V"}])"));
        QCOMPARE(openAndClose(*term), QStringLiteral("clipboard"));
        QVERIFY(neverInterrupted(*term));
        QVERIFY(writeRules("[]"));
    }

    void aMalformedRulesFileIsReportedAndIgnored() {
        QVERIFY(writeRules(R"([{"class": "XTerm", "copy": "Ctrl+Shfit+C", "paste": "none"}])"));
        auto term = terminal(QStringLiteral("xterm"));
        QVERIFY(term);
        QCOMPARE(openAndClose(*term), QStringLiteral("selection"));
        QVERIFY(neverInterrupted(*term));
        QVERIFY(DesktopSession::waitUntil([&] {
            return desktop().output(m_wendle).contains(
                "keystrokes.json is ignored: rule 1: \"copy\" is not a keystroke: "
                "\"Ctrl+Shfit+C\"");
        }));
        QVERIFY(writeRules("[]"));
    }
};

WENDLE_DESKTOP_TEST_MAIN(TestPaletteTerminals,
                         (DesktopSession::Options{.windowManager = true, .trayHost = true}))
#include "tst_palette_terminals.moc"
