#include "llm/StreamingCleaner.h"

#include "llm/ReplyText.h"

using ReplyText::closeTag;
using ReplyText::openTag;

QString StreamingCleaner::feed(QStringView piece) {
    m_heldBefore = m_held.size();
    qsizetype at = 0;
    while (at < piece.size())
        at = m_inBlock ? skipBlock(piece, at) : takeOutside(piece, at);
    return certainText();
}

qsizetype StreamingCleaner::takeOutside(QStringView piece, qsizetype from) {
    // An opening tag may have begun in the text held back; removing a block
    // can also join the text on either side into one.
    if (const qsizetype partial = partialTagAtEnd(m_held.size())) {
        const QStringView rest = openTag.mid(partial);
        m_work += rest.size();
        if (piece.mid(from, rest.size()) == rest) {
            m_held.chop(partial);
            m_heldBefore = std::min(m_heldBefore, m_held.size());
            m_inBlock = true;
            return from + rest.size();
        }
    }
    const qsizetype open = piece.indexOf(openTag, from);
    const qsizetype end = open < 0 ? piece.size() : open;
    m_held.append(piece.mid(from, end - from));
    m_work += 2 * (end - from) + (open < 0 ? 0 : openTag.size());
    if (open < 0)
        return piece.size();
    m_inBlock = true;
    return open + openTag.size();
}

qsizetype StreamingCleaner::skipBlock(QStringView piece, qsizetype from) {
    // A closing tag split between the last piece and this one.
    if (!m_blockTail.isEmpty()) {
        const QString joint = m_blockTail + piece.mid(from, closeTag.size() - 1);
        const qsizetype close = joint.indexOf(closeTag);
        m_work += joint.size();
        if (close >= 0) {
            const qsizetype tail = m_blockTail.size();
            m_blockTail.clear();
            m_inBlock = false;
            return from + close + closeTag.size() - tail;
        }
    }
    const qsizetype close = piece.indexOf(closeTag, from);
    if (close >= 0) {
        m_work += close + closeTag.size() - from;
        m_blockTail.clear();
        m_inBlock = false;
        return close + closeTag.size();
    }
    m_work += piece.size() - from;
    const qsizetype keep = closeTag.size() - 1;
    if (piece.size() - from >= keep)
        m_blockTail = piece.right(keep).toString();
    else
        m_blockTail = QString(m_blockTail + piece.mid(from)).right(keep);
    return piece.size();
}

// Length of the end of m_held[0, end) that is the beginning of an opening
// tag (a lone "<", "<t", ... "<think"); 0 if there is none. There is at most
// one, since the tag holds a single "<".
qsizetype StreamingCleaner::partialTagAtEnd(qsizetype end) {
    for (qsizetype length = std::min<qsizetype>(openTag.size() - 1, end); length > 0; --length) {
        m_work += length;
        if (QStringView(m_held).mid(end - length, length) == openTag.left(length))
            return length;
    }
    return 0;
}

QString StreamingCleaner::certainText() {
    if (!m_started) {
        // Leading white space is trimmed whatever follows it.
        qsizetype start = 0;
        while (start < m_held.size() && m_held.at(start).isSpace())
            ++start;
        if (start > 0) {
            m_held.remove(0, start);
            m_heldBefore = std::max<qsizetype>(0, m_heldBefore - start);
            m_work += start + m_held.size();
        }
    }
    // Held back from the end: partial opening tags, each of which a block
    // removed after it could still complete, then the white space before
    // them, which may end the reply. Once that reaches into what was held
    // back before this piece, all of it stays held: that was white space and
    // partial tags already.
    qsizetype end = m_held.size();
    while (const qsizetype partial = partialTagAtEnd(end)) {
        end -= partial;
        if (end < m_heldBefore)
            return {};
    }
    // Never half of a surrogate pair: its other half comes with the next piece.
    if (end > 0 && m_held.at(end - 1).isHighSurrogate())
        --end;
    while (end > 0 && m_held.at(end - 1).isSpace()) {
        --end;
        ++m_work;
        if (end < m_heldBefore)
            return {};
    }
    if (end == 0)
        return {};
    QString out = m_held.left(end);
    m_held.remove(0, end);
    m_work += end + m_held.size();
    m_started = true;
    m_handedOut += out.size();
    return out;
}

QString StreamingCleaner::finish() {
    // Whatever is held back is now known: an open block runs to the end,
    // partial tags are text, and trailing white space ends the reply.
    qsizetype start = 0;
    if (!m_started) {
        while (start < m_held.size() && m_held.at(start).isSpace())
            ++start;
    }
    qsizetype end = m_held.size();
    while (end > start && m_held.at(end - 1).isSpace())
        --end;
    QString rest = m_held.mid(start, end - start);
    m_work += m_held.size();
    m_held.clear();
    m_heldBefore = 0;
    m_inBlock = false;
    m_blockTail.clear();
    m_started = m_started || !rest.isEmpty();
    m_handedOut += rest.size();
    return rest;
}
