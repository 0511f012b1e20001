#include "platform/linux/X11KeySender.h"

#include "platform/linux/ApplicationRules.h"
#include "platform/linux/KeySymbols.h"
#include "platform/linux/TerminalProcess.h"
#include "platform/linux/X11FrontWindow.h"
#include "platform/linux/XConnection.h"
#include "storage/AppSupport.h"

#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include <cstdlib>
#include <memory>
#include <optional>

namespace {

// The key pressed for each modifier, in Modifier bit order.
constexpr xkb_keysym_t modifierKeys[] = {XKB_KEY_Control_L, XKB_KEY_Shift_L, XKB_KEY_Alt_L,
                                         XKB_KEY_Super_L, XKB_KEY_ISO_Level3_Shift};

} // namespace

X11KeySender::X11KeySender(XConnection& connection, X11FrontWindow& front, const QString& rulesPath)
    : m_connection(connection)
    , m_front(front)
    , m_hold(connection)
    , m_userRules(rulesPath.isEmpty() ? AppSupport::fileURL(QStringLiteral("keystrokes.json"))
                                      : rulesPath) {}

unsigned X11KeySender::modifierOf(xcb_keycode_t keycode) const {
    switch (m_connection.keyboard().baseKeysym(keycode)) {
    case XKB_KEY_Control_L:
    case XKB_KEY_Control_R:
        return control;
    case XKB_KEY_Shift_L:
    case XKB_KEY_Shift_R:
        return shift;
    case XKB_KEY_Alt_L:
    case XKB_KEY_Alt_R:
    case XKB_KEY_Meta_L:
    case XKB_KEY_Meta_R:
        return alt;
    case XKB_KEY_Super_L:
    case XKB_KEY_Super_R:
    case XKB_KEY_Hyper_L:
    case XKB_KEY_Hyper_R:
        return super;
    case XKB_KEY_ISO_Level3_Shift:
    case XKB_KEY_Mode_switch:
        return levelThree;
    default:
        return 0;
    }
}

