#include "platform/linux/X11KeyboardHold.h"

#include "platform/Clipboard.h"
#include "platform/linux/XConnection.h"

#include <xcb/xtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <utility>

using namespace std::chrono_literals;

namespace {

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

// A safety net, longer than any hold we take: an expansion holds the keys
// for about half a second, and at most until the clipboard's restore, which
// waits up to Clipboard::pasteFetchLimit for a target that never reads it.
constexpr auto holdLimit = Clipboard::pasteFetchLimit + 1s;

} // namespace

X11KeyboardHold::X11KeyboardHold(XConnection& connection)
    : m_connection(connection) {
    m_connection.addListener(this);
    m_limit.setSingleShot(true);
    m_limit.setInterval(holdLimit);
    QObject::connect(&m_limit, &QTimer::timeout, [this] { endAll(); });
}

X11KeyboardHold::~X11KeyboardHold() {
    endAll();
    m_connection.removeListener(this);
}

bool X11KeyboardHold::grab() {
    xcb_connection_t* c = m_connection.xcb();
    auto reply =
        owned(xcb_grab_keyboard_reply(c,
                                      xcb_grab_keyboard(c, 0, m_connection.root(), XCB_CURRENT_TIME,
                                                        XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                      nullptr));
    m_grabbed = reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
    return m_grabbed;
}

void X11KeyboardHold::ungrab() {
    xcb_ungrab_keyboard(m_connection.xcb(), XCB_CURRENT_TIME);
    m_grabbed = false;
}

void X11KeyboardHold::hold() {
    if (m_holds++ == 0) {
        m_held.clear();
        grab();
        m_limit.start();
    }
}

void X11KeyboardHold::release() {
    if (m_holds > 1)
        --m_holds;
    else if (m_holds == 1)
        endAll(); // still holding while the last held keys are read
}

void X11KeyboardHold::endAll() {
    m_limit.stop();
    m_reopen = false;
    if (m_holds == 0 && !m_grabbed && m_held.isEmpty())
        return;
    xcb_connection_t* c = m_connection.xcb();
    std::unique_ptr<xcb_query_keymap_reply_t, decltype(&std::free)> down(nullptr, &std::free);
    if (m_grabbed) {
        ungrab();
        // Every key the grab took has been sent to us before this reply:
        // read them all before typing them again, or a late one would be
        // lost.
        down.reset(xcb_query_keymap_reply(c, xcb_query_keymap(c), nullptr));
        m_connection.dispatchPending();
    }
    m_holds = 0;
    const QList<HeldKey> held = std::exchange(m_held, {});
    // A key still down now (pressed during the hold, not yet released) would
    // make our press of it a repeat, which the server drops: let it up
    // first. Its own release comes later, as the user lets go.
    QList<xcb_keycode_t> released;
    for (const HeldKey& key : held) {
        if (key.type == XCB_KEY_PRESS && down &&
            (down->keys[key.keycode / 8] & (1 << (key.keycode % 8))) &&
            !released.contains(key.keycode)) {
            xcb_test_fake_input(c, XCB_KEY_RELEASE, key.keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0,
                                0);
            released.append(key.keycode);
        }
    }
    // Not marked as ours: these are the user's keys, and the key watcher
    // sees them now, in their place in the typing.
    for (const HeldKey& key : held)
        xcb_test_fake_input(c, key.type, key.keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    m_connection.flush();
}

void X11KeyboardHold::letThrough() {
    if (m_grabbed) {
        ungrab();
        m_reopen = true;
    }
}

void X11KeyboardHold::closeAgain() {
    if (std::exchange(m_reopen, false) && m_holds > 0)
        grab();
}

void X11KeyboardHold::handleXEvent(const xcb_generic_event_t* event) {
    const quint8 type = event->response_type & 0x7f;
    if (m_holds == 0 || (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE))
        return;
    const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(event);
    if (key->event != m_connection.root())
        return;
    m_held.append({type, key->detail});
}
