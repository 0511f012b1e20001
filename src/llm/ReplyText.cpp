#include "llm/ReplyText.h"

namespace ReplyText {

QString cleaned(const QString& raw) {
    QString text = raw;
    qsizetype from = 0;
    for (qsizetype open = text.indexOf(openTag); open >= 0; open = text.indexOf(openTag, from)) {
        const qsizetype close = text.indexOf(closeTag, open + openTag.size());
        const qsizetype end = close < 0 ? text.size() : close + closeTag.size();
        text.remove(open, end - open);
        // Removing a block can join the text on either side into a new
        // opening tag, which must go too. No tag starts earlier than this:
        // `open` was the first one.
        from = std::max<qsizetype>(0, open - (openTag.size() - 1));
    }
    return text.trimmed();
}

} // namespace ReplyText
