#include "permissions/Onboarding.h"

#include "permissions/Permissions.h"
#include "platform/Platform.h"
#include "settings/Preferences.h"
#include "texts/Texts.h"

#include <QSettings>

namespace Onboarding {

QCoro::Task<> showIfNeeded(PermissionService& permissions, AppShell& shell, QSettings& store,
                           Alert::Presenter present) {
    if (store.value(QLatin1String(shownKey)).toBool())
        co_return;
    store.setValue(QLatin1String(shownKey), true);
    store.sync();
    if (permissions.accessibilityGranted())
        co_return;

    shell.activate();
    Alert::Content explainer;
    explainer.message = Texts::accessibilityExplainerMessage();
    explainer.informative = Texts::accessibilityExplainerInformative();
    explainer.buttons = QStringList{Texts::openSystemSettings(), Texts::notNow()};
    const int choice = co_await present(explainer);
    if (choice == 0) {
        permissions.requestAccessibility();
        Permissions::openPane(permissions, PermissionService::Pane::accessibility);
    }
}

QCoro::Task<> showIfNeeded() {
    Platform& platform = Platform::shared();
    co_await showIfNeeded(platform.permissions(), platform.shell(), Preferences::shared());
}

} // namespace Onboarding
