#include "LoopbackServer.h"
#include "LoopbackSettings.h"
#include "RunOutcome.h"
#include "llm/LLMClient.h"
#include "settings/Keychain.h"

#include <QCoroTask>
#include <QTest>

#include <memory>

namespace {} // namespace

// The API key travels from the system keyring into the Authorization header,
// trimmed, and never to Ollama.
class AuthorizationKeyringTest : public QObject {
    Q_OBJECT

    std::unique_ptr<LoopbackThread> m_thread;
    LoopbackServer* m_server = nullptr;

    QList<QByteArray> runAndListWith(Provider provider) {
        const QByteArray chat = chatPath(provider);
        const QByteArray models = provider == Provider::ollama ? "/api/tags" : "/v1/models";
        const char* streamFile = provider == Provider::ollama ? "ollama_chat_stream_basic.txt"
                                                              : "lmstudio_chat_stream_basic.txt";
        m_server->route("POST", chat, ReplyPlan::recorded(streamFile));
        m_server->route("GET", models, ReplyPlan::recorded("lmstudio_models.txt"));

        RunOutcome outcome;
        std::unique_ptr<ChatStream> stream(LLMClient::stream(settingsFor(provider, m_server->url()),
                                                             QStringLiteral("Shorten."),
                                                             QStringLiteral("x")));
        outcome.watch(stream.get());
        if (!waitUntil([&] { return outcome.over(); }, 15000) || !outcome.finished)
            return {};
        const auto list =
            QCoro::waitFor(LLMClient::listModels(settingsFor(provider, m_server->url())));
        if (list.error)
            return {};
        QList<QByteArray> headers;
        for (const LoopbackServer::Request& request : m_server->requests()) {
            headers.append(request.headerCount("Authorization") == 0
                               ? QByteArray("<none>")
                               : request.header("Authorization"));
        }
        return headers;
    }

private Q_SLOTS:
    void init() {
        m_thread = std::make_unique<LoopbackThread>();
        m_server = &m_thread->server();
    }

    void cleanup() {
        m_server = nullptr;
        m_thread.reset();
    }

    void keyFromTheKeyring_data() {
        QTest::addColumn<QString>("storedKey");
        QTest::addColumn<int>("provider");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("lmstudio") << "sk-lm-123" << int(Provider::lmstudio)
                                  << QByteArray("Bearer sk-lm-123");
        QTest::newRow("custom, trimmed")
            << "  sk-custom-9 \n"
            << int(Provider::custom) << QByteArray("Bearer sk-custom-9");
        QTest::newRow("ollama never")
            << "sk-secret" << int(Provider::ollama) << QByteArray("<none>");
        QTest::newRow("blank key") << " \t " << int(Provider::custom) << QByteArray("<none>");
        QTest::newRow("no key") << "" << int(Provider::lmstudio) << QByteArray("<none>");
    }
    void keyFromTheKeyring() {
        QFETCH(QString, storedKey);
        QFETCH(int, provider);
        QFETCH(QByteArray, expected);
        QCoro::waitFor(Keychain::set(storedKey));
        QCOMPARE(QCoro::waitFor(Keychain::get()), storedKey); // really in the keyring
        QCOMPARE(runAndListWith(Provider(provider)), (QList<QByteArray>{expected, expected}));
    }
};

QTEST_GUILESS_MAIN(AuthorizationKeyringTest)
#include "tst_authorization_keyring.moc"
