#include "LoopbackServer.h"
#include "LoopbackSettings.h"
#include "RoundTrip.h"
#include "RunOutcome.h"
#include "llm/LLMClient.h"
#include "settings/Keychain.h"

#include <QCoroTask>
#include <QTest>

#include <memory>

namespace {

const QString instruction = QStringLiteral("Fix all spelling.");
const QString capturedText = QStringLiteral("  Teh quick brwon fox \u2014 caf\u00E9\n");
const QString storedKey = QStringLiteral("  sk-test-key \n"); // sent trimmed

// The line endings a body is served with.
enum class Ending { recorded, crlf, cr, noFinalNewline };
// How it is cut into pieces on the way.
enum class Cut { lines, whole, bytes, insideUtf8, betweenCrLf };

// Pauses long enough for the client to read each piece on its own: a short
// blocking pause between single bytes, a timer between the few pieces of the
// other cuts.
constexpr std::chrono::microseconds bytePause{60};
constexpr std::chrono::microseconds piecePause{2000};

ReplyPlan planFor(const QString& file, Ending ending, Cut cut) {
    ReplyPlan plan = ReplyPlan::recorded(file);
    switch (ending) {
    case Ending::recorded:
        break;
    case Ending::crlf:
        if (!plan.body.contains('\r'))
            plan.body = BodyText::withCrLf(plan.body);
        break;
    case Ending::cr:
        plan.body = BodyText::withCr(BodyText::withoutCrLf(plan.body));
        break;
    case Ending::noFinalNewline:
        plan.body = BodyText::withoutFinalNewline(plan.body);
        break;
    }
    switch (cut) {
    case Cut::lines:
        plan.split = ReplyPlan::Split::lines;
        break;
    case Cut::whole:
        plan.framing = ReplyPlan::Framing::contentLength;
        plan.split = ReplyPlan::Split::whole;
        break;
    case Cut::bytes:
        plan.split = ReplyPlan::Split::bytes;
        plan.delay = bytePause;
        break;
    case Cut::insideUtf8:
        plan.framing = ReplyPlan::Framing::contentLength;
        plan.split = ReplyPlan::Split::insideUtf8;
        plan.delay = piecePause;
        break;
    case Cut::betweenCrLf:
        plan.split = ReplyPlan::Split::betweenCrLf;
        plan.delay = piecePause;
        break;
    }
    return plan;
}

struct Delivery {
    const char* name;
    Ending ending;
    Cut cut;
};

// Every ending, each cut every way; the cut between CR and LF where there are any.
QList<Delivery> deliveries() {
    const QList<std::pair<const char*, Ending>> endings{
        {"recorded", Ending::recorded},
        {"CR LF", Ending::crlf},
        {"CR", Ending::cr},
        {"no final newline", Ending::noFinalNewline}};
    const QList<std::pair<const char*, Cut>> cuts{{"lines", Cut::lines},
                                                  {"whole", Cut::whole},
                                                  {"one byte at a time", Cut::bytes},
                                                  {"split inside UTF-8", Cut::insideUtf8}};
    QList<Delivery> all;
    for (const auto& [endingName, ending] : endings) {
        for (const auto& [cutName, cut] : cuts)
            all.append({qstrdup(QByteArray(QByteArray(endingName) + ", " + cutName).constData()),
                        ending, cut});
    }
    all.append({"CR LF, split between CR and LF", Ending::crlf, Cut::betweenCrLf});
    return all;
}

} // namespace

// Every recorded reply of a real server, through a real socket, delivered in
// every way a network can cut it.
class ChatStreamVectorsTest : public QObject {
    Q_OBJECT

    std::unique_ptr<LoopbackThread> m_thread;
    LoopbackServer* m_server = nullptr;

    RunOutcome run(Provider provider, const ReplyPlan& plan) {
        m_server->route("POST", chatPath(provider), plan);
        RunOutcome outcome;
        std::unique_ptr<ChatStream> stream(
            LLMClient::stream(settingsFor(provider, m_server->url()), instruction, capturedText));
        outcome.watch(stream.get());
        // Nothing more may come after the end: what is still on its way
        // arrives before a later exchange is over.
        if (waitUntil([&] { return outcome.over(); }, 20000) &&
            !RoundTrip::settled(LLMClient::network(), *m_server, 0))
            QTest::qFail("the exchange did not come to an end", __FILE__, __LINE__);
        return outcome;
    }

    void checkRequest(Provider provider) {
        // The chat request, then the round trip that showed the end.
        QCOMPARE(m_server->requestCount(), 2);
        QCOMPARE(m_server->request(1).path, QByteArray(RoundTrip::path));
        const LoopbackServer::Request request = m_server->request(0);
        QCOMPARE(request.method, QByteArray("POST"));
        QCOMPARE(request.path, chatPath(provider));
        QCOMPARE(request.header("Content-Type"), QByteArray("application/json"));
        if (provider == Provider::ollama)
            QCOMPARE(request.headerCount("Authorization"), 0);
        else
            QCOMPARE(request.header("Authorization"), QByteArray("Bearer sk-test-key"));
        QCOMPARE(request.headerCount("Authorization") <= 1, true);
        QCOMPARE(parsedBody(request.body),
                 expectedChatBody("test-model", instruction, capturedText));
    }

private Q_SLOTS:
    void initTestCase() {
        // The key goes through the system keyring, as in the application.
        QCoro::waitFor(Keychain::set(storedKey));
        QCOMPARE(QCoro::waitFor(Keychain::get()), storedKey);
    }

