#include "DesktopTestMain.h"

#include "app/InstanceChannel.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QStandardPaths>
#include <QTcpServer>

#include <optional>

// The settings window of the real `wendle`, driven the way a person drives
// it: opened from the tray menu on a desktop with a window manager and a tray,
// clicked and typed into with xdotool, talking to a model server that replays
// recorded replies. One Wendle for every scenario, in order.
class TestSettingsDesktop : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void settingsEntryOpensTheModelTabAgainstTheServer();
    void chosenModelIsUsedByTheNextPaletteRun();
    void addedActionIsInThePaletteAtOnce();
    void closedWindowComesBackWhereItWasOnTheTabAsked();

private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    static QJsonObject wendle();
    static QJsonObject settings() { return wendle().value(QStringLiteral("settings")).toObject(); }
    static QJsonObject palette() { return wendle().value(QStringLiteral("palette")).toObject(); }
    static QJsonObject control(const QString& name);
    // The model server's log, one object per event.
    QList<QJsonObject> serverRequests(const QString& method) const;
    // Whether the tray icon's menu, or a menu of the settings window, is on
    // the screen.
    static bool trayMenuShown();
    static bool settingsMenuShown() { return settings().value("menuShown").toBool(); }
    // Clicks the tray icon and picks the entry `downs` rows below the top.
    bool chooseTrayEntry(int downs);
    bool clickControl(const QString& name);
    bool activateEditor();
    bool clickAt(const QJsonObject& area);
    bool screenshot(const QString& name);
    static QString dataFile(const QString& name);

    int m_trayClicks = 0;
    quint16 m_port = 0;
    QString m_serverLog;
    QProcess* m_wendle = nullptr;
    std::optional<DesktopSession::Editor> m_editor;
};

QJsonObject TestSettingsDesktop::wendle() {
    const std::optional<QByteArray> answer = InstanceChannel::ask("state", 2000);
    return answer ? QJsonDocument::fromJson(*answer).object() : QJsonObject();
}

QJsonObject TestSettingsDesktop::control(const QString& name) {
    return settings().value(QStringLiteral("controls")).toObject().value(name).toObject();
}

QString TestSettingsDesktop::dataFile(const QString& name) {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/Wendle/") + name;
}

QList<QJsonObject> TestSettingsDesktop::serverRequests(const QString& method) const {
    QList<QJsonObject> requests;
    QFile file(m_serverLog);
    if (!file.open(QIODevice::ReadOnly))
        return requests;
    for (const QByteArray& line : file.readAll().split('\n')) {
        const QJsonObject event = QJsonDocument::fromJson(line).object();
        if (event.value(QStringLiteral("event")).toString() == QStringLiteral("request") &&
            event.value(QStringLiteral("method")).toString() == method)
            requests.append(event);
    }
    return requests;
}

bool TestSettingsDesktop::trayMenuShown() {
    return wendle()
        .value(QStringLiteral("tray"))
        .toObject()
        .value(QStringLiteral("menuShown"))
        .toBool();
}

bool TestSettingsDesktop::chooseTrayEntry(int downs) {
    // No menu left open from before.
    if (!DesktopSession::waitUntil([] { return !trayMenuShown(); }))
        return false;
    const QJsonObject icon =
        wendle().value(QStringLiteral("tray")).toObject().value(QStringLiteral("icon")).toObject();
    const int width = icon.value(QStringLiteral("width")).toInt();
    const int height = icon.value(QStringLiteral("height")).toInt();
    if (width <= 0 || height <= 0)
        return false;
    // Two clicks on one spot in quick succession make a double click, which
    // does not open the menu: every other click goes to another corner.
    const int quarter = ++m_trayClicks % 2 ? 1 : 3;
    if (!desktop().mouseMove(icon.value(QStringLiteral("x")).toInt() + width * quarter / 4,
                             icon.value(QStringLiteral("y")).toInt() + height * quarter / 4) ||
        !desktop().click() || !DesktopSession::waitUntil(&trayMenuShown))
        return false;
    for (int i = 0; i < downs; ++i) {
        if (!desktop().key(QStringLiteral("Down")))
            return false;
    }
    return desktop().key(QStringLiteral("Return")) &&
           DesktopSession::waitUntil([] { return !trayMenuShown(); });
}

