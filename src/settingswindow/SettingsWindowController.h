#pragma once

#include "settingswindow/SettingsTab.h"

#include <QPointer>

class QWidget;

// The one settings window: created on first use, then hidden and shown again,
// never a second one.
class SettingsWindowController {
public:
    static SettingsWindowController& shared();

    // Brings up the window on `tab`, also when it is already open, and brings
    // the application to the front.
    void show(SettingsTab tab);

    // The window, once created (for tests).
    QWidget* window() const { return m_window; }

private:
    QPointer<QWidget> m_window;
};
