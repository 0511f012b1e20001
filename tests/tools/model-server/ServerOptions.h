#pragma once

#include "ReplyPlan.h"

#include <QList>
#include <QString>

#include <optional>

// The command line of wendle-test-model-server.
struct ServerOptions {
    struct Route {
        QByteArray method;
        QByteArray path;
        QString vectorFile;
    };

    quint16 port = 0;
    QString portFile;
    QString logFile;
    QList<Route> routes;
    // Applied to every route's reply.
    ReplyPlan::Mode mode = ReplyPlan::Mode::answer;
    ReplyPlan::Framing framing = ReplyPlan::Framing::chunked;
    ReplyPlan::Split split = ReplyPlan::Split::lines;
    int delayMs = 0;
    qsizetype closeAfter = -1;
    bool html = false;
    bool help = false;

    // Parses argv; on a mistake returns nothing and sets `error`.
    static std::optional<ServerOptions> parse(const QStringList& arguments, QString& error);
    static QString usage();
};
