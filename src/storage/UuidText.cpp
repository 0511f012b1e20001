#include "storage/UuidText.h"

#include <cctype>

namespace UuidText {

QString format(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces).toUpper();
}

std::optional<QUuid> parse(const QString& text) {
    // QUuid::fromString would also take braces; the files never have them.
    if (text.size() != 36)
        return std::nullopt;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        if (dash ? c != u'-' : !isxdigit(c.toLatin1()))
            return std::nullopt;
    }
    const QUuid id = QUuid::fromString(text);
    if (id.isNull() && text != QStringLiteral("00000000-0000-0000-0000-000000000000"))
        return std::nullopt;
    return id;
}

} // namespace UuidText
