#pragma once

#include <QString>

// The model client's own failures, each with the fixed text the user sees.
class LLMError {
public:
    enum class Case {
        noServer, // nothing answers at the address (refused, unknown host, lost, time-out, offline)
        http,     // the server answered with a status other than 200
        badURL,   // the configured address is not a URL with a host
        server,   // the server reported an error inside a 200 reply
        noModel,  // no model is chosen (Ollama and custom servers)
    };

    static LLMError noServer(const QString& address);
    static LLMError http(int status, const QString& message);
    static LLMError badURL(const QString& url);
    static LLMError server(const QString& message);
    static LLMError noModel();

    Case kind() const { return m_case; }
    int status() const { return m_status; } // http only
    // noServer: the address; http and server: the message; badURL: the URL.
    QString detail() const { return m_detail; }

    // The text the palette and the settings show.
    QString description() const;

    bool operator==(const LLMError&) const = default;

private:
    LLMError(Case c, int status, const QString& detail);

    Case m_case;
    int m_status = 0;
    QString m_detail;
};
