#pragma once

#include <QCoroTask>
#include <QCoroTimer>
#include <QTimer>

#include <chrono>
#include <functional>

// Suspends the calling coroutine for a while without blocking the event loop.
// Step sequences with exact waits (capture, replace, launch) take one as a
// parameter, so that tests can record the waits instead of sitting them out.
using Delay = std::function<QCoro::Task<>(std::chrono::milliseconds)>;

// Waits on a real timer, for at least `duration`: Qt's default coarse timers
// may fire up to 5 % early, too early for a wait that gives another program
// time to act.
inline QCoro::Task<> preciseSleep(std::chrono::milliseconds duration) {
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    timer.setSingleShot(true);
    timer.start(duration);
    co_await &timer;
}

inline Delay realDelay() {
    return [](std::chrono::milliseconds duration) { return preciseSleep(duration); };
}
