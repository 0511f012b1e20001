#include "app/InstanceChannel.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

namespace {
struct Outcome {
    int status = -1;
    QByteArray errors;
};

// Runs `wendle toggle ...` to its end while this process's event loop turns
// (so that an instance served here can answer it).
Outcome toggle(const QStringList& more = {}) {
    QProcess wendle;
    wendle.start(QStringLiteral(WENDLE_PROGRAM), QStringList{QStringLiteral("toggle")} + more);
    if (!wendle.waitForStarted())
        return {};
    QSignalSpy finished(&wendle, &QProcess::finished);
    if (!finished.wait(10000))
        return {};
    return {wendle.exitCode(), wendle.readAllStandardError()};
}
} // namespace

// `wendle toggle`, the command a user binds to a shortcut of their own.
class ToggleCommandTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void withoutARunningWendleItSaysSo() {
        const Outcome outcome = toggle();
        QCOMPARE(outcome.status, 1);
        QVERIFY(outcome.errors.contains("Wendle is not running"));
    }

    void theRunningWendleIsAskedToToggle() {
        InstanceServer instance;
        QVERIFY(instance.claim());
        QVERIFY(instance.listen());
        int toggles = 0;
        instance.setHandler("toggle", [&] {
            ++toggles;
            return QByteArray("ok");
        });
        QCOMPARE(toggle().status, 0);
        QCOMPARE(toggle().status, 0);
        QCOMPARE(toggles, 2);
    }

    void aSecondWendleWaitsForAFirstOneThatIsStillStarting() {
        // The first instance holds the lock but listens only a moment later.
        InstanceServer first;
        QVERIFY(first.claim());
        int toggles = 0;
        first.setHandler("toggle", [&] {
            ++toggles;
            return QByteArray("ok");
        });
        // Until it answers, the first one's socket hangs up on whoever calls.
        QLocalServer starting;
        QVERIFY(starting.listen(InstanceChannel::socketPath()));
        QSignalSpy called(&starting, &QLocalServer::newConnection);
        QProcess second;
        second.start(QStringLiteral(WENDLE_PROGRAM));
        QVERIFY(second.waitForStarted());
        // The second one asks twice without an answer, and waits on.
        for (int calls = 1; calls <= 2; ++calls) {
            QVERIFY(called.count() >= calls || called.wait(5000));
            delete starting.nextPendingConnection();
        }
        QCOMPARE(second.state(), QProcess::Running);
        starting.close();
        QVERIFY(first.listen());
        QSignalSpy finished(&second, &QProcess::finished);
        QVERIFY(finished.wait(5000));
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(toggles, 1);
    }

    void extraArgumentsAreAUsageError() {
        const Outcome outcome = toggle({QStringLiteral("now")});
        QCOMPARE(outcome.status, 2);
        QVERIFY(outcome.errors.contains("now"));
    }
};

QTEST_GUILESS_MAIN(ToggleCommandTest)
#include "tst_togglecommand.moc"
