#pragma once

#include <QString>
#include <QUuid>

#include <optional>

// UUIDs as the data files write them: the 36-character form, upper-case,
// without braces. Reading accepts either case but nothing else.
namespace UuidText {

QString format(const QUuid& id);
std::optional<QUuid> parse(const QString& text);

} // namespace UuidText
