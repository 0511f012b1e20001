#pragma once

#include <QString>

// Cleans a reply while it streams in. Fed the raw pieces one by one, it hands
// out only text that is certain to begin the final cleaned reply: it holds
// back trailing white space (it may end the reply), an unclosed think block
// (it may never close) and trailing parts of an opening tag (the next piece,
// or the removal of a block after them, may complete them). finish() hands
// out the rest, so that everything handed out, joined, is exactly
// ReplyText::cleaned() of all the pieces.
//
// It keeps only what it holds back, never what it handed out nor the inside
// of a block, and it looks at every character a bounded number of times: its
// memory follows what is held back, its work the length of the reply.
class StreamingCleaner {
public:
    // The text that has become certain with this piece; often empty.
    QString feed(QStringView piece);
    QString feed(const QString& piece) { return feed(QStringView(piece)); }
    // The rest, at the end of the reply.
    QString finish();

    // How many characters were handed out so far.
    qsizetype handedOut() const { return m_handedOut; }
    // Characters searched, compared, copied or moved so far: the cost of the
    // work done, which tests check grows with the reply's length alone.
    qsizetype work() const { return m_work; }

private:
    // Takes text outside any block up to the next opening tag, if any;
    // returns where reading of `piece` goes on.
    qsizetype takeOutside(QStringView piece, qsizetype from);
    // Skips block text up to its closing tag, if any; the same.
    qsizetype skipBlock(QStringView piece, qsizetype from);
    qsizetype partialTagAtEnd(qsizetype end);
    QString certainText();

    // Text outside blocks not handed out yet: white space and partial tags
    // that may still change, and the text of the current piece.
    QString m_held;
    // m_held[0, m_heldBefore) was held back already before this piece.
    qsizetype m_heldBefore = 0;
    bool m_inBlock = false;
    // The last characters of the open block, as many as a closing tag
    // split between two pieces needs.
    QString m_blockTail;
    bool m_started = false; // something was handed out: leading white space is gone
    qsizetype m_handedOut = 0;
    qsizetype m_work = 0;
};
