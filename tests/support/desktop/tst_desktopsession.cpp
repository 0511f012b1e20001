// The harness itself: a display with openbox, a tray host and a keyring, the
// test editor, typing, the clipboard, a screenshot, and that everything it
// started ends with it.

#include "DesktopTestMain.h"

#include <QClipboard>
#include <QFile>
#include <QImage>
#include <QSignalSpy>
#include <QSystemTrayIcon>

#include <csignal>

namespace {

bool processAlive(qint64 pid) {
    // A zombie is gone for our purpose; /proc shows the state letter.
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return false;
    const QByteArray fields = stat.readAll();
    const qsizetype close = fields.lastIndexOf(')');
    return close > 0 && fields.mid(close + 2, 1) != "Z";
}

} // namespace

class TestDesktopSession : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void displayIsOurs();
    void windowManagerAndTrayAreUp();
    void editorTakesTypedText();
    void clipboardRoundTrip();
    void keyringAnswers();
    void screenshotShowsTheScreen();
    void endsEverythingItStarted();
};

void TestDesktopSession::displayIsOurs() {
    DesktopSession& desktop = DesktopSession::current();
    QVERIFY(desktop.display().startsWith(QLatin1Char(':')));
    QCOMPARE(qEnvironmentVariable("DISPLAY"), desktop.display());
    QCOMPARE(QGuiApplication::platformName(), QStringLiteral("xcb"));
}

void TestDesktopSession::windowManagerAndTrayAreUp() {
    DesktopSession& desktop = DesktopSession::current();
    QVERIFY(desktop.hasWindowManager());
    // A tray icon can be shown: the tray host answers.
    QVERIFY(DesktopSession::waitUntil([] { return QSystemTrayIcon::isSystemTrayAvailable(); }));
}

void TestDesktopSession::editorTakesTypedText() {
    DesktopSession& desktop = DesktopSession::current();
    auto editor = desktop.startEditor(
        {.text = QStringLiteral("start "), .title = QStringLiteral("Smoke Editor")});
    QVERIFY(editor);
    QCOMPARE(editor->text(), QStringLiteral("start "));
    QVERIFY(desktop.activate(editor->window));
    QCOMPARE(desktop.focusedWindow(), editor->window);
    QVERIFY(desktop.type(QStringLiteral("typed; Text 42")));
    QVERIFY(desktop.waitUntil(
        [&] { return editor->text() == QStringLiteral("start typed; Text 42"); }));
    desktop.stop(editor->process);
}

void TestDesktopSession::clipboardRoundTrip() {
    DesktopSession& desktop = DesktopSession::current();
    const QByteArray text = QStringLiteral("clipboard ✓ round trip").toUtf8();
    QVERIFY(desktop.setClipboard(text));
    QCOMPARE(desktop.clipboard(), std::optional<QByteArray>(text));
    QVERIFY(desktop.clipboardTargets().contains(QStringLiteral("UTF8_STRING")));
    // This process sees the same text through Qt.
    QVERIFY(DesktopSession::waitUntil(
        [&] { return QGuiApplication::clipboard()->text() == QString::fromUtf8(text); }));

    // And the other way: this process owns it, xclip reads it (the event loop
    // turns while xclip runs, so Qt answers).
    QGuiApplication::clipboard()->setText(QStringLiteral("from the test"));
    QCOMPARE(desktop.clipboard(), std::optional<QByteArray>("from the test"));
}

void TestDesktopSession::keyringAnswers() {
    DesktopSession& desktop = DesktopSession::current();
    QVERIFY(!qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS").isEmpty());
    QVERIFY(desktop.run(QStringLiteral("secret-tool"),
                        {QStringLiteral("store"), QStringLiteral("--label=smoke"),
                         QStringLiteral("server"), QStringLiteral("smoke-test")},
                        "s3cret"));
    QCOMPARE(desktop.run(QStringLiteral("secret-tool"),
                         {QStringLiteral("lookup"), QStringLiteral("server"),
                          QStringLiteral("smoke-test")}),
             std::optional<QByteArray>("s3cret"));
}

void TestDesktopSession::screenshotShowsTheScreen() {
    DesktopSession& desktop = DesktopSession::current();
    auto editor = desktop.startEditor(
        {.text = QStringLiteral("shot"), .title = QStringLiteral("Shot Editor")});
    QVERIFY(editor);
    const QString path = desktop.tempPath() + QStringLiteral("/shot.png");
    QVERIFY(desktop.screenshot(path));
    QImage shot(path);
    QCOMPARE(shot.size(), QSize(1280, 800));
    // Not a blank screen: the editor's window is in it.
    const QRgb corner = shot.pixel(shot.width() / 2, shot.height() - 1);
    bool varied = false;
    for (int y = 0; y < shot.height() && !varied; y += 7) {
        for (int x = 0; x < shot.width() && !varied; x += 7)
            varied = shot.pixel(x, y) != corner;
    }
    QVERIFY(varied);
    if (qEnvironmentVariableIsSet("WENDLE_KEEP_SCREENSHOTS"))
        QFile::copy(path, qEnvironmentVariable("WENDLE_KEEP_SCREENSHOTS") +
                              QStringLiteral("/desktop-smoke.png"));
    desktop.stop(editor->process);
}

void TestDesktopSession::endsEverythingItStarted() {
    QList<qint64> pids;
    {
        DesktopSession inner({.windowManager = true, .keyring = true});
        QVERIFY2(inner.isReady(), qPrintable(inner.error()));
        QVERIFY(inner.start(QStringLiteral("sleep"), {QStringLiteral("60")}));
        pids = inner.processIds();
        QCOMPARE(pids.size(), 5); // Xvfb, openbox, dbus-daemon, keyring, sleep
        for (qint64 pid : pids)
            QVERIFY(processAlive(pid));
    }
    for (qint64 pid : pids)
        QVERIFY2(!processAlive(pid), qPrintable(QString::number(pid)));
    // The outer session's variables are back.
    QCOMPARE(qEnvironmentVariable("DISPLAY"), DesktopSession::current().display());
}

WENDLE_DESKTOP_TEST_MAIN(TestDesktopSession,
                         (DesktopSession::Options{
                             .windowManager = true, .trayHost = true, .keyring = true}))

#include "tst_desktopsession.moc"
