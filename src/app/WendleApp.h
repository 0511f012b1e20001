#pragma once

// The tray application: the single instance, the platform, the hot key, the
// tray menu and the launch sequence.
namespace WendleApp {

int run(int argc, char* argv[]);

} // namespace WendleApp
