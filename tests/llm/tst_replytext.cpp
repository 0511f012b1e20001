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

// The removal as a person would do it, written for clarity, not speed: find
// the first opening tag, cut to the end of the next closing tag (or to the
// end), start again from the beginning; then trim.
QString referenceCleaned(QString text) {
    for (;;) {
        const qsizetype open = text.indexOf(QLatin1String("<think>"));
        if (open < 0)
            break;
        const qsizetype close = text.indexOf(QLatin1String("</think>"), open + 7);
        text.remove(open, close < 0 ? text.size() - open : close + 8 - open);
    }
    return text.trimmed();
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
            const QString expected = referenceCleaned(raw);
            const QString whole = ReplyText::cleaned(raw);
            const QString actual = streamed(randomSplit(raw, random), expected);
            if (actual != expected || whole != expected)
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

    // The work of removing blocks grows with the length of the reply alone,
    // not with the number of blocks times the length: counted, not timed.
    void removalWorkIsLinear_data() {
        QTest::addColumn<QString>("unit");
        QTest::addColumn<int>("pieceLength"); // 0: the whole text at once
        const QStringList units{
            "word <think>x</think>",
            "<think>a thought</think>a",
            "<th<think>x</think>ink>y</think>z ", // removals that join into new tags
            "<<<t<th ",
        };
        for (const QString& unit : units) {
            for (const int pieceLength : {0, 1, 5, 64})
                QTest::addRow("%s, pieces of %d", qPrintable(unit), pieceLength)
                    << unit << pieceLength;
        }
    }
    void removalWorkIsLinear() {
        QFETCH(QString, unit);
        QFETCH(int, pieceLength);
        const auto workFor = [&](int blocks) {
            const QString raw = unit.repeated(blocks);
            StreamingCleaner cleaner;
            if (pieceLength == 0) {
                cleaner.feed(raw);
            } else {
                for (qsizetype at = 0; at < raw.size(); at += pieceLength)
                    cleaner.feed(QStringView(raw).mid(at, pieceLength));
            }
            cleaner.finish();
            return std::pair(cleaner.work(), raw.size());
        };
        const auto [small, smallLength] = workFor(2000);
        const auto [large, largeLength] = workFor(32000);
        // A few dozen steps per character at most, however many blocks.
        QVERIFY2(large <= 40 * largeLength, qPrintable(QString::number(large)));
        // Sixteen times the blocks, sixteen times the work (with a margin).
        QVERIFY2(large <= 17 * small,
                 qPrintable(QStringLiteral("%1 then %2").arg(small).arg(large)));
        QVERIFY(smallLength * 16 == largeLength);
    }

    void emptyReplyText() {
        QCOMPARE(ReplyText::emptyReplyText,
                 QStringLiteral("The model returned an empty reply. Try again or pick a different "
                                "model in Settings."));
    }
};

QTEST_GUILESS_MAIN(ReplyTextTest)
#include "tst_replytext.moc"
