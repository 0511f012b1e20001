#include "replace/ReplaceSequence.h"

#include "platform/Platform.h"

namespace ReplaceSequence {

QCoro::Task<> run(Platform& platform, WindowHandle target, QString text, Delay delay) {
    co_await delay(Timing::settle);

    FrontWindow& front = platform.frontWindow();
    if (!target.isNull() && front.current() != target) {
        front.activate(target);
        co_await delay(Timing::afterActivate);
    }

    Clipboard& clipboard = platform.clipboard();
    // An application without a paste keystroke (a default xterm) cannot be
    // handed the reply: it stays on the clipboard for the user to paste, rather
    // than vanish under the restored content.
    if (!platform.keySender().hasShortcut(KeySender::Shortcut::paste)) {
        clipboard.setText(text);
        co_return;
    }
    // Nothing to put back when the clipboard's owner did not answer.
    const std::optional<ClipboardSnapshot> saved = co_await clipboard.snapshot();
    clipboard.setTextForPaste(text);
    co_await delay(Timing::beforePaste);
    platform.keySender().sendShortcut(KeySender::Shortcut::paste);
    // The target asks for the clipboard when it gets to the keystroke: a few
    // milliseconds later, or much later when it is busy. Restoring before it
    // has asked would paste the user's old content. So the user's clipboard
    // comes back once the target has fetched the text, but never sooner than
    // the usual pause (a target may read more than once) and never later than
    // the limit (a target that ignores the paste never asks).
    QCoro::Task<bool> fetched = clipboard.pasteFetched(Clipboard::pasteFetchLimit);
    co_await delay(Timing::beforeRestore);
    co_await std::move(fetched);
    if (saved)
        clipboard.restore(*saved);
}

} // namespace ReplaceSequence
