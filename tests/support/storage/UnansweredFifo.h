#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

// A FIFO that nobody writes to: opening it for reading blocks for ever. So
// that a reader which should have refused it fails its test instead of
// hanging it, a watcher feeds `bytes` to whoever still waits on the FIFO
// after `patience`, and closes it.
class UnansweredFifo {
public:
    UnansweredFifo(const QString& path, QByteArray bytes,
                   std::chrono::milliseconds patience = std::chrono::seconds(3));
    ~UnansweredFifo();
    UnansweredFifo(const UnansweredFifo&) = delete;
    UnansweredFifo& operator=(const UnansweredFifo&) = delete;

    bool isValid() const { return m_valid; }
    // True when the watcher had to feed a blocked reader.
    bool fedAReader() const;

private:
    QByteArray m_path;
    QByteArray m_bytes;
    bool m_valid = false;
    mutable std::mutex m_mutex;
    std::condition_variable m_stop;
    bool m_stopping = false;
    bool m_fed = false;
    std::thread m_watcher;
};
