#include "capture/SelectionCapture.h"

#include "RecordingPlatform.h"

#include <QTest>

using namespace std::chrono_literals;
using Result = SelectionCapture::Result;

namespace {
const QString selectionNote = SelectionCapture::noSelectionNote();
const QString permissionNote = SelectionCapture::noPermissionNote();

// A password manager's copy: the password and KDE's secret hint.
ClipboardSnapshot secretClipboard() {
    return ClipboardSnapshot{
        {{{QStringLiteral("text/plain"), QByteArray("hunter2-password")},
          {QStringLiteral("x-kde-passwordManagerHint"), QByteArray("secret")}}}};
}

ClipboardSnapshot userClipboard() {
    // What the user had copied before: text and HTML of one item.
    return ClipboardSnapshot{{{{QStringLiteral("text/plain"), QByteArray("user text")},
                               {QStringLiteral("text/html"), QByteArray("<b>user</b> text")}}}};
}

// The front application copies `selected` when it receives the copy keystroke.
void copyOnKeystroke(RecordingPlatform& platform, const QString& selected) {
    platform.keys.onShortcut = [&platform, selected](KeySender::Shortcut shortcut) {
        if (shortcut == KeySender::Shortcut::copy)
            platform.clipboardFake.setText(selected);
    };
}
} // namespace

class SelectionCaptureTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void selectionIsCopiedAndClipboardRestored() {
        RecordingPlatform platform;
        platform.clipboardFake.content = userClipboard();
        copyOnKeystroke(platform, QStringLiteral("the selected sentence"));

        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));

        QCOMPARE(result,
                 (Result{QStringLiteral("the selected sentence"), SelectionSource::selection, {}}));
        QCOMPARE(platform.clipboardFake.content, userClipboard());
        // The copy is looked for at once: no wait when it is already there.
        QCOMPARE(platform.log.steps,
                 (QStringList{"snapshot", "copy", "setText the selected sentence", "restore"}));
    }

    void selectionKeepsItsWhiteSpace() {
        RecordingPlatform platform;
        copyOnKeystroke(platform, QStringLiteral("  two words \n"));
        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result.text, QStringLiteral("  two words \n"));
        QCOMPARE(result.source, SelectionSource::selection);
        QCOMPARE(result.note, QString());
    }

    void copyArrivingLateIsAwaitedIn25msSteps() {
        RecordingPlatform platform;
        platform.clipboardFake.content = userClipboard();
        // The application copies during the third wait.
        const Delay delay = recordingDelay(platform.log, [&](std::chrono::milliseconds, int waits) {
            if (waits == 3)
                platform.clipboardFake.setText(QStringLiteral("late"));
        });
        const Result result = awaited(SelectionCapture::capture(platform, delay));
        QCOMPARE(result.text, QStringLiteral("late"));
        QCOMPARE(result.source, SelectionSource::selection);
        QCOMPARE(waitsIn(platform.log), (QList<int>{25, 25, 25}));
        QCOMPARE(platform.clipboardFake.content, userClipboard());
    }

    void noCopyWithin500msFallsBackToTheClipboard() {
        RecordingPlatform platform;
        platform.clipboardFake.content = userClipboard();
        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));

        QCOMPARE(result,
                 (Result{QStringLiteral("user text"), SelectionSource::clipboard, selectionNote}));
        QCOMPARE(waitsIn(platform.log), QList<int>(20, 25));
        // Nothing was written, so nothing is restored.
        QCOMPARE(platform.log.count("restore"), 0);
        QCOMPARE(platform.clipboardFake.content, userClipboard());
    }

    void spacesOnlySelectionCountsAsNoSelection() {
        RecordingPlatform platform;
        platform.clipboardFake.content = userClipboard();
        copyOnKeystroke(platform, QStringLiteral(" \t\n "));
        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        // The user's clipboard is back and its text is used.
        QCOMPARE(result,
                 (Result{QStringLiteral("user text"), SelectionSource::clipboard, selectionNote}));
        QCOMPARE(platform.clipboardFake.content, userClipboard());
        QCOMPARE(platform.log.count("restore"), 1);
    }

    void copyWithoutPlainTextCountsAsNoSelection() {
        RecordingPlatform platform;
        platform.clipboardFake.content = userClipboard();
        // Rich text only, as some applications copy.
        platform.keys.onShortcut = [&](KeySender::Shortcut) {
            platform.clipboardFake.restore(
                ClipboardSnapshot{{{{QStringLiteral("text/html"), QByteArray("<i>rich</i>")}}}});
        };
        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result.source, SelectionSource::clipboard);
        QCOMPARE(result.text, QStringLiteral("user text"));
        QCOMPARE(platform.clipboardFake.content, userClipboard());
    }

    void imageOnlyCopyAndEmptyClipboardGiveNone() {
        RecordingPlatform platform;
        platform.keys.onShortcut = [&](KeySender::Shortcut) {
            platform.clipboardFake.restore(
                ClipboardSnapshot{{{{QStringLiteral("image/png"), QByteArray("\x89PNG")}}}});
        };
        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result, (Result{QString(), SelectionSource::none, selectionNote}));
        // The empty clipboard is restored as empty.
        QVERIFY(platform.clipboardFake.content.isEmpty());
    }

    void nothingAnywhereGivesNoneWithTheNote() {
        RecordingPlatform platform;
        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result, (Result{QString(), SelectionSource::none, selectionNote}));
    }

    void missingPermissionSendsNothing() {
        RecordingPlatform platform;
        platform.permissionsFake.accessibility = false;
        platform.clipboardFake.content = userClipboard();
        copyOnKeystroke(platform, QStringLiteral("never copied"));

        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result,
                 (Result{QStringLiteral("user text"), SelectionSource::clipboard, permissionNote}));
        QVERIFY(platform.keys.shortcuts.isEmpty());
        QVERIFY(platform.log.steps.isEmpty());
        QCOMPARE(platform.modifiers.reads, 0);
    }

    void missingPermissionAndEmptyClipboardKeepTheNote() {
        RecordingPlatform platform;
        platform.permissionsFake.accessibility = false;
        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result, (Result{QString(), SelectionSource::none, permissionNote}));
    }

    void anApplicationWithoutACopyKeystrokeGivesTheClipboardAtOnce() {
        RecordingPlatform platform;
        platform.keys.shortcutsAvailable = false;
        platform.modifiers.held = {true}; // Ctrl and Alt still down: no matter
        platform.clipboardFake.content = userClipboard();

        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result,
                 (Result{QStringLiteral("user text"), SelectionSource::clipboard, selectionNote}));
        QCOMPARE(platform.keys.shortcutQuestions, 1);
        // No keystroke, no wait, no snapshot: nothing at all happened.
        QVERIFY(platform.keys.shortcuts.isEmpty());
        QVERIFY(platform.log.steps.isEmpty());
        QCOMPARE(platform.modifiers.reads, 0);
        QCOMPARE(platform.clipboardFake.content, userClipboard());
    }

    void anApplicationWithoutACopyKeystrokeAndNoClipboardTextGivesNone() {
        RecordingPlatform platform;
        platform.keys.shortcutsAvailable = false;
        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result, (Result{QString(), SelectionSource::none, selectionNote}));
        QVERIFY(platform.log.steps.isEmpty());
    }

    void anApplicationWithoutACopyKeystrokeGivesWhatItShowsSelected() {
        // A default xterm: what it shows selected is its PRIMARY selection.
        RecordingPlatform platform;
        platform.keys.shortcutsAvailable = false;
        platform.clipboardFake.content = userClipboard();
        platform.clipboardFake.primary = FakeClipboard::textSnapshot(QStringLiteral(" ls -la "));

        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result, (Result{QStringLiteral(" ls -la "), SelectionSource::selection, {}}));
        QCOMPARE(platform.clipboardFake.primaryReads, 1);
        QVERIFY(platform.keys.shortcuts.isEmpty());
        QVERIFY(platform.log.steps.isEmpty());
        QCOMPARE(platform.clipboardFake.content, userClipboard());
    }

    void aSecretPrimarySelectionIsNotUsed() {
        RecordingPlatform platform;
        platform.keys.shortcutsAvailable = false;
        platform.clipboardFake.primary = secretClipboard();
        platform.clipboardFake.content = userClipboard();
        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result,
                 (Result{QStringLiteral("user text"), SelectionSource::clipboard, selectionNote}));
    }

    void aSecretOnTheClipboardIsNeverUsedAndStaysAsItWas() {
        RecordingPlatform platform;
        platform.clipboardFake.content = secretClipboard();
        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result,
                 (Result{QString(), SelectionSource::none, SelectionCapture::secretNote()}));
        QCOMPARE(platform.clipboardFake.content, secretClipboard());
        QCOMPARE(platform.log.count("restore"), 0);
    }

    void aSecretWithoutPermissionIsNeverUsed() {
        RecordingPlatform platform;
        platform.permissionsFake.accessibility = false;
        platform.clipboardFake.content = secretClipboard();
        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result,
                 (Result{QString(), SelectionSource::none, SelectionCapture::secretNote()}));
    }

    void aSelectionCopiedOverASecretPutsTheSecretBackByteForByte() {
        RecordingPlatform platform;
        platform.clipboardFake.content = secretClipboard();
        copyOnKeystroke(platform, QStringLiteral("the selected sentence"));
        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result,
                 (Result{QStringLiteral("the selected sentence"), SelectionSource::selection, {}}));
        QCOMPARE(platform.clipboardFake.content, secretClipboard());
    }

    void anOwnerThatNeverAnswersMakesTheCaptureGiveUpWithoutCopying() {
        RecordingPlatform platform;
        platform.clipboardFake.content = userClipboard();
        platform.clipboardFake.answering = false;
        copyOnKeystroke(platform, QStringLiteral("never copied"));
        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result,
                 (Result{QString(), SelectionSource::none, SelectionCapture::noAnswerNote()}));
        // Without a snapshot nothing could be put back: no copy is sent.
        QVERIFY(platform.keys.shortcuts.isEmpty());
        QCOMPARE(platform.log.steps, QStringList{"snapshot"});
        QCOMPARE(platform.clipboardFake.content, userClipboard());
    }

    void copyWaitsUntilCtrlAndAltAreReleased() {
        RecordingPlatform platform;
        platform.modifiers.held = {true, true, true, false};
        copyOnKeystroke(platform, QStringLiteral("x"));
        awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(platform.modifiers.reads, 4);
        QCOMPARE(platform.log.steps.mid(0, 5),
                 (QStringList{"wait 20", "wait 20", "wait 20", "snapshot", "copy"}));
    }

    void copyIsSentAfter600msEvenWhenKeysStayDown() {
        RecordingPlatform platform;
        platform.modifiers.held = {true};
        copyOnKeystroke(platform, QStringLiteral("x"));
        const Result result =
            awaited(SelectionCapture::capture(platform, recordingDelay(platform.log)));
        QCOMPARE(result.source, SelectionSource::selection);
        QCOMPARE(platform.log.steps.indexOf("copy"), 31); // 30 waits and the snapshot first
        QCOMPARE(waitsIn(platform.log), QList<int>(30, 20));
        QCOMPARE(platform.modifiers.reads, 31); // once more after the last wait
    }

    void realWaitsSuspendWithoutBlocking() {
        // With the real delay, a capture that sees no copy takes the whole
        // half second and the event loop keeps running meanwhile.
        RecordingPlatform platform;
        platform.clipboardFake.setText(QStringLiteral("kept"));
        int ticks = 0;
        QTimer ticker;
        QObject::connect(&ticker, &QTimer::timeout, [&] { ++ticks; });
        ticker.start(50);
        QElapsedTimer clock;
        clock.start();
        const Result result = awaited(SelectionCapture::capture(platform));
        QVERIFY(clock.elapsed() >= 500);
        QVERIFY(ticks >= 5);
        QCOMPARE(result.source, SelectionSource::clipboard);
    }
};

QTEST_GUILESS_MAIN(SelectionCaptureTest)
#include "tst_selectioncapture.moc"
