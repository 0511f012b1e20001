#include "SettingsFixture.h"
#include "settingswindow/ActionEditor.h"
#include "settingswindow/ActionListModel.h"
#include "settingswindow/ActionsTab.h"

#include <QComboBox>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTest>
#include <QToolButton>

#include <memory>

namespace {

WendleAction action(const QString& name) {
    return {QUuid::createUuid(), name, name + QStringLiteral(" it."), WendleAction::Kind::plain};
}

QStringList names(const QList<WendleAction>& actions) {
    QStringList result;
    for (const WendleAction& a : actions)
        result.append(a.name);
    return result;
}

// The names in the actions file, in file order.
QStringList namesInFile(const QByteArray& bytes) {
    QStringList result;
    for (const QJsonValue& element : QJsonDocument::fromJson(bytes).array())
        result.append(element.toObject().value(QStringLiteral("name")).toString());
    return result;
}

} // namespace

class TestActionsTab : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void startsWithoutSelection();
    void buttonsNeedASelection();
    void addSelectsANewAction();
    void addThenTypeEditsOnlyTheNewActionAndSavesEachKeystroke();
    void instructionAndTypeEditsAreSaved();
    void helpLineFollowsTheType();
    void emptyNameShowsUntitled();
    void upOnFirstAndDownOnLastDoNothing();
    void moveSwapsNeighboursAndSelectionFollows();
    void dragMoveReordersAndSaves();
    void draggingARowWithTheMouse();
    void deleteLeavesNoSelection();
    void resetAsksFirst();
    void resetGivesBuiltInsAndNoSelection();
    void clickingARowSelectsIt();

private:
    template <typename T>
    T* child(const char* name) const {
        return m_tab->findChild<T*>(QLatin1String(name));
    }
    QListView* list() const { return child<QListView>("actions"); }
    QString rowText(int row) const { return list()->model()->index(row, 0).data().toString(); }
    bool showsHint() const {
        return child<QStackedWidget>("")->currentWidget() == child<QLabel>("hint");
    }
    bool showsEditor() const { return child<ActionEditor>("editor")->isVisible(); }

    std::unique_ptr<SettingsFixture> m_fixture;
    std::unique_ptr<ActionsTab> m_tab;
};

void TestActionsTab::init() {
    m_fixture = std::make_unique<SettingsFixture>();
    m_fixture->actions.setActions({action("One"), action("Two"), action("Three")});
    m_tab = std::make_unique<ActionsTab>(m_fixture->actions);
    m_tab->resize(660, 460);
    m_tab->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_tab.get()));
}

void TestActionsTab::cleanup() {
    m_tab.reset();
    m_fixture.reset();
}

void TestActionsTab::startsWithoutSelection() {
    QVERIFY(!m_tab->selected());
    QVERIFY(list()->selectionModel()->selectedRows().isEmpty());
    QVERIFY(!showsEditor());
    auto* hint = child<QLabel>("hint");
    QVERIFY(hint->isVisible());
    QCOMPARE(hint->text(), QStringLiteral("Select an action to edit it, or add a new one.\nDrag "
                                          "rows (or use the arrows) to reorder them."));
    QCOMPARE(list()->model()->rowCount(), 3);
    QCOMPARE(rowText(0), QStringLiteral("One"));
}

void TestActionsTab::buttonsNeedASelection() {
    QVERIFY(child<QToolButton>("add")->isEnabled());
    QVERIFY(child<QPushButton>("reset")->isEnabled());
    QCOMPARE(child<QPushButton>("reset")->text(), QStringLiteral("Reset\u2026"));
    for (const char* name : {"delete", "up", "down"})
        QVERIFY2(!child<QToolButton>(name)->isEnabled(), name);
    m_tab->select(m_fixture->actions.actions().at(1).id);
    for (const char* name : {"add", "delete", "up", "down"})
        QVERIFY2(child<QToolButton>(name)->isEnabled(), name);
}

void TestActionsTab::addSelectsANewAction() {
    QTest::mouseClick(child<QToolButton>("add"), Qt::LeftButton);
    const QList<WendleAction>& actions = m_fixture->actions.actions();
    QCOMPARE(actions.size(), 4);
    const WendleAction& added = actions.last();
    QCOMPARE(added.name, QStringLiteral("New action"));
    QCOMPARE(added.instruction, QStringLiteral("Rewrite the text to "));
    QCOMPARE(added.kind, WendleAction::Kind::plain);
    QCOMPARE(m_tab->selected(), std::optional<QUuid>(added.id));
    QCOMPARE(list()->selectionModel()->selectedRows().value(0).row(), 3);
    QVERIFY(showsEditor());
    QCOMPARE(child<QLineEdit>("name")->text(), QStringLiteral("New action"));
    QCOMPARE(child<QPlainTextEdit>("instruction")->toPlainText(),
             QStringLiteral("Rewrite the text to "));
    QCOMPARE(namesInFile(*m_fixture->actionsFile()),
             (QStringList{"One", "Two", "Three", "New action"}));
}

