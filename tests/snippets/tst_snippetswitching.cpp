#include "EngineFixture.h"
#include "fakes/PendingQuestion.h"

// Starting and stopping the engine: the setting, the two-second poll, the
// user's switch and the permission prompt.
class TestSnippetSwitching : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<EngineFixture> f;

private Q_SLOTS:
    void init() { f = std::make_unique<EngineFixture>(); }
    void cleanup() { f.reset(); }

    void tickFollowsTheSetting() {
        QSignalSpy running(f->engine.get(), &SnippetEngine::isRunningChanged);
        f->engine->tick();
        QVERIFY(!f->engine->isRunning());
        QCOMPARE(f->watcher().starts, 0);

        f->settings.setSnippetsEnabled(true);
        f->engine->tick();
        QVERIFY(f->engine->isRunning());
        QVERIFY(f->watcher().watching);
        QCOMPARE(running.count(), 1);
        f->engine->tick(); // already running: nothing more
        QCOMPARE(f->watcher().starts, 1);

        f->watcher().typeText(";s");
        f->settings.setSnippetsEnabled(false);
        f->engine->tick();
        QVERIFY(!f->engine->isRunning());
        QVERIFY(!f->watcher().watching);
        QCOMPARE(f->engine->buffer(), QString());
        QCOMPARE(running.count(), 2);
    }

    void startingClearsTheBuffer() {
        QVERIFY(f->start());
        f->watcher().typeText(";si");
        f->engine->setEnabled(false);
        QCOMPARE(f->engine->buffer(), QString());
        QVERIFY(f->start());
        f->watcher().typeText("g");
        QCOMPARE(f->engine->buffer(), QString("g"));
    }

    void tickWaitsForThePermission() {
        f->permissions().inputMonitoring = false;
        f->settings.setSnippetsEnabled(true);
        f->engine->tick();
        QVERIFY(!f->engine->isRunning());
        QCOMPARE(f->watcher().starts, 0);
        f->permissions().inputMonitoring = true;
        f->engine->tick();
        QVERIFY(f->engine->isRunning());
    }

    void aWatcherThatRefusesIsRetriedAtTheNextTick() {
        f->watcher().allowed = false;
        f->settings.setSnippetsEnabled(true);
        f->engine->tick();
        QVERIFY(!f->engine->isRunning());
        f->watcher().allowed = true;
        f->engine->tick();
        QVERIFY(f->engine->isRunning());
        QCOMPARE(f->watcher().starts, 2);
    }

    void monitoringTicksAtOnceAndEveryTwoSeconds() {
        f->settings.setSnippetsEnabled(true);
        f->engine->startMonitoringState();
        QVERIFY(f->engine->isRunning());

        // Switched off elsewhere (the settings window writes the setting):
        // the engine follows within two seconds.
        QElapsedTimer clock;
        clock.start();
        f->settings.setSnippetsEnabled(false);
        QSignalSpy running(f->engine.get(), &SnippetEngine::isRunningChanged);
        QVERIFY(running.wait(3000));
        QVERIFY(!f->engine->isRunning());
        QVERIFY2(clock.elapsed() <= 2500, qPrintable(QString::number(clock.elapsed())));

        // Calling it again restarts the poll rather than adding a second one.
        f->engine->startMonitoringState();
        f->settings.setSnippetsEnabled(true);
        QVERIFY(running.wait(3000));
        QVERIFY(f->engine->isRunning());
        QCOMPARE(f->watcher().starts, 2);
    }

    void switchingOffStopsAndStoresTheSetting() {
        QVERIFY(f->start());
        QVERIFY(f->settings.snippetsEnabled());
        QVERIFY(f->store.value("snippetsEnabled").toBool());
        f->engine->setEnabled(false);
        QVERIFY(!f->engine->isRunning());
        QVERIFY(!f->settings.snippetsEnabled());
        QCOMPARE(f->store.value("snippetsEnabled").toBool(), false);
        QCOMPARE(f->watcher().stops, 1);
        // Switching off twice is harmless.
        f->engine->setEnabled(false);
        QVERIFY(!f->engine->isRunning());
    }

    void switchingOnWithThePermissionStartsAtOnceWithoutAPrompt() {
        PendingQuestion question;
        f->engine->setPermissionPrompt(question.prompt());
        const QCoro::Task<> switched = f->engine->setEnabled(true);
        QVERIFY(switched.isReady());
        QVERIFY(f->engine->isRunning());
        QCOMPARE(question.asked, 0);
        QCOMPARE(f->platform.shellFake.activations, 0);
        QCOMPARE(f->permissions().inputMonitoringRequests, 0);
    }

    void cancelInThePromptChangesNothing() {
        f->permissions().inputMonitoring = false;
        PendingQuestion question;
        int activationsWhenAsked = -1;
        question.onAsked = [&] { activationsWhenAsked = f->platform.shellFake.activations; };
        f->engine->setPermissionPrompt(question.prompt());
        QSignalSpy setting(&f->settings, &AppSettings::snippetsEnabledChanged);

        QCoro::Task<> switched = f->engine->setEnabled(true);
        // The question is open and nothing waits for it: the call is back.
        QVERIFY(question.isOpen());
        QVERIFY(!switched.isReady());
        QCOMPARE(question.asked, 1);
        // The application comes to the front before the alert shows.
        QCOMPARE(activationsWhenAsked, 1);
        QVERIFY(!f->settings.snippetsEnabled());

        question.answer(false);
        QCoro::waitFor(std::move(switched));
        QVERIFY(!f->settings.snippetsEnabled());
        QVERIFY(!f->store.contains("snippetsEnabled"));
        QCOMPARE(setting.count(), 0);
        QCOMPARE(f->permissions().inputMonitoringRequests, 0);
        QVERIFY(f->permissions().openedPanes.isEmpty());
        QVERIFY(!f->engine->isRunning());
    }

    void withoutAPromptTheAnswerIsCancel() {
        f->permissions().inputMonitoring = false;
        const QCoro::Task<> switched = f->engine->setEnabled(true);
        QVERIFY(switched.isReady());
        QVERIFY(!f->settings.snippetsEnabled());
        QCOMPARE(f->permissions().inputMonitoringRequests, 0);
        QVERIFY(!f->engine->isRunning());
    }

    void continueInThePromptAsksAndStartsOnceGranted() {
        f->permissions().inputMonitoring = false;
        PendingQuestion question;
        f->engine->setPermissionPrompt(question.prompt());
        QCoro::Task<> switched = f->engine->setEnabled(true);
        QVERIFY(question.isOpen());
        // Nothing is asked of the system before the user has answered.
        QVERIFY(!f->settings.snippetsEnabled());
        QCOMPARE(f->permissions().inputMonitoringRequests, 0);
        QVERIFY(f->permissions().openedPanes.isEmpty());

        question.answer(true);
        QCoro::waitFor(std::move(switched));
        QVERIFY(f->settings.snippetsEnabled());
        QVERIFY(f->store.value("snippetsEnabled").toBool());
        QCOMPARE(f->permissions().inputMonitoringRequests, 1);
        QCOMPARE(f->permissions().openedPanes,
                 QList<PermissionService::Pane>{PermissionService::Pane::inputMonitoring});
        QVERIFY(!f->engine->isRunning());

        f->engine->tick();
        QVERIFY(!f->engine->isRunning());
        f->permissions().inputMonitoring = true;
        f->engine->tick();
        QVERIFY(f->engine->isRunning());
    }

    void aPromptThatAnswersAtOnceDecidesAtOnce() {
        f->permissions().inputMonitoring = false;
        f->engine->setPermissionPrompt(PendingQuestion::answeredAtOnce(true));
        const QCoro::Task<> switched = f->engine->setEnabled(true);
        QVERIFY(switched.isReady());
        QVERIFY(f->settings.snippetsEnabled());
        QCOMPARE(f->permissions().inputMonitoringRequests, 1);
    }

    void switchingOnAgainWhileTheQuestionIsOpenAsksNothingMore() {
        f->permissions().inputMonitoring = false;
        PendingQuestion question;
        f->engine->setPermissionPrompt(question.prompt());
        QCoro::Task<> first = f->engine->setEnabled(true);
        const QCoro::Task<> second = f->engine->setEnabled(true);
        QVERIFY(second.isReady());
        QCOMPARE(question.asked, 1);
        QCOMPARE(f->platform.shellFake.activations, 1);

        question.answer(true);
        QCoro::waitFor(std::move(first));
        QCOMPARE(f->permissions().inputMonitoringRequests, 1);
        // Answered, the question may be asked again.
        f->settings.setSnippetsEnabled(false);
        QCoro::Task<> third = f->engine->setEnabled(true);
        QCOMPARE(question.asked, 2);
        question.answer(false);
        QCoro::waitFor(std::move(third));
        QVERIFY(!f->settings.snippetsEnabled());
    }

    void anEngineGoneWhileAskingTakesNoStep() {
        f->permissions().inputMonitoring = false;
        PendingQuestion question;
        f->engine->setPermissionPrompt(question.prompt());
        QCoro::Task<> switched = f->engine->setEnabled(true);
        QVERIFY(question.isOpen());
        f->engine.reset();
        question.answer(true);
        QCoro::waitFor(std::move(switched));
        QVERIFY(!f->settings.snippetsEnabled());
        QCOMPARE(f->permissions().inputMonitoringRequests, 0);
        QVERIFY(f->permissions().openedPanes.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestSnippetSwitching)
#include "tst_snippetswitching.moc"
