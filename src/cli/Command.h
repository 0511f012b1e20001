#pragma once

#include <QCoroTask>
#include <QString>
#include <QStringList>

// One subcommand of `wendle`.
struct Command {
    const char* name;
    const char* summary;                            // one line for `wendle --help`
    QString (*help)();                              // the text of `wendle <name> --help`
    QCoro::Task<int> (*run)(QStringList arguments); // the arguments after the name; the exit status
};

// Exit statuses, as Unix tools use them.
namespace ExitStatus {
constexpr int success = 0;
constexpr int failure = 1;       // the work failed (the server, the reply, the input)
constexpr int usage = 2;         // the command line was wrong
constexpr int interrupted = 130; // Ctrl+C, as a shell reports a SIGINT
} // namespace ExitStatus

// Every subcommand, in the order `wendle --help` lists them. Adding one is a
// file that defines `const Command <name>Command` and its name on this line.
#define WENDLE_COMMANDS(X) X(run) X(models) X(actions) X(toggle)
