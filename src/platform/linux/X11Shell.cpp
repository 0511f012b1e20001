#include "platform/linux/X11Shell.h"

#include <QApplication>
#include <QWidget>

void X11Shell::activate() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (!window->isVisible() || (window->windowType() == Qt::Popup))
            continue;
        window->raise();
        window->activateWindow();
    }
}

void X11Shell::preparePalettePanel(QWidget* panel) {
    if (!panel)
        return;
    const bool visible = panel->isVisible();
    panel->setWindowFlags(Qt::Popup | Qt::FramelessWindowHint);
    if (visible)
        panel->show();
}
