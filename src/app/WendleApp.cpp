#include "app/WendleApp.h"

#include "app/InstanceChannel.h"
#include "app/LaunchSequence.h"
#include "app/StateProbe.h"
#include "app/TrayMenu.h"
#include "hotkey/HotKey.h"
#include "palette/PaletteController.h"
#include "palette/PaletteIcons.h"
#include "permissions/Alert.h"
#include "permissions/Onboarding.h"
#include "platform/Platform.h"
#include "settings/Preferences.h"
#include "snippets/SnippetEngine.h"
#include "texts/Texts.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSystemTrayIcon>
#include <QThread>

#include <cstdio>

namespace WendleApp {

namespace {

void printError(const QString& text) {
    std::fprintf(stderr, "wendle: %s\n", qPrintable(text));
}

// Another instance runs: have it open (or close) the palette.
int handOver() {
    // The first one may still be starting: its lock is taken before it
    // listens. This process has no window and no event loop yet, so it may
    // simply wait a moment between tries.
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 3000) {
        if (InstanceChannel::ask("toggle"))
            return 0;
        QThread::msleep(50);
    }
    printError(QStringLiteral("another Wendle holds the session lock but does not answer."));
    return 1;
}

// The platform's Qt plugins to try when the user has not chosen one: the
// desktop's own (set by the build), then "offscreen", so that a machine
// without a display gets a clear message from the platform layer instead of
// an abort inside Qt.
void choosePlatformPlugin() {
    const QByteArray preferred = WENDLE_QPA_PLUGIN;
    if (!preferred.isEmpty() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", preferred + ";offscreen");
}

// The snippet engine's question before it watches keystrokes: a modal alert,
// true for "Continue".
QCoro::Task<bool> askSnippetPermission() {
    Alert::Content question;
    question.message = Texts::snippetsPermissionMessage();
    question.informative = Texts::snippetsPermissionInformative();
    question.buttons = {QStringLiteral("Continue"), QStringLiteral("Cancel")};
    co_return co_await Alert::show(std::move(question)) == 0;
}

// "Quit Wendle": the palette closes, and what the clipboard holds, which
// Wendle serves after every restore, is seen to outlive the process before
// the event loop ends (the clipboard needs it turning meanwhile).
QCoro::Task<> quit() {
    static bool quitting = false;
    if (quitting)
        co_return;
    quitting = true;
    PaletteController::shared().close();
    co_await Platform::shared().clipboard().keepAfterQuit();
    QCoreApplication::quit();
}

} // namespace

int run(int argc, char* argv[]) {
    InstanceServer instance;
    if (!instance.claim())
        return handOver();

    choosePlatformPlugin();
    QApplication app(argc, argv);
    Preferences::applyIdentity();
    // Names the installed desktop entry, so desktops match windows to it.
    QGuiApplication::setDesktopFileName(QStringLiteral("app.wendle.Wendle"));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(QIcon(PaletteIcons::appIconPath()));

    QString error;
    std::unique_ptr<Platform> platform = Platform::create(&error);
    if (!platform) {
        printError(error);
        return 1;
    }
    Platform::install(std::move(platform));
    Platform::shared().shell().becomeAccessory();

    instance.setHandler("toggle", [] {
        PaletteController::shared().toggle();
        return QByteArray("ok");
    });
    if (!instance.listen())
        printError(QStringLiteral("cannot listen on %1; \"wendle toggle\" will not reach this "
                                  "instance.")
                       .arg(InstanceChannel::socketPath()));

    SnippetEngine::shared().setPermissionPrompt(&askSnippetPermission);
    TrayMenu tray;
    QObject::connect(&tray, &TrayMenu::quitRequested, [] { quit(); });
    if (qEnvironmentVariable(StateProbe::enableVariable) == QLatin1String("1"))
        instance.setHandler("state", [&tray] { return StateProbe::state(&tray); });

    LaunchSequence::Steps steps;
    steps.registerHotKey = [] {
        return HotKey::shared().registerHandler([] { PaletteController::shared().toggle(); });
    };
    steps.startSnippetMonitoring = [] { SnippetEngine::shared().startMonitoringState(); };
    steps.onboarding = [] { return Onboarding::showIfNeeded(); };
    steps.trayAvailable = [] { return QSystemTrayIcon::isSystemTrayAvailable(); };
    steps.printNotice = [](const QString& text) { printError(text); };
    LaunchSequence::run(std::move(steps), Platform::shared().shell());

    const int status = app.exec();
    PaletteController::shared().close();
    return status;
}

} // namespace WendleApp
