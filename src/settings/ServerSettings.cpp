#include "settings/ServerSettings.h"

QString ServerSettings::currentModel() const {
    switch (provider) {
    case Provider::ollama:
        return ollamaModel;
    case Provider::lmstudio:
        return lmStudioModel;
    case Provider::custom:
        return customModel;
    }
    return {};
}

void ServerSettings::setCurrentModel(const QString& model) {
    switch (provider) {
    case Provider::ollama:
        ollamaModel = model;
        break;
    case Provider::lmstudio:
        lmStudioModel = model;
        break;
    case Provider::custom:
        customModel = model;
        break;
    }
}

QString ServerSettings::currentURL() const {
    switch (provider) {
    case Provider::ollama:
        return ollamaURL;
    case Provider::lmstudio:
        return lmStudioURL;
    case Provider::custom:
        return customURL;
    }
    return {};
}

void ServerSettings::setCurrentURL(const QString& url) {
    switch (provider) {
    case Provider::ollama:
        ollamaURL = url;
        break;
    case Provider::lmstudio:
        lmStudioURL = url;
        break;
    case Provider::custom:
        customURL = url;
        break;
    }
}
