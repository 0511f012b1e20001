#include "app/LaunchSequence.h"

#include "platform/AppShell.h"
#include "texts/Texts.h"

namespace LaunchSequence {

QString noTrayNotice() {
    return QStringLiteral("This desktop shows no system tray, so Wendle has no icon. It keeps "
                          "running: press %1 or run \"wendle toggle\" to open the palette.")
        .arg(Texts::hotKey());
}

QCoro::Task<> run(Steps steps, AppShell& shell, Alert::Presenter present, Delay delay) {
    const bool hotKeyClaimed = steps.registerHotKey();
    steps.startSnippetMonitoring();

    co_await delay(alertDelay);
    if (!hotKeyClaimed) {
        shell.activate();
        Alert::Content failed;
        failed.message = Texts::hotKeyFailedMessage();
        failed.informative = Texts::hotKeyFailedInformative();
        co_await present(failed);
    }
    co_await steps.onboarding();

    // Checked after the pause, so that a tray host starting along with the
    // session has had time to appear.
    if (!steps.trayAvailable()) {
        steps.printNotice(noTrayNotice());
        Alert::Content noTray;
        noTray.message = QStringLiteral("No system tray");
        noTray.informative = noTrayNotice();
        // The palette must stay usable while the notice is up.
        noTray.modal = false;
        co_await present(noTray);
    }
}

} // namespace LaunchSequence
