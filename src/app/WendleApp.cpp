#include "app/WendleApp.h"

#include "cli/CommandLine.h"

namespace WendleApp {

int run(int, char*[])
{
    // The tray application does not exist yet; until it does, say what the
    // command line offers.
    CommandLine::printUsage(false);
    return 0;
}

} // namespace WendleApp
