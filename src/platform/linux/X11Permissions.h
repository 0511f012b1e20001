#pragma once

#include "platform/PermissionService.h"

// X11 lets every client send and watch keys: both permissions are granted and
// there is no settings page to open.
class X11Permissions : public PermissionService {
public:
    bool accessibilityGranted() override { return true; }
    bool inputMonitoringGranted() override { return true; }
    void requestAccessibility() override {}
    void requestInputMonitoring() override {}
    void openPane(Pane) override {}
    bool hasSettingsPanes() override { return false; }
};
