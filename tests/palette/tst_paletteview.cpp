#include "PaletteTestWorld.h"

#include "llm/LLMError.h"
#include "palette/PaletteActionList.h"
#include "palette/PaletteActionRow.h"
#include "palette/PaletteElidedLabel.h"
#include "palette/PaletteEmptyState.h"
#include "palette/PaletteHeader.h"
#include "palette/PaletteResultPane.h"
#include "palette/PaletteStyle.h"
#include "palette/PaletteView.h"
#include "texts/Texts.h"
#include "widgets/Spinner.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QSignalSpy>
#include <QTest>

using Phase = PaletteModel::Phase;
using Kind = WendleAction::Kind;

namespace {
const QString listHint = QStringLiteral(
    "\u2191\u2193 select   \u23CE run   1\u20139 quick pick   \u2190\u2192 option   esc close");

bool visibleIn(QWidget* widget, QScrollArea* area) {
    const QPoint top = widget->mapTo(area->viewport(), QPoint(0, 0));
    return top.y() >= 0 && top.y() + widget->height() <= area->viewport()->height();
}
} // namespace

// The palette's view, drawn from the model on a virtual display.
class PaletteViewTest : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<PaletteTestWorld> m_world;
    std::unique_ptr<PaletteModel> m_model;
    std::unique_ptr<PaletteView> m_view;

    void build() {
        m_model = m_world->makeModel();
        m_view = std::make_unique<PaletteView>(*m_model, m_world->store);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
    }
    PaletteResultPane& result() { return *m_view->resultPane(); }
    PaletteActionList& list() { return *m_view->actionList(); }

