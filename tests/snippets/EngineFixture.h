#pragma once

#include "fakes/FakePlatform.h"
#include "settings/AppSettings.h"
#include "snippets/SnippetEngine.h"
#include "snippets/SnippetStore.h"

#include <QElapsedTimer>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

// A snippet engine on fakes of the desktop, with its own settings file and
// snippet file, and helpers to type at it and watch what it does.

using Key = KeyStroke::KeyClass;

inline KeyStroke press(Key keyClass, Qt::KeyboardModifiers modifiers = {},
                       const QString& text = {}) {
    return KeyStroke{keyClass, modifiers, text, false};
}

inline KeyStroke typed(const QString& text, Qt::KeyboardModifiers modifiers = {}) {
    return KeyStroke{Key::other, modifiers, text, false};
}

inline Snippet snippet(const QString& abbreviation, const QString& expansion) {
    return Snippet{QUuid::createUuid(), abbreviation, expansion};
}

// The snippet a test types last, as proof that nothing typed before expanded.
inline Snippet addressSnippet() {
    return snippet(";addr", "123 Main Street\nSpringfield");
}

// One step of an expansion as the desktop saw it, and when.
struct Step {
    QString what;
    qint64 atMs;
};

// A key sender and a clipboard that note each call with its time on the
// test's clock, so the order and pacing of an expansion can be read.
class TimedKeySender : public FakeKeySender {
public:
    QElapsedTimer* clock = nullptr;
    QList<Step>* steps = nullptr;
    void send(Qt::Key key, Qt::KeyboardModifiers modifiers) override {
        const bool plainBackspace = key == Qt::Key_Backspace && modifiers == Qt::NoModifier;
        steps->append({plainBackspace ? QStringLiteral("backspace") : QStringLiteral("other key"),
                       clock->elapsed()});
        FakeKeySender::send(key, modifiers);
    }
    void sendShortcut(Shortcut shortcut) override {
        steps->append(
            {shortcut == Shortcut::paste ? QStringLiteral("paste") : QStringLiteral("copy"),
             clock->elapsed()});
        FakeKeySender::sendShortcut(shortcut);
    }
};

class TimedClipboard : public FakeClipboard {
public:
    QElapsedTimer* clock = nullptr;
    QList<Step>* steps = nullptr;
    ClipboardSnapshot takeSnapshot() override {
        steps->append({QStringLiteral("snapshot"), clock->elapsed()});
        return FakeClipboard::takeSnapshot();
    }
    void setText(const QString& text) override {
        steps->append({QStringLiteral("set text"), clock->elapsed()});
        FakeClipboard::setText(text);
    }
    void restore(const ClipboardSnapshot& snapshot) override {
        steps->append({QStringLiteral("restore"), clock->elapsed()});
        FakeClipboard::restore(snapshot);
    }
};

class TimedPlatform : public FakePlatform {
public:
    TimedKeySender timedKeys;
    TimedClipboard timedClipboard;
    QElapsedTimer clock;
    QList<Step> steps;

    TimedPlatform() {
        clock.start();
        timedKeys.clock = timedClipboard.clock = &clock;
        timedKeys.steps = timedClipboard.steps = &steps;
    }
    KeySender& keySender() override { return timedKeys; }
    Clipboard& clipboard() override { return timedClipboard; }
};

struct EngineFixture {
    QTemporaryDir dir;
    TimedPlatform platform;
    QSettings store{dir.filePath(QStringLiteral("Wendle.conf")), QSettings::IniFormat};
    AppSettings settings{store};
    SnippetStore snippets{dir.filePath(QStringLiteral("snippets.json"))};
    std::unique_ptr<SnippetEngine> engine =
        std::make_unique<SnippetEngine>(platform, snippets, settings);
    QSignalSpy finished{engine.get(), &SnippetEngine::expansionFinished};

    EngineFixture() { use({snippet(";sig", "Best regards,\nYour Name"), addressSnippet()}); }

    FakeKeyWatcher& watcher() { return platform.watcher; }
    TimedKeySender& keys() { return platform.timedKeys; }
    TimedClipboard& clipboard() { return platform.timedClipboard; }
    FakePermissions& permissions() { return platform.permissionsFake; }

    void use(const QList<Snippet>& list) { snippets.setSnippets(list); }

    // Switches snippets on through the user's switch; true when running.
    bool start() {
        engine->setEnabled(true);
        return engine->isRunning();
    }

    int expansionsStarted() const { return platform.timedClipboard.snapshots; }

    // Waits until `count` expansions have restored the clipboard.
    bool waitForExpansions(int count) {
        return QTest::qWaitFor([&] { return finished.count() >= count; }, 5000) &&
               finished.count() == count;
    }

    // Waits until `count` expansions have sent their paste keystroke (the
    // backspaces have gone out before it).
    bool waitForPastes(int count) {
        return QTest::qWaitFor([&] { return keys().shortcuts.size() >= count; }, 5000) &&
               keys().shortcuts.size() == count;
    }

    // Types ";addr", which must expand, and waits for its paste: the engine
    // takes keys in order, so an expansion anything typed before it had
    // started would have pasted first. True when ";addr" alone expanded.
    // The snippet list must hold addressSnippet().
    bool onlyTheNextAbbreviationExpands() {
        const QStringList& pasted = recordPastes();
        const int backspacesBefore = backspaces();
        watcher().typeText(";addr");
        return waitForPastes(1) && pasted == QStringList{addressSnippet().expansion} &&
               backspaces() - backspacesBefore == 5 && expansionsStarted() == 1;
    }

    int backspaces() const {
        int count = 0;
        for (const auto& sent : platform.timedKeys.sent)
            count += sent.key == Qt::Key_Backspace && sent.modifiers == Qt::NoModifier;
        return count;
    }

    // What the expansion pasted: the clipboard's text at each paste.
    QStringList& recordPastes() {
        keys().onShortcut = [this](KeySender::Shortcut) { pasted.append(clipboard().plainText()); };
        return pasted;
    }
    QStringList pasted;
};
