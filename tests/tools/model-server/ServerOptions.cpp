#include "ServerOptions.h"

namespace {

std::optional<ReplyPlan::Split> splitNamed(const QString& name) {
    if (name == u"whole")
        return ReplyPlan::Split::whole;
    if (name == u"lines")
        return ReplyPlan::Split::lines;
    if (name == u"bytes")
        return ReplyPlan::Split::bytes;
    if (name == u"utf8")
        return ReplyPlan::Split::insideUtf8;
    if (name == u"crlf")
        return ReplyPlan::Split::betweenCrLf;
    return std::nullopt;
}

} // namespace

QString ServerOptions::usage() {
    return QStringLiteral(
        "usage: wendle-test-model-server [options] --route 'METHOD /path=FILE' ...\n"
        "\n"
        "A model server stand-in on 127.0.0.1 for tests. It answers each request\n"
        "whose method and path match a route with that route's recorded reply:\n"
        "a file whose first line is \"HTTP <status>\" and whose rest is the body,\n"
        "byte for byte (tests/vectors/llm/ holds real servers' replies; the\n"
        "Content-Type comes from content-types.tsv beside the file). Other\n"
        "requests get 404 \"404 page not found\". It keeps running until SIGTERM\n"
        "or SIGINT, then closes its port and log and exits with status 0.\n"
        "\n"
        "options:\n"
        "  --port N             listen on port N; 0 (the default) picks a free one\n"
        "  --port-file PATH     write the port, then a newline, to PATH once listening\n"
        "                       (through a temporary file that is renamed, so a reader\n"
        "                       never sees half of it)\n"
        "  --route 'M /p=FILE'  answer method M on path /p with FILE (repeatable)\n"
        "  --line-delay MS      pause MS milliseconds between pieces of a body, so a\n"
        "                       client can be watched streaming and cancelled\n"
        "  --split HOW          how the body is cut into pieces: lines (default),\n"
        "                       whole, bytes, utf8 (inside every multi-byte\n"
        "                       character), crlf (between every CR and LF)\n"
        "  --framing HOW        chunked (default) or length (Content-Length)\n"
        "  --hold               read each request and never answer it\n"
        "  --close-mid-body[=N] send the head and the first N body bytes (half by\n"
        "                       default), then close the connection\n"
        "  --html               answer every route with 200 and an HTML page\n"
        "  --log PATH           append one JSON object per line and event:\n"
        "                         {\"event\":\"listening\",\"port\":N}\n"
        "                         {\"event\":\"request\",\"index\":I,\"method\":...,\"path\":...,\n"
        "                          \"headers\":[[name,value],...],\"body\":...}\n"
        "                         {\"event\":\"client-closed-early\",\"index\":I}\n"
        "                         {\"event\":\"reply-complete\",\"index\":I}\n"
        "                         {\"event\":\"stopped\"}\n"
        "                       I counts requests from 0; every line is flushed at once\n"
        "  --help               this text\n"
        "\n"
        "example:\n"
        "  wendle-test-model-server --port-file port --log events.jsonl \\\n"
        "    --route 'POST /api/chat=tests/vectors/llm/ollama_chat_stream_basic.txt' \\\n"
        "    --route 'GET /api/tags=tests/vectors/llm/ollama_tags.txt' --line-delay 50\n");
}

std::optional<ServerOptions> ServerOptions::parse(const QStringList& arguments, QString& error) {
    ServerOptions options;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        QString name = arguments[i];
        QString value;
        bool hasValue = false;
        if (const qsizetype equals = name.indexOf(u'='); name.startsWith(u"--") && equals > 0) {
            value = name.mid(equals + 1);
            name = name.left(equals);
            hasValue = true;
        }
        auto takeValue = [&]() -> bool {
            if (hasValue)
                return true;
            if (i + 1 >= arguments.size()) {
                error = name + QStringLiteral(" needs a value");
                return false;
            }
            value = arguments[++i];
            return true;
        };
        bool ok = true;
        if (name == u"--help" || name == u"-h") {
            options.help = true;
        } else if (name == u"--port") {
            if (!takeValue())
                return std::nullopt;
            options.port = value.toUShort(&ok);
        } else if (name == u"--port-file") {
            if (!takeValue())
                return std::nullopt;
            options.portFile = value;
        } else if (name == u"--log") {
            if (!takeValue())
                return std::nullopt;
            options.logFile = value;
        } else if (name == u"--route") {
            if (!takeValue())
                return std::nullopt;
            const qsizetype space = value.indexOf(u' ');
            const qsizetype equals = value.indexOf(u'=', space);
            ok = space > 0 && equals > space + 1 && equals + 1 < value.size();
            if (ok)
                options.routes.append({value.left(space).toUtf8(),
                                       value.mid(space + 1, equals - space - 1).toUtf8(),
                                       value.mid(equals + 1)});
        } else if (name == u"--line-delay") {
            if (!takeValue())
                return std::nullopt;
            options.delayMs = value.toInt(&ok);
            ok = ok && options.delayMs >= 0;
        } else if (name == u"--split") {
            if (!takeValue())
                return std::nullopt;
            const auto split = splitNamed(value);
            ok = split.has_value();
            if (ok)
                options.split = *split;
        } else if (name == u"--framing") {
            if (!takeValue())
                return std::nullopt;
            ok = value == u"chunked" || value == u"length";
            options.framing = value == u"length" ? ReplyPlan::Framing::contentLength
                                                 : ReplyPlan::Framing::chunked;
        } else if (name == u"--hold") {
            options.mode = ReplyPlan::Mode::hold;
        } else if (name == u"--close-mid-body") {
            options.mode = ReplyPlan::Mode::closeMidBody;
            if (hasValue)
                options.closeAfter = value.toLongLong(&ok);
        } else if (name == u"--html") {
            options.html = true;
        } else {
            error = QStringLiteral("unknown option ") + arguments[i];
            return std::nullopt;
        }
        if (!ok) {
            error = QStringLiteral("bad value for ") + name + QStringLiteral(": ") + value;
            return std::nullopt;
        }
    }
    return options;
}
