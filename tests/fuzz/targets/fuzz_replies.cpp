// Any bytes as the body of a streamed reply, split into lines as a run splits
// them (the same lines however the body is cut into pieces), each line read
// both as Ollama's JSON lines and as server-sent events.
// Besides not crashing, the strict single-pass reader must agree with Qt's
// JSON parser on every line it claims to read: the two are meant to be
// interchangeable, the fast one only refusing what it cannot read.
#include "llm/LineSplitter.h"
#include "llm/ReplyFields.h"
#include "llm/ReplyParser.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdint>
#include <cstdlib>

namespace {

using LLMClient::ReplyFields;
using LLMClient::ReplyFieldsResult;

void compareWithQt(QByteArrayView json) {
    const ReplyFieldsResult fast = LLMClient::readReplyFields(json);
    if (fast.status == ReplyFieldsResult::Status::unreadable)
        return;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json.toByteArray(), &error);
    // Qt takes only an object or an array as a whole document, so a lone
    // number or string is no error here.
    if (fast.status == ReplyFieldsResult::Status::notAnObject) {
        if (document.isObject())
            std::abort();
        return;
    }
    if (error.error != QJsonParseError::NoError || !document.isObject())
        std::abort(); // read as a strict JSON object, yet Qt reads no object
    const ReplyFields qt = LLMClient::replyFieldsOf(document.object());
    if (fast.fields.error != qt.error || fast.fields.messageContent != qt.messageContent ||
        fast.fields.done != qt.done || fast.fields.deltaContent != qt.deltaContent)
        std::abort();
}

void checkLine(QByteArrayView line) {
    compareWithQt(line);
    if (line.startsWith("data:"))
        compareWithQt(line.sliced(5));
    for (const bool ollama : {true, false}) {
        const LLMClient::Piece piece = LLMClient::parse(line, ollama);
        if (const auto* text = std::get_if<LLMClient::TextPiece>(&piece);
            text && text->text.isEmpty())
            std::abort(); // a text piece is never empty
    }
}

// The lines of `body` as the splitter hands them out when the body arrives
// in pieces cut at `cuts`, the unterminated rest last.
QList<QByteArray> linesOf(QByteArrayView body, const QList<qsizetype>& cuts) {
    QList<QByteArray> lines;
    LineSplitter splitter;
    qsizetype start = 0;
    for (qsizetype cut : cuts) {
        splitter.feed(body.sliced(start, cut - start), [&](QByteArrayView line) {
            lines.append(line.toByteArray());
            return true;
        });
        start = cut;
    }
    splitter.feed(body.sliced(start), [&](QByteArrayView line) {
        lines.append(line.toByteArray());
        return true;
    });
    lines.append(splitter.takeRest());
    return lines;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArrayView body(reinterpret_cast<const char*>(data), qsizetype(size));
    const QList<QByteArray> lines = linesOf(body, {});
    for (const QByteArray& line : lines)
        checkLine(line);
    // However the network cuts the body, the lines are the same: cut it at
    // every CR (the start of a CR LF), and in the middle.
    QList<qsizetype> cuts;
    for (qsizetype i = 1; i < body.size(); ++i) {
        if (body[i - 1] == '\r' || i == body.size() / 2)
            cuts.append(i);
    }
    if (linesOf(body, cuts) != lines)
        std::abort();
    LLMClient::errorMessage(QString::fromUtf8(body));
    return 0;
}
