#pragma once

#include "platform/Platform.h"
#include "platform/linux/X11Clipboard.h"
#include "platform/linux/X11FrontWindow.h"
#include "platform/linux/X11HotKey.h"
#include "platform/linux/X11KeySender.h"
#include "platform/linux/X11KeyWatcher.h"
#include "platform/linux/X11ModifierState.h"
#include "platform/linux/X11Permissions.h"
#include "platform/linux/X11Shell.h"
#include "platform/linux/XConnection.h"
#include "platform/linux/XdgAutostart.h"

#include <memory>

// The X11 desktop: every service on one X connection of our own, besides
// Qt's (which carries the windows and the clipboard).
class X11Platform : public Platform {
public:
    explicit X11Platform(std::unique_ptr<XConnection> connection);
    ~X11Platform() override;

    GlobalHotKey& hotKey() override { return m_hotKey; }
    KeySender& keySender() override { return m_keySender; }
    KeyWatcher& keyWatcher() override { return m_keyWatcher; }
    FrontWindow& frontWindow() override { return m_frontWindow; }
    ModifierState& modifierState() override { return m_modifierState; }
    Clipboard& clipboard() override { return m_clipboard; }
    PermissionService& permissions() override { return m_permissions; }
    AppShell& shell() override { return m_shell; }
    LoginItem& loginItem() override { return m_loginItem; }

    XConnection& connection() { return *m_connection; }

private:
    std::unique_ptr<XConnection> m_connection;
    X11FrontWindow m_frontWindow;
    X11HotKey m_hotKey;
    X11KeySender m_keySender;
    X11KeyWatcher m_keyWatcher;
    X11ModifierState m_modifierState;
    X11Clipboard m_clipboard;
    X11Permissions m_permissions;
    X11Shell m_shell;
    XdgAutostart m_loginItem;
};
