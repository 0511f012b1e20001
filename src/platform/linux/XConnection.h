#pragma once

#include "platform/linux/XkbKeyboard.h"

#include <QHash>
#include <QObject>
#include <QString>

#include <xcb/xcb.h>

#include <memory>
#include <vector>

class QSocketNotifier;
class XEventListener;

// Our own connection to the X server, separate from Qt's. Its events are read
// on the main thread (a socket notifier, plus a drain before the event loop
// sleeps, since a reply we waited for may have pulled events off the socket)
// and handed to every listener in arrival order.
//
// It owns an unmapped window of ours that receives the marker messages posted
// after our own keystrokes: the server processes XTest input before the next
// request of the same client, so every raw key event our keystrokes cause is
// delivered before the marker that follows them. While a marker is
// outstanding, key events are our own.
class XConnection : public QObject {
    Q_OBJECT
public:
    // Connects to $DISPLAY and checks for XTest, XInput 2.2 and XKB; null with
    // a reason in `error` when any is missing.
    static std::unique_ptr<XConnection> open(QString* error);
    ~XConnection() override;

    xcb_connection_t* xcb() const { return m_connection; }
    xcb_window_t root() const { return m_root; }
    xcb_window_t ownWindow() const { return m_window; }
    XkbKeyboard& keyboard() { return *m_keyboard; }
    quint8 xinputOpcode() const { return m_xinputOpcode; }

    // Interned once, then cached.
    xcb_atom_t atom(const char* name);

    void addListener(XEventListener* listener);
    void removeListener(XEventListener* listener);

    // XInput 2 raw key presses on the root window, from every master keyboard.
    // Selected while at least one user has asked for them.
    void retainRawKeys();
    void releaseRawKeys();

    // Marks the input sent so far as ours: raw key events arriving before the
    // marker's return belong to us.
    void postMarker();
    int markersOutstanding() const { return m_markersOutstanding; }
    void flush();
    // Hands every event already read to the listeners.
    void dispatchPending();

Q_SIGNALS:
    // A marker came back: everything sent before it has been seen.
    void markerReturned();

private:
    explicit XConnection(xcb_connection_t* connection, int screen);
    bool setUp(QString* error);
    void selectRawKeys(bool on);
    void dispatch(xcb_generic_event_t* event);

    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = XCB_NONE;
    xcb_window_t m_window = XCB_NONE;
    quint8 m_xinputOpcode = 0;
    xcb_atom_t m_markerAtom = XCB_NONE;
    int m_markersOutstanding = 0;
    int m_rawKeyUsers = 0;
    bool m_dispatching = false;
    std::unique_ptr<XkbKeyboard> m_keyboard;
    QSocketNotifier* m_notifier = nullptr;
    std::vector<XEventListener*> m_listeners;
    QHash<QByteArray, xcb_atom_t> m_atoms;
};
