#include "settings/Keychain.h"

#include <QCoroSignal>
#include <QStringDecoder>

#include <qt6keychain/keychain.h>

#include <optional>

namespace {

const QString service = QStringLiteral("Wendle");
const QString account = QStringLiteral("api-key");

std::chrono::milliseconds currentTimeout{5000};
std::optional<QString> memoryStore; // set only by useMemoryStoreForTesting

// Runs one keychain job to its end or until the time-out, whichever comes
// first. A job that times out is left to finish (and delete itself) in the
// background; QtKeychain runs its jobs one at a time, in order.
QCoro::Task<bool> run(QKeychain::Job* job)
{
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

QCoro::Task<QString> get()
{
    if (memoryStore)
        co_return *memoryStore;
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

QCoro::Task<> set(QString value)
{
    if (memoryStore) {
        memoryStore = value;
        co_return;
    }
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

std::chrono::milliseconds timeout()
{
    return currentTimeout;
}

void setTimeout(std::chrono::milliseconds timeout)
{
    currentTimeout = timeout;
}

void useMemoryStoreForTesting()
{
    if (!memoryStore)
        memoryStore = QString();
}

} // namespace Keychain
