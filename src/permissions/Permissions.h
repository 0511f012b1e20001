#pragma once

#include "platform/PermissionService.h"

// Opens the system settings page where a permission is granted.
namespace Permissions {

// Does nothing where the platform has no such page (X11).
void openPane(PermissionService& service, PermissionService::Pane pane);
// The same on the installed platform.
void openPane(PermissionService::Pane pane);

} // namespace Permissions
