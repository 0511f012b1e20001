#include "llm/ReplyParser.h"

#include "llm/ReplyFields.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextBoundaryFinder>

namespace {

using LLMClient::ReplyFields;
using LLMClient::ReplyFieldsResult;

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

// Only spaces and tabs: a line's own terminator is already gone, and other
// white space inside a server-sent event is data.
QByteArrayView trimBlanks(QByteArrayView text) {
    qsizetype start = 0;
    qsizetype end = text.size();
    while (start < end && isBlank(text[start]))
        ++start;
    while (end > start && isBlank(text[end - 1]))
        --end;
    return text.sliced(start, end - start);
}

// The JSON object on the line, read by the general parser; nothing when the
// line is not one. The line is UTF-8 as it came; invalid sequences read as
// U+FFFD, as when the line is decoded to text first.
std::optional<QJsonObject> objectIn(QByteArrayView payload) {
    QJsonParseError error;
    // No copy of the line: the document copies what it keeps.
    QJsonDocument document =
        QJsonDocument::fromJson(QByteArray::fromRawData(payload.data(), payload.size()), &error);
    if (error.error == QJsonParseError::IllegalUTF8String)
        document = QJsonDocument::fromJson(QString::fromUtf8(payload).toUtf8());
    if (!document.isObject())
        return std::nullopt;
    return document.object();
}

// The server's own error inside a JSON object: "error" as a string, or as an
// object with a string "message".
std::optional<QString> errorIn(const QJsonObject& object) {
    const QJsonValue error = object.value(QLatin1String("error"));
    if (error.isString())
        return error.toString();
    if (error.isObject()) {
        const QJsonValue message = error.toObject().value(QLatin1String("message"));
        if (message.isString())
            return message.toString();
    }
    return std::nullopt;
}

// The first `count` user-perceived characters, so that a cut never splits a
// character made of several code units.
QString firstCharacters(const QString& text, int count) {
    if (text.size() <= count)
        return text;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int seen = 0;
    while (seen < count && finder.toNextBoundary() >= 0)
        ++seen;
    return finder.position() < 0 ? text : text.left(finder.position());
}

} // namespace

namespace LLMClient {

Piece parse(const QString& line, bool ollama) {
    return parse(QByteArrayView(line.toUtf8()), ollama);
}

Piece parse(QByteArrayView line, bool ollama) {
    QByteArrayView payload = trimBlanks(line);
    if (payload.isEmpty())
        return SkipPiece{};
    if (!ollama) {
        // Every other kind of server-sent-event line (comments, "event:",
        // "id:", "retry:") carries nothing we show.
        if (!payload.startsWith("data:"))
            return SkipPiece{};
        payload = trimBlanks(payload.sliced(5));
        if (payload == "[DONE]")
            return DonePiece{};
    }

    // Malformed lines, and JSON that is not an object, are ignored, not
    // reported. The fast reader takes strict JSON; anything else goes to the
    // general parser, which is more forgiving.
    ReplyFieldsResult read = readReplyFields(payload);
    if (read.status == ReplyFieldsResult::Status::notAnObject)
        return SkipPiece{};
    if (read.status == ReplyFieldsResult::Status::unreadable) {
        const std::optional<QJsonObject> object = objectIn(payload);
        if (!object)
            return SkipPiece{};
        read.fields = LLMClient::replyFieldsOf(*object);
    }
    const ReplyFields& fields = read.fields;

    if (fields.error)
        return LLMError::server(*fields.error);
    if (ollama) {
        if (!fields.messageContent.isEmpty())
            return TextPiece{fields.messageContent};
        return fields.done ? Piece(DonePiece{}) : Piece(SkipPiece{});
    }
    if (fields.deltaContent.isEmpty())
        return SkipPiece{};
    return TextPiece{fields.deltaContent};
}

QString errorMessage(const QString& body) {
    const QString trimmed = body.trimmed();
    const QJsonDocument document = QJsonDocument::fromJson(trimmed.toUtf8());
    if (document.isObject()) {
        if (const auto error = errorIn(document.object()))
            return *error;
    }
    return firstCharacters(trimmed, 300);
}

qsizetype characterCount(const QString& text) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() >= 0)
        ++count;
    return count;
}

ReplyFields replyFieldsOf(const QJsonObject& object) {
    ReplyFields fields;
    fields.error = errorIn(object);
    fields.messageContent = object.value(QLatin1String("message"))
                                .toObject()
                                .value(QLatin1String("content"))
                                .toString();
    const QJsonValue done = object.value(QLatin1String("done"));
    fields.done = done.isBool() && done.toBool();
    fields.deltaContent = object.value(QLatin1String("choices"))
                              .toArray()
                              .first()
                              .toObject()
                              .value(QLatin1String("delta"))
                              .toObject()
                              .value(QLatin1String("content"))
                              .toString();
    return fields;
}

} // namespace LLMClient
