#include "PaletteTestWorld.h"

#include "capture/SelectionCapture.h"
#include "llm/LLMError.h"
#include "palette/PaletteActionList.h"
#include "palette/PaletteActionRow.h"
#include "palette/PaletteController.h"
#include "palette/PalettePanel.h"
#include "palette/PaletteStyle.h"
#include "palette/PaletteView.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QCursor>
#include <QDir>
#include <QGuiApplication>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

using Phase = PaletteModel::Phase;

// Shows the real panel in every state on a virtual display and saves what
// the screen shows, for a person to look at; checks that each state is on
// screen where it belongs.
class PaletteScreenshots : public QObject {
    Q_OBJECT
private:
    PaletteTestWorld m_world;
    std::unique_ptr<PaletteController> m_controller;
    QDir m_folder{QStringLiteral(WENDLE_SCREENSHOTS)};

    // Opens the palette on `text` from `source` with the pointer at `pointer`.
    void open(const QString& text, const QString& clipboard, QPoint pointer = QPoint(300, 120)) {
        if (m_controller->isVisible())
            m_controller->close();
        RecordingPlatform& platform = m_world.platform;
        platform.clipboardFake.setText(clipboard);
        platform.keys.onShortcut = [&platform, text](KeySender::Shortcut shortcut) {
            if (shortcut == KeySender::Shortcut::copy && !text.isEmpty())
                platform.clipboardFake.setText(text);
        };
        QCursor::setPos(pointer);
        QSignalSpy shown(m_controller.get(), &PaletteController::shown);
        m_controller->toggle();
        QTRY_COMPARE(shown.count(), 1);
        QTRY_VERIFY(m_controller->panel().isVisible());
    }

    // True when the screen shows each of `windows` (bottom to top) as it
    // draws itself now, wherever no window above covers it. Only the inside
    // of each window counts: the panel's rounded, half-transparent edge is
    // drawn differently without a compositing manager.
    static bool onScreen(const QList<QWidget*>& windows) {
        QScreen* screen = QGuiApplication::primaryScreen();
        QRegion covered;
        for (auto window = windows.rbegin(); window != windows.rend(); ++window) {
            const QRect frame((*window)->mapToGlobal(QPoint(0, 0)), (*window)->size());
            const QImage drawn = (*window)->grab().toImage().convertToFormat(QImage::Format_RGB32);
            const QImage shown =
                screen->grabWindow(0, frame.x(), frame.y(), frame.width(), frame.height())
                    .toImage()
                    .convertToFormat(QImage::Format_RGB32);
            if (drawn.size() != frame.size() || shown.size() != frame.size())
                return false;
            const QRegion compared = QRegion(frame.adjusted(12, 12, -12, -12)).subtracted(covered);
            for (const QRect& part : compared) {
                for (int y = part.top(); y <= part.bottom(); ++y) {
                    for (int x = part.left(); x <= part.right(); ++x) {
                        const QPoint at = QPoint(x, y) - frame.topLeft();
                        if (drawn.pixel(at) != shown.pixel(at))
                            return false;
                    }
                }
            }
            covered += frame;
        }
        return true;
    }

    // Saves the panel's screen area, grown by `extra` on the right and bottom
    // for menus that reach beyond it, once the screen shows the panel and an
    // open menu as they are now.
    QImage shoot(const QString& name, QSize extra = QSize(0, 0)) {
        QList<QWidget*> windows{&m_controller->panel()};
        if (QWidget* menu = QApplication::activePopupWidget(); menu && menu != windows.first())
            windows.append(menu);
        if (!QTest::qWaitFor([&] { return onScreen(windows); }, 5000))
            QTest::qFail("the screen does not show the palette as drawn", __FILE__, __LINE__);
        const QRect area = m_controller->panel().frameGeometry().adjusted(
            -10, -10, 10 + extra.width(), 10 + extra.height());
        const QImage image = QGuiApplication::primaryScreen()
                                 ->grabWindow(0, area.x(), area.y(), area.width(), area.height())
                                 .toImage();
        image.save(m_folder.filePath(name + QStringLiteral(".png")));
        return image;
    }

