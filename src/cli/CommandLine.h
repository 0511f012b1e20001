#pragma once

// The `wendle` command line: run, models, actions, toggle and their --help.
// Uses the same settings, API key, actions and data folder as the
// application.
namespace CommandLine {

// Runs the subcommand named in argv[1] and returns the process's exit status:
// 0 on success, 1 when the work failed, 2 on a usage error.
int run(int argc, char* argv[]);

// The general usage text, for `wendle --help` and unknown subcommands.
void printUsage(bool toStandardError);

} // namespace CommandLine
