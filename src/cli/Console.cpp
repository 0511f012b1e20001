#include "cli/Console.h"

#include "cli/Command.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int interruptPipe[2] = {-1, -1};
std::function<void()> interruptHandler;

void onInterrupt(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(interruptPipe[1], &byte, 1);
}

// Writes all of `bytes` to `fd`; false with errno set on failure.
bool writeAll(int fd, const char* data, qsizetype size) {
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size_t(size));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += written;
        size -= written;
    }
    return true;
}

} // namespace

namespace Console {

void install() {
    std::signal(SIGPIPE, SIG_IGN);
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, interruptPipe) != 0)
        return;
    auto* notifier = new QSocketNotifier(interruptPipe[0], QSocketNotifier::Read, qApp);
    QObject::connect(notifier, &QSocketNotifier::activated, qApp, [] {
        char byte;
        [[maybe_unused]] const auto read = ::read(interruptPipe[0], &byte, 1);
        if (interruptHandler)
            std::exchange(interruptHandler, {})();
        QCoreApplication::exit(ExitStatus::interrupted);
    });
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
}

void setInterruptHandler(std::function<void()> handler) {
    interruptHandler = std::move(handler);
}

bool readAllInput(QByteArray& input, QString& error) {
    char buffer[65536];
    for (;;) {
        const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (got == 0)
            return true;
        if (got < 0) {
            if (errno == EINTR)
                continue;
            error = QString::fromLocal8Bit(std::strerror(errno));
            return false;
        }
        input.append(buffer, got);
    }
}

bool print(QByteArrayView bytes) {
    if (writeAll(STDOUT_FILENO, bytes.data(), bytes.size()))
        return true;
    if (errno == EPIPE) {
        // Whoever read our output is gone: stop the work and end like any
        // filter whose reader went away, quietly, by SIGPIPE.
        if (interruptHandler)
            std::exchange(interruptHandler, {})();
        std::signal(SIGPIPE, SIG_DFL);
        std::raise(SIGPIPE);
    }
    error(u"wendle: cannot write to standard output: " %
          QString::fromLocal8Bit(std::strerror(errno)));
    return false;
}

bool print(const QString& text) {
    return print(QByteArrayView(text.toUtf8()));
}

void error(const QString& text) {
    const QByteArray bytes = text.toUtf8() + '\n';
    writeAll(STDERR_FILENO, bytes.constData(), bytes.size());
}

int usageError(const QString& command, const QString& message) {
    error(u"wendle " % command % u": " % message);
    error(u"Try 'wendle " % command % u" --help'.");
    return ExitStatus::usage;
}

} // namespace Console
