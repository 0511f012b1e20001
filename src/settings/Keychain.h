#pragma once

#include <QCoroTask>
#include <QString>

#include <chrono>

// The API key, kept in the platform's secret store (the macOS Keychain, the
// Secret Service of the desktop keyring on Linux) under service "Wendle" and
// key "api-key". Never read at start-up: only when a request is built or the
// settings show it.
//
// Both operations are asynchronous and never hang the program: each gives up
// after timeout(). Operations run in the order they were called.
namespace Keychain {

// The stored key; empty when there is none, it cannot be read (no secret
// service, locked keyring, time-out) or it is not valid UTF-8.
QCoro::Task<QString> get();

// Replaces the stored key with `value`, stored as it is (callers trim if they
// want to); the empty string removes the key. Failures are silent.
QCoro::Task<> set(QString value);

std::chrono::milliseconds timeout();
void setTimeout(std::chrono::milliseconds timeout);

// For tests of the key's callers: keeps the key in memory instead of the
// system keyring, for the rest of the process.
void useMemoryStoreForTesting();

} // namespace Keychain
