#pragma once

#include "llm/LLMError.h"
#include "llm/ReplyFields.h"

#include <QByteArrayView>
#include <QJsonObject>
#include <QString>

#include <variant>

// Reading a streamed reply, one line at a time.
namespace LLMClient {

struct TextPiece {
    QString text; // a non-empty fragment of the reply, verbatim
    bool operator==(const TextPiece&) const = default;
};
struct DonePiece {
    bool operator==(const DonePiece&) const = default;
};
struct SkipPiece {
    bool operator==(const SkipPiece&) const = default;
};

// What one line means for the run: a text piece, the end of the reply,
// nothing, or the server's own error (LLMError::server).
using Piece = std::variant<TextPiece, DonePiece, SkipPiece, LLMError>;

// `ollama` selects Ollama's newline-delimited JSON; otherwise the line is
// read as an OpenAI-compatible server-sent event.
Piece parse(const QString& line, bool ollama);
// The same for a line as it came off the wire, in UTF-8: what a run uses,
// sparing a conversion to text and back for every line.
Piece parse(QByteArrayView line, bool ollama);

// The fields the strict reader gives, from an object Qt's JSON parser read:
// what a run uses for the lines the strict reader leaves to the parser.
ReplyFields replyFieldsOf(const QJsonObject& object);

// A readable message from an error reply's body: the JSON "error" string or
// "error.message", else the first 300 characters of the trimmed body.
QString errorMessage(const QString& body);

// Length in user-perceived characters (grapheme clusters), the unit of the
// limits on error texts.
qsizetype characterCount(const QString& text);

} // namespace LLMClient