    PaletteView& view() { return *m_controller->panel().view(); }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_folder.mkpath(QStringLiteral(".")));
        m_world.store.setActions(WendleAction::defaults());
        m_controller = std::make_unique<PaletteController>(
            m_world.platform, m_world.store, *m_world.preferences, m_world.streams.factory(),
            recordingDelay(m_world.platform.log));
    }

    void list() {
        open(QStringLiteral("Their going to the park tomorow, weather permitting, and they will "
                            "bring there dog along because it loves to run on the grass."),
             QString());
        const QImage image = shoot(QStringLiteral("01-list"));
        const QRect frame = m_controller->panel().frameGeometry();
        // Below and left of the pointer.
        QCOMPARE(frame.topLeft(), QPoint(300 - 24, 120 + 16));
        // The first row is highlighted in the accent colour.
        const PaletteActionRow* first = view().actionList()->rows().at(0);
        const QPoint inRow = first->mapTo(&m_controller->panel(), QPoint(4, first->height() / 2));
        QCOMPARE(image.pixelColor(inRow + QPoint(10, 10)).name(), PaletteStyle::accent().name());
    }

    void toneMenuOpen() {
        m_controller->model().move(+3); // "Change tone"
        PaletteActionRow* row = view().actionList()->rows().at(3);
        QVERIFY(row->options());
        row->options()->showPopup();
        QTRY_VERIFY(row->options()->view()->isVisible());
        shoot(QStringLiteral("02-list-tone-menu"), QSize(60, 80));
        row->options()->hidePopup();
        QTRY_VERIFY(!row->options()->view()->isVisible());
    }

    void translateMenuOpen() {
        m_controller->model().move(+1); // "Translate"
        PaletteActionRow* row = view().actionList()->rows().at(4);
        QVERIFY(row->options());
        row->options()->showPopup();
        QTRY_VERIFY(row->options()->view()->isVisible());
        shoot(QStringLiteral("03-list-translate-menu"), QSize(60, 300));
        row->options()->hidePopup();
        QTRY_VERIFY(!row->options()->view()->isVisible());
    }

    void running() {
        m_controller->model().pick(2);
        m_world.streams.last()->sendPiece(QStringLiteral("They're going to the park"));
        QCOMPARE(m_controller->model().phase(), Phase::running);
        shoot(QStringLiteral("04-running"));
    }

    void done() {
        m_world.streams.last()->sendPiece(
            QStringLiteral(" tomorrow, weather permitting, with their dog."));
        m_world.streams.last()->finish();
        QCOMPARE(m_controller->model().phase(), Phase::done);
        shoot(QStringLiteral("05-done"));
    }

    void failed() {
        m_controller->model().retry();
        m_world.streams.last()->fail(LLMError::noServer(QStringLiteral("localhost:11434")));
        QCOMPARE(m_controller->model().phase(), Phase::failed);
        shoot(QStringLiteral("06-failed"));
    }

    void emptyState() {
        open(QString(), QString());
        QCOMPARE(m_controller->model().source(), SelectionSource::none);
        shoot(QStringLiteral("07-empty"));
    }

    void clipboardNote() {
        open(QString(), QStringLiteral("Text that was on the clipboard already."));
        QCOMPARE(m_controller->model().source(), SelectionSource::clipboard);
        shoot(QStringLiteral("08-clipboard-note"));
    }

    void clipboardResult() {
        m_controller->model().pick(1);
        m_world.streams.last()->sendPiece(QStringLiteral("Text that was on the clipboard."));
        m_world.streams.last()->finish();
        shoot(QStringLiteral("09-clipboard-done"));
    }

    void nearTheBottomRightCorner() {
        const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
        const QPoint pointer = screen.bottomRight() - QPoint(5, 5);
        open(QStringLiteral("Short."), QString(), pointer);
        const QRect frame = m_controller->panel().frameGeometry();
        // 8 pixels from the right edge, and above the pointer with its bottom
        // edge 16 pixels above it.
        QCOMPARE(frame.right() + 1, screen.right() + 1 - 8);
        QCOMPARE(frame.bottom() + 1, pointer.y() - 16);
        m_controller->close();
    }
};

QTEST_MAIN(PaletteScreenshots)
#include "tst_palette_screenshots.moc"
