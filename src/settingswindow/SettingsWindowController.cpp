#include "settingswindow/SettingsWindowController.h"

#include "platform/Platform.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

SettingsWindowController& SettingsWindowController::shared() {
    static SettingsWindowController controller;
    return controller;
}

void SettingsWindowController::show(SettingsTab) {
    if (!m_window) {
        auto* window = new QWidget;
        window->setWindowTitle(QStringLiteral("Wendle Settings"));
        window->setFixedSize(700, 520);
        if (QScreen* screen = QGuiApplication::primaryScreen())
            window->move(screen->availableGeometry().center() - window->rect().center());
        m_window = window;
    }
    if (Platform::isInstalled())
        Platform::shared().shell().activate();
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}
