#include "LoopbackServer.h"
#include "SettingsFixture.h"
#include "settings/Keychain.h"
#include "settingswindow/ActionsTab.h"
#include "settingswindow/ModelTab.h"
#include "settingswindow/SettingsRoot.h"
#include "settingswindow/SettingsUI.h"
#include "settingswindow/SettingsWindow.h"
#include "settingswindow/SnippetsTab.h"
#include "settingswindow/ToggleSwitch.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QScreen>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTest>

#include <memory>

using namespace std::chrono_literals;

// Takes a picture of every tab in its main states into the build tree
// (screenshots/ beside this test), and checks on each that no text is cut
// off and nothing sticks out of the window.
class TestScreenshots : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void modelTabPerProvider_data();
    void modelTabPerProvider();
    void modelTabWhileListing();
    void actionsTab();
    void snippetsTab();
    void snippetsTabWarningsAndWaiting();
    void generalTab_data();
    void generalTab();

private:
    void build(PermissionService* permissions = nullptr);
    void show(SettingsTab tab);
    bool waitForListing(int count);
    // Saves what is on the screen where the window is (dialogs included)
    // and checks the window's layout.
    void shoot(const QString& name);
    static QStringList layoutProblems(QWidget* window);

    QDir m_folder;
    std::unique_ptr<SettingsFixture> m_fixture;
    std::unique_ptr<LoopbackServer> m_server;
    std::unique_ptr<SettingsUI> m_ui;
    std::unique_ptr<SettingsWindow> m_window;
    std::unique_ptr<QSignalSpy> m_listings;
};

void TestScreenshots::initTestCase() {
    Keychain::useMemoryStoreForTesting();
    m_folder.setPath(QStringLiteral(WENDLE_SCREENSHOTS));
    QVERIFY(m_folder.mkpath(QStringLiteral(".")));
}

void TestScreenshots::init() {
    QCoro::waitFor(Keychain::set(QString()));
    m_fixture = std::make_unique<SettingsFixture>();
    m_server = std::make_unique<LoopbackServer>();
    QVERIFY(m_server->listen());
    m_server->route("GET", "/api/tags", ReplyPlan::recorded("ollama_tags.txt"));
    m_server->route("GET", "/v1/models", ReplyPlan::recorded("lmstudio_models.txt"));
    m_server->route("GET", "/custom/v1/models",
                    ReplyPlan::recorded("openai_error_401_invalid_api_key.txt"));
    m_fixture->settings.setOllamaURL(m_server->url());
    m_fixture->settings.setLmStudioURL(m_server->url());
    m_fixture->settings.setCustomURL(m_server->url() + "/custom/v1/chat/completions");
    m_ui = std::make_unique<SettingsUI>();
}

void TestScreenshots::cleanup() {
    m_listings.reset();
    m_window.reset();
    m_ui.reset();
    m_server.reset();
    m_fixture.reset();
}

void TestScreenshots::build(PermissionService* permissions) {
    SettingsServices services = m_fixture->services();
    if (permissions)
        services.permissions = permissions;
    m_window = std::make_unique<SettingsWindow>(services, *m_ui);
    m_listings =
        std::make_unique<QSignalSpy>(m_window->root()->modelTab(), &ModelTab::listingApplied);
    m_window->move(40, 40);
}

void TestScreenshots::show(SettingsTab tab) {
    m_ui->setTab(tab);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
}

bool TestScreenshots::waitForListing(int count) {
    QDeadlineTimer deadline(10s);
    while (m_listings->count() < count && !deadline.hasExpired())
        m_listings->wait(100);
    return m_listings->count() >= count;
}

QStringList TestScreenshots::layoutProblems(QWidget* window) {
    QStringList problems;
    const QRect bounds = window->rect();
    for (QWidget* widget : window->findChildren<QWidget*>()) {
        if (!widget->isVisible() || widget->isWindow())
            continue;
        const QString name =
            QStringLiteral("%1 \"%2\"")
                .arg(QString::fromLatin1(widget->metaObject()->className()), widget->objectName());
        const QRect area(widget->mapTo(window, QPoint(0, 0)), widget->size());
        if (!bounds.contains(area))
            problems.append(name + QStringLiteral(" sticks out of the window"));
        if (auto* label = qobject_cast<QLabel*>(widget); label && !label->text().isEmpty()) {
            const bool cut = label->wordWrap()
                                 ? label->height() < label->heightForWidth(label->width())
                                 : label->width() < label->sizeHint().width();
            if (cut)
                problems.append(QStringLiteral("label cut off: ") + label->text().left(60));
        }
        if (auto* button = qobject_cast<QAbstractButton*>(widget);
            button && !button->text().isEmpty() && button->width() < button->sizeHint().width())
            problems.append(QStringLiteral("button cut off: ") + button->text());
    }
    return problems;
}

void TestScreenshots::shoot(const QString& name) {
    // Pending layout changes first, then a synchronous paint of everything,
    // so the picture shows the state the checks below look at.
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->isVisible())
            window->repaint();
    }
    const QRect frame = m_window->frameGeometry();
    const QPixmap picture =
        m_window->screen()->grabWindow(0, frame.x(), frame.y(), frame.width(), frame.height());
    const QString path = m_folder.filePath(name + QStringLiteral(".png"));
    QVERIFY(picture.save(path));
    qInfo("screenshot %s", qPrintable(path));
    const QStringList problems = layoutProblems(m_window.get());
    QVERIFY2(problems.isEmpty(), qPrintable(problems.join(QStringLiteral("; "))));
}

