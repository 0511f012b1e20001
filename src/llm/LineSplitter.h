#pragma once

#include <QByteArray>
#include <QByteArrayView>

// Splits a body that arrives in arbitrary pieces into lines ended by LF, CR
// or CR LF. Works on bytes, so a multi-byte UTF-8 character split between two
// pieces is whole again in its line. A line is handed out as soon as its
// terminator arrives; a CR that ends one piece and an LF that starts the next
// are one terminator, not two.
class LineSplitter {
public:
    // Calls onLine(QByteArrayView line) for every line completed by `bytes`,
    // in order, without its terminator. onLine returns false to stop; feed()
    // then returns false at once and the splitter must not be used again.
    template <typename OnLine>
    bool feed(QByteArrayView bytes, OnLine&& onLine);

    // The bytes after the last terminator: the unterminated last line at the
    // end of a body. Empty when the body ended with a terminator.
    QByteArray takeRest() {
        m_afterCR = false;
        return std::exchange(m_partial, QByteArray());
    }

    // The length of the line still waiting for its terminator.
    qsizetype pendingSize() const { return m_partial.size(); }

private:
    QByteArray m_partial;   // the start of a line that is not yet complete
    bool m_afterCR = false; // the last piece ended with CR: skip one LF
};

template <typename OnLine>
bool LineSplitter::feed(QByteArrayView bytes, OnLine&& onLine) {
    const char* data = bytes.data();
    const qsizetype size = bytes.size();
    qsizetype i = 0;
    if (m_afterCR && size > 0) {
        m_afterCR = false;
        if (data[0] == '\n')
            i = 1;
    }
    qsizetype lineStart = i;
    while (i < size) {
        const char c = data[i];
        if (c != '\n' && c != '\r') {
            ++i;
            continue;
        }
        const qsizetype lineEnd = i;
        ++i;
        if (c == '\r') {
            if (i < size) {
                if (data[i] == '\n')
                    ++i;
            } else {
                m_afterCR = true;
            }
        }
        // The splitter's state is settled before onLine runs: onLine may end
        // the run, and with it the object that owns this splitter.
        if (m_partial.isEmpty()) {
            const QByteArrayView line(data + lineStart, lineEnd - lineStart);
            lineStart = i;
            if (!onLine(line))
                return false;
        } else {
            QByteArray line = std::exchange(m_partial, QByteArray());
            line.append(data + lineStart, lineEnd - lineStart);
            lineStart = i;
            if (!onLine(QByteArrayView(line)))
                return false;
        }
    }
    m_partial.append(data + lineStart, size - lineStart);
    return true;
}
