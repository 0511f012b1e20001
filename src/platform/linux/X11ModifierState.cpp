#include "platform/linux/X11ModifierState.h"

#include "platform/linux/XConnection.h"

#include <cstdlib>
#include <memory>

X11ModifierState::X11ModifierState(XConnection& connection)
    : m_connection(connection) {}

bool X11ModifierState::controlOrOptionHeld() {
    // Asked of the server rather than read from our tracked state: the state
    // events of a release may still be on their way.
    xcb_connection_t* c = m_connection.xcb();
    std::unique_ptr<xcb_query_pointer_reply_t, decltype(&std::free)> pointer(
        xcb_query_pointer_reply(c, xcb_query_pointer(c, m_connection.root()), nullptr), &std::free);
    if (!pointer)
        return false;
    return pointer->mask & (XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1);
}
