#include "llm/HttpExchange.h"

#include <QSslSocket>
#include <QTcpSocket>

namespace {

// A response head longer than this is no model server's.
constexpr qsizetype headLimit = 64 * 1024;
// The socket buffers this much of a reply that comes faster than it is
// read, and the body is read in slices of this size, so that a reply's
// memory stays small however fast and long it is.
constexpr qint64 socketBuffer = 256 * 1024;
constexpr qint64 slice = 64 * 1024;

// Where the blank line that ends a head is, and how long it is; -1 if none yet.
std::pair<qsizetype, qsizetype> headEnd(const QByteArray& bytes) {
    const qsizetype crlf = bytes.indexOf("\r\n\r\n");
    const qsizetype lf = bytes.indexOf("\n\n");
    if (crlf >= 0 && (lf < 0 || crlf < lf))
        return {crlf, 4};
    return {lf, lf < 0 ? 0 : 2};
}

QByteArray requestTarget(const QUrl& url) {
    QByteArray target = url.path(QUrl::FullyEncoded).toLatin1();
    if (target.isEmpty())
        target = "/";
    if (url.hasQuery())
        target += '?' + url.query(QUrl::FullyEncoded).toLatin1();
    return target;
}

QByteArray hostHeader(const QUrl& url) {
    QByteArray host = url.host(QUrl::FullyEncoded).toLatin1();
    if (host.contains(':'))
        host = '[' + host + ']';
    if (url.port() >= 0)
        host += ':' + QByteArray::number(url.port());
    return host;
}

} // namespace

HttpExchange::HttpExchange(Request request, QObject* parent)
    : QObject(parent)
    , m_request(std::move(request)) {
    m_idle.setSingleShot(true);
    m_idle.setInterval(m_request.idleTimeout);
    connect(&m_idle, &QTimer::timeout, this, [this] {
        fail(QNetworkReply::TimeoutError, QStringLiteral("The server sent nothing for %1 s.")
                                              .arg(m_request.idleTimeout.count() / 1000.0));
    });
    QTimer::singleShot(0, this, &HttpExchange::start);
}

HttpExchange::~HttpExchange() {
    m_over = true;
    dropSocket();
}

void HttpExchange::abort() {
    m_over = true;
    m_idle.stop();
    dropSocket();
}

