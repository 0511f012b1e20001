#include "app/StateProbe.h"

#include "app/TrayMenu.h"
#include "hotkey/HotKey.h"
#include "palette/PaletteController.h"
#include "palette/PalettePanel.h"
#include "settingswindow/SettingsProbe.h"
#include "snippets/SnippetEngine.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMenu>
#include <QMessageBox>
#include <QMetaEnum>
#include <QSystemTrayIcon>
#include <QWindow>

namespace StateProbe {

namespace {
QString sourceName(SelectionSource source) {
    switch (source) {
    case SelectionSource::selection:
        return QStringLiteral("selection");
    case SelectionSource::clipboard:
        return QStringLiteral("clipboard");
    case SelectionSource::none:
        break;
    }
    return QStringLiteral("none");
}

// The menu's titles in order ("-" for a separator), whether it is on the
// screen (exposed, so that keys and clicks reach it), and where the icon is,
// so that a test can click it.
QJsonObject trayState(const TrayMenu& tray) {
    const QMenu& menu = tray.menu();
    QJsonArray entries;
    for (const QAction* action : menu.actions())
        entries.append(action->isSeparator() ? QStringLiteral("-") : action->text());
    const QRect icon = tray.icon().geometry();
    return {{QStringLiteral("entries"), entries},
            {QStringLiteral("menuShown"),
             menu.isVisible() && menu.windowHandle() && menu.windowHandle()->isExposed()},
            {QStringLiteral("icon"), QJsonObject{{QStringLiteral("x"), icon.x()},
                                                 {QStringLiteral("y"), icon.y()},
                                                 {QStringLiteral("width"), icon.width()},
                                                 {QStringLiteral("height"), icon.height()}}}};
}
} // namespace

QByteArray state(const TrayMenu* tray) {
    PaletteController& controller = PaletteController::shared();
    PaletteModel& model = controller.model();
    QJsonObject palette{
        {QStringLiteral("visible"), controller.isVisible()},
        {QStringLiteral("busy"), controller.isBusy()},
        {QStringLiteral("phase"),
         QString::fromLatin1(
             QMetaEnum::fromType<PaletteModel::Phase>().valueToKey(int(model.phase())))},
        {QStringLiteral("source"), sourceName(model.source())},
        {QStringLiteral("selectedText"), model.selectedText()},
        {QStringLiteral("note"), model.note()},
        {QStringLiteral("selectedIndex"), model.selectedIndex()},
        {QStringLiteral("output"), model.output()},
        {QStringLiteral("cleanedOutput"), model.cleanedOutput()},
        {QStringLiteral("errorMessage"), model.errorMessage()},
        {QStringLiteral("runTitle"), model.runTitle()},
        {QStringLiteral("tone"), model.tone()},
        {QStringLiteral("language"), model.language()},
        {QStringLiteral("canReplace"), model.canReplace()},
    };
    if (controller.isVisible()) {
        const QRect frame = controller.panel().frameGeometry();
        palette.insert(QStringLiteral("x"), frame.x());
        palette.insert(QStringLiteral("y"), frame.y());
        palette.insert(QStringLiteral("width"), frame.width());
        palette.insert(QStringLiteral("height"), frame.height());
    }

    QJsonArray alerts;
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget* window : windows) {
        if (auto* box = qobject_cast<QMessageBox*>(window); box && box->isVisible())
            alerts.append(QJsonObject{{QStringLiteral("message"), box->text()},
                                      {QStringLiteral("informative"), box->informativeText()}});
    }

    QJsonObject all{
        {QStringLiteral("palette"), palette},
        {QStringLiteral("alerts"), alerts},
        {QStringLiteral("hotKeyRegistered"), HotKey::shared().isRegistered()},
        {QStringLiteral("trayAvailable"), QSystemTrayIcon::isSystemTrayAvailable()},
        {QStringLiteral("snippetsRunning"), SnippetEngine::shared().isRunning()},
        {QStringLiteral("settings"), SettingsProbe::state()},
    };
    if (tray)
        all.insert(QStringLiteral("tray"), trayState(*tray));
    return QJsonDocument(all).toJson(QJsonDocument::Compact);
}

} // namespace StateProbe
