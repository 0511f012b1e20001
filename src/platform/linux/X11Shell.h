#pragma once

#include "platform/AppShell.h"

// An X11 application has no Dock icon to hide and no activation policy.
class X11Shell : public AppShell {
public:
    void becomeAccessory() override {}
    // Raises our visible windows (alerts, the settings window) and asks the
    // window manager to activate them.
    void activate() override;
    // Makes the palette a frameless Qt::Popup: X11 has no non-activating
    // panel, but a popup leaves the input focus with the user's application,
    // still receives every key (it grabs the keyboard while shown) and closes
    // on a click outside it, with or without a window manager.
    void preparePalettePanel(QWidget* panel) override;
};
