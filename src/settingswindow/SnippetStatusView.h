#pragma once

#include <QWidget>

class AppSettings;
class PermissionService;
class QLabel;
class QPushButton;
class SnippetEngine;

// Whether snippet expansion really works right now: "Off", "Active", or
// waiting for the Input Monitoring permission with a way to grant it.
// Follows the setting and the engine live.
class SnippetStatusView : public QWidget {
    Q_OBJECT
public:
    enum class State { off, active, waiting };

    SnippetStatusView(AppSettings& settings, SnippetEngine& engine, PermissionService& permissions,
                      QWidget* parent = nullptr);

    State state() const;

private:
    void showState();

    AppSettings& m_settings;
    SnippetEngine& m_engine;
    PermissionService& m_permissions;
    QLabel* m_off = nullptr;
    QLabel* m_active = nullptr;
    QWidget* m_waiting = nullptr;
    QPushButton* m_openSettings = nullptr;
};
