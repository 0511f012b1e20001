#pragma once

#include "llm/ChatStream.h"
#include "llm/LineSplitter.h"
#include "settings/ServerSettings.h"

#include <QCoroTask>
#include <QPointer>

class QNetworkReply;

// A chat run over HTTP: the request built from a settings snapshot taken at
// construction, the reply read line by line as it arrives.
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
    void onReadyRead();
    void onFinished();
    void decideReading();
    // Hands every complete line of the bytes read so far to handleLine();
    // false when the run has ended (and `this` may be gone).
    bool readAvailable();
    bool handleLine(QByteArrayView line);
    bool handleReplyLine(QByteArrayView line);
    bool handleErrorLine(const QString& line);
    void succeed();
    void fail(const ClientError& error);
    void dropReply();

    const QString m_url;   // the chat URL as computed, for error texts
    const bool m_ollama;   // newline-delimited JSON rather than server-sent events
    const QString m_model; // trimmed; may be empty
    QPointer<QNetworkReply> m_reply;
    LineSplitter m_lines;
    Reading m_reading = Reading::undecided;
    int m_status = 0;
    QString m_errorText;
    bool m_over = false;
    bool m_ownAbort = false;
};
