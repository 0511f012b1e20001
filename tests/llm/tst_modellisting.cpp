#include "LoopbackServer.h"
#include "LoopbackSettings.h"
#include "llm/LLMClient.h"
#include "settings/Keychain.h"

#include <QCoroTask>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTest>

#include <memory>

namespace {

LLMClient::ModelList listing(const ServerSettings& settings) {
    return QCoro::waitFor(LLMClient::listModels(settings));
}

QString errorText(const LLMClient::ModelList& list) {
    return list.error ? list.error->description() : QString();
}

} // namespace

// Asking a server which models it offers.
class ModelListingTest : public QObject {
    Q_OBJECT

    std::unique_ptr<LoopbackThread> m_thread;
    LoopbackServer* m_server = nullptr;

private Q_SLOTS:
    void initTestCase() {
        Keychain::useMemoryStoreForTesting();
        QCoro::waitFor(Keychain::set(QStringLiteral(" sk-list \n")));
    }

    void init() {
        LLMClient::setTimeouts({});
        m_thread = std::make_unique<LoopbackThread>();
        m_server = &m_thread->server();
    }

    void cleanup() {
        m_server = nullptr;
        m_thread.reset();
        LLMClient::setTimeouts({});
    }

    void namesInTheServersOrder_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("provider");
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("ollama") << "ollama_tags.txt" << int(Provider::ollama)
                                << QByteArray("/api/tags")
                                << QStringList{"qwen3:8b", "gpt-oss:120b-cloud", "llama3.2:latest"};
        QTest::newRow("ollama, nothing pulled") << "ollama_tags_empty.txt" << int(Provider::ollama)
                                                << QByteArray("/api/tags") << QStringList{};
        QTest::newRow("lmstudio") << "lmstudio_models.txt" << int(Provider::lmstudio)
                                  << QByteArray("/v1/models")
                                  << QStringList{"qwen2.5-7b-instruct",
                                                 "deepseek-r1-distill-qwen-7b",
                                                 "text-embedding-nomic-embed-text-v1.5"};
        QTest::newRow("openai") << "openai_models.txt" << int(Provider::custom)
                                << QByteArray("/v1/models")
                                << QStringList{"gpt-4o-mini", "gpt-5-nano",
                                               "text-embedding-3-small",
                                               "ft:gpt-4o-mini-2024-07-18:acme::9xYz12Ab"};
        QTest::newRow("llama.cpp")
            << "llamacpp_models.txt" << int(Provider::custom) << QByteArray("/v1/models")
            << QStringList{"Qwen3-8B-Q4_K_M.gguf"};
        QTest::newRow("data null") << "ollama_v1_models_empty.txt" << int(Provider::custom)
                                   << QByteArray("/v1/models") << QStringList{};
        // Ollama's list read with the OpenAI rules has no "data".
        QTest::newRow("wrong shape") << "ollama_tags.txt" << int(Provider::custom)
                                     << QByteArray("/v1/models") << QStringList{};
    }
    void namesInTheServersOrder() {
        QFETCH(QString, file);
        QFETCH(int, provider);
        QFETCH(QByteArray, path);
        QFETCH(QStringList, expected);
        m_server->route("GET", path, ReplyPlan::recorded(file));
        const auto list = listing(settingsFor(Provider(provider), m_server->url()));
        QCOMPARE(errorText(list), QString());
        QCOMPARE(list.names, expected);

        const LoopbackServer::Request request = m_server->request(0);
        QCOMPARE(request.method, QByteArray("GET"));
        QCOMPARE(request.path, path);
        QVERIFY(request.body.isEmpty());
        QCOMPARE(request.headerCount("Content-Type"), 0);
        if (Provider(provider) == Provider::ollama)
            QCOMPARE(request.headerCount("Authorization"), 0);
        else
            QCOMPARE(request.header("Authorization"), QByteArray("Bearer sk-list"));
    }

    void oddEntriesAreLeftOutEmptyNamesKept() {
        m_server->route("GET", "/api/tags",
                        ReplyPlan::text(200, "application/json",
                                        R"({"models":[{"name":"b"},{"model":"x"},{"name":3},"s",)"
                                        R"({"name":""},{"name":"a"},{"name":"b"}]})"));
        const auto list = listing(settingsFor(Provider::ollama, m_server->url()));
        QCOMPARE(list.names, (QStringList{"b", "", "a", "b"}));
    }

    void notAListIsAnEmptyList_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("html") << ReplyPlan::htmlPage().body;
        QTest::newRow("array") << QByteArray("[1,2,3]");
        QTest::newRow("models not an array") << QByteArray(R"({"models":{"name":"a"}})");
        QTest::newRow("empty") << QByteArray();
    }
    void notAListIsAnEmptyList() {
        QFETCH(QByteArray, body);
        m_server->route("GET", "/api/tags", ReplyPlan::text(200, "text/html", body));
        const auto list = listing(settingsFor(Provider::ollama, m_server->url()));
        QCOMPARE(errorText(list), QString());
        QVERIFY(list.names.isEmpty());
    }

    void errorStatuses_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");
        QTest::newRow("404 plain")
            << 404 << QByteArray("404 page not found")
            << "The model server returned an error (HTTP 404): 404 page not found";
        QTest::newRow("503 json, body from a recording") << 503 << QByteArray() << "";
        QTest::newRow("empty") << 500 << QByteArray()
                               << "The model server returned an error (HTTP 500).";
        QTest::newRow("not utf-8 counts as empty")
            << 500 << QByteArray("\xff\xfe bad")
            << "The model server returned an error (HTTP 500).";
        // The whole body, not only 600 characters of it.
        QByteArray longText(2000, 'x');
        QTest::newRow("long") << 502 << longText
                              << "The model server returned an error (HTTP 502): " +
                                     QString(300, u'x');
        QTest::newRow("201")
            << 201 << QByteArray(R"({"models":[{"name":"a"}]})")
            << R"(The model server returned an error (HTTP 201): {"models":[{"name":"a"}]})";
    }
    void errorStatuses() {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);
        if (expected.isEmpty()) {
            body = ReplyPlan::recorded("llamacpp_error_503_loading_model.txt").body;
            expected = "The model server returned an error (HTTP 503): Loading model";
        }
        m_server->route("GET", "/api/tags", ReplyPlan::text(status, "application/json", body));
        const auto list = listing(settingsFor(Provider::ollama, m_server->url()));
        QVERIFY(list.names.isEmpty());
        QCOMPARE(errorText(list), expected);
    }

    void addressRules_data() {
        QTest::addColumn<int>("provider");
        QTest::addColumn<QString>("suffix"); // appended to the server's address
        QTest::addColumn<QByteArray>("path");
        QTest::newRow("ollama, trailing slash")
            << int(Provider::ollama) << "/" << QByteArray("/api/tags");
        QTest::newRow("lmstudio, typed with /v1")
            << int(Provider::lmstudio) << "/v1" << QByteArray("/v1/models");
        QTest::newRow("lmstudio, /v1 and slash")
            << int(Provider::lmstudio) << "/v1/" << QByteArray("/v1/models");
        QTest::newRow("custom chat endpoint with slash")
            << int(Provider::custom) << "/v1/chat/completions/" << QByteArray("/v1/models");
        QTest::newRow("custom other endpoint as it stands")
            << int(Provider::custom) << "/openai/list" << QByteArray("/openai/list");
    }
    void addressRules() {
        QFETCH(int, provider);
        QFETCH(QString, suffix);
        QFETCH(QByteArray, path);
        m_server->setFallback(ReplyPlan::recorded("openai_models.txt"));
        ServerSettings settings = settingsFor(Provider(provider), m_server->url() + suffix);
        if (Provider(provider) == Provider::custom)
            settings.customURL = m_server->url() + suffix;
        listing(settings);
        QCOMPARE(m_server->requestCount(), 1);
        QCOMPARE(m_server->request(0).path, path);
    }

    void nothingListening() {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        const quint16 port = probe.serverPort();
        probe.close();
        const auto list =
            listing(settingsFor(Provider::lmstudio, QStringLiteral("127.0.0.1:%1").arg(port)));
        QCOMPARE(errorText(list),
                 QStringLiteral("No model server is running at 127.0.0.1:%1. Start Ollama or LM "
                                "Studio (or check the server address in Settings \u2192 Model), "
                                "then press Retry.")
                     .arg(port));
    }

    void slowServerTimesOut() {
        LLMClient::setTimeouts({std::chrono::milliseconds(300000), std::chrono::milliseconds(300)});
        ReplyPlan plan = ReplyPlan::recorded("ollama_tags.txt");
        plan.mode = ReplyPlan::Mode::hold;
        m_server->route("GET", "/api/tags", plan);
        QElapsedTimer clock;
        clock.start();
        const auto list = listing(settingsFor(Provider::ollama, m_server->url()));
        QVERIFY(clock.elapsed() >= 250);
        QVERIFY(list.error && list.error->llm());
        QCOMPARE(list.error->llm()->kind(), LLMError::Case::noServer);
        QTRY_VERIFY(m_server->request(0).clientClosedEarly);
    }

    void badAddress() {
        const auto list = listing(settingsFor(Provider::ollama, QStringLiteral("http://a b:1")));
        QCOMPARE(errorText(list),
                 QStringLiteral("The server address \u201Chttp://a b:1/api/tags\u201D "
                                "is not a valid URL. Check Settings \u2192 Model."));
    }
};

QTEST_GUILESS_MAIN(ModelListingTest)
#include "tst_modellisting.moc"
