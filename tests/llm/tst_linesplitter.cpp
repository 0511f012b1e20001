#include "llm/LineSplitter.h"

#include <QRandomGenerator>
#include <QTest>

namespace {

// Feeds `pieces` and returns every line, the rest at the end marked "<rest>".
QList<QByteArray> split(const QList<QByteArray>& pieces) {
    LineSplitter splitter;
    QList<QByteArray> lines;
    for (const QByteArray& piece : pieces)
        splitter.feed(piece, [&](QByteArrayView line) {
            lines.append(line.toByteArray());
            return true;
        });
    const QByteArray rest = splitter.takeRest();
    if (!rest.isEmpty())
        lines.append("<rest>" + rest);
    return lines;
}

QList<QByteArray> everySplit(const QByteArray& body, QList<qsizetype> cuts) {
    QList<QByteArray> pieces;
    qsizetype start = 0;
    for (const qsizetype cut : cuts) {
        pieces.append(body.mid(start, cut - start));
        start = cut;
    }
    pieces.append(body.mid(start));
    return pieces;
}

} // namespace

class LineSplitterTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void terminators_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QList<QByteArray>>("expected");
        QTest::newRow("lf") << QByteArray("a\nb\n") << QList<QByteArray>{"a", "b"};
        QTest::newRow("crlf") << QByteArray("a\r\nb\r\n") << QList<QByteArray>{"a", "b"};
        QTest::newRow("cr") << QByteArray("a\rb\r") << QList<QByteArray>{"a", "b"};
        QTest::newRow("mixed") << QByteArray("a\r\nb\nc\rd")
                               << QList<QByteArray>{"a", "b", "c", "<rest>d"};
        QTest::newRow("empty lines")
            << QByteArray("a\n\nb\r\n\r\n") << QList<QByteArray>{"a", "", "b", ""};
        QTest::newRow("lf cr is two terminators")
            << QByteArray("a\n\rb") << QList<QByteArray>{"a", "", "<rest>b"};
        QTest::newRow("cr cr lf") << QByteArray("a\r\r\nb")
                                  << QList<QByteArray>{"a", "", "<rest>b"};
        QTest::newRow("no final terminator")
            << QByteArray("a\nrest") << QList<QByteArray>{"a", "<rest>rest"};
        QTest::newRow("empty body") << QByteArray() << QList<QByteArray>{};
        QTest::newRow("utf-8 kept")
            << QByteArray("17 \xC3\x97 23\n") << QList<QByteArray>{"17 \xC3\x97 23"};
    }
    void terminators() {
        QFETCH(QByteArray, body);
        QFETCH(QList<QByteArray>, expected);
        QCOMPARE(split({body}), expected);
        // The same lines whichever way the body is cut into two or three pieces.
        for (qsizetype i = 0; i <= body.size(); ++i) {
            QCOMPARE(split(everySplit(body, {i})), expected);
            for (qsizetype j = i; j <= body.size(); ++j)
                QCOMPARE(split(everySplit(body, {i, j})), expected);
        }
        // And one byte at a time.
        QList<QByteArray> bytes;
        for (const char c : body)
            bytes.append(QByteArray(1, c));
        QCOMPARE(split(bytes), expected);
    }

    // A CR at the end of a piece ends its line at once; the LF that starts the
    // next piece belongs to the same terminator.
    void lineHandedOutWhenItsTerminatorArrives() {
        LineSplitter splitter;
        QList<QByteArray> lines;
        auto collect = [&](QByteArrayView line) {
            lines.append(line.toByteArray());
            return true;
        };
        splitter.feed("first\r", collect);
        QCOMPARE(lines, QList<QByteArray>{"first"});
        splitter.feed("", collect);
        splitter.feed("\nsecond", collect);
        QCOMPARE(lines, QList<QByteArray>{"first"});
        splitter.feed("\n", collect);
        QCOMPARE(lines, (QList<QByteArray>{"first", "second"}));
        QCOMPARE(splitter.takeRest(), QByteArray());
    }

    void stopsWhenAsked() {
        LineSplitter splitter;
        QList<QByteArray> lines;
        const bool goOn = splitter.feed("a\nstop\nc\n", [&](QByteArrayView line) {
            lines.append(line.toByteArray());
            return line != "stop";
        });
        QVERIFY(!goOn);
        QCOMPARE(lines, (QList<QByteArray>{"a", "stop"}));
    }

    void randomSplitsOfMixedTerminators() {
        QRandomGenerator random(7);
        const QList<QByteArray> terminators{"\n", "\r", "\r\n"};
        for (int round = 0; round < 2000; ++round) {
            QByteArray body;
            QList<QByteArray> expected;
            const int count = random.bounded(1, 8);
            for (int i = 0; i < count; ++i) {
                QByteArray line;
                for (int n = random.bounded(0, 5); n > 0; --n)
                    line += char('a' + random.bounded(26));
                QByteArray terminator = terminators[random.bounded(3)];
                // An empty line after a CR must not end with a lone LF: that
                // would make one CR LF terminator out of two.
                if (line.isEmpty() && body.endsWith('\r') && terminator == "\n")
                    terminator = "\r\n";
                body += line + terminator;
                expected.append(line);
            }
            QList<qsizetype> cuts;
            for (qsizetype at = 0; at < body.size(); at += random.bounded(1, 4))
                cuts.append(at);
            QCOMPARE(split(everySplit(body, cuts)), expected);
        }
    }
};

QTEST_GUILESS_MAIN(LineSplitterTest)
#include "tst_linesplitter.moc"
