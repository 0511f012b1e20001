// XTest key presses reach the focused window with exactly the modifiers asked
// for, also while the user holds others; terminals get Ctrl+Shift+C/V and
// never a Ctrl+C.

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
    void terminalGetsShiftedShortcuts();

private:
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

void TestX11KeySender::terminalGetsShiftedShortcuts() {
    // xterm copies and pastes the CLIPBOARD on Ctrl+Shift+C / Ctrl+Shift+V
    // (bound here as terminal emulators bind them by default); what reaches
    // the program inside it is recorded byte for byte.
    const QString record = desktop().tempPath() + QStringLiteral("/terminal-input");
    const QString shell =
        QStringLiteral("printf 'wendleword\\n'; stty raw -echo; exec cat > '%1'").arg(record);
    QProcess* xterm = desktop().start(
        QStringLiteral("xterm"),
        {QStringLiteral("-title"), QStringLiteral("Wendle Terminal"), QStringLiteral("-xrm"),
         QStringLiteral("XTerm*VT100.Translations: #override \\n"
                        " Shift Ctrl <Key>C: copy-selection(CLIPBOARD) \\n"
                        " Shift Ctrl <Key>V: insert-selection(CLIPBOARD)"),
         QStringLiteral("-e"), QStringLiteral("sh"), QStringLiteral("-c"), shell});
    QVERIFY(xterm);
    const quint64 window = desktop().findWindowByName(QStringLiteral("^Wendle Terminal$"));
    QVERIFY(window);
    QVERIFY(DesktopSession::waitUntil([&] { return QFile::exists(record); }));
    QVERIFY(desktop().activate(window));
    QCOMPARE(m_platform->frontWindow().current().windowClass, QStringLiteral("XTerm"));
    auto recorded = [&] {
        QFile f(record);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    };

    // Select the word with a double click, then copy it our way. (xterm
    // takes the CLIPBOARD with the time of the selection, so the clipboard's
    // earlier content is set first.)
    QVERIFY(desktop().setClipboard("unchanged"));
    QVERIFY(desktop().mouseMove(15, 8, window));
    QVERIFY(desktop().click(1, 2));
    sender().sendShortcut(KeySender::Shortcut::copy);
    QVERIFY2(DesktopSession::waitUntil(
                 [&] { return desktop().clipboard() == std::optional<QByteArray>("wendleword"); }),
             desktop().clipboard().value_or("(none)").constData());

    QVERIFY(desktop().setClipboard("pasted"));
    sender().sendShortcut(KeySender::Shortcut::paste);
    QVERIFY(DesktopSession::waitUntil([&] { return recorded().contains("pasted"); }));
    QVERIFY(!recorded().contains('\x03'));

    // The recorder does see a plain Ctrl+C as the interrupt character.
    sender().send(Qt::Key_C, Qt::ControlModifier);
    QVERIFY(DesktopSession::waitUntil([&] { return recorded().contains('\x03'); }));
    desktop().stop(xterm);
}

WENDLE_DESKTOP_TEST_MAIN(TestX11KeySender, (DesktopSession::Options{.windowManager = true}))

#include "tst_x11keysender.moc"
