#pragma once

#include <QObject>

class QMenu;
class QSystemTrayIcon;

// Wendle's icon in the system tray and its menu: open the palette, the
// settings window on one of its tabs, and quit.
class TrayMenu : public QObject {
    Q_OBJECT
public:
    explicit TrayMenu(QObject* parent = nullptr);
    ~TrayMenu() override;

    QSystemTrayIcon& icon() const { return *m_icon; }
    QMenu& menu() const { return *m_menu; }

Q_SIGNALS:
    // "Quit Wendle" was chosen; the application decides how it ends.
    void quitRequested();

private:
    QMenu* m_menu;
    QSystemTrayIcon* m_icon;
};
