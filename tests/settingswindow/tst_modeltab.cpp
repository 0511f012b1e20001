#include "LoopbackServer.h"
#include "SettingsFixture.h"
#include "llm/LLMClient.h"
#include "settings/Keychain.h"
#include "settingswindow/ModelTab.h"
#include "settingswindow/SegmentedControl.h"
#include "settingswindow/SettingsStyle.h"
#include "texts/Texts.h"
#include "widgets/Spinner.h"

#include <QAbstractButton>
#include <QCoroTask>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace std::chrono_literals;

namespace {

ReplyPlan plan(const char* vectorName) {
    return ReplyPlan::recorded(QLatin1String(vectorName));
}

ReplyPlan json(const QByteArray& body) {
    return ReplyPlan::text(200, "application/json", body);
}

QString noServerText(const QString& address) {
    return QStringLiteral("No model server is running at ") + address +
           QStringLiteral(". Start Ollama or LM Studio (or check the server address in Settings "
                          "\u2192 Model), then press Retry.");
}

} // namespace

class TestModelTab : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { Keychain::useMemoryStoreForTesting(); }
    void init();
    void cleanup();

    void emptyModelIsFilledWithTheFirstListed();
    void typedModelIsNeverReplaced();
    void serverWithoutModels();
    void twoModelsAndChoosingOne();
    void stoppedServerShowsItsTextInRed();
    void failureEmptiesTheModelMenu();
    void keyFieldHiddenForOllamaAndKeyKept();
    void keyEditsAreStoredAsTyped();
    void providerChangeClearsAndListsAgain();
    void overlappingListingsApplyInCompletionOrder();
    void refreshIsDisabledWhileLoading();
    void showingTheTabRefreshes();
    void addressSectionFollowsTheProvider();
    void urlEditsAreSavedAndDoNotList();

private:
    // Builds and shows the tab and waits for the listing that showing starts.
    bool showTab();
    bool waitForListing(int count = 1);
    template <typename T>
    T* child(const char* name) const {
        return m_tab->findChild<T*>(QLatin1String(name));
    }
    bool rowVisible(const char* fieldName) const;

    std::unique_ptr<SettingsFixture> m_fixture;
    std::unique_ptr<LoopbackServer> m_ollama;
    std::unique_ptr<LoopbackServer> m_lmStudio;
    std::unique_ptr<ModelTab> m_tab;
    std::unique_ptr<QSignalSpy> m_applied;
};

void TestModelTab::init() {
    QCoro::waitFor(Keychain::set(QString()));
    m_fixture = std::make_unique<SettingsFixture>();
    m_ollama = std::make_unique<LoopbackServer>();
    m_lmStudio = std::make_unique<LoopbackServer>();
    QVERIFY(m_ollama->listen());
    QVERIFY(m_lmStudio->listen());
    m_ollama->route("GET", "/api/tags", plan("ollama_tags.txt"));
    m_lmStudio->route("GET", "/v1/models", plan("lmstudio_models.txt"));
    m_fixture->settings.setOllamaURL(m_ollama->url());
    m_fixture->settings.setLmStudioURL(m_lmStudio->url());
}

void TestModelTab::cleanup() {
    m_applied.reset();
    m_tab.reset();
    m_ollama.reset();
    m_lmStudio.reset();
    m_fixture.reset();
}

bool TestModelTab::showTab() {
    m_tab = std::make_unique<ModelTab>(m_fixture->settings);
    m_applied = std::make_unique<QSignalSpy>(m_tab.get(), &ModelTab::listingApplied);
    m_tab->resize(660, 460);
    m_tab->show();
    return waitForListing();
}

bool TestModelTab::waitForListing(int count) {
    QDeadlineTimer deadline(5s);
    while (m_applied->count() < count && !deadline.hasExpired())
        m_applied->wait(int(qMax<qint64>(1, deadline.remainingTime())));
    return m_applied->count() >= count;
}

