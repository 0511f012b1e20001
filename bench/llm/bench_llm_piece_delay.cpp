// The delay from the server writing a line to the model client handing out
// its piece (ChatStream::piece), against the delay with which `curl -N` puts
// the same line on its standard output, from the same loopback server.

#include "BenchStats.h"
#include "LoopbackServer.h"
#include "llm/LLMClient.h"

#include <QCoreApplication>
#include <QStandardPaths>

#include <chrono>
#include <cstdio>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace {

// Client and curl take turns, so that both meet the same load on the machine.
constexpr int rounds = 5;
constexpr int pieceCount = 2000; // per round
constexpr std::chrono::microseconds linePause{300};

qint64 nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// Ollama lines whose content names their index: "p00042 ".
ReplyPlan numberedReply(int count) {
    QByteArray body;
    for (int i = 0; i < count; ++i) {
        body += "{\"model\":\"bench\",\"created_at\":\"2026-08-20T09:14:03.1275Z\",\"message\":"
                "{\"role\":\"assistant\",\"content\":\"p" +
                QByteArray::number(i).rightJustified(5, '0') + " \"},\"done\":false}\n";
    }
    body += "{\"model\":\"bench\",\"message\":{\"role\":\"assistant\",\"content\":\"\"},\"done\":"
            "true}\n";
    ReplyPlan plan = ReplyPlan::text(200, "application/x-ndjson", body);
    plan.split = ReplyPlan::Split::lines;
    plan.delay = linePause;
    return plan;
}

int indexIn(QByteArrayView text) {
    const qsizetype at = text.indexOf("p");
    if (at < 0 || at + 6 > text.size())
        return -1;
    bool ok = false;
    const int index = text.sliced(at + 1, 5).toByteArray().toInt(&ok);
    return ok ? index : -1;
}

// Microseconds from each write to each arrival; pieces never seen are left out.
QList<double> delays(const QList<qint64>& written, const QList<qint64>& arrived) {
    QList<double> result;
    for (int i = 0; i < pieceCount && i < written.size(); ++i) {
        if (arrived[i] > 0)
            result.append(double(arrived[i] - written[i]) / 1000.0);
    }
    return result;
}

QList<qint64> clientArrivals(LoopbackServer& server, int& received) {
    QList<qint64> arrived(pieceCount, 0);
    ServerSettings settings;
    settings.provider = Provider::ollama;
    settings.ollamaURL = server.url();
    settings.ollamaModel = QStringLiteral("bench");
    ChatStream* stream = LLMClient::stream(settings, QStringLiteral("Echo."), QStringLiteral("x"));
    QObject::connect(stream, &ChatStream::piece, [&](const QString& piece) {
        const qint64 now = nowNs();
        const int index = indexIn(piece.toLatin1());
        if (index >= 0 && index < pieceCount) {
            arrived[index] = now;
            ++received;
        }
    });
    QObject::connect(stream, &ChatStream::finished, qApp, &QCoreApplication::quit);
    QObject::connect(stream, &ChatStream::failed, [](const ClientError& error) {
        std::fprintf(stderr, "run failed: %s\n", qPrintable(error.description()));
        QCoreApplication::exit(1);
    });
    QCoreApplication::exec();
    delete stream;
    return arrived;
}

// curl -N, its standard output read as it comes by a thread doing nothing else.
QList<qint64> curlArrivals(const QString& url, int& received, bool& ok) {
    QList<qint64> arrived(pieceCount, 0);
    int pipeFds[2];
    if (::pipe(pipeFds) != 0) {
        ok = false;
        return arrived;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    const QByteArray target = (url + QStringLiteral("/api/chat")).toUtf8();
    const char* argv[] = {"curl",          "-sN", "--noproxy",        "*",    "-X", "POST",
                          "--data-binary", "{}",  target.constData(), nullptr};
    pid_t pid = 0;
    const int spawned =
        posix_spawnp(&pid, "curl", &actions, nullptr, const_cast<char**>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipeFds[1]);
    if (spawned != 0) {
        ::close(pipeFds[0]);
        ok = false;
        return arrived;
    }
    std::thread reader([&] {
        QByteArray pending;
        char buffer[65536];
        for (;;) {
            const ssize_t got = ::read(pipeFds[0], buffer, sizeof buffer);
            if (got <= 0)
                break;
            const qint64 now = nowNs();
            pending.append(buffer, got);
            qsizetype end;
            while ((end = pending.indexOf('\n')) >= 0) {
                const int index = indexIn(QByteArrayView(pending).first(end));
                if (index >= 0 && index < pieceCount) {
                    arrived[index] = now;
                    ++received;
                }
                pending.remove(0, end + 1);
            }
        }
    });
    reader.join();
    ::close(pipeFds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return arrived;
}

void report(const char* label, const QList<double>& values, int received) {
    const BenchStats stats(values);
    std::printf("  %-28s %5d pieces: median %7.1f us, 99th percentile %7.1f us, max %8.1f us\n",
                label, received, stats.median(), stats.percentile(0.99), stats.max());
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    LoopbackThread thread;
    LoopbackServer& server = thread.server();
    server.route("POST", "/api/chat", numberedReply(pieceCount));
    const bool haveCurl = !QStandardPaths::findExecutable(QStringLiteral("curl")).isEmpty();

    std::printf("Server writes a line -> piece delivered, %d x %d lines %lld us apart, loopback, "
                "chunked\n",
                rounds, pieceCount, qint64(linePause.count()));
    int warmUp = 0;
    clientArrivals(server, warmUp);

    QList<double> clientDelays;
    QList<double> curlDelays;
    int clientReceived = 0;
    int curlReceived = 0;
    bool curlOk = true;
    for (int round = 0; round < rounds; ++round) {
        const QList<qint64> client = clientArrivals(server, clientReceived);
        clientDelays += delays(server.request(server.requestCount() - 1).pieceTimes, client);
        if (!haveCurl)
            continue;
        bool ok = true;
        const QList<qint64> curl = curlArrivals(server.url(), curlReceived, ok);
        curlOk = curlOk && ok;
        curlDelays += delays(server.request(server.requestCount() - 1).pieceTimes, curl);
    }

    report("model client (piece signal)", clientDelays, clientReceived);
    if (!haveCurl) {
        std::printf("  curl is not installed: no comparison\n");
        return clientReceived == rounds * pieceCount ? 0 : 1;
    }
    report("curl -N (its standard output)", curlDelays, curlReceived);
    const BenchStats a(clientDelays);
    const BenchStats b(curlDelays);
    std::printf("  client minus curl: median %+.1f us, 99th percentile %+.1f us%s\n",
                a.median() - b.median(), a.percentile(0.99) - b.percentile(0.99),
                curlOk ? "" : " (curl did not end cleanly)");
    return clientReceived == rounds * pieceCount && curlReceived == rounds * pieceCount ? 0 : 1;
}
