#include "permissions/Onboarding.h"
#include "permissions/Permissions.h"

#include "RecordingPlatform.h"
#include "texts/Texts.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

namespace {

// Answers alerts at once with `choice` and remembers what they said.
struct AlertRecorder {
    int choice = 1;
    QList<Alert::Content> shown;
    std::function<void()> whenShown;

    Alert::Presenter presenter() {
        return [this](Alert::Content content) -> QCoro::Task<int> {
            shown.append(content);
            if (whenShown)
                whenShown();
            return answer(choice);
        };
    }
    static QCoro::Task<int> answer(int choice) { co_return choice; }
};

} // namespace

class OnboardingTest : public QObject {
    Q_OBJECT
private:
    QTemporaryDir m_dir;
    std::unique_ptr<QSettings> freshStore() {
        static int n = 0;
        return std::make_unique<QSettings>(m_dir.filePath(QStringLiteral("s%1.conf").arg(++n)),
                                           QSettings::IniFormat);
    }

private Q_SLOTS:
    void grantedPermissionShowsNothingButSetsTheFlag() {
        RecordingPlatform platform;
        auto store = freshStore();
        AlertRecorder alerts;
        awaited(Onboarding::showIfNeeded(platform.permissionsFake, platform.shellFake, *store,
                                         alerts.presenter()));
        QVERIFY(alerts.shown.isEmpty());
        QCOMPARE(store->value(Onboarding::shownKey).toBool(), true);
        QCOMPARE(platform.shellFake.activations, 0);
    }

    void missingPermissionExplainsAndOpensTheSettings() {
        RecordingPlatform platform;
        platform.permissionsFake.accessibility = false;
        auto store = freshStore();
        AlertRecorder alerts;
        alerts.choice = 0;
        bool flagSetBeforeAlert = false;
        alerts.whenShown = [&] {
            flagSetBeforeAlert = store->value(Onboarding::shownKey).toBool();
        };

        awaited(Onboarding::showIfNeeded(platform.permissionsFake, platform.shellFake, *store,
                                         alerts.presenter()));

        QCOMPARE(alerts.shown.size(), 1);
        QCOMPARE(alerts.shown.at(0).message, Texts::accessibilityExplainerMessage());
        QCOMPARE(alerts.shown.at(0).informative, Texts::accessibilityExplainerInformative());
        QCOMPARE(alerts.shown.at(0).buttons,
                 (QStringList{Texts::openSystemSettings(), Texts::notNow()}));
        QVERIFY(alerts.shown.at(0).modal);
        QVERIFY(flagSetBeforeAlert);
        QCOMPARE(platform.shellFake.activations, 1);
        QCOMPARE(platform.permissionsFake.accessibilityRequests, 1);
        QCOMPARE(platform.permissionsFake.openedPanes,
                 QList<PermissionService::Pane>{PermissionService::Pane::accessibility});
    }

    void notNowDoesNothingMore() {
        RecordingPlatform platform;
        platform.permissionsFake.accessibility = false;
        auto store = freshStore();
        AlertRecorder alerts;
        alerts.choice = 1;
        awaited(Onboarding::showIfNeeded(platform.permissionsFake, platform.shellFake, *store,
                                         alerts.presenter()));
        QCOMPARE(alerts.shown.size(), 1);
        QCOMPARE(platform.permissionsFake.accessibilityRequests, 0);
        QVERIFY(platform.permissionsFake.openedPanes.isEmpty());
    }

    void secondLaunchAfterNotNowAsksNoMore() {
        RecordingPlatform platform;
        platform.permissionsFake.accessibility = false;
        auto store = freshStore();
        AlertRecorder alerts;
        awaited(Onboarding::showIfNeeded(platform.permissionsFake, platform.shellFake, *store,
                                         alerts.presenter()));
        awaited(Onboarding::showIfNeeded(platform.permissionsFake, platform.shellFake, *store,
                                         alerts.presenter()));
        QCOMPARE(alerts.shown.size(), 1);
    }

    void closingTheAlertCountsAsNotNow() {
        RecordingPlatform platform;
        platform.permissionsFake.accessibility = false;
        auto store = freshStore();
        AlertRecorder alerts;
        alerts.choice = -1;
        awaited(Onboarding::showIfNeeded(platform.permissionsFake, platform.shellFake, *store,
                                         alerts.presenter()));
        QVERIFY(platform.permissionsFake.openedPanes.isEmpty());
    }

    void openPaneGoesToThePlatform() {
        FakePermissions permissions;
        Permissions::openPane(permissions, PermissionService::Pane::inputMonitoring);
        Permissions::openPane(permissions, PermissionService::Pane::accessibility);
        QCOMPARE(permissions.openedPanes,
                 (QList<PermissionService::Pane>{PermissionService::Pane::inputMonitoring,
                                                 PermissionService::Pane::accessibility}));
    }
};

QTEST_GUILESS_MAIN(OnboardingTest)
#include "tst_onboarding.moc"
