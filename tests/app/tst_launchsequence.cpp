#include "app/LaunchSequence.h"

#include "RecordingPlatform.h"
#include "texts/Texts.h"

#include <QTest>

namespace {

struct Launch {
    RecordingPlatform platform;
    bool hotKeyAvailable = true;
    bool tray = true;
    QList<Alert::Content> alerts;
    QStringList notices;

    QCoro::Task<> run() {
        LaunchSequence::Steps steps;
        StepLog& log = platform.log;
        steps.registerHotKey = [this, &log] {
            log.add("register hot key");
            return hotKeyAvailable;
        };
        steps.startSnippetMonitoring = [&log] { log.add("start snippet monitoring"); };
        steps.onboarding = [&log]() -> QCoro::Task<> { return onboarding(&log); };
        steps.trayAvailable = [this, &log] {
            log.add("look for the tray");
            return tray;
        };
        steps.printNotice = [this, &log](const QString& text) {
            log.add("notice");
            notices.append(text);
        };
        const Alert::Presenter present = [this, &log](Alert::Content content) -> QCoro::Task<int> {
            log.add(QStringLiteral("alert ") + content.message);
            alerts.append(content);
            return answered();
        };
        return LaunchSequence::run(steps, platform.shellFake, present, recordingDelay(log));
    }

    static QCoro::Task<> onboarding(StepLog* log) {
        log->add("onboarding");
        co_return;
    }
    static QCoro::Task<int> answered() { co_return 0; }
};

} // namespace

class LaunchSequenceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void aGoodLaunchShowsNoAlert() {
        Launch launch;
        awaited(launch.run());
        QCOMPARE(launch.platform.log.steps,
                 (QStringList{"register hot key", "start snippet monitoring", "wait 600",
                              "onboarding", "look for the tray"}));
        QVERIFY(launch.alerts.isEmpty());
        QCOMPARE(launch.platform.shellFake.activations, 0);
    }

    void aTakenHotKeyIsToldBeforeTheExplainer() {
        Launch launch;
        launch.hotKeyAvailable = false;
        awaited(launch.run());
        QCOMPARE(launch.platform.log.steps,
                 (QStringList{"register hot key", "start snippet monitoring", "wait 600",
                              "alert " + Texts::hotKeyFailedMessage(), "onboarding",
                              "look for the tray"}));
        QCOMPARE(launch.alerts.size(), 1);
        QCOMPARE(launch.alerts.at(0).message, QStringLiteral("Couldn't register the hotkey"));
        QCOMPARE(launch.alerts.at(0).informative, Texts::hotKeyFailedInformative());
        QVERIFY(launch.alerts.at(0).buttons.isEmpty()); // the single default button
        QVERIFY(launch.alerts.at(0).modal);
        QCOMPARE(launch.platform.shellFake.activations, 1);
    }

    void noTrayIsToldOnceAndLeavesThePaletteUsable() {
        Launch launch;
        launch.tray = false;
        awaited(launch.run());
        QCOMPARE(launch.notices, QStringList{LaunchSequence::noTrayNotice()});
        QCOMPARE(launch.alerts.size(), 1);
        QVERIFY(!launch.alerts.at(0).modal);
        QCOMPARE(launch.alerts.at(0).informative, LaunchSequence::noTrayNotice());
        QVERIFY(LaunchSequence::noTrayNotice().contains(Texts::hotKey()));
        QVERIFY(LaunchSequence::noTrayNotice().contains(QStringLiteral("wendle toggle")));
        QCOMPARE(launch.platform.log.steps.last(), QStringLiteral("alert No system tray"));
    }
};

QTEST_GUILESS_MAIN(LaunchSequenceTest)
#include "tst_launchsequence.moc"
