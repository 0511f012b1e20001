#pragma once

#include "platform/KeySender.h"

#include <QList>

#include <optional>

#include <xcb/xcb.h>

class XConnection;
class X11FrontWindow;

// Key presses through XTest. The modifiers of each press are exact: modifier
// keys the user holds but the press must not have are lifted for its length
// and pressed again after it. Each call ends with a marker to our own window,
// which is how the key watcher tells these keys from the user's. The copy
// and paste keystrokes are the focused application's own (ApplicationRules).
class X11KeySender : public KeySender {
public:
    X11KeySender(XConnection& connection, X11FrontWindow& front);

    void send(Qt::Key key, Qt::KeyboardModifiers modifiers) override;
    void sendShortcut(Shortcut shortcut) override;
    bool hasShortcut(Shortcut shortcut) override;

private:
    enum Modifier : unsigned {
        control = 1,
        shift = 2,
        alt = 4,
        super = 8,
        levelThree = 16,
    };
    static constexpr int modifierCount = 5;

    unsigned modifierOf(xcb_keycode_t keycode) const;
    // The modifiers the focused application copies and pastes with (C and
    // V), or nothing when it has no such keystroke.
    std::optional<Qt::KeyboardModifiers> focusedShortcutModifiers();
    void fake(quint8 type, xcb_keycode_t keycode);

    XConnection& m_connection;
    X11FrontWindow& m_front;
};
