#include "actions/ActionStore.h"
#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/RunEnd.h"
#include "cli/ServerOptions.h"
#include "llm/LLMClient.h"
#include "llm/ReplyText.h"
#include "llm/StreamingCleaner.h"
#include "settings/Preferences.h"

#include <QCoroSignal>
#include <QRegularExpression>
#include <QSettings>
#include <QStringDecoder>

#include <memory>

namespace {

const QString name = QStringLiteral("run");

// The palette's remembered choices, which the command line shares.
QString rememberedTone() {
    return Preferences::shared()
        .value(QStringLiteral("paletteTone"), Options::defaultTone)
        .toString();
}

QString rememberedLanguage() {
    return Preferences::shared()
        .value(QStringLiteral("paletteLanguage"), Options::defaultLanguage)
        .toString();
}

QString help() {
    return QStringLiteral(
               "usage: wendle run [options] ACTION < text\n"
               "\n"
               "Runs ACTION on the text read from standard input (all of it, exactly as it is)\n"
               "and prints the model's reply while it streams in: without think blocks and\n"
               "without white space at either end, so that in the end it has printed the\n"
               "reply the palette shows, followed by one newline.\n"
               "\n"
               "ACTION is an action's name, exactly as stored (quote a name that has spaces),\n"
               "or its number in `wendle actions`.\n"
               "\n"
               "options:\n"
               "  --tone T       the tone of tone actions (default: the palette's last choice,\n"
               "                 now \"%1\")\n"
               "  --language L   the language of translate actions (default: the palette's\n"
               "                 last choice, now \"%2\")\n")
               .arg(rememberedTone(), rememberedLanguage()) +
           ServerOptions::help(true) +
           QStringLiteral(
               "  --raw          print the reply's pieces exactly as they arrive, and nothing\n"
               "                 else (no cleaning, no final newline)\n"
               "  --help         this text\n"
               "\n"
               "Exit status: 0 when the reply is complete; 1 when the run failed, with the\n"
               "reason on standard error (also for an empty reply); 2 for a mistake on the\n"
               "command line; 130 when interrupted with Ctrl+C.\n");
}

// The action named `wanted`, or numbered so in `wendle actions`.
std::optional<WendleAction> findAction(const QString& wanted, QString& error) {
    const QList<WendleAction>& actions = ActionStore::shared().actions();
    for (const WendleAction& action : actions) {
        if (action.name == wanted)
            return action;
    }
    static const QRegularExpression number(QStringLiteral("^[0-9]+$"));
    if (number.match(wanted).hasMatch()) {
        const qsizetype index = wanted.toLongLong() - 1;
        if (index >= 0 && index < actions.size())
            return actions[index];
        error = QStringLiteral("no action number %1; there are %2 (see 'wendle actions')")
                    .arg(wanted)
                    .arg(actions.size());
        return std::nullopt;
    }
    error = u"no action named '" % wanted % u"' (see 'wendle actions')";
    return std::nullopt;
}

QCoro::Task<int> run(QStringList arguments) {
    QList<Arguments::Option> options = ServerOptions::options(true);
    options.append({{QStringLiteral("tone"), true},
                    {QStringLiteral("language"), true},
                    {QStringLiteral("raw"), false}});
    const Arguments parsed(arguments, options);
    if (!parsed.ok())
        co_return Console::usageError(name, parsed.error());
    if (parsed.positional().isEmpty())
        co_return Console::usageError(name,
                                      QStringLiteral("no action given (see 'wendle actions')"));
    if (parsed.positional().size() > 1) {
        co_return Console::usageError(
            name, QStringLiteral("one action expected, not %1; quote a name that has spaces")
                      .arg(parsed.positional().size()));
    }
    QString error;
    const std::optional<ServerSettings> settings = ServerOptions::apply(parsed, error);
    if (!settings)
        co_return Console::usageError(name, error);
    const std::optional<WendleAction> action = findAction(parsed.positional().first(), error);
    if (!action)
        co_return Console::usageError(name, error);

    QByteArray input;
    if (!Console::readAllInput(input, error)) {
        Console::error(u"wendle: cannot read standard input: " % error);
        co_return ExitStatus::failure;
    }
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder.decode(input);
    if (decoder.hasError()) {
        Console::error(QStringLiteral("wendle: standard input is not UTF-8 text"));
        co_return ExitStatus::failure;
    }

    const QString instruction = action->resolvedInstruction(
        parsed.value(QStringLiteral("tone")).value_or(rememberedTone()),
        parsed.value(QStringLiteral("language")).value_or(rememberedLanguage()));
    const bool raw = parsed.has(QStringLiteral("raw"));
    const std::unique_ptr<ChatStream> stream(LLMClient::stream(*settings, instruction, text));
    RunEnd end(stream.get());
    Console::setInterruptHandler([&stream] { stream->abort(); });

    // The reply itself is not kept: what is printed is gone, and the cleaner
    // holds back only what may still change. --raw runs it too, for the
    // empty-reply check.
    StreamingCleaner cleaner;
    bool printed = false;
    bool printFailed = false;
    QObject::connect(stream.get(), &ChatStream::piece, &end, [&](const QString& piece) {
        const QString cleaned = cleaner.feed(piece);
        const QString& out = raw ? piece : cleaned;
        if (out.isEmpty())
            return;
        printed = true;
        if (!Console::print(out)) {
            printFailed = true;
            stream->abort();
            end.giveUp();
        }
    });
    if (!end.isOver())
        co_await qCoro(&end, &RunEnd::ended);
    Console::setInterruptHandler({});

    if (printFailed)
        co_return ExitStatus::failure;
    if (end.error()) {
        // What came so far stays; its line is ended so that the shell's
        // prompt does not run on after it.
        if (printed && !raw)
            Console::print(QByteArrayView("\n"));
        Console::error(end.error()->description());
        co_return ExitStatus::failure;
    }
    const QString rest = cleaner.finish();
    if (cleaner.handedOut() == 0) {
        Console::error(ReplyText::emptyReplyText);
        co_return ExitStatus::failure;
    }
    if (!raw && !Console::print(rest + u'\n'))
        co_return ExitStatus::failure;
    co_return ExitStatus::success;
}

} // namespace

extern const Command runCommand{"run", "run an action on standard input and print the reply", help,
                                run};
