#include "X11Watch.h"

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <QElapsedTimer>
#include <QHash>

#include <cstdlib>
#include <poll.h>

namespace {
// The few keysyms the benchmark presses (values from X11's keysymdef.h).
const QHash<QByteArray, uint32_t> keysyms{
    {"Control_L", 0xffe3}, {"Alt_L", 0xffe9},  {"space", 0x0020},
    {"Escape", 0xff1b},    {"Return", 0xff0d}, {"1", 0x0031},
};
} // namespace

X11Watch::X11Watch() {
    m_connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(m_connection)) {
        xcb_disconnect(m_connection);
        m_connection = nullptr;
        return;
    }
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(m_connection);
}

X11Watch::~X11Watch() {
    if (m_connection)
        xcb_disconnect(m_connection);
}

uint8_t X11Watch::keycode(const char* keysymName) {
    const uint32_t wanted = keysyms.value(keysymName);
    const xcb_setup_t* setup = xcb_get_setup(m_connection);
    const uint8_t count = uint8_t(setup->max_keycode - setup->min_keycode + 1);
    xcb_get_keyboard_mapping_reply_t* mapping = xcb_get_keyboard_mapping_reply(
        m_connection, xcb_get_keyboard_mapping(m_connection, setup->min_keycode, count), nullptr);
    if (!mapping)
        return 0;
    const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(mapping);
    uint8_t found = 0;
    for (int i = 0; i < count && !found; ++i) {
        if (symbols[i * mapping->keysyms_per_keycode] == wanted)
            found = uint8_t(setup->min_keycode + i);
    }
    std::free(mapping);
    return found;
}

bool X11Watch::chord(std::initializer_list<const char*> keys) {
    QList<uint8_t> codes;
    for (const char* key : keys) {
        const uint8_t code = keycode(key);
        if (!code)
            return false;
        codes.append(code);
    }
    for (uint8_t code : codes)
        xcb_test_fake_input(m_connection, XCB_KEY_PRESS, code, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    for (auto it = codes.crbegin(); it != codes.crend(); ++it)
        xcb_test_fake_input(m_connection, XCB_KEY_RELEASE, *it, XCB_CURRENT_TIME, XCB_NONE, 0, 0,
                            0);
    // A round trip: the server has handled every key when the reply is here.
    free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    return true;
}

void X11Watch::drain() {
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection))
        std::free(event);
}

bool X11Watch::waitForPopup(bool mapped, std::chrono::milliseconds timeout) {
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < timeout.count()) {
        while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
            const uint8_t type = event->response_type & 0x7f;
            bool hit = false;
            if (mapped && type == XCB_MAP_NOTIFY)
                hit = reinterpret_cast<xcb_map_notify_event_t*>(event)->override_redirect;
            if (!mapped && type == XCB_UNMAP_NOTIFY)
                hit = true;
            std::free(event);
            if (hit)
                return true;
        }
        pollfd descriptor{xcb_get_file_descriptor(m_connection), POLLIN, 0};
        ::poll(&descriptor, 1, 1);
    }
    return false;
}
