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

// No text at all: the note says why when the clipboard had something we
// may not or could not use.
Result nothing(const ClipboardText& read, const QString& note) {
    switch (read.status) {
    case ClipboardText::Status::secret:
        return {QString(), SelectionSource::none, secretNote()};
    case ClipboardText::Status::noAnswer:
        return {QString(), SelectionSource::none, noAnswerNote()};
    case ClipboardText::Status::read:
        break;
    }
    return {QString(), SelectionSource::none, note};
}

QCoro::Task<Result> fallback(Clipboard& clipboard, QString note) {
    const ClipboardText read = co_await clipboard.text();
    if (read.hasText())
        co_return Result{read.text, SelectionSource::clipboard, note};
    co_return nothing(read, note);
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

QString secretNote() {
    return QStringLiteral(
        "The clipboard holds a password manager's secret, which Wendle never reads.");
}

QString noAnswerNote() {
    return QStringLiteral(
        "The program that owns the clipboard is not answering, so nothing was copied.");
}

QCoro::Task<Result> capture(Platform& platform, Delay delay) {
    Clipboard& clipboard = platform.clipboard();
    if (!platform.permissions().accessibilityGranted())
        co_return co_await fallback(clipboard, noPermissionNote());
    // An application without a copy keystroke (a default xterm) cannot hand
    // its selection over through the clipboard, but what it shows selected
    // is its PRIMARY selection.
    if (!platform.keySender().hasShortcut(KeySender::Shortcut::copy)) {
        const ClipboardText selected = co_await clipboard.primaryText();
        if (selected.hasText())
            co_return Result{selected.text, SelectionSource::selection, QString()};
        co_return co_await fallback(clipboard, noSelectionNote());
    }

    for (int sleeps = 0; platform.modifierState().controlOrOptionHeld() && sleeps < modifierPolls;
         ++sleeps)
        co_await delay(modifierPoll);

    // Without a snapshot the user's clipboard could not be put back after the
    // copy: leave it alone, and its unanswering owner with it.
    const std::optional<ClipboardSnapshot> saved = co_await clipboard.snapshot();
    if (!saved)
        co_return Result{QString(), SelectionSource::none, noAnswerNote()};
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
