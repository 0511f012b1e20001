#pragma once

#include "platform/WindowHandle.h"

// The application window in front, which the palette remembers and returns to.
class FrontWindow {
public:
    virtual ~FrontWindow() = default;

    // The window that has the user's attention now; a null handle when none.
    virtual WindowHandle current() = 0;
    // Brings the window back to the front and gives it the keyboard focus.
    virtual void activate(const WindowHandle& window) = 0;
};
