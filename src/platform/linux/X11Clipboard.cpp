#include "platform/linux/X11Clipboard.h"

#include "platform/linux/PasteMimeData.h"
#include "platform/linux/X11ClipboardKeeper.h"

#include <QClipboard>
#include <QCoroTimer>
#include <QGuiApplication>
#include <QMimeData>
#include <QTimer>

using namespace std::chrono_literals;

namespace {
// How long a quitting Wendle waits for its keeper to take the clipboard
// over: the keeper is a Qt program that has to start and read everything.
constexpr auto keeperTakeOverLimit = 5s;
// Beyond the paste's own limit, for the restore that follows it.
constexpr auto pasteRestoreMargin = 1s;
} // namespace

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

void X11Clipboard::setTextForPaste(const QString& text) {
    auto* data = new PasteMimeData(text);
    m_clipboard->setMimeData(data, QClipboard::Clipboard);
    m_paste = data;
}

QCoro::Task<bool> X11Clipboard::pasteFetched(std::chrono::milliseconds limit) {
    const QPointer<PasteMimeData> paste = m_paste;
    if (!paste)
        co_return false;
    // Ends at the first fetch, when the paste content leaves the clipboard
    // (Qt deletes it when another program takes the clipboard), or at the
    // limit, whichever comes first.
    bool fetched = false;
    QTimer end;
    end.setSingleShot(true);
    connect(paste, &PasteMimeData::textFetched, &end, [&] {
        fetched = true;
        end.start(0);
    });
    connect(paste, &QObject::destroyed, &end, [&] { end.start(0); });
    end.start(limit);
    co_await &end;
    co_return fetched;
}

QCoro::Task<> X11Clipboard::keepAfterQuit() {
    // A paste under way: its sequence puts the user's content back soon,
    // and that, not the text for the paste, is what has to outlive us.
    if (const QPointer<PasteMimeData> paste = m_paste) {
        QTimer end;
        end.setSingleShot(true);
        connect(paste, &QObject::destroyed, &end, [&] { end.start(0); });
        end.start(pasteFetchLimit + pasteRestoreMargin);
        co_await &end;
    }
    // Someone else's content needs nothing from us; a clipboard manager gets
    // ours from Qt at exit.
    if (!m_clipboard->ownsClipboard() || X11ClipboardKeeper::managerRuns())
        co_return;
    if (!X11ClipboardKeeper::start())
        co_return;
    // The keeper reads everything from this process (which has to keep
    // answering meanwhile), then takes the clipboard.
    QTimer end;
    end.setSingleShot(true);
    connect(m_clipboard, &QClipboard::changed, &end, [&](QClipboard::Mode mode) {
        if (mode == QClipboard::Clipboard && !m_clipboard->ownsClipboard())
            end.start(0);
    });
    end.start(keeperTakeOverLimit);
    co_await &end;
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
