#pragma once

#include <QList>
#include <QString>

#include <optional>

// The kinds of model server Wendle talks to.
enum class Provider {
    ollama,   // an Ollama server: /api/chat, newline-delimited JSON
    lmstudio, // an LM Studio server: OpenAI-compatible /v1/chat/completions
    custom,   // any OpenAI-compatible chat-completions endpoint
};

namespace Providers {

const QList<Provider>& allCases();
QString rawValue(Provider provider); // "ollama", "lmstudio", "custom"
std::optional<Provider> fromRawValue(const QString& raw);
QString displayName(Provider provider); // "Ollama", "LM Studio", "Other (OpenAI-compatible)"

} // namespace Providers
