#include "EventLog.h"
#include "LoopbackServer.h"
#include "ServerOptions.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QSaveFile>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int signalPipe[2] = {-1, -1};

void onSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(signalPipe[1], &byte, 1);
}

// SIGTERM and SIGINT end the event loop instead of the process, so that the
// port and the log are closed properly.
void quitOnTerminationSignals() {
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) != 0)
        return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, qApp);
    QObject::connect(notifier, &QSocketNotifier::activated, qApp, [] {
        char byte;
        [[maybe_unused]] const auto read = ::read(signalPipe[0], &byte, 1);
        QCoreApplication::quit();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

QJsonArray headersJson(const LoopbackServer::Request& request) {
    QJsonArray headers;
    for (const auto& [name, value] : request.headers)
        headers.append(QJsonArray{QString::fromUtf8(name), QString::fromUtf8(value)});
    return headers;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QString error;
    const auto options = ServerOptions::parse(app.arguments(), error);
    if (!options) {
        std::fprintf(stderr, "wendle-test-model-server: %s\n%s", qPrintable(error),
                     qPrintable(ServerOptions::usage()));
        return 2;
    }
    if (options->help) {
        std::fputs(qPrintable(ServerOptions::usage()), stdout);
        return 0;
    }

    LoopbackServer server;
    for (const ServerOptions::Route& route : options->routes) {
        auto plan = options->html ? ReplyPlan::htmlPage() : ReplyPlan::fromVector(route.vectorFile);
        if (!plan) {
            std::fprintf(stderr, "wendle-test-model-server: cannot read the reply file %s\n",
                         qPrintable(route.vectorFile));
            return 2;
        }
        plan->mode = options->mode;
        plan->framing = options->framing;
        plan->split = options->split;
        plan->delay = std::chrono::milliseconds(options->delayMs);
        plan->closeAfter = options->closeAfter;
        server.route(route.method, route.path, *plan);
    }

    EventLog log;
    if (!options->logFile.isEmpty() && !log.open(options->logFile)) {
        std::fprintf(stderr, "wendle-test-model-server: cannot write the log %s\n",
                     qPrintable(options->logFile));
        return 2;
    }
    QObject::connect(&server, &LoopbackServer::requestReceived, &server, [&](int index) {
        const LoopbackServer::Request request = server.request(index);
        log.write({{"event", "request"},
                   {"index", index},
                   {"method", QString::fromUtf8(request.method)},
                   {"path", QString::fromUtf8(request.path)},
                   {"headers", headersJson(request)},
                   {"body", QString::fromUtf8(request.body)}});
    });
    QObject::connect(&server, &LoopbackServer::clientClosedEarly, &server, [&](int index) {
        log.write({{"event", "client-closed-early"}, {"index", index}});
    });
    QObject::connect(&server, &LoopbackServer::replyComplete, &server, [&](int index) {
        log.write({{"event", "reply-complete"}, {"index", index}});
    });

    quitOnTerminationSignals();
    if (!server.listen(options->port)) {
        std::fprintf(stderr, "wendle-test-model-server: cannot listen on 127.0.0.1:%u\n",
                     unsigned(options->port));
        return 1;
    }
    if (!options->portFile.isEmpty()) {
        QSaveFile file(options->portFile);
        if (!file.open(QIODevice::WriteOnly) ||
            file.write(QByteArray::number(server.port()) + '\n') < 0 || !file.commit()) {
            std::fprintf(stderr, "wendle-test-model-server: cannot write %s\n",
                         qPrintable(options->portFile));
            return 1;
        }
    }
    log.write({{"event", "listening"}, {"port", int(server.port())}});

    const int status = app.exec();
    log.write({{"event", "stopped"}});
    return status;
}
