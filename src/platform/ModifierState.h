#pragma once

// The physical state of the modifier keys, which selection capture waits on:
// a copy keystroke sent while the hot key's Control and Option (Alt) are still
// held would reach the application as Control+Option+C.
class ModifierState {
public:
    virtual ~ModifierState() = default;

    virtual bool controlOrOptionHeld() = 0;
};
