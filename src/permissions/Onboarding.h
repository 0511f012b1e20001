#pragma once

#include "permissions/Alert.h"

#include <QCoroTask>

class AppShell;
class PermissionService;
class QSettings;

// The one-time explainer that asks for the Accessibility permission when it is
// missing. It is considered once per user: the flag is set before anything is
// shown, also when the permission is already there.
namespace Onboarding {

// The flag in the defaults store.
inline constexpr const char* shownKey = "didShowAccessibilityExplainer";

QCoro::Task<> showIfNeeded(PermissionService& permissions, AppShell& shell, QSettings& store,
                           Alert::Presenter present = Alert::realPresenter());
// The same on the installed platform and the shared defaults store.
QCoro::Task<> showIfNeeded();

} // namespace Onboarding
