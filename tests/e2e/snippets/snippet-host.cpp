// A stand-in for the tray application in snippet end-to-end tests: the
// platform, the shared snippet engine on the user's settings and snippets,
// and the two-second poll, as the application starts them. Lines on stdin
// switch snippets ("on", "off"); every change of the running state is printed
// ("running", "stopped").

#include "platform/Platform.h"
#include "settings/Preferences.h"
#include "snippets/SnippetEngine.h"

#include <QApplication>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    Preferences::applyIdentity();
    QApplication::setQuitOnLastWindowClosed(false);

    QString error;
    std::unique_ptr<Platform> platform = Platform::create(&error);
    if (!platform) {
        std::fprintf(stderr, "snippet-host: %s\n", qPrintable(error));
        return 1;
    }
    Platform::install(std::move(platform));

    SnippetEngine& engine = SnippetEngine::shared();
    QObject::connect(&engine, &SnippetEngine::isRunningChanged, &engine, [&engine] {
        std::printf("%s\n", engine.isRunning() ? "running" : "stopped");
        std::fflush(stdout);
    });

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &engine, [&] {
        char line[64];
        const ssize_t n = ::read(STDIN_FILENO, line, sizeof line - 1);
        if (n <= 0) {
            input.setEnabled(false);
            return;
        }
        const QByteArray command = QByteArray(line, int(n)).trimmed();
        if (command == "on")
            engine.setEnabled(true);
        else if (command == "off")
            engine.setEnabled(false);
    });

    engine.startMonitoringState();
    return QApplication::exec();
}
