#include "llm/StreamingCleaner.h"

#include "llm/ReplyText.h"

using ReplyText::closeTag;
using ReplyText::openTag;

namespace {

// Length of the end of `text[0, end)` that is the beginning of an opening
// tag (a lone "<", "<t", ... "<think"); 0 if there is none. There is at most
// one, since the tag holds a single "<".
qsizetype partialTagAtEnd(const QString& text, qsizetype end) {
    for (qsizetype length = std::min<qsizetype>(openTag.size() - 1, end); length > 0; --length) {
        if (QStringView(text).mid(end - length, length) == openTag.left(length))
            return length;
    }
    return 0;
}

// How much of the text before a block that starts at `cut` is final. Once
// the block is removed, a partial tag just before it can join the text after
// it into a new opening tag, whose block can do the same in turn.
qsizetype settledEnd(const QString& text, qsizetype cut) {
    while (const qsizetype partial = partialTagAtEnd(text, cut))
        cut -= partial;
    return cut;
}

} // namespace

QString StreamingCleaner::feed(const QString& piece) {
    m_text += piece;
    // Remove every block that is now closed, exactly as ReplyText::cleaned
    // does, but resuming where the last search stopped.
    for (;;) {
        if (m_open < 0) {
            m_open = m_text.indexOf(openTag, m_searchFrom);
            if (m_open < 0) {
                m_searchFrom = std::max<qsizetype>(0, m_text.size() - (openTag.size() - 1));
                break;
            }
            m_searchFrom = m_open + openTag.size();
        }
        const qsizetype close = m_text.indexOf(closeTag, m_searchFrom);
        if (close < 0) {
            m_searchFrom = std::max(m_open + openTag.size(), m_text.size() - (closeTag.size() - 1));
            break;
        }
        m_text.remove(m_open, close + closeTag.size() - m_open);
        // The join may form a new opening tag that starts up to six
        // characters before the cut.
        m_searchFrom = std::max<qsizetype>(0, m_open - (openTag.size() - 1));
        m_open = -1;
    }
    return certainText();
}

QString StreamingCleaner::certainText() {
    // A block may still start at the end of the text (a partial tag there,
    // or the next piece); an open block may still close. Either way the text
    // before it is final, as far as settledEnd() says.
    qsizetype end = settledEnd(m_text, m_open >= 0 ? m_open : m_text.size());
    // Never half of a surrogate pair: its other half comes with the next piece.
    if (end > m_emitted && m_text.at(end - 1).isHighSurrogate())
        --end;
    // Trailing white space is held back until something follows it.
    while (end > m_emitted && m_text.at(end - 1).isSpace())
        --end;
    if (m_start < 0) {
        qsizetype start = 0;
        while (start < end && m_text.at(start).isSpace())
            ++start;
        if (start == end)
            return {}; // only white space so far: it may all be trimmed away
        m_start = start;
        m_emitted = start;
    }
    if (end <= m_emitted)
        return {};
    QString out = m_text.mid(m_emitted, end - m_emitted);
    m_emitted = end;
    m_handedOut += out.size();
    return out;
}

QString StreamingCleaner::finish() {
    // Whatever is held back is now known: an open block runs to the end, a
    // partial tag is text, and the trailing white space ends the reply.
    const QString all = ReplyText::cleaned(m_text);
    QString rest = all.mid(m_handedOut);
    m_handedOut = all.size();
    return rest;
}
