#pragma once

#include "platform/linux/X11Platform.h"

#include <QSignalSpy>

#include <cstdlib>
#include <memory>

// The X11 platform on the test's display, with its concrete services.
inline std::unique_ptr<X11Platform> createX11Platform(QString* error) {
    std::unique_ptr<Platform> platform = Platform::create(error);
    return std::unique_ptr<X11Platform>(static_cast<X11Platform*>(platform.release()));
}

// Waits until every event caused by input the server processed before this
// call has been handed to the listeners: a marker sent now comes back after
// them.
inline bool settle(XConnection& connection) {
    QSignalSpy returned(&connection, &XConnection::markerReturned);
    connection.postMarker();
    return returned.wait(5000);
}

// The core modifier state (QueryPointer's mask): Shift, Lock, Control, Mod1..5.
inline quint16 modifierMask(XConnection& connection) {
    xcb_query_pointer_reply_t* pointer = xcb_query_pointer_reply(
        connection.xcb(), xcb_query_pointer(connection.xcb(), connection.root()), nullptr);
    const quint16 mask = pointer ? pointer->mask : 0;
    std::free(pointer);
    return mask;
}
