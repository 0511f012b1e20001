#include "app/WendleApp.h"
#include "cli/CommandLine.h"
#include "platform/Platform.h"

int main(int argc, char* argv[]) {
    if (const std::optional<int> status = Platform::runHelper(argc, argv))
        return *status;
    // With arguments, `wendle` is a command-line tool; without, the tray
    // application.
    if (argc > 1)
        return CommandLine::run(argc, argv);
    return WendleApp::run(argc, argv);
}