void TestActionsTab::addThenTypeEditsOnlyTheNewActionAndSavesEachKeystroke() {
    const QList<WendleAction> before = m_fixture->actions.actions();
    QTest::mouseClick(child<QToolButton>("add"), Qt::LeftButton);
    auto* name = child<QLineEdit>("name");
    name->selectAll();
    const QString typed = QStringLiteral("Polite");
    for (qsizetype i = 0; i < typed.size(); ++i) {
        QTest::keyClick(name, typed.at(i).toLatin1());
        // The file has the new name after every single keystroke.
        QCOMPARE(namesInFile(*m_fixture->actionsFile()).last(), typed.left(i + 1));
    }
    const QList<WendleAction> after = m_fixture->actions.actions();
    QCOMPARE(after.size(), 4);
    QCOMPARE(after.mid(0, 3), before); // the others are untouched
    QCOMPARE(after.last().name, typed);
    QCOMPARE(rowText(3), typed);
}

void TestActionsTab::instructionAndTypeEditsAreSaved() {
    const WendleAction second = m_fixture->actions.actions().at(1);
    m_tab->select(second.id);
    auto* instruction = child<QPlainTextEdit>("instruction");
    instruction->moveCursor(QTextCursor::End);
    QTest::keyClicks(instruction, QStringLiteral(" In {tone}."));
    QCOMPARE(m_fixture->actions.actions().at(1).instruction, QStringLiteral("Two it. In {tone}."));
    auto* kind = child<QComboBox>("kind");
    QCOMPARE(kind->count(), 3);
    QCOMPARE(kind->itemText(0), QStringLiteral("Standard"));
    QCOMPARE(kind->itemText(1), QStringLiteral("With tone picker"));
    QCOMPARE(kind->itemText(2), QStringLiteral("With language picker"));
    // Picked the way a person does: open the list, choose, confirm.
    kind->setFocus();
    QTest::keyClick(kind, Qt::Key_Down);
    QCOMPARE(m_fixture->actions.actions().at(1).kind, WendleAction::Kind::tone);
    const QJsonObject stored =
        QJsonDocument::fromJson(*m_fixture->actionsFile()).array().at(1).toObject();
    QCOMPARE(stored.value("kind").toString(), QStringLiteral("tone"));
    QCOMPARE(stored.value("instruction").toString(), QStringLiteral("Two it. In {tone}."));
    QCOMPARE(stored.value("id").toString(), second.id.toString(QUuid::WithoutBraces).toUpper());
}

void TestActionsTab::helpLineFollowsTheType() {
    m_tab->select(m_fixture->actions.actions().at(0).id);
    auto* help = child<QLabel>("help");
    QCOMPARE(help->text(),
             QStringLiteral("Describe what the model should do with the selected text."));
    QList<WendleAction> actions = m_fixture->actions.actions();
    actions[0].kind = WendleAction::Kind::tone;
    m_fixture->actions.setActions(actions);
    QCOMPARE(help->text(), QStringLiteral("Use {tone} in the instruction; it is replaced by the "
                                          "tone chosen in the palette."));
    actions[0].kind = WendleAction::Kind::translate;
    m_fixture->actions.setActions(actions);
    QCOMPARE(help->text(), QStringLiteral("Use {language} in the instruction; it is replaced by "
                                          "the language chosen in the palette."));
    QCOMPARE(child<QComboBox>("kind")->currentText(), QStringLiteral("With language picker"));
}

void TestActionsTab::emptyNameShowsUntitled() {
    m_tab->select(m_fixture->actions.actions().at(0).id);
    auto* name = child<QLineEdit>("name");
    name->selectAll();
    QTest::keyClick(name, Qt::Key_Backspace);
    QCOMPARE(rowText(0), QStringLiteral("Untitled"));
    QCOMPARE(m_fixture->actions.actions().at(0).name, QString());
    QCOMPARE(namesInFile(*m_fixture->actionsFile()).at(0), QString());
    // Still the selected row, still editable.
    QCOMPARE(list()->selectionModel()->selectedRows().value(0).row(), 0);
    QTest::keyClicks(name, QStringLiteral("X"));
    QCOMPARE(rowText(0), QStringLiteral("X"));
}

