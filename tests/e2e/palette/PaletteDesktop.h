#pragma once

#include "DesktopSession.h"
#include "app/InstanceChannel.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QtTest>

#include <optional>

// What the palette's end-to-end tests share: the user's settings pointing at
// the replaying model server, the real `wendle` and what it reports about
// itself, clipboards owned by another program, and screenshots.
namespace PaletteDesktop {

inline const QString vectors = QStringLiteral(WENDLE_VECTORS);
inline const QString basicReply = QStringLiteral("Hello! How can I help you today?");

// A port that was free a moment ago, for a model server that comes and goes.
inline quint16 freePort() {
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost))
        return 0;
    return probe.serverPort();
}

// The settings file as Wendle reads it: Ollama at 127.0.0.1:port.
inline bool writeSettings(quint16 port) {
    const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    if (!QDir().mkpath(config + QStringLiteral("/Wendle")))
        return false;
    QFile file(config + QStringLiteral("/Wendle/Wendle.conf"));
    return file.open(QIODevice::WriteOnly) &&
           file.write(QStringLiteral("[General]\nprovider=ollama\nollamaURL=http://127.0.0.1:%1\n"
                                     "ollamaModel=llama3.2\n")
                          .arg(port)
                          .toUtf8()) > 0;
}

// The replaying model server on `port`, answering POST /api/chat with a
// recorded reply, `lineDelayMs` between lines; events logged to `log`.
struct ModelServer {
    QProcess* process = nullptr;
    QString log;

    // The events of the log, in order ("request", "client-closed-early", ...).
    QList<QJsonObject> events() const {
        QList<QJsonObject> all;
        QFile file(log);
        if (!file.open(QIODevice::ReadOnly))
            return all;
        for (const QByteArray& line : file.readAll().split('\n')) {
            if (!line.trimmed().isEmpty())
                all.append(QJsonDocument::fromJson(line).object());
        }
        return all;
    }
    int count(const QString& event) const {
        int n = 0;
        for (const QJsonObject& object : events())
            n += object.value(QStringLiteral("event")).toString() == event;
        return n;
    }
};

inline std::optional<ModelServer> startModelServer(DesktopSession& desktop, quint16 port,
                                                   const QString& replyFile, int lineDelayMs = 30) {
    static int started = 0;
    ModelServer server;
    const QString portFile = desktop.tempPath() + QStringLiteral("/server-%1.port").arg(++started);
    server.log = desktop.tempPath() + QStringLiteral("/server-%1.jsonl").arg(started);
    server.process = desktop.start(
        QStringLiteral(WENDLE_MODEL_SERVER),
        {QStringLiteral("--port"), QString::number(port), QStringLiteral("--port-file"), portFile,
         QStringLiteral("--log"), server.log, QStringLiteral("--line-delay"),
         QString::number(lineDelayMs), QStringLiteral("--route"),
         QStringLiteral("POST /api/chat=") + vectors + QLatin1Char('/') + replyFile});
    if (!server.process || !DesktopSession::waitUntil([&] { return QFile::exists(portFile); }))
        return std::nullopt;
    return server;
}

// What the running Wendle reports about itself.
inline QJsonObject state() {
    const std::optional<QByteArray> answer = InstanceChannel::ask("state", 2000);
    return answer ? QJsonDocument::fromJson(*answer).object() : QJsonObject();
}
inline QJsonObject palette() {
    return state().value(QStringLiteral("palette")).toObject();
}
inline bool paletteVisible() {
    return palette().value(QStringLiteral("visible")).toBool();
}
inline QString phase() {
    return palette().value(QStringLiteral("phase")).toString();
}
inline bool waitForPhase(const QString& wanted, int timeoutMs = 5000) {
    return DesktopSession::waitUntil([&] { return phase() == wanted; }, timeoutMs);
}
// Presses the hot key with the pointer at `pointer` and waits for the palette.
inline bool openAt(DesktopSession& desktop, QPoint pointer) {
    return desktop.mouseMove(pointer.x(), pointer.y()) &&
           desktop.key(QStringLiteral("ctrl+alt+space")) &&
           DesktopSession::waitUntil(&paletteVisible);
}
// Wendle's tray: its menu's entries, whether the menu is on the screen, and
// where the icon is.
inline QJsonObject tray() {
    return state().value(QStringLiteral("tray")).toObject();
}
inline bool trayMenuShown() {
    return tray().value(QStringLiteral("menuShown")).toBool();
}
inline QStringList alertMessages() {
    QStringList messages;
    for (const QJsonValue& alert : state().value(QStringLiteral("alerts")).toArray())
        messages.append(alert.toObject().value(QStringLiteral("message")).toString());
    return messages;
}

