#include "llm/ChunkedDecoder.h"

namespace {

// Size and trailer lines are short; a longer one is no chunked coding.
constexpr qsizetype lineLimit = 8192;

// The value of a hexadecimal digit; -1 for any other character.
int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// The chunk size at the start of a size line, before any extension; -1 if
// the line does not start with one.
qint64 chunkSize(QByteArrayView line) {
    const qsizetype extension = line.indexOf(';');
    QByteArrayView size = (extension < 0 ? line : line.first(extension)).trimmed();
    // Fifteen digits keep the value well inside qint64.
    if (size.isEmpty() || size.size() > 15)
        return -1;
    qint64 value = 0;
    for (const char c : size) {
        const int digit = hexValue(c);
        if (digit < 0)
            return -1;
        value = value * 16 + digit;
    }
    return value;
}

} // namespace

ChunkedDecoder::Status ChunkedDecoder::status() const {
    switch (m_state) {
    case State::done:
        return Status::complete;
    case State::broken:
        return Status::broken;
    default:
        return Status::more;
    }
}

ChunkedDecoder::Status ChunkedDecoder::feed(QByteArrayView bytes, QByteArray& out) {
    qsizetype i = 0;
    while (i < bytes.size() && m_state != State::done && m_state != State::broken) {
        switch (m_state) {
        case State::data: {
            const qsizetype take = qsizetype(std::min<qint64>(m_left, bytes.size() - i));
            out.append(bytes.data() + i, take);
            i += take;
            m_left -= take;
            if (m_left == 0)
                m_state = State::dataEnd;
            break;
        }
        case State::dataEnd: {
            const char c = bytes[i++];
            if (c == '\r' && !m_sawCR) {
                m_sawCR = true;
            } else if (c == '\n') {
                m_sawCR = false;
                m_state = State::sizeLine;
            } else {
                m_state = State::broken;
            }
            break;
        }
        case State::sizeLine:
        case State::trailer: {
            const qsizetype end = bytes.indexOf('\n', i);
            const qsizetype stop = end < 0 ? bytes.size() : end;
            m_line.append(bytes.data() + i, stop - i);
            i = end < 0 ? bytes.size() : end + 1;
            if (m_line.size() > lineLimit) {
                m_state = State::broken;
            } else if (end >= 0) {
                if (m_line.endsWith('\r'))
                    m_line.chop(1);
                takeLine(std::exchange(m_line, QByteArray()));
            }
            break;
        }
        case State::done:
        case State::broken:
            break;
        }
    }
    return status();
}

void ChunkedDecoder::takeLine(QByteArrayView line) {
    if (m_state == State::trailer) {
        // Trailer fields are of no use here; the blank line ends the body.
        if (line.isEmpty())
            m_state = State::done;
        return;
    }
    const qint64 size = chunkSize(line);
    if (size < 0) {
        m_state = State::broken;
        return;
    }
    m_left = size;
    m_state = size == 0 ? State::trailer : State::data;
}
