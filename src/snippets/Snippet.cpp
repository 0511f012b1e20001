#include "snippets/Snippet.h"

#include "storage/UuidText.h"

QJsonObject Snippet::toJson() const {
    return QJsonObject{
        {QStringLiteral("id"), UuidText::format(id)},
        {QStringLiteral("abbreviation"), abbreviation},
        {QStringLiteral("expansion"), expansion},
    };
}

std::optional<Snippet> Snippet::fromJson(const QJsonValue& json) {
    if (!json.isObject())
        return std::nullopt;
    const QJsonObject object = json.toObject();
    const QJsonValue abbreviation = object.value(QStringLiteral("abbreviation"));
    const QJsonValue expansion = object.value(QStringLiteral("expansion"));
    if (!abbreviation.isString() || !expansion.isString())
        return std::nullopt;
    const auto id = UuidText::parse(object.value(QStringLiteral("id")).toString());
    return Snippet{id.value_or(QUuid::createUuid()), abbreviation.toString(), expansion.toString()};
}
