#include "llm/ChunkedDecoder.h"

#include <QTest>

using Status = ChunkedDecoder::Status;

namespace {

// Decodes `body` fed in pieces of `step` bytes (0: all at once).
std::pair<Status, QByteArray> decode(const QByteArray& body, qsizetype step = 0) {
    ChunkedDecoder decoder;
    QByteArray data;
    Status status = Status::more;
    if (step == 0)
        return {decoder.feed(body, data), data};
    for (qsizetype at = 0; at < body.size(); at += step)
        status = decoder.feed(body.mid(at, step), data);
    return {status, data};
}

} // namespace

// The chunked framing of a reply body: its data, and whether the server's
// end of it came.
class ChunkedDecoderTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void bodies_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("data");
        const int more = int(Status::more);
        const int complete = int(Status::complete);
        const int broken = int(Status::broken);
        QTest::newRow("two chunks, then the end")
            << QByteArray("5\r\nhello\r\n6\r\n world\r\n0\r\n\r\n") << complete
            << QByteArray("hello world");
        QTest::newRow("upper-case size, extension, trailer")
            << QByteArray("A;name=value\r\n0123456789\r\n0\r\nX-Trailer: 1\r\n\r\n") << complete
            << QByteArray("0123456789");
        QTest::newRow("bare line feeds")
            << QByteArray("3\nabc\n0\n\n") << complete << QByteArray("abc");
        QTest::newRow("nothing after the last chunk's size yet")
            << QByteArray("3\r\nabc\r\n0\r\n") << more << QByteArray("abc");
        QTest::newRow("cut inside a chunk") << QByteArray("10\r\nabc") << more << QByteArray("abc");
        QTest::newRow("cut before the last chunk")
            << QByteArray("3\r\nabc\r\n") << more << QByteArray("abc");
        QTest::newRow("size that is not a number")
            << QByteArray("3\r\nabc\r\nzz\r\nhello\r\n") << broken << QByteArray("abc");
        QTest::newRow("empty size line") << QByteArray("\r\nabc") << broken << QByteArray();
        QTest::newRow("data longer than its size")
            << QByteArray("2\r\nabc\r\n0\r\n\r\n") << broken << QByteArray("ab");
        QTest::newRow("size too large")
            << QByteArray("1000000000000000\r\n") << broken << QByteArray();
        QTest::newRow("bytes after the end are ignored")
            << QByteArray("1\r\na\r\n0\r\n\r\nHTTP/1.1 200 OK\r\n") << complete << QByteArray("a");
    }
    void bodies() {
        QFETCH(QByteArray, body);
        QFETCH(int, status);
        QFETCH(QByteArray, data);
        // The same result however the body is cut into pieces.
        for (const qsizetype step : {0, 1, 2, 3, 7}) {
            const auto [got, gotData] = decode(body, step);
            QCOMPARE(int(got), status);
            QCOMPARE(gotData, data);
        }
    }
};

QTEST_GUILESS_MAIN(ChunkedDecoderTest)
#include "tst_chunkeddecoder.moc"