bool TestSettingsDesktop::activateEditor() {
    return desktop().activate(m_editor->window);
}

bool TestSettingsDesktop::clickAt(const QJsonObject& area) {
    if (area.isEmpty())
        return false;
    const int x = area.value("x").toInt() + area.value("width").toInt() / 2;
    const int y = area.value("y").toInt() + area.value("height").toInt() / 2;
    return desktop().mouseMove(x, y) && desktop().click();
}

bool TestSettingsDesktop::clickControl(const QString& name) {
    return clickAt(control(name));
}

bool TestSettingsDesktop::screenshot(const QString& name) {
    const QString folder = QStringLiteral(WENDLE_SCREENSHOTS);
    QDir().mkpath(folder);
    return desktop().screenshot(folder + QStringLiteral("/e2e-") + name + QStringLiteral(".png"));
}

void TestSettingsDesktop::initTestCase() {
    {
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost));
        m_port = probe.serverPort();
    }
    // Ollama on the replaying server, no model chosen yet.
    const QString config =
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + "/Wendle";
    QVERIFY(QDir().mkpath(config));
    QFile conf(config + QStringLiteral("/Wendle.conf"));
    QVERIFY(conf.open(QIODevice::WriteOnly));
    conf.write(QStringLiteral("[General]\nprovider=ollama\nollamaURL=http://127.0.0.1:%1\n")
                   .arg(m_port)
                   .toUtf8());
    conf.close();

    const QString vectors = QStringLiteral(WENDLE_VECTORS "/");
    const QString portFile = desktop().tempPath() + QStringLiteral("/server.port");
    m_serverLog = desktop().tempPath() + QStringLiteral("/server.jsonl");
    QProcess* server =
        desktop().start(QStringLiteral(WENDLE_MODEL_SERVER),
                        {"--port", QString::number(m_port), "--port-file", portFile, "--log",
                         m_serverLog, "--route", "GET /api/tags=" + vectors + "ollama_tags.txt",
                         "--route", "POST /api/chat=" + vectors + "ollama_chat_stream_basic.txt"});
    QVERIFY(server);
    QVERIFY(DesktopSession::waitUntil([&] { return QFile::exists(portFile); }));

    m_wendle = desktop().start(QStringLiteral(WENDLE_PROGRAM), {},
                               {QStringLiteral("WENDLE_STATE_PROBE=1")});
    QVERIFY(m_wendle);
    QVERIFY(DesktopSession::waitUntil(
        [] { return wendle().value(QStringLiteral("trayAvailable")).toBool(); },
        DesktopSession::programStartMs));
    m_editor =
        desktop().startEditor({.text = QStringLiteral("Their going home."), .selectAll = true});
    QVERIFY(m_editor);
}

void TestSettingsDesktop::cleanupTestCase() {
    desktop().stopPrograms();
}

