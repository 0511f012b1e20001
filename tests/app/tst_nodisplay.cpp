#include <QProcess>
#include <QTest>

// Started where there is no X11 display, `wendle` says why it cannot run and
// ends with a failure status instead of aborting.
class NoDisplayTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void explainsAndFails() {
        QProcess wendle;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("DISPLAY"));
        environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
        environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
        wendle.setProcessEnvironment(environment);
        wendle.start(QStringLiteral(WENDLE_PROGRAM));
        QVERIFY(wendle.waitForFinished(10000));
        QCOMPARE(wendle.exitStatus(), QProcess::NormalExit);
        QCOMPARE(wendle.exitCode(), 1);
        const QByteArray errors = wendle.readAllStandardError();
        QVERIFY2(errors.contains("wendle: ") && errors.contains("X11"), errors.constData());
    }
};

QTEST_GUILESS_MAIN(NoDisplayTest)
#include "tst_nodisplay.moc"
