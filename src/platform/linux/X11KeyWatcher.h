#pragma once

#include "platform/KeyWatcher.h"
#include "platform/linux/XEventListener.h"

class XConnection;
class X11KeyboardHold;

// Every key press on every master keyboard, from XInput 2 raw events on the
// root window (they arrive whatever window has the focus and whatever grab
// another client holds), turned into text with the current layout and
// modifier state. While our own keyboard hold grabs the keyboard, the server
// sends us no raw events: those keys are reported once the hold types them.
// Modifier and lock keys pressed alone are not reported: they type nothing and
// are not keys of their own to the snippet engine.
class X11KeyWatcher : public KeyWatcher, public XEventListener {
    Q_OBJECT
public:
    // With `hold`, a key seen while it holds the keyboard is reported as
    // held: it comes again when the hold types it.
    explicit X11KeyWatcher(XConnection& connection, const X11KeyboardHold* hold = nullptr,
                           QObject* parent = nullptr);
    ~X11KeyWatcher() override;

    bool start() override;
    void stop() override;
    bool isWatching() const override { return m_watching; }

    void handleXEvent(const xcb_generic_event_t* event) override;

private:
    // Whether the keyboard's input goes to one of this program's windows now.
    bool keysGoToUs();

    XConnection& m_connection;
    const X11KeyboardHold* m_hold;
    bool m_watching = false;
};
