#pragma once

#include <QByteArray>
#include <QByteArrayView>

// Reads a body sent with the chunked transfer coding as it arrives, and
// knows when the server's end of it has come: the last, empty chunk and the
// blank line after its trailer. Strict about the framing: a size line that
// is not a hexadecimal number, or chunk data not followed by a line end,
// leaves the body broken, so that a garbled reply is never taken for a
// complete one.
class ChunkedDecoder {
public:
    enum class Status {
        more,     // the body goes on
        complete, // the last chunk and its trailer have arrived
        broken,   // the framing is not chunked coding
    };

    // Appends the data carried by `bytes` to `out`. Bytes after the end of
    // the body are ignored.
    Status feed(QByteArrayView bytes, QByteArray& out);
    Status status() const;

private:
    enum class State { sizeLine, data, dataEnd, trailer, done, broken };

    // Handles one complete size or trailer line (without its line end).
    void takeLine(QByteArrayView line);

    State m_state = State::sizeLine;
    QByteArray m_line;    // the start of a size or trailer line
    qint64 m_left = 0;    // data bytes still to come in this chunk
    bool m_sawCR = false; // dataEnd: the CR of the CR LF after the data
};
