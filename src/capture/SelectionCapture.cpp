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

Result fallback(Clipboard& clipboard, const QString& note) {
    const QString text = clipboard.text();
    if (!text.trimmed().isEmpty())
        return {text, SelectionSource::clipboard, note};
    return {QString(), SelectionSource::none, note};
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
        co_return fallback(clipboard, noPermissionNote());
    // An application without a copy keystroke (a default xterm) cannot hand
    // its selection over: its clipboard text is all there is, at once.
    if (!platform.keySender().hasShortcut(KeySender::Shortcut::copy))
        co_return fallback(clipboard, noSelectionNote());

    for (int sleeps = 0; platform.modifierState().controlOrOptionHeld() && sleeps < modifierPolls;
         ++sleeps)
        co_await delay(modifierPoll);

    const ClipboardSnapshot saved = clipboard.snapshot();
    const quint64 before = clipboard.changeCount();
    platform.keySender().sendShortcut(KeySender::Shortcut::copy);

    for (int sleeps = 0; clipboard.changeCount() == before && sleeps < copyPolls; ++sleeps)
        co_await delay(copyPoll);

    if (clipboard.changeCount() != before) {
        const QString copied = clipboard.text();
        clipboard.restore(saved);
        if (!copied.trimmed().isEmpty())
            co_return Result{copied, SelectionSource::selection, QString()};
    }
    // Nothing was copied (the clipboard is untouched) or the copy held no
    // text (the user's clipboard is back): fall back to the user's own text.
    co_return fallback(clipboard, noSelectionNote());
}

} // namespace SelectionCapture