bool TestModelTab::rowVisible(const char* fieldName) const {
    QWidget* field = child<QWidget>(fieldName);
    // The field sits in a box with its note; the box is the form's field.
    return field && field->parentWidget()->isVisibleTo(m_tab.get());
}

void TestModelTab::emptyModelIsFilledWithTheFirstListed() {
    QVERIFY(m_fixture->settings.ollamaModel().isEmpty());
    QVERIFY(showTab());
    QCOMPARE(m_tab->models(), (QStringList{"qwen3:8b", "gpt-oss:120b-cloud", "llama3.2:latest"}));
    QCOMPARE(m_tab->status(), QStringLiteral("Connected. 3 model(s) available."));
    QVERIFY(!m_tab->statusIsError());
    QCOMPARE(m_fixture->settings.ollamaModel(), QStringLiteral("qwen3:8b"));
    QCOMPARE(m_fixture->preferences.value("ollamaModel").toString(), QStringLiteral("qwen3:8b"));
    QCOMPARE(child<QLineEdit>("model")->text(), QStringLiteral("qwen3:8b"));
    // The other providers' models are left alone.
    QVERIFY(m_fixture->settings.lmStudioModel().isEmpty());
}

void TestModelTab::typedModelIsNeverReplaced() {
    m_fixture->settings.setOllamaModel(QStringLiteral("not-on-the-server"));
    QVERIFY(showTab());
    QCOMPARE(m_fixture->settings.ollamaModel(), QStringLiteral("not-on-the-server"));

    // Typed in the field this time, then listed again.
    QLineEdit* model = child<QLineEdit>("model");
    model->selectAll();
    QTest::keyClicks(model, QStringLiteral("mine"));
    QCOMPARE(m_fixture->settings.ollamaModel(), QStringLiteral("mine"));
    m_tab->refresh();
    QVERIFY(waitForListing(2));
    QCOMPARE(m_tab->status(), QStringLiteral("Connected. 3 model(s) available."));
    QCOMPARE(m_fixture->settings.ollamaModel(), QStringLiteral("mine"));
    QCOMPARE(model->text(), QStringLiteral("mine"));
}

void TestModelTab::serverWithoutModels() {
    m_ollama->route("GET", "/api/tags", plan("ollama_tags_empty.txt"));
    QVERIFY(showTab());
    QVERIFY(m_tab->models().isEmpty());
    QCOMPARE(m_tab->status(), QStringLiteral("Connected, but the server lists no models."));
    QVERIFY(!m_tab->statusIsError());
    auto* status = child<QLabel>("status");
    QVERIFY(status->isVisible());
    QCOMPARE(status->text(), m_tab->status());
    QCOMPARE(status->palette().color(QPalette::WindowText), SettingsStyle::green(m_tab->palette()));
    QVERIFY(!child<QPushButton>("choose")->isEnabled());
    QVERIFY(m_fixture->settings.ollamaModel().isEmpty());
}

void TestModelTab::twoModelsAndChoosingOne() {
    m_fixture->settings.setProvider(Provider::lmstudio);
    m_lmStudio->route("GET", "/v1/models",
                      json(R"({"data":[{"id":"small & fast"},{"id":"big"}],"object":"list"})"));
    QVERIFY(showTab());
    QCOMPARE(m_tab->status(), QStringLiteral("Connected. 2 model(s) available."));
    QCOMPARE(m_fixture->settings.lmStudioModel(), QStringLiteral("small & fast"));

    auto* choose = child<QPushButton>("choose");
    QVERIFY(choose->isEnabled());
    const QList<QAction*> entries = choose->menu()->actions();
    QCOMPARE(entries.size(), 2);
    QCOMPARE(entries.at(0)->text(), QStringLiteral("small && fast")); // shown with its "&"
    QCOMPARE(entries.at(1)->text(), QStringLiteral("big"));
    entries.at(1)->trigger();
    QCOMPARE(m_fixture->settings.lmStudioModel(), QStringLiteral("big"));
    QCOMPARE(m_fixture->preferences.value("lmStudioModel").toString(), QStringLiteral("big"));
    QCOMPARE(child<QLineEdit>("model")->text(), QStringLiteral("big"));
    QVERIFY(m_fixture->settings.ollamaModel().isEmpty());
}