    void init() {
        m_thread = std::make_unique<LoopbackThread>();
        m_server = &m_thread->server();
    }

    void cleanup() {
        m_server = nullptr;
        m_thread.reset();
    }

    void streams_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("provider");
        QTest::addColumn<int>("ending");
        QTest::addColumn<int>("cut");
        QTest::addColumn<QString>("expectedText");
        QTest::addColumn<QString>("expectedError"); // empty: the run finishes

        const int ollama = int(Provider::ollama);
        const int lmstudio = int(Provider::lmstudio);
        const int custom = int(Provider::custom);
        const QString serverError = QStringLiteral("The model server reported an error: ");
        const struct {
            const char* file;
            int provider;
            QString text;
            QString error;
        } cases[] = {
            {"ollama_chat_stream_basic.txt", ollama, "Hello! How can I help you today?", {}},
            {"ollama_chat_stream_legacy_order_length.txt",
             ollama,
             "The sky looks blue because air molecules scatter",
             {}},
            {"ollama_chat_stream_midstream_error.txt", ollama, "Hello! How",
             serverError + "an error was encountered while running the model: unexpected EOF"},
            // Think tags in the content pass through verbatim.
            {"ollama_chat_stream_think_tags_in_content.txt",
             ollama,
             QStringLiteral("<think>\nOkay, the user just said hi. I'll greet them back.\n</think>"
                            "\n\nHello! How can I help you today? \U0001F60A"),
             {}},
            // The "thinking" field is not part of the reply.
            {"ollama_chat_stream_thinking_field.txt",
             ollama,
             QStringLiteral("17 \u00D7 23 = **391**"),
             {}},
            // No "done" line and a broken last line: the end of the body ends the run.
            {"ollama_chat_stream_truncated.txt", ollama, "Sure, here", {}},
            // An OpenAI-shaped document on the Ollama path carries nothing Ollama-shaped.
            {"llamacpp_api_chat_alias_returns_openai_json.txt", ollama, "", {}},
            {"lmstudio_chat_stream_basic.txt", lmstudio, "Hello! How can I assist you today?", {}},
            {"lmstudio_chat_stream_reasoning_content.txt",
             lmstudio,
             "\n\nWhy did the scarecrow win an award?",
             {}},
            {"llamacpp_chat_stream_basic.txt", custom, "Hello! How can I help you today?", {}},
            {"llamacpp_chat_stream_midstream_error.txt", custom, "Once upon a",
             serverError + "Context size has been exceeded."},
            // The old "error:" field line is not a data line: skipped, then [DONE].
            {"llamacpp_chat_stream_midstream_error_legacy.txt", custom, "Once upon", {}},
            {"llamacpp_chat_stream_reasoning_include_usage.txt",
             custom,
             QStringLiteral("17 \u00D7 23 = **391**"),
             {}},
            {"ollama_v1_chat_stream_current.txt",
             custom,
             QStringLiteral("17 \u00D7 23 = **391**"),
             {}},
            {"openai_chat_stream_basic.txt",
             custom,
             QStringLiteral("Sure! Here\u2019s the fix: use `std::move`."),
             {}},
            {"openai_chat_stream_include_usage.txt", custom, "Paris.", {}},
            {"openai_chat_stream_midstream_error.txt", custom, "Once upon",
             serverError +
                 "The server had an error while processing your request. Sorry about that!"},
            {"openrouter_chat_stream_midstream_error.txt", custom, "Half an",
             serverError + "Provider disconnected unexpectedly"},
            {"vllm_chat_stream_midstream_error.txt", custom, "Sure,",
             serverError + "EngineCore encountered an issue. See stack trace (above) for the root "
                           "cause."},
            {"vllm_chat_stream_reasoning_content.txt", custom, "\n\nHello! How can I help?", {}},
            {"compat_sse_crlf_line_endings.txt", custom, "Good morning.", {}},
            {"compat_sse_finish_reason_empty_string.txt", custom, "I am fine.", {}},
            {"compat_sse_no_space_after_data.txt", custom, "Hi!", {}},
            {"compat_sse_truncated_mid_event.txt", custom, "The first", {}},
        };
        for (const auto& c : cases) {
            for (const Delivery& d : deliveries()) {
                QTest::addRow("%s, %s", c.file, d.name)
                    << QString::fromLatin1(c.file) << c.provider << int(d.ending) << int(d.cut)
                    << c.text << c.error;
            }
        }
    }
    void streams() {
        QFETCH(QString, file);
        QFETCH(int, provider);
        QFETCH(int, ending);
        QFETCH(int, cut);
        QFETCH(QString, expectedText);
        QFETCH(QString, expectedError);

        const RunOutcome outcome = run(Provider(provider), planFor(file, Ending(ending), Cut(cut)));
        QCOMPARE(outcome.endings, 1);
        QCOMPARE(outcome.signalsAfterEnd, 0);
        QCOMPARE(outcome.joined(), expectedText);
        for (const QString& piece : outcome.pieces)
            QVERIFY(!piece.isEmpty());
        QCOMPARE(outcome.errorText(), expectedError);
        QCOMPARE(outcome.finished, expectedError.isEmpty());
        checkRequest(Provider(provider));
    }

    // The pieces are the servers' fragments, one by one, not merely the sum.
    void piecesAreTheFragments() {
        const RunOutcome outcome = run(Provider::ollama, planFor("ollama_chat_stream_basic.txt",
                                                                 Ending::recorded, Cut::bytes));
        QCOMPARE(outcome.pieces,
                 (QStringList{"Hello", "!", " How", " can", " I", " help", " you", " today", "?"}));
    }

    void errorStatuses_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("provider");
        QTest::addColumn<int>("ending");
        QTest::addColumn<int>("cut");
        QTest::addColumn<QString>("expectedError");
        const int ollama = int(Provider::ollama);
        const int lmstudio = int(Provider::lmstudio);
        const int custom = int(Provider::custom);
        const auto http = [](int status, const QString& message) -> QString {
            return QStringLiteral("The model server returned an error (HTTP %1): ").arg(status) +
                   message;
        };
        const struct {
            const char* file;
            int provider;
            QString error;
        } cases[] = {
            {"ollama_chat_error_404_model_not_found.txt", ollama,
             http(404, "model 'llama9' not found")},
            {"ollama_chat_error_400_thinking_unsupported.txt", ollama,
             http(400, "\"llama3.2\" does not support thinking")},
            {"ollama_chat_error_500_insufficient_memory.txt", ollama,
             http(500,
                  "model requires more system memory (18.4 GiB) than is available (12.3 GiB)")},
            {"lmstudio_error_400_no_models_loaded.txt", lmstudio,
             http(400, "No models loaded. Please load a model in the developer page or use the "
                       "'lms load' command.")},
            {"llamacpp_error_400_context_exceeded.txt", custom,
             http(400, "request (5274 tokens) exceeds the available context size (4096 tokens), "
                       "try increasing it")},
            {"llamacpp_error_503_loading_model.txt", custom, http(503, "Loading model")},
            {"llamacpp_unknown_endpoint_404.txt", custom, http(404, "File Not Found")},
            {"ollama_v1_error_404_model_not_found.txt", custom,
             http(404, "model 'llama9' not found")},
            {"openai_error_401_invalid_api_key.txt", custom,
             http(401, "Incorrect API key provided: sk-proj-" + QString(152, u'*') +
                           "Xq7w. You can find your API key at "
                           "https://platform.openai.com/account/api-keys.")},
            {"openai_error_404_model_not_found.txt", custom,
             http(404, "The model `gpt-5-nanoo` does not exist or you do not have access to it.")},
            {"openai_error_429_rate_limit.txt", custom,
             http(429,
                  "Rate limit reached for gpt-4.1 in organization org-Xy12AbCdEfGhIjKlMnOpQrSt "
                  "on tokens per min (TPM): Limit 30000, Used 28039, Requested 3906. Please "
                  "try again in 3.89s. Visit https://platform.openai.com/account/rate-limits "
                  "to learn more.")},
            {"openai_error_500_server_error.txt", custom,
             http(500, "The server had an error while processing your request. Sorry about that!")},
            {"vllm_error_404_model_not_found.txt", custom,
             http(404, "The model `gpt-4o` does not exist.")},
            // No "error" key: the body itself is the message.
            {"vllm_error_404_model_not_found_legacy.txt", custom,
             http(404, "{\"object\":\"error\",\"message\":\"The model `gpt-4o` does not "
                       "exist.\",\"type\":\"NotFoundError\",\"param\":null,\"code\":404}")},
        };
        for (const auto& c : cases) {
            for (const Delivery& d : deliveries()) {
                QTest::addRow("%s, %s", c.file, d.name) << QString::fromLatin1(c.file) << c.provider
                                                        << int(d.ending) << int(d.cut) << c.error;
            }
        }
    }
    void errorStatuses() {
        QFETCH(QString, file);
        QFETCH(int, provider);
        QFETCH(int, ending);
        QFETCH(int, cut);
        QFETCH(QString, expectedError);

        const RunOutcome outcome = run(Provider(provider), planFor(file, Ending(ending), Cut(cut)));
        QCOMPARE(outcome.endings, 1);
        QCOMPARE(outcome.signalsAfterEnd, 0);
        QVERIFY(outcome.pieces.isEmpty());
        QCOMPARE(outcome.errorText(), expectedError);
        QVERIFY(outcome.error->llm().has_value());
        QCOMPARE(outcome.error->llm()->kind(), LLMError::Case::http);
        checkRequest(Provider(provider));
    }
};

QTEST_GUILESS_MAIN(ChatStreamVectorsTest)
#include "tst_chatstream_vectors.moc"
