#pragma once

#include "platform/ClipboardSnapshot.h"
#include "platform/ClipboardText.h"

#include <QCoroTask>
#include <QString>

#include <chrono>
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

    // How long a paste target gets to fetch what was put on the clipboard for
    // it before the user's clipboard comes back regardless: a busy application
    // reads the clipboard only once it gets to the paste keystroke.
    static constexpr std::chrono::milliseconds pasteFetchLimit{3000};

    // Every format of every item, with its bytes, a secret's too (it is only
    // ever put back, never read as text). Nothing when the owner did not
    // answer in time.
    virtual QCoro::Task<std::optional<ClipboardSnapshot>> snapshot() = 0;
    // Replaces the clipboard's content with the snapshot; an empty snapshot
    // leaves the clipboard empty.
    virtual void restore(const ClipboardSnapshot& snapshot) = 0;

    // Clears the clipboard and puts `text` on it as plain text, to stay (the
    // user copied it).
    virtual void setText(const QString& text) = 0;
    // Like setText, but only for the paste that follows: marked so that
    // clipboard managers leave it out of their history, and watched, so that
    // pasteFetched() can tell when the target has read it.
    virtual void setTextForPaste(const QString& text) = 0;
    // Waits until another program has fetched the text of the last
    // setTextForPaste, counting only requests from the moment of the call on,
    // for at most `limit`. True when it was fetched; false when the limit
    // passed or the text is no longer on the clipboard.
    virtual QCoro::Task<bool> pasteFetched(std::chrono::milliseconds limit) = 0;

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

    // Called before the process ends: when this process serves what the
    // clipboard holds (which it does after every restore), sees to it that
    // the content outlives the process. Resolves once the process may end.
    virtual QCoro::Task<> keepAfterQuit() = 0;
};
