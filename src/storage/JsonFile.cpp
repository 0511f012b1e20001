#include "storage/JsonFile.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QSaveFile>

#include <algorithm>
#include <cmath>

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

} // namespace

namespace JsonFile {

QByteArray encode(const QJsonValue& value) {
    QByteArray out;
    appendValue(out, value, 0);
    return out;
}

std::optional<QByteArray> read(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

bool writeAtomically(const QString& path, const QByteArray& bytes) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    if (file.write(bytes) != bytes.size()) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

} // namespace JsonFile
