#pragma once

#include "platform/GlobalHotKey.h"
#include "platform/linux/XEventListener.h"

#include <QList>

class XConnection;

// Ctrl+Alt+Space as a passive key grab on the root window, once for each
// combination of the lock modifiers (Caps Lock, Num Lock), since a grab only
// matches its exact modifier state.
class X11HotKey : public GlobalHotKey, private XEventListener {
    Q_OBJECT
public:
    explicit X11HotKey(XConnection& connection, QObject* parent = nullptr);
    ~X11HotKey() override;

    bool registerHotKey() override;
    bool isRegistered() const { return m_registered; }

private:
    void handleXEvent(const xcb_generic_event_t* event) override;
    void ungrab(const QList<quint16>& modifiers);

    XConnection& m_connection;
    quint8 m_keycode = 0;
    bool m_registered = false;
    // Set by the raw press of Space, used by the first grabbed press after it.
    // Auto-repeat presses of a held Space re-activate the grab but cause no
    // raw event, so they find this cleared and are ignored.
    bool m_freshPress = false;
};
