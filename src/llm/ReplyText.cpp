#include "llm/ReplyText.h"

#include "llm/StreamingCleaner.h"

namespace ReplyText {

QString cleaned(const QString& raw) {
    // One pass over the text, however many blocks it holds.
    StreamingCleaner cleaner;
    QString text = cleaner.feed(raw);
    text += cleaner.finish();
    return text;
}

} // namespace ReplyText
