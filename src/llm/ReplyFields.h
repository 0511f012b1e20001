#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

namespace LLMClient {

// What a reply line's JSON object says, as far as a run cares. For a key
// that appears twice, the last one counts, as with any JSON object.
struct ReplyFields {
    // "error" when it is a string, or its "message" when "error" is an
    // object whose "message" is a string.
    std::optional<QString> error;
    // Ollama: "message"."content", when both have those types; else empty.
    QString messageContent;
    // Ollama: "done" is the boolean true.
    bool done = false;
    // OpenAI-compatible: "choices"[0]."delta"."content", when all of them
    // have those types; else empty.
    QString deltaContent;
};

// Reads the fields straight from the bytes of a JSON document, without
// building it in memory: many times faster than a JSON document, for the
// thousands of lines of a reply. It reads strict JSON only (RFC 8259, nested
// less than 500 deep): `unreadable` says when the text is not that, and the
// caller then asks a general JSON parser. `notAnObject` says when the text is
// strict JSON but not an object.
struct ReplyFieldsResult {
    enum class Status { fields, notAnObject, unreadable } status;
    ReplyFields fields;
};
ReplyFieldsResult readReplyFields(QByteArrayView json);

} // namespace LLMClient
