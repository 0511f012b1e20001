#pragma once

#include <QCoroTask>
#include <QCoroTimer>

#include <chrono>
#include <functional>

// Suspends the calling coroutine for a while without blocking the event loop.
// Step sequences with exact waits (capture, replace, launch) take one as a
// parameter, so that tests can record the waits instead of sitting them out.
using Delay = std::function<QCoro::Task<>(std::chrono::milliseconds)>;

// Waits on a real timer.
inline Delay realDelay() {
    return [](std::chrono::milliseconds duration) { return QCoro::sleepFor(duration); };
}
