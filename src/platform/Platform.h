#pragma once

#include "platform/AppShell.h"
#include "platform/Clipboard.h"
#include "platform/FrontWindow.h"
#include "platform/GlobalHotKey.h"
#include "platform/KeySender.h"
#include "platform/KeyWatcher.h"
#include "platform/LoginItem.h"
#include "platform/ModifierState.h"
#include "platform/PermissionService.h"

#include <QString>

#include <memory>
#include <optional>

// The desktop services Wendle needs, one implementation per platform, chosen at
// start-up. Portable code receives these interfaces and never includes a
// platform header; unit tests hand it fakes.
class Platform {
public:
    virtual ~Platform() = default;

    virtual GlobalHotKey& hotKey() = 0;
    virtual KeySender& keySender() = 0;
    virtual KeyWatcher& keyWatcher() = 0;
    virtual FrontWindow& frontWindow() = 0;
    virtual ModifierState& modifierState() = 0;
    virtual Clipboard& clipboard() = 0;
    virtual PermissionService& permissions() = 0;
    virtual AppShell& shell() = 0;
    virtual LoginItem& loginItem() = 0;

    // The implementation for the desktop this process runs on. Needs a
    // QGuiApplication. Returns null, with a reason in `error`, when the desktop
    // is not supported (for example a Wayland session without X11).
    static std::unique_ptr<Platform> create(QString* error);

    // Some platforms run a part of themselves as a process of its own, which
    // is `wendle` started with arguments of theirs (on X11: the keeper of the
    // clipboard after Wendle quit). Called first thing in main(): for such
    // arguments it runs that process and gives its exit status; for any
    // other arguments nothing.
    static std::optional<int> runHelper(int argc, char* argv[]);

    // The process-wide instance that the shared controllers use; installed
    // once by the application at start-up.
    static void install(std::unique_ptr<Platform> platform);
    static Platform& shared();
    static bool isInstalled();
};
