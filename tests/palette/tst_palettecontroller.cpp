#include "PaletteTestWorld.h"

#include "palette/PaletteActionList.h"
#include "palette/PaletteController.h"
#include "palette/PalettePanel.h"
#include "palette/PaletteResultPane.h"
#include "palette/PaletteView.h"

#include <QCursor>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

using Phase = PaletteModel::Phase;

namespace {
// Counts the key presses that reach a widget.
class KeySpy : public QObject {
public:
    int presses = 0;
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::KeyPress)
            ++presses;
        return false;
    }
};
} // namespace

// The controller with the real popup panel on a virtual display, the desktop
// played by recording fakes.
class PaletteControllerTest : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<PaletteTestWorld> m_world;
    std::unique_ptr<PaletteController> m_controller;
    QString m_selection;

    RecordingPlatform& platform() { return m_world->platform; }
    PaletteModel& model() { return m_controller->model(); }
    PalettePanel& panel() { return m_controller->panel(); }

    void openWith(const QString& selection, const QString& clipboard = QString()) {
        m_selection = selection;
        platform().clipboardFake.setText(clipboard);
        QSignalSpy shown(m_controller.get(), &PaletteController::shown);
        m_controller->toggle();
        QTRY_COMPARE(shown.count(), 1);
        QVERIFY(QTest::qWaitForWindowExposed(&panel()));
        platform().log.steps.clear();
    }

    // A key typed into the palette, delivered by the window system.
    void type(int key, Qt::KeyboardModifiers modifiers = {}, const QString& text = {}) {
        QTest::keyClick(panel().windowHandle(), Qt::Key(key), modifiers);
        Q_UNUSED(text);
    }

    void runToDone(int number, const QString& reply) {
        type(Qt::Key_0 + number);
        QCOMPARE(model().phase(), Phase::running);
        m_world->streams.last()->sendPiece(reply);
        m_world->streams.last()->finish();
        QCOMPARE(model().phase(), Phase::done);
    }

