#pragma once

#include <QByteArray>
#include <QHash>
#include <QProcess>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class ChildProcess;

// A private X desktop for end-to-end tests: a real Xvfb, optionally openbox,
// a tray host and a session bus with a throwaway unlocked keyring, plus the
// helpers a test needs to drive it the way a person does (xdotool, xclip,
// screenshots) and the test editor to type into.
//
// Create it before the QApplication, so that Qt connects to its display;
// WENDLE_DESKTOP_TEST_MAIN (DesktopTestMain.h) does that for a QtTest class:
//
//     class TestPalette : public QObject { ... };
//     WENDLE_DESKTOP_TEST_MAIN(TestPalette, (DesktopSession::Options{.windowManager = true}))
//
//     void TestPalette::replacesSelection() {
//         DesktopSession& desktop = DesktopSession::current();
//         auto editor = desktop.startEditor({.text = "helo world", .selectAll = true});
//         QVERIFY(editor);
//         QVERIFY(desktop.activate(editor->window));
//         QVERIFY(desktop.key("ctrl+alt+space"));
//         ...
//         QVERIFY(desktop.waitUntil([&] { return editor->text() == "hello world"; }));
//     }
//
// It exports DISPLAY (and, with a keyring, DBUS_SESSION_BUS_ADDRESS and
// GNOME_KEYRING_CONTROL) into this process's environment, so everything
// started afterwards uses it, and restores the old values when it ends. It
// ends every process it started, by pid, in its destructor: also when a test
// fails half-way. Helper commands run with the event loop turning, so this
// process can answer clipboard requests while xclip reads.
class DesktopSession {
public:
    struct Options {
        bool windowManager = false; // openbox, ready when it has set _NET_SUPPORTING_WM_CHECK
        bool trayHost = false;      // trayer (XEmbed), ready when it owns _NET_SYSTEM_TRAY_S0
        bool keyring = false;       // dbus-daemon + unlocked gnome-keyring (Secret Service)
        QSize screen{1280, 800};
    };

    explicit DesktopSession(const Options& options);
    DesktopSession()
        : DesktopSession(Options{}) {}
    ~DesktopSession();
    DesktopSession(const DesktopSession&) = delete;
    DesktopSession& operator=(const DesktopSession&) = delete;

    // The session made by WENDLE_DESKTOP_TEST_MAIN (or the last one created).
    static DesktopSession& current();

    bool isReady() const { return m_error.isEmpty(); }
    QString error() const { return m_error; }
    QString display() const { return m_display; } // ":N"
    QString tempPath() const { return m_temp.path(); }

    // Window manager and tray host on and off during a test.
    bool startWindowManager();
    void stopWindowManager();
    bool hasWindowManager() const;
    bool startTrayHost();
    void stopTrayHost();

    // Starts a program in the session's environment (needs the QApplication).
    // Its output goes to a log file in tempPath(). Ended by stop() or at the
    // end of the session.
    QProcess* start(const QString& program, const QStringList& arguments = {},
                    const QStringList& environment = {});
    void stop(QProcess* process);
    // What a program started with start() has printed so far (stdout and
    // stderr together).
    QByteArray output(QProcess* process) const;
    // Ends every program start() started (the destructor does it too).
    void stopPrograms();

    // Runs a short command to its end, the event loop turning meanwhile.
    // Returns its stdout, or nothing when it failed or timed out.
    std::optional<QByteArray> run(const QString& program, const QStringList& arguments,
                                  const QByteArray& input = {}, int timeoutMs = 10000);

    // xdotool. Keys in xdotool's names, several separated by spaces:
    // "ctrl+alt+space", "Return Tab", "a".
    // Keys are sent as given: modifiers and locks already on stay on.
    bool key(const QString& keys);
    bool keyDown(const QString& keys);
    bool keyUp(const QString& keys);
    bool type(const QString& text); // ASCII is safest, see xdotool's keymap remapping
    // Screen coordinates, or relative to `window` when one is given.
    bool mouseMove(int x, int y, quint64 window = 0);
    bool click(int button = 1, int repeat = 1);
    // A visible window's id by a regular expression on its title or WM_CLASS, polled until
    // the deadline; 0 when none appeared.
    quint64 findWindowByName(const QString& pattern, int timeoutMs = 5000);
    quint64 findWindowByClass(const QString& pattern, int timeoutMs = 5000);
    bool activate(quint64 window); // windowactivate --sync, needs a window manager
    bool focus(quint64 window);    // windowfocus --sync, works without one
    // The window with the input focus (xdotool getwindowfocus).
    quint64 focusedWindow();

    // The CLIPBOARD selection through xclip.
    std::optional<QByteArray> clipboard(const QString& target = QStringLiteral("UTF8_STRING"));
    QStringList clipboardTargets();
    // xclip keeps owning the selection until someone else takes it or the
    // session ends; returns once the new content can be read.
    bool setClipboard(const QByteArray& bytes,
                      const QString& target = QStringLiteral("UTF8_STRING"));

    // The ids of every process the session runs now (display, window manager,
    // tray host, bus, keyring, programs), for tests of the cleanup.
    QList<qint64> processIds() const;

    // The whole screen as a PNG (ImageMagick's import).
    bool screenshot(const QString& path);

    // Polls `condition` until it holds or the time runs out, with the event
    // loop turning; returns the condition's last value.
    static bool waitUntil(const std::function<bool()>& condition, int timeoutMs = 5000);

    // How long a program started on the desktop may take to be up (its window
    // shown, its channel answering). Generous: once, on a freshly installed
    // machine, the very first GUI program took over 10 s to show its window;
    // a program that comes up sooner costs no more.
    static constexpr int programStartMs = 30000;

    // The test editor (tests/tools/test-editor): a QPlainTextEdit that writes
    // its whole text to a file after every change.
    struct EditorOptions {
        QString text = {};
        bool selectAll = false;
        int selectionStart = -1; // with selectionEnd: select [start, end)
        int selectionEnd = -1;
        QString title = QStringLiteral("Wendle Test Editor");
        int busyBeforePasteMs = 0; // busy that long on every paste keystroke
    };
    struct Editor {
        QProcess* process = nullptr;
        quint64 window = 0;
        QString file;
        // The editor's text as last written; empty before the first write.
        QString text() const;
    };
    // Starts it and waits for its window and its first write.
    std::optional<Editor> startEditor(const EditorOptions& options);
    static QString editorProgram();

private:
    bool startDisplay();
    bool startKeyring();
    bool waitForRootProperty(const char* atom, int timeoutMs);
    bool waitForSelectionOwner(const char* selection, int timeoutMs);
    void exportVariable(const char* name, const QByteArray& value);
    std::optional<QByteArray> xdotool(const QStringList& arguments);
    quint64 findWindow(const QString& kind, const QString& pattern, int timeoutMs);

    Options m_options;
    DesktopSession* m_previous; // sessions nest: the outer one is current again after
    QString m_error;
    QString m_display;
    QTemporaryDir m_temp;
    std::unique_ptr<ChildProcess> m_xvfb;
    std::unique_ptr<ChildProcess> m_windowManager;
    std::unique_ptr<ChildProcess> m_trayHost;
    std::unique_ptr<ChildProcess> m_bus;
    std::unique_ptr<ChildProcess> m_keyring;
    std::vector<std::unique_ptr<QProcess>> m_processes;
    QHash<QProcess*, QString> m_logs;
    std::vector<std::pair<QByteArray, std::optional<QByteArray>>> m_savedEnvironment;
    int m_started = 0;
};
