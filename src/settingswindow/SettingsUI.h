#pragma once

#include "settingswindow/SettingsTab.h"

#include <QObject>

// Which tab the settings window shows. The window controller writes it before
// showing the window; the tab bar writes it when the user picks a tab; the
// choice is kept while the process runs.
class SettingsUI : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    static SettingsUI& shared();

    SettingsTab tab() const { return m_tab; }
    // Notifies on every assignment, also when the tab does not change.
    void setTab(SettingsTab tab);

Q_SIGNALS:
    void tabChanged(SettingsTab tab);

private:
    SettingsTab m_tab = SettingsTab::model;
};
