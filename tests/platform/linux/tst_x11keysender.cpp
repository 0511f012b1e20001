// XTest key presses reach the focused window with exactly the modifiers asked
// for, also while the user holds others; terminals get their own copy and
// paste keystrokes with their default bindings (st: Ctrl+Shift+C/V; xterm:
// none, so nothing at all, and the sender says so) and never a Ctrl+C.

#include "X11TestSupport.h"

#include "DesktopTestMain.h"

#include <QElapsedTimer>
#include <QFile>

class TestX11KeySender : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void typesWithExactModifiers();
    void liftsHeldModifiersForThePress();
    void copiesAndPastesInAnEditor();
    void markerComesBackAfterTheKeys();
    void stGetsItsShiftedShortcuts();
    void aDefaultXtermGetsNothing();
    void heldTypingArrivesAfterOurKeysInOrder();

private:
    // A terminal whose first line reads "wendleword here" and whose program
    // records every byte it receives, raw, in `record`.
    struct Terminal {
        QProcess* process = nullptr;
        quint64 window = 0;
        QString record;
        QByteArray recorded() const {
            QFile f(record);
            return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
        }
    };
    std::optional<Terminal> startTerminal(const QString& program, const QString& title);
    // Double-clicks the word on the terminal's first line; returns the
    // selection the terminal has made (PRIMARY).
    std::optional<QByteArray> selectFirstWord(const Terminal& terminal);

    DesktopSession& desktop() { return DesktopSession::current(); }
    KeySender& sender() { return m_platform->keySender(); }
    std::unique_ptr<X11Platform> m_platform;
};

void TestX11KeySender::initTestCase() {
    QString error;
    m_platform = createX11Platform(&error);
    QVERIFY2(m_platform, qPrintable(error));
}

void TestX11KeySender::cleanupTestCase() {
    m_platform.reset();
}

void TestX11KeySender::typesWithExactModifiers() {
    auto editor = desktop().startEditor({});
    QVERIFY(editor);
    QVERIFY(desktop().activate(editor->window));
    sender().send(Qt::Key_H, Qt::NoModifier);
    sender().send(Qt::Key_I, Qt::ShiftModifier);
    sender().send(Qt::Key_Colon, Qt::NoModifier); // a shifted symbol brings its Shift
    sender().send(Qt::Key_1, Qt::ShiftModifier);
    sender().send(Qt::Key_Space, Qt::NoModifier);
    sender().send(Qt::Key_Semicolon, Qt::NoModifier);
    QTRY_COMPARE(editor->text(), QStringLiteral("hI:! ;"));
    sender().send(Qt::Key_Backspace, Qt::NoModifier);
    sender().send(Qt::Key_Backspace, Qt::NoModifier);
    QTRY_COMPARE(editor->text(), QStringLiteral("hI:!"));
    // Ctrl+A selects all in the editor: the next letter replaces everything.
    sender().send(Qt::Key_A, Qt::ControlModifier);
    sender().send(Qt::Key_Z, Qt::NoModifier);
    QTRY_COMPARE(editor->text(), QStringLiteral("z"));
    desktop().stop(editor->process);
}

void TestX11KeySender::liftsHeldModifiersForThePress() {
    XConnection& connection = m_platform->connection();
    auto editor = desktop().startEditor({.text = QStringLiteral("keep ")});
    QVERIFY(editor);
    QVERIFY(desktop().activate(editor->window));

    // The user holds Ctrl: a plain "a" must still type "a", not select all.
    QVERIFY(desktop().keyDown(QStringLiteral("ctrl")));
    sender().send(Qt::Key_A, Qt::NoModifier);
    QVERIFY(settle(connection));
    // Held again afterwards, as the user still holds it.
    QVERIFY(modifierMask(connection) & XCB_MOD_MASK_CONTROL);
    QVERIFY(m_platform->modifierState().controlOrOptionHeld());
    QVERIFY(desktop().keyUp(QStringLiteral("ctrl")));
    QVERIFY(!m_platform->modifierState().controlOrOptionHeld());

    // Shift held: a plain "b" stays lower case; Alt held: a plain "c" types.
    QVERIFY(desktop().keyDown(QStringLiteral("shift")));
    sender().send(Qt::Key_B, Qt::NoModifier);
    QVERIFY(desktop().keyUp(QStringLiteral("shift")));
    QVERIFY(desktop().keyDown(QStringLiteral("alt")));
    QVERIFY(m_platform->modifierState().controlOrOptionHeld());
    sender().send(Qt::Key_C, Qt::NoModifier);
    QVERIFY(desktop().keyUp(QStringLiteral("alt")));
    QTRY_COMPARE(editor->text(), QStringLiteral("keep abc"));

    // Held Ctrl and an asked-for Ctrl: one Ctrl+A, then the text is replaced.
    QVERIFY(desktop().keyDown(QStringLiteral("ctrl")));
    sender().send(Qt::Key_A, Qt::ControlModifier);
    QVERIFY(desktop().keyUp(QStringLiteral("ctrl")));
    sender().send(Qt::Key_X, Qt::NoModifier);
    QTRY_COMPARE(editor->text(), QStringLiteral("x"));
    QCOMPARE(
        modifierMask(connection) & (XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_1), 0);
    desktop().stop(editor->process);
}

