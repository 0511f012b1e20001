#pragma once

#include "settingswindow/SettingsTab.h"

#include <QList>
#include <QString>

// What each tab of the settings window shows in the tab bar.
namespace SettingsTabs {

// Every tab, from left to right.
const QList<SettingsTab>& allCases();
QString title(SettingsTab tab);  // "Model", "Actions", "Snippets", "General"
QString symbol(SettingsTab tab); // the symbol name drawn beside the title

} // namespace SettingsTabs
