#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

// The formats that ask clipboard managers to keep a clipboard content out of
// their history, added to every content Wendle puts on the clipboard only for
// a paste. X11 has no "transient" convention that managers share; the
// password managers' hint is the one Klipper, CopyQ, GPaste and others skip.
namespace TransientMarkers {

inline QList<QPair<QString, QByteArray>> formats() {
    return {{QStringLiteral("x-kde-passwordManagerHint"), QByteArrayLiteral("secret")}};
}

} // namespace TransientMarkers
