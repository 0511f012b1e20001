#pragma once

#include "platform/Clipboard.h"

#include <QObject>

class QClipboard;

// The CLIPBOARD selection through Qt's own X11 clipboard. Qt names a target by
// its atom's name, except that UTF8_STRING, STRING, TEXT and a bare
// "text/plain" are one format to it, "text/plain", read as UTF-8 and served
// again under all four names. So a snapshot restores every target with the
// same bytes, but for those four, which carry the same text in UTF-8 (where
// a toolkit served, say, an ASCII-escaped "text/plain", that comes back as
// UTF-8). Left out of a snapshot: the meta targets and the image that Qt
// synthesises from any image target.
class X11Clipboard : public QObject, public Clipboard {
    Q_OBJECT
public:
    explicit X11Clipboard(QObject* parent = nullptr);

    QCoro::Task<std::optional<ClipboardSnapshot>> snapshot() override;
    void restore(const ClipboardSnapshot& snapshot) override;
    void setText(const QString& text) override;
    QCoro::Task<ClipboardText> text() override;
    QCoro::Task<ClipboardText> primaryText() override;
    quint64 changeCount() override { return m_changes; }

    // Whether a snapshot keeps this format.
    static bool keepsFormat(const QString& format);

private:
    QClipboard* m_clipboard;
    quint64 m_changes = 0;
};
