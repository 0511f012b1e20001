// Raw key presses become key strokes: text in the current layout (also after
// setxkbmap), key classes, modifiers, and our own keys told apart from
// everyone else's.

#include "X11TestSupport.h"

#include "DesktopTestMain.h"

#include <QElapsedTimer>
#include <QLineEdit>

#include <xcb/xinput.h>

namespace {

using KeyClass = KeyStroke::KeyClass;

QString textOf(const QList<KeyStroke>& strokes) {
    QString text;
    for (const KeyStroke& stroke : strokes)
        text += stroke.text;
    return text;
}

} // namespace

class TestX11KeyWatcher : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase();
    void typedTextIsTheUsers();
    void keyClasses();
    void modifiers();
    void ownKeysAreMarked();
    void followsLayoutSwitch();
    void stopsAndStarts();
    void keysIntoOurOwnWindowsAreMarked();
    void perEventCost();

private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    // Waits until everything typed so far has come in.
    bool settled() { return settle(m_platform->connection()); }
    std::unique_ptr<X11Platform> m_platform;
    QList<KeyStroke> m_strokes;
};

void TestX11KeyWatcher::initTestCase() {
    QString error;
    m_platform = createX11Platform(&error);
    QVERIFY2(m_platform, qPrintable(error));
    connect(&m_platform->keyWatcher(), &KeyWatcher::keyPressed, this,
            [this](const KeyStroke& stroke) { m_strokes.append(stroke); });
    QVERIFY(m_platform->keyWatcher().start());
    QVERIFY(m_platform->keyWatcher().isWatching());
    // Typing goes to a window of its own, not to whatever has the focus.
    auto editor = desktop().startEditor({});
    QVERIFY(editor);
    QVERIFY(desktop().focus(editor->window));
}

void TestX11KeyWatcher::init() {
    QVERIFY(settled());
    m_strokes.clear();
}

void TestX11KeyWatcher::cleanupTestCase() {
    m_platform.reset();
}

void TestX11KeyWatcher::typedTextIsTheUsers() {
    QVERIFY(desktop().type(QStringLiteral("Hello, w0rld; ;sig")));
    QVERIFY(settled());
    QCOMPARE(textOf(m_strokes), QStringLiteral("Hello, w0rld; ;sig"));
    for (const KeyStroke& stroke : std::as_const(m_strokes)) {
        QVERIFY(!stroke.own);
        QCOMPARE(stroke.keyClass, KeyClass::other);
    }
    // Modifier keys are not strokes of their own: 18 characters, 18 strokes.
    QCOMPARE(m_strokes.size(), 18);
    QCOMPARE(m_strokes[0].modifiers, Qt::ShiftModifier); // H
    QCOMPARE(m_strokes[1].modifiers, Qt::NoModifier);    // e
}

void TestX11KeyWatcher::keyClasses() {
    QVERIFY(desktop().key(QStringLiteral(
        "Return Tab Escape KP_Enter Home End Prior Next Delete Left Right Down Up BackSpace")));
    QVERIFY(settled());
    const QList<KeyClass> expected = {
        KeyClass::returnKey, KeyClass::tab,       KeyClass::escape,
        KeyClass::enter,     KeyClass::home,      KeyClass::end,
        KeyClass::pageUp,    KeyClass::pageDown,  KeyClass::forwardDelete,
        KeyClass::left,      KeyClass::right,     KeyClass::down,
        KeyClass::up,        KeyClass::backspace,
    };
    QList<KeyClass> seen;
    for (const KeyStroke& stroke : std::as_const(m_strokes)) {
        seen.append(stroke.keyClass);
        QVERIFY2(stroke.text.isEmpty(), qPrintable(stroke.text)); // control characters are not text
    }
    QCOMPARE(seen, expected);
}

void TestX11KeyWatcher::modifiers() {
    QVERIFY(desktop().key(QStringLiteral("ctrl+a alt+b super+c shift+d ctrl+shift+e")));
    QVERIFY(settled());
    QCOMPARE(m_strokes.size(), 5);
    QCOMPARE(m_strokes[0].modifiers, Qt::ControlModifier);
    QCOMPARE(m_strokes[0].text, QString()); // Ctrl+A is a control character
    QCOMPARE(m_strokes[1].modifiers, Qt::AltModifier);
    QCOMPARE(m_strokes[1].text, QStringLiteral("b"));
    QCOMPARE(m_strokes[2].modifiers, Qt::MetaModifier);
    QCOMPARE(m_strokes[2].text, QStringLiteral("c"));
    QCOMPARE(m_strokes[3].modifiers, Qt::ShiftModifier);
    QCOMPARE(m_strokes[3].text, QStringLiteral("D"));
    QCOMPARE(m_strokes[4].modifiers, Qt::ControlModifier | Qt::ShiftModifier);
}

