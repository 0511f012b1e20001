#pragma once

#include <QTimer>
#include <QWidget>

class PermissionRow;
class PermissionService;

// The "General" tab: how to open the palette, whether the two permissions
// are granted (checked again every two seconds while the tab is on screen),
// and where the user's data is kept.
class GeneralTab : public QWidget {
    Q_OBJECT
public:
    explicit GeneralTab(PermissionService& permissions, QWidget* parent = nullptr);

    PermissionRow* accessibilityRow() const { return m_accessibility; }
    PermissionRow* inputMonitoringRow() const { return m_inputMonitoring; }

    // Reads both permissions and redraws the rows.
    void refresh();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    PermissionService& m_permissions;
    PermissionRow* m_accessibility = nullptr;
    PermissionRow* m_inputMonitoring = nullptr;
    QTimer m_timer;
};
