#include "capture/SelectionCapture.h"

#include "platform/Platform.h"

using namespace std::chrono_literals;

namespace SelectionCapture {

namespace {

// Ctrl and Alt of the hot key are usually still down when it fires; a copy
// sent then would arrive as Ctrl+Alt+C.
constexpr auto modifierPoll = 20ms;
constexpr int modifierPolls = 30;
// A copy normally lands within a few milliseconds; give up after half a second.
constexpr auto copyPoll = 25ms;
constexpr int copyPolls = 20;

QCoro::Task<Result> fallback(Clipboard& clipboard, QString note) {
    const ClipboardText read = co_await clipboard.text();
    if (read.hasText())
        co_return Result{read.text, SelectionSource::clipboard, note};
    co_return Result{QString(), SelectionSource::none, note};
}

} // namespace

QString noSelectionNote() {
    return QStringLiteral(
        "No selection was detected, so the clipboard text is used. Replace is unavailable.");
}

QString noPermissionNote() {
    return QStringLiteral("Accessibility permission is missing, so the clipboard text is used. "
                          "Replace is unavailable.");
}

QCoro::Task<Result> capture(Platform& platform, Delay delay) {
    Clipboard& clipboard = platform.clipboard();
    if (!platform.permissions().accessibilityGranted())
        co_return co_await fallback(clipboard, noPermissionNote());
    // An application without a copy keystroke (a default xterm) cannot hand
    // its selection over: its clipboard text is all there is, at once.
    if (!platform.keySender().hasShortcut(KeySender::Shortcut::copy))
        co_return co_await fallback(clipboard, noSelectionNote());

    for (int sleeps = 0; platform.modifierState().controlOrOptionHeld() && sleeps < modifierPolls;
         ++sleeps)
        co_await delay(modifierPoll);

    const std::optional<ClipboardSnapshot> saved = co_await clipboard.snapshot();
    if (!saved)
        co_return Result{QString(), SelectionSource::none, noSelectionNote()};
    const quint64 before = clipboard.changeCount();
    platform.keySender().sendShortcut(KeySender::Shortcut::copy);

    for (int sleeps = 0; clipboard.changeCount() == before && sleeps < copyPolls; ++sleeps)
        co_await delay(copyPoll);

    if (clipboard.changeCount() != before) {
        const ClipboardText copied = co_await clipboard.text();
        clipboard.restore(*saved);
        if (copied.hasText())
            co_return Result{copied.text, SelectionSource::selection, QString()};
    }
    // Nothing was copied (the clipboard is untouched) or the copy held no
    // text (the user's clipboard is back): fall back to the user's own text.
    co_return co_await fallback(clipboard, noSelectionNote());
}

} // namespace SelectionCapture
