#pragma once

// The two permissions Wendle may need: Accessibility, to post the copy and
// paste keystrokes, and Input Monitoring, to watch keystrokes for snippets.
// X11 needs neither and reports both as granted.
class PermissionService {
public:
    virtual ~PermissionService() = default;

    enum class Pane {
        accessibility,   // "Privacy_Accessibility"
        inputMonitoring, // "Privacy_ListenEvent"
    };

    virtual bool accessibilityGranted() = 0;
    virtual bool inputMonitoringGranted() = 0;
    // Asks the platform to show its own prompt for the permission.
    virtual void requestAccessibility() = 0;
    virtual void requestInputMonitoring() = 0;
    // Opens the system settings page where the user grants the permission;
    // does nothing where there is no such page.
    virtual void openPane(Pane pane) = 0;
    // Whether openPane leads anywhere; the settings window hides its
    // "Open System Settings" buttons where it does not.
    virtual bool hasSettingsPanes() = 0;
};