void TestSettingsDesktop::settingsEntryOpensTheModelTabAgainstTheServer() {
    QVERIFY(!settings().value("exists").toBool());
    QVERIFY(chooseTrayEntry(4)); // Wendle Selection, Actions…, Snippets…, Settings…
    QVERIFY(DesktopSession::waitUntil([] { return settings().value("visible").toBool(); }));
    QJsonObject shown = settings();
    QCOMPARE(shown.value("tab").toString(), QStringLiteral("Model"));
    QCOMPARE(shown.value("title").toString(), QStringLiteral("Wendle Settings"));
    QCOMPARE(shown.value("content").toObject().value("width").toInt(), 700);
    QCOMPARE(shown.value("content").toObject().value("height").toInt(), 520);
    QVERIFY(!shown.value("resizable").toBool());
    QCOMPARE(shown.value("windows").toInt(), 1);
    // In front, with the focus.
    const quint64 window = desktop().findWindowByName(QStringLiteral("^Wendle Settings$"));
    QVERIFY(window);
    QVERIFY(DesktopSession::waitUntil([&] {
        const auto active = desktop().run(QStringLiteral("xdotool"), {"getactivewindow"});
        return active && active->trimmed().toULongLong() == window;
    }));

    // Showing the tab listed the server's models and filled in the first.
    QVERIFY(DesktopSession::waitUntil([] {
        return settings().value("model").toObject().value("status").toString() ==
               QStringLiteral("Connected. 3 model(s) available.");
    }));
    QCOMPARE(settings().value("model").toObject().value("field").toString(),
             QStringLiteral("qwen3:8b"));
    QCOMPARE(serverRequests("GET").value(0).value("path").toString(), QStringLiteral("/api/tags"));
    QVERIFY(screenshot(QStringLiteral("model-tab")));
    // The window manager offers neither resizing nor maximizing, only the rest.
    const auto actions = desktop().run(QStringLiteral("xprop"),
                                       {"-id", QString::number(window), "_NET_WM_ALLOWED_ACTIONS"});
    QVERIFY(actions);
    QVERIFY(actions->contains("_NET_WM_ACTION_CLOSE"));
    QVERIFY(actions->contains("_NET_WM_ACTION_MINIMIZE"));
    QVERIFY(actions->contains("_NET_WM_ACTION_MOVE"));
    QVERIFY(!actions->contains("_NET_WM_ACTION_RESIZE"));
    QVERIFY(!actions->contains("_NET_WM_ACTION_MAXIMIZE"));
}

void TestSettingsDesktop::chosenModelIsUsedByTheNextPaletteRun() {
    QVERIFY(clickControl(QStringLiteral("choose")));
    QVERIFY(DesktopSession::waitUntil(&settingsMenuShown));
    QVERIFY(screenshot(QStringLiteral("model-choose-menu")));
    // qwen3:8b, gpt-oss:120b-cloud, llama3.2:latest
    QVERIFY(desktop().key(QStringLiteral("Down Down Down Return")));
    QVERIFY(DesktopSession::waitUntil([] {
        return settings().value("model").toObject().value("field").toString() ==
               QStringLiteral("llama3.2:latest");
    }));
    QSettings stored(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                         QStringLiteral("/Wendle/Wendle.conf"),
                     QSettings::IniFormat);
    QCOMPARE(stored.value("ollamaModel").toString(), QStringLiteral("llama3.2:latest"));

    // The next run in the palette asks the server for that model.
    QVERIFY(activateEditor());
    QVERIFY(desktop().mouseMove(300, 300));
    QVERIFY(desktop().key(QStringLiteral("ctrl+alt+space")));
    QVERIFY(DesktopSession::waitUntil([] { return palette().value("visible").toBool(); }));
    QVERIFY(desktop().key(QStringLiteral("1")));
    QVERIFY(DesktopSession::waitUntil(
        [] { return palette().value("phase").toString() == QStringLiteral("done"); }));
    const QList<QJsonObject> chats = serverRequests("POST");
    QCOMPARE(chats.size(), 1);
    const QJsonObject body =
        QJsonDocument::fromJson(chats.first().value("body").toString().toUtf8()).object();
    QCOMPARE(body.value("model").toString(), QStringLiteral("llama3.2:latest"));
    QVERIFY(desktop().key(QStringLiteral("Escape")));
    QVERIFY(DesktopSession::waitUntil([] { return !palette().value("visible").toBool(); }));
}