QByteArray HttpExchange::header(QByteArrayView name) const {
    for (const auto& [key, value] : m_headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

void HttpExchange::start() {
    if (m_over)
        return;
    const QUrl& url = m_request.url;
    const bool https = url.scheme().compare(QLatin1String("https"), Qt::CaseInsensitive) == 0;
    if (!https && url.scheme().compare(QLatin1String("http"), Qt::CaseInsensitive) != 0) {
        fail(QNetworkReply::ProtocolUnknownError,
             QStringLiteral("Protocol \"%1\" is unknown").arg(url.scheme()));
        return;
    }
    m_idle.start();
    if (https) {
        auto* socket = new QSslSocket(this);
        m_socket = socket;
        connect(socket, &QSslSocket::encrypted, this, &HttpExchange::onConnected);
        socket->connectToHostEncrypted(url.host(), quint16(url.port(443)));
    } else {
        m_socket = new QTcpSocket(this);
        connect(m_socket, &QTcpSocket::connected, this, &HttpExchange::onConnected);
        m_socket->connectToHost(url.host(), quint16(url.port(80)));
    }
    m_socket->setReadBufferSize(socketBuffer);
    connect(m_socket, &QTcpSocket::readyRead, this, &HttpExchange::onReadyRead);
    connect(m_socket, &QTcpSocket::bytesWritten, this, [this] { m_idle.start(); });
    connect(m_socket, &QTcpSocket::errorOccurred, this, &HttpExchange::onSocketError);
    connect(m_socket, &QTcpSocket::disconnected, this, &HttpExchange::onClosed);
}

void HttpExchange::onConnected() {
    if (m_over)
        return;
    m_idle.start();
    QByteArray head = m_request.method + ' ' + requestTarget(m_request.url) + " HTTP/1.1\r\n";
    head += "Host: " + hostHeader(m_request.url) + "\r\n";
    for (const auto& [name, value] : m_request.headers)
        head += name + ": " + value + "\r\n";
    if (!m_request.body.isEmpty() || m_request.method == "POST")
        head += "Content-Length: " + QByteArray::number(m_request.body.size()) + "\r\n";
    // One request per connection, and the body as it is: its framing is then
    // all there is to read.
    head += "Accept-Encoding: identity\r\nConnection: close\r\n\r\n";
    m_socket->write(head + m_request.body);
}

void HttpExchange::onReadyRead() {
    if (m_over || !m_socket)
        return;
    m_idle.start();
    while (m_socket->bytesAvailable() > 0) {
        QByteArray bytes = m_socket->read(slice);
        if (!m_headDone) {
            m_headBytes += bytes;
            if (!readHead())
                return;
            if (!m_headDone)
                continue;
            bytes = std::exchange(m_headBytes, QByteArray());
        }
        if (!readBody(bytes))
            return;
    }
}

bool HttpExchange::readHead() {
    for (;;) {
        const auto [end, length] = headEnd(m_headBytes);
        if (end < 0) {
            if (m_headBytes.size() <= headLimit)
                return true;
            fail(QNetworkReply::ProtocolFailure,
                 QStringLiteral("The server's reply head is too long."));
            return false;
        }
        const QList<QByteArray> lines = m_headBytes.first(end).split('\n');
        m_headBytes.remove(0, end + length);
        const QList<QByteArray> statusLine = lines.first().trimmed().split(' ');
        bool ok = false;
        const int status = statusLine.value(1).toInt(&ok);
        if (!statusLine.first().startsWith("HTTP/1.") || !ok || status < 100 || status > 999) {
            fail(QNetworkReply::ProtocolFailure,
                 QStringLiteral("The server did not answer in HTTP/1.1."));
            return false;
        }
        // An interim answer (100 Continue, 103 Early Hints) precedes the real one.
        if (status >= 100 && status < 200 && status != 101)
            continue;
        m_status = status;
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const QByteArray line = lines[i].trimmed();
            const qsizetype colon = line.indexOf(':');
            if (colon > 0)
                m_headers.append({line.left(colon).trimmed(), line.mid(colon + 1).trimmed()});
        }
        break;
    }

    const QByteArray length = header("Content-Length");
    if (m_status == 101 || m_status == 204 || m_status == 304) {
        m_framing = Framing::none;
    } else if (header("Transfer-Encoding").toLower().contains("chunked")) {
        m_framing = Framing::chunked;
    } else if (!length.isEmpty()) {
        bool ok = false;
        m_left = length.toLongLong(&ok);
        if (!ok || m_left < 0) {
            fail(QNetworkReply::ProtocolFailure,
                 QStringLiteral("The server sent an invalid Content-Length."));
            return false;
        }
        m_framing = Framing::length;
    } else {
        m_framing = Framing::untilClose;
    }
    m_headDone = true;

    const QPointer<HttpExchange> self(this);
    Q_EMIT headReceived();
    if (!self || m_over)
        return false;
    if (m_framing == Framing::none || (m_framing == Framing::length && m_left == 0)) {
        succeed();
        return false;
    }
    return true;
}

bool HttpExchange::readBody(QByteArrayView bytes) {
    switch (m_framing) {
    case Framing::chunked: {
        QByteArray data;
        const ChunkedDecoder::Status status = m_chunks.feed(bytes, data);
        if (!data.isEmpty() && !emitData(data))
            return false;
        if (status == ChunkedDecoder::Status::complete) {
            succeed();
            return false;
        }
        if (status == ChunkedDecoder::Status::broken) {
            fail(QNetworkReply::RemoteHostClosedError,
                 QStringLiteral("The reply broke off: its chunked framing is damaged."));
            return false;
        }
        return true;
    }
    case Framing::length: {
        const qsizetype take = qsizetype(std::min<qint64>(m_left, bytes.size()));
        m_left -= take;
        if (take > 0 && !emitData(bytes.first(take).toByteArray()))
            return false;
        if (m_left == 0) {
            succeed();
            return false;
        }
        return true;
    }
    case Framing::untilClose:
        return bytes.isEmpty() || emitData(bytes.toByteArray());
    case Framing::none:
        return true;
    }
    return true;
}

bool HttpExchange::emitData(const QByteArray& bytes) {
    const QPointer<HttpExchange> self(this);
    Q_EMIT bodyData(bytes);
    return self && !m_over;
}

void HttpExchange::onSocketError() {
    if (m_over || !m_socket)
        return;
    switch (m_socket->error()) {
    case QAbstractSocket::RemoteHostClosedError:
        onClosed();
        return;
    case QAbstractSocket::ConnectionRefusedError:
        fail(QNetworkReply::ConnectionRefusedError, m_socket->errorString());
        return;
    case QAbstractSocket::HostNotFoundError:
        fail(QNetworkReply::HostNotFoundError, m_socket->errorString());
        return;
    case QAbstractSocket::SocketTimeoutError:
        fail(QNetworkReply::TimeoutError, m_socket->errorString());
        return;
    case QAbstractSocket::NetworkError:
        // Network or host unreachable; the network library's code for it.
        fail(QNetworkReply::UnknownNetworkError, m_socket->errorString());
        return;
    case QAbstractSocket::SslHandshakeFailedError:
        fail(QNetworkReply::SslHandshakeFailedError, m_socket->errorString());
        return;
    default:
        // Passed on with the socket's own description.
        fail(QNetworkReply::ProtocolFailure, m_socket->errorString());
        return;
    }
}

void HttpExchange::onClosed() {
    if (m_over || !m_socket)
        return;
    // What arrived before the close is read first.
    if (m_socket->bytesAvailable() > 0) {
        // A receiver of what this reads may delete the exchange.
        const QPointer<HttpExchange> self(this);
        onReadyRead();
        if (!self || m_over)
            return;
    }
    if (m_headDone && m_framing == Framing::untilClose) {
        succeed(); // the close is this body's end
        return;
    }
    fail(QNetworkReply::RemoteHostClosedError,
         m_headDone ? QStringLiteral("The connection ended before the reply was complete.")
                    : QStringLiteral("The server closed the connection without answering."));
}

void HttpExchange::succeed() {
    m_over = true;
    m_idle.stop();
    dropSocket();
    Q_EMIT finished();
}

void HttpExchange::fail(QNetworkReply::NetworkError error, const QString& description) {
    m_over = true;
    m_idle.stop();
    dropSocket();
    Q_EMIT failed(error, description);
}

void HttpExchange::dropSocket() {
    QTcpSocket* socket = std::exchange(m_socket, nullptr);
    if (!socket)
        return;
    // The socket may be in the middle of emitting a signal: it goes later.
    socket->disconnect(this);
    socket->setParent(nullptr);
    socket->abort();
    socket->deleteLater();
}