void TestActionsTab::upOnFirstAndDownOnLastDoNothing() {
    const QList<WendleAction> before = m_fixture->actions.actions();
    const QByteArray file = *m_fixture->actionsFile();
    QSignalSpy assignments(&m_fixture->actions, &ActionStore::actionsChanged);
    m_tab->select(before.first().id);
    QTest::mouseClick(child<QToolButton>("up"), Qt::LeftButton);
    QCOMPARE(m_fixture->actions.actions(), before);
    m_tab->select(before.last().id);
    QTest::mouseClick(child<QToolButton>("down"), Qt::LeftButton);
    QCOMPARE(m_fixture->actions.actions(), before);
    QCOMPARE(assignments.count(), 0); // not even an unchanged list was assigned
    QCOMPARE(*m_fixture->actionsFile(), file);
    QCOMPARE(m_tab->selected(), std::optional<QUuid>(before.last().id));
}

void TestActionsTab::moveSwapsNeighboursAndSelectionFollows() {
    const QList<WendleAction> before = m_fixture->actions.actions();
    m_tab->select(before.at(0).id);
    QTest::mouseClick(child<QToolButton>("down"), Qt::LeftButton);
    QCOMPARE(names(m_fixture->actions.actions()), (QStringList{"Two", "One", "Three"}));
    QCOMPARE(namesInFile(*m_fixture->actionsFile()), (QStringList{"Two", "One", "Three"}));
    QCOMPARE(m_tab->selected(), std::optional<QUuid>(before.at(0).id));
    QCOMPARE(list()->selectionModel()->selectedRows().value(0).row(), 1);
    QTest::mouseClick(child<QToolButton>("down"), Qt::LeftButton);
    QCOMPARE(names(m_fixture->actions.actions()), (QStringList{"Two", "Three", "One"}));
    QTest::mouseClick(child<QToolButton>("up"), Qt::LeftButton);
    QTest::mouseClick(child<QToolButton>("up"), Qt::LeftButton);
    QCOMPARE(names(m_fixture->actions.actions()), (QStringList{"One", "Two", "Three"}));
    QCOMPARE(list()->selectionModel()->selectedRows().value(0).row(), 0);
    QCOMPARE(child<QLineEdit>("name")->text(), QStringLiteral("One"));
}

void TestActionsTab::dragMoveReordersAndSaves() {
    // The list view's own move of a dragged row: "Three" dropped above "One".
    QAbstractItemModel* model = list()->model();
    QVERIFY(model->flags(model->index(0, 0)) & Qt::ItemIsDragEnabled);
    QVERIFY(model->flags({}) & Qt::ItemIsDropEnabled);
    QVERIFY(!(model->flags(model->index(0, 0)) & Qt::ItemIsDropEnabled));
    QCOMPARE(list()->dragDropMode(), QAbstractItemView::InternalMove);
    QVERIFY(model->moveRow({}, 2, {}, 0));
    QCOMPARE(names(m_fixture->actions.actions()), (QStringList{"Three", "One", "Two"}));
    QCOMPARE(namesInFile(*m_fixture->actionsFile()), (QStringList{"Three", "One", "Two"}));
    // "Three" dropped below the last row; a drop onto its own place is no move.
    QVERIFY(model->moveRow({}, 0, {}, 3));
    QCOMPARE(names(m_fixture->actions.actions()), (QStringList{"One", "Two", "Three"}));
    QVERIFY(!model->moveRow({}, 1, {}, 2));
    QCOMPARE(names(m_fixture->actions.actions()), (QStringList{"One", "Two", "Three"}));
}

void TestActionsTab::draggingARowWithTheMouse() {
    // A real drag on the X server: press on "Three", move up past "One", release.
    const QPoint from =
        list()->viewport()->mapToGlobal(list()->visualRect(list()->model()->index(2, 0)).center());
    const QRect first = list()->visualRect(list()->model()->index(0, 0));
    const QPoint to = list()->viewport()->mapToGlobal(QPoint(first.center().x(), first.top() + 2));
    const auto at = [](const QPoint& p) {
        return QStringList{QString::number(p.x()), QString::number(p.y())};
    };
    // Paced like a hand, by xdotool itself: the drag runs its own event loop
    // inside this test, so the test cannot wait for events between the steps.
    QStringList steps{"mousemove"};
    steps << at(from) << "mousedown"
          << "1"
          << "sleep"
          << "0.1";
    for (int i = 1; i <= 6; ++i) {
        const QPoint step = from + (to - from) * i / 6;
        steps << "mousemove" << at(step) << "sleep"
              << "0.05";
    }
    steps << "mouseup"
          << "1";
    QProcess xdotool;
    xdotool.start(QStringLiteral("xdotool"), steps); // runs while the drag's event loop turns
    QVERIFY(xdotool.waitForStarted());
    QTRY_COMPARE_WITH_TIMEOUT(names(m_fixture->actions.actions()),
                              (QStringList{"Three", "One", "Two"}), 10000);
    QTRY_COMPARE(xdotool.state(), QProcess::NotRunning);
    QCOMPARE(namesInFile(*m_fixture->actionsFile()), (QStringList{"Three", "One", "Two"}));
}

