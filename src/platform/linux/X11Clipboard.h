#pragma once

#include "platform/Clipboard.h"

#include <QObject>

class QClipboard;

// The CLIPBOARD selection through Qt's own X11 clipboard. Qt names a target by
// its atom's name, except that it shows UTF8_STRING, STRING and TEXT as
// "text/plain" (and offers all three again for it), so a snapshot restores
// the same targets with the same bytes. Left out of a snapshot: the meta
// targets and the image that Qt synthesises from any image target.
class X11Clipboard : public QObject, public Clipboard {
    Q_OBJECT
public:
    explicit X11Clipboard(QObject* parent = nullptr);

    ClipboardSnapshot snapshot() override;
    void restore(const ClipboardSnapshot& snapshot) override;
    void setText(const QString& text) override;
    QString text() override;
    quint64 changeCount() override { return m_changes; }

    // Whether a snapshot keeps this format.
    static bool keepsFormat(const QString& format);

private:
    QClipboard* m_clipboard;
    quint64 m_changes = 0;
};
