#pragma once

class QWidget;

// How the application presents itself: an accessory (no Dock icon) and a
// palette panel that does not take the focus from the user's application.
class AppShell {
public:
    virtual ~AppShell() = default;

    // No Dock icon or main menu; only the tray (menu-bar) icon.
    virtual void becomeAccessory() = 0;
    // Brings this application to the front, for alerts and the settings window.
    virtual void activate() = 0;
    // Makes the palette window float above other windows without activating
    // this application, where the platform can.
    virtual void preparePalettePanel(QWidget* panel) = 0;
};