void TestActionsTab::deleteLeavesNoSelection() {
    const QList<WendleAction> before = m_fixture->actions.actions();
    m_tab->select(before.at(1).id);
    QTest::mouseClick(child<QToolButton>("delete"), Qt::LeftButton);
    QCOMPARE(names(m_fixture->actions.actions()), (QStringList{"One", "Three"}));
    QCOMPARE(namesInFile(*m_fixture->actionsFile()), (QStringList{"One", "Three"}));
    QVERIFY(!m_tab->selected());
    QVERIFY(list()->selectionModel()->selectedRows().isEmpty());
    QVERIFY(!showsEditor());
    QVERIFY(child<QLabel>("hint")->isVisible());
    QVERIFY(!child<QToolButton>("delete")->isEnabled());
}

void TestActionsTab::resetAsksFirst() {
    const QByteArray file = *m_fixture->actionsFile();
    m_tab->select(m_fixture->actions.actions().at(0).id);
    QTest::mouseClick(child<QPushButton>("reset"), Qt::LeftButton);
    QMessageBox* question = m_tab->resetQuestion();
    QVERIFY(question);
    QTRY_VERIFY(question->isVisible());
    QCOMPARE(question->text(), QStringLiteral("Reset actions?"));
    QCOMPARE(question->informativeText(),
             QStringLiteral("This replaces your actions with the built-in set."));
    QStringList buttons;
    for (QAbstractButton* button : question->buttons())
        buttons.append(button->text().remove(QLatin1Char('&')));
    buttons.sort();
    QCOMPARE(buttons, (QStringList{"Cancel", "Reset"}));
    QAbstractButton* cancel = question->button(QMessageBox::Cancel);
    QVERIFY(cancel);
    QCOMPARE(question->escapeButton(), cancel);
    QTest::mouseClick(cancel, Qt::LeftButton);
    QTRY_VERIFY(!m_tab->resetQuestion());
    QCOMPARE(names(m_fixture->actions.actions()), (QStringList{"One", "Two", "Three"}));
    QCOMPARE(*m_fixture->actionsFile(), file);
    QVERIFY(m_tab->selected());
}

void TestActionsTab::resetGivesBuiltInsAndNoSelection() {
    m_tab->select(m_fixture->actions.actions().at(2).id);
    m_tab->askReset();
    QMessageBox* question = m_tab->resetQuestion();
    QVERIFY(question);
    QAbstractButton* reset = nullptr;
    for (QAbstractButton* button : question->buttons()) {
        if (question->buttonRole(button) == QMessageBox::DestructiveRole)
            reset = button;
    }
    QVERIFY(reset);
    QCOMPARE(reset->text(), QStringLiteral("Reset"));
    QTest::mouseClick(reset, Qt::LeftButton);
    QCOMPARE(m_fixture->actions.actions(), WendleAction::defaults());
    QCOMPARE(namesInFile(*m_fixture->actionsFile()),
             (QStringList{"Fix grammar", "Shorten", "Expand", "Change tone", "Translate",
                          "Summarize", "Bullet points"}));
    QVERIFY(!m_tab->selected());
    QVERIFY(list()->selectionModel()->selectedRows().isEmpty());
    QVERIFY(child<QLabel>("hint")->isVisible());
    QVERIFY(!showsEditor());
    QCOMPARE(list()->model()->rowCount(), 7);
}

void TestActionsTab::clickingARowSelectsIt() {
    const QRect second = list()->visualRect(list()->model()->index(1, 0));
    QTest::mouseClick(list()->viewport(), Qt::LeftButton, {}, second.center());
    QCOMPARE(m_tab->selected(), std::optional<QUuid>(m_fixture->actions.actions().at(1).id));
    QVERIFY(showsEditor());
    QCOMPARE(child<QLineEdit>("name")->text(), QStringLiteral("Two"));
}

QTEST_MAIN(TestActionsTab)
#include "tst_actionstab.moc"
