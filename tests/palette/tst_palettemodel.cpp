#include "PaletteTestWorld.h"

#include "llm/LLMError.h"

#include <QNetworkReply>
#include <QSignalSpy>
#include <QTest>

using Phase = PaletteModel::Phase;
using Kind = WendleAction::Kind;

namespace {
const QString separator = QStringLiteral(" \u00B7 ");
}

class PaletteModelTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void startsWithDefaultsAndRememberedOptions() {
        PaletteTestWorld world;
        auto model = world.makeModel();
        QCOMPARE(model->phase(), Phase::choose);
        QCOMPARE(model->source(), SelectionSource::none);
        QCOMPARE(model->selectedIndex(), 0);
        QCOMPARE(model->tone(), QStringLiteral("Professional"));
        QCOMPARE(model->language(), QStringLiteral("Spanish"));

        world.preferences->setValue("paletteTone", "Casual");
        world.preferences->setValue("paletteLanguage", "Klingon");
        auto again = world.makeModel();
        QCOMPARE(again->tone(), QStringLiteral("Casual"));
        // A value that is not in the list is taken as it stands.
        QCOMPARE(again->language(), QStringLiteral("Klingon"));
    }

    void settersNotifyEvenWithoutChange() {
        PaletteTestWorld world;
        auto model = world.makeModel();
        QSignalSpy spy(model.get(), &PaletteModel::selectedIndexChanged);
        model->setSelectedIndex(0);
        model->setSelectedIndex(0);
        QCOMPARE(spy.count(), 2);
    }

    void prepareStartsAfreshButKeepsTitleOptionsAndLastAction() {
        PaletteTestWorld world;
        world.usePlainActions(3);
        auto model = world.makeModel();
        model->prepare("old", SelectionSource::selection, {});
        model->pick(2);
        world.streams.last()->sendPiece("partial");
        FakeChatStream* running = world.streams.last();

        model->prepare("new text", SelectionSource::clipboard, "a note");
        QVERIFY(running == nullptr || running->aborted);
        QCOMPARE(model->phase(), Phase::choose);
        QCOMPARE(model->selectedText(), QStringLiteral("new text"));
        QCOMPARE(model->source(), SelectionSource::clipboard);
        QCOMPARE(model->note(), QStringLiteral("a note"));
        QCOMPARE(model->selectedIndex(), 0);
        QCOMPARE(model->output(), QString());
        QCOMPARE(model->errorMessage(), QString());
        QCOMPARE(model->runTitle(), QStringLiteral("Action 2"));
        QVERIFY(model->lastAction().has_value());
        QVERIFY(!model->isRunning());
    }

    void arrowsWrapAround() {
        PaletteTestWorld world;
        world.usePlainActions(5);
        auto model = world.makeModel();
        model->move(-1);
        QCOMPARE(model->selectedIndex(), 4);
        model->move(+1);
        QCOMPARE(model->selectedIndex(), 0);
        model->move(+1);
        model->move(+1);
        QCOMPARE(model->selectedIndex(), 2);
    }

    void withoutActionsNothingMovesOrRuns() {
        PaletteTestWorld world;
        world.store.setActions({});
        auto model = world.makeModel();
        model->prepare("text", SelectionSource::selection, {});
        model->move(+1);
        model->move(-1);
        model->runSelected();
        model->pick(1);
        model->cycleOption(1);
        QCOMPARE(model->selectedIndex(), 0);
        QCOMPARE(model->phase(), Phase::choose);
        QVERIFY(world.streams.made.isEmpty());
    }

    void digitsPickByPosition() {
        PaletteTestWorld world;
        world.usePlainActions(5);
        auto model = world.makeModel();
        model->prepare("text", SelectionSource::selection, {});
        model->pick(7);
        QCOMPARE(model->phase(), Phase::choose);
        QVERIFY(world.streams.made.isEmpty());
        model->pick(3);
        QCOMPARE(model->selectedIndex(), 2);
        QCOMPARE(model->phase(), Phase::running);
        QCOMPARE(model->runTitle(), QStringLiteral("Action 3"));
        QCOMPARE(world.streams.instructions, QStringList{"Action 3 it."});
        QCOMPARE(world.streams.texts, QStringList{"text"});
    }

    void indexOutsideAShortenedListDoesNothing() {
        PaletteTestWorld world;
        world.usePlainActions(5);
        auto model = world.makeModel();
        model->prepare("text", SelectionSource::selection, {});
        model->setSelectedIndex(4);
        world.usePlainActions(2);
        model->runSelected();
        model->cycleOption(1);
        QVERIFY(world.streams.made.isEmpty());
    }

    void optionsCycleAndAreRemembered() {
        PaletteTestWorld world;
        world.store.setActions({PaletteTestWorld::action("Tone", Kind::tone),
                                PaletteTestWorld::action("Translate", Kind::translate),
                                PaletteTestWorld::action("Plain")});
        auto model = world.makeModel();
        model->setTone("Casual");
        model->cycleOption(+1);
        QCOMPARE(model->tone(), QStringLiteral("Professional"));
        model->cycleOption(-1);
        QCOMPARE(model->tone(), QStringLiteral("Casual"));
        QCOMPARE(world.preferences->value("paletteTone").toString(), QStringLiteral("Casual"));

        model->move(+1);
        model->setLanguage("English");
        model->cycleOption(-1);
        QCOMPARE(model->language(), QStringLiteral("Korean"));
        model->cycleOption(+1);
        QCOMPARE(model->language(), QStringLiteral("English"));
        QCOMPARE(world.preferences->value("paletteLanguage").toString(), QStringLiteral("English"));

        model->move(+1);
        QSignalSpy tone(model.get(), &PaletteModel::toneChanged);
        QSignalSpy language(model.get(), &PaletteModel::languageChanged);
        model->cycleOption(+1);
        model->cycleOption(-1);
        QCOMPARE(tone.count() + language.count(), 0);
    }

    void unknownRememberedValueCountsAsTheFirstPosition() {
        PaletteTestWorld world;
        world.preferences->setValue("paletteLanguage", "Klingon");
        world.store.setActions({PaletteTestWorld::action("Translate", Kind::translate)});
        auto model = world.makeModel();
        model->cycleOption(+1);
        QCOMPARE(model->language(), QStringLiteral("Spanish"));
    }

    void runTitleAndInstructionCarryTheOption() {
        PaletteTestWorld world;
        world.store.setActions(
            {PaletteTestWorld::action("Change tone", Kind::tone, "Rewrite in a {tone} tone."),
             PaletteTestWorld::action("Translate", Kind::translate, "Translate into {language}.")});
        auto model = world.makeModel();
        model->prepare("hello", SelectionSource::selection, {});
        model->setTone("Friendly");
        model->runSelected();
        QCOMPARE(model->runTitle(), QStringLiteral("Change tone") + separator + "Friendly");
        QCOMPARE(world.streams.instructions.last(), QStringLiteral("Rewrite in a Friendly tone."));
        model->pick(2);
        QCOMPARE(model->runTitle(), QStringLiteral("Translate") + separator + "Spanish");
        QCOMPARE(world.streams.instructions.last(), QStringLiteral("Translate into Spanish."));
    }

    void noTextMeansNoRun() {
        PaletteTestWorld world;
        world.usePlainActions(2);
        auto model = world.makeModel();
        model->prepare({}, SelectionSource::none, "note");
        model->runSelected();
        model->pick(1);
        model->run(world.store.actions().at(0));
        QCOMPARE(model->phase(), Phase::choose);
        QVERIFY(!model->lastAction().has_value());
        QVERIFY(world.streams.made.isEmpty());
    }

    void piecesGrowTheOutputAndAGoodReplyIsDone() {
        PaletteTestWorld world;
        world.usePlainActions(1);
        auto model = world.makeModel();
        model->prepare("text", SelectionSource::selection, {});
        QSignalSpy output(model.get(), &PaletteModel::outputChanged);
        model->runSelected();
        FakeChatStream* stream = world.streams.last();
        stream->sendPiece("Hello");
        QCOMPARE(model->output(), QStringLiteral("Hello"));
        QCOMPARE(model->phase(), Phase::running);
        QVERIFY(!model->canReplace());
        stream->sendPiece(", world");
        stream->finish();
        QCOMPARE(model->output(), QStringLiteral("Hello, world"));
        QCOMPARE(model->phase(), Phase::done);
        QVERIFY(model->canReplace());
        QCOMPARE(output.count(), 3); // cleared, then two pieces
        QVERIFY(!model->isRunning());
    }

    void emptyOrThinkOnlyReplyFails() {
        PaletteTestWorld world;
        world.usePlainActions(1);
        auto model = world.makeModel();
        model->prepare("text", SelectionSource::selection, {});
        model->runSelected();
        world.streams.last()->sendPiece("<think>\nweighing words\n</think>\n  \n");
        world.streams.last()->finish();
        QCOMPARE(model->phase(), Phase::failed);
        QCOMPARE(model->errorMessage(),
                 QStringLiteral("The model returned an empty reply. Try again or pick a "
                                "different model in Settings."));
        model->runSelected();
        world.streams.last()->finish();
        QCOMPARE(model->phase(), Phase::failed);
    }

    void thinkBlocksAreLeftOutOfTheCleanedReply() {
        PaletteTestWorld world;
        world.usePlainActions(1);
        auto model = world.makeModel();
        model->prepare("text", SelectionSource::selection, {});
        model->runSelected();
        world.streams.last()->sendPiece("<think>a</think> Before <think>b</think>after ");
        QCOMPARE(model->cleanedOutput(), QStringLiteral("Before after"));
        world.streams.last()->sendPiece("<think>never closed");
        QCOMPARE(model->cleanedOutput(), QStringLiteral("Before after"));
        // The raw output keeps everything.
        QVERIFY(model->output().startsWith("<think>a</think>"));
    }

    void errorsShowTheirTextAndKeepThePartialReply() {
        PaletteTestWorld world;
        world.usePlainActions(1);
        auto model = world.makeModel();
        model->prepare("text", SelectionSource::selection, {});
        model->runSelected();
        world.streams.last()->sendPiece("Half a");
        world.streams.last()->fail(LLMError::server("model crashed"));
        QCOMPARE(model->phase(), Phase::failed);
        QCOMPARE(model->errorMessage(), LLMError::server("model crashed").description());
        QCOMPARE(model->output(), QStringLiteral("Half a"));
        QVERIFY(!model->canReplace());
    }

    void cancellationErrorsAreSwallowed() {
        PaletteTestWorld world;
        world.usePlainActions(1);
        auto model = world.makeModel();
        model->prepare("text", SelectionSource::selection, {});
        model->runSelected();
        world.streams.last()->fail(ClientError::cancelled());
        QCOMPARE(model->phase(), Phase::running);
        QCOMPARE(model->errorMessage(), QString());
        model->runSelected();
        world.streams.last()->fail(
            ClientError::transport(QNetworkReply::OperationCanceledError, "Operation canceled"));
        QCOMPARE(model->phase(), Phase::running);
        QCOMPARE(model->errorMessage(), QString());
    }

    void aNewRunCancelsTheOldOneWhichWritesNothingFurther() {
        PaletteTestWorld world;
        world.usePlainActions(2);
        auto model = world.makeModel();
        model->prepare("text", SelectionSource::selection, {});
        model->pick(1);
        QPointer<FakeChatStream> first = world.streams.last();
        first->sendPiece("old ");
        model->pick(2);
        QVERIFY(!first || first->aborted);
        QCOMPARE(model->output(), QString());
        // Whatever the old run still says is dropped.
        if (first) {
            first->sendPiece("stale");
            first->finish();
        }
        QCOMPARE(model->output(), QString());
        QCOMPARE(model->phase(), Phase::running);
        world.streams.last()->sendPiece("new");
        QCOMPARE(model->output(), QStringLiteral("new"));
        // The aborted stream is deleted once the event loop turns.
        QTRY_VERIFY(first.isNull());
    }

    void backAbandonsTheRunAndKeepsTheRest() {
        PaletteTestWorld world;
        world.usePlainActions(3);
        auto model = world.makeModel();
        model->prepare("text", SelectionSource::selection, {});
        model->pick(3);
        QPointer<FakeChatStream> stream = world.streams.last();
        stream->sendPiece("partial");
        model->back();
        QVERIFY(!stream || stream->aborted);
        QCOMPARE(model->phase(), Phase::choose);
        QCOMPARE(model->output(), QStringLiteral("partial"));
        QCOMPARE(model->runTitle(), QStringLiteral("Action 3"));
        QCOMPARE(model->selectedIndex(), 2);
        if (stream)
            stream->finish();
        QCOMPARE(model->phase(), Phase::choose);
    }

    void retryRunsTheLastActionWithTheCurrentOption() {
        PaletteTestWorld world;
        world.store.setActions({PaletteTestWorld::action("Change tone", Kind::tone, "Be {tone}.")});
        auto model = world.makeModel();
        model->prepare("text", SelectionSource::selection, {});
        model->retry();
        QVERIFY(world.streams.made.isEmpty()); // nothing run yet
        model->runSelected();
        QPointer<FakeChatStream> first = world.streams.last();
        model->setTone("Casual");
        model->retry();
        QVERIFY(!first || first->aborted);
        QCOMPARE(world.streams.instructions, (QStringList{"Be Professional.", "Be Casual."}));
        QCOMPARE(model->runTitle(), QStringLiteral("Change tone") + separator + "Casual");
    }

    void replaceOnlyForADoneSelection() {
        PaletteTestWorld world;
        world.usePlainActions(1);
        auto model = world.makeModel();
        model->prepare("text", SelectionSource::clipboard, "note");
        model->runSelected();
        world.streams.last()->sendPiece("Good reply");
        world.streams.last()->finish();
        QCOMPARE(model->phase(), Phase::done);
        QVERIFY(!model->canReplace());
    }

    void copyPutsTheCleanedReplyOnTheClipboardAndAsksToClose() {
        PaletteTestWorld world;
        world.usePlainActions(1);
        auto model = world.makeModel();
        QSignalSpy close(model.get(), &PaletteModel::closeRequested);
        model->prepare("text", SelectionSource::clipboard, "note");
        model->copyResult();
        QCOMPARE(close.count(), 0);
        model->runSelected();
        world.streams.last()->sendPiece("<think>x</think>\n Copied text \n");
        model->copyResult();
        QCOMPARE(world.platform.clipboardFake.plainText(), QStringLiteral("Copied text"));
        QCOMPARE(close.count(), 1);
    }
};

QTEST_GUILESS_MAIN(PaletteModelTest)
#include "tst_palettemodel.moc"
