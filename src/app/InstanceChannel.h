#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

class QLocalServer;
class QLockFile;

// One Wendle per user session. The first instance holds a lock and listens on
// a local socket in the runtime folder; a second `wendle`, or `wendle toggle`,
// sends it a one-line command ("toggle") and gets a one-line answer.
namespace InstanceChannel {

// The socket's path: wendle.socket in $XDG_RUNTIME_DIR (or the temporary folder).
QString socketPath();

// Sends `command` to the running instance and returns its answer; nothing when
// no instance answers within `timeoutMs`.
std::optional<QByteArray> ask(const QByteArray& command, int timeoutMs = 2000);

} // namespace InstanceChannel

// The running instance's end of the channel.
class InstanceServer : public QObject {
    Q_OBJECT
public:
    using Handler = std::function<QByteArray()>;

    explicit InstanceServer(QObject* parent = nullptr);
    ~InstanceServer() override;

    // Claims the session: false when another instance holds the lock.
    bool claim();
    // Listens on the socket (replacing a stale one left by a crash).
    bool listen();

    // Answers `command` with what `handler` returns.
    void setHandler(const QByteArray& command, Handler handler);

private:
    void serve();

    std::unique_ptr<QLockFile> m_lock;
    QLocalServer* m_server;
    QHash<QByteArray, Handler> m_handlers;
};
