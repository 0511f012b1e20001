#pragma once

#include "platform/KeyStroke.h"

#include <QObject>

// Watches key presses system-wide, for snippet expansion. Listen-only: it never
// swallows or alters a key.
class KeyWatcher : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    ~KeyWatcher() override = default;

    // Starts watching; false when the platform refuses (no permission, no
    // display). Starting a running watcher is harmless.
    virtual bool start() = 0;
    // Stops watching. Stopping a stopped watcher is harmless.
    virtual void stop() = 0;
    virtual bool isWatching() const = 0;

Q_SIGNALS:
    // Emitted on the main thread for every key press, in order.
    void keyPressed(const KeyStroke& stroke);
};
