#include "storage/JsonFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QSaveFile>

#include <algorithm>
#include <cerrno>
#include <cmath>

#include <unistd.h>

namespace {

void appendString(QByteArray& out, const QString& text) {
    out += '"';
    qsizetype plainStart = 0; // start of the run of characters written as they are
    auto flush = [&](qsizetype end) {
        out += QStringView(text).mid(plainStart, end - plainStart).toUtf8();
        plainStart = end + 1;
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t u = text.at(i).unicode();
        const char* escape = nullptr;
        switch (u) {
        case u'"':
            escape = "\\\"";
            break;
        case u'\\':
            escape = "\\\\";
            break;
        case u'/':
            escape = "\\/";
            break;
        case u'\n':
            escape = "\\n";
            break;
        case u'\r':
            escape = "\\r";
            break;
        case u'\t':
            escape = "\\t";
            break;
        case u'\b':
            escape = "\\b";
            break;
        case u'\f':
            escape = "\\f";
            break;
        default:
            break;
        }
        if (escape) {
            flush(i);
            out += escape;
        } else if (QChar::isSurrogate(u)) {
            // A pair is one character, written as UTF-8; a lone half has no
            // UTF-8 form and is kept as an escape, so it reads back unchanged.
            if (QChar::isHighSurrogate(u) && i + 1 < text.size() &&
                text.at(i + 1).isLowSurrogate()) {
                ++i;
                continue;
            }
            flush(i);
            out += "\\u" + QByteArray::number(u, 16);
        } else if (u < 0x20) {
            flush(i);
            out += "\\u00";
            out += QByteArray::number(u >> 4, 16) + QByteArray::number(u & 0xF, 16);
        }
    }
    flush(text.size());
    out += '"';
}

void appendNumber(QByteArray& out, double value) {
    if (std::isfinite(value) && value == std::floor(value) && std::abs(value) < 1e15)
        out += QByteArray::number(static_cast<qint64>(value));
    else
        out += QByteArray::number(value, 'g', 17);
}

void appendValue(QByteArray& out, const QJsonValue& value, int depth);

void indent(QByteArray& out, int depth) {
    out += QByteArray(depth * 2, ' ');
}

void appendArray(QByteArray& out, const QJsonArray& array, int depth) {
    if (array.isEmpty()) {
        out += "[]";
        return;
    }
    out += "[\n";
    for (qsizetype i = 0; i < array.size(); ++i) {
        indent(out, depth + 1);
        appendValue(out, array.at(i), depth + 1);
        out += i + 1 < array.size() ? ",\n" : "\n";
    }
    indent(out, depth);
    out += ']';
}

void appendObject(QByteArray& out, const QJsonObject& object, int depth) {
    if (object.isEmpty()) {
        out += "{}";
        return;
    }
    QStringList keys = object.keys();
    std::sort(keys.begin(), keys.end());
    out += "{\n";
    for (qsizetype i = 0; i < keys.size(); ++i) {
        indent(out, depth + 1);
        appendString(out, keys.at(i));
        out += " : ";
        appendValue(out, object.value(keys.at(i)), depth + 1);
        out += i + 1 < keys.size() ? ",\n" : "\n";
    }
    indent(out, depth);
    out += '}';
}

void appendValue(QByteArray& out, const QJsonValue& value, int depth) {
    switch (value.type()) {
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        out += "null";
        break;
    case QJsonValue::Bool:
        out += value.toBool() ? "true" : "false";
        break;
    case QJsonValue::Double:
        appendNumber(out, value.toDouble());
        break;
    case QJsonValue::String:
        appendString(out, value.toString());
        break;
    case QJsonValue::Array:
        appendArray(out, value.toArray(), depth);
        break;
    case QJsonValue::Object:
        appendObject(out, value.toObject(), depth);
        break;
    }
}

// Flushes the file's data to the disk. A file system that cannot sync at
// all is no failure; one that reports an error (no space, I/O) is.
bool syncToDisk(int handle) {
    int result;
    do
        result = ::fsync(handle);
    while (result != 0 && errno == EINTR);
    return result == 0 || errno == EINVAL || errno == ENOTSUP || errno == EOPNOTSUPP ||
           errno == ENOSYS;
}

} // namespace

namespace JsonFile {

QByteArray encode(const QJsonValue& value) {
    QByteArray out;
    appendValue(out, value, 0);
    return out;
}

std::optional<QByteArray> read(const QString& path) {
    // Looked at before opening: opening a FIFO for reading blocks until some
    // program opens it for writing.
    const QFileInfo info(path);
    if (!info.isFile() || info.size() > maxReadSize)
        return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.isSequential())
        return std::nullopt;
    // Read in pieces up to the limit rather than trusting the size: a file
    // can grow while it is read, and some (under /proc) say they are empty.
    QByteArray bytes;
    bytes.reserve(info.size());
    QByteArray piece(64 * 1024, Qt::Uninitialized);
    for (;;) {
        const qint64 count = file.read(piece.data(), piece.size());
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            return bytes;
        if (bytes.size() + count > maxReadSize)
            return std::nullopt;
        bytes.append(piece.constData(), count);
    }
}

bool writeAtomically(const QString& path, const QByteArray& bytes, QString* error) {
    auto fail = [error](const QString& reason) {
        if (error)
            *error = reason;
        return false;
    };
    // QSaveFile writes through symbolic links: never through one to a device
    // or a FIFO, nor onto one, where the rename would replace it.
    const QFileInfo target(path);
    if (target.exists() && !target.isFile())
        return fail(QStringLiteral("not a regular file"));

    QSaveFile file(path);
    // Unbuffered, so that a full disk fails the write itself: QSaveFile's
    // commit() renames the temporary file even when flushing a buffered tail
    // failed, which replaced a good file with an empty one.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return fail(file.errorString());
    auto cancel = [&file, &fail](const QString& reason) {
        file.cancelWriting();
        return fail(reason);
    };
    if (file.write(bytes) != bytes.size())
        return cancel(file.errorString());
    if (!file.flush())
        return cancel(file.errorString());
    // commit() syncs as well but ignores the result; a file system that
    // allocates space late (or a network one) reports a full disk only here.
    if (!syncToDisk(file.handle()))
        return cancel(qt_error_string(errno));
    if (!file.commit())
        return fail(file.errorString());
    return true;
}

bool writeDataFile(const QString& path, const QByteArray& bytes) {
    const QFileInfo entry(path);
    QDir().mkpath(entry.absolutePath());
    // The reader treated such an entry as missing; this save replaces it.
    // QFile::remove takes a link itself, never what it points to.
    if ((entry.isSymLink() || entry.exists()) && !entry.isFile() && !entry.isDir())
        QFile::remove(path);
    return writeAtomically(path, bytes);
}

} // namespace JsonFile
