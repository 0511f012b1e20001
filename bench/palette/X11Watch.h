#pragma once

#include <QString>

#include <chrono>
#include <cstdint>

struct xcb_connection_t;

// A connection of the benchmark's own to the X server: it sends keys through
// XTest, so that it knows to the microsecond when the last key went up, and
// watches the root window for windows being mapped and unmapped, so that it
// knows when the palette is on screen.
class X11Watch {
public:
    X11Watch();
    ~X11Watch();
    X11Watch(const X11Watch&) = delete;
    X11Watch& operator=(const X11Watch&) = delete;

    bool isOpen() const { return m_connection != nullptr; }

    // Presses the keys in order, then releases them in reverse order, and
    // flushes; e.g. {"Control_L", "Alt_L", "space"}.
    bool chord(std::initializer_list<const char*> keys);

    // Forgets the events seen so far.
    void drain();
    // Waits for an override-redirect window (a popup) to be mapped or
    // unmapped; false on time-out.
    bool waitForPopup(bool mapped, std::chrono::milliseconds timeout);

private:
    uint8_t keycode(const char* keysymName);

    xcb_connection_t* m_connection = nullptr;
    uint32_t m_root = 0;
};
