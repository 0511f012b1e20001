#include "platform/linux/XConnection.h"

#include "platform/linux/XEventListener.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QSocketNotifier>

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <cstdlib>

namespace {

template <typename Reply>
using ReplyPtr = std::unique_ptr<Reply, decltype(&std::free)>;

template <typename Reply>
ReplyPtr<Reply> owned(Reply* reply) {
    return ReplyPtr<Reply>(reply, &std::free);
}

} // namespace

std::unique_ptr<XConnection> XConnection::open(QString* error) {
    auto fail = [error](const QString& reason) {
        if (error)
            *error = reason;
        return nullptr;
    };
    int screen = 0;
    xcb_connection_t* connection = xcb_connect(nullptr, &screen);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return fail(QStringLiteral("Cannot connect to the X server at DISPLAY=%1.")
                        .arg(QString::fromLocal8Bit(qgetenv("DISPLAY"))));
    }
    std::unique_ptr<XConnection> self(new XConnection(connection, screen));
    if (!self->setUp(error))
        return nullptr;
    return self;
}

XConnection::XConnection(xcb_connection_t* connection, int screen)
    : m_connection(connection) {
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screen && it.rem; ++i)
        xcb_screen_next(&it);
    m_root = it.data->root;
}

bool XConnection::setUp(QString* error) {
    auto fail = [error](const QString& reason) {
        if (error)
            *error = reason;
        return false;
    };

    const xcb_query_extension_reply_t* xtest = xcb_get_extension_data(m_connection, &xcb_test_id);
    if (!xtest || !xtest->present)
        return fail(QStringLiteral("The X server lacks the XTEST extension, needed to send keys."));

    const xcb_query_extension_reply_t* xinput = xcb_get_extension_data(m_connection, &xcb_input_id);
    if (!xinput || !xinput->present)
        return fail(QStringLiteral("The X server lacks the XInputExtension."));
    m_xinputOpcode = xinput->major_opcode;
    auto version = owned(xcb_input_xi_query_version_reply(
        m_connection, xcb_input_xi_query_version(m_connection, 2, 2), nullptr));
    if (!version || version->major_version < 2)
        return fail(QStringLiteral("The X server's XInputExtension is older than 2.2."));

    const std::optional<quint8> xkbFirstEvent = XkbKeyboard::setUpExtension(m_connection);
    if (!xkbFirstEvent)
        return fail(QStringLiteral("The X server lacks the XKEYBOARD extension."));
    m_keyboard = std::make_unique<XkbKeyboard>(m_connection, *xkbFirstEvent);
    if (!m_keyboard->isValid())
        return fail(QStringLiteral("Cannot read the keyboard layout from the X server."));

    m_window = xcb_generate_id(m_connection);
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, m_root, -10, -10, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    m_markerAtom = atom("_WENDLE_OWN_INPUT_MARKER");

    m_notifier =
        new QSocketNotifier(xcb_get_file_descriptor(m_connection), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &XConnection::dispatchPending);
    // A reply we waited for may have read events off the socket without the
    // notifier firing: hand them out before the event loop sleeps.
    if (auto* dispatcher = QAbstractEventDispatcher::instance())
        connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this,
                &XConnection::dispatchPending);
    flush();
    return true;
}

XConnection::~XConnection() {
    if (m_window != XCB_NONE)
        xcb_destroy_window(m_connection, m_window);
    m_keyboard.reset();
    xcb_flush(m_connection);
    xcb_disconnect(m_connection);
}

xcb_atom_t XConnection::atom(const char* name) {
    const QByteArray key(name);
    const auto found = m_atoms.constFind(key);
    if (found != m_atoms.constEnd())
        return *found;
    auto reply = owned(xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 0, quint16(key.size()), name), nullptr));
    const xcb_atom_t value = reply ? reply->atom : xcb_atom_t(XCB_NONE);
    m_atoms.insert(key, value);
    return value;
}

void XConnection::addListener(XEventListener* listener) {
    m_listeners.push_back(listener);
}

void XConnection::removeListener(XEventListener* listener) {
    // Leave a hole while dispatching; it is closed afterwards.
    std::replace(m_listeners.begin(), m_listeners.end(), listener,
                 static_cast<XEventListener*>(nullptr));
    if (!m_dispatching)
        std::erase(m_listeners, nullptr);
}

void XConnection::retainRawKeys() {
    if (m_rawKeyUsers++ == 0)
        selectRawKeys(true);
}

void XConnection::releaseRawKeys() {
    if (m_rawKeyUsers > 0 && --m_rawKeyUsers == 0)
        selectRawKeys(false);
}

void XConnection::selectRawKeys(bool on) {
    struct {
        xcb_input_event_mask_t head;
        quint32 mask;
    } selection = {{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                   on ? quint32(XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS) : 0u};
    xcb_input_xi_select_events(m_connection, m_root, 1, &selection.head);
    flush();
}

void XConnection::postMarker() {
    xcb_client_message_event_t message = {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = m_window;
    message.type = m_markerAtom;
    // An empty event mask sends the event to the window's creator: us.
    xcb_send_event(m_connection, 0, m_window, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&message));
    ++m_markersOutstanding;
    flush();
}

void XConnection::flush() {
    xcb_flush(m_connection);
}

void XConnection::dispatchPending() {
    if (m_dispatching)
        return;
    m_dispatching = true;
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
        dispatch(event);
        std::free(event);
    }
    m_dispatching = false;
    std::erase(m_listeners, nullptr);
    if (xcb_connection_has_error(m_connection) && m_notifier)
        m_notifier->setEnabled(false);
}

void XConnection::dispatch(xcb_generic_event_t* event) {
    const quint8 type = event->response_type & 0x7f;
    if (type == 0)
        return; // an error of a request nobody checked
    if (m_keyboard->handleEvent(event))
        return;
    if (type == XCB_CLIENT_MESSAGE) {
        const auto* message = reinterpret_cast<const xcb_client_message_event_t*>(event);
        if (message->window == m_window && message->type == m_markerAtom) {
            if (m_markersOutstanding > 0)
                --m_markersOutstanding;
            Q_EMIT markerReturned();
            return;
        }
    }
    // By index: a listener may add or remove listeners while it runs.
    for (size_t i = 0; i < m_listeners.size(); ++i) {
        if (m_listeners[i])
            m_listeners[i]->handleXEvent(event);
    }
}
