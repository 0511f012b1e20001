#include "app/InstanceChannel.h"
#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/Console.h"

namespace {

const QString name = QStringLiteral("toggle");

QString help() {
    return QStringLiteral("usage: wendle toggle\n"
                          "\n"
                          "Opens the palette of the running Wendle on the text selected in the\n"
                          "window in front, or closes it when it is open, as Ctrl+Alt+Space does.\n"
                          "Bind it to a shortcut of your choice in your desktop's keyboard\n"
                          "settings when another program holds Ctrl+Alt+Space.\n"
                          "\n"
                          "options:\n"
                          "  --help   this text\n");
}

QCoro::Task<int> run(QStringList arguments) {
    const Arguments parsed(arguments, {}, Arguments::Positional::none);
    if (!parsed.ok())
        co_return Console::usageError(name, parsed.error());
    if (!InstanceChannel::ask("toggle")) {
        Console::error(QStringLiteral("wendle toggle: Wendle is not running. Start it with "
                                      "`wendle`, then try again."));
        co_return ExitStatus::failure;
    }
    co_return ExitStatus::success;
}

} // namespace

extern const Command toggleCommand{"toggle", "open or close the palette of the running Wendle",
                                   help, run};
