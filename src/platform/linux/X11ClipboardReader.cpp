#include "platform/linux/X11ClipboardReader.h"

#include "platform/ClipboardMarkers.h"
#include "platform/linux/X11Clipboard.h"

using Status = X11SelectionReader::Answer::Status;

namespace {

// Plain-text targets, best first, and how each is decoded.
struct TextTarget {
    const char* name;
    bool utf8;
};
constexpr TextTarget textTargets[] = {
    {"UTF8_STRING", true}, {"text/plain;charset=utf-8", true}, {"STRING", false}, {"TEXT", false},
    {"text/plain", true},
};

// The names Qt folds into its one "text/plain" format.
bool isQtPlainText(const QByteArray& name) {
    return name == "UTF8_STRING" || name == "STRING" || name == "TEXT" || name == "text/plain";
}

// Targets whose data names X resources rather than carrying content.
bool isResource(const QByteArray& name) {
    return name == "PIXMAP" || name == "BITMAP" || name == "DRAWABLE" || name == "WINDOW" ||
           name == "COLORMAP" || name == "INCR";
}

QString decode(const QByteArray& bytes, bool utf8) {
    QByteArray data = bytes;
    // Some owners count a C string's terminator.
    while (data.endsWith('\0'))
        data.chop(1);
    return utf8 ? QString::fromUtf8(data) : QString::fromLatin1(data);
}

} // namespace

X11ClipboardReader::X11ClipboardReader(XConnection& connection)
    : m_reader(connection) {}

QCoro::Task<X11ClipboardReader::Text> X11ClipboardReader::readText(xcb_atom_t selection,
                                                                   QList<xcb_atom_t> offered) {
    for (const TextTarget& target : textTargets) {
        const xcb_atom_t atom = m_reader.atom(target.name);
        if (!offered.isEmpty() && !offered.contains(atom))
            continue;
        const X11SelectionReader::Answer answer = co_await m_reader.read(selection, atom);
        if (answer.status == Status::noAnswer)
            co_return Text{Status::noAnswer, {}};
        if (answer.status != Status::data)
            continue;
        // TEXT may come back as UTF8_STRING.
        const bool utf8 = target.utf8 || answer.type == m_reader.atom("UTF8_STRING");
        co_return Text{Status::data, decode(answer.bytes, utf8)};
    }
    co_return Text{Status::refused, {}};
}

QCoro::Task<std::optional<bool>> X11ClipboardReader::isSecret(xcb_atom_t selection,
                                                              QList<xcb_atom_t> offered) {
    for (const ClipboardMarkers::Marker& marker : ClipboardMarkers::secretMarkers()) {
        const xcb_atom_t atom = m_reader.atom(marker.format.toLatin1().constData());
        if (!offered.contains(atom))
            continue;
        if (marker.value.isEmpty())
            co_return true;
        const X11SelectionReader::Answer answer = co_await m_reader.read(selection, atom);
        if (answer.status == Status::noAnswer)
            co_return std::nullopt;
        if (answer.status == Status::data && answer.bytes.trimmed() == marker.value)
            co_return true;
    }
    co_return false;
}

QCoro::Task<ClipboardText> X11ClipboardReader::text(xcb_atom_t selection) {
    const std::optional<QList<xcb_atom_t>> offered = co_await m_reader.targets(selection);
    if (!offered)
        co_return ClipboardText{ClipboardText::Status::noAnswer, {}};
    const std::optional<bool> secret = co_await isSecret(selection, *offered);
    if (!secret)
        co_return ClipboardText{ClipboardText::Status::noAnswer, {}};
    if (*secret)
        co_return ClipboardText{ClipboardText::Status::secret, {}};
    const Text read = co_await readText(selection, *offered);
    if (read.status == Status::noAnswer)
        co_return ClipboardText{ClipboardText::Status::noAnswer, {}};
    co_return ClipboardText{ClipboardText::Status::read, read.text};
}

QCoro::Task<std::optional<ClipboardSnapshot>> X11ClipboardReader::snapshot(xcb_atom_t selection) {
    const std::optional<QList<xcb_atom_t>> offered = co_await m_reader.targets(selection);
    if (!offered)
        co_return std::nullopt;
    if (offered->isEmpty())
        co_return ClipboardSnapshot{};
    ClipboardSnapshot::Item item;
    bool textTaken = false;
    for (const xcb_atom_t target : *offered) {
        const QByteArray name = m_reader.atomName(target);
        if (isResource(name) || !X11Clipboard::keepsFormat(QString::fromLatin1(name)))
            continue;
        if (isQtPlainText(name)) {
            if (textTaken)
                continue;
            textTaken = true;
            const Text read = co_await readText(selection, *offered);
            if (read.status == Status::noAnswer)
                co_return std::nullopt;
            if (read.status == Status::data)
                item.append({QStringLiteral("text/plain"), read.text.toUtf8()});
            continue;
        }
        const X11SelectionReader::Answer answer = co_await m_reader.read(selection, target);
        if (answer.status == Status::noAnswer)
            co_return std::nullopt;
        if (answer.status == Status::data)
            item.append({QString::fromLatin1(name), answer.bytes});
    }
    co_return ClipboardSnapshot{{item}};
}
