#pragma once

#include "async/Delay.h"
#include "fakes/FakePlatform.h"

#include <QCoroTimer>
#include <QStringList>

#include <chrono>
#include <functional>

// The fakes of the platform seam, writing every step they are asked for into
// one log, so that a test can check the order of a sequence's steps and its
// waits together.
struct StepLog {
    QStringList steps;
    void add(const QString& step) { steps.append(step); }
    int count(const QString& step) const { return int(steps.count(step)); }
};

class RecordingClipboard : public FakeClipboard {
public:
    explicit RecordingClipboard(StepLog& log)
        : m_log(log) {}
    ClipboardSnapshot takeSnapshot() override {
        m_log.add(QStringLiteral("snapshot"));
        return FakeClipboard::takeSnapshot();
    }
    void restore(const ClipboardSnapshot& snapshot) override {
        m_log.add(QStringLiteral("restore"));
        FakeClipboard::restore(snapshot);
    }
    void setText(const QString& text) override {
        m_log.add(QStringLiteral("setText ") + text);
        FakeClipboard::setText(text);
    }

private:
    StepLog& m_log;
};

class RecordingKeySender : public FakeKeySender {
public:
    explicit RecordingKeySender(StepLog& log)
        : m_log(log) {}
    void sendShortcut(Shortcut shortcut) override {
        m_log.add(shortcut == Shortcut::copy ? QStringLiteral("copy") : QStringLiteral("paste"));
        FakeKeySender::sendShortcut(shortcut);
    }

private:
    StepLog& m_log;
};

class RecordingFrontWindow : public FakeFrontWindow {
public:
    explicit RecordingFrontWindow(StepLog& log)
        : m_log(log) {}
    void activate(const WindowHandle& window) override {
        m_log.add(QStringLiteral("activate %1").arg(window.id));
        FakeFrontWindow::activate(window);
    }

private:
    StepLog& m_log;
};

class RecordingPlatform : public Platform {
public:
    StepLog log;
    FakeHotKey hotKeyFake;
    RecordingKeySender keys{log};
    FakeKeyWatcher watcher;
    RecordingFrontWindow front{log};
    FakeModifierState modifiers;
    RecordingClipboard clipboardFake{log};
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

// A Delay that writes "wait <ms>" into the log, lets the test act during the
// wait (`during`, with the number of waits so far), and then resumes on the
// next turn of the event loop instead of after the real time.
inline Delay recordingDelay(StepLog& log,
                            std::function<void(std::chrono::milliseconds, int)> during = {}) {
    auto waits = std::make_shared<int>(0);
    return [&log, during, waits](std::chrono::milliseconds duration) {
        log.add(QStringLiteral("wait %1").arg(duration.count()));
        ++*waits;
        if (during)
            during(duration, *waits);
        return QCoro::sleepFor(std::chrono::milliseconds(0));
    };
}

// The waits of a log, in order ("wait 25" gives 25).
inline QList<int> waitsIn(const StepLog& log) {
    QList<int> waits;
    for (const QString& step : log.steps) {
        if (step.startsWith(QLatin1String("wait ")))
            waits.append(step.mid(5).toInt());
    }
    return waits;
}

// Runs a coroutine to its end on the event loop and returns its result.
template <typename T>
T awaited(QCoro::Task<T> task) {
    return QCoro::waitFor(std::move(task));
}
inline void awaited(QCoro::Task<> task) {
    QCoro::waitFor(std::move(task));
}
