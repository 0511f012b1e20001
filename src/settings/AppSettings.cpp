#include "settings/AppSettings.h"

#include "settings/Preferences.h"

#include <QSettings>

namespace {

QString readString(QSettings& store, const char* key, const QString& fallback) {
    const QVariant value = store.value(QLatin1String(key));
    return value.isValid() ? value.toString() : fallback;
}

} // namespace

AppSettings::AppSettings(QSettings& store, QObject* parent)
    : QObject(parent)
    , m_store(store) {
    ServerSettings defaults;
    m_server.provider = Providers::fromRawValue(readString(store, "provider", QString()))
                            .value_or(Provider::ollama);
    m_server.ollamaURL = readString(store, "ollamaURL", defaults.ollamaURL);
    m_server.ollamaModel = readString(store, "ollamaModel", QString());
    m_server.lmStudioURL = readString(store, "lmStudioURL", defaults.lmStudioURL);
    m_server.lmStudioModel = readString(store, "lmStudioModel", QString());
    m_server.customURL = readString(store, "customURL", defaults.customURL);
    m_server.customModel = readString(store, "customModel", QString());
    m_snippetsEnabled = store.value(QStringLiteral("snippetsEnabled"), false).toBool();
}

AppSettings& AppSettings::shared() {
    static AppSettings* settings = new AppSettings(Preferences::shared());
    return *settings;
}

void AppSettings::writeString(const char* key, const QString& value) {
    m_store.setValue(QLatin1String(key), value);
    m_store.sync(); // at once, so that the command line sees the change
}

void AppSettings::setProvider(Provider provider) {
    m_server.provider = provider;
    writeString("provider", Providers::rawValue(provider));
    Q_EMIT providerChanged();
}

void AppSettings::setOllamaURL(const QString& url) {
    m_server.ollamaURL = url;
    writeString("ollamaURL", url);
    Q_EMIT ollamaURLChanged();
}

void AppSettings::setOllamaModel(const QString& model) {
    m_server.ollamaModel = model;
    writeString("ollamaModel", model);
    Q_EMIT ollamaModelChanged();
}

void AppSettings::setLmStudioURL(const QString& url) {
    m_server.lmStudioURL = url;
    writeString("lmStudioURL", url);
    Q_EMIT lmStudioURLChanged();
}

void AppSettings::setLmStudioModel(const QString& model) {
    m_server.lmStudioModel = model;
    writeString("lmStudioModel", model);
    Q_EMIT lmStudioModelChanged();
}

void AppSettings::setCustomURL(const QString& url) {
    m_server.customURL = url;
    writeString("customURL", url);
    Q_EMIT customURLChanged();
}

void AppSettings::setCustomModel(const QString& model) {
    m_server.customModel = model;
    writeString("customModel", model);
    Q_EMIT customModelChanged();
}

void AppSettings::setSnippetsEnabled(bool enabled) {
    m_snippetsEnabled = enabled;
    m_store.setValue(QStringLiteral("snippetsEnabled"), enabled);
    m_store.sync();
    Q_EMIT snippetsEnabledChanged();
}

void AppSettings::setCurrentModel(const QString& model) {
    switch (m_server.provider) {
    case Provider::ollama:
        setOllamaModel(model);
        break;
    case Provider::lmstudio:
        setLmStudioModel(model);
        break;
    case Provider::custom:
        setCustomModel(model);
        break;
    }
}