void TestModelTab::stoppedServerShowsItsTextInRed() {
    const quint16 port = m_ollama->port();
    m_ollama.reset(); // nothing listens there any more
    QVERIFY(showTab());
    QCOMPARE(m_tab->status(), noServerText(QStringLiteral("127.0.0.1:%1").arg(port)));
    QVERIFY(m_tab->statusIsError());
    auto* status = child<QLabel>("status");
    QVERIFY(status->isVisible());
    QCOMPARE(status->text(), m_tab->status());
    QCOMPARE(status->palette().color(QPalette::WindowText), SettingsStyle::red(m_tab->palette()));
    QVERIFY(!child<QPushButton>("choose")->isEnabled());
}

void TestModelTab::failureEmptiesTheModelMenu() {
    QVERIFY(showTab());
    QCOMPARE(child<QPushButton>("choose")->menu()->actions().size(), 3);
    m_ollama->route("GET", "/api/tags", plan("openai_error_500_server_error.txt"));
    QTest::mouseClick(child<QPushButton>("refresh"), Qt::LeftButton);
    QVERIFY(waitForListing(2));
    QVERIFY(m_tab->statusIsError());
    QVERIFY(m_tab->status().startsWith(
        QStringLiteral("The model server returned an error (HTTP 500)")));
    QVERIFY(m_tab->models().isEmpty());
    QVERIFY(child<QPushButton>("choose")->menu()->actions().isEmpty());
    QVERIFY(!child<QPushButton>("choose")->isEnabled());
    // The chosen model stays chosen.
    QCOMPARE(m_fixture->settings.ollamaModel(), QStringLiteral("qwen3:8b"));
}

void TestModelTab::keyFieldHiddenForOllamaAndKeyKept() {
    QCoro::waitFor(Keychain::set(QStringLiteral("sk-kept")));
    m_fixture->settings.setProvider(Provider::lmstudio);
    QVERIFY(showTab());
    auto* key = child<QLineEdit>("apiKey");
    QCOMPARE(key->echoMode(), QLineEdit::Password);
    QTRY_COMPARE(key->text(), QStringLiteral("sk-kept"));
    QVERIFY(rowVisible("apiKey"));

    auto* picker = child<SegmentedControl>("provider");
    QTest::mouseClick(picker->segment(0), Qt::LeftButton); // Ollama
    QCOMPARE(m_fixture->settings.provider(), Provider::ollama);
    QVERIFY(!rowVisible("apiKey"));
    QCOMPARE(QCoro::waitFor(Keychain::get()), QStringLiteral("sk-kept"));

    QTest::mouseClick(picker->segment(2), Qt::LeftButton); // Other (OpenAI-compatible)
    QCOMPARE(m_fixture->settings.provider(), Provider::custom);
    QVERIFY(rowVisible("apiKey"));
    QCOMPARE(key->text(), QStringLiteral("sk-kept"));
}

void TestModelTab::keyEditsAreStoredAsTyped() {
    m_fixture->settings.setProvider(Provider::custom);
    QVERIFY(showTab());
    auto* key = child<QLineEdit>("apiKey");
    QTest::keyClicks(key, QStringLiteral(" sk-1 "));
    QCOMPARE(QCoro::waitFor(Keychain::get()), QStringLiteral(" sk-1 ")); // no trimming
    key->selectAll();
    QTest::keyClick(key, Qt::Key_Backspace);
    QCOMPARE(QCoro::waitFor(Keychain::get()), QString());
}

