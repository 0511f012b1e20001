#pragma once

#include "llm/ChatStream.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QStringList>
#include <QTest>
#include <QTimer>

#include <functional>
#include <optional>

// Everything a chat run emitted, in order.
struct RunOutcome {
    QStringList pieces;
    bool finished = false;
    std::optional<ClientError> error;
    int endings = 0;         // finished() plus failed(): must end up exactly 1
    int signalsAfterEnd = 0; // anything emitted after the end: must stay 0

    QString joined() const { return pieces.join(QString()); }
    bool over() const { return endings > 0; }
    QString errorText() const { return error ? error->description() : QString(); }

    // Records every signal of `stream` into this outcome.
    void watch(ChatStream* stream) {
        QObject::connect(stream, &ChatStream::piece, stream, [this](const QString& text) {
            signalsAfterEnd += over() ? 1 : 0;
            pieces.append(text);
        });
        QObject::connect(stream, &ChatStream::finished, stream, [this] {
            signalsAfterEnd += over() ? 1 : 0;
            finished = true;
            ++endings;
        });
        QObject::connect(stream, &ChatStream::failed, stream, [this](const ClientError& e) {
            signalsAfterEnd += over() ? 1 : 0;
            error = e;
            ++endings;
        });
    }
};

// Runs the event loop until `done` holds or the time is up; true if it holds.
// Event-driven: it waits for events rather than sleeping between checks, so a
// server and a client in this thread exchange many small pieces quickly.
inline bool waitUntil(const std::function<bool()>& done, int milliseconds = 10000) {
    const QDeadlineTimer deadline(milliseconds);
    QTimer wake; // makes sure the deadline is noticed when nothing else happens
    wake.start(10);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}
