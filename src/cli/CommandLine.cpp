#include "cli/CommandLine.h"

#include <cstdio>

namespace CommandLine {

int run(int, char*[])
{
    printUsage(true);
    return 2;
}

void printUsage(bool toStandardError)
{
    std::fputs("usage: wendle <command> [options]\n", toStandardError ? stderr : stdout);
}

} // namespace CommandLine
