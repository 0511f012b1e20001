#pragma once

#include "LoopbackServer.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSignalSpy>
#include <QTest>

#include <memory>

// Proof that nothing more comes from an exchange with a LoopbackServer: wait
// until the server has ended it, then send one more request through the same
// network manager and wait for its answer. What the earlier exchange
// delivered was there before the new request went out, and the manager hands
// on what arrives in order, so by the time the new answer is in, every signal
// the earlier one could still cause has come.
namespace RoundTrip {

inline constexpr const char* path = "/round-trip";

// True once the server has sent the whole reply to request `index`, or the
// client has gone.
inline bool exchangeEnded(const LoopbackServer& server, int index, int timeoutMs = 5000) {
    return QTest::qWaitFor(
        [&] {
            if (server.requestCount() <= index)
                return false;
            const LoopbackServer::Request request = server.request(index);
            return request.replyComplete || request.clientClosedEarly;
        },
        timeoutMs);
}

// One GET of `path` from the server through `network`, to its end (the
// server's fallback answer will do).
inline bool once(QNetworkAccessManager& network, const LoopbackServer& server,
                 int timeoutMs = 5000) {
    std::unique_ptr<QNetworkReply> reply(
        network.get(QNetworkRequest(QUrl(server.url() + QLatin1String(path)))));
    QSignalSpy finished(reply.get(), &QNetworkReply::finished);
    return reply->isFinished() || finished.wait(timeoutMs);
}

// Both: request `index` is over, and nothing of it is still on its way.
inline bool settled(QNetworkAccessManager& network, const LoopbackServer& server, int index) {
    return exchangeEnded(server, index) && once(network, server);
}

} // namespace RoundTrip
