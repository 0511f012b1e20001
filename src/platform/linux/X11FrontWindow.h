#pragma once

#include "platform/FrontWindow.h"

#include <QString>

#include <xcb/xcb.h>

class XConnection;

// The window in front: the window manager's _NET_ACTIVE_WINDOW while a window
// manager runs, otherwise the input focus walked up to its top-level client.
class X11FrontWindow : public FrontWindow {
public:
    explicit X11FrontWindow(XConnection& connection);

    WindowHandle current() override;
    void activate(const WindowHandle& window) override;

    // WM_CLASS: the instance name and the class name.
    struct WindowClass {
        QString instance;
        QString name;
    };
    WindowClass windowClass(xcb_window_t window);
    // The client window in front, or XCB_NONE.
    xcb_window_t currentWindow();
    // The window manager's own check window when one runs now; its
    // properties stay on the root after it dies, so the window must exist.
    xcb_window_t windowManager();
    // _NET_WM_PID, when the window's program runs on this machine
    // (WM_CLIENT_MACHINE names this host): a pid from elsewhere means
    // nothing here. 0 when unknown or remote.
    qint64 localPid(xcb_window_t window);

private:
    xcb_window_t windowProperty(xcb_window_t window, xcb_atom_t property);
    xcb_window_t clientOf(xcb_window_t window);
    bool hasWmClass(xcb_window_t window);
    qint64 pidOf(xcb_window_t window);

    XConnection& m_connection;
};
