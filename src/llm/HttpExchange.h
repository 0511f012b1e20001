#pragma once

#include "llm/ChunkedDecoder.h"

#include <QByteArray>
#include <QList>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <utility>

class QTcpSocket;

// One HTTP/1.1 request on a connection of its own, with the response body
// handed on as it arrives. It reads the body's framing itself (chunked
// coding, Content-Length, or the end of the connection) so that it can tell
// a body that reached the server's end from one that was cut off: the first
// ends in finished(), the second in failed() with RemoteHostClosedError.
//
// Emits headReceived(), then bodyData() as often as data comes, then exactly
// one of finished() or failed(); failed() may also come before the head.
// Receivers may delete the exchange from any of these signals. Redirects
// are not followed: a 3xx response is reported like any other.
class HttpExchange : public QObject {
    Q_OBJECT
public:
    struct Request {
        QByteArray method;
        QUrl url; // http or https, with a host
        QList<std::pair<QByteArray, QByteArray>> headers;
        QByteArray body;
        // The longest wait for the connection or for data, not a total limit.
        std::chrono::milliseconds idleTimeout{300'000};
    };

    // Connects and sends the request once the event loop runs.
    explicit HttpExchange(Request request, QObject* parent = nullptr);
    ~HttpExchange() override;

    // Closes the connection; nothing more is emitted.
    void abort();

    int status() const { return m_status; }
    // The value of the first response header with this name (any case).
    QByteArray header(QByteArrayView name) const;

Q_SIGNALS:
    void headReceived();
    void bodyData(const QByteArray& bytes);
    void finished();
    void failed(QNetworkReply::NetworkError error, const QString& description);

private:
    enum class Framing { chunked, length, untilClose, none };

    void start();
    void onConnected();
    void onReadyRead();
    void onSocketError();
    void onClosed();
    // Each returns false once the exchange is over (and `this` may be gone).
    bool readHead();
    bool readBody(QByteArrayView bytes);
    bool emitData(const QByteArray& bytes);
    void succeed();
    void fail(QNetworkReply::NetworkError error, const QString& description);
    void dropSocket();

    Request m_request;
    QTcpSocket* m_socket = nullptr;
    QTimer m_idle;
    QByteArray m_headBytes;
    int m_status = 0;
    QList<std::pair<QByteArray, QByteArray>> m_headers;
    bool m_headDone = false;
    Framing m_framing = Framing::none;
    qint64 m_left = 0; // Framing::length: body bytes still to come
    ChunkedDecoder m_chunks;
    bool m_over = false;
};
