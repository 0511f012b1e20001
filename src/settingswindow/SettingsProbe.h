#pragma once

#include <QJsonObject>

// The settings window's state as JSON, for end-to-end tests that drive the
// real program from outside: whether the window exists and is shown, where,
// on which tab, what the Model tab reports, where its named controls are on
// the screen (so a test can click them like a person), and whether one of its
// menus is open.
namespace SettingsProbe {

QJsonObject state();

} // namespace SettingsProbe
