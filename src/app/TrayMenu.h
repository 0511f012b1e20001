#pragma once

#include <QObject>

class QAction;
class QMenu;
class QSystemTrayIcon;

// Wendle's icon in the system tray and its menu: open the palette, the
// settings window on one of its tabs, and quit.
class TrayMenu : public QObject {
    Q_OBJECT
public:
    explicit TrayMenu(QObject* parent = nullptr);
    ~TrayMenu() override;

    QSystemTrayIcon& icon() { return *m_icon; }
    QMenu& menu() { return *m_menu; }

    // Adds an entry to the group below the settings entries, above "Quit
    // Wendle" (for example a switch for snippet expansion).
    void addEntry(QAction* action);

private:
    QMenu* m_menu;
    QSystemTrayIcon* m_icon;
    QAction* m_quitSeparator;
    QAction* m_extraSeparator = nullptr;
};