// Starts the real `wendle` and waits until it answers on its channel.
inline QProcess* startWendle(DesktopSession& desktop) {
    QProcess* wendle =
        desktop.start(QStringLiteral(WENDLE_PROGRAM), {}, {QStringLiteral("WENDLE_STATE_PROBE=1")});
    if (!wendle || !DesktopSession::waitUntil([] { return !state().isEmpty(); },
                                              DesktopSession::programStartMs))
        return nullptr;
    return wendle;
}

// Whether the started Wendle holds its hot key and shows its tray icon.
inline bool hotKeyAndTrayUp() {
    return state().value(QStringLiteral("hotKeyRegistered")).toBool() &&
           DesktopSession::waitUntil(
               [] { return state().value(QStringLiteral("trayAvailable")).toBool(); });
}

// What every scenario leaves behind: the palette closed (Escape if it is
// open) and the programs it started ended.
inline bool closePaletteAndStop(DesktopSession& desktop, QList<QProcess*>& started) {
    if (paletteVisible())
        desktop.key(QStringLiteral("Escape"));
    const bool closed = DesktopSession::waitUntil([] { return !paletteVisible(); });
    for (QProcess* process : std::as_const(started))
        desktop.stop(process);
    started.clear();
    return closed;
}

// A clipboard as another program leaves it after a copy: every format with its bytes.
struct ClipboardContent {
    QList<QPair<QString, QByteArray>> formats;

    static ClipboardContent textOnly(const QByteArray& text) {
        return {{{QStringLiteral("text/plain"), text}}};
    }
    // Text, HTML and a PNG image, as a browser's "copy image" leaves them.
    static ClipboardContent rich() {
        QImage image(6, 4, QImage::Format_RGB32);
        image.fill(QColor(200, 30, 60));
        QByteArray png;
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "PNG");
        return {{{QStringLiteral("text/plain"), QByteArray("before \xC3\xA9\nsecond line")},
                 {QStringLiteral("text/html"), QByteArray("<p>before <b>bold</b></p>")},
                 {QStringLiteral("image/png"), png}}};
    }
};

inline QString targetOf(const QString& format) {
    return format == QStringLiteral("text/plain") ? QStringLiteral("UTF8_STRING") : format;
}

// Another program takes the clipboard with `content` and keeps it.
inline QProcess* ownClipboard(DesktopSession& desktop, const ClipboardContent& content) {
    static int files = 0;
    QStringList arguments;
    for (const auto& [format, bytes] : content.formats) {
        const QString path = desktop.tempPath() + QStringLiteral("/clip-%1").arg(++files);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            return nullptr;
        arguments.append(format + QLatin1Char('=') + path);
    }
    QProcess* owner = desktop.start(QStringLiteral(WENDLE_CLIP_OWNER), arguments);
    if (!owner ||
        !DesktopSession::waitUntil([&] { return desktop.output(owner).contains("owned"); }))
        return nullptr;
    return owner;
}

// True when every format reads back byte for byte, and nothing else is offered
// beyond X11's own meta targets and the text aliases.
inline bool clipboardHolds(DesktopSession& desktop, const ClipboardContent& content) {
    for (const auto& [format, bytes] : content.formats) {
        if (desktop.clipboard(targetOf(format)) != bytes)
            return false;
    }
    return true;
}

// Saves the part of the screen around the palette (or the whole screen) as
// <build>/palette-screenshots/e2e-<name>.png.
inline bool screenshot(DesktopSession& desktop, const QString& name, bool wholeScreen = false) {
    const QString folder = QStringLiteral(WENDLE_SCREENSHOTS);
    QDir().mkpath(folder);
    const QString whole = desktop.tempPath() + QStringLiteral("/screen.png");
    if (!desktop.screenshot(whole))
        return false;
    QImage image(whole);
    const QJsonObject p = palette();
    if (!wholeScreen && p.value(QStringLiteral("visible")).toBool()) {
        const QRect area(p.value("x").toInt() - 20, p.value("y").toInt() - 20,
                         p.value("width").toInt() + 40, p.value("height").toInt() + 40);
        image = image.copy(area);
    }
    return image.save(folder + QStringLiteral("/e2e-") + name + QStringLiteral(".png"));
}

} // namespace PaletteDesktop
