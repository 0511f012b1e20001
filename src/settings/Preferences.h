#pragma once

class QSettings;

// The per-user defaults store: ~/.config/Wendle/Wendle.conf on Linux, the
// application's defaults domain on macOS. The application and the command
// line share it.
namespace Preferences {

// Names the organisation and application, so that QSettings, QStandardPaths
// and the keyring all agree on "Wendle". Call once, right after creating the
// Q*Application.
void applyIdentity();

// The process-wide store.
QSettings& shared();

} // namespace Preferences
