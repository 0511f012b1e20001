#include "DesktopTestMain.h"
#include "PaletteDesktop.h"

using namespace PaletteDesktop;

// Pasting into an application that is busy when the paste keystroke comes:
// it asks for the clipboard only once it gets to the keystroke, well after
// the usual pause. The real `wendle` on a private desktop with a window
// manager, the Qt test editor made busy on every paste, and a clipboard of
// another program's that has to come back byte for byte afterwards.
class TestPasteBusyTarget : public QObject {
    Q_OBJECT
private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    std::optional<ModelServer> m_server;
    QList<QProcess*> m_started;

    static inline const QString signature = QStringLiteral("Kind regards,\nSam");

    // Snippet expansion on, with ";sig", beside the model server's settings.
    static bool enableSnippets() {
        const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
        const QString config =
            QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
        QFile snippets(data + QStringLiteral("/Wendle/snippets.json"));
        QFile settings(config + QStringLiteral("/Wendle/Wendle.conf"));
        const QJsonArray list{QJsonObject{{QStringLiteral("abbreviation"), QStringLiteral(";sig")},
                                          {QStringLiteral("expansion"), signature}}};
        return QDir().mkpath(data + QStringLiteral("/Wendle")) &&
               snippets.open(QIODevice::WriteOnly) &&
               snippets.write(QJsonDocument(list).toJson()) > 0 &&
               settings.open(QIODevice::Append) && settings.write("snippetsEnabled=true\n") > 0;
    }

    std::optional<DesktopSession::Editor> busyEditor(const QString& text, bool selectAll,
                                                     int busyMs) {
        auto editor = desktop().startEditor(
            {.text = text, .selectAll = selectAll, .busyBeforePasteMs = busyMs});
        if (editor) {
            m_started.append(editor->process);
            if (!desktop().activate(editor->window))
                return std::nullopt;
        }
        return editor;
    }

    bool userClipboard(const ClipboardContent& content) {
        QProcess* owner = ownClipboard(desktop(), content);
        if (owner)
            m_started.append(owner);
        return owner != nullptr;
    }

private Q_SLOTS:
    void initTestCase() {
        const quint16 port = freePort();
        QVERIFY(port);
        QVERIFY(writeSettings(port));
        QVERIFY(enableSnippets());
        m_server =
            startModelServer(desktop(), port, QStringLiteral("ollama_chat_stream_basic.txt"));
        QVERIFY(m_server);
        QVERIFY(startWendle(desktop()));
        QVERIFY(hotKeyAndTrayUp());
        QVERIFY(DesktopSession::waitUntil(
            [] { return state().value(QStringLiteral("snippetsRunning")).toBool(); }));
    }

    void cleanup() { QVERIFY(closePaletteAndStop(desktop(), m_started)); }

    void replaceReachesABusyEditorAndTheClipboardComesBack_data() {
        QTest::addColumn<int>("busyMs");
        QTest::newRow("busy 0.6 s") << 600;
        QTest::newRow("busy 1.5 s") << 1500;
    }

    void replaceReachesABusyEditorAndTheClipboardComesBack() {
        QFETCH(int, busyMs);
        const ClipboardContent before = ClipboardContent::rich();
        QVERIFY(userClipboard(before));
        const QString sentence = QStringLiteral("Their going to the park tomorow.");
        auto target = busyEditor(sentence, true, busyMs);
        QVERIFY(target);

        QVERIFY(openAt(desktop(), QPoint(300, 200)));
        QCOMPARE(palette().value("selectedText").toString(), sentence);
        QVERIFY(desktop().key(QStringLiteral("1")));
        QVERIFY(waitForPhase(QStringLiteral("done")));
        QVERIFY(desktop().key(QStringLiteral("Return")));

        // Whatever the editor pasted, it pasted once it was no longer busy.
        QVERIFY(DesktopSession::waitUntil([&] { return target->text() != sentence; }));
        QCOMPARE(target->text(), basicReply);
        QVERIFY(DesktopSession::waitUntil([&] { return clipboardHolds(desktop(), before); }));
    }

    void aSnippetReachesABusyEditorAndTheClipboardComesBack() {
        const ClipboardContent before = ClipboardContent::rich();
        QVERIFY(userClipboard(before));
        auto target = busyEditor(QString(), false, 600);
        QVERIFY(target);

        QVERIFY(desktop().type(QStringLiteral("Hi ;sig")));
        // The abbreviation is erased, then the editor pastes once it is free.
        QVERIFY(DesktopSession::waitUntil([&] { return target->text() == QStringLiteral("Hi "); }));
        QVERIFY(DesktopSession::waitUntil([&] { return target->text() != QStringLiteral("Hi "); }));
        QCOMPARE(target->text(), QStringLiteral("Hi ") + signature);
        QVERIFY(DesktopSession::waitUntil([&] { return clipboardHolds(desktop(), before); }));
    }
};

WENDLE_DESKTOP_TEST_MAIN(TestPasteBusyTarget,
                         (DesktopSession::Options{.windowManager = true, .trayHost = true}))
#include "tst_paste_busytarget.moc"
