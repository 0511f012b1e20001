#include "platform/linux/X11HotKey.h"

#include "platform/linux/XConnection.h"

#include <xcb/xinput.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include <cstdlib>

namespace {

constexpr quint16 hotKeyModifiers = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1;
// Caps Lock is Lock; Num Lock is Mod2 on every common layout.
const QList<quint16> lockVariants = {0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
                                     XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};

} // namespace

X11HotKey::X11HotKey(XConnection& connection, QObject* parent)
    : GlobalHotKey(parent)
    , m_connection(connection) {
    m_connection.addListener(this);
}

X11HotKey::~X11HotKey() {
    m_connection.removeListener(this);
    if (m_registered) {
        ungrab(lockVariants);
        m_connection.releaseRawKeys();
        m_connection.flush();
    }
}

bool X11HotKey::registerHotKey() {
    if (m_registered)
        return true;
    const auto space = m_connection.keyboard().find(XKB_KEY_space);
    if (!space || space->levelModifiers != 0)
        return false;
    m_keycode = quint8(space->keycode);

    // Send all grabs, then collect the answers: one round trip in all.
    xcb_connection_t* c = m_connection.xcb();
    QList<xcb_void_cookie_t> cookies;
    for (quint16 locks : lockVariants)
        cookies.append(xcb_grab_key_checked(c, 1, m_connection.root(), hotKeyModifiers | locks,
                                            m_keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    QList<quint16> granted;
    bool refused = false;
    for (qsizetype i = 0; i < cookies.size(); ++i) {
        if (xcb_generic_error_t* error = xcb_request_check(c, cookies[i])) {
            refused = true; // BadAccess: another client holds this combination
            std::free(error);
        } else {
            granted.append(lockVariants[i]);
        }
    }
    if (refused) {
        ungrab(granted);
        m_connection.flush();
        return false;
    }
    m_connection.retainRawKeys();
    m_registered = true;
    return true;
}

void X11HotKey::ungrab(const QList<quint16>& modifiers) {
    for (quint16 locks : modifiers)
        xcb_ungrab_key(m_connection.xcb(), m_keycode, m_connection.root(), hotKeyModifiers | locks);
}

void X11HotKey::handleXEvent(const xcb_generic_event_t* event) {
    if (!m_registered)
        return;
    const quint8 type = event->response_type & 0x7f;
    if (type == XCB_GE_GENERIC) {
        const auto* generic = reinterpret_cast<const xcb_ge_generic_event_t*>(event);
        if (generic->extension == m_connection.xinputOpcode() &&
            generic->event_type == XCB_INPUT_RAW_KEY_PRESS &&
            reinterpret_cast<const xcb_input_raw_key_press_event_t*>(event)->detail == m_keycode)
            m_freshPress = true;
        return;
    }
    if (type != XCB_KEY_PRESS)
        return;
    const auto* press = reinterpret_cast<const xcb_key_press_event_t*>(event);
    if (press->detail != m_keycode || (press->state & hotKeyModifiers) != hotKeyModifiers)
        return;
    // The grab turned active with this press and would take every key while
    // Space is held, our own Ctrl+C included: give the keyboard back at once.
    xcb_ungrab_keyboard(m_connection.xcb(), XCB_CURRENT_TIME);
    m_connection.flush();
    if (!m_freshPress)
        return;
    m_freshPress = false;
    Q_EMIT pressed();
}
