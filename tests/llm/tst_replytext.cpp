#include "llm/ReplyText.h"
#include "llm/StreamingCleaner.h"

#include <QRandomGenerator>
#include <QTest>

namespace {

// Feeds `pieces` one by one and returns everything handed out, checking on
// the way that each hand-out keeps the text a prefix of `final`.
QString streamed(const QStringList& pieces, const QString& final) {
    StreamingCleaner cleaner;
    QString out;
    for (const QString& piece : pieces) {
        out += cleaner.feed(piece);
        if (!final.startsWith(out))
            return u"NOT A PREFIX: " % out;
    }
    out += cleaner.finish();
    return out;
}

QStringList randomSplit(const QString& text, QRandomGenerator& random) {
    QStringList pieces;
    qsizetype at = 0;
    while (at < text.size()) {
        const qsizetype length = 1 + random.bounded(int(std::min<qsizetype>(12, text.size() - at)));
        pieces.append(text.mid(at, length));
        at += length;
    }
    return pieces;
}

} // namespace

// Think-block removal and trimming, whole and while streaming.
class ReplyTextTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void cleaned_data() {
        QTest::addColumn<QString>("raw");
        QTest::addColumn<QString>("expected");
        QTest::newRow("plain") << "Hello"
                               << "Hello";
        QTest::newRow("trimmed") << " \n\tHello there \n"
                                 << "Hello there";
        QTest::newRow("unicode spaces trimmed")
            << QStringLiteral("\u00A0\u2003Hi\u3000\u2029") << "Hi";
        QTest::newRow("block before") << "<think>\nplan\n</think>\n\nAnswer"
                                      << "Answer";
        QTest::newRow("text around blocks kept, joined as it was")
            << "a <think>x</think>b<think>y</think> c"
            << "a b c";
        QTest::newRow("only a block and white space") << "<think>hmm</think>\n \n"
                                                      << "";
        QTest::newRow("unclosed removes to the end") << "Answer<think>second thoughts"
                                                     << "Answer";
        QTest::newRow("unclosed from the start") << "<think>still thinking"
                                                 << "";
        QTest::newRow("empty block") << "<think></think>Hi"
                                     << "Hi";
        QTest::newRow("nested") << "<think>a<think>b</think>c</think>Done"
                                << "c</think>Done";
        QTest::newRow("stray closing tag kept") << "</think>Hi"
                                                << "</think>Hi";
        QTest::newRow("case sensitive") << "<Think>x</Think>"
                                        << "<Think>x</Think>";
        QTest::newRow("tag with attributes is not the tag") << "<think a>x</think>"
                                                            << "<think a>x</think>";
        QTest::newRow("a join forms a new tag") << "A<thi<think>x</think>nk>hidden"
                                                << "A";
        QTest::newRow("close searched after the opening tag") << "<think</think>>x</think>y"
                                                              << "<think</think>>x</think>y";
        QTest::newRow("close right after open") << "<think></think></think>z"
                                                << "</think>z";
        QTest::newRow("empty") << ""
                               << "";
    }
    void cleaned() {
        QFETCH(QString, raw);
        QFETCH(QString, expected);
        QCOMPARE(ReplyText::cleaned(raw), expected);
    }

    void streamedEqualsCleaned_data() { cleaned_data(); }
    void streamedEqualsCleaned() {
        QFETCH(QString, raw);
        QFETCH(QString, expected);
        // Every split into two pieces, and one character at a time.
        for (qsizetype cut = 0; cut <= raw.size(); ++cut)
            QCOMPARE(streamed({raw.left(cut), raw.mid(cut)}, expected), expected);
        QStringList single;
        for (const QChar c : raw)
            single.append(QString(c));
        QCOMPARE(streamed(single, expected), expected);
    }

    void holdsBackWhatMayStillChange() {
        StreamingCleaner cleaner;
        QCOMPARE(cleaner.feed("\n  "), QString()); // leading white space: maybe all of it
        QCOMPARE(cleaner.feed("Hello"), QString("Hello"));
        QCOMPARE(cleaner.feed(" "), QString()); // trailing white space may end the reply
        QCOMPARE(cleaner.feed("world <th"), QString(" world")); // a tag may be starting
        QCOMPARE(cleaner.feed("ink>secret"), QString());        // an open block may never close
        QCOMPARE(cleaner.feed("</think>"), QString());
        QCOMPARE(cleaner.feed(" again\n"), QString("  again"));
        QCOMPARE(cleaner.feed("<"), QString());
        QCOMPARE(cleaner.finish(), QString("\n<"));
        QCOMPARE(cleaner.handedOut(), qsizetype(QString("Hello world  again\n<").size()));
    }

    void partialTagThatIsNotATagIsReleased() {
        StreamingCleaner cleaner;
        QCOMPARE(cleaner.feed("a <thin"), QString("a"));
        QCOMPARE(cleaner.feed("g>"), QString(" <thing>"));
    }

    void surrogatePairsAreNeverCut() {
        const QString emoji = QStringLiteral("\U0001F60A");
        StreamingCleaner cleaner;
        QCOMPARE(cleaner.feed(QStringLiteral("ok ") + emoji.at(0)), QString("ok"));
        QCOMPARE(cleaner.feed(QString(emoji.at(1)) + "!"), QString(" ") + emoji + "!");
    }

    void finishWithoutPieces() {
        StreamingCleaner cleaner;
        QCOMPARE(cleaner.finish(), QString());
    }

    // Random texts made mostly of tag fragments and white space, split at
    // random: the streamed text is always a prefix, and in the end exactly
    // the cleaned text.
    void randomTextsAndSplits() {
        const QStringList atoms{"<think>", "</think>", "<", "<t", "<thi", "nk>", "</",  "think>",
                                "k>",      "a",        "b", " ",  "\n",   "\t",  "x y", "\u00A0"};
        QRandomGenerator random(20240611);
        for (int round = 0; round < 20000; ++round) {
            QString raw;
            const int count = random.bounded(1, 14);
            for (int i = 0; i < count; ++i)
                raw += atoms[random.bounded(int(atoms.size()))];
            const QString expected = ReplyText::cleaned(raw);
            const QString actual = streamed(randomSplit(raw, random), expected);
            if (actual != expected)
                QFAIL(qPrintable(u"raw: " % raw % u"\nexpected: " % expected % u"\nactual: " %
                                 actual));
        }
    }

    // A long reply in many small pieces costs time in proportion to its
    // length: it finishes quickly even though it is never searched whole.
    void longReplyInSmallPieces() {
        QString raw = "<think>" + QString(20000, u'.') + "</think>";
        for (int i = 0; i < 5000; ++i)
            raw += QStringLiteral("word%1 ").arg(i);
        const QString expected = ReplyText::cleaned(raw);
        QStringList pieces;
        for (qsizetype at = 0; at < raw.size(); at += 3)
            pieces.append(raw.mid(at, 3));
        QCOMPARE(streamed(pieces, expected), expected);
    }

    void emptyReplyText() {
        QCOMPARE(ReplyText::emptyReplyText,
                 QStringLiteral("The model returned an empty reply. Try again or pick a different "
                                "model in Settings."));
    }
};

QTEST_GUILESS_MAIN(ReplyTextTest)
#include "tst_replytext.moc"
