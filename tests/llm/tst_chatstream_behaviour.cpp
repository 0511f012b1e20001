#include "LoopbackServer.h"
#include "LoopbackSettings.h"
#include "RoundTrip.h"
#include "RunOutcome.h"
#include "llm/LLMClient.h"
#include "settings/AppSettings.h"
#include "settings/Keychain.h"

#include <QCoroTask>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>

#include <memory>

namespace {

QString noServerText(const QString& address) {
    return QStringLiteral("No model server is running at ") + address +
           QStringLiteral(". Start Ollama or LM Studio (or check the server address in Settings "
                          "\u2192 Model), then press Retry.");
}

// A port nothing listens on: taken from the system, then given back.
quint16 closedPort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const quint16 port = probe.serverPort();
    probe.close();
    return port;
}

} // namespace

// How a run behaves when the server misbehaves, when the settings are wrong,
// and when the caller stops it.
class ChatStreamBehaviourTest : public QObject {
    Q_OBJECT

    std::unique_ptr<LoopbackThread> m_thread;
    LoopbackServer* m_server = nullptr;

    RunOutcome run(const ServerSettings& settings, int timeout = 10000) {
        RunOutcome outcome;
        std::unique_ptr<ChatStream> stream(
            LLMClient::stream(settings, QStringLiteral("Shorten."), QStringLiteral("Some text.")));
        outcome.watch(stream.get());
        waitUntil([&] { return outcome.over(); }, timeout);
        return outcome;
    }

    RunOutcome runWith(Provider provider, const ReplyPlan& plan) {
        m_server->route("POST", chatPath(provider), plan);
        return run(settingsFor(provider, m_server->url()));
    }

private Q_SLOTS:
    void initTestCase() { Keychain::useMemoryStoreForTesting(); }

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

    void nothingListeningNamesHostAndPort() {
        const quint16 port = closedPort();
        const RunOutcome outcome =
            run(settingsFor(Provider::ollama, QStringLiteral("127.0.0.1:%1").arg(port)));
        QCOMPARE(outcome.endings, 1);
        QCOMPARE(outcome.errorText(), noServerText(QStringLiteral("127.0.0.1:%1").arg(port)));
    }

    void unknownHostIsNoServer() {
        // ".invalid" never resolves.
        const RunOutcome outcome =
            run(settingsFor(Provider::custom, QStringLiteral("http://wendle-test.invalid:8080")),
                30000);
        QCOMPARE(outcome.endings, 1);
        QCOMPARE(outcome.errorText(), noServerText(QStringLiteral("wendle-test.invalid:8080")));
    }

    void serverThatNeverAnswersTimesOut() {
        LLMClient::setTimeouts({std::chrono::milliseconds(300), std::chrono::milliseconds(300)});
        ReplyPlan plan = ReplyPlan::recorded("ollama_chat_stream_basic.txt");
        plan.mode = ReplyPlan::Mode::hold;
        QElapsedTimer clock;
        clock.start();
        const RunOutcome outcome = runWith(Provider::ollama, plan);
        QCOMPARE(outcome.endings, 1);
        QVERIFY(clock.elapsed() >= 250);
        QCOMPARE(outcome.errorText(),
                 noServerText(QStringLiteral("127.0.0.1:%1").arg(m_server->port())));
        QVERIFY(!outcome.error->isCancellation());
        // The client gave up on the connection.
        QTRY_VERIFY(m_server->request(0).clientClosedEarly);
    }

    void timeOutIsIdleTimeNotTotalTime() {
        LLMClient::setTimeouts({std::chrono::milliseconds(700), std::chrono::milliseconds(700)});
        ReplyPlan plan = ReplyPlan::recorded("ollama_chat_stream_basic.txt"); // ten lines
        plan.split = ReplyPlan::Split::lines;
        plan.delay = std::chrono::milliseconds(150);
        QElapsedTimer clock;
        clock.start();
        const RunOutcome outcome = runWith(Provider::ollama, plan);
        QVERIFY(clock.elapsed() > 1000);
        QCOMPARE(outcome.errorText(), QString());
        QVERIFY(outcome.finished);
        QCOMPARE(outcome.joined(), QStringLiteral("Hello! How can I help you today?"));
    }

