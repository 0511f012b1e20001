#include "LoopbackServer.h"

#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>

#include <chrono>

#include <sys/socket.h>

namespace {

qint64 nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

QByteArray reasonPhrase(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 201:
        return "Created";
    case 204:
        return "No Content";
    case 301:
        return "Moved Permanently";
    case 302:
        return "Found";
    case 303:
        return "See Other";
    case 307:
        return "Temporary Redirect";
    case 308:
        return "Permanent Redirect";
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 404:
        return "Not Found";
    case 429:
        return "Too Many Requests";
    case 500:
        return "Internal Server Error";
    case 503:
        return "Service Unavailable";
    default:
        return "Status";
    }
}

} // namespace

// One client connection: reads requests one after the other (keep-alive) and
// sends each reply as its plan says.
class LoopbackConnection : public QObject {
public:
    LoopbackConnection(LoopbackServer* server, QTcpSocket* socket)
        : QObject(socket)
        , m_server(server)
        , m_socket(socket) {
        m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        connect(m_socket, &QTcpSocket::readyRead, this, [this] { readRequests(); });
        connect(m_socket, &QTcpSocket::disconnected, this, [this] { onDisconnected(); });
    }

private:
    void readRequests() {
        m_buffer += m_socket->readAll();
        while (m_current < 0) {
            const qsizetype headEnd = m_buffer.indexOf("\r\n\r\n");
            if (headEnd < 0)
                return;
            const QList<QByteArray> lines = m_buffer.left(headEnd).split('\n');
            LoopbackServer::Request request;
            const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
            request.method = requestLine.value(0);
            request.path = requestLine.value(1);
            qsizetype contentLength = 0;
            for (qsizetype i = 1; i < lines.size(); ++i) {
                const QByteArray line = lines[i].trimmed();
                const qsizetype colon = line.indexOf(':');
                if (colon <= 0)
                    continue;
                const QByteArray name = line.left(colon).trimmed();
                const QByteArray value = line.mid(colon + 1).trimmed();
                request.headers.append({name, value});
                if (name.compare("content-length", Qt::CaseInsensitive) == 0)
                    contentLength = value.toLongLong();
            }
            if (m_buffer.size() < headEnd + 4 + contentLength)
                return; // the body is still coming
            request.body = m_buffer.mid(headEnd + 4, contentLength);
            m_buffer.remove(0, headEnd + 4 + contentLength);
            startReply(request);
        }
    }

    void startReply(const LoopbackServer::Request& request) {
        m_plan = m_server->planFor(request.method, request.path);
        m_current = m_server->record(request);
        Q_EMIT m_server->requestReceived(m_current);
        if (m_plan.mode == ReplyPlan::Mode::hold)
            return;

        m_pieces = m_plan.pieces();
        m_next = 0;
        QByteArray head = "HTTP/1.1 " + QByteArray::number(m_plan.status) + ' ' +
                          reasonPhrase(m_plan.status) + "\r\nContent-Type: " + m_plan.contentType +
                          "\r\n";
        if (m_plan.framing == ReplyPlan::Framing::chunked)
            head += "Transfer-Encoding: chunked\r\n";
        else
            head += "Content-Length: " + QByteArray::number(m_plan.body.size()) + "\r\n";
        for (const auto& [name, value] : m_plan.headers)
            head += name + ": " + value + "\r\n";
        head += "\r\n";
        m_socket->write(head);
        m_socket->flush();
        sendNextPiece();
    }

    void sendNextPiece() {
        using std::chrono::microseconds;
        using std::chrono::milliseconds;
        for (;;) {
            if (m_current < 0)
                return;
            if (m_next < m_pieces.size() && !writePiece())
                return;
            if (m_next >= m_pieces.size()) {
                finishReply();
                return;
            }
            if (m_plan.delay > microseconds(0) && m_plan.delay < milliseconds(1)) {
                // Pacing the reply, not waiting for anything: the plan's gap
                // between pieces, shorter than a timer can keep.
                QThread::usleep(m_plan.delay.count());
                continue;
            }
            QTimer::singleShot(std::chrono::duration_cast<milliseconds>(m_plan.delay),
                               Qt::PreciseTimer, this, [this] { sendNextPiece(); });
            return;
        }
    }

    // Writes the next piece; false when the exchange ended meanwhile.
    bool writePiece() {
        const int index = m_current;
        const int pieceIndex = int(m_next++);
        const QByteArray piece = m_pieces[pieceIndex];
        const qint64 time = nowNs();
        m_server->update(index, [time](LoopbackServer::Request& r) { r.pieceTimes.append(time); });
        // Writing to a connection the client has closed reports the close
        // (disconnected()) from inside write() or flush().
        if (m_plan.framing == ReplyPlan::Framing::chunked)
            m_socket->write(QByteArray::number(piece.size(), 16) + "\r\n" + piece + "\r\n");
        else
            m_socket->write(piece);
        m_socket->flush();
        if (m_current != index)
            return false;
        QPointer<LoopbackConnection> self(this);
        Q_EMIT m_server->pieceWritten(index, pieceIndex, int(m_pieces.size()));
        return self && m_current == index;
    }

    void finishReply() {
        const int index = m_current;
        if (m_plan.cutsBody()) {
            cutBody();
            return;
        }
        if (m_plan.framing == ReplyPlan::Framing::chunked)
            m_socket->write("0\r\n\r\n");
        m_socket->flush();
        if (m_current != index)
            return; // the client closed the connection before the end
        m_current = -1;
        m_server->update(index, [](LoopbackServer::Request& r) { r.replyComplete = true; });
        Q_EMIT m_server->replyComplete(index);
        // A kept-alive connection may already carry the next request.
        QTimer::singleShot(0, this, [this] { readRequests(); });
    }

