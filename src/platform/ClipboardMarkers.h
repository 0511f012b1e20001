#pragma once

#include "platform/ClipboardSnapshot.h"

#include <QByteArray>
#include <QList>
#include <QString>

// The formats by which programs tell each other how to treat clipboard content:
// password managers mark a copied password as secret, and clipboard managers
// keep no history of content marked secret or short-lived. Unknown formats
// are ignored everywhere, so both lists serve X11 and macOS alike.
namespace ClipboardMarkers {

struct Marker {
    QString format;
    QByteArray value; // the bytes that mark; empty when the format's presence alone marks
};

// The marks of secret content:
// - "x-kde-passwordManagerHint" holding "secret": KDE's convention, written by
//   KeePassXC and KWallet, by `wl-copy --sensitive` and other password tools,
//   and honoured by Klipper and CopyQ;
// - the nspasteboard.org concealed type, under its pasteboard name
//   "org.nspasteboard.ConcealedType" and under the MIME name Qt gives it,
//   written by 1Password, Bitwarden and KeePassXC on macOS;
// - Windows' "ExcludeClipboardContentFromMonitorProcessing" and
//   "Clipboard Viewer Ignore", which programs run through Wine carry over.
const QList<Marker>& secretMarkers();

// Whether one clipboard item carries a secret mark.
bool isSecret(const ClipboardSnapshot::Item& item);

// What Wendle adds to its own short-lived clipboard content (a reply on its
// way to a paste, a snippet's expansion), so that clipboard managers keep no
// history of it: the KDE hint (the one mark Klipper honours, also read by
// CopyQ), CopyQ's own "application/x-copyq-hidden", and nspasteboard.org's
// transient and auto-generated types for macOS clipboard managers.
const ClipboardSnapshot::Item& transientMarkers();

} // namespace ClipboardMarkers
