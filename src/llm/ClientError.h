#pragma once

#include "llm/LLMError.h"

#include <QString>

#include <optional>

// Anything a model run or a model listing can end with: one of the client's
// own LLMErrors, a refusal of the client's own (a redirect to another server,
// a reply too long to keep), a transport failure passed through unchanged
// (with the network library's own description), or cancellation, which
// callers swallow.
class ClientError {
public:
    // Implicit by design: an LLMError is a ClientError.
    ClientError(const LLMError& error) // NOLINT(google-explicit-constructor)
        : m_llm(error) {}

    static ClientError transport(int networkError, const QString& description);
    static ClientError cancelled();
    // The server sent the request on to `address`, another server than the
    // configured one; the client did not follow.
    static ClientError redirectRefused(const QString& address);
    // The reply grew past what the client keeps, `limit` bytes.
    static ClientError replyTooLong(qsizetype limit);

    // The LLMError, when it is one.
    const std::optional<LLMError>& llm() const { return m_llm; }
    bool isCancellation() const { return m_cancelled; }
    // QNetworkReply::NetworkError of a passed-through transport failure; 0 otherwise.
    int networkError() const { return m_networkError; }

    // The user-facing text: the LLMError's text, or the transport's own.
    QString description() const;

    bool operator==(const ClientError&) const = default;

private:
    ClientError() = default;

    std::optional<LLMError> m_llm;
    int m_networkError = 0;
    QString m_transportText;
    bool m_cancelled = false;
};
