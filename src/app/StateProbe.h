#pragma once

#include <QByteArray>

class TrayMenu;

// The application's state as JSON, for the end-to-end tests and benchmarks,
// which drive the real program from outside: whether the palette is up and
// where, what it shows, which alerts are open, and the tray menu's entries
// and where its icon is. Answered on the instance channel's "state" command
// when WENDLE_STATE_PROBE=1 is set.
namespace StateProbe {

inline constexpr const char* enableVariable = "WENDLE_STATE_PROBE";

QByteArray state(const TrayMenu* tray);

} // namespace StateProbe
