#include "actions/ActionStore.h"
#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/Console.h"

namespace {

const QString name = QStringLiteral("actions");

QString help() {
    return QStringLiteral("usage: wendle actions\n"
                          "\n"
                          "Prints the actions in palette order, one per line: its number, a tab,\n"
                          "its name. `wendle run` accepts either.\n"
                          "\n"
                          "options:\n"
                          "  --help   this text\n");
}

QCoro::Task<int> run(QStringList arguments) {
    const Arguments parsed(arguments, {}, Arguments::Positional::none);
    if (!parsed.ok())
        co_return Console::usageError(name, parsed.error());
    QString out;
    const QList<WendleAction>& actions = ActionStore::shared().actions();
    for (qsizetype i = 0; i < actions.size(); ++i)
        out += QString::number(i + 1) + u'\t' + actions[i].name + u'\n';
    co_return Console::print(out) ? ExitStatus::success : ExitStatus::failure;
}

} // namespace

extern const Command actionsCommand{"actions", "list the actions with their numbers", help, run};
