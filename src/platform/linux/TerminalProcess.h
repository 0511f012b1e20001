#pragma once

#include <QString>
#include <QtGlobal>

// What the process behind a window runs, read from /proc: how a terminal
// emulator that no rule names is still recognised.
namespace TerminalProcess {

// True when the process holds the master side of a pseudo-terminal (an fd
// on /dev/ptmx) and a child of it has that terminal as its controlling
// terminal: a shell or another program runs in it, and Ctrl+C there would
// interrupt it. Only processes of our own user can be looked into.
bool runsTerminal(qint64 pid);

// The file name of the program the process runs ("st", "xterm"); empty when
// it cannot be read.
QString programName(qint64 pid);

} // namespace TerminalProcess
