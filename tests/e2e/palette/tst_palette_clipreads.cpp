#include "DesktopTestMain.h"
#include "PaletteDesktop.h"

#include "capture/SelectionCapture.h"

#include <QElapsedTimer>

using namespace PaletteDesktop;

// What the palette reads from the clipboard, with the real `wendle` on a
// private X desktop: a clipboard owner that never answers delays the palette
// by no more than the read's limit and never freezes Wendle; a password
// manager's secret on the clipboard is never shown, never sent and kept byte
// for byte; a default xterm's selection is what it shows selected (PRIMARY).
class TestPaletteClipReads : public QObject {
    Q_OBJECT
private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    std::optional<ModelServer> m_server;
    QList<QProcess*> m_started;

    // Another program owns the clipboard with `content` and then hangs: it
    // never answers a request again.
    QProcess* hungOwner(const ClipboardContent& content) {
        QStringList arguments{QStringLiteral("--hang")};
        for (const auto& [format, bytes] : content.formats) {
            const QString path =
                desktop().tempPath() + QStringLiteral("/hung-") + QString::number(m_started.size());
            QFile file(path);
            if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
                return nullptr;
            arguments.append(format + QLatin1Char('=') + path);
        }
        QProcess* owner = desktop().start(QStringLiteral(WENDLE_CLIP_OWNER), arguments);
        if (!owner ||
            !DesktopSession::waitUntil([&] { return desktop().output(owner).contains("owned"); }))
            return nullptr;
        return owner;
    }

    std::optional<DesktopSession::Editor> editor(const QString& text, bool selectAll) {
        auto editor = desktop().startEditor({.text = text, .selectAll = selectAll});
        if (!editor)
            return std::nullopt;
        m_started.append(editor->process);
        if (!desktop().activate(editor->window))
            return std::nullopt;
        return editor;
    }

private Q_SLOTS:
    void initTestCase() {
        const quint16 port = freePort();
        QVERIFY(port);
        QVERIFY(writeSettings(port));
        m_server =
            startModelServer(desktop(), port, QStringLiteral("ollama_chat_stream_basic.txt"));
        QVERIFY(m_server);
        QVERIFY(startWendle(desktop()));
        QVERIFY(hotKeyAndTrayUp());
    }

    void cleanup() { QVERIFY(closePaletteAndStop(desktop(), m_started)); }

    void aClipboardOwnerThatNeverAnswersDoesNotFreezeWendle() {
        QProcess* owner = hungOwner(ClipboardContent::textOnly("held by a hung program"));
        QVERIFY(owner);
        m_started.append(owner);
        auto target = editor(QStringLiteral("Words the user selected."), true);
        QVERIFY(target);

        // While the palette opens, Wendle keeps answering: every question
        // about its state gets its answer quickly.
        QVERIFY(desktop().mouseMove(300, 200));
        QElapsedTimer clock;
        clock.start();
        QVERIFY(desktop().key(QStringLiteral("ctrl+alt+space")));
        qint64 slowestAnswerMs = 0;
        qint64 openedMs = -1;
        while (clock.elapsed() < 8000) {
            QElapsedTimer asked;
            asked.start();
            const QJsonObject shown = palette();
            slowestAnswerMs = qMax(slowestAnswerMs, asked.elapsed());
            if (shown.value("visible").toBool()) {
                openedMs = clock.elapsed();
                break;
            }
        }
        qInfo("palette opened after %lld ms; slowest state answer %lld ms", qlonglong(openedMs),
              qlonglong(slowestAnswerMs));
        QVERIFY2(openedMs >= 0, "the palette never opened");
        // The hot key's modifiers, then one read's limit (500 ms) for the
        // unanswered snapshot, and nothing else.
        QVERIFY2(openedMs < 2500, qPrintable(QString::number(openedMs)));
        QVERIFY2(slowestAnswerMs < 1000, qPrintable(QString::number(slowestAnswerMs)));

        // Nothing was copied: without a snapshot the clipboard could not be
        // put back. The palette says why it has no text, and reacts.
        const QJsonObject shown = palette();
        QCOMPARE(shown.value("source").toString(), QStringLiteral("none"));
        QCOMPARE(shown.value("note").toString(), SelectionCapture::noAnswerNote());
        QVERIFY(screenshot(desktop(), QStringLiteral("hung-clipboard-owner")));
        QVERIFY(desktop().key(QStringLiteral("Escape")));
        QVERIFY(DesktopSession::waitUntil([] { return !paletteVisible(); }, 1000));
    }

