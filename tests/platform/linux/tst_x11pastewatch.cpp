// The clipboard content Wendle puts up for one paste, read by xclip as the
// paste target would: it carries the marks that keep it out of clipboard
// managers' history, and pasteFetched() tells when its text was fetched,
// not when only its list of targets or a mark was read, and gives up at its
// limit or when another program takes the clipboard.

#include "X11TestSupport.h"

#include "DesktopTestMain.h"

#include <QElapsedTimer>
#include <QFile>

using namespace std::chrono_literals;

namespace {

// One wait for the fetch, watched from outside.
struct FetchWatch {
    bool done = false;
    bool fetched = false;
};

QCoro::Task<> watchFetch(Clipboard& clipboard, std::chrono::milliseconds limit, FetchWatch& watch) {
    watch.fetched = co_await clipboard.pasteFetched(limit);
    watch.done = true;
}

} // namespace

class TestX11PasteWatch : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() {
        QString error;
        m_platform = createX11Platform(&error);
        QVERIFY2(m_platform, qPrintable(error));
    }
    void cleanupTestCase() { m_platform.reset(); }

    void theTextIsMarkedAndItsFetchIsNoticed() {
        clipboard().setTextForPaste(QStringLiteral("for the paste"));
        FetchWatch watch;
        QCoro::Task<> task = watchFetch(clipboard(), 5000ms, watch);

        const QStringList targets = desktop().clipboardTargets();
        QVERIFY2(targets.contains(QStringLiteral("x-kde-passwordManagerHint")),
                 qPrintable(targets.join(' ')));
        QVERIFY(targets.contains(QStringLiteral("application/x-copyq-hidden")));
        QCOMPARE(desktop().clipboard(QStringLiteral("x-kde-passwordManagerHint")),
                 std::optional(QByteArray("secret")));
        // The list of targets and a mark are not the text.
        QCoreApplication::processEvents();
        QVERIFY(!watch.done);

        QCOMPARE(desktop().clipboard(), std::optional(QByteArray("for the paste")));
        QVERIFY(DesktopSession::waitUntil([&] { return watch.done; }));
        QVERIFY(watch.fetched);
    }

    void aFetchBeforeTheWaitDoesNotCountAndTheLimitEndsIt() {
        clipboard().setTextForPaste(QStringLiteral("read too early"));
        QCOMPARE(desktop().clipboard(), std::optional(QByteArray("read too early")));
        QCoreApplication::processEvents();
        FetchWatch watch;
        QElapsedTimer clock;
        clock.start();
        QCoro::Task<> task = watchFetch(clipboard(), 300ms, watch);
        QVERIFY(DesktopSession::waitUntil([&] { return watch.done; }));
        QVERIFY(!watch.fetched);
        QVERIFY2(clock.elapsed() >= 280, qPrintable(QString::number(clock.elapsed())));
    }

    void anotherProgramTakingTheClipboardEndsTheWait() {
        clipboard().setTextForPaste(QStringLiteral("never pasted"));
        FetchWatch watch;
        QElapsedTimer clock;
        clock.start();
        QCoro::Task<> task = watchFetch(clipboard(), 20000ms, watch);
        // Another program copies; nothing reads the clipboard meanwhile.
        const QString copied = desktop().tempPath() + QStringLiteral("/copied");
        QFile file(copied);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("the user's copy") > 0);
        file.close();
        QProcess* owner = desktop().start(QStringLiteral(WENDLE_CLIP_OWNER),
                                          {QStringLiteral("text/plain=") + copied});
        QVERIFY(owner);
        QVERIFY(
            DesktopSession::waitUntil([&] { return desktop().output(owner).contains("owned"); }));
        QVERIFY(DesktopSession::waitUntil([&] { return watch.done; }));
        QVERIFY(!watch.fetched);
        QVERIFY2(clock.elapsed() < 10000, qPrintable(QString::number(clock.elapsed())));
        desktop().stop(owner);
    }

    void nothingPutUpForAPasteIsNeverFetched() {
        clipboard().setText(QStringLiteral("copied to stay"));
        FetchWatch watch;
        QCoro::Task<> task = watchFetch(clipboard(), 5000ms, watch);
        QVERIFY(watch.done);
        QVERIFY(!watch.fetched);
        // Text copied to stay carries no marks.
        QVERIFY(
            !desktop().clipboardTargets().contains(QStringLiteral("x-kde-passwordManagerHint")));
    }

private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    Clipboard& clipboard() { return m_platform->clipboard(); }
    std::unique_ptr<X11Platform> m_platform;
};

WENDLE_DESKTOP_TEST_MAIN(TestX11PasteWatch, (DesktopSession::Options{}))
#include "tst_x11pastewatch.moc"
