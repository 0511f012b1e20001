#pragma once

// The tray application: the single instance, the platform, the hot key, the
// tray menu and the launch sequence.
namespace WendleApp {

// Runs until "Quit Wendle"; the process's exit status. When another instance
// runs already, asks it to toggle the palette and returns at once.
int run(int argc, char* argv[]);

} // namespace WendleApp