    void aPasswordOnTheClipboardIsNeverShownNorSent() {
        const QByteArray password = "Tr0ub4dor&3-secret";
        const ClipboardContent secret{{{QStringLiteral("text/plain"), password},
                                       {QStringLiteral("x-kde-passwordManagerHint"), "secret"}}};
        QProcess* owner = ownClipboard(desktop(), secret);
        QVERIFY(owner);
        m_started.append(owner);
        // Nothing selected in the editor: the copy keystroke copies nothing.
        auto target = editor(QStringLiteral("Nothing is selected here."), false);
        QVERIFY(target);

        QVERIFY(openAt(desktop(), QPoint(300, 200)));
        const QByteArray state = InstanceChannel::ask("state", 2000).value_or(QByteArray());
        QVERIFY(!state.isEmpty());
        QVERIFY2(!state.contains(password), state.constData());
        const QJsonObject shown = palette();
        QCOMPARE(shown.value("source").toString(), QStringLiteral("none"));
        QCOMPARE(shown.value("selectedText").toString(), QString());
        QCOMPARE(shown.value("note").toString(), SelectionCapture::secretNote());
        QVERIFY(screenshot(desktop(), QStringLiteral("secret-on-clipboard")));

        // An action can run on nothing: the model server hears nothing.
        QVERIFY(desktop().key(QStringLiteral("1")));
        QVERIFY(desktop().key(QStringLiteral("Return")));
        QCOMPARE(phase(), QStringLiteral("choose"));
        QVERIFY(desktop().key(QStringLiteral("Escape")));
        QVERIFY(DesktopSession::waitUntil([] { return !paletteVisible(); }));
        QCOMPARE(m_server->count(QStringLiteral("request")), 0);
        // The password manager's clipboard is as it was, marks and all.
        QVERIFY(clipboardHolds(desktop(), secret));
    }

    void aSelectionCopiedOverAPasswordPutsThePasswordBack() {
        const QByteArray password = "another-secret-42";
        const ClipboardContent secret{{{QStringLiteral("text/plain"), password},
                                       {QStringLiteral("x-kde-passwordManagerHint"), "secret"}}};
        QProcess* owner = ownClipboard(desktop(), secret);
        QVERIFY(owner);
        m_started.append(owner);
        auto target = editor(QStringLiteral("A selected sentence."), true);
        QVERIFY(target);
        QVERIFY(openAt(desktop(), QPoint(300, 200)));
        QCOMPARE(palette().value("source").toString(), QStringLiteral("selection"));
        QCOMPARE(palette().value("selectedText").toString(),
                 QStringLiteral("A selected sentence."));
        // The owner ends: what the clipboard holds now is Wendle's restore.
        desktop().stop(owner);
        m_started.removeAll(owner);
        QVERIFY(clipboardHolds(desktop(), secret));
    }

    void aDefaultXtermsSelectionIsWhatItShowsSelected() {
        QProcess* owner = ownClipboard(desktop(), ClipboardContent::textOnly("On the clipboard."));
        QVERIFY(owner);
        m_started.append(owner);
        const QString title = QStringLiteral("clipreads-xterm");
        QProcess* xterm = desktop().start(QStringLiteral("xterm"),
                                          {QStringLiteral("-T"), title, QStringLiteral("-e"),
                                           QStringLiteral("sh"), QStringLiteral("-c"),
                                           QStringLiteral("echo words to select here; exec cat")});
        QVERIFY(xterm);
        m_started.append(xterm);
        const quint64 window = desktop().findWindowByName(
            QLatin1Char('^') + title + QLatin1Char('$'), DesktopSession::programStartMs);
        QVERIFY(window);
        QVERIFY(desktop().activate(window));
        // A double click on "select" (characters 9 to 14 of the first line).
        QVERIFY(DesktopSession::waitUntil([&] {
            return desktop().mouseMove(75, 8, window) && desktop().click(1, 2) &&
                   desktop().run(QStringLiteral("xclip"),
                                 {QStringLiteral("-o"), QStringLiteral("-selection"),
                                  QStringLiteral("primary")}) ==
                       std::optional<QByteArray>("select");
        }));

        QVERIFY(openAt(desktop(), QPoint(400, 300)));
        const QJsonObject shown = palette();
        QCOMPARE(shown.value("source").toString(), QStringLiteral("selection"));
        QCOMPARE(shown.value("selectedText").toString(), QStringLiteral("select"));
        QCOMPARE(shown.value("note").toString(), QString());
        QVERIFY(screenshot(desktop(), QStringLiteral("xterm-primary")));
        QVERIFY(clipboardHolds(desktop(), ClipboardContent::textOnly("On the clipboard.")));
    }
};

WENDLE_DESKTOP_TEST_MAIN(TestPaletteClipReads,
                         (DesktopSession::Options{.windowManager = true, .trayHost = true}))
#include "tst_palette_clipreads.moc"
