#pragma once

#include "llm/ChatStream.h"
#include "llm/ClientError.h"
#include "settings/ServerSettings.h"

#include <QCoroTask>
#include <QNetworkRequest>
#include <QStringList>

#include <chrono>
#include <optional>

class QNetworkAccessManager;

// Talks to the chosen model server: one streaming chat request per run, and
// the list of the server's models. Stateless apart from the process-wide
// network manager.
namespace LLMClient {

// Starts a run of `instruction` on `text` against the server the shared
// settings name, read at this moment. Never fails synchronously: a bad URL or
// a missing model also arrives as failed(). The caller owns the stream.
ChatStream* stream(const QString& instruction, const QString& text, QObject* parent = nullptr);
// The same against an explicit connection (the command line's overrides).
ChatStream* stream(const ServerSettings& settings, const QString& instruction, const QString& text,
                   QObject* parent = nullptr);

struct ModelList {
    QStringList names;                // in the server's order, duplicates kept
    std::optional<ClientError> error; // set when the listing failed
};
// The server's model names. A body that is not the expected JSON is an empty
// list, not an error.
QCoro::Task<ModelList> listModels();
QCoro::Task<ModelList> listModels(ServerSettings settings);

// --- The rules both requests share ---

// Trims; an empty result stays empty; text without "://" gets "http://".
QString normalized(const QString& url);
// normalized(base) without trailing slashes, plus `path`, with a final "/v1"
// of the base dropped when `path` starts with "/v1".
QString join(const QString& base, const QString& path);
QString chatURL(const ServerSettings& settings);
QString modelsURL(const ServerSettings& settings);
// "Bearer <trimmed key>" for LM Studio and custom servers when a non-blank key
// is stored; nothing for Ollama or a blank key.
void applyAuth(QNetworkRequest& request, const ServerSettings& settings, const QString& storedKey);

// The system prompt wrapped around an action's instruction.
QString systemPrompt(const QString& instruction);
// The JSON body of a chat request.
QByteArray chatBody(const QString& model, const QString& instruction, const QString& text);

// The process-wide network manager.
QNetworkAccessManager& network();

// Idle time-outs: the longest wait for data, not a total limit. Tests shorten them.
struct Timeouts {
    std::chrono::milliseconds chat{300'000};
    std::chrono::milliseconds listing{6'000};
};
Timeouts timeouts();
void setTimeouts(const Timeouts& timeouts);

} // namespace LLMClient
