#pragma once

#include "async/Delay.h"
#include "capture/SelectionSource.h"

#include <QCoroTask>
#include <QString>

class Platform;

// Obtains the text the palette works on. There is no general way to read
// another application's selection, so the front application is asked to copy
// it; when no copy arrives, the text already on the clipboard is used and a
// note says why Replace is unavailable.
namespace SelectionCapture {

struct Result {
    QString text; // as copied, not trimmed
    SelectionSource source = SelectionSource::none;
    QString note; // empty for a selection

    bool operator==(const Result&) const = default;
};

// The note shown when no selection was copied.
QString noSelectionNote();
// The note shown when the keystroke may not be sent at all.
QString noPermissionNote();
// The note shown when the clipboard holds a password manager's secret, which
// is never used as text.
QString secretNote();
// The note shown when the program that owns the clipboard does not answer.
QString noAnswerNote();

// Waits for the hot key's modifiers to be released, sends the copy keystroke,
// waits for the clipboard to change and restores it. Never fails; leaves the
// clipboard as it found it. When the front application has no copy keystroke
// (the xterm family), what it shows selected (PRIMARY) at once. Every
// clipboard read has a time limit: an owner that never answers makes the
// capture give up, with no text and a note, instead of holding it up.
QCoro::Task<Result> capture(Platform& platform, Delay delay = realDelay());

} // namespace SelectionCapture
