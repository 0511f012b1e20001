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
    // Nothing to put back when the clipboard's owner did not answer.
    const std::optional<ClipboardSnapshot> saved = co_await clipboard.snapshot();
    clipboard.setText(text);
    co_await delay(Timing::beforePaste);
    platform.keySender().sendShortcut(KeySender::Shortcut::paste);
    // On X11 the target asks for the clipboard a few milliseconds after the
    // keystroke; restoring before it has asked would paste the old content.
    co_await delay(Timing::beforeRestore);
    if (saved)
        clipboard.restore(*saved);
}

} // namespace ReplaceSequence
