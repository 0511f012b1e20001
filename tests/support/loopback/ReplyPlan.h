#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <chrono>
#include <optional>

// How the loopback server answers one request: the status, the body and the
// way the body travels (framing, pieces, pauses), or one of the misbehaviours
// a model server can show.
struct ReplyPlan {
    enum class Mode {
        answer,       // status, headers, then the body in pieces
        hold,         // read the request and never answer
        closeMidBody, // send the head and part of the body, then close the connection
        resetMidBody, // the same, but the connection is reset (TCP RST) instead of closed
        // chunked: send part of the body, then a chunk head that is not a
        // hexadecimal size, then close; contentLength: the same as closeMidBody
        badChunkMidBody,
        // chunked: part of the body, then the head of a chunk longer than
        // what follows it, then close; contentLength: the same as closeMidBody
        closeInsideChunk,
    };
    enum class Framing {
        chunked,       // Transfer-Encoding: chunked, one chunk per piece
        contentLength, // Content-Length, the pieces back to back
    };
    enum class Split {
        whole,       // the body in one piece
        lines,       // a piece ends after every line terminator
        bytes,       // one byte per piece
        insideUtf8,  // a cut after the first byte of every multi-byte UTF-8 character
        betweenCrLf, // a cut between the CR and the LF of every CR LF
    };

    int status = 200;
    QByteArray contentType = "application/json";
    QByteArray body;
    // More header lines, such as Location for a redirect.
    QList<std::pair<QByteArray, QByteArray>> headers;
    Mode mode = Mode::answer;
    Framing framing = Framing::chunked;
    Split split = Split::whole;
    // Pause before every piece after the first. Zero still hands control
    // back to the event loop between pieces; a pause under a millisecond is
    // waited out in place, blocking the server's thread (timers are not that
    // fine), which is how tests make a client read a body byte by byte.
    std::chrono::microseconds delay{0};
    // The cut modes: how many body bytes go out before the cut; -1 for half.
    qsizetype closeAfter = -1;

    // A recorded reply: first line "HTTP <status>", then the body byte for
    // byte. The Content-Type comes from "content-types.tsv" beside the file.
    static std::optional<ReplyPlan> fromVector(const QString& path);
    // The recorded reply `name` from tests/vectors/llm; a missing or
    // malformed file ends the test program with its path.
    static ReplyPlan recorded(const QString& name);
    static ReplyPlan text(int status, const QByteArray& contentType, const QByteArray& body);
    // 200 with an HTML page, as a web server or a captive portal answers.
    static ReplyPlan htmlPage();
    // A redirect with `status` to `location`, with a short body.
    static ReplyPlan redirect(int status, const QByteArray& location);

    bool cutsBody() const {
        return mode == Mode::closeMidBody || mode == Mode::resetMidBody ||
               mode == Mode::badChunkMidBody || mode == Mode::closeInsideChunk;
    }

    // The body as it goes out, cut as `split` says (truncated by the cut modes).
    QList<QByteArray> pieces() const;
    QByteArray sentBody() const;
};

// Body rewrites for tests of line endings.
namespace BodyText {
QByteArray withCrLf(const QByteArray& body);    // every LF becomes CR LF
QByteArray withCr(const QByteArray& body);      // every LF becomes CR
QByteArray withoutCrLf(const QByteArray& body); // every CR LF becomes LF
QByteArray withoutFinalNewline(const QByteArray& body);
} // namespace BodyText
