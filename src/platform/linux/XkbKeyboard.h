#pragma once

#include <QString>

#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon.h>

#include <optional>

// The core keyboard's current keymap and state, read with xkbcommon-x11 and
// kept in step with the server: XKB StateNotify updates the modifiers and the
// layout group, NewKeyboardNotify and MapNotify (setxkbmap, a different
// keyboard) reload the keymap.
class XkbKeyboard {
public:
    // Sets up the XKB extension on `connection`; null when the server lacks it.
    static std::optional<quint8> setUpExtension(xcb_connection_t* connection);

    XkbKeyboard(xcb_connection_t* connection, quint8 firstEvent);
    ~XkbKeyboard();
    XkbKeyboard(const XkbKeyboard&) = delete;
    XkbKeyboard& operator=(const XkbKeyboard&) = delete;

    bool isValid() const { return m_state != nullptr; }
    // Returns true when the event was an XKB event (handled here).
    bool handleEvent(const xcb_generic_event_t* event);

    xkb_keymap* keymap() const { return m_keymap; }
    xkb_state* state() const { return m_state; }
    // How many times the keymap was loaded (tests watch layout switches).
    int keymapLoads() const { return m_loads; }

    // Modifiers that select a shift level, as a key sender must press them.
    enum LevelModifier : unsigned { levelShift = 1, levelThree = 2 };
    struct KeyPosition {
        xkb_keycode_t keycode = 0;
        unsigned levelModifiers = 0; // LevelModifier bits
    };
    // Where `keysym` sits in the current layout group, preferring the level
    // that needs the fewest modifiers; none when the layout lacks it.
    std::optional<KeyPosition> find(xkb_keysym_t keysym) const;

    // The keysym of the key's first level in the current group (what a
    // modifier key is, whatever the state).
    xkb_keysym_t baseKeysym(xkb_keycode_t keycode) const;

    // Effective-modifier tests on the current state.
    bool controlActive() const;
    bool shiftActive() const;
    bool altActive() const;
    bool superActive() const;

private:
    void load();
    void selectEvents();

    xcb_connection_t* m_connection;
    quint8 m_firstEvent;
    qint32 m_deviceId = -1;
    xkb_context* m_context = nullptr;
    xkb_keymap* m_keymap = nullptr;
    xkb_state* m_state = nullptr;
    xkb_mod_index_t m_control = XKB_MOD_INVALID;
    xkb_mod_index_t m_shift = XKB_MOD_INVALID;
    xkb_mod_index_t m_alt = XKB_MOD_INVALID;
    xkb_mod_index_t m_super = XKB_MOD_INVALID;
    xkb_mod_index_t m_levelThree = XKB_MOD_INVALID;
    int m_loads = 0;
};
