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
// Whether `to` is on the same server as `from`: the same scheme, host and
// port. Requests follow redirects only there, so that the user's text and API
// key never reach a server the user did not choose.
bool sameServer(const QUrl& from, const QUrl& to);
// "Wendle/<version>", the User-Agent of every request.
QByteArray userAgent();

// "Bearer <trimmed key>" for LM Studio and custom servers when a non-blank key
// is stored; nothing for Ollama or a blank key.
void applyAuth(QNetworkRequest& request, const ServerSettings& settings, const QString& storedKey);

// The system prompt wrapped around an action's instruction.
QString systemPrompt(const QString& instruction);
// The JSON body of a chat request.
QByteArray chatBody(const QString& model, const QString& instruction, const QString& text);

// The process-wide network manager, for the model listing. Chat runs use a
// connection of their own (HttpExchange), whose framing they can check.
QNetworkAccessManager& network();

// Idle time-outs: the longest wait for data, not a total limit. Tests shorten them.
struct Timeouts {
    std::chrono::milliseconds chat{300'000};
    std::chrono::milliseconds listing{6'000};
};
Timeouts timeouts();
void setTimeouts(const Timeouts& timeouts);

// How much of a reply the client reads: characters of reply text, and bytes
// of any one line of the body. Generous; tests lower it.
struct Limits {
    qsizetype reply = 64 * 1024 * 1024;
};
Limits limits();
void setLimits(const Limits& limits);

} // namespace LLMClient
