#pragma once

#include <QString>
#include <Qt>

// One key press seen system-wide by the key watcher.
struct KeyStroke {
    // The keys the snippet engine treats specially. Everything else is
    // `other` and contributes its typed text, if any.
    enum class KeyClass {
        other,
        returnKey,
        tab,
        escape,
        enter, // keypad Enter
        home,
        end,
        pageUp,
        pageDown,
        forwardDelete,
        left,
        right,
        down,
        up,
        backspace,
    };

    KeyClass keyClass = KeyClass::other;
    // Modifiers held with the key, in Qt's convention: ControlModifier is
    // Command on macOS and Ctrl elsewhere; MetaModifier is Control on macOS
    // and the Super (logo) key elsewhere.
    Qt::KeyboardModifiers modifiers;
    // The text the key types in the current keyboard layout and modifier
    // state; empty for keys that type nothing.
    QString text;
    // True when this program posted the key itself (its own backspaces and
    // pastes, the palette's copy and paste).
    bool own = false;
    // True when the key goes to one of this program's own windows (its
    // settings window, the palette, a menu of its tray icon), where nothing
    // may be expanded.
    bool toOwnWindow = false;
    // True when the key was held back from the applications (KeySender::
    // holdKeys): it arrives again, as typed, when the hold ends.
    bool held = false;

    bool operator==(const KeyStroke&) const = default;
};
