// Holds Ctrl+Alt+Space (Control+Mod1+space, with no lock modifier) as a
// passive grab on the root window, the way another program that owns the
// shortcut would. Prints "grabbed" once the server has granted it, then keeps
// the grab until it is ended, printing "pressed" for every press the grab
// takes. Exits 1 if the grab is refused, 2 when it cannot even ask (no X
// server, no space key).
//
//   wendle-grab-hotkey

#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>

int main() {
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "grab-hotkey: no X server\n");
        return 2;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;

    // The keycode of "space" in the core keymap.
    const xcb_setup_t* setup = xcb_get_setup(c);
    xcb_get_keyboard_mapping_reply_t* mapping = xcb_get_keyboard_mapping_reply(
        c,
        xcb_get_keyboard_mapping(c, setup->min_keycode,
                                 uint8_t(setup->max_keycode - setup->min_keycode + 1)),
        nullptr);
    if (!mapping)
        return 2;
    const xcb_keysym_t* syms = xcb_get_keyboard_mapping_keysyms(mapping);
    const int perCode = mapping->keysyms_per_keycode;
    xcb_keycode_t space = 0;
    for (int code = setup->min_keycode; code <= setup->max_keycode && !space; ++code) {
        if (syms[(code - setup->min_keycode) * perCode] == 0x20)
            space = xcb_keycode_t(code);
    }
    std::free(mapping);
    if (!space)
        return 2;

    xcb_generic_error_t* error =
        xcb_request_check(c, xcb_grab_key_checked(c, 1, root, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1,
                                                  space, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    if (error) {
        std::fprintf(stderr, "grab-hotkey: refused (error %d)\n", error->error_code);
        std::free(error);
        return 1;
    }
    std::printf("grabbed\n");
    std::fflush(stdout);
    while (xcb_generic_event_t* event = xcb_wait_for_event(c)) {
        // A grabbed press activates the grab: give the keyboard back at once.
        if ((event->response_type & 0x7f) == XCB_KEY_PRESS) {
            xcb_ungrab_keyboard(c, XCB_CURRENT_TIME);
            xcb_flush(c);
            std::printf("pressed\n");
            std::fflush(stdout);
        }
        std::free(event);
    }
    xcb_disconnect(c);
    return 0;
}