void TestX11KeySender::copiesAndPastesInAnEditor() {
    auto editor = desktop().startEditor({.text = QStringLiteral("copy me"), .selectAll = true});
    QVERIFY(editor);
    QVERIFY(desktop().activate(editor->window));
    QVERIFY(sender().hasShortcut(KeySender::Shortcut::copy));
    QVERIFY(sender().hasShortcut(KeySender::Shortcut::paste));
    QVERIFY(desktop().setClipboard("old"));
    sender().sendShortcut(KeySender::Shortcut::copy);
    QVERIFY(DesktopSession::waitUntil(
        [&] { return desktop().clipboard() == std::optional<QByteArray>("copy me"); }));
    sender().send(Qt::Key_End, Qt::NoModifier);
    sender().sendShortcut(KeySender::Shortcut::paste);
    QTRY_COMPARE(editor->text(), QStringLiteral("copy mecopy me"));
    desktop().stop(editor->process);
}

void TestX11KeySender::markerComesBackAfterTheKeys() {
    XConnection& connection = m_platform->connection();
    QVERIFY(settle(connection));
    QSignalSpy returned(&connection, &XConnection::markerReturned);
    QElapsedTimer timer;
    double total = 0;
    double worst = 0;
    const int rounds = 20;
    for (int i = 0; i < rounds; ++i) {
        timer.start();
        sender().send(Qt::Key_F12, Qt::NoModifier);
        QCOMPARE(connection.markersOutstanding(), 1);
        // Nothing turns the event loop before this wait: the marker cannot
        // have been handed out yet.
        QVERIFY(returned.wait(2000));
        const double ms = timer.nsecsElapsed() / 1e6;
        total += ms;
        worst = qMax(worst, ms);
        QCOMPARE(connection.markersOutstanding(), 0);
    }
    qInfo("marker round trip after a key press: mean %.3f ms, worst %.3f ms over %d",
          total / rounds, worst, rounds);
}

std::optional<TestX11KeySender::Terminal> TestX11KeySender::startTerminal(const QString& program,
                                                                          const QString& title) {
    Terminal terminal;
    terminal.record = desktop().tempPath() + QLatin1Char('/') + title + QStringLiteral(".input");
    const QString shell =
        QStringLiteral("printf 'wendleword here\\n'; stty raw -echo; exec cat > '%1'")
            .arg(terminal.record);
    // Both take -T for the title and -e for the command, and no X resources
    // are loaded on the test's display: every binding is the default one.
    terminal.process =
        desktop().start(program, {QStringLiteral("-T"), title, QStringLiteral("-e"),
                                  QStringLiteral("sh"), QStringLiteral("-c"), shell});
    if (!terminal.process)
        return std::nullopt;
    terminal.window = desktop().findWindowByName(QLatin1Char('^') + title + QLatin1Char('$'));
    // The record exists once the program reads raw input.
    if (!terminal.window ||
        !DesktopSession::waitUntil([&] { return QFile::exists(terminal.record); }) ||
        !desktop().activate(terminal.window))
        return std::nullopt;
    return terminal;
}

std::optional<QByteArray> TestX11KeySender::selectFirstWord(const Terminal& terminal) {
    if (!desktop().mouseMove(15, 8, terminal.window) || !desktop().click(1, 2))
        return std::nullopt;
    std::optional<QByteArray> primary;
    DesktopSession::waitUntil([&] {
        primary = desktop().run(
            QStringLiteral("xclip"),
            {QStringLiteral("-o"), QStringLiteral("-selection"), QStringLiteral("primary")});
        return primary && primary->startsWith("wendleword");
    });
    return primary && primary->startsWith("wendleword") ? primary : std::nullopt;
}

