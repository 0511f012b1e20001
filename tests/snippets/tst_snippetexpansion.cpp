#include "EngineFixture.h"

// The expansion sequence: its steps, their order and pauses, and the
// clipboard around it.
class TestSnippetExpansion : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<EngineFixture> f;

private Q_SLOTS:
    void init() { f = std::make_unique<EngineFixture>(); }
    void cleanup() { f.reset(); }

    void typingTheAbbreviationRunsTheWholeExpansionInOrderWithItsPauses() {
        QVERIFY(f->start());
        const ClipboardSnapshot before{{{{"text/html", "<b>mine</b>"}, {"text/plain", "mine"}},
                                        {{"image/png", QByteArray("\x89PNG\0\1", 6)}}}};
        f->clipboard().content = before;
        f->watcher().typeText("Hello ;si");
        QVERIFY(f->platform.steps.isEmpty());
        f->platform.clock.start();
        f->watcher().typeText("g");
        // The key that completes the abbreviation passes on; nothing happens
        // until the first pause is over.
        QVERIFY(f->platform.steps.isEmpty());
        QCOMPARE(f->engine->buffer(), QString());
        QVERIFY(f->waitForExpansions(1));

        QStringList order;
        for (const Step& step : f->platform.steps)
            order.append(step.what);
        QCOMPARE(order, (QStringList{"backspace", "backspace", "backspace", "backspace", "snapshot",
                                     "set text", "paste", "restore"}));
        const auto at = [&](int i) { return f->platform.steps.at(i).atMs; };
        QVERIFY2(at(0) >= 50, qPrintable(QString::number(at(0))));
        QVERIFY(at(3) - at(0) <= 1); // no pause between the backspaces
        QVERIFY2(at(4) - at(3) >= 30, qPrintable(QString::number(at(4) - at(3))));
        QVERIFY2(at(6) - at(5) >= 40, qPrintable(QString::number(at(6) - at(5))));
        QVERIFY2(at(7) - at(6) >= 400, qPrintable(QString::number(at(7) - at(6))));

        // The expansion was on the clipboard when the paste went out, and the
        // clipboard holds exactly what it held before afterwards.
        QCOMPARE(f->clipboard().content, before);
        QCOMPARE(f->clipboard().restores, 1);
    }

    void theExpansionIsOnTheClipboardWhenThePasteGoesOut() {
        QVERIFY(f->start());
        f->clipboard().setText("previous");
        const QStringList& pasted = f->recordPastes();
        f->watcher().typeText(";addr");
        QVERIFY(f->waitForExpansions(1));
        QCOMPARE(pasted, QStringList{"123 Main Street\nSpringfield"});
        QCOMPARE(f->clipboard().plainText(), QString("previous"));
        QCOMPARE(f->keys().shortcuts, QList<KeySender::Shortcut>{KeySender::Shortcut::paste});
    }

    void anApplicationWithoutAPasteKeystrokeKeepsWhatWasTyped() {
        QVERIFY(f->start());
        f->clipboard().setText("mine");
        f->keys().shortcutsAvailable = false; // a default xterm has the focus
        f->watcher().typeText(";sig");
        QCOMPARE(f->keys().shortcutQuestions, 1);
        QCOMPARE(f->engine->buffer(), QString());
        // Typed on in an application that pastes, the next abbreviation is
        // the only one that expands: ";sig" erased nothing, put nothing on
        // the clipboard and pasted nothing.
        f->keys().shortcutsAvailable = true;
        QVERIFY(f->onlyTheNextAbbreviationExpands());
        QVERIFY(f->waitForExpansions(1));
        QCOMPARE(f->keys().shortcutQuestions, 2);
        QCOMPARE(f->clipboard().plainText(), QString("mine"));
    }

    void anEmptyClipboardIsEmptyAgainAfterwards() {
        QVERIFY(f->start());
        f->watcher().typeText(";sig");
        QVERIFY(f->waitForExpansions(1));
        QVERIFY(f->clipboard().content.isEmpty());
    }

    void theExpansionsOwnKeysDoNotDisturbTheNextAbbreviation() {
        QVERIFY(f->start());
        // Play the desktop: every key the engine sends comes back to the
        // watcher marked as its own.
        f->keys().onShortcut = [&](KeySender::Shortcut) {
            f->watcher().type(KeyStroke{Key::other, Qt::ControlModifier, "v", true});
        };
        f->watcher().typeText(";sig");
        f->watcher().typeText("ab");
        QVERIFY(f->waitForExpansions(1));
        QCOMPARE(f->engine->buffer(), QString("ab"));
    }

    void overlappingExpansionsEachPasteTheirOwnTextAndRestoreOnce_data() {
        QTest::addColumn<int>("secondAfterMs");
        // The second abbreviation's last key comes right after the first
        // paste, or so late (about 420 ms after the first's last key) that
        // the first's restore would fall between the second's new clipboard
        // text and its paste.
        QTest::newRow("right after") << 0;
        QTest::newRow("late") << 300;
    }

    void overlappingExpansionsEachPasteTheirOwnTextAndRestoreOnce() {
        QFETCH(int, secondAfterMs);
        QVERIFY(f->start());
        f->clipboard().setText("original");
        const QStringList& pasted = f->recordPastes();
        f->watcher().typeText(";sig");
        QVERIFY(f->waitForPastes(1));
        // Not a wait for something: the moment the second abbreviation is
        // typed is what this case is about.
        QTest::qWait(secondAfterMs);
        QCOMPARE(f->finished.count(), 0); // still overlapping
        f->watcher().typeText(";addr");
        QVERIFY(f->waitForExpansions(2));
        QCOMPARE(pasted, (QStringList{"Best regards,\nYour Name", "123 Main Street\nSpringfield"}));
        QCOMPARE(f->backspaces(), 9);
        // One saved clipboard for both, put back once, by the last.
        QCOMPARE(f->clipboard().snapshots, 1);
        QCOMPARE(f->clipboard().restores, 1);
        QCOMPARE(f->clipboard().plainText(), QString("original"));
    }

    void expansionsOneAfterTheOtherEachSaveAndRestore() {
        QVERIFY(f->start());
        f->clipboard().setText("original");
        f->watcher().typeText(";sig");
        QVERIFY(f->waitForExpansions(1));
        f->clipboard().setText("changed by the user");
        f->watcher().typeText(";addr");
        QVERIFY(f->waitForExpansions(2));
        QCOMPARE(f->clipboard().snapshots, 2);
        QCOMPARE(f->clipboard().restores, 2);
        QCOMPARE(f->clipboard().plainText(), QString("changed by the user"));
    }

    void anEngineDestroyedMidExpansionTakesNoFurtherStep() {
        QVERIFY(f->start());
        f->watcher().typeText(";sig");
        QTRY_COMPARE(f->keys().shortcuts.size(), 1);
        f->engine.reset();
        // A new engine's whole expansion, started after the old one's paste,
        // ends after the old one's restore was due.
        SnippetEngine next(f->platform, f->snippets, f->settings);
        QSignalSpy nextFinished(&next, &SnippetEngine::expansionFinished);
        next.setEnabled(true);
        QVERIFY(next.isRunning());
        f->watcher().typeText(";addr");
        QVERIFY(nextFinished.wait(5000));
        QCOMPARE(f->keys().shortcuts.size(), 2);
        QCOMPARE(f->clipboard().restores, 1); // the new engine's
    }
};

QTEST_GUILESS_MAIN(TestSnippetExpansion)
#include "tst_snippetexpansion.moc"
