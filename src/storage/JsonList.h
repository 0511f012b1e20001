#pragma once

#include "storage/JsonFile.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QList>

#include <optional>

// A data file holding one JSON array of records, each record type providing
// `toJson()` and a static `fromJson(QJsonValue) -> std::optional<T>`. Decoding
// is all or nothing: one bad element rejects the whole array.
namespace JsonList {

template <typename T>
std::optional<QList<T>> decode(const QByteArray& bytes) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return std::nullopt;
    QList<T> records;
    const QJsonArray array = document.array();
    records.reserve(array.size());
    for (const QJsonValue& element : array) {
        std::optional<T> record = T::fromJson(element);
        if (!record)
            return std::nullopt;
        records.append(std::move(*record));
    }
    return records;
}

template <typename T>
QByteArray encode(const QList<T>& records) {
    QJsonArray array;
    for (const T& record : records)
        array.append(record.toJson());
    return JsonFile::encode(array);
}

// The file's records, or nothing when it is missing, unreadable, not a
// regular file, too large or invalid.
template <typename T>
std::optional<QList<T>> load(const QString& path) {
    const std::optional<QByteArray> bytes = JsonFile::read(path);
    if (!bytes)
        return std::nullopt;
    return decode<T>(*bytes);
}

// Saves the records as a data file (JsonFile::writeDataFile): atomically,
// creating the folder again when it is gone. Failures are ignored by design
// (the list in memory stays authoritative for this run) but never destroy the
// file; they are reported to the caller.
template <typename T>
bool save(const QString& path, const QList<T>& records) {
    return JsonFile::writeDataFile(path, encode(records));
}

} // namespace JsonList
