// The window in front and bringing it back, under openbox and with no window
// manager at all (where a dead manager's root properties must be ignored).

#include "X11TestSupport.h"

#include "DesktopTestMain.h"

#include <QElapsedTimer>

class TestX11FrontWindow : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void withWindowManager();
    void withoutWindowManager();

private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    FrontWindow& front() { return m_platform->frontWindow(); }
    std::unique_ptr<X11Platform> m_platform;
    std::optional<DesktopSession::Editor> m_a;
    std::optional<DesktopSession::Editor> m_b;
};

void TestX11FrontWindow::initTestCase() {
    QString error;
    m_platform = createX11Platform(&error);
    QVERIFY2(m_platform, qPrintable(error));
    m_a = desktop().startEditor({.title = QStringLiteral("Front A")});
    m_b = desktop().startEditor({.title = QStringLiteral("Front B")});
    QVERIFY(m_a && m_b);
}

void TestX11FrontWindow::cleanupTestCase() {
    m_platform.reset();
}

void TestX11FrontWindow::withWindowManager() {
    QVERIFY(desktop().hasWindowManager());
    QVERIFY(desktop().activate(m_a->window));
    const WindowHandle a = front().current();
    QCOMPARE(a.id, m_a->window);
    QCOMPARE(a.pid, m_a->process->processId());
    QCOMPARE(a.windowClass, QStringLiteral("wendle-test-editor"));

    QVERIFY(desktop().activate(m_b->window));
    QCOMPARE(front().current().id, m_b->window);

    QElapsedTimer timer;
    timer.start();
    front().activate(a);
    QVERIFY(DesktopSession::waitUntil([&] { return front().current() == a; }));
    qInfo("activation under openbox: %.1f ms until _NET_ACTIVE_WINDOW names it",
          timer.nsecsElapsed() / 1e6);
    QVERIFY(DesktopSession::waitUntil([&] { return desktop().focusedWindow() == m_a->window; }));
    QVERIFY(desktop().type(QStringLiteral("back in A")));
    QTRY_COMPARE(m_a->text(), QStringLiteral("back in A"));
    QCOMPARE(m_b->text(), QString());
}

void TestX11FrontWindow::withoutWindowManager() {
    // Openbox's properties stay on the root after it ends; its last active
    // window was A.
    desktop().stopWindowManager();
    QVERIFY(!desktop().hasWindowManager());
    QVERIFY(desktop().focus(m_b->window));
    const WindowHandle b = front().current();
    QCOMPARE(b.id, m_b->window);
    QCOMPARE(b.pid, m_b->process->processId());

    QVERIFY(desktop().focus(m_a->window));
    QCOMPARE(front().current().id, m_a->window);
    front().activate(b);
    QVERIFY(DesktopSession::waitUntil([&] { return front().current() == b; }));
    QVERIFY(desktop().type(QStringLiteral("now in B")));
    QTRY_COMPARE(m_b->text(), QStringLiteral("now in B"));
    QCOMPARE(m_a->text(), QStringLiteral("back in A"));

    // Activating a null handle changes nothing.
    front().activate(WindowHandle{});
    QCOMPARE(front().current().id, m_b->window);
}

WENDLE_DESKTOP_TEST_MAIN(TestX11FrontWindow, (DesktopSession::Options{.windowManager = true}))

#include "tst_x11frontwindow.moc"
