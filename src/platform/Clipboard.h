#pragma once

#include "platform/ClipboardSnapshot.h"

#include <QString>

// The system clipboard (the general pasteboard on macOS, the CLIPBOARD
// selection on X11), used as the transport for copying a selection and pasting
// a result, and restored afterwards so the user never notices.
class Clipboard {
public:
    virtual ~Clipboard() = default;

    // Every format of every item, with its bytes.
    virtual ClipboardSnapshot snapshot() = 0;
    // Replaces the clipboard's content with the snapshot; an empty snapshot
    // leaves the clipboard empty.
    virtual void restore(const ClipboardSnapshot& snapshot) = 0;

    // Clears the clipboard and puts `text` on it as plain text.
    virtual void setText(const QString& text) = 0;
    // The clipboard's plain text; empty when it holds none.
    virtual QString text() = 0;
    // Grows by at least one whenever the clipboard's content changes, whoever
    // changes it.
    virtual quint64 changeCount() = 0;
};
