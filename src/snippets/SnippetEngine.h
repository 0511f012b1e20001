#pragma once

#include "async/CancelToken.h"
#include "platform/ClipboardSnapshot.h"
#include "platform/KeyStroke.h"
#include "snippets/AbbreviationIndex.h"

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <optional>

class AppSettings;
class Platform;
class SnippetStore;
struct Snippet;

// Watches what the user types system-wide and, when the last characters end
// with a snippet's abbreviation, erases the abbreviation and pastes the
// expansion in its place, leaving the clipboard as it was; in an application
// that cannot paste from a keystroke it leaves the typing alone. Follows the
// "snippetsEnabled" setting, checked every two seconds.
class SnippetEngine : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY isRunningChanged)
public:
    SnippetEngine(Platform& platform, SnippetStore& store, AppSettings& settings,
                  QObject* parent = nullptr);

    // The instance on the installed platform and the shared store and settings.
    static SnippetEngine& shared();

    // Asked when the user switches snippets on without the Input Monitoring
    // permission: shows the explanation and answers true for "Continue",
    // suspending meanwhile. The application installs an alert; without one
    // the answer is "Cancel".
    using PermissionPrompt = std::function<QCoro::Task<bool>()>;
    void setPermissionPrompt(PermissionPrompt prompt);

    // True while the key watcher runs.
    bool isRunning() const { return m_isRunning; }

    // Starts the two-second poll that reconciles the watcher with the
    // setting, and reconciles once at once.
    void startMonitoringState();
    // One reconciliation: starts the watcher when snippets are on and the
    // permission is there, stops it when they are off.
    void tick();
    // The user's switch. Done once the setting has its new value: at once,
    // or when the user has answered the permission question. While that
    // question is open, switching on again asks nothing more.
    QCoro::Task<> setEnabled(bool on);

    // The most recent typed characters, at most 64 (for tests).
    QString buffer() const { return m_buffer; }

    // The longest abbreviation that `typed` ends with; the earliest in list
    // order among equally long ones; null when none matches.
    static const Snippet* match(const QString& typed, const QList<Snippet>& snippets);

Q_SIGNALS:
    void isRunningChanged();
    // At the end of each expansion sequence, after its final pause; the
    // clipboard is the user's again once the last of overlapping sequences
    // has ended (for tests and benchmarks).
    void expansionFinished();
    // The first of overlapping expansions has read the user's clipboard; the
    // others wait for it before they fill the clipboard (internal).
    void clipboardSaved();

private:
    void start();
    void stop();
    void setRunning(bool running);
    void handle(const KeyStroke& stroke);
    // The winner for the buffer as it is now, or null.
    const Snippet* findMatch();
    QCoro::Task<> expand(int abbreviationLength, QString expansion);

    Platform& m_platform;
    SnippetStore& m_store;
    AppSettings& m_settings;
    PermissionPrompt m_prompt;
    QTimer m_timer;
    QString m_buffer;
    bool m_isRunning = false;
    bool m_asking = false; // the permission question is open
    // Rebuilt lazily after the store's list changes.
    AbbreviationIndex m_index;
    bool m_indexStale = true;
    // The user's clipboard while expansions use it (none when its owner did
    // not answer), how many do, and whether it is still being read.
    std::optional<ClipboardSnapshot> m_savedClipboard;
    int m_clipboardUsers = 0;
    bool m_savingClipboard = false;
};
