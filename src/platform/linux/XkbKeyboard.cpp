#include "platform/linux/XkbKeyboard.h"

#include "platform/linux/XcbXkb.h"

#include <xkbcommon/xkbcommon-x11.h>

#include <bit>

namespace {

// The head that every XKB event shares: the kind of XKB event is in the byte
// where core events keep their detail.
struct XkbEventHead {
    quint8 responseType;
    quint8 xkbType;
    quint16 sequence;
    xcb_timestamp_t time;
    quint8 deviceId;
};

constexpr quint16 selectedEvents = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY |
                                   XCB_XKB_EVENT_TYPE_MAP_NOTIFY | XCB_XKB_EVENT_TYPE_STATE_NOTIFY;

constexpr quint16 selectedMapParts =
    XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP |
    XCB_XKB_MAP_PART_EXPLICIT_COMPONENTS | XCB_XKB_MAP_PART_KEY_ACTIONS |
    XCB_XKB_MAP_PART_VIRTUAL_MODS | XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;

constexpr quint16 selectedStateParts =
    XCB_XKB_STATE_PART_MODIFIER_BASE | XCB_XKB_STATE_PART_MODIFIER_LATCH |
    XCB_XKB_STATE_PART_MODIFIER_LOCK | XCB_XKB_STATE_PART_GROUP_BASE |
    XCB_XKB_STATE_PART_GROUP_LATCH | XCB_XKB_STATE_PART_GROUP_LOCK;

} // namespace

std::optional<quint8> XkbKeyboard::setUpExtension(xcb_connection_t* connection) {
    quint8 firstEvent = 0;
    const int ok = xkb_x11_setup_xkb_extension(
        connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
        XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &firstEvent, nullptr);
    if (!ok)
        return std::nullopt;
    return firstEvent;
}

XkbKeyboard::XkbKeyboard(xcb_connection_t* connection, quint8 firstEvent)
    : m_connection(connection)
    , m_firstEvent(firstEvent) {
    m_context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    m_deviceId = xkb_x11_get_core_keyboard_device_id(connection);
    if (!m_context || m_deviceId < 0)
        return;
    selectEvents();
    load();
}

XkbKeyboard::~XkbKeyboard() {
    xkb_state_unref(m_state);
    xkb_keymap_unref(m_keymap);
    xkb_context_unref(m_context);
}

void XkbKeyboard::selectEvents() {
    xcb_xkb_select_events_details_t details = {};
    details.affectNewKeyboard = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.newKeyboardDetails = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.affectState = selectedStateParts;
    details.stateDetails = selectedStateParts;
    xcb_xkb_select_events_aux(m_connection, quint16(m_deviceId), selectedEvents, 0, selectedEvents,
                              selectedMapParts, selectedMapParts, &details);
}

