#include "app/TrayMenu.h"

#include "palette/PaletteController.h"
#include "palette/PaletteIcons.h"
#include "settingswindow/SettingsWindowController.h"
#include "texts/Texts.h"

#include <QApplication>
#include <QCursor>
#include <QMenu>
#include <QSystemTrayIcon>

using namespace std::chrono_literals;

namespace {
// The menu closes first; the copy keystroke must reach the user's window,
// not the menu.
constexpr auto menuOpenDelay = 300ms;
} // namespace

TrayMenu::TrayMenu(QObject* parent)
    : QObject(parent)
    , m_menu(new QMenu)
    , m_icon(new QSystemTrayIcon(QIcon(PaletteIcons::appIconPath()), this)) {
    m_menu->setTitle(QStringLiteral("Wendle"));
    m_menu->addAction(Texts::menuOpenPalette(), this,
                      [] { PaletteController::shared().toggle(menuOpenDelay); });
    m_menu->addSeparator();

    const auto settingsEntry = [this](const QString& title, SettingsTab tab) {
        m_menu->addAction(title, this, [tab] { SettingsWindowController::shared().show(tab); });
    };
    settingsEntry(QStringLiteral("Actions\u2026"), SettingsTab::actions);
    settingsEntry(QStringLiteral("Snippets\u2026"), SettingsTab::snippets);
    // "Settings…" opens the model connection, "Permissions…" the General tab
    // with the permission rows.
    settingsEntry(QStringLiteral("Settings\u2026"), SettingsTab::model);
    settingsEntry(QStringLiteral("Permissions\u2026"), SettingsTab::general);

    m_menu->addSeparator();
    m_menu->addAction(QStringLiteral("Quit Wendle"), this, &TrayMenu::quitRequested);

    m_icon->setToolTip(QStringLiteral("Wendle"));
    m_icon->setContextMenu(m_menu);
    // A left click opens the same menu, as a menu-bar item does.
    connect(m_icon, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason why) {
                if (why == QSystemTrayIcon::Trigger)
                    m_menu->popup(QCursor::pos());
            });
    m_icon->show();
}

TrayMenu::~TrayMenu() {
    delete m_menu;
}
