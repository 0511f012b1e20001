#include "app/WendleApp.h"
#include "cli/CommandLine.h"

int main(int argc, char* argv[]) {
    // With arguments, `wendle` is a command-line tool; without, the tray
    // application.
    if (argc > 1)
        return CommandLine::run(argc, argv);
    return WendleApp::run(argc, argv);
}
