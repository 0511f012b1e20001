#pragma once

#include "platform/Clipboard.h"
#include "platform/linux/X11ClipboardReader.h"

#include <QObject>
#include <QPointer>

class PasteMimeData;
class QClipboard;
class XConnection;

// The CLIPBOARD selection: written through Qt's own X11 clipboard, read on our
// own connection (X11ClipboardReader), which never blocks. Formats are named
// as Qt names a target: by its atom's name, except that UTF8_STRING, STRING, TEXT and a bare
// "text/plain" are one format to it, "text/plain", read as UTF-8 and served
// again under all four names. So a snapshot restores every target with the
// same bytes, but for those four, which carry the same text in UTF-8 (where
// a toolkit served, say, an ASCII-escaped "text/plain", that comes back as
// UTF-8). Left out of a snapshot: the meta targets and the image that Qt
// synthesises from any image target.
class X11Clipboard : public QObject, public Clipboard {
    Q_OBJECT
public:
    explicit X11Clipboard(XConnection& connection, QObject* parent = nullptr);

    QCoro::Task<std::optional<ClipboardSnapshot>> snapshot() override;
    void restore(const ClipboardSnapshot& snapshot) override;
    void setText(const QString& text) override;
    void setTextForPaste(const QString& text) override;
    QCoro::Task<bool> pasteFetched(std::chrono::milliseconds limit) override;
    QCoro::Task<ClipboardText> text() override;
    QCoro::Task<ClipboardText> primaryText() override;
    quint64 changeCount() override { return m_changes; }
    QCoro::Task<> keepAfterQuit() override;

    // Whether a snapshot keeps this format.
    static bool keepsFormat(const QString& format);

    X11ClipboardReader& reader() { return m_reader; }

private:
    QClipboard* m_clipboard;
    X11ClipboardReader m_reader;
    quint64 m_changes = 0;
    // The content of the last setTextForPaste while the clipboard holds it
    // (Qt deletes it when it is replaced).
    QPointer<PasteMimeData> m_paste;
};
