#include "CliProcess.h"
#include "LoopbackServer.h"
#include "settings/Keychain.h"

#include <QCoroTask>
#include <QTest>

#include <memory>

// The command line uses the application's API key, from the system keyring.
class CliKeyringTest : public QObject {
    Q_OBJECT

    std::unique_ptr<LoopbackThread> m_thread;
    LoopbackServer* m_server = nullptr;

private Q_SLOTS:
    void init() {
        m_thread = std::make_unique<LoopbackThread>();
        m_server = &m_thread->server();
        m_server->route("POST", "/v1/chat/completions",
                        ReplyPlan::recorded("lmstudio_chat_stream_basic.txt"));
        m_server->route("GET", "/v1/models", ReplyPlan::recorded("lmstudio_models.txt"));
        m_server->route("POST", "/api/chat", ReplyPlan::recorded("ollama_chat_stream_basic.txt"));
    }

    void cleanup() {
        m_server = nullptr;
        m_thread.reset();
    }

    void keyTravelsTrimmed() {
        // Stored the way the settings window stores it: as typed.
        QCoro::waitFor(Keychain::set(QStringLiteral(" sk-cli-42\n")));
        CliProcess run({"run", "--provider", "lmstudio", "--url", m_server->url(), "1"});
        QVERIFY(run.run("text"));
        QCOMPARE(run.errText(), QString());
        QCOMPARE(run.exitCode(), 0);
        CliProcess models(
            {"models", "--provider", "custom", "--url", m_server->url() + "/v1/chat/completions"});
        QVERIFY(models.run());
        QCOMPARE(models.exitCode(), 0);
        CliProcess ollama(
            {"run", "--provider", "ollama", "--url", m_server->url(), "--model", "m", "1"});
        QVERIFY(ollama.run("text"));
        QCOMPARE(ollama.exitCode(), 0);

        QCOMPARE(m_server->requestCount(), 3);
        QCOMPARE(m_server->request(0).header("Authorization"), QByteArray("Bearer sk-cli-42"));
        QCOMPARE(m_server->request(1).header("Authorization"), QByteArray("Bearer sk-cli-42"));
        QCOMPARE(m_server->request(2).headerCount("Authorization"), 0);
    }

    void noKeyNoHeader() {
        QCoro::waitFor(Keychain::set(QString()));
        CliProcess run({"run", "--provider", "lmstudio", "--url", m_server->url(), "1"});
        QVERIFY(run.run("text"));
        QCOMPARE(run.exitCode(), 0);
        QCOMPARE(m_server->request(0).headerCount("Authorization"), 0);
    }
};

QTEST_GUILESS_MAIN(CliKeyringTest)
#include "tst_cli_keyring.moc"
