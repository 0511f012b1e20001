#pragma once

#include <QByteArrayView>
#include <QString>

#include <functional>

// Standard input, output and error, the Unix way: output goes out unbuffered,
// piece by piece, so a pipe sees it grow; errors only ever go to standard
// error; Ctrl+C and a reader that went away end the program as users expect.
namespace Console {

// Ignores SIGPIPE (write errors are handled where they happen) and turns
// SIGINT into a call of the interrupt handler, then exit status 130. Needs a
// running QCoreApplication event loop to deliver the interrupt.
void install();

// What to stop when Ctrl+C arrives (for example the run in flight); empty for nothing.
void setInterruptHandler(std::function<void()> handler);

// Reads standard input to its end.
bool readAllInput(QByteArray& input, QString& error);

// Writes to standard output at once. When the reader has gone away (a closed
// pipe), calls the interrupt handler and ends the process as a SIGPIPE would,
// silently; on any other failure, says so on standard error and returns false.
bool print(QByteArrayView bytes);
bool print(const QString& text);

// A line on standard error.
void error(const QString& text);

// Reports a mistake on the command line of `command` ("wendle run: ...",
// then where to find help) and returns the usage exit status, 2.
int usageError(const QString& command, const QString& message);

} // namespace Console
