#pragma once

#include <QString>
#include <Qt>

#include <optional>

// What differs per application, looked up by its window's WM_CLASS: the class
// name first, since a user can rename the instance (xterm -name, st -n), then
// the instance name; case-insensitive. One table, meant to grow; the names
// are also the programs' file names, for windows renamed altogether. The
// user's own rules (ApplicationRulesFile) come before it.
namespace ApplicationRules {

// The keystrokes with which an application copies its selection to the
// CLIPBOARD and pastes the CLIPBOARD, by default.
enum class ClipboardKeys {
    standard,   // Ctrl+C, Ctrl+V
    shifted,    // Ctrl+Shift+C, Ctrl+Shift+V: most terminal emulators, where
                // Ctrl+C would interrupt the running program
    controlAlt, // Ctrl+Alt+C, Ctrl+Alt+V: rxvt-unicode
    none,       // no keystroke at all: the xterm family, which also turns
                // Ctrl+Shift+C into the interrupt character
};

// The rule for these names; `standard` when no rule names them.
ClipboardKeys clipboardKeys(const QString& instance, const QString& windowClass);
// The rule for these names, or nothing when no rule names them.
std::optional<ClipboardKeys> knownClipboardKeys(const QString& instance,
                                                const QString& windowClass);

// The modifiers held with C to copy and with V to paste; nothing when the
// application has no such keystroke.
std::optional<Qt::KeyboardModifiers> shortcutModifiers(ClipboardKeys keys);

} // namespace ApplicationRules