void XkbKeyboard::load() {
    xkb_keymap* keymap = xkb_x11_keymap_new_from_device(m_context, m_connection, m_deviceId,
                                                        XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (!keymap)
        return; // keep the previous keymap rather than none
    xkb_state* state = xkb_x11_state_new_from_device(keymap, m_connection, m_deviceId);
    if (!state) {
        xkb_keymap_unref(keymap);
        return;
    }
    xkb_state_unref(m_state);
    xkb_keymap_unref(m_keymap);
    m_keymap = keymap;
    m_state = state;
    m_control = xkb_keymap_mod_get_index(keymap, XKB_MOD_NAME_CTRL);
    m_shift = xkb_keymap_mod_get_index(keymap, XKB_MOD_NAME_SHIFT);
    m_alt = xkb_keymap_mod_get_index(keymap, XKB_MOD_NAME_ALT);
    m_super = xkb_keymap_mod_get_index(keymap, XKB_MOD_NAME_LOGO);
    m_levelThree = xkb_keymap_mod_get_index(keymap, "Mod5");
    ++m_loads;
}

bool XkbKeyboard::handleEvent(const xcb_generic_event_t* event) {
    if ((event->response_type & 0x7f) != m_firstEvent)
        return false;
    const auto* head = reinterpret_cast<const XkbEventHead*>(event);
    if (head->deviceId != m_deviceId)
        return true;
    switch (head->xkbType) {
    case XCB_XKB_NEW_KEYBOARD_NOTIFY: {
        const auto* notify = reinterpret_cast<const xcb_xkb_new_keyboard_notify_event_t*>(event);
        if (notify->changed & XCB_XKB_NKN_DETAIL_KEYCODES)
            load();
        break;
    }
    case XCB_XKB_MAP_NOTIFY:
        load();
        break;
    case XCB_XKB_STATE_NOTIFY: {
        const auto* notify = reinterpret_cast<const xcb_xkb_state_notify_event_t*>(event);
        if (m_state)
            xkb_state_update_mask(m_state, notify->baseMods, notify->latchedMods,
                                  notify->lockedMods, quint32(notify->baseGroup),
                                  quint32(notify->latchedGroup), notify->lockedGroup);
        break;
    }
    default:
        break;
    }
    return true;
}

std::optional<XkbKeyboard::KeyPosition> XkbKeyboard::find(xkb_keysym_t keysym) const {
    if (!m_keymap)
        return std::nullopt;
    const xkb_mod_mask_t shiftBit = m_shift == XKB_MOD_INVALID ? 0 : 1u << m_shift;
    const xkb_mod_mask_t levelThreeBit = m_levelThree == XKB_MOD_INVALID ? 0 : 1u << m_levelThree;
    std::optional<KeyPosition> best;
    int bestCost = 99;
    const xkb_keycode_t last = xkb_keymap_max_keycode(m_keymap);
    for (xkb_keycode_t code = xkb_keymap_min_keycode(m_keymap); code <= last; ++code) {
        const xkb_layout_index_t layout = xkb_state_key_get_layout(m_state, code);
        if (layout == XKB_LAYOUT_INVALID)
            continue;
        const xkb_level_index_t levels = xkb_keymap_num_levels_for_key(m_keymap, code, layout);
        for (xkb_level_index_t level = 0; level < levels; ++level) {
            const xkb_keysym_t* syms = nullptr;
            const int count =
                xkb_keymap_key_get_syms_by_level(m_keymap, code, layout, level, &syms);
            if (count != 1 || syms[0] != keysym)
                continue;
            xkb_mod_mask_t masks[8];
            const size_t maskCount =
                xkb_keymap_key_get_mods_for_level(m_keymap, code, layout, level, masks, 8);
            for (size_t i = 0; i < maskCount; ++i) {
                // Levels reached only through a lock (Caps Lock, Num Lock) are
                // left out: we never toggle a lock.
                if (masks[i] & ~(shiftBit | levelThreeBit))
                    continue;
                const int cost = std::popcount(masks[i]);
                if (cost >= bestCost)
                    continue;
                unsigned needed = 0;
                if (masks[i] & shiftBit)
                    needed |= levelShift;
                if (masks[i] & levelThreeBit)
                    needed |= levelThree;
                best = KeyPosition{code, needed};
                bestCost = cost;
                if (cost == 0)
                    return best;
            }
        }
    }
    return best;
}

xkb_keysym_t XkbKeyboard::baseKeysym(xkb_keycode_t keycode) const {
    if (!m_keymap)
        return XKB_KEY_NoSymbol;
    xkb_layout_index_t layout = xkb_state_key_get_layout(m_state, keycode);
    if (layout == XKB_LAYOUT_INVALID)
        layout = 0;
    const xkb_keysym_t* syms = nullptr;
    if (xkb_keymap_key_get_syms_by_level(m_keymap, keycode, layout, 0, &syms) < 1)
        return XKB_KEY_NoSymbol;
    return syms[0];
}

static bool modActive(xkb_state* state, xkb_mod_index_t index) {
    return state && index != XKB_MOD_INVALID &&
           xkb_state_mod_index_is_active(state, index, XKB_STATE_MODS_EFFECTIVE) > 0;
}

bool XkbKeyboard::controlActive() const {
    return modActive(m_state, m_control);
}

bool XkbKeyboard::shiftActive() const {
    return modActive(m_state, m_shift);
}

bool XkbKeyboard::altActive() const {
    return modActive(m_state, m_alt);
}

bool XkbKeyboard::superActive() const {
    return modActive(m_state, m_super);
}
