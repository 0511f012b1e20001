#include "settingswindow/SettingsTabs.h"

namespace SettingsTabs {

const QList<SettingsTab>& allCases() {
    static const QList<SettingsTab> tabs{SettingsTab::model, SettingsTab::actions,
                                         SettingsTab::snippets, SettingsTab::general};
    return tabs;
}

QString title(SettingsTab tab) {
    switch (tab) {
    case SettingsTab::model:
        return QStringLiteral("Model");
    case SettingsTab::actions:
        return QStringLiteral("Actions");
    case SettingsTab::snippets:
        return QStringLiteral("Snippets");
    case SettingsTab::general:
        return QStringLiteral("General");
    }
    return {};
}

QString symbol(SettingsTab tab) {
    switch (tab) {
    case SettingsTab::model:
        return QStringLiteral("cpu");
    case SettingsTab::actions:
        return QStringLiteral("list.bullet");
    case SettingsTab::snippets:
        return QStringLiteral("text.badge.plus");
    case SettingsTab::general:
        return QStringLiteral("gearshape");
    }
    return {};
}

} // namespace SettingsTabs
