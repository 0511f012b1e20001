#pragma once

#include "cli/Arguments.h"
#include "settings/ServerSettings.h"

#include <optional>

// --provider, --url and --model: the saved connection, changed for one
// command only. Nothing here is ever saved.
namespace ServerOptions {

QList<Arguments::Option> options(bool withModel);

// The help lines of these options.
QString help(bool withModel);

// The saved connection with the given options applied: --provider first,
// then --url and --model for that provider. Nothing when the provider is
// unknown; `error` says so.
std::optional<ServerSettings> apply(const Arguments& arguments, QString& error);

} // namespace ServerOptions
