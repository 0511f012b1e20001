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
