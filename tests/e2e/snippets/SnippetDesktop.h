#pragma once

#include "DesktopSession.h"
#include "app/InstanceChannel.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest>

#include <functional>
#include <optional>

// What the snippet end-to-end tests share: the user's files as Wendle reads
// them, Wendle itself, a clipboard owned by another program, l3afpad and
// xterm.

namespace SnippetDesktop {

inline const QString signature = QStringLiteral("Best regards,\nYour Name");
inline const QString address = QStringLiteral("123 Main Street\nSpringfield");

// Writes "snippets.json" into the data folder and the settings file with
// snippet expansion on or off, where Wendle will read them (the test runs
// with HOME and XDG folders of its own).
inline bool writeUserFiles(const QList<QPair<QString, QString>>& snippets, bool enabled) {
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    if (!QDir().mkpath(data + QStringLiteral("/Wendle")) ||
        !QDir().mkpath(config + QStringLiteral("/Wendle")))
        return false;
    QJsonArray list;
    for (const auto& [abbreviation, expansion] : snippets)
        list.append(QJsonObject{{QStringLiteral("abbreviation"), abbreviation},
                                {QStringLiteral("expansion"), expansion}});
    QFile file(data + QStringLiteral("/Wendle/snippets.json"));
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(list).toJson()) < 0)
        return false;
    file.close();
    QFile settings(config + QStringLiteral("/Wendle/Wendle.conf"));
    return settings.open(QIODevice::WriteOnly) &&
           settings.write(enabled ? "[General]\nsnippetsEnabled=true\n"
                                  : "[General]\nsnippetsEnabled=false\n") > 0;
}

// What the running Wendle reports about itself (its state probe).
inline QJsonObject wendleState() {
    const std::optional<QByteArray> answer = InstanceChannel::ask("state", 1000);
    return answer ? QJsonDocument::fromJson(*answer).object() : QJsonObject();
}

inline bool snippetsRunning() {
    return wendleState().value(QStringLiteral("snippetsRunning")).toBool();
}

// Starts the real `wendle` and waits until its snippet engine runs.
inline QProcess* startWendle(DesktopSession& desktop) {
    QProcess* wendle =
        desktop.start(QStringLiteral(WENDLE_PROGRAM), {}, {QStringLiteral("WENDLE_STATE_PROBE=1")});
    if (!wendle || !DesktopSession::waitUntil(&snippetsRunning, DesktopSession::programStartMs))
        return nullptr;
    return wendle;
}

// Wendle's tray: its menu's entries, whether the menu is on screen, and
// where the icon is.
inline QJsonObject tray() {
    return wendleState().value(QStringLiteral("tray")).toObject();
}

inline bool trayMenuShown() {
    return tray().value(QStringLiteral("menuShown")).toBool();
}

// The settings window as Wendle reports it.
inline QJsonObject settingsWindow() {
    return wendleState().value(QStringLiteral("settings")).toObject();
}

// Clicks Wendle's tray icon and chooses "Snippets…", the third entry, with
// the keyboard, the way a person opens the settings window on its Snippets tab.
inline bool openSnippetsTab(DesktopSession& desktop) {
    if (!DesktopSession::waitUntil([] { return !trayMenuShown(); }))
        return false;
    const QJsonObject icon = tray().value(QStringLiteral("icon")).toObject();
    const int width = icon.value(QStringLiteral("width")).toInt();
    const int height = icon.value(QStringLiteral("height")).toInt();
    if (width <= 0 || height <= 0)
        return false;
    // Two clicks on one spot in quick succession make a double click, which
    // opens no menu: every other click goes to the other corner.
    static int clicks = 0;
    const int quarter = ++clicks % 2 ? 1 : 3;
    if (!desktop.mouseMove(icon.value(QStringLiteral("x")).toInt() + width * quarter / 4,
                           icon.value(QStringLiteral("y")).toInt() + height * quarter / 4) ||
        !desktop.click() || !DesktopSession::waitUntil(&trayMenuShown))
        return false;
    return desktop.key(QStringLiteral("Down Down Down Return")) && DesktopSession::waitUntil([] {
               const QJsonObject window = settingsWindow();
               return !trayMenuShown() && window.value(QStringLiteral("visible")).toBool() &&
                      window.value(QStringLiteral("tab")).toString() == QStringLiteral("Snippets");
           });
}

// Switches snippet expansion on or off as a person does: the Snippets tab
// from the tray menu, then a click on the switch "Expand snippets while I
// type". True once Wendle's watcher runs (or has stopped) accordingly.
inline bool switchSnippets(DesktopSession& desktop, bool on) {
    if (!openSnippetsTab(desktop))
        return false;
    const QJsonObject expand = settingsWindow()
                                   .value(QStringLiteral("controls"))
                                   .toObject()
                                   .value(QStringLiteral("expand"))
                                   .toObject();
    const int height = expand.value(QStringLiteral("height")).toInt();
    if (height <= 0 || snippetsRunning() == on)
        return false;
    // On the switch's track, at the right end of the control, past its label.
    return desktop.mouseMove(expand.value(QStringLiteral("x")).toInt() +
                                 expand.value(QStringLiteral("width")).toInt() - height,
                             expand.value(QStringLiteral("y")).toInt() + height / 2) &&
           desktop.click() && DesktopSession::waitUntil([on] { return snippetsRunning() == on; });
}

