#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QProcess>
#include <QTimer>

#include <functional>

// Runs the built `wendle` as a user does: real arguments, real standard
// input, output and error, the real exit status. Waits by running the event
// loop, so that output can be watched while it grows.
class CliProcess {
public:
    struct Chunk {
        QByteArray bytes;
        qint64 atMs; // since the start
    };

    explicit CliProcess(const QStringList& arguments)
        : m_arguments(arguments) {
        QObject::connect(&m_process, &QProcess::readyReadStandardOutput, [this] {
            const QByteArray bytes = m_process.readAllStandardOutput();
            m_out += bytes;
            m_chunks.append({bytes, m_clock.elapsed()});
            if (m_onOutput)
                m_onOutput(bytes);
        });
        QObject::connect(&m_process, &QProcess::readyReadStandardError,
                         [this] { m_err += m_process.readAllStandardError(); });
    }

    ~CliProcess() {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

    // Called with every piece of standard output as it arrives.
    void onOutput(std::function<void(const QByteArray&)> callback) {
        m_onOutput = std::move(callback);
    }

    // Starts with `input` on standard input, which is then closed.
    bool start(const QByteArray& input) {
        m_clock.start();
        m_process.start(QStringLiteral(WENDLE_EXECUTABLE), m_arguments);
        if (!m_process.waitForStarted(10000))
            return false;
        m_process.write(input);
        m_process.closeWriteChannel();
        return true;
    }

    bool waitUntil(const std::function<bool()>& done, int milliseconds = 15000) {
        const QDeadlineTimer deadline(milliseconds);
        QTimer wake;
        wake.start(10);
        while (!done()) {
            if (deadline.hasExpired())
                return false;
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return true;
    }

    bool waitForEnd(int milliseconds = 15000) {
        return waitUntil([this] { return m_process.state() == QProcess::NotRunning; },
                         milliseconds);
    }

    // Runs to the end with `input`; false if it did not start or end.
    bool run(const QByteArray& input = {}) { return start(input) && waitForEnd(); }

    QProcess& process() { return m_process; }
    const QByteArray& out() const { return m_out; }
    QString outText() const { return QString::fromUtf8(m_out); }
    QString errText() const { return QString::fromUtf8(m_err); }
    const QList<Chunk>& chunks() const { return m_chunks; }
    int exitCode() const { return m_process.exitCode(); }
    bool exitedNormally() const { return m_process.exitStatus() == QProcess::NormalExit; }

private:
    QStringList m_arguments;
    QProcess m_process;
    QElapsedTimer m_clock;
    QByteArray m_out;
    QByteArray m_err;
    QList<Chunk> m_chunks;
    std::function<void(const QByteArray&)> m_onOutput;
};
