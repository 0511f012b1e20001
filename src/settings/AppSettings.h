#pragma once

#include "settings/Provider.h"
#include "settings/ServerSettings.h"

#include <QObject>
#include <QString>

class QSettings;

// The application's settings: the model connection and whether snippet
// expansion is on. Every field is written through to the defaults store the
// moment it is assigned, and every assignment notifies observers, also when
// the value did not change.
class AppSettings : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString ollamaURL READ ollamaURL WRITE setOllamaURL NOTIFY ollamaURLChanged)
    Q_PROPERTY(QString ollamaModel READ ollamaModel WRITE setOllamaModel NOTIFY ollamaModelChanged)
    Q_PROPERTY(QString lmStudioURL READ lmStudioURL WRITE setLmStudioURL NOTIFY lmStudioURLChanged)
    Q_PROPERTY(
        QString lmStudioModel READ lmStudioModel WRITE setLmStudioModel NOTIFY lmStudioModelChanged)
    Q_PROPERTY(QString customURL READ customURL WRITE setCustomURL NOTIFY customURLChanged)
    Q_PROPERTY(QString customModel READ customModel WRITE setCustomModel NOTIFY customModelChanged)
    Q_PROPERTY(bool snippetsEnabled READ snippetsEnabled WRITE setSnippetsEnabled NOTIFY
                   snippetsEnabledChanged)
public:
    // Loads every field from `store` (not owned; it must outlive this object).
    explicit AppSettings(QSettings& store, QObject* parent = nullptr);

    // The instance backed by Preferences::shared(), created on first use.
    static AppSettings& shared();

    Provider provider() const { return m_server.provider; }
    void setProvider(Provider provider);

    QString ollamaURL() const { return m_server.ollamaURL; }
    void setOllamaURL(const QString& url);
    QString ollamaModel() const { return m_server.ollamaModel; }
    void setOllamaModel(const QString& model);
    QString lmStudioURL() const { return m_server.lmStudioURL; }
    void setLmStudioURL(const QString& url);
    QString lmStudioModel() const { return m_server.lmStudioModel; }
    void setLmStudioModel(const QString& model);
    QString customURL() const { return m_server.customURL; }
    void setCustomURL(const QString& url);
    QString customModel() const { return m_server.customModel; }
    void setCustomModel(const QString& model);

    bool snippetsEnabled() const { return m_snippetsEnabled; }
    void setSnippetsEnabled(bool enabled);

    // The model of the current provider. Writing it stores only that
    // provider's model field.
    QString currentModel() const { return m_server.currentModel(); }
    void setCurrentModel(const QString& model);

    // The model connection as it is now.
    ServerSettings server() const { return m_server; }

    // The store behind these settings, for the few other keys that share it
    // (the palette's remembered tone and language, the explainer flag).
    QSettings& store() const { return m_store; }

Q_SIGNALS:
    void providerChanged();
    void ollamaURLChanged();
    void ollamaModelChanged();
    void lmStudioURLChanged();
    void lmStudioModelChanged();
    void customURLChanged();
    void customModelChanged();
    void snippetsEnabledChanged();

private:
    void writeString(const char* key, const QString& value);

    QSettings& m_store;
    ServerSettings m_server;
    bool m_snippetsEnabled = false;
};