void TestModelTab::providerChangeClearsAndListsAgain() {
    QVERIFY(showTab());
    QCOMPARE(m_tab->models().size(), 3);
    // A slow LM Studio, so that the moment in between can be seen.
    ReplyPlan slow = plan("lmstudio_models.txt");
    slow.split = ReplyPlan::Split::lines;
    slow.delay = 20ms;
    m_lmStudio->route("GET", "/v1/models", slow);

    QTest::mouseClick(child<SegmentedControl>("provider")->segment(1), Qt::LeftButton);
    QCOMPARE(m_fixture->settings.provider(), Provider::lmstudio);
    QCOMPARE(m_fixture->preferences.value("provider").toString(), QStringLiteral("lmstudio"));
    QVERIFY(m_tab->isLoading());
    QVERIFY(m_tab->models().isEmpty());
    QVERIFY(m_tab->status().isEmpty());
    QVERIFY(child<Spinner>("progress")->isVisible());
    QVERIFY(!child<QLabel>("status")->isVisible());
    QVERIFY(!child<QPushButton>("choose")->isEnabled());

    QVERIFY(waitForListing(2));
    QCOMPARE(m_lmStudio->requestCount(), 1);
    QCOMPARE(m_tab->models(), (QStringList{"qwen2.5-7b-instruct", "deepseek-r1-distill-qwen-7b",
                                           "text-embedding-nomic-embed-text-v1.5"}));
    QCOMPARE(m_fixture->settings.lmStudioModel(), QStringLiteral("qwen2.5-7b-instruct"));
    QCOMPARE(child<QLineEdit>("model")->text(), QStringLiteral("qwen2.5-7b-instruct"));
    // Clicking the provider that is already chosen starts nothing.
    QTest::mouseClick(child<SegmentedControl>("provider")->segment(1), Qt::LeftButton);
    QVERIFY(!m_tab->isLoading());
}

void TestModelTab::overlappingListingsApplyInCompletionOrder() {
    // Ollama answers slowly with two models, LM Studio at once with three.
    ReplyPlan slow =
        json("{\n\"models\": [\n{\"name\": \"first\"},\n{\"name\": \"second\"}\n]\n}\n");
    slow.split = ReplyPlan::Split::lines;
    slow.delay = 150ms;
    m_ollama->route("GET", "/api/tags", slow);
    m_tab = std::make_unique<ModelTab>(m_fixture->settings);
    m_applied = std::make_unique<QSignalSpy>(m_tab.get(), &ModelTab::listingApplied);
    m_tab->show(); // starts the slow Ollama listing
    QTRY_COMPARE(m_ollama->requestCount(), 1);
    QTest::mouseClick(child<SegmentedControl>("provider")->segment(1), Qt::LeftButton);

    QVERIFY(waitForListing(1));
    QCOMPARE(m_tab->models().size(), 3); // LM Studio's, which ended first
    QCOMPARE(m_fixture->settings.lmStudioModel(), QStringLiteral("qwen2.5-7b-instruct"));
    QVERIFY(waitForListing(2));
    // Then Ollama's, applied when it ended, although LM Studio is chosen now.
    QCOMPARE(m_tab->models(), (QStringList{"first", "second"}));
    QCOMPARE(m_tab->status(), QStringLiteral("Connected. 2 model(s) available."));
    QVERIFY(!m_tab->isLoading());
    // The current model (LM Studio's) was set, so nothing is filled in.
    QCOMPARE(m_fixture->settings.lmStudioModel(), QStringLiteral("qwen2.5-7b-instruct"));
    QVERIFY(m_fixture->settings.ollamaModel().isEmpty());
}

void TestModelTab::refreshIsDisabledWhileLoading() {
    QVERIFY(showTab());
    ReplyPlan slow = plan("ollama_tags_empty.txt");
    slow.split = ReplyPlan::Split::bytes;
    slow.delay = 20ms;
    m_ollama->route("GET", "/api/tags", slow);
    auto* refresh = child<QPushButton>("refresh");
    QVERIFY(refresh->isEnabled());
    QTest::mouseClick(refresh, Qt::LeftButton);
    QVERIFY(m_tab->isLoading());
    QVERIFY(!refresh->isEnabled());
    QVERIFY(child<Spinner>("progress")->isVisible());
    QVERIFY(!child<QLabel>("status")->isVisible());
    QTest::mouseClick(refresh, Qt::LeftButton); // ignored while disabled
    QVERIFY(waitForListing(2));
    QCOMPARE(m_ollama->requestCount(), 2);
    QVERIFY(refresh->isEnabled());
    QVERIFY(!child<Spinner>("progress")->isVisible());
    QCOMPARE(m_tab->status(), QStringLiteral("Connected, but the server lists no models."));
}

