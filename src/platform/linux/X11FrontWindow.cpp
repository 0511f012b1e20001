#include "platform/linux/X11FrontWindow.h"

#include "platform/linux/XConnection.h"

#include <QSysInfo>

#include <cstdlib>
#include <memory>

namespace {

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

// _NET_ACTIVE_WINDOW source indication: a pager or similar tool acting for
// the user, which window managers obey without focus-stealing checks.
constexpr quint32 sourceIndicationPager = 2;

} // namespace

X11FrontWindow::X11FrontWindow(XConnection& connection)
    : m_connection(connection) {}

xcb_window_t X11FrontWindow::windowProperty(xcb_window_t window, xcb_atom_t property) {
    auto reply = owned(xcb_get_property_reply(
        m_connection.xcb(),
        xcb_get_property(m_connection.xcb(), 0, window, property, XCB_ATOM_WINDOW, 0, 1), nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
        return XCB_NONE;
    return *static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()));
}

xcb_window_t X11FrontWindow::windowManager() {
    const xcb_atom_t check = m_connection.atom("_NET_SUPPORTING_WM_CHECK");
    const xcb_window_t wm = windowProperty(m_connection.root(), check);
    if (wm == XCB_NONE)
        return XCB_NONE;
    // A live window manager's check window names itself; a dead one's is gone.
    return windowProperty(wm, check) == wm ? wm : xcb_window_t(XCB_NONE);
}

bool X11FrontWindow::hasWmClass(xcb_window_t window) {
    auto reply = owned(xcb_get_property_reply(
        m_connection.xcb(),
        xcb_get_property(m_connection.xcb(), 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 0),
        nullptr));
    return reply && reply->type == XCB_ATOM_STRING;
}

xcb_window_t X11FrontWindow::clientOf(xcb_window_t window) {
    // Toolkits often give the focus to a child of their top-level window:
    // walk up to the window that carries WM_CLASS.
    for (xcb_window_t w = window; w != XCB_NONE && w != m_connection.root();) {
        if (hasWmClass(w))
            return w;
        auto tree = owned(xcb_query_tree_reply(m_connection.xcb(),
                                               xcb_query_tree(m_connection.xcb(), w), nullptr));
        if (!tree)
            return XCB_NONE;
        w = tree->parent;
    }
    return XCB_NONE;
}

xcb_window_t X11FrontWindow::currentWindow() {
    if (windowManager() != XCB_NONE) {
        const xcb_window_t active =
            windowProperty(m_connection.root(), m_connection.atom("_NET_ACTIVE_WINDOW"));
        if (active != XCB_NONE)
            return active;
    }
    auto focus = owned(xcb_get_input_focus_reply(m_connection.xcb(),
                                                 xcb_get_input_focus(m_connection.xcb()), nullptr));
    if (!focus)
        return XCB_NONE;
    xcb_window_t window = focus->focus;
    if (window == XCB_INPUT_FOCUS_POINTER_ROOT || window == m_connection.root()) {
        // Focus follows the pointer: the top-level window under it.
        auto pointer = owned(xcb_query_pointer_reply(
            m_connection.xcb(), xcb_query_pointer(m_connection.xcb(), m_connection.root()),
            nullptr));
        window = pointer ? pointer->child : xcb_window_t(XCB_NONE);
        if (window == XCB_NONE)
            return XCB_NONE;
        if (xcb_window_t client = clientOf(window))
            return client;
        return window;
    }
    if (window == XCB_NONE)
        return XCB_NONE;
    return clientOf(window);
}

X11FrontWindow::WindowClass X11FrontWindow::windowClass(xcb_window_t window) {
    auto reply = owned(xcb_get_property_reply(
        m_connection.xcb(),
        xcb_get_property(m_connection.xcb(), 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256),
        nullptr));
    if (!reply || reply->type != XCB_ATOM_STRING)
        return {};
    // Two NUL-terminated strings: instance, then class.
    const QByteArray value(static_cast<const char*>(xcb_get_property_value(reply.get())),
                           xcb_get_property_value_length(reply.get()));
    const QList<QByteArray> parts = value.split('\0');
    WindowClass result;
    result.instance = QString::fromLocal8Bit(parts.value(0));
    result.name = QString::fromLocal8Bit(parts.value(1));
    return result;
}

qint64 X11FrontWindow::pidOf(xcb_window_t window) {
    auto reply = owned(xcb_get_property_reply(m_connection.xcb(),
                                              xcb_get_property(m_connection.xcb(), 0, window,
                                                               m_connection.atom("_NET_WM_PID"),
                                                               XCB_ATOM_CARDINAL, 0, 1),
                                              nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
        return 0;
    return *static_cast<const quint32*>(xcb_get_property_value(reply.get()));
}

qint64 X11FrontWindow::localPid(xcb_window_t window) {
    auto reply = owned(
        xcb_get_property_reply(m_connection.xcb(),
                               xcb_get_property(m_connection.xcb(), 0, window,
                                                XCB_ATOM_WM_CLIENT_MACHINE, XCB_ATOM_STRING, 0, 64),
                               nullptr));
    // Without WM_CLIENT_MACHINE the pid is taken as local: programs that
    // set neither are local ones far more often than remote ones.
    if (!reply || reply->type != XCB_ATOM_STRING)
        return pidOf(window);
    QByteArray machine(static_cast<const char*>(xcb_get_property_value(reply.get())),
                       xcb_get_property_value_length(reply.get()));
    if (const qsizetype end = machine.indexOf('\0'); end >= 0)
        machine.truncate(end);
    if (machine != QSysInfo::machineHostName().toLocal8Bit())
        return 0;
    return pidOf(window);
}

WindowHandle X11FrontWindow::current() {
    const xcb_window_t window = currentWindow();
    if (window == XCB_NONE)
        return {};
    return WindowHandle{window, pidOf(window), windowClass(window).name};
}

void X11FrontWindow::activate(const WindowHandle& handle) {
    if (handle.id == 0)
        return;
    const auto window = xcb_window_t(handle.id);
    xcb_connection_t* c = m_connection.xcb();
    if (windowManager() != XCB_NONE) {
        xcb_client_message_event_t message = {};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = m_connection.atom("_NET_ACTIVE_WINDOW");
        message.data.data32[0] = sourceIndicationPager;
        message.data.data32[1] = XCB_CURRENT_TIME;
        xcb_send_event(c, 0, m_connection.root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char*>(&message));
    } else {
        const quint32 above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(c, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        xcb_set_input_focus(c, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    }
    m_connection.flush();
}
