// Keychain calls where no Secret Service answers: they read as no key and
// never hang the program.
#include "settings/Keychain.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QProcess>
#include <QtTest>

class TestKeychainUnreachable : public QObject {
    Q_OBJECT
private:
    QProcess m_silent;

private Q_SLOTS:
    void initTestCase() {
        Keychain::setTimeout(std::chrono::milliseconds(400));
        if (!qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS"))
            return; // no bus at all: nothing to start
        // A bus whose Secret Service takes every call and never replies.
        m_silent.start(QCoreApplication::applicationDirPath() + "/silent-secret-service");
        QVERIFY(m_silent.waitForReadyRead(10000));
        QCOMPARE(m_silent.readLine().trimmed(), QByteArray("ready"));
    }

    void cleanupTestCase() {
        m_silent.kill();
        m_silent.waitForFinished();
    }

    void getReadsAsEmpty() {
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(QCoro::waitFor(Keychain::get()), QString());
        // Bounded by the time-out, not by the bus's own 25-second limit.
        QVERIFY2(clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed())));
    }

    void setGivesUpQuietly() {
        QElapsedTimer clock;
        clock.start();
        QCoro::waitFor(Keychain::set(QStringLiteral("sk-unsaved")));
        QVERIFY2(clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(QCoro::waitFor(Keychain::get()), QString());
    }
};

QTEST_GUILESS_MAIN(TestKeychainUnreachable)
#include "tst_keychain_unreachable.moc"
