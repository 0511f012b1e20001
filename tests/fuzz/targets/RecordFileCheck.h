#pragma once

#include "storage/JsonList.h"

#include <QByteArray>

#include <cstdint>
#include <cstdlib>

// What a data file reader must do with any bytes at all: decode them or
// refuse them, without crashing; and a list it decodes must come back
// unchanged through the file layout Wendle writes, byte for byte the second
// time. Anything else aborts, which libFuzzer reports as a crash.
template <typename Record>
void checkRecordFile(const uint8_t* data, size_t size) {
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    const std::optional<QList<Record>> records = JsonList::decode<Record>(bytes);
    if (!records)
        return;
    const QByteArray written = JsonList::encode(*records);
    const std::optional<QList<Record>> reread = JsonList::decode<Record>(written);
    if (!reread || *reread != *records)
        std::abort();
    if (JsonList::encode(*reread) != written)
        std::abort();
}
