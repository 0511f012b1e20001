#include "app/TrayMenu.h"

#include "fakes/FakePlatform.h"
#include "palette/PaletteController.h"
#include "settingswindow/SettingsUI.h"
#include "settingswindow/SettingsWindowController.h"
#include "texts/Texts.h"

#include <QAction>
#include <QMenu>
#include <QSignalSpy>
#include <QSystemTrayIcon>
#include <QTest>

namespace {
FakePlatform* fakes = nullptr;

QAction* entry(QMenu& menu, const QString& title) {
    for (QAction* action : menu.actions()) {
        if (action->text() == title)
            return action;
    }
    return nullptr;
}
} // namespace

class TrayMenuTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() {
        auto platform = std::make_unique<FakePlatform>();
        fakes = platform.get();
        Platform::install(std::move(platform));
    }

    void theEntriesInOrder() {
        TrayMenu tray;
        QStringList titles;
        for (QAction* action : tray.menu().actions()) {
            titles.append(action->isSeparator() ? QStringLiteral("-") : action->text());
            QVERIFY(action->shortcut().isEmpty());
        }
        QCOMPARE(titles,
                 (QStringList{Texts::menuOpenPalette(), "-", "Actions\u2026", "Snippets\u2026",
                              "Settings\u2026", "Permissions\u2026", "-", "Quit Wendle"}));
        QCOMPARE(Texts::menuOpenPalette(), QStringLiteral("Wendle Selection (Ctrl+Alt+Space)"));
        QVERIFY(!tray.icon().icon().isNull());
        QCOMPARE(tray.icon().contextMenu(), &tray.menu());
    }

    void theSettingsEntriesOpenTheirTabs() {
        TrayMenu tray;
        const QList<std::pair<QString, SettingsTab>> expected{
            {"Actions\u2026", SettingsTab::actions},
            {"Snippets\u2026", SettingsTab::snippets},
            {"Settings\u2026", SettingsTab::model},
            {"Permissions\u2026", SettingsTab::general}};
        for (const auto& [title, tab] : expected) {
            QAction* action = entry(tray.menu(), title);
            QVERIFY(action);
            action->trigger();
            QCOMPARE(SettingsUI::shared().tab(), tab);
            QVERIFY(SettingsWindowController::shared().window());
            QTRY_VERIFY(SettingsWindowController::shared().window()->isVisible());
        }
        SettingsWindowController::shared().window()->close();
    }

    void quitIsLeftToTheApplication() {
        // The application first sees to the clipboard it serves, then quits.
        TrayMenu tray;
        QSignalSpy quit(&tray, &TrayMenu::quitRequested);
        entry(tray.menu(), QStringLiteral("Quit Wendle"))->trigger();
        QCOMPARE(quit.count(), 1);
    }

    void theFirstEntryOpensThePaletteAfterTheMenuHasClosed() {
        TrayMenu tray;
        fakes->keys.onShortcut = [](KeySender::Shortcut shortcut) {
            if (shortcut == KeySender::Shortcut::copy)
                fakes->clipboardFake.setText(QStringLiteral("selected"));
        };
        PaletteController& palette = PaletteController::shared();
        QSignalSpy shown(&palette, &PaletteController::shown);
        QElapsedTimer clock;
        clock.start();
        entry(tray.menu(), Texts::menuOpenPalette())->trigger();
        QVERIFY(palette.isBusy());
        QVERIFY(fakes->keys.shortcuts.isEmpty());
        QTRY_COMPARE(shown.count(), 1);
        QVERIFY(clock.elapsed() >= 300);
        QCOMPARE(palette.model().selectedText(), QStringLiteral("selected"));
        palette.close();
    }
};

QTEST_MAIN(TrayMenuTest)
#include "tst_traymenu.moc"
