#include "LoopbackServer.h"

#include <QProcess>
#include <QTemporaryFile>
#include <QTest>

#include <memory>
#include <sys/resource.h>

namespace {

// The largest peak resident size, in MB, of the child processes that have
// ended so far: the kernel's own record, kept for every child we waited for.
double childrenPeakMB() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return double(usage.ru_maxrss) / 1024.0; // ru_maxrss is in KB
}

// An Ollama stream of `lines` lines of `width` characters of text each.
QByteArray ollamaReply(int lines, int width) {
    QByteArray text;
    while (text.size() < width)
        text += "The quick brown fox jumps over the lazy dog. ";
    text.truncate(width);
    const QByteArray line = R"({"model":"m","message":{"role":"assistant","content":")" + text +
                            R"("},"done":false})" + '\n';
    return line.repeated(lines) + R"({"model":"m","message":{"content":""},"done":true})" + '\n';
}

} // namespace

// What `wendle run` costs in memory on a long reply, measured for real: it
// prints the reply as it comes and keeps none of it. In a program of its own,
// so that no other child's peak mixes in.
class CliMemoryTest : public QObject {
    Q_OBJECT

    std::unique_ptr<LoopbackThread> m_thread;

    // Starts `wendle run` against the server with its output in `outFile`;
    // it sends its request once its standard input is closed.
    bool startWendle(QProcess& wendle, const QString& outFile) {
        wendle.setStandardOutputFile(outFile);
        wendle.start(QStringLiteral(WENDLE_EXECUTABLE),
                     {"run", "--provider", "ollama", "--url", m_thread->server().url(), "--model",
                      "m", "Shorten"});
        return wendle.waitForStarted(10000);
    }

    int finishWendle(QProcess& wendle) {
        wendle.write("Some text.");
        wendle.closeWriteChannel();
        if (!wendle.waitForFinished(60000))
            return -1;
        return wendle.exitCode();
    }

    // Starts wendle first and only then builds the reply: a child process
    // begins as a copy of this one, and the kernel counts that copy's size in
    // the child's peak until it becomes wendle.
    int runWendle(QProcess& wendle, const QString& outFile, int lines, int width) {
        if (!startWendle(wendle, outFile))
            return -1;
        ReplyPlan plan = ReplyPlan::text(200, "application/x-ndjson", ollamaReply(lines, width));
        plan.split = ReplyPlan::Split::lines;
        m_thread->server().route("POST", "/api/chat", plan);
        return finishWendle(wendle);
    }

private Q_SLOTS:
    void init() { m_thread = std::make_unique<LoopbackThread>(); }
    void cleanup() { m_thread.reset(); }

    void longReplyRunsInLittleMemory() {
        QTemporaryFile out;
        QVERIFY(out.open());

        // The size of the program itself, on a short reply.
        QProcess small;
        QCOMPARE(runWendle(small, out.fileName(), 3, 100), 0);
        const double baseline = childrenPeakMB();

        // 48 million characters (96 MB as the program's text), streamed fast.
        const int lines = 12000;
        const int width = 4000;
        QProcess large;
        QCOMPARE(runWendle(large, out.fileName(), lines, width), 0);
        QCOMPARE(QString::fromUtf8(large.readAllStandardError()), QString());
        // All of it arrived, trimmed, with a final newline.
        QCOMPARE(QFileInfo(out.fileName()).size(), qint64(lines) * width - 1 + 1);
        const double peak = childrenPeakMB();
        qInfo("peak resident size: %.1f MB on a short reply, %.1f MB on a 48-million-character "
              "one",
              baseline, peak);
        QVERIFY2(peak < baseline + 40, qPrintable(QString::number(peak)));
    }

    // Past the cap the run ends with a clear error, still in little memory.
    void replyPastTheCapEndsWithAnError() {
        QTemporaryFile out;
        QVERIFY(out.open());
        QProcess wendle;
        QCOMPARE(runWendle(wendle, out.fileName(), 17000, 4000), 1);
        QCOMPARE(QString::fromUtf8(wendle.readAllStandardError()),
                 QStringLiteral("The model's reply is too long: Wendle stopped reading it after "
                                "64 MB.\n"));
        // What came before the cap was printed, its line ended.
        QVERIFY(QFileInfo(out.fileName()).size() > 60 * 1000 * 1000);
    }
};

QTEST_GUILESS_MAIN(CliMemoryTest)
#include "tst_cli_memory.moc"
