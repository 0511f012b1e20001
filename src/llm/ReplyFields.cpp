#include "llm/ReplyFields.h"

namespace {

using LLMClient::ReplyFields;

constexpr int depthLimit = 500;

// A strict, single-pass JSON reader over a byte range. Every read function
// returns false as soon as the text breaks the grammar; the reader is then
// useless, and the caller gives up.
class Reader {
public:
    Reader(const char* begin, const char* end)
        : m_p(begin)
        , m_end(end) {}

    void skipSpace() {
        while (m_p < m_end && (*m_p == ' ' || *m_p == '\t' || *m_p == '\n' || *m_p == '\r'))
            ++m_p;
    }
    bool atEnd() const { return m_p == m_end; }
    char peek() const { return m_p < m_end ? *m_p : '\0'; }
    bool consume(char c) {
        if (m_p < m_end && *m_p == c) {
            ++m_p;
            return true;
        }
        return false;
    }

    // A string at the reader, decoded into `out` when it is not null.
    bool string(QString* out) {
        if (!consume('"'))
            return false;
        if (out)
            out->clear();
        const char* run = m_p; // the start of bytes to copy as they are
        while (m_p < m_end) {
            const auto c = static_cast<unsigned char>(*m_p);
            if (c == '"') {
                if (out)
                    out->append(QString::fromUtf8(run, m_p - run));
                ++m_p;
                return true;
            }
            if (c < 0x20)
                return false;
            if (c == '\\') {
                if (out)
                    out->append(QString::fromUtf8(run, m_p - run));
                ++m_p;
                if (!escape(out))
                    return false;
                run = m_p;
                continue;
            }
            if (c >= 0x80) {
                if (!utf8Sequence())
                    return false;
                continue;
            }
            ++m_p;
        }
        return false;
    }

    // A key and its colon; `name` gets the key. Keys are compared without
    // decoding when they hold no escape, which is almost always.
    bool key(QByteArrayView& raw, QString& decoded, bool& escaped) {
        const char* start = m_p + 1;
        const char* quote = start;
        while (quote < m_end && *quote != '"' && *quote != '\\' &&
               static_cast<unsigned char>(*quote) >= 0x20 &&
               static_cast<unsigned char>(*quote) < 0x80)
            ++quote;
        if (quote < m_end && *quote == '"' && peek() == '"') {
            raw = QByteArrayView(start, quote - start);
            escaped = false;
            m_p = quote + 1;
        } else {
            escaped = true;
            if (!string(&decoded))
                return false;
        }
        skipSpace();
        if (!consume(':'))
            return false;
        skipSpace();
        return true;
    }

    // Any value, read and thrown away.
    bool skipValue(int depth) {
        if (depth >= depthLimit)
            return false;
        switch (peek()) {
        case '"':
            return string(nullptr);
        case '{':
            return object(depth, [&](const Key&) { return skipValue(depth + 1); });
        case '[':
            return array(depth, [&](int) { return skipValue(depth + 1); });
        case 't':
            return literal("true");
        case 'f':
            return literal("false");
        case 'n':
            return literal("null");
        default:
            return number();
        }
    }

    struct Key {
        QByteArrayView raw;
        QString decoded;
        bool escaped = false;
        bool is(QByteArrayView name) const {
            return escaped ? decoded == QLatin1StringView(name.data(), name.size()) : raw == name;
        }
    };

    // An object; `member(key)` reads each member's value.
    template <typename Member>
    bool object(int depth, Member&& member) {
        if (depth >= depthLimit || !consume('{'))
            return false;
        skipSpace();
        if (consume('}'))
            return true;
        Key k;
        for (;;) {
            if (peek() != '"' || !key(k.raw, k.decoded, k.escaped))
                return false;
            if (!member(k))
                return false;
            skipSpace();
            if (consume('}'))
                return true;
            if (!consume(','))
                return false;
            skipSpace();
        }
    }

    // An array; `element(index)` reads each element.
    template <typename Element>
    bool array(int depth, Element&& element) {
        if (depth >= depthLimit || !consume('['))
            return false;
        skipSpace();
        if (consume(']'))
            return true;
        for (int index = 0;; ++index) {
            if (!element(index))
                return false;
            skipSpace();
            if (consume(']'))
                return true;
            if (!consume(','))
                return false;
            skipSpace();
        }
    }

    // A string into `out`, or any other value (out stays empty); false only
    // on broken JSON.
    bool stringOrSkip(QString& out, int depth) {
        out.clear();
        if (peek() == '"')
            return string(&out);
        return skipValue(depth);
    }

    bool literal(const char* word) {
        for (const char* w = word; *w; ++w) {
            if (!consume(*w))
                return false;
        }
        return true;
    }

private:
    // Whole numbers of up to 15 digits only, which a double always holds.
    // Fractions, exponents and longer numbers make the line unreadable here:
    // the general parser knows where a double overflows and underflows.
    bool number() {
        consume('-');
        const char* start = m_p;
        if (consume('0')) {
            // no more digits after a leading zero
        } else if (!digits()) {
            return false;
        }
        if (m_p - start > 15)
            return false;
        return m_p >= m_end || (*m_p != '.' && *m_p != 'e' && *m_p != 'E');
    }

    bool digits() {
        const char* start = m_p;
        while (m_p < m_end && *m_p >= '0' && *m_p <= '9')
            ++m_p;
        return m_p > start;
    }

