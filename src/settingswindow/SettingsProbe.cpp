#include "settingswindow/SettingsProbe.h"

#include "actions/ActionStore.h"

#include "settingswindow/ActionsTab.h"
#include "settingswindow/ModelTab.h"
#include "settingswindow/SettingsRoot.h"
#include "settingswindow/SettingsTabs.h"
#include "settingswindow/SettingsWindow.h"
#include "settingswindow/SettingsWindowController.h"

#include <QApplication>
#include <QJsonArray>
#include <QLineEdit>
#include <QMenu>
#include <QTabBar>
#include <QTabWidget>

namespace {

QJsonObject rect(const QRect& area) {
    return {{QStringLiteral("x"), area.x()},
            {QStringLiteral("y"), area.y()},
            {QStringLiteral("width"), area.width()},
            {QStringLiteral("height"), area.height()}};
}

// Every visible control of the window that has a name, in screen coordinates.
QJsonObject controls(QWidget* window) {
    QJsonObject found;
    for (QWidget* widget : window->findChildren<QWidget*>()) {
        const QString name = widget->objectName();
        if (name.isEmpty() || name.startsWith(QLatin1String("qt_")) || !widget->isVisible())
            continue;
        found.insert(name, rect(QRect(widget->mapToGlobal(QPoint(0, 0)), widget->size())));
    }
    return found;
}

} // namespace

namespace SettingsProbe {

QJsonObject state() {
    int windows = 0;
    for (QWidget* widget : QApplication::topLevelWidgets())
        windows += qobject_cast<SettingsWindow*>(widget) ? 1 : 0;
    QJsonObject all{{QStringLiteral("windows"), windows}};
    auto* window = qobject_cast<SettingsWindow*>(SettingsWindowController::shared().window());
    all.insert(QStringLiteral("exists"), window != nullptr);
    if (!window)
        return all;
    SettingsRoot* root = window->root();
    all.insert(QStringLiteral("visible"), window->isVisible());
    all.insert(QStringLiteral("active"), window->isActiveWindow());
    all.insert(QStringLiteral("title"), window->windowTitle());
    all.insert(QStringLiteral("tab"), SettingsTabs::title(root->currentTab()));
    all.insert(QStringLiteral("frame"), rect(window->frameGeometry()));
    all.insert(QStringLiteral("content"), rect(window->geometry()));
    all.insert(QStringLiteral("resizable"), window->minimumSize() != window->maximumSize());

    ModelTab* model = root->modelTab();
    all.insert(QStringLiteral("model"),
               QJsonObject{
                   {QStringLiteral("status"), model->status()},
                   {QStringLiteral("statusIsError"), model->statusIsError()},
                   {QStringLiteral("loading"), model->isLoading()},
                   {QStringLiteral("models"), QJsonArray::fromStringList(model->models())},
                   {QStringLiteral("field"),
                    model->findChild<QLineEdit*>(QStringLiteral("model"))->text()},
               });

    QString selectedAction;
    if (const std::optional<QUuid> id = root->actionsTab()->selected()) {
        for (const WendleAction& action : ActionStore::shared().actions()) {
            if (action.id == *id)
                selectedAction = action.name;
        }
    }
    all.insert(QStringLiteral("actionsSelected"), selectedAction);

    QJsonObject tabs;
    QTabBar* bar = root->tabs()->tabBar();
    for (int i = 0; i < bar->count(); ++i)
        tabs.insert(bar->tabText(i), rect(QRect(bar->mapToGlobal(bar->tabRect(i).topLeft()),
                                                bar->tabRect(i).size())));
    all.insert(QStringLiteral("tabs"), tabs);
    all.insert(QStringLiteral("controls"), controls(window));
    bool menuShown = false;
    for (const QMenu* menu : window->findChildren<QMenu*>())
        menuShown = menuShown || menu->isVisible();
    all.insert(QStringLiteral("menuShown"), menuShown);
    return all;
}

} // namespace SettingsProbe
