#pragma once

// What keeps the user's clipboard alive after Wendle quits. On X11 the
// clipboard's content lives in the program that owns the selection, and
// after every restore that is Wendle: quitting would empty the clipboard.
// Where a clipboard manager runs, Qt hands the content to it at exit
// (SAVE_TARGETS on the CLIPBOARD_MANAGER selection). Elsewhere a small
// process of Wendle's own, the keeper, reads the content from the quitting
// Wendle, takes the clipboard over and serves it until another program takes
// the clipboard, as xclip does; then it exits.
namespace X11ClipboardKeeper {

// The argument that makes `wendle` the keeper.
inline constexpr char argument[] = "--keep-clipboard";

// Whether a clipboard manager owns the CLIPBOARD_MANAGER selection.
bool managerRuns();

// Starts the keeper as a process of its own, which outlives this one. False
// when it could not be started.
bool start();

// The keeper's whole life, as `wendle --keep-clipboard`: its exit status.
int run(int argc, char* argv[]);

} // namespace X11ClipboardKeeper
