#include "ChildProcess.h"

#include <QDeadlineTimer>
#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

bool ChildProcess::start(const QString& program, const QStringList& arguments,
                         const Options& options) {
    int inPipe[2] = {-1, -1};
    int outPipe[2] = {-1, -1};
    if (pipe2(inPipe, O_CLOEXEC) != 0)
        return false;
    if (options.captureOutput && pipe2(outPipe, O_CLOEXEC) != 0) {
        ::close(inPipe[0]);
        ::close(inPipe[1]);
        return false;
    }

    // Everything the child needs is prepared before fork: after it, only
    // async-signal-safe calls.
    QList<QByteArray> argStore{QFile::encodeName(program)};
    for (const QString& a : arguments)
        argStore.append(a.toLocal8Bit());
    std::vector<char*> argv;
    for (QByteArray& a : argStore)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    QList<QByteArray> envStore;
    for (char** e = environ; *e; ++e)
        envStore.append(QByteArray(*e));
    for (const QString& entry : options.environment) {
        const QByteArray name = entry.section(QLatin1Char('='), 0, 0).toLocal8Bit() + '=';
        envStore.removeIf([&](const QByteArray& e) { return e.startsWith(name); });
        envStore.append(entry.toLocal8Bit());
    }
    std::vector<char*> envp;
    for (QByteArray& e : envStore)
        envp.push_back(e.data());
    envp.push_back(nullptr);

    int logFd = -1;
    if (!options.logFile.isEmpty())
        logFd = ::open(QFile::encodeName(options.logFile).constData(),
                       O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (logFd < 0)
        logFd = ::open("/dev/null", O_WRONLY | O_CLOEXEC);

    const pid_t pid = fork();
    if (pid == 0) {
        dup2(inPipe[0], 0);
        dup2(options.captureOutput ? outPipe[1] : logFd, 1);
        dup2(logFd, 2);
        if (options.notifyFd >= 0)
            dup2(options.notifyFd, 3);
        setpgid(0, 0); // its own group: a Ctrl+C in the terminal reaches the test only
        // Should the test crash, its helpers end with it rather than linger.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        execve(argv[0], argv.data(), envp.data());
        execvpe(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    ::close(inPipe[0]);
    ::close(logFd);
    if (options.captureOutput)
        ::close(outPipe[1]);
    if (pid < 0) {
        ::close(inPipe[1]);
        if (options.captureOutput)
            ::close(outPipe[0]);
        return false;
    }
    m_pid = pid;
    if (!options.input.isEmpty()) {
        const ssize_t written = ::write(inPipe[1], options.input.constData(), options.input.size());
        Q_UNUSED(written);
    }
    ::close(inPipe[1]);
    if (options.captureOutput)
        m_stdout = outPipe[0];
    return true;
}

bool ChildProcess::waitForLine(const QByteArray& prefix, int timeoutMs) {
    QDeadlineTimer deadline(timeoutMs);
    auto found = [&] {
        for (const QByteArray& line : m_output.split('\n')) {
            if (line.startsWith(prefix) && m_output.contains(QByteArray(line + '\n')))
                return true;
        }
        return false;
    };
    while (!found()) {
        if (m_stdout < 0 || deadline.hasExpired())
            return false;
        pollfd p{m_stdout, POLLIN, 0};
        const int ready = ::poll(&p, 1, int(qMax<qint64>(1, deadline.remainingTime())));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return false;
        char buffer[4096];
        const ssize_t n = ::read(m_stdout, buffer, sizeof buffer);
        if (n <= 0) {
            ::close(m_stdout);
            m_stdout = -1;
            return found();
        }
        m_output.append(buffer, n);
    }
    return true;
}

bool ChildProcess::isRunning() {
    if (m_pid <= 0)
        return false;
    int status = 0;
    if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
        m_pid = -1;
        return false;
    }
    return true;
}

void ChildProcess::stop() {
    if (m_stdout >= 0) {
        ::close(m_stdout);
        m_stdout = -1;
    }
    if (m_pid <= 0)
        return;
    ::kill(m_pid, SIGTERM);
    QDeadlineTimer deadline(3000);
    int status = 0;
    while (waitpid(m_pid, &status, WNOHANG) == 0) {
        if (deadline.hasExpired()) {
            ::kill(m_pid, SIGKILL);
            waitpid(m_pid, &status, 0);
            break;
        }
        // waitpid cannot wait with a time-out: poll.
        usleep(2000);
    }
    m_pid = -1;
}

std::optional<QByteArray> ChildProcess::runToEnd(const QString& program,
                                                 const QStringList& arguments, int timeoutMs) {
    ChildProcess child;
    Options options;
    options.captureOutput = true;
    if (!child.start(program, arguments, options))
        return std::nullopt;
    child.waitForLine("\x01never\x01", timeoutMs); // reads until the output ends
    int status = 0;
    QDeadlineTimer deadline(timeoutMs);
    while (waitpid(child.m_pid, &status, WNOHANG) == 0) {
        if (deadline.hasExpired())
            return std::nullopt; // stop() ends it
        // waitpid cannot wait with a time-out: poll.
        usleep(1000);
    }
    child.m_pid = -1;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return std::nullopt;
    return child.m_output;
}