private Q_SLOTS:
    void init() {
        m_world = std::make_unique<PaletteTestWorld>();
        m_world->store.setActions(WendleAction::defaults());
        platform().keys.onShortcut = [this](KeySender::Shortcut shortcut) {
            if (shortcut == KeySender::Shortcut::copy && !m_selection.isEmpty())
                platform().clipboardFake.setText(m_selection);
        };
        m_controller = std::make_unique<PaletteController>(
            platform(), m_world->store, *m_world->preferences, m_world->streams.factory(),
            recordingDelay(platform().log));
        QCursor::setPos(500, 300);
    }
    void cleanup() {
        m_controller.reset();
        m_world.reset();
    }

    void opensNextToThePointerAfterTheCapture() {
        m_selection = QStringLiteral("A sentence.");
        QSignalSpy shown(m_controller.get(), &PaletteController::shown);
        m_controller->toggle();
        QVERIFY(m_controller->isBusy());
        QVERIFY(!m_controller->isVisible());
        QCOMPARE(m_controller->targetApp(), platform().front.front);
        QTRY_COMPARE(shown.count(), 1);
        QVERIFY(!m_controller->isBusy());
        QVERIFY(m_controller->isVisible());
        QCOMPARE(panel().pos(), QPoint(500 - 24, 300 + 16));
        QCOMPARE(panel().size(), QSize(440, 380));
        QVERIFY(panel().windowFlags().testFlag(Qt::Popup));
        QCOMPARE(model().selectedText(), QStringLiteral("A sentence."));
        QCOMPARE(model().source(), SelectionSource::selection);
        QCOMPARE(platform().shellFake.preparedPanels, QList<QWidget*>{&panel()});
        // The list has the focus, so keys work at once.
        QVERIFY(panel().view()->actionList()->isAncestorOf(QApplication::focusWidget()) ||
                QApplication::focusWidget() == panel().view()->actionList());
    }

    void pointerPositionIsTakenWhenAsked() {
        m_selection = QStringLiteral("x");
        QSignalSpy shown(m_controller.get(), &PaletteController::shown);
        m_controller->toggle(std::chrono::milliseconds(300));
        const WindowHandle asked = platform().front.front;
        QCursor::setPos(100, 100); // moved while the menu closes
        platform().front.front = WindowHandle{99, 9, QStringLiteral("Menu")};
        QTRY_COMPARE(shown.count(), 1);
        QCOMPARE(panel().pos(), QPoint(500 - 24, 300 + 16));
        QCOMPARE(m_controller->targetApp(), asked);
        // The menu's delay comes before the capture's first step.
        QCOMPARE(platform().log.steps.mid(0, 3), (QStringList{"wait 300", "snapshot", "copy"}));
    }

    void twoQuickPressesOpenOnePalette() {
        m_selection = QStringLiteral("x");
        QSignalSpy shown(m_controller.get(), &PaletteController::shown);
        m_controller->toggle();
        m_controller->toggle();
        QTRY_COMPARE(shown.count(), 1);
        QVERIFY(m_controller->isVisible());
        // Closed and opened once more: a capture the second press had started
        // would have copied before this one.
        m_controller->close();
        m_controller->toggle();
        QTRY_COMPARE(shown.count(), 2);
        QCOMPARE(platform().keys.shortcuts.size(), 2);
        QVERIFY(m_controller->isVisible());
    }

    void pressingAgainWhileOpenCloses() {
        openWith(QStringLiteral("x"));
        type(Qt::Key_1);
        QPointer<FakeChatStream> run = m_world->streams.last();
        m_controller->toggle();
        QVERIFY(!m_controller->isVisible());
        QVERIFY(!run || run->aborted);
        QCOMPARE(platform().keys.shortcuts.size(), 1); // no new capture
    }

    void theHotKeyTypedIntoThePaletteClosesIt() {
        openWith(QStringLiteral("x"));
        type(Qt::Key_Space, Qt::ControlModifier | Qt::AltModifier);
        QVERIFY(!m_controller->isVisible());
    }

    void arrowsDigitsAndReturnInTheList() {
        openWith(QStringLiteral("x"));
        type(Qt::Key_Down);
        type(Qt::Key_Down);
        QCOMPARE(model().selectedIndex(), 2);
        type(Qt::Key_Up);
        QCOMPARE(model().selectedIndex(), 1);
        type(Qt::Key_Down);
        type(Qt::Key_Down);
        type(Qt::Key_Right); // "Change tone"
        QCOMPARE(model().tone(), QStringLiteral("Friendly"));
        type(Qt::Key_Left);
        QCOMPARE(model().tone(), QStringLiteral("Professional"));
        type(Qt::Key_Return);
        QCOMPARE(model().phase(), Phase::running);
        QCOMPARE(model().runTitle(), QStringLiteral("Change tone \u00B7 Professional"));
        type(Qt::Key_Backspace);
        QCOMPARE(model().phase(), Phase::choose);
        type(Qt::Key_7);
        QCOMPARE(model().selectedIndex(), 6);
        QCOMPARE(model().runTitle(), QStringLiteral("Bullet points"));
    }

    void keysNeverReachTheWidgets() {
        openWith(QStringLiteral("x"));
        KeySpy spy;
        const QList<QWidget*> widgets = panel().findChildren<QWidget*>();
        for (QWidget* widget : widgets)
            widget->installEventFilter(&spy);
        type(Qt::Key_A);
        type(Qt::Key_Down);
        type(Qt::Key_1);
        type(Qt::Key_X);
        QCOMPARE(spy.presses, 0);
        QCOMPARE(model().phase(), Phase::running);
        QVERIFY(m_controller->isVisible());
    }

    void ctrlCInTheListDoesNothing() {
        openWith(QStringLiteral("x"), QStringLiteral("user clipboard"));
        type(Qt::Key_C, Qt::ControlModifier);
        QVERIFY(m_controller->isVisible());
        QCOMPARE(platform().clipboardFake.plainText(), QStringLiteral("user clipboard"));
        QCOMPARE(model().phase(), Phase::choose);
    }

    void escapeDuringARunCancelsAndCloses() {
        openWith(QStringLiteral("x"));
        type(Qt::Key_2);
        QPointer<FakeChatStream> run = m_world->streams.last();
        type(Qt::Key_Escape);
        QVERIFY(!m_controller->isVisible());
        QVERIFY(!run || run->aborted);
        QVERIFY(!model().isRunning());
    }

    void returnReplacesTheSelection() {
        openWith(QStringLiteral("Selected words."), QStringLiteral("user clipboard"));
        runToDone(2, QStringLiteral("<think>hmm</think> Shorter. "));
        QSignalSpy finished(m_controller.get(), &PaletteController::replaceFinished);
        type(Qt::Key_Return);
        QVERIFY(!m_controller->isVisible());
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(platform().log.steps, (QStringList{"wait 120", "snapshot", "setText Shorter.",
                                                    "wait 40", "paste", "wait 450", "restore"}));
        QCOMPARE(platform().clipboardFake.plainText(), QStringLiteral("user clipboard"));
    }

    void enterOnTheKeypadReplacesToo() {
        openWith(QStringLiteral("Selected."));
        runToDone(1, QStringLiteral("Fixed."));
        QSignalSpy finished(m_controller.get(), &PaletteController::replaceFinished);
        QTest::keyClick(panel().windowHandle(), Qt::Key_Enter, Qt::KeypadModifier);
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(platform().log.count("setText Fixed."), 1);
    }

    void replaceReturnsToTheRememberedWindow() {
        openWith(QStringLiteral("Selected."));
        const WindowHandle target = m_controller->targetApp();
        runToDone(1, QStringLiteral("Fixed."));
        platform().front.front = WindowHandle{5, 55, QStringLiteral("Elsewhere")};
        QSignalSpy finished(m_controller.get(), &PaletteController::replaceFinished);
        type(Qt::Key_Return);
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(platform().front.activated, QList<WindowHandle>{target});
    }

    void returnDoesNothingWhileRunningOrForClipboardText() {
        openWith(QString(), QStringLiteral("clipboard text"));
        QCOMPARE(model().source(), SelectionSource::clipboard);
        type(Qt::Key_1);
        type(Qt::Key_Return); // running
        QVERIFY(m_controller->isVisible());
        m_world->streams.last()->sendPiece(QStringLiteral("Reply"));
        m_world->streams.last()->finish();
        type(Qt::Key_Return); // done, but from the clipboard
        QVERIFY(m_controller->isVisible());
        QCOMPARE(platform().log.count("paste"), 0);
        // Ctrl+C still copies, and closes.
        type(Qt::Key_C, Qt::ControlModifier);
        QVERIFY(!m_controller->isVisible());
        QCOMPARE(platform().clipboardFake.plainText(), QStringLiteral("Reply"));
    }

    void digitsAndLettersAfterARunDoNothing() {
        openWith(QStringLiteral("x"));
        runToDone(1, QStringLiteral("Reply"));
        type(Qt::Key_3);
        type(Qt::Key_Down);
        type(Qt::Key_C);
        QCOMPARE(model().phase(), Phase::done);
        QCOMPARE(model().runTitle(), QStringLiteral("Fix grammar"));
        QCOMPARE(m_world->streams.made.size(), 1);
        QVERIFY(m_controller->isVisible());
    }

    void ctrlRRetries() {
        openWith(QStringLiteral("x"));
        runToDone(4, QStringLiteral("Reply"));
        model().setTone(QStringLiteral("Casual"));
        type(Qt::Key_R, Qt::ControlModifier);
        QCOMPARE(m_world->streams.made.size(), 2);
        QCOMPARE(model().runTitle(), QStringLiteral("Change tone \u00B7 Casual"));
        QCOMPARE(model().phase(), Phase::running);
    }

    void withNoTextOnlyEscapeActs() {
        openWith(QString());
        QCOMPARE(model().source(), SelectionSource::none);
        type(Qt::Key_Down);
        type(Qt::Key_1);
        type(Qt::Key_Return);
        QCOMPARE(model().selectedIndex(), 0);
        QVERIFY(m_world->streams.made.isEmpty());
        QVERIFY(m_controller->isVisible());
        type(Qt::Key_Escape);
        QVERIFY(!m_controller->isVisible());
    }

    void theReplaceButtonReplaces() {
        openWith(QStringLiteral("Selected."));
        runToDone(1, QStringLiteral("Fixed."));
        QSignalSpy finished(m_controller.get(), &PaletteController::replaceFinished);
        QTest::mouseClick(panel().view()->resultPane()->replaceButton(), Qt::LeftButton);
        QVERIFY(!m_controller->isVisible());
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(platform().log.count("paste"), 1);
    }

    void aClickOutsideCloses() {
        QWidget other;
        other.setGeometry(20, 20, 200, 100);
        other.show();
        QVERIFY(QTest::qWaitForWindowExposed(&other));
        openWith(QStringLiteral("x"));
        type(Qt::Key_1);
        QPointer<FakeChatStream> run = m_world->streams.last();
        // A click inside the panel keeps it.
        QTest::mouseClick(panel().windowHandle(), Qt::LeftButton, {}, QPoint(200, 370));
        QVERIFY(m_controller->isVisible());
        // A click anywhere else closes it and cancels the run.
        QTest::mouseClick(panel().windowHandle(), Qt::LeftButton, {}, QPoint(-200, -200));
        QTRY_VERIFY(!m_controller->isVisible());
        QVERIFY(!run || run->aborted);
        // The next open works as usual.
        openWith(QStringLiteral("y"));
        type(Qt::Key_Down);
        QCOMPARE(model().selectedIndex(), 1);
    }
};

QTEST_MAIN(PaletteControllerTest)
#include "tst_palettecontroller.moc"
