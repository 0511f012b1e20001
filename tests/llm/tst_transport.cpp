#include "LoopbackServer.h"
#include "LoopbackSettings.h"
#include "RunOutcome.h"
#include "llm/LLMClient.h"
#include "settings/Keychain.h"

#include <QCoroTask>
#include <QRegularExpression>
#include <QTest>

#include <memory>

// What goes over the wire besides the reply's content: the program's name in
// every request, and how a reply ends when the transport fails before the
// server's end of the body.
class TransportTest : public QObject {
    Q_OBJECT

    std::unique_ptr<LoopbackThread> m_thread;
    LoopbackServer* m_server = nullptr;

    RunOutcome runWith(const ReplyPlan& plan, Provider provider = Provider::ollama) {
        m_server->route("POST", chatPath(provider), plan);
        RunOutcome outcome;
        std::unique_ptr<ChatStream> stream(LLMClient::stream(settingsFor(provider, m_server->url()),
                                                             QStringLiteral("Shorten."),
                                                             QStringLiteral("Some text.")));
        outcome.watch(stream.get());
        waitUntil([&] { return outcome.over(); });
        return outcome;
    }

    QString noServerText() const {
        return LLMError::noServer(QStringLiteral("127.0.0.1:%1").arg(m_server->port()))
            .description();
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
        QCOMPARE(outcome.errorText(), noServerText());
    }

    // However the server's end of the reply goes wrong, a cut reply never
    // counts as a complete one: it fails as a lost connection, and what came
    // before the cut stays.
    void cutReplyIsALostConnection_data() {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("framing");
        QTest::addColumn<int>("provider");
        QTest::addColumn<int>("delayMs");
        const QList<std::pair<const char*, ReplyPlan::Mode>> modes{
            {"reset", ReplyPlan::Mode::resetMidBody},
            {"bad chunk head", ReplyPlan::Mode::badChunkMidBody},
            {"close inside a chunk", ReplyPlan::Mode::closeInsideChunk},
            {"close", ReplyPlan::Mode::closeMidBody},
        };
        for (const auto& [name, mode] : modes) {
            for (const Provider provider : {Provider::ollama, Provider::custom}) {
                for (const auto framing :
                     {ReplyPlan::Framing::chunked, ReplyPlan::Framing::contentLength}) {
                    // Without a pause the cut comes with the last data, with
                    // one it comes on its own: the client sees both.
                    for (const int delayMs : {0, 5}) {
                        QTest::addRow("%s, %s, %s, %d ms", name,
                                      framing == ReplyPlan::Framing::chunked ? "chunked"
                                                                             : "content length",
                                      provider == Provider::ollama ? "ollama" : "openai", delayMs)
                            << int(mode) << int(framing) << int(provider) << delayMs;
                    }
                }
            }
        }
    }
    void cutReplyIsALostConnection() {
        QFETCH(int, mode);
        QFETCH(int, framing);
        QFETCH(int, provider);
        QFETCH(int, delayMs);
        const bool ollama = Provider(provider) == Provider::ollama;
        ReplyPlan plan = ReplyPlan::recorded(ollama ? "ollama_chat_stream_basic.txt"
                                                    : "openai_chat_stream_basic.txt");
        plan.framing = ReplyPlan::Framing(framing);
        plan.split = ReplyPlan::Split::lines;
        plan.mode = ReplyPlan::Mode(mode);
        plan.delay = std::chrono::milliseconds(delayMs);
        // The cut falls at the end of a line, so what came before it is whole
        // lines that parse, as a complete reply's would.
        const int completeLines = ollama ? 4 : 10;
        qsizetype at = 0;
        for (int i = 0; i < completeLines; ++i)
            at = plan.body.indexOf('\n', at) + 1;
        plan.closeAfter = at;

        const RunOutcome outcome = runWith(plan, Provider(provider));
        QCOMPARE(outcome.endings, 1);
        QVERIFY(!outcome.finished);
        QCOMPARE(outcome.joined(),
                 ollama ? QStringLiteral("Hello! How can") : QStringLiteral("Sure! Here\u2019s"));
        QCOMPARE(outcome.errorText(), noServerText());
    }
};

QTEST_GUILESS_MAIN(TransportTest)
#include "tst_transport.moc"
