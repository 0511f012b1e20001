#pragma once

#include "async/Delay.h"
#include "permissions/Alert.h"

#include <QCoroTask>
#include <QString>

#include <functional>

class AppShell;

// What happens once the application is up: the hot key and snippet monitoring
// are started at once; a moment later the user hears about a hot key that
// could not be claimed, then sees the first-run explainer, then, where the
// desktop has no system tray, how to reach Wendle without its icon.
namespace LaunchSequence {

struct Steps {
    // Claims the hot key; false when another program holds it.
    std::function<bool()> registerHotKey;
    std::function<void()> startSnippetMonitoring;
    std::function<QCoro::Task<>()> onboarding;
    std::function<bool()> trayAvailable;
    // Told once, on standard error, when there is no tray.
    std::function<void(const QString&)> printNotice;
};

// The pause between the launch and the first alert.
inline constexpr std::chrono::milliseconds alertDelay{600};

// The notice for a desktop without a system tray.
QString noTrayNotice();

// Runs the steps; finishes after the last alert was answered.
QCoro::Task<> run(Steps steps, AppShell& shell, Alert::Presenter present = Alert::realPresenter(),
                  Delay delay = realDelay());

} // namespace LaunchSequence
