#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/ServerOptions.h"
#include "llm/LLMClient.h"

namespace {

const QString name = QStringLiteral("models");

QString help() {
    return QStringLiteral("usage: wendle models [options]\n"
                          "\n"
                          "Prints the names of the models the model server offers, one per line,\n"
                          "in the server's order.\n"
                          "\n"
                          "options:\n") +
           ServerOptions::help(false) +
           QStringLiteral("  --help         this text\n"
                          "\n"
                          "Exit status: 0 when the server answered (even with no models); 1 when\n"
                          "it could not be asked, with the reason on standard error; 2 for a\n"
                          "mistake on the command line; 130 when interrupted with Ctrl+C.\n");
}

QCoro::Task<int> run(QStringList arguments) {
    const Arguments parsed(arguments, ServerOptions::options(false), Arguments::Positional::none);
    if (!parsed.ok())
        co_return Console::usageError(name, parsed.error());
    QString error;
    const std::optional<ServerSettings> settings = ServerOptions::apply(parsed, error);
    if (!settings)
        co_return Console::usageError(name, error);

    const LLMClient::ModelList list = co_await LLMClient::listModels(*settings);
    if (list.error) {
        Console::error(list.error->description());
        co_return ExitStatus::failure;
    }
    QString out;
    for (const QString& model : list.names)
        out += model + u'\n';
    co_return Console::print(out) ? ExitStatus::success : ExitStatus::failure;
}

} // namespace

extern const Command modelsCommand{"models", "list the models of the model server", help, run};
