#include "replace/ReplaceSequence.h"

#include "RecordingPlatform.h"

#include <QElapsedTimer>
#include <QTest>

namespace {
ClipboardSnapshot richClipboard() {
    // Two items, one with three representations, as a pasteboard can hold.
    return ClipboardSnapshot{
        {{{QStringLiteral("text/plain"), QByteArray("plain")},
          {QStringLiteral("text/html"), QByteArray("<p>html</p>")},
          {QStringLiteral("application/x-private"), QByteArray("\x00\x01\x02", 3)}},
         {{QStringLiteral("image/png"), QByteArray("\x89PNG\r\n")}}}};
}
} // namespace

class ReplaceSequenceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void targetInFrontIsPastedIntoWithExactWaits() {
        RecordingPlatform platform;
        platform.clipboardFake.content = richClipboard();
        const WindowHandle target = platform.front.front;

        awaited(ReplaceSequence::run(platform, target, QStringLiteral("Short."),
                                     recordingDelay(platform.log)));

        QCOMPARE(platform.log.steps, (QStringList{"wait 120", "snapshot", "setText Short.",
                                                  "wait 40", "paste", "wait 450", "restore"}));
        QCOMPARE(platform.clipboardFake.content, richClipboard());
    }

    void anotherWindowInFrontIsLeftForTheTarget() {
        RecordingPlatform platform;
        const WindowHandle target{7, 70, QStringLiteral("Editor")};
        platform.front.front = WindowHandle{9, 90, QStringLiteral("Other")};

        awaited(ReplaceSequence::run(platform, target, QStringLiteral("x"),
                                     recordingDelay(platform.log)));

        QCOMPARE(platform.log.steps.mid(0, 4),
                 (QStringList{"wait 120", "activate 7", "wait 150", "snapshot"}));
        QCOMPARE(platform.front.activated, QList<WindowHandle>{target});
    }

    void noRememberedTargetActivatesNothing() {
        RecordingPlatform platform;
        platform.front.front = WindowHandle{9, 90, QStringLiteral("Other")};
        awaited(ReplaceSequence::run(platform, WindowHandle{}, QStringLiteral("x"),
                                     recordingDelay(platform.log)));
        QVERIFY(platform.front.activated.isEmpty());
        QCOMPARE(platform.log.count("paste"), 1);
    }

    void emptyClipboardIsRestoredEmpty() {
        RecordingPlatform platform;
        bool textWasThereAtPaste = false;
        platform.keys.onShortcut = [&](KeySender::Shortcut) {
            textWasThereAtPaste = platform.clipboardFake.plainText() == QStringLiteral("result");
        };
        awaited(ReplaceSequence::run(platform, platform.front.front, QStringLiteral("result"),
                                     recordingDelay(platform.log)));
        QVERIFY(textWasThereAtPaste);
        QVERIFY(platform.clipboardFake.content.isEmpty());
        QCOMPARE(platform.keys.shortcuts, QList<KeySender::Shortcut>{KeySender::Shortcut::paste});
    }

    void withoutAPasteKeystrokeTheReplyStaysOnTheClipboard() {
        // A default xterm: nothing can paste into it, and restoring the user's
        // clipboard would take the reply away too.
        RecordingPlatform platform;
        platform.clipboardFake.content = richClipboard();
        platform.keys.shortcutsAvailable = false;
        awaited(ReplaceSequence::run(platform, platform.front.front, QStringLiteral("Reply."),
                                     recordingDelay(platform.log)));
        QCOMPARE(platform.clipboardFake.plainText(), QStringLiteral("Reply."));
        QCOMPARE(platform.log.count("restore"), 0);
        QVERIFY(platform.keys.shortcuts.isEmpty());
    }

    void theUsersClipboardComesBackOnlyAfterASlowTargetFetchedTheText() {
        RecordingPlatform platform;
        platform.clipboardFake.content = richClipboard();
        QString fetchedText;
        // The target is busy well past the usual pause before it reads.
        platform.clipboardFake.fetch = [&](std::chrono::milliseconds) -> QCoro::Task<bool> {
            co_await QCoro::sleepFor(std::chrono::milliseconds(600));
            fetchedText = platform.clipboardFake.plainText();
            platform.log.add(QStringLiteral("fetched"));
            co_return true;
        };
        awaited(ReplaceSequence::run(platform, platform.front.front, QStringLiteral("Reply."),
                                     recordingDelay(platform.log)));

        QCOMPARE(fetchedText, QStringLiteral("Reply."));
        QCOMPARE(platform.log.steps.mid(4),
                 (QStringList{"paste", "wait 450", "fetched", "restore"}));
        QCOMPARE(platform.clipboardFake.pasteWrites, 1);
        QCOMPARE(platform.clipboardFake.fetchLimits,
                 QList<std::chrono::milliseconds>{Clipboard::pasteFetchLimit});
        QCOMPARE(platform.clipboardFake.content, richClipboard());
    }

    void aTargetThatNeverFetchesStillGetsTheUsersClipboardBack() {
        RecordingPlatform platform;
        platform.clipboardFake.content = richClipboard();
        platform.clipboardFake.fetch = [&](std::chrono::milliseconds) -> QCoro::Task<bool> {
            platform.log.add(QStringLiteral("limit passed"));
            co_return false;
        };
        awaited(ReplaceSequence::run(platform, platform.front.front, QStringLiteral("x"),
                                     recordingDelay(platform.log)));
        QCOMPARE(platform.log.steps.mid(4),
                 (QStringList{"paste", "limit passed", "wait 450", "restore"}));
        QCOMPARE(platform.clipboardFake.content, richClipboard());
    }

    void realTimingRestoresAfterTheFetchButNeverBeforeThePause_data() {
        QTest::addColumn<int>("fetchAfterMs");
        QTest::addColumn<int>("restoreNotBeforeMs");
        QTest::newRow("quick target") << 20 << 450;
        QTest::newRow("busy target") << 700 << 650; // coarse timers fire up to 5 % early
    }

    void realTimingRestoresAfterTheFetchButNeverBeforeThePause() {
        QFETCH(int, fetchAfterMs);
        QFETCH(int, restoreNotBeforeMs);
        RecordingPlatform platform;
        platform.clipboardFake.content = richClipboard();
        QElapsedTimer clock;
        qint64 pastedAt = -1;
        platform.keys.onShortcut = [&](KeySender::Shortcut) { pastedAt = clock.elapsed(); };
        platform.clipboardFake.fetch = [&](std::chrono::milliseconds) -> QCoro::Task<bool> {
            co_await QCoro::sleepFor(std::chrono::milliseconds(fetchAfterMs));
            co_return true;
        };
        clock.start();
        awaited(ReplaceSequence::run(platform, platform.front.front, QStringLiteral("x")));
        const qint64 restoredAfter = clock.elapsed() - pastedAt;
        QVERIFY2(restoredAfter >= restoreNotBeforeMs, qPrintable(QString::number(restoredAfter)));
        QCOMPARE(platform.clipboardFake.content, richClipboard());
    }

    void realTimingLeavesTheTargetTimeToRead() {
        RecordingPlatform platform;
        platform.clipboardFake.content = richClipboard();
        QElapsedTimer clock;
        qint64 pastedAt = -1;
        platform.keys.onShortcut = [&](KeySender::Shortcut) { pastedAt = clock.elapsed(); };
        clock.start();
        awaited(ReplaceSequence::run(platform, platform.front.front, QStringLiteral("x")));
        const qint64 restoredAt = clock.elapsed();
        QVERIFY2(pastedAt >= 160, qPrintable(QString::number(pastedAt)));
        QVERIFY2(restoredAt - pastedAt >= 450, qPrintable(QString::number(restoredAt - pastedAt)));
        QCOMPARE(platform.clipboardFake.content, richClipboard());
    }
};

QTEST_GUILESS_MAIN(ReplaceSequenceTest)
#include "tst_replacesequence.moc"
