#include "llm/ReplyParser.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextBoundaryFinder>

namespace {

bool isBlank(QChar c) {
    return c == u' ' || c == u'\t';
}

// Only spaces and tabs: a line's own terminator is already gone, and other
// white space inside a server-sent event is data.
QStringView trimBlanks(QStringView text) {
    qsizetype start = 0;
    qsizetype end = text.size();
    while (start < end && isBlank(text[start]))
        ++start;
    while (end > start && isBlank(text[end - 1]))
        --end;
    return text.mid(start, end - start);
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
    QStringView payload = trimBlanks(line);
    if (payload.isEmpty())
        return SkipPiece{};
    if (!ollama) {
        // Every other kind of server-sent-event line (comments, "event:",
        // "id:", "retry:") carries nothing we show.
        if (!payload.startsWith(QLatin1String("data:")))
            return SkipPiece{};
        payload = trimBlanks(payload.mid(5));
        if (payload == QLatin1String("[DONE]"))
            return DonePiece{};
    }

    const QJsonDocument document = QJsonDocument::fromJson(payload.toUtf8());
    if (!document.isObject())
        return SkipPiece{}; // malformed lines are ignored, not reported
    const QJsonObject object = document.object();
    if (const auto error = errorIn(object))
        return LLMError::server(*error);

    if (ollama) {
        const QString content = object.value(QLatin1String("message"))
                                    .toObject()
                                    .value(QLatin1String("content"))
                                    .toString();
        if (!content.isEmpty())
            return TextPiece{content};
        const QJsonValue done = object.value(QLatin1String("done"));
        if (done.isBool() && done.toBool())
            return DonePiece{};
        return SkipPiece{};
    }

    const QJsonArray choices = object.value(QLatin1String("choices")).toArray();
    if (choices.isEmpty())
        return SkipPiece{};
    const QString content = choices.first()
                                .toObject()
                                .value(QLatin1String("delta"))
                                .toObject()
                                .value(QLatin1String("content"))
                                .toString();
    if (content.isEmpty())
        return SkipPiece{};
    return TextPiece{content};
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

} // namespace LLMClient
