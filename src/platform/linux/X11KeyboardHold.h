#pragma once

#include "platform/linux/XEventListener.h"

#include <QList>
#include <QTimer>

#include <xcb/xcb.h>

class XConnection;

// Holds the user's typing back from every application for a short while,
// through an active keyboard grab on the root window: the keys typed
// meanwhile come to us, are noted in order, and are typed again with XTest
// when the hold ends, so that they reach the focused application after
// whatever we sent in between. Our own key presses pass through the hold
// (letThrough / closeAgain around them).
class X11KeyboardHold : public XEventListener {
public:
    explicit X11KeyboardHold(XConnection& connection);
    ~X11KeyboardHold() override;

    // Starts holding. Holds nest: only the last release ends the hold. When
    // another program already holds the keyboard, typing goes straight
    // through as if there were no hold.
    void hold();
    // Ends one hold; the last one gives the keyboard back and types what
    // was held, in order.
    void release();
    // Whether a key the user presses now is held back (and so will come
    // again when the hold ends).
    bool isHolding() const { return m_holds > 0 && (m_grabbed || m_reopen); }

    // Around our own key presses during a hold: they must reach the focused
    // application, not us.
    void letThrough();
    void closeAgain();

    void handleXEvent(const xcb_generic_event_t* event) override;

private:
    struct HeldKey {
        quint8 type; // XCB_KEY_PRESS or XCB_KEY_RELEASE
        xcb_keycode_t keycode;
    };

    bool grab();
    void ungrab();
    void endAll();

    XConnection& m_connection;
    int m_holds = 0;
    bool m_grabbed = false;
    bool m_reopen = false; // let through for a moment, grab again after
    QList<HeldKey> m_held;
    // A hold that nobody ends would take the keyboard from the user: it
    // ends by itself after this long.
    QTimer m_limit;
};
