#pragma once

#include "platform/ClipboardSnapshot.h"
#include "platform/ClipboardText.h"

#include <QCoroTask>
#include <QString>

#include <optional>

// The system clipboard (the general pasteboard on macOS, the CLIPBOARD
// selection on X11), used as the transport for copying a selection and pasting
// a result, and restored afterwards so the user never notices.
//
// Reading asks the program that owns the clipboard, which may be slow or hung:
// every read is a coroutine that suspends while it waits, and gives up after
// a time limit of its own instead of blocking the interface.
class Clipboard {
public:
    virtual ~Clipboard() = default;

    // Every format of every item, with its bytes, a secret's too (it is only
    // ever put back, never read as text). Nothing when the owner did not
    // answer in time.
    virtual QCoro::Task<std::optional<ClipboardSnapshot>> snapshot() = 0;
    // Replaces the clipboard's content with the snapshot; an empty snapshot
    // leaves the clipboard empty.
    virtual void restore(const ClipboardSnapshot& snapshot) = 0;

    // Clears the clipboard and puts `text` on it as plain text.
    virtual void setText(const QString& text) = 0;
    // The clipboard's plain text; none when it holds none, and never the text
    // of content a password manager marked secret.
    virtual QCoro::Task<ClipboardText> text() = 0;
    // The same for what the focused application shows selected now (X11's
    // PRIMARY selection, when that application owns it); macOS has no such
    // thing and answers with no text.
    virtual QCoro::Task<ClipboardText> primaryText() = 0;
    // Grows by at least one whenever the clipboard's content changes, whoever
    // changes it.
    virtual quint64 changeCount() = 0;
};
