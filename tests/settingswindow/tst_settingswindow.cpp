#include "LoopbackServer.h"
#include "fakes/FakePlatform.h"
#include "settings/AppSettings.h"
#include "settings/Keychain.h"
#include "settingswindow/ActionsTab.h"
#include "settingswindow/GeneralTab.h"
#include "settingswindow/ModelTab.h"
#include "settingswindow/SettingsRoot.h"
#include "settingswindow/SettingsTabs.h"
#include "settingswindow/SettingsUI.h"
#include "settingswindow/SettingsWindow.h"
#include "settingswindow/SettingsWindowController.h"
#include "settingswindow/SnippetsTab.h"

#include <QApplication>
#include <QLineEdit>
#include <QScreen>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>

// The one settings window of the process, through the controller the tray
// menu uses, over the shared settings and stores (in this test's own folders).
class TestSettingsWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void firstShowCreatesTheWindowCentred();
    void windowIsFixedAt700By520();
    void tabsInOrderWithTitlesAndSymbols();
    void showingAnotherTabReusesTheOpenWindow();
    void closingHidesAndTheNextShowBringsItBack();
    void clickingATabIsRemembered();

private:
    QWidget* window() const { return SettingsWindowController::shared().window(); }
    SettingsRoot* root() const { return static_cast<SettingsWindow*>(window())->root(); }
    static int settingsWindows();

    FakePlatform* m_platform = nullptr;
    LoopbackServer m_server;
};

void TestSettingsWindow::initTestCase() {
    Keychain::useMemoryStoreForTesting();
    auto platform = std::make_unique<FakePlatform>();
    m_platform = platform.get();
    Platform::install(std::move(platform));
    QVERIFY(m_server.listen());
    m_server.route("GET", "/api/tags",
                   ReplyPlan::text(200, "application/json", R"({"models":[{"name":"m"}]})"));
    AppSettings::shared().setOllamaURL(m_server.url());
}

void TestSettingsWindow::cleanupTestCase() {
    delete window();
}

int TestSettingsWindow::settingsWindows() {
    int count = 0;
    for (QWidget* widget : QApplication::topLevelWidgets())
        count += qobject_cast<SettingsWindow*>(widget) ? 1 : 0;
    return count;
}

void TestSettingsWindow::firstShowCreatesTheWindowCentred() {
    QVERIFY(!window());
    SettingsWindowController::shared().show(SettingsTab::model);
    QVERIFY(window());
    QVERIFY(QTest::qWaitForWindowExposed(window()));
    QCOMPARE(window()->windowTitle(), QStringLiteral("Wendle Settings"));
    QCOMPARE(m_platform->shellFake.activations, 1);
    QCOMPARE(SettingsUI::shared().tab(), SettingsTab::model);
    QCOMPARE(root()->currentTab(), SettingsTab::model);
    const QPoint centre = window()->screen()->availableGeometry().center();
    QVERIFY2((window()->frameGeometry().center() - centre).manhattanLength() <= 2,
             qPrintable(QStringLiteral("window at %1,%2")
                            .arg(window()->frameGeometry().center().x())
                            .arg(window()->frameGeometry().center().y())));
}

void TestSettingsWindow::windowIsFixedAt700By520() {
    QCOMPARE(window()->size(), QSize(700, 520));
    QCOMPARE(window()->minimumSize(), QSize(700, 520));
    QCOMPARE(window()->maximumSize(), QSize(700, 520));
    QVERIFY(!(window()->windowFlags() & Qt::WindowMaximizeButtonHint));
    QVERIFY(window()->windowFlags() & Qt::WindowCloseButtonHint);
    QVERIFY(window()->windowFlags() & Qt::WindowMinimizeButtonHint);
    QCOMPARE(root()->size(), QSize(700, 520));
    window()->resize(900, 700);
    QCOMPARE(window()->size(), QSize(700, 520));
}

void TestSettingsWindow::tabsInOrderWithTitlesAndSymbols() {
    QTabWidget* tabs = root()->tabs();
    QCOMPARE(tabs->count(), 4);
    const QStringList titles{"Model", "Actions", "Snippets", "General"};
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(tabs->tabText(i), titles.at(i));
        QVERIFY(!tabs->tabIcon(i).isNull());
        QCOMPARE(SettingsTabs::title(SettingsTabs::allCases().at(i)), titles.at(i));
    }
    QCOMPARE(tabs->widget(0), static_cast<QWidget*>(root()->modelTab()));
    QCOMPARE(tabs->widget(1), static_cast<QWidget*>(root()->actionsTab()));
    QCOMPARE(tabs->widget(2), static_cast<QWidget*>(root()->snippetsTab()));
    QCOMPARE(tabs->widget(3), static_cast<QWidget*>(root()->generalTab()));
}

void TestSettingsWindow::showingAnotherTabReusesTheOpenWindow() {
    QWidget* first = window();
    QVERIFY(first->isVisible());
    SettingsWindowController::shared().show(SettingsTab::snippets);
    QCOMPARE(window(), first);
    QCOMPARE(settingsWindows(), 1);
    QVERIFY(window()->isVisible());
    QCOMPARE(SettingsUI::shared().tab(), SettingsTab::snippets);
    QCOMPARE(root()->currentTab(), SettingsTab::snippets);
    QVERIFY(root()->snippetsTab()->isVisible());
    QCOMPARE(m_platform->shellFake.activations, 2);
}

void TestSettingsWindow::closingHidesAndTheNextShowBringsItBack() {
    QWidget* first = window();
    window()->move(100, 120);
    QTRY_COMPARE(window()->pos(), QPoint(100, 120));
    root()->snippetsTab()->setQuery(QStringLiteral("kept"));
    QVERIFY(window()->close());
    QVERIFY(window()); // hidden, not destroyed
    QVERIFY(!window()->isVisible());

    SettingsWindowController::shared().show(SettingsTab::general);
    QCOMPARE(window(), first);
    QCOMPARE(settingsWindows(), 1);
    QVERIFY(QTest::qWaitForWindowExposed(window()));
    QCOMPARE(window()->pos(), QPoint(100, 120)); // where it was, not centred again
    QCOMPARE(root()->currentTab(), SettingsTab::general);
    QCOMPARE(root()->snippetsTab()->query(), QStringLiteral("kept"));
}

void TestSettingsWindow::clickingATabIsRemembered() {
    QTabBar* bar = root()->tabs()->tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(1).center());
    QCOMPARE(root()->currentTab(), SettingsTab::actions);
    QCOMPARE(SettingsUI::shared().tab(), SettingsTab::actions);
    window()->close();
    SettingsWindowController::shared().show(SettingsTab::model);
    QCOMPARE(root()->currentTab(), SettingsTab::model);
    SettingsUI::shared().setTab(SettingsTab::snippets);
    QCOMPARE(root()->currentTab(), SettingsTab::snippets);
}

QTEST_MAIN(TestSettingsWindow)
#include "tst_settingswindow.moc"
