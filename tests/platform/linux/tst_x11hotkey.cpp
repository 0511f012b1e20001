// Ctrl+Alt+Space on a real X server: pressed once per physical press, with
// any lock key state, refused at once when another client holds it, and the
// keyboard given back right after a press.

#include "X11TestSupport.h"

#include "DesktopTestMain.h"

#include <QClipboard>
#include <QElapsedTimer>

namespace {

// Counts the grabbed presses of Space reaching our connection: auto-repeat
// re-activates the grab, so a held Space shows up here again and again.
class GrabbedPresses : public XEventListener {
public:
    explicit GrabbedPresses(XConnection& connection)
        : m_connection(connection) {
        m_connection.addListener(this);
    }
    ~GrabbedPresses() override { m_connection.removeListener(this); }
    int count = 0;

private:
    void handleXEvent(const xcb_generic_event_t* event) override {
        if ((event->response_type & 0x7f) == XCB_KEY_PRESS)
            ++count;
    }
    XConnection& m_connection;
};

QString grabTool() {
    return QStringLiteral(WENDLE_GRAB_HOTKEY);
}

} // namespace

class TestX11HotKey : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void pressedOncePerPress_data();
    void pressedOncePerPress();
    void heldSpaceDoesNotRepeat();
    void refusedAtOnceWhenTaken();
    void keyboardIsFreeAfterPress();

private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    std::unique_ptr<X11Platform> m_platform;
};

void TestX11HotKey::initTestCase() {
    QString error;
    m_platform = createX11Platform(&error);
    QVERIFY2(m_platform, qPrintable(error));
}

void TestX11HotKey::cleanupTestCase() {
    m_platform.reset();
}

void TestX11HotKey::pressedOncePerPress_data() {
    QTest::addColumn<QString>("lockKeys");
    QTest::addColumn<quint16>("lockMask");
    QTest::newRow("no lock") << QString() << quint16(0);
    QTest::newRow("Caps Lock") << QStringLiteral("Caps_Lock") << quint16(XCB_MOD_MASK_LOCK);
    QTest::newRow("Num Lock") << QStringLiteral("Num_Lock") << quint16(XCB_MOD_MASK_2);
    QTest::newRow("both") << QStringLiteral("Caps_Lock Num_Lock")
                          << quint16(XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2);
}

void TestX11HotKey::pressedOncePerPress() {
    QFETCH(QString, lockKeys);
    QFETCH(quint16, lockMask);
    XConnection& connection = m_platform->connection();
    X11HotKey hotKey(connection);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(hotKey.registerHotKey());
    qInfo("registerHotKey (4 grabs, checked): %.2f ms", timer.nsecsElapsed() / 1e6);
    QSignalSpy pressed(&hotKey, &GlobalHotKey::pressed);

    for (const QString& lock : lockKeys.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        QVERIFY(desktop().key(lock));
    QCOMPARE(modifierMask(connection) & (XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2), lockMask);

    QVERIFY(desktop().key(QStringLiteral("ctrl+alt+space")));
    QTRY_COMPARE(pressed.count(), 1);
    QVERIFY(settle(connection));
    QCOMPARE(pressed.count(), 1);

    QVERIFY(desktop().key(QStringLiteral("ctrl+alt+space")));
    QTRY_COMPARE(pressed.count(), 2);
    QVERIFY(settle(connection));
    QCOMPARE(pressed.count(), 2);

    // Space without both modifiers is not the hot key.
    QVERIFY(desktop().key(QStringLiteral("ctrl+space")));
    QVERIFY(desktop().key(QStringLiteral("alt+space")));
    QVERIFY(settle(connection));
    QCOMPARE(pressed.count(), 2);

    for (const QString& lock : lockKeys.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        QVERIFY(desktop().key(lock));
    QCOMPARE(modifierMask(connection) & (XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2), 0);
}

void TestX11HotKey::heldSpaceDoesNotRepeat() {
    XConnection& connection = m_platform->connection();
    X11HotKey hotKey(connection);
    QVERIFY(hotKey.registerHotKey());
    QSignalSpy pressed(&hotKey, &GlobalHotKey::pressed);
    GrabbedPresses grabbed(connection);

    QVERIFY(desktop().keyDown(QStringLiteral("ctrl+alt+space")));
    // Wait for the server's auto-repeat to press Space again several times.
    QVERIFY(DesktopSession::waitUntil([&] { return grabbed.count >= 4; }, 5000));
    QVERIFY(desktop().keyUp(QStringLiteral("space")));
    QVERIFY(desktop().keyUp(QStringLiteral("alt")));
    QVERIFY(desktop().keyUp(QStringLiteral("ctrl")));
    QVERIFY(settle(connection));
    QCOMPARE(pressed.count(), 1);

    // The next physical press counts again.
    QVERIFY(desktop().key(QStringLiteral("ctrl+alt+space")));
    QTRY_COMPARE(pressed.count(), 2);
}

void TestX11HotKey::refusedAtOnceWhenTaken() {
    XConnection& connection = m_platform->connection();
    QProcess* other = desktop().start(grabTool());
    QVERIFY(other);
    QVERIFY(DesktopSession::waitUntil([&] { return desktop().output(other).contains("grabbed"); }));

    X11HotKey hotKey(connection);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!hotKey.registerHotKey());
    const double refusal = timer.nsecsElapsed() / 1e6;
    qInfo("refused registerHotKey: %.2f ms", refusal);
    QVERIFY(refusal < 1000);
    QVERIFY(!hotKey.isRegistered());

    // Nothing of ours stays behind: once the other program has gone, a third
    // one can take the combination (the server counts every lock variant of
    // it as the same grab between clients).
    desktop().stop(other);
    QProcess* third = desktop().start(grabTool(), {QStringLiteral("lock")});
    QVERIFY(third);
    QVERIFY2(DesktopSession::waitUntil([&] { return desktop().output(third).contains("grabbed"); }),
             desktop().output(third).constData());
    desktop().stop(third);
    QVERIFY(hotKey.registerHotKey());
}

void TestX11HotKey::keyboardIsFreeAfterPress() {
    XConnection& connection = m_platform->connection();
    X11HotKey hotKey(connection);
    QVERIFY(hotKey.registerHotKey());
    QSignalSpy pressed(&hotKey, &GlobalHotKey::pressed);
    auto editor = desktop().startEditor({.text = QStringLiteral("grab check"), .selectAll = true});
    QVERIFY(editor);
    QVERIFY(desktop().activate(editor->window));
    QVERIFY(desktop().setClipboard("before"));

    QVERIFY(desktop().keyDown(QStringLiteral("ctrl+alt+space")));
    // (xdotool runs with the event loop turning: the press may already be in.)
    QTRY_COMPARE(pressed.count(), 1);
    // Space is still down, so the grab would still be active had it not been
    // released: our Ctrl+C would then come back to us instead of the editor.
    QVERIFY(desktop().keyUp(QStringLiteral("alt")));
    m_platform->keySender().sendShortcut(KeySender::Shortcut::copy);
    QVERIFY(desktop().keyUp(QStringLiteral("space")));
    QVERIFY(desktop().keyUp(QStringLiteral("ctrl")));
    QVERIFY(DesktopSession::waitUntil(
        [&] { return desktop().clipboard() == std::optional<QByteArray>("grab check"); }));
    desktop().stop(editor->process);
}

WENDLE_DESKTOP_TEST_MAIN(TestX11HotKey, (DesktopSession::Options{.windowManager = true}))

#include "tst_x11hotkey.moc"
