#include "settings/Keychain.h"

#include <QCoroSignal>
#include <QStringDecoder>
#include <QTimer>

#include <qt6keychain/keychain.h>

#include <coroutine>
#include <memory>
#include <optional>
#include <utility>

namespace {

const QString service = QStringLiteral("Wendle");
const QString account = QStringLiteral("api-key");

std::chrono::milliseconds currentTimeout{5000};
std::optional<QString> memoryStore; // set only by useMemoryStoreForTesting

// Operations run one after the other, in call order: a set is a delete
// followed by a write, and two sets in a row must not interleave (delete,
// delete, write of the older value), or clearing the key right after typing it
// would leave the old key stored. Each operation holds a Turn for its whole
// run; the next operation's Turn waits until the previous one is released.
struct Gate {
    bool open = false;
    std::coroutine_handle<> next; // the operation waiting for this one
};
std::shared_ptr<Gate> lastGate;

class Turn {
public:
    Turn()
        : m_previous(std::exchange(lastGate, std::make_shared<Gate>()))
        , m_mine(lastGate) {}
    ~Turn() {
        m_mine->open = true;
        // Resumed from the event loop, not from inside this coroutine's exit.
        if (const std::coroutine_handle<> next = std::exchange(m_mine->next, {}))
            QTimer::singleShot(0, [next] { next.resume(); });
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    auto wait() {
        struct Awaiter {
            std::shared_ptr<Gate> gate;
            bool await_ready() const noexcept { return !gate || gate->open; }
            void await_suspend(std::coroutine_handle<> waiting) noexcept { gate->next = waiting; }
            void await_resume() const noexcept {}
        };
        return Awaiter{m_previous};
    }

private:
    std::shared_ptr<Gate> m_previous;
    std::shared_ptr<Gate> m_mine;
};

// Runs one keychain job to its end or until the time-out, whichever comes
// first. A job that times out is left to finish (and delete itself) in the
// background.
QCoro::Task<bool> run(QKeychain::Job* job) {
    job->setAutoDelete(false);
    auto finished = qCoro(job, &QKeychain::Job::finished, currentTimeout);
    job->start();
    if (!(co_await finished)) {
        QObject::connect(job, &QKeychain::Job::finished, job, &QObject::deleteLater);
        co_return false;
    }
    job->deleteLater();
    co_return job->error() == QKeychain::NoError;
}

} // namespace

namespace Keychain {

QCoro::Task<QString> get() {
    if (memoryStore)
        co_return QString(*memoryStore); // a copy: QCoro 0.8 moves from an lvalue co_returned
    Turn turn;
    co_await turn.wait();
    auto* job = new QKeychain::ReadPasswordJob(service);
    job->setKey(account);
    if (!co_await run(job))
        co_return QString();
    // The secret is stored as UTF-8 bytes; anything else reads as no key.
    const QByteArray bytes = job->binaryData();
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder.decode(bytes);
    co_return decoder.hasError() ? QString() : text;
}

QCoro::Task<> set(QString value) {
    if (memoryStore) {
        memoryStore = value;
        co_return;
    }
    Turn turn;
    co_await turn.wait();
    auto* remove = new QKeychain::DeletePasswordJob(service);
    remove->setKey(account);
    co_await run(remove);
    if (value.isEmpty())
        co_return;
    auto* write = new QKeychain::WritePasswordJob(service);
    write->setKey(account);
    write->setTextData(value); // stored as UTF-8 text, readable with secret-tool
    co_await run(write);
}

std::chrono::milliseconds timeout() {
    return currentTimeout;
}

void setTimeout(std::chrono::milliseconds timeout) {
    currentTimeout = timeout;
}

void useMemoryStoreForTesting() {
    if (!memoryStore)
        memoryStore = QString();
}

} // namespace Keychain
