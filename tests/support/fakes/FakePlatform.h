#pragma once

#include "platform/ClipboardMarkers.h"
#include "platform/Platform.h"

#include <QList>
#include <QPair>
#include <QString>

#include <functional>

// Stand-ins for the desktop, for unit tests of portable code. Each records
// what was asked of it and lets the test script the answers.

class FakeHotKey : public GlobalHotKey {
public:
    bool available = true; // false: another program holds the shortcut
    int registrations = 0;

    bool registerHotKey() override {
        ++registrations;
        return available;
    }
    void press() { Q_EMIT pressed(); }
};

class FakeKeySender : public KeySender {
public:
    struct Sent {
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        bool operator==(const Sent&) const = default;
    };
    QList<Sent> sent;
    QList<Shortcut> shortcuts;
    // Runs after each shortcut the application has a keystroke for, so a
    // test can play the application that receives it (for example put the
    // "selection" on the clipboard).
    std::function<void(Shortcut)> onShortcut;
    // false: the focused application has no copy or paste keystroke (a
    // default xterm); sendShortcut still records what it was asked.
    bool shortcutsAvailable = true;
    // How often hasShortcut was asked.
    int shortcutQuestions = 0;

    void send(Qt::Key key, Qt::KeyboardModifiers modifiers) override {
        sent.append({key, modifiers});
    }
    void sendShortcut(Shortcut shortcut) override {
        shortcuts.append(shortcut);
        if (shortcutsAvailable && onShortcut)
            onShortcut(shortcut);
    }
    bool hasShortcut(Shortcut) override {
        ++shortcutQuestions;
        return shortcutsAvailable;
    }
};

class FakeKeyWatcher : public KeyWatcher {
public:
    bool allowed = true; // false: the platform refuses to start watching
    bool watching = false;
    int starts = 0;
    int stops = 0;

    bool start() override {
        ++starts;
        watching = allowed;
        return allowed;
    }
    void stop() override {
        ++stops;
        watching = false;
    }
    bool isWatching() const override { return watching; }

    void type(const KeyStroke& stroke) { Q_EMIT keyPressed(stroke); }
    // Types each character of `text` as a plain key press.
    void typeText(const QString& text) {
        for (const QChar c : text)
            type(KeyStroke{KeyStroke::KeyClass::other, {}, QString(c), false});
    }
};

class FakeFrontWindow : public FrontWindow {
public:
    WindowHandle front{42, 4242, QStringLiteral("Editor")};
    QList<WindowHandle> activated;

    WindowHandle current() override { return front; }
    void activate(const WindowHandle& window) override {
        activated.append(window);
        front = window;
    }
};

class FakeModifierState : public ModifierState {
public:
    // Answers in turn; the last answer repeats.
    QList<bool> held{false};
    int reads = 0;

    bool controlOrOptionHeld() override {
        const bool answer = held.at(qMin<qsizetype>(reads, held.size() - 1));
        ++reads;
        return answer;
    }
};

class FakeClipboard : public Clipboard {
public:
    ClipboardSnapshot content;
    // What is selected now (X11's PRIMARY selection).
    ClipboardSnapshot primary;
    // false: plays an owner that never answers: every read gives up.
    bool answering = true;
    quint64 changes = 0;
    int snapshots = 0;
    int restores = 0;
    int primaryReads = 0;

    QCoro::Task<std::optional<ClipboardSnapshot>> snapshot() override {
        const ClipboardSnapshot taken = takeSnapshot();
        if (!answering)
            co_return std::nullopt;
        co_return taken;
    }
    void restore(const ClipboardSnapshot& snapshot) override {
        ++restores;
        content = snapshot;
        ++changes;
    }
    void setText(const QString& text) override {
        content = textSnapshot(text);
        ++changes;
    }
    QCoro::Task<ClipboardText> text() override { co_return read(content); }
    QCoro::Task<ClipboardText> primaryText() override {
        ++primaryReads;
        co_return read(primary);
    }
    quint64 changeCount() override { return changes; }

    // Called by every snapshot, answered or not; subclasses record it.
    virtual ClipboardSnapshot takeSnapshot() {
        ++snapshots;
        return content;
    }
    // The plain text on the clipboard now, secret or not (for checks).
    QString plainText() const { return plainTextOf(content); }

    static ClipboardSnapshot textSnapshot(const QString& text) {
        return ClipboardSnapshot{{{{QStringLiteral("text/plain"), text.toUtf8()}}}};
    }
    static QString plainTextOf(const ClipboardSnapshot& snapshot) {
        for (const auto& item : snapshot.items) {
            for (const auto& [type, bytes] : item) {
                if (type == QStringLiteral("text/plain"))
                    return QString::fromUtf8(bytes);
            }
        }
        return {};
    }

private:
    ClipboardText read(const ClipboardSnapshot& snapshot) const {
        if (!answering)
            return {ClipboardText::Status::noAnswer, {}};
        for (const auto& item : snapshot.items) {
            if (ClipboardMarkers::isSecret(item))
                return {ClipboardText::Status::secret, {}};
        }
        return {ClipboardText::Status::read, plainTextOf(snapshot)};
    }
};

class FakePermissions : public PermissionService {
public:
    bool accessibility = true;
    bool inputMonitoring = true;
    int accessibilityRequests = 0;
    int inputMonitoringRequests = 0;
    QList<Pane> openedPanes;

    bool accessibilityGranted() override { return accessibility; }
    bool inputMonitoringGranted() override { return inputMonitoring; }
    void requestAccessibility() override { ++accessibilityRequests; }
    void requestInputMonitoring() override { ++inputMonitoringRequests; }
    void openPane(Pane pane) override { openedPanes.append(pane); }
    bool hasSettingsPanes() override { return true; }
};

class FakeShell : public AppShell {
public:
    int accessoryCalls = 0;
    int activations = 0;
    QList<QWidget*> preparedPanels;

    void becomeAccessory() override { ++accessoryCalls; }
    void activate() override { ++activations; }
    void preparePalettePanel(QWidget* panel) override { preparedPanels.append(panel); }
};

class FakePlatform : public Platform {
public:
    FakeHotKey hotKeyFake;
    FakeKeySender keys;
    FakeKeyWatcher watcher;
    FakeFrontWindow front;
    FakeModifierState modifiers;
    FakeClipboard clipboardFake;
    FakePermissions permissionsFake;
    FakeShell shellFake;

    GlobalHotKey& hotKey() override { return hotKeyFake; }
    KeySender& keySender() override { return keys; }
    KeyWatcher& keyWatcher() override { return watcher; }
    FrontWindow& frontWindow() override { return front; }
    ModifierState& modifierState() override { return modifiers; }
    Clipboard& clipboard() override { return clipboardFake; }
    PermissionService& permissions() override { return permissionsFake; }
    AppShell& shell() override { return shellFake; }
};
