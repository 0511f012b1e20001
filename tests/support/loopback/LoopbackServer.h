#pragma once

#include "ReplyPlan.h"

#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QMutex>
#include <QObject>

#include <atomic>
#include <utility>

class QTcpServer;
class QTcpSocket;

// A small HTTP/1.1 server on 127.0.0.1 (or another loopback address) for tests of the model client:
// it answers each request by its method and path with a ReplyPlan, and records what the client sent
// and how the exchange ended.
//
// It lives in the thread it was created in (or moved to); LoopbackThread runs
// one in a thread of its own. route(), port(), url() and the records may be
// used from any thread.
class LoopbackServer : public QObject {
    Q_OBJECT
public:
    struct Request {
        QByteArray method;
        QByteArray path; // the request target as sent, query included
        QList<std::pair<QByteArray, QByteArray>> headers;
        QByteArray body;
        // The client closed the connection before the reply was over (or
        // while the server held it).
        bool clientClosedEarly = false;
        // The whole reply went out, framing included.
        bool replyComplete = false;
        // Monotonic time (steady clock, ns) just before each body piece was
        // written to the socket.
        QList<qint64> pieceTimes;

        // The value of the first header with this name (any case); empty if none.
        QByteArray header(QByteArrayView name) const;
        int headerCount(QByteArrayView name) const;
    };

    explicit LoopbackServer(QObject* parent = nullptr);
    ~LoopbackServer() override;

    // Listens on `address` (127.0.0.1 unless told); port 0 picks a free port.
    bool listen(quint16 port = 0,
                const QHostAddress& address = QHostAddress(QHostAddress::LocalHost));
    quint16 port() const;
    // The address listened on, as text: "127.0.0.1" unless told.
    QString host() const;
    // "http://<host>:<port>"
    QString url() const;

    // Every request with this method and path (without query) gets `plan`.
    void route(const QByteArray& method, const QByteArray& path, const ReplyPlan& plan);
    // For every request no route matches; by default a 404 in plain text.
    void setFallback(const ReplyPlan& plan);

    QList<Request> requests() const;
    int requestCount() const;
    Request request(int index) const;

Q_SIGNALS:
    void requestReceived(int index);
    void pieceWritten(int index, int piece, int pieceCount);
    void replyComplete(int index);
    void clientClosedEarly(int index);

private:
    friend class LoopbackConnection;
    ReplyPlan planFor(const QByteArray& method, const QByteArray& target) const;
    int record(const Request& request);
    template <typename Change>
    void update(int index, Change&& change);

    QTcpServer* m_server;
    std::atomic<quint16> m_port = 0;
    QString m_host;
    QHash<QByteArray, ReplyPlan> m_routes;
    ReplyPlan m_fallback;
    mutable QMutex m_mutex;
    QList<Request> m_requests;
};

class QThread;

// A LoopbackServer in a thread of its own, so that it can pause between
// pieces (even blocking, for pauses under a millisecond) while the client's
// thread is free to read each piece as it comes. Listens at construction.
class LoopbackThread {
public:
    explicit LoopbackThread(const QHostAddress& address = QHostAddress(QHostAddress::LocalHost));
    ~LoopbackThread();
    LoopbackThread(const LoopbackThread&) = delete;
    LoopbackThread& operator=(const LoopbackThread&) = delete;

    LoopbackServer& server() { return *m_server; }
    LoopbackServer* operator->() { return m_server; }

private:
    QThread* m_thread;
    LoopbackServer* m_server;
};
