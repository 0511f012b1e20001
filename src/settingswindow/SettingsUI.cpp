#include "settingswindow/SettingsUI.h"

SettingsUI& SettingsUI::shared() {
    static SettingsUI* ui = new SettingsUI;
    return *ui;
}

void SettingsUI::setTab(SettingsTab tab) {
    m_tab = tab;
    Q_EMIT tabChanged(tab);
}
