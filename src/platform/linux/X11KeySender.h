#pragma once

#include "platform/KeySender.h"
#include "platform/linux/ApplicationRules.h"
#include "platform/linux/ApplicationRulesFile.h"
#include "platform/linux/X11KeyboardHold.h"

#include <QHash>
#include <QList>

#include <optional>

#include <xcb/xcb.h>

class XConnection;
class X11FrontWindow;

// Key presses through XTest. The modifiers of each press are exact: modifier
// keys the user holds but the press must not have are lifted for its length
// and pressed again after it. Each call ends with a marker to our own window,
// which is how the key watcher tells these keys from the user's. The copy
// and paste keystrokes are the focused application's own: the user's rules
// (ApplicationRulesFile), then the built-in ones (ApplicationRules) by the
// window's names and by its program's name; a terminal emulator that no
// rule names gets none at all, since Ctrl+C there would interrupt the
// program running in it.
// While the user's keys are held, our own presses pass through the hold.
class X11KeySender : public KeySender {
public:
    // `rulesPath`: the user's rules file; empty for the one in the data folder.
    X11KeySender(XConnection& connection, X11FrontWindow& front, const QString& rulesPath = {});

    void send(Qt::Key key, Qt::KeyboardModifiers modifiers) override;
    void sendShortcut(Shortcut shortcut) override;
    bool hasShortcut(Shortcut shortcut) override;
    void holdKeys() override;
    void releaseKeys() override;

    const X11KeyboardHold& hold() const { return m_hold; }

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
    // The keystroke with which the focused application copies or pastes,
    // or nothing when it has none.
    using Keystroke = ApplicationRulesFile::Keystroke;
    std::optional<Keystroke> focusedKeystroke(Shortcut shortcut);
    // The built-in rule for a window, by its names, its program, or what
    // runs in it.
    ApplicationRules::ClipboardKeys builtInKeys(xcb_window_t window, const QString& instance,
                                                const QString& windowClass);
    void fake(quint8 type, xcb_keycode_t keycode);

    XConnection& m_connection;
    X11FrontWindow& m_front;
    X11KeyboardHold m_hold;
    ApplicationRulesFile m_userRules;
    // What the process behind a window was found to be, by window and pid:
    // looking into /proc takes a few milliseconds, too long to repeat at
    // every expansion.
    struct Found {
        qint64 pid = 0;
        ApplicationRules::ClipboardKeys keys{};
    };
    QHash<xcb_window_t, Found> m_found;
};
