#pragma once

#include "platform/KeyWatcher.h"
#include "platform/linux/XEventListener.h"

class XConnection;
class X11KeyboardHold;

// Every key press on every master keyboard, from XInput 2 raw events on the
// root window (they arrive whatever window has the focus and whatever grab is
// active), turned into text with the current layout and modifier state.
// Modifier and lock keys pressed alone are not reported: they type nothing and
// are not keys of their own to the snippet engine.
class X11KeyWatcher : public KeyWatcher, public XEventListener {
    Q_OBJECT
public:
    // With `hold`, keys pressed while it holds the keyboard are reported as
    // held: they are reported again when it types them after the hold.
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