    // A server that dies in the middle of a reply: what arrived stays, and
    // the run fails as a lost connection, whatever the framing.
    void serverClosingMidStream_data() {
        QTest::addColumn<int>("framing");
        QTest::addColumn<int>("provider");
        QTest::newRow("chunked, ollama")
            << int(ReplyPlan::Framing::chunked) << int(Provider::ollama);
        QTest::newRow("content length, ollama")
            << int(ReplyPlan::Framing::contentLength) << int(Provider::ollama);
        QTest::newRow("chunked, openai")
            << int(ReplyPlan::Framing::chunked) << int(Provider::custom);
        QTest::newRow("content length, openai")
            << int(ReplyPlan::Framing::contentLength) << int(Provider::custom);
    }
    void serverClosingMidStream() {
        QFETCH(int, framing);
        QFETCH(int, provider);
        const bool ollama = Provider(provider) == Provider::ollama;
        ReplyPlan plan = ReplyPlan::recorded(ollama ? "ollama_chat_stream_basic.txt"
                                                    : "openai_chat_stream_basic.txt");
        plan.framing = ReplyPlan::Framing(framing);
        plan.split = ReplyPlan::Split::lines;
        plan.delay = std::chrono::milliseconds(5);
        plan.mode = ReplyPlan::Mode::closeMidBody;
        // Cut in the middle of the fifth line (Ollama) or tenth event line.
        const int completeLines = ollama ? 4 : 10;
        qsizetype at = 0;
        for (int i = 0; i < completeLines; ++i)
            at = plan.body.indexOf('\n', at) + 1;
        plan.closeAfter = at + 20;

        const RunOutcome outcome = runWith(Provider(provider), plan);
        QCOMPARE(outcome.endings, 1);
        QCOMPARE(outcome.joined(),
                 ollama ? QStringLiteral("Hello! How can") : QStringLiteral("Sure! Here\u2019s"));
        QCOMPARE(outcome.errorText(),
                 noServerText(QStringLiteral("127.0.0.1:%1").arg(m_server->port())));
    }

    void htmlPageIsAnEmptyReply_data() {
        QTest::addColumn<int>("provider");
        QTest::newRow("ollama") << int(Provider::ollama);
        QTest::newRow("lmstudio") << int(Provider::lmstudio);
        QTest::newRow("custom") << int(Provider::custom);
    }
    void htmlPageIsAnEmptyReply() {
        QFETCH(int, provider);
        const RunOutcome outcome = runWith(Provider(provider), ReplyPlan::htmlPage());
        QCOMPARE(outcome.endings, 1);
        QVERIFY(outcome.finished);
        QVERIFY(outcome.pieces.isEmpty());
    }

