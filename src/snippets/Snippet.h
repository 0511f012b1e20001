#pragma once

#include <QJsonObject>
#include <QString>
#include <QUuid>

#include <optional>

// An abbreviation the user types anywhere (";sig") and the text that
// replaces it.
struct Snippet {
    QUuid id;
    QString abbreviation;
    QString expansion; // may span several lines

    bool operator==(const Snippet&) const = default;

    QJsonObject toJson() const;
    // "abbreviation" and "expansion" are required strings. A missing or
    // malformed "id" is replaced by a new one, so hand-written lists import.
    static std::optional<Snippet> fromJson(const QJsonValue& json);
};
