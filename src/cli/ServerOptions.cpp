#include "cli/ServerOptions.h"

#include "settings/AppSettings.h"

namespace ServerOptions {

QList<Arguments::Option> options(bool withModel) {
    QList<Arguments::Option> list{{QStringLiteral("provider"), true},
                                  {QStringLiteral("url"), true}};
    if (withModel)
        list.append({QStringLiteral("model"), true});
    return list;
}

QString help(bool withModel) {
    QString text = QStringLiteral(
        "  --provider P   ollama, lmstudio or custom, instead of the saved provider\n"
        "  --url URL      the server address of that provider (for custom, the full\n"
        "                 chat-completions endpoint) instead of the saved one\n");
    if (withModel)
        text += QStringLiteral(
            "  --model NAME   the model, instead of the one saved for that provider\n");
    text +=
        QStringLiteral("                 These apply to this command only and are never saved.\n");
    return text;
}

std::optional<ServerSettings> apply(const Arguments& arguments, QString& error) {
    ServerSettings settings = AppSettings::shared().server();
    if (const auto name = arguments.value(QStringLiteral("provider"))) {
        const auto provider = Providers::fromRawValue(*name);
        if (!provider) {
            error = u"no such provider '" % *name % u"' (choose ollama, lmstudio or custom)";
            return std::nullopt;
        }
        settings.provider = *provider;
    }
    if (const auto url = arguments.value(QStringLiteral("url")))
        settings.setCurrentURL(*url);
    if (const auto model = arguments.value(QStringLiteral("model")))
        settings.setCurrentModel(*model);
    return settings;
}

} // namespace ServerOptions