private Q_SLOTS:
    void init() {
        m_world = std::make_unique<PaletteTestWorld>();
        m_world->store.setActions(WendleAction::defaults());
    }
    void cleanup() {
        m_view.reset();
        m_model.reset();
        m_world.reset();
    }

    void hasTheFixedSize() {
        build();
        QCOMPARE(m_view->size(), QSize(440, 380));
    }

    void noTextShowsTheEmptyStateWithItsNote() {
        build();
        m_model->prepare({}, SelectionSource::none, QStringLiteral("The note."));
        QCOMPARE(m_view->currentScreen(), m_view->emptyState());
        QVERIFY(m_view->header()->title()->isVisible());
        QCOMPARE(m_view->header()->title()->text(), QStringLiteral("Wendle"));
        QVERIFY(!m_view->header()->preview()->isVisible());
        QVERIFY(!m_view->header()->note()->isVisible());
        QVERIFY(m_view->emptyState()->note()->isVisible());
        QCOMPARE(m_view->emptyState()->note()->text(), QStringLiteral("The note."));
        QCOMPARE(m_view->hint()->text(), QStringLiteral("esc close"));
        const QStringList texts = [this] {
            QStringList all;
            for (QLabel* label : m_view->emptyState()->findChildren<QLabel*>())
                all.append(label->text());
            return all;
        }();
        QVERIFY(texts.contains(QStringLiteral("No text to wendle")));
        QVERIFY(texts.contains(Texts::paletteEmptyHint()));
        // The empty state wins over every phase.
        m_model->setPhase(Phase::done);
        QCOMPARE(m_view->currentScreen(), m_view->emptyState());
    }

    void emptyStateWithoutANoteShowsNone() {
        build();
        m_model->prepare({}, SelectionSource::none, {});
        QVERIFY(!m_view->emptyState()->note()->isVisible());
    }

    void clipboardTextShowsPreviewAndOrangeNote() {
        build();
        m_model->prepare(QStringLiteral("From the clipboard"), SelectionSource::clipboard,
                         QStringLiteral("A note."));
        QCOMPARE(m_view->currentScreen(), m_view->actionList());
        QVERIFY(m_view->header()->preview()->isVisible());
        QVERIFY(!m_view->header()->title()->isVisible());
        QCOMPARE(m_view->header()->preview()->text(), QStringLiteral("From the clipboard"));
        QVERIFY(m_view->header()->note()->isVisible());
        QCOMPARE(m_view->header()->note()->text(), QStringLiteral("A note."));
        QCOMPARE(m_view->header()->note()->palette().color(QPalette::WindowText),
                 PaletteStyle::orange());
        QCOMPARE(m_view->hint()->text(), listHint);
    }

    void previewIsShortenedAndHasTwoLinesAtMost() {
        build();
        QString text;
        for (int i = 0; i < 40; ++i)
            text += QStringLiteral("word ");
        m_model->prepare(text, SelectionSource::selection, {});
        QCOMPARE(m_view->header()->preview()->text(), text.left(160) + QChar(0x2026));
        const QStringList lines = m_view->header()->preview()->visibleLines();
        QCOMPARE(lines.size(), 2);
        QVERIFY(lines.at(1).endsWith(QChar(0x2026)));
    }

    void twelveRowsAreNumberedUpToNineAndScrollIntoView() {
        QList<WendleAction> actions;
        for (int i = 1; i <= 12; ++i)
            actions.append(PaletteTestWorld::action(QStringLiteral("Action %1").arg(i)));
        m_world->store.setActions(actions);
        build();
        m_model->prepare(QStringLiteral("text"), SelectionSource::selection, {});
        QCOMPARE(list().rows().size(), 12);
        for (int i = 0; i < 12; ++i)
            QCOMPARE(list().rows().at(i)->number()->text(),
                     i < 9 ? QString::number(i + 1) : QString());
        PaletteActionRow* last = list().rows().at(11);
        QVERIFY(!visibleIn(last, list().scrollArea()));
        m_model->move(-1); // wraps to the last row
        QCOMPARE(m_model->selectedIndex(), 11);
        QVERIFY(last->isSelected());
        QVERIFY(!list().rows().at(0)->isSelected());
        QVERIFY(visibleIn(last, list().scrollArea()));
        QCOMPARE(last->name()->palette().color(QPalette::WindowText), QColor(Qt::white));
        // Back to the top: the smallest movement shows row 1 again.
        m_model->move(+1);
        QVERIFY(visibleIn(list().rows().at(0), list().scrollArea()));
    }

    void anIndexOutsideTheListHighlightsNothing() {
        build();
        m_model->setSelectedIndex(42);
        for (PaletteActionRow* row : list().rows())
            QVERIFY(!row->isSelected());
    }

    void toneAndLanguageMenusAreSharedAndRemembered() {
        m_world->store.setActions({PaletteTestWorld::action("Tone A", Kind::tone),
                                   PaletteTestWorld::action("Translate", Kind::translate),
                                   PaletteTestWorld::action("Tone B", Kind::tone),
                                   PaletteTestWorld::action("Plain")});
        build();
        QComboBox* toneA = list().rows().at(0)->options();
        QComboBox* language = list().rows().at(1)->options();
        QComboBox* toneB = list().rows().at(2)->options();
        QVERIFY(toneA && language && toneB);
        QVERIFY(!list().rows().at(3)->options());
        QCOMPARE(toneA->count(), 3);
        QCOMPARE(language->count(), 16);
        QCOMPARE(toneA->width(), 150);
        QCOMPARE(toneA->currentText(), QStringLiteral("Professional"));
        QCOMPARE(language->currentText(), QStringLiteral("Spanish"));

        Q_EMIT toneA->activated(2);
        QCOMPARE(m_model->tone(), QStringLiteral("Casual"));
        QCOMPARE(toneB->currentText(), QStringLiteral("Casual"));
        QCOMPARE(m_world->preferences->value("paletteTone").toString(), QStringLiteral("Casual"));
        // The next palette starts with it.
        auto next = m_world->makeModel();
        QCOMPARE(next->tone(), QStringLiteral("Casual"));

        Q_EMIT language->activated(0);
        QCOMPARE(m_model->language(), QStringLiteral("English"));
        m_model->cycleOption(+1); // the highlighted row is a tone row
        QCOMPARE(toneA->currentText(), QStringLiteral("Professional"));
    }

    void aRememberedValueOutsideTheListIsShownAsItStands() {
        m_world->preferences->setValue("paletteLanguage", "Klingon");
        m_world->store.setActions({PaletteTestWorld::action("Translate", Kind::translate)});
        build();
        QComboBox* language = list().rows().at(0)->options();
        QCOMPARE(language->currentIndex(), -1);
        QCOMPARE(language->placeholderText(), QStringLiteral("Klingon"));
    }

    void noActionsShowsTheHint() {
        m_world->store.setActions({});
        build();
        m_model->prepare(QStringLiteral("text"), SelectionSource::selection, {});
        QVERIFY(list().emptyHint()->isVisible());
        QCOMPARE(list().emptyHint()->text(),
                 QStringLiteral("There are no actions yet. Add some in Settings \u2192 Actions."));
        QVERIFY(list().rows().isEmpty());
        // Adding actions in the settings shows them at once.
        m_world->store.setActions({PaletteTestWorld::action("New")});
        QCOMPARE(list().rows().size(), 1);
        QVERIFY(!list().emptyHint()->isVisible());
    }

    void clickingARowRunsItAndHighlightsIt() {
        build();
        m_model->prepare(QStringLiteral("text"), SelectionSource::selection, {});
        PaletteActionRow* third = list().rows().at(2);
        QTest::mouseClick(third, Qt::LeftButton, {}, QPoint(third->width() - 5, 5));
        QCOMPARE(m_model->selectedIndex(), 2);
        QCOMPARE(m_model->phase(), Phase::running);
        QCOMPARE(m_model->runTitle(), QStringLiteral("Expand"));
        QCOMPARE(m_view->currentScreen(), m_view->resultPane());
        m_model->back();
        QVERIFY(third->isSelected());
    }

    void runningShowsTitleSpinnerAndTheGrowingReply() {
        build();
        m_model->prepare(QStringLiteral("text"), SelectionSource::selection, {});
        m_model->pick(2);
        QCOMPARE(result().title()->text(), QStringLiteral("Shorten"));
        QVERIFY(result().spinner()->isVisible());
        QVERIFY(result().spinner()->isAnimating());
        QCOMPARE(result().reply()->text(), QStringLiteral(" "));
        QCOMPARE(m_view->hint()->text(), Texts::paletteResultHint());
        m_world->streams.last()->sendPiece(QStringLiteral("Grow"));
        QCOMPARE(result().reply()->text(), QStringLiteral("Grow"));
        m_world->streams.last()->sendPiece(QStringLiteral("ing"));
        QCOMPARE(result().reply()->text(), QStringLiteral("Growing"));
        QVERIFY(result().reply()->textInteractionFlags() & Qt::TextSelectableByMouse);
        m_world->streams.last()->finish();
        QVERIFY(!result().spinner()->isVisible());
        QVERIFY(!result().spinner()->isAnimating());
    }

    void aThinkingReplyShowsABlankLineUntilTheAnswer() {
        build();
        m_model->prepare(QStringLiteral("text"), SelectionSource::selection, {});
        m_model->pick(1);
        m_world->streams.last()->sendPiece(QStringLiteral("<think>Let me see"));
        QCOMPARE(result().reply()->text(), QStringLiteral(" "));
        QVERIFY(!result().copyButton()->isEnabled());
        QVERIFY(!result().replaceButton()->isEnabled());
        m_world->streams.last()->sendPiece(QStringLiteral("</think>\nThe answer"));
        QCOMPARE(result().reply()->text(), QStringLiteral("The answer"));
        QVERIFY(result().copyButton()->isEnabled());
        QVERIFY(!result().replaceButton()->isEnabled());
        m_world->streams.last()->finish();
        QVERIFY(result().replaceButton()->isEnabled());
    }

    void clipboardTextNeverOffersReplace() {
        build();
        m_model->prepare(QStringLiteral("text"), SelectionSource::clipboard, QStringLiteral("n"));
        m_model->pick(1);
        m_world->streams.last()->sendPiece(QStringLiteral("Answer"));
        m_world->streams.last()->finish();
        QVERIFY(result().copyButton()->isEnabled());
        QVERIFY(!result().replaceButton()->isEnabled());
    }

    void aFailureShowsTheTriangleAndTheText() {
        build();
        m_model->prepare(QStringLiteral("text"), SelectionSource::selection, {});
        m_model->pick(1);
        m_world->streams.last()->sendPiece(QStringLiteral("Partial"));
        m_world->streams.last()->fail(LLMError::http(404, QStringLiteral("model not found")));
        QVERIFY(result().errorRow()->isVisible());
        QVERIFY(!result().reply()->isVisible());
        QCOMPARE(result().error()->text(),
                 QStringLiteral("The model server returned an error (HTTP 404): model not found"));
        QVERIFY(result().error()->wordWrap());
        QVERIFY(result().copyButton()->isEnabled()); // a partial reply exists
        QVERIFY(!result().replaceButton()->isEnabled());
        // Without a partial reply there is nothing to copy.
        m_model->retry();
        m_world->streams.last()->fail(LLMError::noModel());
        QVERIFY(!result().copyButton()->isEnabled());
    }

    void buttonsCallTheModel() {
        build();
        QSignalSpy replace(m_view.get(), &PaletteView::replaceClicked);
        QSignalSpy close(m_model.get(), &PaletteModel::closeRequested);
        m_model->prepare(QStringLiteral("text"), SelectionSource::selection, {});
        m_model->pick(1);
        m_world->streams.last()->sendPiece(QStringLiteral("Answer"));
        m_world->streams.last()->finish();
        QCOMPARE(result().backButton()->text(), QStringLiteral("Back"));
        QCOMPARE(result().retryButton()->text(), Texts::retryButton());
        QCOMPARE(result().copyButton()->text(), Texts::copyButton());
        QCOMPARE(result().replaceButton()->text(), QStringLiteral("Replace \u23CE"));

        QTest::mouseClick(result().replaceButton(), Qt::LeftButton);
        QCOMPARE(replace.count(), 1);
        QTest::mouseClick(result().copyButton(), Qt::LeftButton);
        QCOMPARE(m_world->platform.clipboardFake.plainText(), QStringLiteral("Answer"));
        QCOMPARE(close.count(), 1);
        QTest::mouseClick(result().retryButton(), Qt::LeftButton);
        QCOMPARE(m_world->streams.made.size(), 2);
        QCOMPARE(m_model->phase(), Phase::running);
        QTest::mouseClick(result().backButton(), Qt::LeftButton);
        QCOMPARE(m_model->phase(), Phase::choose);
        QCOMPARE(m_view->currentScreen(), m_view->actionList());
    }
};

QTEST_MAIN(PaletteViewTest)
#include "tst_paletteview.moc"