void TestX11KeyWatcher::ownKeysAreMarked() {
    KeySender& sender = m_platform->keySender();
    sender.send(Qt::Key_X, Qt::NoModifier);
    sender.send(Qt::Key_Colon, Qt::NoModifier); // with the Shift it brings
    sender.send(Qt::Key_Backspace, Qt::NoModifier);
    // Typed by someone else right after ours.
    QVERIFY(desktop().type(QStringLiteral("yz")));
    sender.sendShortcut(KeySender::Shortcut::paste);
    QVERIFY(settled());

    QCOMPARE(m_strokes.size(), 6);
    QCOMPARE(m_strokes[0], (KeyStroke{KeyClass::other, {}, QStringLiteral("x"), true}));
    QCOMPARE(m_strokes[1],
             (KeyStroke{KeyClass::other, Qt::ShiftModifier, QStringLiteral(":"), true}));
    QCOMPARE(m_strokes[2], (KeyStroke{KeyClass::backspace, {}, QString(), true}));
    QCOMPARE(m_strokes[3], (KeyStroke{KeyClass::other, {}, QStringLiteral("y"), false}));
    QCOMPARE(m_strokes[4], (KeyStroke{KeyClass::other, {}, QStringLiteral("z"), false}));
    QCOMPARE(m_strokes[5], (KeyStroke{KeyClass::other, Qt::ControlModifier, QString(), true}));
}

void TestX11KeyWatcher::followsLayoutSwitch() {
    XkbKeyboard& keyboard = m_platform->connection().keyboard();
    const int loads = keyboard.keymapLoads();
    QVERIFY(desktop().run(QStringLiteral("setxkbmap"), {QStringLiteral("de")}));
    QVERIFY(DesktopSession::waitUntil([&] { return keyboard.keymapLoads() > loads; }));
    QVERIFY(settled());

    // y and z trade places on a German keyboard; Shift+2 is a double quote.
    QVERIFY(desktop().type(QStringLiteral("zy\"")));
    // AltGr+Q is @, and AltGr is not Alt.
    QVERIFY(desktop().keyDown(QStringLiteral("ISO_Level3_Shift")));
    QVERIFY(desktop().key(QStringLiteral("q")));
    QVERIFY(desktop().keyUp(QStringLiteral("ISO_Level3_Shift")));
    QVERIFY(settled());
    QCOMPARE(textOf(m_strokes), QStringLiteral("zy\"@"));
    QCOMPARE(m_strokes.last().modifiers, Qt::NoModifier);

    const int germanLoads = keyboard.keymapLoads();
    QVERIFY(desktop().run(QStringLiteral("setxkbmap"), {QStringLiteral("us")}));
    QVERIFY(DesktopSession::waitUntil([&] { return keyboard.keymapLoads() > germanLoads; }));
    QVERIFY(settled());
    m_strokes.clear();
    QVERIFY(desktop().type(QStringLiteral("zy@")));
    QVERIFY(settled());
    QCOMPARE(textOf(m_strokes), QStringLiteral("zy@"));
}

void TestX11KeyWatcher::stopsAndStarts() {
    KeyWatcher& watcher = m_platform->keyWatcher();
    watcher.stop();
    watcher.stop(); // harmless
    QVERIFY(!watcher.isWatching());
    QVERIFY(desktop().type(QStringLiteral("quiet")));
    QVERIFY(settled());
    QVERIFY(m_strokes.isEmpty());
    QVERIFY(watcher.start());
    QVERIFY(watcher.start()); // harmless
    QVERIFY(desktop().type(QStringLiteral("loud")));
    QVERIFY(settled());
    QCOMPARE(textOf(m_strokes), QStringLiteral("loud"));
}

void TestX11KeyWatcher::keysIntoOurOwnWindowsAreMarked() {
    const quint64 editor = desktop().focusedWindow();
    QLineEdit field;
    field.show();
    QVERIFY(QTest::qWaitForWindowExposed(&field));
    QVERIFY(desktop().focus(field.winId()));
    QVERIFY(desktop().type(QStringLiteral("ab")));
    QVERIFY(settled());
    QTRY_COMPARE(field.text(), QStringLiteral("ab"));
    QCOMPARE(textOf(m_strokes), QStringLiteral("ab"));
    for (const KeyStroke& stroke : std::as_const(m_strokes))
        QVERIFY(stroke.toOwnWindow && !stroke.own);

    // Another program's window, with ours still shown.
    m_strokes.clear();
    QVERIFY(desktop().focus(editor));
    QVERIFY(desktop().type(QStringLiteral("c")));
    QVERIFY(settled());
    QCOMPARE(textOf(m_strokes), QStringLiteral("c"));
    QVERIFY(!m_strokes.first().toOwnWindow);
}

void TestX11KeyWatcher::perEventCost() {
    // The work done for one raw key press, fed straight to the watcher.
    X11KeyWatcher& watcher = static_cast<X11KeyWatcher&>(m_platform->keyWatcher());
    const auto position = m_platform->connection().keyboard().find('a');
    QVERIFY(position);
    xcb_input_raw_key_press_event_t raw = {};
    raw.response_type = XCB_GE_GENERIC;
    raw.extension = m_platform->connection().xinputOpcode();
    raw.event_type = XCB_INPUT_RAW_KEY_PRESS;
    raw.detail = position->keycode;
    const int rounds = 20000;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < rounds; ++i)
        watcher.handleXEvent(reinterpret_cast<const xcb_generic_event_t*>(&raw));
    const double perEvent = double(timer.nsecsElapsed()) / rounds;
    QCOMPARE(m_strokes.size(), rounds);
    QCOMPARE(m_strokes.last().text, QStringLiteral("a"));
    qInfo("watcher cost per key press (incl. one signal to one slot): %.0f ns", perEvent);
}

WENDLE_DESKTOP_TEST_MAIN(TestX11KeyWatcher, DesktopSession::Options{})

#include "tst_x11keywatcher.moc"
