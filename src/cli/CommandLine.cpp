#include "cli/CommandLine.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "settings/Preferences.h"

#include <QCoreApplication>
#include <QTimer>

#define WENDLE_DECLARE_COMMAND(name) extern const Command name##Command;
WENDLE_COMMANDS(WENDLE_DECLARE_COMMAND)
#undef WENDLE_DECLARE_COMMAND

namespace {

#define WENDLE_LIST_COMMAND(name) &name##Command,
const Command* const commands[] = {WENDLE_COMMANDS(WENDLE_LIST_COMMAND)};
#undef WENDLE_LIST_COMMAND

const Command* commandNamed(const QString& name) {
    for (const Command* command : commands) {
        if (name == QLatin1String(command->name))
            return command;
    }
    return nullptr;
}

// Whether --help (or -h) comes before the end of the options.
bool asksForHelp(const QStringList& arguments) {
    for (const QString& argument : arguments) {
        if (argument == u"--")
            return false;
        if (argument == u"--help" || argument == u"-h")
            return true;
    }
    return false;
}

QCoro::Task<> runThenQuit(const Command* command, QStringList arguments) {
    const int status = co_await command->run(std::move(arguments));
    QCoreApplication::exit(status);
}

} // namespace

namespace CommandLine {

int run(int argc, char* argv[]) {
    // No display needed: the command line works over SSH and in scripts.
    QCoreApplication app(argc, argv);
    Preferences::applyIdentity();

    const QStringList arguments = QCoreApplication::arguments();
    const QString name = arguments.value(1);
    if (name == u"--help" || name == u"-h" || name == u"help") {
        printUsage(false);
        return ExitStatus::success;
    }
    if (name == u"--version") {
        Console::print(u"wendle " % QCoreApplication::applicationVersion() % u'\n');
        return ExitStatus::success;
    }
    const Command* command = commandNamed(name);
    if (!command) {
        Console::error(u"wendle: unknown command '" % name % u'\'');
        printUsage(true);
        return ExitStatus::usage;
    }
    const QStringList rest = arguments.mid(2);
    if (asksForHelp(rest)) {
        Console::print(command->help());
        return ExitStatus::success;
    }

    Console::install();
    // Started from the event loop, so that even a command that ends without
    // waiting for anything ends it properly.
    QTimer::singleShot(0, &app, [command, rest] { runThenQuit(command, rest); });
    return app.exec();
}

void printUsage(bool toStandardError) {
    QString text = QStringLiteral("usage: wendle [COMMAND [OPTIONS]]\n"
                                  "       wendle --version\n"
                                  "\n"
                                  "Without a command, starts Wendle in the tray. Commands:\n");
    for (const Command* command : commands)
        text += QStringLiteral("  %1 %2\n")
                    .arg(QLatin1String(command->name), -9)
                    .arg(QLatin1String(command->summary));
    text +=
        QStringLiteral("\n"
                       "`wendle COMMAND --help` describes a command. Commands use the settings,\n"
                       "the API key, the actions and the data folder of the application.\n");
    if (toStandardError)
        Console::error(text.chopped(1));
    else
        Console::print(text);
}

} // namespace CommandLine