void TestX11KeySender::stGetsItsShiftedShortcuts() {
    auto st = startTerminal(QStringLiteral("stterm"), QStringLiteral("wendle-st"));
    QVERIFY(st);
    QCOMPARE(m_platform->frontWindow().current().windowClass, QStringLiteral("st-256color"));
    QVERIFY(sender().hasShortcut(KeySender::Shortcut::copy));
    QVERIFY(sender().hasShortcut(KeySender::Shortcut::paste));

    // Select the word, then copy it our way: the clipboard takes the
    // selection. (st takes any click in the first 600 ms after its start for
    // a triple click, which selects the whole line: either will do.)
    QVERIFY(desktop().setClipboard("unchanged"));
    const std::optional<QByteArray> selected = selectFirstWord(*st);
    QVERIFY(selected);
    sender().sendShortcut(KeySender::Shortcut::copy);
    QVERIFY2(DesktopSession::waitUntil([&] { return desktop().clipboard() == selected; }),
             desktop().clipboard().value_or("(none)").constData());

    // Our paste reaches the program inside, which never saw an interrupt.
    QVERIFY(desktop().setClipboard("pasted"));
    sender().sendShortcut(KeySender::Shortcut::paste);
    QVERIFY(DesktopSession::waitUntil([&] { return st->recorded().contains("pasted"); }));
    QCOMPARE(st->recorded(), QByteArray("pasted"));

    // The recorder does see a plain Ctrl+C as the interrupt character.
    sender().send(Qt::Key_C, Qt::ControlModifier);
    QVERIFY(DesktopSession::waitUntil([&] { return st->recorded() == "pasted\x03"; }));
    desktop().stop(st->process);
}

void TestX11KeySender::aDefaultXtermGetsNothing() {
    XConnection& connection = m_platform->connection();
    auto xterm = startTerminal(QStringLiteral("xterm"), QStringLiteral("wendle-xterm"));
    QVERIFY(xterm);
    QCOMPARE(m_platform->frontWindow().current().windowClass, QStringLiteral("XTerm"));
    // It says so when asked.
    QVERIFY(!sender().hasShortcut(KeySender::Shortcut::copy));
    QVERIFY(!sender().hasShortcut(KeySender::Shortcut::paste));
    QVERIFY(desktop().setClipboard("unchanged"));
    QVERIFY(selectFirstWord(*xterm));

    // Nothing is sent: not even the marker that ends every key press.
    QVERIFY(settle(connection));
    sender().sendShortcut(KeySender::Shortcut::copy);
    sender().sendShortcut(KeySender::Shortcut::paste);
    QCOMPARE(connection.markersOutstanding(), 0);

    // A letter typed afterwards is the first and only byte the program
    // receives, and the clipboard still holds what it held.
    sender().send(Qt::Key_Z, Qt::NoModifier);
    QVERIFY(DesktopSession::waitUntil([&] { return !xterm->recorded().isEmpty(); }));
    QCOMPARE(xterm->recorded(), QByteArray("z"));
    QCOMPARE(desktop().clipboard(), std::optional<QByteArray>("unchanged"));

    // The recorder does see a plain Ctrl+C as the interrupt character.
    sender().send(Qt::Key_C, Qt::ControlModifier);
    QVERIFY(DesktopSession::waitUntil([&] { return xterm->recorded() == "z\x03"; }));
    desktop().stop(xterm->process);
}

WENDLE_DESKTOP_TEST_MAIN(TestX11KeySender, (DesktopSession::Options{.windowManager = true}))

#include "tst_x11keysender.moc"

void TestX11KeySender::heldTypingArrivesAfterOurKeysInOrder() {
    QList<KeyStroke> strokes;
    KeyWatcher& watcher = m_platform->keyWatcher();
    const QMetaObject::Connection seen =
        connect(&watcher, &KeyWatcher::keyPressed, this,
                [&](const KeyStroke& stroke) { strokes.append(stroke); });
    QVERIFY(watcher.start());
    auto editor = desktop().startEditor({});
    QVERIFY(editor);
    QVERIFY(desktop().activate(editor->window));

    sender().holdKeys();
    QVERIFY(desktop().type(QStringLiteral("abc"))); // typed to the end by now
    // Our own key passes the hold: had "abc" not been held, it would stand
    // before it.
    sender().send(Qt::Key_X, Qt::NoModifier);
    QTRY_COMPARE(editor->text(), QStringLiteral("x"));
    sender().releaseKeys();
    QTRY_COMPARE(editor->text(), QStringLiteral("xabc"));
    // And the keyboard is free again.
    QVERIFY(desktop().type(QStringLiteral("d")));
    QTRY_COMPARE(editor->text(), QStringLiteral("xabcd"));

    // The watcher saw the user's keys once, where they were typed in the
    // end: the server gives raw events to no one else while we hold the
    // keyboard with a core grab.
    const auto seenKeys = [&] {
        QStringList keys;
        for (const KeyStroke& stroke : std::as_const(strokes))
            keys.append(stroke.text + (stroke.held ? "/held" : "") + (stroke.own ? "/own" : ""));
        return keys;
    };
    const QStringList expected{"x/own", "a", "b", "c", "d"};
    QTRY_VERIFY2(seenKeys() == expected, qPrintable(seenKeys().join(' ')));
    disconnect(seen);
    watcher.stop();
    desktop().stop(editor->process);
}