    // The server gives up in the middle of the body, in the way the plan says.
    void cutBody() {
        const bool chunked = m_plan.framing == ReplyPlan::Framing::chunked;
        if (chunked && m_plan.mode == ReplyPlan::Mode::badChunkMidBody)
            m_socket->write("zz-not-a-size\r\nhello\r\n");
        else if (chunked && m_plan.mode == ReplyPlan::Mode::closeInsideChunk)
            m_socket->write("400\r\n{\"message\":{\"content\":\"cut\"}}");
        m_closedByUs = true;
        m_current = -1;
        if (m_plan.mode != ReplyPlan::Mode::resetMidBody) {
            m_socket->disconnectFromHost();
            return;
        }
        // Everything written so far goes out first; then a zero linger time
        // makes the close a reset.
        while (m_socket->bytesToWrite() > 0 && m_socket->waitForBytesWritten(5000)) {
        }
        const linger noLinger{1, 0};
        ::setsockopt(int(m_socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &noLinger,
                     sizeof noLinger);
        m_socket->abort();
    }

    void onDisconnected() {
        const int index = m_current;
        m_current = -1;
        if (index >= 0 && !m_closedByUs) {
            m_server->update(index, [](LoopbackServer::Request& r) { r.clientClosedEarly = true; });
            Q_EMIT m_server->clientClosedEarly(index);
        }
        m_socket->deleteLater();
    }

    LoopbackServer* m_server;
    QTcpSocket* m_socket;
    QByteArray m_buffer;
    ReplyPlan m_plan;
    QList<QByteArray> m_pieces;
    qsizetype m_next = 0;
    int m_current = -1; // the request being answered (or held); -1 between requests
    bool m_closedByUs = false;
};

QByteArray LoopbackServer::Request::header(QByteArrayView name) const {
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

int LoopbackServer::Request::headerCount(QByteArrayView name) const {
    int count = 0;
    for (const auto& header : headers)
        count += header.first.compare(name, Qt::CaseInsensitive) == 0 ? 1 : 0;
    return count;
}

LoopbackServer::LoopbackServer(QObject* parent)
    : QObject(parent)
    , m_server(new QTcpServer(this))
    , m_fallback(ReplyPlan::text(404, "text/plain; charset=utf-8", "404 page not found")) {
    connect(m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket* socket = m_server->nextPendingConnection())
            new LoopbackConnection(this, socket);
    });
}

LoopbackServer::~LoopbackServer() {
    // The connections go first, while the records they write to still exist,
    // and quietly: a closing socket reports its own close.
    for (QTcpSocket* socket : m_server->findChildren<QTcpSocket*>())
        socket->disconnect();
    delete m_server;
}

bool LoopbackServer::listen(quint16 port, const QHostAddress& address) {
    if (!m_server->listen(address, port))
        return false;
    m_port = m_server->serverPort();
    QMutexLocker lock(&m_mutex);
    m_host = address.toString();
    return true;
}

quint16 LoopbackServer::port() const {
    return m_port;
}

QString LoopbackServer::url() const {
    return QStringLiteral("http://%1:%2").arg(host()).arg(port());
}

QString LoopbackServer::host() const {
    QMutexLocker lock(&m_mutex);
    return m_host;
}

void LoopbackServer::route(const QByteArray& method, const QByteArray& path,
                           const ReplyPlan& plan) {
    QMutexLocker lock(&m_mutex);
    m_routes.insert(method + ' ' + path, plan);
}

void LoopbackServer::setFallback(const ReplyPlan& plan) {
    QMutexLocker lock(&m_mutex);
    m_fallback = plan;
}

ReplyPlan LoopbackServer::planFor(const QByteArray& method, const QByteArray& target) const {
    const qsizetype query = target.indexOf('?');
    const QByteArray path = query < 0 ? target : target.left(query);
    QMutexLocker lock(&m_mutex);
    return m_routes.value(method + ' ' + path, m_fallback);
}

int LoopbackServer::record(const Request& request) {
    QMutexLocker lock(&m_mutex);
    m_requests.append(request);
    return int(m_requests.size() - 1);
}

template <typename Change>
void LoopbackServer::update(int index, Change&& change) {
    QMutexLocker lock(&m_mutex);
    change(m_requests[index]);
}

QList<LoopbackServer::Request> LoopbackServer::requests() const {
    QMutexLocker lock(&m_mutex);
    return m_requests;
}

int LoopbackServer::requestCount() const {
    QMutexLocker lock(&m_mutex);
    return int(m_requests.size());
}

LoopbackServer::Request LoopbackServer::request(int index) const {
    QMutexLocker lock(&m_mutex);
    return m_requests.value(index);
}

LoopbackThread::LoopbackThread(const QHostAddress& address)
    : m_thread(new QThread)
    , m_server(new LoopbackServer) {
    m_thread->setObjectName(QStringLiteral("loopback server"));
    m_server->moveToThread(m_thread);
    m_thread->start();
    bool listening = false;
    QMetaObject::invokeMethod(
        m_server, [this, &listening, &address] { listening = m_server->listen(0, address); },
        Qt::BlockingQueuedConnection);
    if (!listening)
        qFatal("The loopback server cannot listen on %s", qPrintable(address.toString()));
}

LoopbackThread::~LoopbackThread() {
    QMetaObject::invokeMethod(
        m_server, [this] { delete m_server; }, Qt::BlockingQueuedConnection);
    m_thread->quit();
    m_thread->wait();
    delete m_thread;
}
