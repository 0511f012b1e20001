#include "LoopbackServer.h"
#include "SettingsFixture.h"
#include "settings/Keychain.h"
#include "settingswindow/ModelTab.h"
#include "settingswindow/SegmentedControl.h"

#include <QAbstractButton>
#include <QCoroTask>
#include <QLineEdit>
#include <QProcess>
#include <QTest>

#include <memory>
#include <optional>

// The API key field against the desktop's real keyring (a throwaway
// gnome-keyring on a private session bus), read back with secret-tool.
class TestModelTabKeyring : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void fieldShowsTheStoredKey();
    void everyEditIsStored();
    void emptyingTheFieldDeletesTheKey();
    void clearingRightAfterTypingLeavesNoKey();
    void ollamaHidesTheFieldAndKeepsTheKey();

private:
    // What secret-tool finds under the item QtKeychain writes; nothing when
    // there is no such item.
    static std::optional<QString> lookup();
    // Stores a key the way QtKeychain does: its text item carries the
    // attribute type=plaintext, which QtKeychain looks items up by.
    static bool store(const QString& key);
    // Polls until the keyring holds `expected` (nothing: no item).
    static bool waitForKeyring(const std::optional<QString>& expected);
    void showTab(Provider provider);

    std::unique_ptr<SettingsFixture> m_fixture;
    std::unique_ptr<LoopbackServer> m_server;
    std::unique_ptr<ModelTab> m_tab;
    QLineEdit* m_key = nullptr;
};

std::optional<QString> TestModelTabKeyring::lookup() {
    QProcess tool;
    tool.start(QStringLiteral("secret-tool"), {"lookup", "server", "Wendle", "user", "api-key"});
    if (!tool.waitForFinished(10000) || tool.exitStatus() != QProcess::NormalExit ||
        tool.exitCode() != 0)
        return std::nullopt;
    return QString::fromUtf8(tool.readAllStandardOutput());
}

bool TestModelTabKeyring::store(const QString& key) {
    QProcess tool;
    tool.start(QStringLiteral("secret-tool"), {"store", "--label=Wendle", "server", "Wendle",
                                               "user", "api-key", "type", "plaintext"});
    if (!tool.waitForStarted(10000))
        return false;
    tool.write(key.toUtf8());
    tool.closeWriteChannel();
    return tool.waitForFinished(10000) && tool.exitCode() == 0;
}

bool TestModelTabKeyring::waitForKeyring(const std::optional<QString>& expected) {
    // The writes go through the keyring in order; the last one is what stays.
    return QTest::qWaitFor([&] { return lookup() == expected; }, 10000);
}

void TestModelTabKeyring::init() {
    QVERIFY2(qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS"), "needs the test keyring");
    QCoro::waitFor(Keychain::set(QString()));
    QVERIFY(waitForKeyring(std::nullopt));
    m_fixture = std::make_unique<SettingsFixture>();
    m_server = std::make_unique<LoopbackServer>();
    QVERIFY(m_server->listen());
    m_server->route("GET", "/v1/models",
                    ReplyPlan::text(200, "application/json", R"({"data":[]})"));
    m_fixture->settings.setLmStudioURL(m_server->url());
    m_fixture->settings.setCustomURL(m_server->url() + QStringLiteral("/v1/chat/completions"));
    m_fixture->settings.setOllamaURL(m_server->url());
}

void TestModelTabKeyring::cleanup() {
    m_tab.reset();
    m_server.reset();
    m_fixture.reset();
    QCoro::waitFor(Keychain::set(QString()));
}

void TestModelTabKeyring::showTab(Provider provider) {
    m_fixture->settings.setProvider(provider);
    m_tab = std::make_unique<ModelTab>(m_fixture->settings);
    m_tab->show();
    m_key = m_tab->findChild<QLineEdit*>(QStringLiteral("apiKey"));
    QVERIFY(m_key);
}

void TestModelTabKeyring::fieldShowsTheStoredKey() {
    QVERIFY(store(QStringLiteral("sk-from-the-keyring")));
    showTab(Provider::lmstudio);
    QTRY_COMPARE_WITH_TIMEOUT(m_key->text(), QStringLiteral("sk-from-the-keyring"), 10000);
    QCOMPARE(m_key->echoMode(), QLineEdit::Password);
}

void TestModelTabKeyring::everyEditIsStored() {
    showTab(Provider::custom);
    QTest::keyClicks(m_key, QStringLiteral("sk-a"));
    QVERIFY(waitForKeyring(QStringLiteral("sk-a")));
    QTest::keyClicks(m_key, QStringLiteral("b "));
    QVERIFY(waitForKeyring(QStringLiteral("sk-ab "))); // stored as typed, blank included
    QTest::keyClick(m_key, Qt::Key_Backspace);
    QVERIFY(waitForKeyring(QStringLiteral("sk-ab")));
    QCOMPARE(QCoro::waitFor(Keychain::get()), QStringLiteral("sk-ab"));
}

void TestModelTabKeyring::emptyingTheFieldDeletesTheKey() {
    QVERIFY(store(QStringLiteral("sk-old")));
    showTab(Provider::lmstudio);
    QTRY_COMPARE_WITH_TIMEOUT(m_key->text(), QStringLiteral("sk-old"), 10000);
    m_key->selectAll();
    QTest::keyClick(m_key, Qt::Key_Delete);
    QVERIFY(m_key->text().isEmpty());
    QVERIFY(waitForKeyring(std::nullopt));
    QCOMPARE(QCoro::waitFor(Keychain::get()), QString());
}

void TestModelTabKeyring::clearingRightAfterTypingLeavesNoKey() {
    showTab(Provider::custom);
    // Every keystroke starts a write at once; the clear comes while they run.
    QTest::keyClicks(m_key, QStringLiteral("sk-quick"));
    m_key->selectAll();
    QTest::keyClick(m_key, Qt::Key_Backspace);
    // Keychain::get() is served after every write before it.
    QCOMPARE(QCoro::waitFor(Keychain::get()), QString());
    QCOMPARE(lookup(), std::nullopt);
}

void TestModelTabKeyring::ollamaHidesTheFieldAndKeepsTheKey() {
    QVERIFY(store(QStringLiteral("sk-kept")));
    showTab(Provider::custom);
    QTRY_COMPARE_WITH_TIMEOUT(m_key->text(), QStringLiteral("sk-kept"), 10000);
    auto* picker = m_tab->findChild<SegmentedControl*>(QStringLiteral("provider"));
    QTest::mouseClick(picker->segment(0), Qt::LeftButton);
    QCOMPARE(m_fixture->settings.provider(), Provider::ollama);
    QVERIFY(!m_key->isVisibleTo(m_tab.get()));
    QCOMPARE(QCoro::waitFor(Keychain::get()), QStringLiteral("sk-kept"));
    QCOMPARE(lookup(), std::optional<QString>(QStringLiteral("sk-kept")));
}

QTEST_MAIN(TestModelTabKeyring)
#include "tst_modeltab_keyring.moc"
