#pragma once

#include <QObject>

#include <functional>

class GlobalHotKey;

// The one system-wide shortcut of the program, Ctrl+Alt+Space
// (Control+Option+Space on macOS), calling a stored handler on the main thread
// for every press.
class HotKey : public QObject {
    Q_OBJECT
public:
    using Handler = std::function<void()>;

    explicit HotKey(GlobalHotKey& key, QObject* parent = nullptr);

    // The instance on the installed platform's hot key.
    static HotKey& shared();

    // Stores `handler` (replacing any earlier one) and claims the shortcut.
    // False when the platform refuses, typically because another program
    // holds the shortcut; the handler then never runs.
    bool registerHandler(Handler handler);

    bool isRegistered() const { return m_registered; }

private:
    void fire();

    GlobalHotKey& m_key;
    Handler m_handler;
    bool m_registered = false;
};
