#pragma once

#include <Qt>

// Posts synthetic key presses to whatever window has the keyboard focus.
// Every key press it posts is marked as this program's own, so that the key
// watcher never mistakes it for something the user typed.
class KeySender {
public:
    virtual ~KeySender() = default;

    enum class Shortcut {
        copy,  // copy the selection of the focused window
        paste, // paste the clipboard into the focused window
    };

    // One key press (down, then up) with exactly these modifiers held.
    // Qt::ControlModifier is Command on macOS and Ctrl elsewhere.
    virtual void send(Qt::Key key, Qt::KeyboardModifiers modifiers) = 0;

    // The copy or paste keystroke that the focused application understands:
    // Command+C / Command+V on macOS; on Linux Ctrl+C / Ctrl+V, or a terminal
    // emulator's own (Ctrl+Shift+C / V, Ctrl+Alt+C / V), since Ctrl+C there
    // would interrupt the running program, or what the user's rules say;
    // nothing at all for a terminal that has no such keystroke (xterm) or
    // whose keystrokes are unknown.
    virtual void sendShortcut(Shortcut shortcut) = 0;

    // Whether the focused application has a keystroke for `shortcut`, that
    // is whether sendShortcut would send anything to it now.
    virtual bool hasShortcut(Shortcut shortcut) = 0;

    // Holds back what the user types from every application until
    // releaseKeys(), which then delivers it in the order typed: a sequence
    // of our own keystrokes (an expansion's erasing and paste) then never
    // has the user's keys land in its middle. Our own key presses still go
    // out meanwhile. Holds nest. Where the platform cannot hold the
    // keyboard, typing goes straight through.
    virtual void holdKeys() {}
    virtual void releaseKeys() {}
};