void X11KeySender::fake(quint8 type, xcb_keycode_t keycode) {
    xcb_test_fake_input(m_connection.xcb(), type, keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
}

void X11KeySender::send(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    XkbKeyboard& keyboard = m_connection.keyboard();
    const xkb_keysym_t keysym = KeySymbols::fromQtKey(key);
    const auto position = keyboard.find(keysym);
    if (keysym == XKB_KEY_NoSymbol || !position)
        return; // the layout has no such key: nothing is sent

    unsigned wanted = 0;
    if (modifiers & Qt::ControlModifier)
        wanted |= control;
    if (modifiers & Qt::AltModifier)
        wanted |= alt;
    if (modifiers & Qt::MetaModifier)
        wanted |= super;
    // A shifted symbol (":" on a US layout) brings its own Shift or AltGr.
    if ((modifiers & Qt::ShiftModifier) || (position->levelModifiers & XkbKeyboard::levelShift))
        wanted |= shift;
    if (position->levelModifiers & XkbKeyboard::levelThree)
        wanted |= levelThree;

    // The modifier keys down at this moment, whoever holds them.
    auto keymap = std::unique_ptr<xcb_query_keymap_reply_t, decltype(&std::free)>(
        xcb_query_keymap_reply(m_connection.xcb(), xcb_query_keymap(m_connection.xcb()), nullptr),
        &std::free);
    QList<xcb_keycode_t> lifted;
    unsigned held = 0;
    if (keymap) {
        for (int code = 8; code < 256; ++code) {
            if (!(keymap->keys[code / 8] & (1 << (code % 8))))
                continue;
            const unsigned modifier = modifierOf(xcb_keycode_t(code));
            if (!modifier)
                continue;
            held |= modifier;
            if (!(wanted & modifier))
                lifted.append(xcb_keycode_t(code));
        }
    }
    QList<xcb_keycode_t> pressed;
    for (int i = 0; i < modifierCount; ++i) {
        const unsigned modifier = 1u << i;
        if (!(wanted & modifier) || (held & modifier))
            continue;
        const auto modifierKey = keyboard.find(modifierKeys[i]);
        if (!modifierKey)
            return; // the press cannot have its modifiers: send nothing
        pressed.append(xcb_keycode_t(modifierKey->keycode));
    }

    // The grab of a hold would take these keys too: they go out in a gap
    // of it, and the server handles the whole run of requests in order.
    m_hold.letThrough();
    for (xcb_keycode_t code : lifted)
        fake(XCB_KEY_RELEASE, code);
    for (xcb_keycode_t code : pressed)
        fake(XCB_KEY_PRESS, code);
    fake(XCB_KEY_PRESS, xcb_keycode_t(position->keycode));
    fake(XCB_KEY_RELEASE, xcb_keycode_t(position->keycode));
    for (auto it = pressed.crbegin(); it != pressed.crend(); ++it)
        fake(XCB_KEY_RELEASE, *it);
    for (xcb_keycode_t code : lifted)
        fake(XCB_KEY_PRESS, code);
    m_connection.postMarker();
    m_hold.closeAgain();
}

std::optional<X11KeySender::Keystroke> X11KeySender::focusedKeystroke(Shortcut shortcut) {
    const xcb_window_t window = m_front.currentWindow();
    const X11FrontWindow::WindowClass names =
        window == XCB_NONE ? X11FrontWindow::WindowClass{} : m_front.windowClass(window);
    if (const ApplicationRulesFile::Rule* rule = m_userRules.find(names.instance, names.name))
        return shortcut == Shortcut::copy ? rule->copy : rule->paste;
    const std::optional<Qt::KeyboardModifiers> modifiers =
        ApplicationRules::shortcutModifiers(builtInKeys(window, names.instance, names.name));
    if (!modifiers)
        return std::nullopt;
    return Keystroke{shortcut == Shortcut::copy ? Qt::Key_C : Qt::Key_V, *modifiers};
}

ApplicationRules::ClipboardKeys X11KeySender::builtInKeys(xcb_window_t window,
                                                          const QString& instance,
                                                          const QString& windowClass) {
    using ApplicationRules::ClipboardKeys;
    if (const auto known = ApplicationRules::knownClipboardKeys(instance, windowClass))
        return *known;
    if (window == XCB_NONE)
        return ClipboardKeys::standard;
    const qint64 pid = m_front.localPid(window);
    if (pid <= 0)
        return ClipboardKeys::standard;
    if (const auto found = m_found.constFind(window); found != m_found.cend() && found->pid == pid)
        return found->keys;

    // A terminal renamed with -class / -name: its program's name, and else
    // what runs in it.
    ClipboardKeys keys = ClipboardKeys::standard;
    if (const auto known =
            ApplicationRules::knownClipboardKeys(TerminalProcess::programName(pid), {}))
        keys = *known;
    else if (TerminalProcess::runsTerminal(pid))
        keys = ClipboardKeys::none; // an unknown terminal's keystrokes are unknown too
    if (m_found.size() >= 64)
        m_found.clear(); // windows come and go; this is only a shortcut
    m_found.insert(window, Found{pid, keys});
    return keys;
}

void X11KeySender::sendShortcut(Shortcut shortcut) {
    // Without a keystroke the application understands, nothing is sent: a
    // copy that never arrives leaves the clipboard as it was.
    if (const std::optional<Keystroke> keystroke = focusedKeystroke(shortcut))
        send(keystroke->key, keystroke->modifiers);
}

bool X11KeySender::hasShortcut(Shortcut shortcut) {
    return focusedKeystroke(shortcut).has_value();
}

void X11KeySender::holdKeys() {
    m_hold.hold();
}

void X11KeySender::releaseKeys() {
    m_hold.release();
}