void TestModelTab::showingTheTabRefreshes() {
    QVERIFY(showTab());
    QCOMPARE(m_ollama->requestCount(), 1);
    m_tab->hide();
    m_tab->show();
    QVERIFY(waitForListing(2));
    QCOMPARE(m_ollama->requestCount(), 2);
}

void TestModelTab::addressSectionFollowsTheProvider() {
    QVERIFY(showTab());
    // The title of a field's row names the box that holds the field and its note.
    const auto labelOf = [&](const char* field) {
        for (QLabel* label : m_tab->findChildren<QLabel*>()) {
            if (label->buddy() && label->buddy() == child<QWidget>(field)->parentWidget())
                return label->text();
        }
        return QString();
    };
    QCOMPARE(labelOf("ollamaURL"), QStringLiteral("Server URL"));
    QCOMPARE(labelOf("lmStudioURL"), QStringLiteral("Server URL"));
    QCOMPARE(labelOf("customURL"), QStringLiteral("Chat completions URL"));
    QCOMPARE(labelOf("apiKey"), QStringLiteral("API key (optional)"));

    const auto notes = [&] {
        QStringList texts;
        for (QLabel* label : m_tab->findChildren<QLabel*>()) {
            if (label->isVisibleTo(m_tab.get()))
                texts.append(label->text());
        }
        return texts;
    };
    QVERIFY(rowVisible("ollamaURL") && !rowVisible("lmStudioURL") && !rowVisible("customURL"));
    QVERIFY(notes().contains(QStringLiteral(
        "Requests go to /api/chat on this server. Installed models are listed from /api/tags.")));
    QCOMPARE(child<QLineEdit>("ollamaURL")->text(), m_ollama->url());

    m_fixture->settings.setProvider(Provider::lmstudio);
    QVERIFY(!rowVisible("ollamaURL") && rowVisible("lmStudioURL") && !rowVisible("customURL"));
    QVERIFY(
        notes().contains(QStringLiteral("Requests go to /v1/chat/completions "
                                        "(OpenAI-compatible). Load a model in LM Studio first.")));
    QVERIFY(notes().contains(Texts::apiKeyNote()));

    m_fixture->settings.setProvider(Provider::custom);
    QVERIFY(!rowVisible("ollamaURL") && !rowVisible("lmStudioURL") && rowVisible("customURL"));
    QVERIFY(notes().contains(QStringLiteral("Full endpoint of any OpenAI-compatible server, for "
                                            "example http://localhost:8080/v1/chat/completions.")));
    QCOMPARE(child<QLineEdit>("customURL")->text(),
             QStringLiteral("https://api.openai.com/v1/chat/completions"));
    QVERIFY(notes().contains(Texts::modelPrivacyNote()));
}

void TestModelTab::urlEditsAreSavedAndDoNotList() {
    QVERIFY(showTab());
    auto* url = child<QLineEdit>("ollamaURL");
    url->selectAll();
    QTest::keyClicks(url, QStringLiteral("http://127.0.0.1:9"));
    QCOMPARE(m_fixture->settings.ollamaURL(), QStringLiteral("http://127.0.0.1:9"));
    QCOMPARE(m_fixture->preferences.value("ollamaURL").toString(),
             QStringLiteral("http://127.0.0.1:9"));
    // A listing marks the tab as loading the moment it starts.
    QVERIFY(!m_tab->isLoading());
    QVERIFY(child<QPushButton>("refresh")->isEnabled());
    QCOMPARE(m_ollama->requestCount(), 1);
}

QTEST_MAIN(TestModelTab)
#include "tst_modeltab.moc"
