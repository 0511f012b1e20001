#pragma once

#include "async/Delay.h"
#include "platform/WindowHandle.h"

#include <QCoroTask>
#include <QString>

class Platform;

// Puts a result in place of the user's selection: back to the window the
// palette was opened from, the text onto the clipboard, the paste keystroke,
// and the user's clipboard restored once the target has read the text.
namespace ReplaceSequence {

// The waits, in order: before anything (the palette is closing), after
// bringing the target back, between filling the clipboard and pasting, and
// the least between pasting and restoring (the most is
// Clipboard::pasteFetchLimit, when the target does not fetch the text).
namespace Timing {
inline constexpr std::chrono::milliseconds settle{120};
inline constexpr std::chrono::milliseconds afterActivate{150};
inline constexpr std::chrono::milliseconds beforePaste{40};
inline constexpr std::chrono::milliseconds beforeRestore{450};
} // namespace Timing

// Runs the whole sequence; reports nothing. A null `target` is not activated.
QCoro::Task<> run(Platform& platform, WindowHandle target, QString text, Delay delay = realDelay());

} // namespace ReplaceSequence
