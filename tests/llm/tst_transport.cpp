#include "LoopbackServer.h"
#include "LoopbackSettings.h"
#include "RunOutcome.h"
#include "llm/LLMClient.h"
#include "settings/Keychain.h"

#include <QCoroTask>
#include <QRegularExpression>
#include <QTest>

#include <memory>

// What goes over the wire besides the reply: the program's name in every
// request, and a transport failure that strikes during an error reply.
class TransportTest : public QObject {
    Q_OBJECT

    std::unique_ptr<LoopbackThread> m_thread;
    LoopbackServer* m_server = nullptr;

    RunOutcome runWith(const ReplyPlan& plan) {
        m_server->route("POST", "/api/chat", plan);
        RunOutcome outcome;
        std::unique_ptr<ChatStream> stream(
            LLMClient::stream(settingsFor(Provider::ollama, m_server->url()),
                              QStringLiteral("Shorten."), QStringLiteral("Some text.")));
        outcome.watch(stream.get());
        waitUntil([&] { return outcome.over(); });
        return outcome;
    }

private Q_SLOTS:
    void initTestCase() { Keychain::useMemoryStoreForTesting(); }

    void init() {
        m_thread = std::make_unique<LoopbackThread>();
        m_server = &m_thread->server();
    }

    void cleanup() {
        m_server = nullptr;
        m_thread.reset();
    }

    void requestsNameTheProgram() {
        m_server->route("GET", "/api/tags", ReplyPlan::recorded("ollama_tags.txt"));
        QVERIFY(runWith(ReplyPlan::recorded("ollama_chat_stream_basic.txt")).finished);
        QVERIFY(
            !QCoro::waitFor(LLMClient::listModels(settingsFor(Provider::ollama, m_server->url())))
                 .error);
        const QRegularExpression name(QStringLiteral("^Wendle/[0-9]+\\.[0-9]+\\.[0-9]+$"));
        QCOMPARE(m_server->requestCount(), 2);
        for (const LoopbackServer::Request& request : m_server->requests()) {
            QCOMPARE(request.headerCount("User-Agent"), 1);
            QVERIFY2(name.match(QString::fromLatin1(request.header("User-Agent"))).hasMatch(),
                     request.header("User-Agent").constData());
        }
    }

    // An error reply cut off by the connection reads as the lost
    // connection, not as the server's message cut short.
    void errorReplyCutOffIsALostConnection_data() {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("framing");
        QTest::newRow("close, content length")
            << int(ReplyPlan::Mode::closeMidBody) << int(ReplyPlan::Framing::contentLength);
        QTest::newRow("reset, chunked")
            << int(ReplyPlan::Mode::resetMidBody) << int(ReplyPlan::Framing::chunked);
    }
    void errorReplyCutOffIsALostConnection() {
        QFETCH(int, mode);
        QFETCH(int, framing);
        ReplyPlan plan = ReplyPlan::text(500, "application/json",
                                         "{\"error\":\"the model crashed while loading\"}\n");
        plan.mode = ReplyPlan::Mode(mode);
        plan.framing = ReplyPlan::Framing(framing);
        plan.closeAfter = 20;
        const RunOutcome outcome = runWith(plan);
        QCOMPARE(outcome.endings, 1);
        QCOMPARE(
            outcome.errorText(),
            LLMError::noServer(QStringLiteral("127.0.0.1:%1").arg(m_server->port())).description());
    }
};

QTEST_GUILESS_MAIN(TransportTest)
#include "tst_transport.moc"
