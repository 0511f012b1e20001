#pragma once

#include "settingswindow/SettingsServices.h"

#include <QWidget>

class SettingsRoot;
class SettingsUI;

// The settings window: titled "Wendle Settings", 700 × 520, not resizable.
// Closing it only hides it, so the next show brings back the same window
// with everything in it as it was.
class SettingsWindow : public QWidget {
    Q_OBJECT
public:
    static constexpr int width = 700;
    static constexpr int height = 520;

    SettingsWindow(const SettingsServices& services, SettingsUI& ui, QWidget* parent = nullptr);

    SettingsRoot* root() const { return m_root; }

    // Places the window in the middle of the screen it is on.
    void centre();

private:
    SettingsRoot* m_root = nullptr;
};
