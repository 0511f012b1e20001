#include "llm/ReplyFields.h"
#include "llm/ReplyParser.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTest>

using namespace LLMClient;

// Hand-made payloads (in their own file: moc cannot read raw strings with
// escaped quotes).
QList<QByteArray> trickyPayloads();

namespace {

// The rules for one JSON payload, worked out with Qt's general JSON parser:
// the reference the fast reader must agree with on every input.
Piece reference(const QByteArray& payload, bool ollama) {
    QJsonParseError error;
    QJsonDocument document = QJsonDocument::fromJson(payload, &error);
    if (error.error == QJsonParseError::IllegalUTF8String)
        document = QJsonDocument::fromJson(QString::fromUtf8(payload).toUtf8());
    if (!document.isObject())
        return SkipPiece{};
    const QJsonObject object = document.object();
    const QJsonValue e = object.value("error");
    if (e.isString())
        return LLMError::server(e.toString());
    if (e.isObject() && e.toObject().value("message").isString())
        return LLMError::server(e.toObject().value("message").toString());
    if (ollama) {
        const QString content = object.value("message").toObject().value("content").toString();
        if (!content.isEmpty())
            return TextPiece{content};
        if (object.value("done").isBool() && object.value("done").toBool())
            return DonePiece{};
        return SkipPiece{};
    }
    const QString content = object.value("choices")
                                .toArray()
                                .first()
                                .toObject()
                                .value("delta")
                                .toObject()
                                .value("content")
                                .toString();
    return content.isEmpty() ? Piece(SkipPiece{}) : Piece(TextPiece{content});
}

QString shown(const Piece& piece) {
    if (const auto* t = std::get_if<TextPiece>(&piece))
        return u"text(" % t->text % u')';
    if (std::holds_alternative<DonePiece>(piece))
        return QStringLiteral("done");
    if (std::holds_alternative<SkipPiece>(piece))
        return QStringLiteral("skip");
    return u"error(" % std::get<LLMError>(piece).detail() % u')';
}

// Every JSON payload of the recorded replies.
QList<QByteArray> recordedPayloads() {
    QList<QByteArray> payloads;
    const QDir dir(QStringLiteral(WENDLE_VECTORS));
    for (const QString& name : dir.entryList({"*.txt"})) {
        QFile file(dir.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray body = file.readAll();
        for (QByteArray line : body.mid(body.indexOf('\n') + 1).split('\n')) {
            line = line.trimmed();
            if (line.startsWith("data:"))
                line = line.mid(5).trimmed();
            if (!line.isEmpty())
                payloads.append(line);
        }
    }
    return payloads;
}

} // namespace

// The fast reader of reply lines gives exactly what a general JSON parser
// gives, on real lines, on tricky ones and on hundreds of thousands of
// damaged ones.
class ReplyFieldsTest : public QObject {
    Q_OBJECT

    void agree(const QByteArray& payload) {
        for (const bool ollama : {true, false}) {
            if (!ollama && payload.trimmed() == "[DONE]")
                continue; // the end of a server-sent stream, not JSON
            // parse() sees "data: " lines in the OpenAI-compatible format.
            const Piece fast = parse(QByteArrayView(ollama ? payload : "data: " + payload), ollama);
            const Piece slow = reference(payload, ollama);
            if (!(fast == slow)) {
                QFAIL(qPrintable(u"payload: " %
                                 QString::fromUtf8(payload.toPercentEncoding(" {}[]:,\"")) %
                                 u"\nollama: " % QString::number(ollama) % u"\nfast: " %
                                 shown(fast) % u"\nreference: " % shown(slow)));
            }
        }
    }

private Q_SLOTS:
    void recordedLines() {
        const QList<QByteArray> payloads = recordedPayloads();
        QVERIFY(payloads.size() > 200);
        for (const QByteArray& payload : payloads) {
            agree(payload);
            if (QTest::currentTestFailed())
                return;
        }
    }

    void trickyLines_data() {
        QTest::addColumn<QByteArray>("payload");
        const QList<QByteArray> cases = trickyPayloads();
        for (qsizetype i = 0; i < cases.size(); ++i) {
            QByteArray name = cases[i].left(60);
            for (char& c : name)
                c = c >= 0x20 && c < 0x7f ? c : '?';
            QTest::addRow("%lld %s", qint64(i), name.constData()) << cases[i];
        }
        // Nesting around the limits of both readers.
        for (const int depth : {10, 498, 499, 500, 501, 1022, 1023, 1024, 1025}) {
            QTest::addRow("nested %d", depth) << "{\"x\":" + QByteArray(depth, '[') +
                                                     QByteArray(depth, ']') +
                                                     ",\"message\":{\"content\":\"deep\"}}";
        }
    }
    void trickyLines() {
        QFETCH(QByteArray, payload);
        agree(payload);
    }

    // Real lines, damaged at random: bytes changed, dropped, doubled, cut.
    void damagedLines() {
        const QList<QByteArray> payloads = recordedPayloads();
        const QByteArray alphabet = "{}[]:,\"\\u0123456789abcdefE+-.tnrl \t\xc3\xa9\xff";
        QRandomGenerator random(4711);
        for (int round = 0; round < 200000; ++round) {
            QByteArray payload = payloads[random.bounded(int(payloads.size()))];
            const int edits = random.bounded(1, 4);
            for (int e = 0; e < edits && !payload.isEmpty(); ++e) {
                const int at = random.bounded(int(payload.size()));
                switch (random.bounded(4)) {
                case 0:
                    payload[at] = alphabet[random.bounded(int(alphabet.size()))];
                    break;
                case 1:
                    payload.remove(at, 1);
                    break;
                case 2:
                    payload.insert(at, payload.mid(at, random.bounded(1, 8)));
                    break;
                case 3:
                    payload.truncate(at);
                    break;
                }
            }
            agree(payload);
            if (QTest::currentTestFailed())
                return;
        }
    }

    void statuses() {
        QCOMPARE(readReplyFields(R"({"a":1})").status, ReplyFieldsResult::Status::fields);
        QCOMPARE(readReplyFields("[1]").status, ReplyFieldsResult::Status::notAnObject);
        QCOMPARE(readReplyFields("{\"a\":1.}").status, ReplyFieldsResult::Status::unreadable);
    }
};

QTEST_GUILESS_MAIN(ReplyFieldsTest)
#include "tst_replyfields.moc"
