#pragma once

#include "llm/ChatStream.h"
#include "llm/LineSplitter.h"
#include "settings/ServerSettings.h"

#include <QCoroTask>
#include <QNetworkReply>
#include <QPointer>
#include <QUrl>

class HttpExchange;

// A chat run over HTTP: the request built from a settings snapshot taken at
// construction, the reply read line by line as it arrives. Redirects are
// followed only on the configured server; a reply counts as complete only
// when its body reached the server's end.
class HttpChatStream final : public ChatStream {
    Q_OBJECT
public:
    HttpChatStream(const ServerSettings& settings, const QString& instruction, const QString& text,
                   QObject* parent = nullptr);
    ~HttpChatStream() override;

    void abort() override;
    bool isOver() const override { return m_over; }

private:
    // What the body is read for, decided by the status once it is known.
    enum class Reading { undecided, reply, errorText };

    QCoro::Task<> start(ServerSettings settings, QString instruction, QString text);
    void send(const QUrl& url, const QByteArray& method, const QByteArray& body);
    void onHead();
    void onBody(const QByteArray& bytes);
    void onBodyEnd();
    void onTransportFailure(QNetworkReply::NetworkError error, const QString& description);
    // Follows a redirect on the same server; false when the status is none.
    bool followRedirect();
    // Hands every complete line of `bytes` to handleLine(); false when the
    // run has ended (and `this` may be gone).
    bool readLines(QByteArrayView bytes);
    bool handleLine(QByteArrayView line);
    bool handleReplyLine(QByteArrayView line);
    bool handleErrorLine(const QString& line);
    void succeed();
    void fail(const ClientError& error);
    void dropExchange();

    const QString m_url;   // the chat URL as computed, for error texts
    const bool m_ollama;   // newline-delimited JSON rather than server-sent events
    const QString m_model; // trimmed; may be empty
    QList<std::pair<QByteArray, QByteArray>> m_headers;
    QByteArray m_body;
    QUrl m_current; // where the request went last (it differs after a redirect)
    int m_redirects = 0;
    QPointer<HttpExchange> m_exchange;
    LineSplitter m_lines;
    Reading m_reading = Reading::undecided;
    int m_status = 0;
    QString m_errorText;
    qsizetype m_replySize = 0; // characters of reply text so far
    bool m_over = false;
};
