#include "platform/linux/X11Clipboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

X11Clipboard::X11Clipboard(XConnection& connection, QObject* parent)
    : QObject(parent)
    , m_clipboard(QGuiApplication::clipboard())
    , m_reader(connection) {
    // Qt learns of other programs' changes through XFixes selection events
    // and of ours at once; both end up here.
    connect(m_clipboard, &QClipboard::changed, this, [this](QClipboard::Mode mode) {
        if (mode == QClipboard::Clipboard)
            ++m_changes;
    });
}

bool X11Clipboard::keepsFormat(const QString& format) {
    static const QStringList left = {
        QStringLiteral("TARGETS"),   QStringLiteral("MULTIPLE"),
        QStringLiteral("TIMESTAMP"), QStringLiteral("SAVE_TARGETS"),
        QStringLiteral("DELETE"),    QStringLiteral("application/x-qt-image"),
    };
    return !format.isEmpty() && !left.contains(format);
}

QCoro::Task<std::optional<ClipboardSnapshot>> X11Clipboard::snapshot() {
    return m_reader.snapshot(m_reader.reader().atom("CLIPBOARD"));
}

void X11Clipboard::restore(const ClipboardSnapshot& snapshot) {
    auto* data = new QMimeData;
    bool any = false;
    // X11 has one item; more (from elsewhere) are merged, the first wins.
    for (const ClipboardSnapshot::Item& item : snapshot.items) {
        for (const auto& [format, bytes] : item) {
            if (data->hasFormat(format))
                continue;
            data->setData(format, bytes);
            any = true;
        }
    }
    if (!any) {
        delete data;
        m_clipboard->clear(QClipboard::Clipboard);
        return;
    }
    m_clipboard->setMimeData(data, QClipboard::Clipboard);
}

void X11Clipboard::setText(const QString& text) {
    m_clipboard->setText(text, QClipboard::Clipboard);
}

QCoro::Task<ClipboardText> X11Clipboard::text() {
    return m_reader.text(m_reader.reader().atom("CLIPBOARD"));
}

QCoro::Task<ClipboardText> X11Clipboard::primaryText() {
    // Some programs keep PRIMARY long after their selection is gone: only
    // the focused program's is what the user sees selected now.
    if (!m_reader.reader().ownedByFocusedProgram(XCB_ATOM_PRIMARY))
        co_return ClipboardText{};
    co_return co_await m_reader.text(XCB_ATOM_PRIMARY);
}
