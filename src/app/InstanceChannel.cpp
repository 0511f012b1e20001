#include "app/InstanceChannel.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QStandardPaths>

#include <unistd.h>

namespace InstanceChannel {

namespace {
QString runtimeFolder() {
    QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (folder.isEmpty())
        folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        folder = QDir::tempPath();
    return folder;
}
} // namespace

QString socketPath() {
    return QDir(runtimeFolder()).filePath(QStringLiteral("wendle.socket"));
}

std::optional<QByteArray> ask(const QByteArray& command, int timeoutMs) {
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (!socket.waitForConnected(timeoutMs))
        return std::nullopt;
    socket.write(command + '\n');
    if (!socket.waitForBytesWritten(timeoutMs))
        return std::nullopt;
    QByteArray answer;
    while (!answer.endsWith('\n')) {
        if (!socket.waitForReadyRead(timeoutMs))
            return std::nullopt;
        answer += socket.readAll();
    }
    answer.chop(1);
    return answer;
}

} // namespace InstanceChannel

InstanceServer::InstanceServer(QObject* parent)
    : QObject(parent)
    , m_server(new QLocalServer(this)) {
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, &InstanceServer::serve);
}

InstanceServer::~InstanceServer() = default;

bool InstanceServer::claim() {
    m_lock = std::make_unique<QLockFile>(InstanceChannel::socketPath() + QStringLiteral(".lock"));
    // A lock whose owner died is taken over.
    m_lock->setStaleLockTime(0);
    if (m_lock->tryLock(0))
        return true;
    m_lock.reset();
    return false;
}

bool InstanceServer::listen() {
    // Holding the lock, any socket file left there belongs to a dead instance.
    QLocalServer::removeServer(InstanceChannel::socketPath());
    return m_server->listen(InstanceChannel::socketPath());
}

void InstanceServer::setHandler(const QByteArray& command, Handler handler) {
    m_handlers.insert(command, std::move(handler));
}

void InstanceServer::serve() {
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            while (socket->canReadLine()) {
                const QByteArray command = socket->readLine().trimmed();
                const Handler handler = m_handlers.value(command);
                const QByteArray answer = handler ? handler() : QByteArray("unknown command");
                socket->write(answer + '\n');
            }
        });
    }
}
