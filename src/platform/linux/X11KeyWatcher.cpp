#include "platform/linux/X11KeyWatcher.h"

#include "platform/linux/X11KeyboardHold.h"
#include "platform/linux/XConnection.h"

#include <QGuiApplication>
#include <QWindow>

#include <cstdlib>
#include <memory>

#include <xcb/xinput.h>
#include <xkbcommon/xkbcommon-keysyms.h>

namespace {

using KeyClass = KeyStroke::KeyClass;

KeyClass classOf(xkb_keysym_t keysym) {
    switch (keysym) {
    case XKB_KEY_Return:
        return KeyClass::returnKey;
    case XKB_KEY_Tab:
    case XKB_KEY_ISO_Left_Tab:
        return KeyClass::tab;
    case XKB_KEY_Escape:
        return KeyClass::escape;
    case XKB_KEY_KP_Enter:
        return KeyClass::enter;
    case XKB_KEY_Home:
    case XKB_KEY_KP_Home:
        return KeyClass::home;
    case XKB_KEY_End:
    case XKB_KEY_KP_End:
        return KeyClass::end;
    case XKB_KEY_Prior:
    case XKB_KEY_KP_Prior:
        return KeyClass::pageUp;
    case XKB_KEY_Next:
    case XKB_KEY_KP_Next:
        return KeyClass::pageDown;
    case XKB_KEY_Delete:
    case XKB_KEY_KP_Delete:
        return KeyClass::forwardDelete;
    case XKB_KEY_Left:
    case XKB_KEY_KP_Left:
        return KeyClass::left;
    case XKB_KEY_Right:
    case XKB_KEY_KP_Right:
        return KeyClass::right;
    case XKB_KEY_Down:
    case XKB_KEY_KP_Down:
        return KeyClass::down;
    case XKB_KEY_Up:
    case XKB_KEY_KP_Up:
        return KeyClass::up;
    case XKB_KEY_BackSpace:
        return KeyClass::backspace;
    default:
        return KeyClass::other;
    }
}

bool isModifierKey(xkb_keysym_t keysym) {
    return (keysym >= XKB_KEY_Shift_L && keysym <= XKB_KEY_Hyper_R) // incl. Caps and Shift Lock
           || (keysym >= XKB_KEY_ISO_Lock && keysym <= XKB_KEY_ISO_Level5_Lock) ||
           keysym == XKB_KEY_Mode_switch || keysym == XKB_KEY_Num_Lock;
}

} // namespace

X11KeyWatcher::X11KeyWatcher(XConnection& connection, const X11KeyboardHold* hold, QObject* parent)
    : KeyWatcher(parent)
    , m_connection(connection)
    , m_hold(hold) {
    m_connection.addListener(this);
}

X11KeyWatcher::~X11KeyWatcher() {
    stop();
    m_connection.removeListener(this);
}

bool X11KeyWatcher::start() {
    if (m_watching)
        return true;
    m_connection.retainRawKeys();
    m_watching = true;
    return true;
}

void X11KeyWatcher::stop() {
    if (!m_watching)
        return;
    m_connection.releaseRawKeys();
    m_watching = false;
}

void X11KeyWatcher::handleXEvent(const xcb_generic_event_t* event) {
    if (!m_watching || (event->response_type & 0x7f) != XCB_GE_GENERIC)
        return;
    const auto* generic = reinterpret_cast<const xcb_ge_generic_event_t*>(event);
    if (generic->extension != m_connection.xinputOpcode() ||
        generic->event_type != XCB_INPUT_RAW_KEY_PRESS)
        return;
    const auto* raw = reinterpret_cast<const xcb_input_raw_key_press_event_t*>(event);
    const auto keycode = xkb_keycode_t(raw->detail);

    XkbKeyboard& keyboard = m_connection.keyboard();
    xkb_state* state = keyboard.state();
    const xkb_keysym_t keysym = xkb_state_key_get_one_sym(state, keycode);
    if (isModifierKey(keysym))
        return;

    KeyStroke stroke;
    stroke.keyClass = classOf(keysym);
    if (keyboard.controlActive())
        stroke.modifiers |= Qt::ControlModifier;
    if (keyboard.shiftActive())
        stroke.modifiers |= Qt::ShiftModifier;
    if (keyboard.altActive())
        stroke.modifiers |= Qt::AltModifier;
    if (keyboard.superActive())
        stroke.modifiers |= Qt::MetaModifier;

    char utf8[16];
    const int length = xkb_state_key_get_utf8(state, keycode, utf8, sizeof utf8);
    // Control characters (Return, Tab, Backspace, Ctrl+letter) are not text.
    if (length > 0 && !(length == 1 && (quint8(utf8[0]) < 0x20 || utf8[0] == 0x7f)))
        stroke.text = QString::fromUtf8(utf8, qMin<int>(length, int(sizeof utf8) - 1));
    stroke.own = m_connection.markersOutstanding() > 0;
    stroke.held = !stroke.own && m_hold && m_hold->isHolding();
    stroke.toOwnWindow = !stroke.own && !stroke.held && keysGoToUs();
    Q_EMIT keyPressed(stroke);
}

bool X11KeyWatcher::keysGoToUs() {
    // Qt's own idea of the focus lags: it keeps a window active for a while
    // after the focus has left it. So only Qt's list of our windows is used,
    // and the X server says where the focus is now.
    QList<xcb_window_t> candidates;
    for (QWindow* window : QGuiApplication::topLevelWindows()) {
        if (!window->isVisible() || !window->handle())
            continue;
        // A popup of ours (the palette, a menu) holds the keyboard while shown.
        if (window->type() == Qt::Popup)
            return true;
        // The tray icon bypasses the window manager and never takes the focus.
        if (window->flags() & Qt::BypassWindowManagerHint)
            continue;
        candidates.append(xcb_window_t(window->winId()));
    }
    if (candidates.isEmpty())
        return false; // nothing of ours is shown: no round trip
    xcb_connection_t* c = m_connection.xcb();
    const std::unique_ptr<xcb_get_input_focus_reply_t, decltype(&std::free)> focus(
        xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr), &std::free);
    return focus && candidates.contains(focus->focus);
}
