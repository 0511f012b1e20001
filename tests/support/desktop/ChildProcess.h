#pragma once

#include <QByteArray>
#include <QStringList>

#include <optional>

#include <sys/types.h>

// A helper process of the desktop session (Xvfb, the window manager, the
// tray host, the session bus, the keyring), started with fork/exec rather
// than QProcess because the display and the bus must exist before the
// QApplication does. Ended by its pid: SIGTERM, then SIGKILL if it lingers.
class ChildProcess {
public:
    struct Options {
        QStringList environment; // "NAME=value" entries added to ours
        QByteArray input;        // written to its stdin, which is then closed
        bool captureOutput = false;
        int notifyFd = -1; // passed to the child as fd 3 (Xvfb -displayfd 3)
        QString logFile;   // stdout (unless captured) and stderr go here
    };

    ChildProcess() = default;
    ~ChildProcess() { stop(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool start(const QString& program, const QStringList& arguments, const Options& options);
    // Reads stdout until `line` starts a line or the time runs out; the text
    // read so far is kept in output().
    bool waitForLine(const QByteArray& prefix, int timeoutMs);
    const QByteArray& output() const { return m_output; }

    // Runs a short command to its end without an event loop (usable before
    // the QApplication exists); its stdout, or nothing if it failed.
    static std::optional<QByteArray> runToEnd(const QString& program, const QStringList& arguments,
                                              int timeoutMs = 10000);

    bool isRunning();
    pid_t pid() const { return m_pid; }
    void stop();

private:
    pid_t m_pid = -1;
    int m_stdout = -1;
    QByteArray m_output;
};
