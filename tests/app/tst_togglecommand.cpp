#include "app/InstanceChannel.h"

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

    void extraArgumentsAreAUsageError() {
        const Outcome outcome = toggle({QStringLiteral("now")});
        QCOMPARE(outcome.status, 2);
        QVERIFY(outcome.errors.contains("now"));
    }
};

QTEST_GUILESS_MAIN(ToggleCommandTest)
#include "tst_togglecommand.moc"
