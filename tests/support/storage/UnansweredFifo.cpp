#include "UnansweredFifo.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

UnansweredFifo::UnansweredFifo(const QString& path, QByteArray bytes,
                               std::chrono::milliseconds patience)
    : m_path(QFile::encodeName(path))
    , m_bytes(std::move(bytes)) {
    m_valid = ::mkfifo(m_path.constData(), 0600) == 0;
    if (!m_valid)
        return;
    m_watcher = std::thread([this, patience] {
        std::unique_lock lock(m_mutex);
        if (m_stop.wait_for(lock, patience, [this] { return m_stopping; }))
            return;
        // Opening without blocking succeeds only while a reader has it open.
        const int fd = ::open(m_path.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0)
            return;
        m_fed = ::write(fd, m_bytes.constData(), m_bytes.size()) >= 0;
        ::close(fd);
    });
}

UnansweredFifo::~UnansweredFifo() {
    if (m_watcher.joinable()) {
        {
            std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_stop.notify_all();
        m_watcher.join();
    }
}

bool UnansweredFifo::fedAReader() const {
    std::lock_guard lock(m_mutex);
    return m_fed;
}