    void statusesOtherThan200_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("contentType");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("expected");
        const QByteArray json = "application/json";
        QTest::newRow("201 is an error too")
            << 201 << json << QByteArray(R"({"message":{"content":"Hi"},"done":true})")
            << QStringLiteral("The model server returned an error (HTTP 201): "
                              "{\"message\":{\"content\":\"Hi\"},\"done\":true}");
        QTest::newRow("204 without body")
            << 204 << json << QByteArray()
            << QStringLiteral("The model server returned an error (HTTP 204).");
        QTest::newRow("404 with an error string")
            << 404 << json << QByteArray(R"({"error":"model 'x' not found"})")
            << QStringLiteral("The model server returned an error (HTTP 404): model 'x' not found");
        QTest::newRow("503 with an empty body")
            << 503 << json << QByteArray()
            << QStringLiteral("The model server returned an error (HTTP 503).");
        QTest::newRow("404 in plain text")
            << 404 << QByteArray("text/plain") << QByteArray("404 page not found")
            << QStringLiteral("The model server returned an error (HTTP 404): 404 page not found");
        // An HTML page, lines joined without separators, then cut at 300
        // characters after trimming.
        QByteArray page =
            "\n  <!DOCTYPE html>\n<html><head><title>500 Internal Server Error</title>"
            "</head>\n<body>\n";
        for (int i = 0; i < 4; ++i)
            page += "<p>Something went wrong while handling the request number " +
                    QByteArray::number(i) + ".</p>\n";
        page += "</body></html>\n";
        QString joined = QString::fromUtf8(page).remove(u'\n').trimmed();
        QTest::newRow("500 with an HTML page")
            << 500 << QByteArray("text/html") << page
            << QStringLiteral("The model server returned an error (HTTP 500): ") + joined.left(300);
    }
    void statusesOtherThan200() {
        QFETCH(int, status);
        QFETCH(QByteArray, contentType);
        QFETCH(QByteArray, body);
        QFETCH(QString, expected);
        ReplyPlan plan = ReplyPlan::text(status, contentType, body);
        plan.framing = ReplyPlan::Framing::contentLength;
        const RunOutcome outcome = runWith(Provider::ollama, plan);
        QCOMPARE(outcome.endings, 1);
        QVERIFY(outcome.pieces.isEmpty());
        QCOMPARE(outcome.errorText(), expected);
    }

    // An error reply is read only until its text passes 600 characters.
    void longErrorReplyIsNotReadToTheEnd() {
        QByteArray body;
        for (int i = 0; i < 40; ++i)
            body += QByteArray(99, char('a' + i % 26)) + '\n';
        ReplyPlan plan = ReplyPlan::text(502, "text/plain", body);
        plan.split = ReplyPlan::Split::lines;
        plan.delay = std::chrono::milliseconds(10);
        const RunOutcome outcome = runWith(Provider::ollama, plan);
        QCOMPARE(outcome.errorText(),
                 QStringLiteral("The model server returned an error (HTTP 502): ") +
                     QString(99, u'a') + QString(99, u'b') + QString(99, u'c') +
                     QStringLiteral("ddd"));
        QTRY_VERIFY(m_server->request(0).clientClosedEarly);
        QVERIFY(m_server->request(0).pieceTimes.size() < 40);
    }

    void doneEndsTheRunEvenIfMoreFollows_data() {
        QTest::addColumn<int>("provider");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("[DONE]")
            << int(Provider::custom)
            << QByteArray("data: {\"choices\":[{\"delta\":{\"content\":\"Kept\"}}]}\n\n"
                          "data: [DONE]\n\n"
                          "data: {\"choices\":[{\"delta\":{\"content\":\"Lost\"}}]}\n\n"
                          "data: {\"choices\":[{\"delta\":{\"content\":\"Lost\"}}]}\n\n");
        QTest::newRow("done true")
            << int(Provider::ollama)
            << QByteArray("{\"message\":{\"content\":\"Kept\"},\"done\":false}\n"
                          "{\"message\":{\"content\":\"\"},\"done\":true}\n"
                          "{\"message\":{\"content\":\"Lost\"},\"done\":false}\n"
                          "{\"message\":{\"content\":\"Lost\"},\"done\":false}\n");
    }
    void doneEndsTheRunEvenIfMoreFollows() {
        QFETCH(int, provider);
        QFETCH(QByteArray, body);
        ReplyPlan plan = ReplyPlan::text(200, "text/event-stream", body);
        plan.split = ReplyPlan::Split::lines;
        plan.delay = std::chrono::milliseconds(30);
        const RunOutcome outcome = runWith(Provider(provider), plan);
        QVERIFY(outcome.finished);
        QCOMPARE(outcome.pieces, QStringList{"Kept"});
        // Nothing more is read: the connection is closed under the server's feet.
        QTRY_VERIFY(m_server->request(0).clientClosedEarly);
        QVERIFY(!m_server->request(0).replyComplete);
    }

    void abortClosesTheConnectionAndEndsEverything() {
        ReplyPlan plan = ReplyPlan::recorded("ollama_chat_stream_basic.txt");
        plan.split = ReplyPlan::Split::lines;
        plan.delay = std::chrono::milliseconds(50);
        m_server->route("POST", "/api/chat", plan);
        RunOutcome outcome;
        std::unique_ptr<ChatStream> stream(LLMClient::stream(
            settingsFor(Provider::ollama, m_server->url()), "Shorten.", "Some text."));
        outcome.watch(stream.get());
        QVERIFY(waitUntil([&] { return !outcome.pieces.isEmpty(); }));
        QVERIFY(!stream->isOver());
        stream->abort();
        QVERIFY(stream->isOver());
        QTRY_VERIFY(m_server->request(0).clientClosedEarly);
        // More lines were due every 50 ms; none of them shows up.
        QVERIFY(RoundTrip::settled(LLMClient::network(), *m_server, 0));
        QCOMPARE(outcome.pieces, QStringList{"Hello"});
        QCOMPARE(outcome.endings, 0);
        QVERIFY(!m_server->request(0).replyComplete);
    }

    void abortFromInsideAPieceHandler() {
        ReplyPlan plan = ReplyPlan::recorded("openai_chat_stream_basic.txt");
        plan.framing = ReplyPlan::Framing::contentLength; // every line in one read
        m_server->route("POST", "/v1/chat/completions", plan);
        RunOutcome outcome;
        std::unique_ptr<ChatStream> stream(LLMClient::stream(
            settingsFor(Provider::custom, m_server->url()), "Shorten.", "Some text."));
        outcome.watch(stream.get());
        connect(stream.get(), &ChatStream::piece, stream.get(), [&] { stream->abort(); });
        QVERIFY(waitUntil([&] { return !outcome.pieces.isEmpty(); }));
        QVERIFY(RoundTrip::settled(LLMClient::network(), *m_server, 0));
        QCOMPARE(outcome.pieces, QStringList{"Sure"});
        QCOMPARE(outcome.endings, 0);
    }

    void deletingFromInsideAPieceHandler() {
        ReplyPlan plan = ReplyPlan::recorded("openai_chat_stream_basic.txt");
        plan.framing = ReplyPlan::Framing::contentLength;
        m_server->route("POST", "/v1/chat/completions", plan);
        QStringList pieces;
        ChatStream* stream = LLMClient::stream(settingsFor(Provider::custom, m_server->url()),
                                               "Shorten.", "Some text.");
        QPointer<ChatStream> alive(stream);
        connect(stream, &ChatStream::piece, stream, [&](const QString& text) {
            pieces.append(text);
            delete stream;
        });
        QVERIFY(waitUntil([&] { return !alive; }));
        QVERIFY(RoundTrip::settled(LLMClient::network(), *m_server, 0));
        QCOMPARE(pieces, QStringList{"Sure"});
    }

    void destroyingARunClosesItsConnection() {
        ReplyPlan plan = ReplyPlan::recorded("ollama_chat_stream_basic.txt");
        plan.split = ReplyPlan::Split::lines;
        plan.delay = std::chrono::milliseconds(50);
        m_server->route("POST", "/api/chat", plan);
        auto* stream = LLMClient::stream(settingsFor(Provider::ollama, m_server->url()), "Shorten.",
                                         "Some text.");
        QSignalSpy pieces(stream, &ChatStream::piece);
        QVERIFY(pieces.wait());
        delete stream;
        QTRY_VERIFY(m_server->request(0).clientClosedEarly);
    }

    void abortBeforeTheRequestGoesOut() {
        m_server->route("POST", "/v1/chat/completions",
                        ReplyPlan::recorded("openai_chat_stream_basic.txt"));
        RunOutcome outcome;
        std::unique_ptr<ChatStream> stream(LLMClient::stream(
            settingsFor(Provider::lmstudio, m_server->url()), "Shorten.", "Some text."));
        outcome.watch(stream.get());
        stream->abort();
        // A second run, started after it, takes the same steps to the server
        // and arrives there alone.
        RunOutcome next;
        std::unique_ptr<ChatStream> after(LLMClient::stream(
            settingsFor(Provider::lmstudio, m_server->url()), "Shorten.", "Other text."));
        next.watch(after.get());
        QVERIFY(waitUntil([&] { return next.over(); }));
        QVERIFY(next.finished);
        QCOMPARE(outcome.endings, 0);
        QVERIFY(outcome.pieces.isEmpty());
        QCOMPARE(m_server->requestCount(), 1);
        QVERIFY(m_server->request(0).body.contains("Other text."));
    }

    // Even failures found before any request is made arrive through failed(),
    // after the caller has connected.
    void failuresAreNeverSynchronous() {
        ServerSettings settings = settingsFor(Provider::ollama, QString());
        std::unique_ptr<ChatStream> stream(LLMClient::stream(settings, "Shorten.", "Some text."));
        QSignalSpy failed(stream.get(), &ChatStream::failed);
        QCOMPARE(failed.count(), 0);
        QVERIFY(failed.wait());
        QVERIFY(stream->isOver());
    }

    void settingsMistakes_data() {
        QTest::addColumn<int>("provider");
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("model");
        QTest::addColumn<QString>("expected");
        const QString noModel =
            QStringLiteral("No model is selected. Open Settings \u2192 Model and choose one.");
        const auto badURL = [](const QString& url) -> QString {
            return QStringLiteral("The server address \u201C") + url +
                   QStringLiteral("\u201D is not a valid URL. Check Settings \u2192 Model.");
        };
        QTest::newRow("empty ollama address") << int(Provider::ollama) << ""
                                              << "llama3.2" << badURL("/api/chat");
        QTest::newRow("space in the host")
            << int(Provider::lmstudio) << "my server:1234"
            << "m" << badURL("http://my server:1234/v1/chat/completions");
        QTest::newRow("port out of range") << int(Provider::ollama) << "localhost:99999"
                                           << "m" << badURL("http://localhost:99999/api/chat");
        QTest::newRow("bad address before missing model") << int(Provider::ollama) << "  "
                                                          << "" << badURL("/api/chat");
        QTest::newRow("ollama without model") << int(Provider::ollama) << "SERVER"
                                              << "" << noModel;
        QTest::newRow("blank model") << int(Provider::ollama) << "SERVER"
                                     << " \t\n"
                                     << noModel;
        QTest::newRow("custom without model") << int(Provider::custom) << "SERVER"
                                              << "" << noModel;
    }
    void settingsMistakes() {
        QFETCH(int, provider);
        QFETCH(QString, url);
        QFETCH(QString, model);
        QFETCH(QString, expected);
        if (url == u"SERVER")
            url = m_server->url();
        ServerSettings settings = settingsFor(Provider(provider), url, model);
        if (Provider(provider) == Provider::custom)
            settings.customURL = url;
        const RunOutcome outcome = run(settings);
        QCOMPARE(outcome.endings, 1);
        QCOMPARE(outcome.errorText(), expected);
        QCOMPARE(m_server->requestCount(), 0);
    }

    void lmStudioWithoutModelAsksForLocalModel() {
        m_server->route("POST", "/v1/chat/completions",
                        ReplyPlan::recorded("lmstudio_chat_stream_basic.txt"));
        const RunOutcome outcome = run(settingsFor(Provider::lmstudio, m_server->url(), " \n"));
        QVERIFY(outcome.finished);
        QCOMPARE(parsedBody(m_server->request(0).body),
                 expectedChatBody("local-model", "Shorten.", "Some text."));
    }

    void modelNameIsTrimmed() {
        m_server->route("POST", "/api/chat", ReplyPlan::recorded("ollama_chat_stream_basic.txt"));
        const RunOutcome outcome =
            run(settingsFor(Provider::ollama, m_server->url(), "  llama3.2:latest\n"));
        QVERIFY(outcome.finished);
        QCOMPARE(parsedBody(m_server->request(0).body).value("model"),
                 QJsonValue("llama3.2:latest"));
    }

    void otherTransportFailuresPassThrough() {
        ServerSettings settings = settingsFor(Provider::custom, QString());
        settings.customURL = QStringLiteral("gopher://127.0.0.1:70/chat");
        settings.customModel = QStringLiteral("m");
        const RunOutcome outcome = run(settings);
        QCOMPARE(outcome.endings, 1);
        QVERIFY(!outcome.error->llm().has_value());
        QVERIFY(!outcome.error->isCancellation());
        QCOMPARE(outcome.error->networkError(), int(QNetworkReply::ProtocolUnknownError));
        QVERIFY(!outcome.errorText().isEmpty());
    }

    // The settings of the moment of the call hold for the whole run.
    void runUsesTheSettingsOfItsStart() {
        m_server->route("POST", "/api/chat", ReplyPlan::recorded("ollama_chat_stream_basic.txt"));
        AppSettings& settings = AppSettings::shared();
        settings.setProvider(Provider::ollama);
        settings.setOllamaURL(m_server->url());
        settings.setOllamaModel(QStringLiteral("first"));
        RunOutcome outcome;
        std::unique_ptr<ChatStream> stream(LLMClient::stream("Shorten.", "Some text."));
        outcome.watch(stream.get());
        settings.setOllamaModel(QStringLiteral("second"));
        settings.setOllamaURL(QStringLiteral("http://127.0.0.1:1"));
        settings.setProvider(Provider::custom);
        QVERIFY(waitUntil([&] { return outcome.over(); }));
        QVERIFY(outcome.finished);
        QCOMPARE(parsedBody(m_server->request(0).body).value("model"), QJsonValue("first"));
    }
};

QTEST_GUILESS_MAIN(ChatStreamBehaviourTest)
#include "tst_chatstream_behaviour.moc"
