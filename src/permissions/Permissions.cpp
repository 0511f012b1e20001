#include "permissions/Permissions.h"

#include "platform/Platform.h"

namespace Permissions {

void openPane(PermissionService& service, PermissionService::Pane pane) {
    service.openPane(pane);
}

void openPane(PermissionService::Pane pane) {
    openPane(Platform::shared().permissions(), pane);
}

} // namespace Permissions
