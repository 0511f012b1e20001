#pragma once

#include <QString>

// The user-facing texts that differ between macOS and Linux: key names
// (⌃⌥Space or Ctrl+Alt+Space, ⌘C or Ctrl+C), places ("your Mac", "your
// macOS Keychain", the data folder) and the permission explanations. Each
// platform defines them in its own file under src/platform/<os>/; every other
// text stands where it is used.
namespace Texts {

// The hot key as the user reads it: "⌃⌥Space" or "Ctrl+Alt+Space".
QString hotKey();

// Tray menu.
QString menuOpenPalette(); // "Wendle Selection (⌃⌥Space)"

// Palette.
QString paletteEmptyHint();  // "Select some text in any app, then press ⌃⌥Space."
QString paletteResultHint(); // "⏎ replace   ⌘C copy   ⌘R retry   ⌫ back   esc close"
QString retryButton();       // "Retry ⌘R"
QString copyButton();        // "Copy ⌘C"

// Launch alerts.
QString hotKeyFailedMessage();
QString hotKeyFailedInformative();
QString accessibilityExplainerMessage();
QString accessibilityExplainerInformative();
QString openSystemSettings(); // the button that opens the permission settings
QString notNow();

// Snippets permission alert.
QString snippetsPermissionMessage();
QString snippetsPermissionInformative();

// Settings window.
QString generalUsage();                         // "Press ⌃⌥Space in any app ..."
QString storageNote(const QString& dataFolder); // where actions and snippets live
QString accessibilityHelp();
QString inputMonitoringHelp();
QString apiKeyNote();       // where the API key is kept
QString modelPrivacyNote(); // "Nothing leaves your Mac except requests ..."

} // namespace Texts
