#pragma once

#include <QTimer>
#include <QWidget>

class LoginItem;
class PermissionRow;
class PermissionService;
class QLabel;
class ToggleSwitch;

// The "General" tab: how to open the palette, whether the two permissions
// are granted (checked again every two seconds while the tab is on screen),
// whether Wendle starts at login (for an installed Wendle), and where the
// user's data is kept.
class GeneralTab : public QWidget {
    Q_OBJECT
public:
    GeneralTab(PermissionService& permissions, LoginItem& loginItem, QWidget* parent = nullptr);

    PermissionRow* accessibilityRow() const { return m_accessibility; }
    PermissionRow* inputMonitoringRow() const { return m_inputMonitoring; }
    ToggleSwitch* startAtLoginSwitch() const { return m_startAtLogin; }

    // Reads both permissions and redraws the rows.
    void refresh();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void startAtLoginClicked(bool on);

    PermissionService& m_permissions;
    LoginItem& m_loginItem;
    ToggleSwitch* m_startAtLogin = nullptr;
    QLabel* m_loginError = nullptr;
    PermissionRow* m_accessibility = nullptr;
    PermissionRow* m_inputMonitoring = nullptr;
    QTimer m_timer;
};