// Types `text` with `delayMs` between the keys, the way a person types on.
inline bool typeSlowly(DesktopSession& desktop, const QString& text, int delayMs) {
    return desktop
        .run(QStringLiteral("xdotool"),
             {QStringLiteral("type"), QStringLiteral("--delay"), QString::number(delayMs), text})
        .has_value();
}

// A sentence typed through an abbreviation and on without a pause, at
// speeds a person types at; the text it must leave.
inline void typingOnRows() {
    QTest::addColumn<int>("delayMs");
    QTest::newRow("30 ms between keys") << 30;
    QTest::newRow("60 ms between keys") << 60;
    QTest::newRow("140 ms between keys") << 140;
}
inline const QString typedOn = QStringLiteral("Hello ;sig and thanks for all of it.");
inline const QString typedOnResult =
    QStringLiteral("Hello ") + signature + QStringLiteral(" and thanks for all of it.");

// Another program's clipboard: several formats, one of them binary.
struct ClipboardContent {
    QList<QPair<QString, QByteArray>> formats{
        {QStringLiteral("text/plain"), QByteArray("clipboard before \xC3\xA9 \n second line")},
        {QStringLiteral("text/html"), QByteArray("<p>clipboard <b>before</b></p>")},
        {QStringLiteral("application/x-wendle-test"), QByteArray("\x00\x01\x02\xFF\xFEraw", 8)},
    };
};

// Has the clip-owner tool take the clipboard with `content`.
inline bool ownClipboard(DesktopSession& desktop, const ClipboardContent& content) {
    QStringList arguments;
    int i = 0;
    for (const auto& [format, bytes] : content.formats) {
        const QString path = desktop.tempPath() + QStringLiteral("/clip-%1").arg(++i);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            return false;
        arguments.append(format + QLatin1Char('=') + path);
    }
    QProcess* owner = desktop.start(QStringLiteral(WENDLE_CLIP_OWNER), arguments);
    return owner &&
           DesktopSession::waitUntil([&] { return desktop.output(owner).contains("owned"); });
}

// The X selection target that serves a Qt format.
inline QString targetOf(const QString& format) {
    return format == QStringLiteral("text/plain") ? QStringLiteral("UTF8_STRING") : format;
}

// True once every format of `content` reads back byte for byte.
inline bool clipboardHolds(DesktopSession& desktop, const ClipboardContent& content,
                           int timeoutMs) {
    return DesktopSession::waitUntil(
        [&] {
            for (const auto& [format, bytes] : content.formats) {
                if (desktop.clipboard(targetOf(format)) != bytes)
                    return false;
            }
            return true;
        },
        timeoutMs);
}

// A default xterm running a program that appends every byte it is given to
// a file: no line editing, no echo, so backspaces arrive as bytes too.
struct RecordingTerminal {
    QProcess* process = nullptr;
    quint64 window = 0;
    QString record;

    QByteArray recorded() const {
        QFile f(record);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
};

// Starts it with the title `name`, activates it and waits until its program
// takes input.
inline std::optional<RecordingTerminal> startXterm(DesktopSession& desktop, const QString& name) {
    RecordingTerminal terminal;
    terminal.record = desktop.tempPath() + QLatin1Char('/') + name + QStringLiteral(".typed");
    const QString script =
        QStringLiteral("stty -icanon min 1 time 0 -echo; while :; do cat >> %1; done")
            .arg(terminal.record);
    terminal.process = desktop.start(QStringLiteral("xterm"),
                                     {QStringLiteral("-T"), name, QStringLiteral("-e"),
                                      QStringLiteral("sh"), QStringLiteral("-c"), script});
    if (!terminal.process)
        return std::nullopt;
    terminal.window = desktop.findWindowByName(QLatin1Char('^') + name + QLatin1Char('$'),
                                               DesktopSession::programStartMs);
    if (!terminal.window || !desktop.activate(terminal.window) ||
        !DesktopSession::waitUntil([&] { return QFile::exists(terminal.record); }))
        return std::nullopt;
    return terminal;
}

// l3afpad editing `file`: a GTK editor, read back by saving with Ctrl+S.
struct GtkEditor {
    QProcess* process = nullptr;
    quint64 window = 0;
    QString file;

    QString saved() const {
        QFile f(file);
        return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
    }
};

inline std::optional<GtkEditor> startGtkEditor(DesktopSession& desktop, const QString& name) {
    GtkEditor editor;
    editor.file = desktop.tempPath() + QLatin1Char('/') + name;
    QFile file(editor.file);
    if (!file.open(QIODevice::WriteOnly))
        return std::nullopt;
    file.close();
    editor.process = desktop.start(QStringLiteral("l3afpad"), {editor.file});
    if (!editor.process)
        return std::nullopt;
    editor.window =
        desktop.findWindowByName(QStringLiteral("^") + name, DesktopSession::programStartMs);
    if (!editor.window)
        return std::nullopt;
    return editor;
}

// Saves with Ctrl+S until the file holds `expected`. Ctrl+S is a key
// combination of its own, so it never takes part in a snippet.
inline bool gtkEditorSaves(DesktopSession& desktop, const GtkEditor& editor,
                           const QString& expected, int timeoutMs = 5000) {
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < timeoutMs) {
        desktop.key(QStringLiteral("ctrl+s"));
        if (DesktopSession::waitUntil([&] { return editor.saved() == expected; }, 250))
            return true;
    }
    return false;
}

} // namespace SnippetDesktop
