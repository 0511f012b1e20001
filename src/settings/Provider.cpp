#include "settings/Provider.h"

namespace Providers {

const QList<Provider>& allCases() {
    static const QList<Provider> cases{Provider::ollama, Provider::lmstudio, Provider::custom};
    return cases;
}

QString rawValue(Provider provider) {
    switch (provider) {
    case Provider::ollama:
        return QStringLiteral("ollama");
    case Provider::lmstudio:
        return QStringLiteral("lmstudio");
    case Provider::custom:
        return QStringLiteral("custom");
    }
    return QStringLiteral("ollama");
}

std::optional<Provider> fromRawValue(const QString& raw) {
    for (const Provider provider : allCases()) {
        if (rawValue(provider) == raw)
            return provider;
    }
    return std::nullopt;
}

QString displayName(Provider provider) {
    switch (provider) {
    case Provider::ollama:
        return QStringLiteral("Ollama");
    case Provider::lmstudio:
        return QStringLiteral("LM Studio");
    case Provider::custom:
        return QStringLiteral("Other (OpenAI-compatible)");
    }
    return {};
}

} // namespace Providers