    static int hexValue(char c) {
        if (c >= '0' && c <= '9')
            return c - '0';
        if (c >= 'a' && c <= 'f')
            return c - 'a' + 10;
        if (c >= 'A' && c <= 'F')
            return c - 'A' + 10;
        return -1;
    }

    bool escape(QString* out) {
        if (m_p >= m_end)
            return false;
        const char c = *m_p++;
        char16_t decoded;
        switch (c) {
        case '"':
            decoded = u'"';
            break;
        case '\\':
            decoded = u'\\';
            break;
        case '/':
            decoded = u'/';
            break;
        case 'b':
            decoded = u'\b';
            break;
        case 'f':
            decoded = u'\f';
            break;
        case 'n':
            decoded = u'\n';
            break;
        case 'r':
            decoded = u'\r';
            break;
        case 't':
            decoded = u'\t';
            break;
        case 'u': {
            if (m_end - m_p < 4)
                return false;
            int value = 0;
            for (int i = 0; i < 4; ++i) {
                const int digit = hexValue(m_p[i]);
                if (digit < 0)
                    return false;
                value = value * 16 + digit;
            }
            m_p += 4;
            // Surrogates are kept one code unit at a time: a pair becomes
            // its character, a lone half stays as it is.
            decoded = char16_t(value);
            break;
        }
        default:
            return false;
        }
        if (out)
            out->append(QChar(decoded));
        return true;
    }

    // One well-formed UTF-8 sequence of two to four bytes.
    bool utf8Sequence() {
        const auto b0 = static_cast<unsigned char>(*m_p);
        int length;
        unsigned char low = 0x80;
        unsigned char high = 0xBF;
        if (b0 >= 0xC2 && b0 <= 0xDF) {
            length = 2;
        } else if (b0 >= 0xE0 && b0 <= 0xEF) {
            length = 3;
            if (b0 == 0xE0)
                low = 0xA0; // no overlong forms
            else if (b0 == 0xED)
                high = 0x9F; // no surrogates
        } else if (b0 >= 0xF0 && b0 <= 0xF4) {
            length = 4;
            if (b0 == 0xF0)
                low = 0x90;
            else if (b0 == 0xF4)
                high = 0x8F; // nothing above U+10FFFF
        } else {
            return false;
        }
        if (m_end - m_p < length)
            return false;
        for (int i = 1; i < length; ++i) {
            const auto b = static_cast<unsigned char>(m_p[i]);
            if (b < (i == 1 ? low : 0x80) || b > (i == 1 ? high : 0xBF))
                return false;
        }
        m_p += length;
        return true;
    }

    const char* m_p;
    const char* m_end;
};

} // namespace

namespace LLMClient {

ReplyFieldsResult readReplyFields(QByteArrayView json) {
    Reader reader(json.data(), json.data() + json.size());
    ReplyFields fields;
    reader.skipSpace();
    const auto unreadable = [] {
        return ReplyFieldsResult{ReplyFieldsResult::Status::unreadable, {}};
    };
    if (reader.peek() != '{') {
        if (!reader.skipValue(0))
            return unreadable();
        reader.skipSpace();
        return reader.atEnd() ? ReplyFieldsResult{ReplyFieldsResult::Status::notAnObject, {}}
                              : unreadable();
    }

    QString text;
    const bool read = reader.object(0, [&](const Reader::Key& key) {
        if (key.is("error")) {
            fields.error.reset();
            if (reader.peek() == '"') {
                if (!reader.string(&text))
                    return false;
                fields.error = text;
                return true;
            }
            if (reader.peek() != '{')
                return reader.skipValue(1);
            return reader.object(1, [&](const Reader::Key& inner) {
                if (!inner.is("message"))
                    return reader.skipValue(2);
                fields.error.reset();
                if (reader.peek() != '"')
                    return reader.skipValue(2);
                if (!reader.string(&text))
                    return false;
                fields.error = text;
                return true;
            });
        }
        if (key.is("message")) {
            fields.messageContent.clear();
            if (reader.peek() != '{')
                return reader.skipValue(1);
            return reader.object(1, [&](const Reader::Key& inner) {
                if (!inner.is("content"))
                    return reader.skipValue(2);
                return reader.stringOrSkip(fields.messageContent, 2);
            });
        }
        if (key.is("done")) {
            fields.done = reader.peek() == 't';
            return reader.skipValue(1);
        }
        if (key.is("choices")) {
            fields.deltaContent.clear();
            if (reader.peek() != '[')
                return reader.skipValue(1);
            return reader.array(1, [&](int index) {
                if (index > 0 || reader.peek() != '{')
                    return reader.skipValue(2);
                return reader.object(2, [&](const Reader::Key& choice) {
                    if (!choice.is("delta"))
                        return reader.skipValue(3);
                    fields.deltaContent.clear();
                    if (reader.peek() != '{')
                        return reader.skipValue(3);
                    return reader.object(3, [&](const Reader::Key& delta) {
                        if (!delta.is("content"))
                            return reader.skipValue(4);
                        return reader.stringOrSkip(fields.deltaContent, 4);
                    });
                });
            });
        }
        return reader.skipValue(1);
    });
    if (!read)
        return unreadable();
    reader.skipSpace();
    if (!reader.atEnd())
        return unreadable();
    return {ReplyFieldsResult::Status::fields, std::move(fields)};
}

} // namespace LLMClient
