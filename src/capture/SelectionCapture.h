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

// Waits for the hot key's modifiers to be released, sends the copy keystroke,
// waits for the clipboard to change and restores it. Never fails; leaves the
// clipboard as it found it. The clipboard's text at once when the front
// application has no copy keystroke.
QCoro::Task<Result> capture(Platform& platform, Delay delay = realDelay());

} // namespace SelectionCapture