void TestScreenshots::modelTabPerProvider_data() {
    QTest::addColumn<Provider>("provider");
    QTest::addColumn<QString>("key");
    QTest::newRow("ollama") << Provider::ollama << QString();
    QTest::newRow("lmstudio") << Provider::lmstudio << QStringLiteral("sk-local");
    QTest::newRow("custom-error") << Provider::custom << QStringLiteral("sk-wrong");
    QTest::newRow("stopped") << Provider::ollama << QString();
}

void TestScreenshots::modelTabPerProvider() {
    QFETCH(Provider, provider);
    QFETCH(QString, key);
    QCoro::waitFor(Keychain::set(key));
    m_fixture->settings.setProvider(provider);
    if (QByteArray(QTest::currentDataTag()) == "stopped")
        m_fixture->settings.setOllamaURL(QStringLiteral("http://127.0.0.1:9"));
    build();
    show(SettingsTab::model);
    QVERIFY(waitForListing(1));
    QTRY_COMPARE(m_window->root()->modelTab()->findChild<QLineEdit*>("apiKey")->text(), key);
    shoot(QStringLiteral("model-") + QLatin1String(QTest::currentDataTag()));
}

void TestScreenshots::modelTabWhileListing() {
    // A server that takes the request and does not answer (yet).
    ReplyPlan silent;
    silent.mode = ReplyPlan::Mode::hold;
    m_server->route("GET", "/api/tags", silent);
    build();
    show(SettingsTab::model);
    QTRY_COMPARE(m_server->requestCount(), 1);
    QVERIFY(m_window->root()->modelTab()->isLoading());
    shoot(QStringLiteral("model-loading"));
}

void TestScreenshots::actionsTab() {
    build();
    show(SettingsTab::actions);
    shoot(QStringLiteral("actions-nothing-selected"));
    ActionsTab* tab = m_window->root()->actionsTab();
    tab->select(m_fixture->actions.actions().at(3).id); // "Change tone"
    shoot(QStringLiteral("actions-selected"));
    QList<WendleAction> actions = m_fixture->actions.actions();
    actions[1].name.clear();
    m_fixture->actions.setActions(actions);
    tab->select(actions.at(1).id);
    shoot(QStringLiteral("actions-untitled"));
    tab->askReset();
    QVERIFY(tab->resetQuestion());
    QVERIFY(QTest::qWaitForWindowExposed(tab->resetQuestion()));
    shoot(QStringLiteral("actions-reset-question"));
    tab->resetQuestion()->reject();
}

void TestScreenshots::snippetsTab() {
    m_fixture->engine.setEnabled(true); // permission granted: "Active"
    build();
    show(SettingsTab::snippets);
    shoot(QStringLiteral("snippets-nothing-selected"));
    SnippetsTab* tab = m_window->root()->snippetsTab();
    tab->select(m_fixture->snippets.snippets().at(0).id);
    // An import's message line.
    const QString file = m_fixture->folder.filePath(QStringLiteral("in.json"));
    QFile out(file);
    QVERIFY(out.open(QIODevice::WriteOnly));
    out.write(R"([{"abbreviation": ";tel", "expansion": "+1 555 0100"},
                  {"abbreviation": ";sig", "expansion": "Best regards,\nYour Name"}])");
    out.close();
    tab->importSnippets();
    QVERIFY(tab->fileDialog());
    QVERIFY(QTest::qWaitForWindowExposed(tab->fileDialog()));
    shoot(QStringLiteral("snippets-import-dialog"));
    auto* name = tab->fileDialog()->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    QVERIFY(name);
    name->setText(file); // typed, the completion list could take the Return key
    QTest::keyClick(name, Qt::Key_Return);
    QTRY_VERIFY(!tab->message().isEmpty());
    shoot(QStringLiteral("snippets-selected-imported"));
    tab->setQuery(QStringLiteral("SIG"));
    shoot(QStringLiteral("snippets-search"));
}

void TestScreenshots::snippetsTabWarningsAndWaiting() {
    m_fixture->platform.permissionsFake.inputMonitoring = false;
    m_fixture->engine.setPermissionPrompt(PendingQuestion::answeredAtOnce(true));
    build();
    show(SettingsTab::snippets);
    QTest::mouseClick(m_window->findChild<ToggleSwitch*>(QStringLiteral("expand")), Qt::LeftButton);
    SnippetsTab* tab = m_window->root()->snippetsTab();
    tab->add();
    auto* abbreviation = m_window->findChild<QLineEdit*>(QStringLiteral("abbreviation"));
    abbreviation->selectAll();
    QTest::keyClick(abbreviation, ';');
    shoot(QStringLiteral("snippets-short-warning-waiting"));
    QTest::keyClicks(abbreviation, QStringLiteral("sig"));
    shoot(QStringLiteral("snippets-duplicate-warning"));
}

void TestScreenshots::generalTab_data() {
    QTest::addColumn<bool>("panes");
    QTest::addColumn<bool>("granted");
    QTest::newRow("x11") << false << true;
    QTest::newRow("granted-with-buttons") << true << true;
    QTest::newRow("not-granted") << true << false;
}

void TestScreenshots::generalTab() {
    QFETCH(bool, panes);
    QFETCH(bool, granted);
    PanelessPermissions x11;
    FakePermissions& fake = m_fixture->platform.permissionsFake;
    fake.accessibility = fake.inputMonitoring = granted;
    build(panes ? static_cast<PermissionService*>(&fake) : &x11);
    show(SettingsTab::general);
    shoot(QStringLiteral("general-") + QLatin1String(QTest::currentDataTag()));
    m_window.reset();
}

QTEST_MAIN(TestScreenshots)
#include "tst_screenshots.moc"
