#pragma once

#include "settings/Provider.h"

#include <QString>

// The model connection as a plain value: what a model run or a model listing
// reads from the settings when it starts. The command line builds one with
// its own overrides, which are never saved.
struct ServerSettings {
    Provider provider = Provider::ollama;
    QString ollamaURL = defaultOllamaURL();
    QString ollamaModel;
    QString lmStudioURL = defaultLMStudioURL();
    QString lmStudioModel;
    QString customURL = defaultCustomURL();
    QString customModel;

    bool operator==(const ServerSettings&) const = default;

    // The model field of the current provider; empty when none is chosen.
    QString currentModel() const;
    void setCurrentModel(const QString& model);
    // The address field of the current provider.
    QString currentURL() const;
    void setCurrentURL(const QString& url);

    static QString defaultOllamaURL() { return QStringLiteral("http://localhost:11434"); }
    static QString defaultLMStudioURL() { return QStringLiteral("http://localhost:1234"); }
    static QString defaultCustomURL() {
        return QStringLiteral("https://api.openai.com/v1/chat/completions");
    }
};
