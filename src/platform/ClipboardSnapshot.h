#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

// Everything the clipboard held: one entry per item (macOS pasteboards can
// hold several, X11 holds one), each an ordered list of (type, bytes).
struct ClipboardSnapshot {
    using Representation = QPair<QString, QByteArray>;
    using Item = QList<Representation>;

    QList<Item> items;

    bool isEmpty() const { return items.isEmpty(); }
    bool operator==(const ClipboardSnapshot&) const = default;
};