void TestSettingsDesktop::addedActionIsInThePaletteAtOnce() {
    QVERIFY(chooseTrayEntry(2)); // Actions…
    QVERIFY(DesktopSession::waitUntil([] {
        return settings().value("visible").toBool() &&
               settings().value("tab").toString() == QStringLiteral("Actions");
    }));
    QCOMPARE(settings().value("windows").toInt(), 1);
    QVERIFY(clickControl(QStringLiteral("add")));
    QVERIFY(DesktopSession::waitUntil([] { return !control(QStringLiteral("name")).isEmpty(); }));
    QVERIFY(clickControl(QStringLiteral("name")));
    QVERIFY(desktop().key(QStringLiteral("ctrl+a")));
    QVERIFY(desktop().type(QStringLiteral("Pirate talk")));
    QVERIFY(DesktopSession::waitUntil([] {
        QFile file(dataFile(QStringLiteral("actions.json")));
        return file.open(QIODevice::ReadOnly) && file.readAll().contains("\"Pirate talk\"");
    }));
    QVERIFY(screenshot(QStringLiteral("actions-added")));

    // The settings window stays open; the palette already lists it, eighth.
    QVERIFY(activateEditor());
    QVERIFY(desktop().key(QStringLiteral("ctrl+alt+space")));
    QVERIFY(DesktopSession::waitUntil([] { return palette().value("visible").toBool(); }));
    QVERIFY(desktop().key(QStringLiteral("8")));
    QVERIFY(DesktopSession::waitUntil(
        [] { return palette().value("phase").toString() == QStringLiteral("done"); }));
    QCOMPARE(palette().value("runTitle").toString(), QStringLiteral("Pirate talk"));
    const QJsonObject body =
        QJsonDocument::fromJson(serverRequests("POST").last().value("body").toString().toUtf8())
            .object();
    QVERIFY(QJsonDocument(body).toJson().contains("Rewrite the text to"));
    QVERIFY(desktop().key(QStringLiteral("Escape")));
    QVERIFY(DesktopSession::waitUntil([] { return !palette().value("visible").toBool(); }));
}

void TestSettingsDesktop::closedWindowComesBackWhereItWasOnTheTabAsked() {
    const quint64 window = desktop().findWindowByName(QStringLiteral("^Wendle Settings$"));
    QVERIFY(window);
    QVERIFY(desktop().activate(window));
    QVERIFY(desktop().run(QStringLiteral("xdotool"),
                          {"windowmove", "--sync", QString::number(window), "140", "90"}));
    QVERIFY(DesktopSession::waitUntil(
        [] { return settings().value("frame").toObject().value("x").toInt() == 140; }));
    const QJsonObject placed = settings().value("frame").toObject();
    QCOMPARE(settings().value("actionsSelected").toString(), QStringLiteral("Pirate talk"));

    QVERIFY(desktop().key(QStringLiteral("alt+F4"))); // the window manager's close
    QVERIFY(DesktopSession::waitUntil([] { return !settings().value("visible").toBool(); }));
    QVERIFY(settings().value("exists").toBool()); // hidden, not destroyed

    QVERIFY(chooseTrayEntry(5)); // Permissions… opens General
    QVERIFY(DesktopSession::waitUntil([] {
        return settings().value("visible").toBool() &&
               settings().value("tab").toString() == QStringLiteral("General");
    }));
    QCOMPARE(settings().value("windows").toInt(), 1);
    QVERIFY(
        DesktopSession::waitUntil([&] { return settings().value("frame").toObject() == placed; }));
    // The same window with what was in it: the action added before is still
    // the one selected. (Qt gives the window a new X window when the window
    // manager closes it; the window itself and its state stay.)
    QCOMPARE(settings().value("actionsSelected").toString(), QStringLiteral("Pirate talk"));
    QVERIFY(screenshot(QStringLiteral("general-tab")));

    // Open on General, the Snippets entry switches the same window over.
    QVERIFY(chooseTrayEntry(3));
    QVERIFY(DesktopSession::waitUntil(
        [] { return settings().value("tab").toString() == QStringLiteral("Snippets"); }));
    QCOMPARE(settings().value("windows").toInt(), 1);
    QVERIFY(settings().value("visible").toBool());
    QVERIFY(screenshot(QStringLiteral("snippets-tab")));
}

WENDLE_DESKTOP_TEST_MAIN(TestSettingsDesktop,
                         (DesktopSession::Options{
                             .windowManager = true, .trayHost = true, .keyring = true}))
#include "tst_settings_desktop.moc"
