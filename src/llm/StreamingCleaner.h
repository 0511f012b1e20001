#pragma once

#include <QString>

// Cleans a reply while it streams in. Fed the raw pieces one by one, it hands
// out only text that is certain to begin the final cleaned reply: it holds
// back trailing white space (it may end the reply), an unclosed think block
// (it may never close) and a trailing part of an opening tag (the next piece
// may complete it). finish() hands out the rest, so that everything handed
// out, joined, is exactly ReplyText::cleaned() of all the pieces.
//
// Work is proportional to the size of the input, not to its square: the
// whole reply is never searched again.
class StreamingCleaner {
public:
    // The text that has become certain with this piece; often empty.
    QString feed(const QString& piece);
    // The rest, at the end of the reply.
    QString finish();

    // Everything handed out so far.
    qsizetype handedOut() const { return m_handedOut; }

private:
    QString certainText();

    // The raw text with every closed block removed; an open block, if any,
    // still at its end.
    QString m_text;
    // Where the open block starts in m_text; -1 when there is none.
    qsizetype m_open = -1;
    // No opening tag starts in m_text before this (when m_open < 0), or no
    // closing tag after m_open ends before it (when m_open >= 0).
    qsizetype m_searchFrom = 0;
    // m_text[m_start, m_emitted) has been handed out; m_start is where the
    // text begins after leading white space, -1 while that is not known.
    qsizetype m_start = -1;
    qsizetype m_emitted = 0;
    qsizetype m_handedOut = 0;
};
