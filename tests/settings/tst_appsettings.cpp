#include "settings/AppSettings.h"
#include "settings/Preferences.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

class TestAppSettings : public QObject {
    Q_OBJECT
private:
    QTemporaryDir m_dir;
    std::unique_ptr<QSettings> m_store;

    QSettings& freshStore() {
        m_store = std::make_unique<QSettings>(m_dir.filePath(QStringLiteral("Wendle.conf")),
                                              QSettings::IniFormat);
        m_store->clear();
        return *m_store;
    }

private Q_SLOTS:
    void absentKeysTakeTheDefaults() {
        AppSettings settings(freshStore());
        QCOMPARE(settings.provider(), Provider::ollama);
        QCOMPARE(settings.ollamaURL(), QStringLiteral("http://localhost:11434"));
        QCOMPARE(settings.lmStudioURL(), QStringLiteral("http://localhost:1234"));
        QCOMPARE(settings.customURL(),
                 QStringLiteral("https://api.openai.com/v1/chat/completions"));
        QVERIFY(settings.ollamaModel().isEmpty());
        QVERIFY(settings.lmStudioModel().isEmpty());
        QVERIFY(settings.customModel().isEmpty());
        QVERIFY(!settings.snippetsEnabled());
    }

    void unknownProviderLoadsAsOllama() {
        QSettings& store = freshStore();
        store.setValue(QStringLiteral("provider"), QStringLiteral("OpenAI"));
        QCOMPARE(AppSettings(store).provider(), Provider::ollama);
        store.setValue(QStringLiteral("provider"), QStringLiteral("LMStudio"));
        QCOMPARE(AppSettings(store).provider(), Provider::ollama);
        store.setValue(QStringLiteral("provider"), QStringLiteral("lmstudio"));
        QCOMPARE(AppSettings(store).provider(), Provider::lmstudio);
    }

    void switchingTheProviderTouchesNoModelOrURL() {
        AppSettings settings(freshStore());
        settings.setOllamaModel(QStringLiteral("llama3.2"));
        settings.setLmStudioModel(QStringLiteral("qwen"));
        settings.setOllamaURL(QStringLiteral(" localhost:11434/ "));
        settings.setProvider(Provider::lmstudio);
        QCOMPARE(settings.currentModel(), QStringLiteral("qwen"));
        QCOMPARE(settings.ollamaModel(), QStringLiteral("llama3.2"));
        QCOMPARE(settings.ollamaURL(), QStringLiteral(" localhost:11434/ ")); // stored as typed
    }

    void currentModelWritesOnlyTheCurrentProvidersField() {
        QSettings& store = freshStore();
        AppSettings settings(store);
        settings.setProvider(Provider::custom);
        settings.setCurrentModel(QStringLiteral("gpt-5-nano"));
        QCOMPARE(store.value(QStringLiteral("customModel")).toString(),
                 QStringLiteral("gpt-5-nano"));
        QVERIFY(!store.contains(QStringLiteral("ollamaModel")));
        QVERIFY(!store.contains(QStringLiteral("lmStudioModel")));
        QVERIFY(settings.ollamaModel().isEmpty());
    }

    void everyAssignmentIsWrittenThroughAndNotified() {
        QSettings& store = freshStore();
        AppSettings settings(store);
        QSignalSpy provider(&settings, &AppSettings::providerChanged);
        QSignalSpy url(&settings, &AppSettings::customURLChanged);
        QSignalSpy enabled(&settings, &AppSettings::snippetsEnabledChanged);
        settings.setProvider(Provider::custom);
        settings.setProvider(Provider::custom); // unchanged, still notified
        settings.setCustomURL(QStringLiteral("http://box:8080/v1/chat/completions"));
        settings.setSnippetsEnabled(true);
        QCOMPARE(provider.count(), 2);
        QCOMPARE(url.count(), 1);
        QCOMPARE(enabled.count(), 1);

        // A second reader of the same file sees everything at once.
        QSettings reader(store.fileName(), QSettings::IniFormat);
        QCOMPARE(reader.value(QStringLiteral("provider")).toString(), QStringLiteral("custom"));
        QCOMPARE(reader.value(QStringLiteral("customURL")).toString(),
                 QStringLiteral("http://box:8080/v1/chat/completions"));
        AppSettings reloaded(reader);
        QVERIFY(reloaded.snippetsEnabled());
        QCOMPARE(reloaded.provider(), Provider::custom);
    }

    void serverSnapshotFollowsTheSettings() {
        AppSettings settings(freshStore());
        settings.setProvider(Provider::lmstudio);
        settings.setLmStudioURL(QStringLiteral("http://127.0.0.1:1234/v1"));
        const ServerSettings server = settings.server();
        QCOMPARE(server.provider, Provider::lmstudio);
        QCOMPARE(server.currentURL(), QStringLiteral("http://127.0.0.1:1234/v1"));
        QCOMPARE(server.lmStudioURL, settings.lmStudioURL());
    }

    void providerNamesAndOrder() {
        QCOMPARE(Providers::allCases(),
                 (QList<Provider>{Provider::ollama, Provider::lmstudio, Provider::custom}));
        QCOMPARE(Providers::displayName(Provider::custom),
                 QStringLiteral("Other (OpenAI-compatible)"));
        QCOMPARE(Providers::displayName(Provider::lmstudio), QStringLiteral("LM Studio"));
        QCOMPARE(Providers::rawValue(Provider::lmstudio), QStringLiteral("lmstudio"));
    }

    void sharedSettingsLiveInTheUsersConfigFolder() {
        Preferences::applyIdentity();
        QCOMPARE(Preferences::shared().fileName(),
                 QDir(qEnvironmentVariable("XDG_CONFIG_HOME")).filePath("Wendle/Wendle.conf"));
        AppSettings::shared().setOllamaModel(QStringLiteral("m"));
        QVERIFY(QFile::exists(Preferences::shared().fileName()));
    }
};

QTEST_GUILESS_MAIN(TestAppSettings)
#include "tst_appsettings.moc"
