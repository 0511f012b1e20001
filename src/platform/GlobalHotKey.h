#pragma once

#include <QObject>

// The one system-wide shortcut, Control+Option+Space on macOS and
// Ctrl+Alt+Space on Linux, whatever lock keys (Caps Lock, Num Lock) are on.
class GlobalHotKey : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    ~GlobalHotKey() override = default;

    // Claims the shortcut. Answers synchronously: false when another program
    // already holds it (the caller then tells the user).
    virtual bool registerHotKey() = 0;

Q_SIGNALS:
    // Emitted on the main thread for every press.
    void pressed();
};
