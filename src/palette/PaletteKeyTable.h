#pragma once

#include "capture/SelectionSource.h"
#include "palette/PaletteModel.h"

#include <QString>
#include <Qt>

// What a key pressed in the palette means. Every key the palette receives is
// consumed; the ones that mean nothing are simply dropped.
namespace PaletteKeyTable {

struct Key {
    int key = 0; // Qt::Key
    Qt::KeyboardModifiers modifiers;
    QString text; // what the key types
};

enum class Command {
    ignore,
    close,          // Escape
    hotKey,         // the global shortcut itself, typed while the palette holds the keyboard
    back,           // Backspace, after a run
    replace,        // Return or Enter, after a run
    copy,           // Ctrl+C (Command+C), after a run
    retry,          // Ctrl+R (Command+R), after a run
    runSelected,    // Return or Enter in the list
    previousOption, // Left
    nextOption,     // Right
    moveDown,
    moveUp,
    pick, // a digit 1 to 9 in the list
};

struct Result {
    Command command = Command::ignore;
    int number = 0; // for pick
    bool operator==(const Result&) const = default;
};

Result interpret(const Key& key, SelectionSource source, PaletteModel::Phase phase);

} // namespace PaletteKeyTable
