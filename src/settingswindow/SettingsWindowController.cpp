#include "settingswindow/SettingsWindowController.h"

#include "platform/Platform.h"
#include "settingswindow/SettingsServices.h"
#include "settingswindow/SettingsUI.h"
#include "settingswindow/SettingsWindow.h"

SettingsWindowController& SettingsWindowController::shared() {
    static SettingsWindowController controller;
    return controller;
}

void SettingsWindowController::show(SettingsTab tab) {
    SettingsUI::shared().setTab(tab);
    if (!m_window) {
        auto* window = new SettingsWindow(SettingsServices::shared(), SettingsUI::shared());
        // Centred once, when it is made: a window the user moved stays where
        // it was put.
        window->centre();
        m_window = window;
    }
    // An accessory application has to bring itself to the front.
    if (Platform::isInstalled())
        Platform::shared().shell().activate();
    if (m_window->isMinimized())
        m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}
