#include "LoopbackServer.h"
#include "LoopbackSettings.h"
#include "RunOutcome.h"
#include "llm/LLMClient.h"
#include "settings/Keychain.h"

#include <QCoroTask>
#include <QTest>

#include <memory>

namespace {

constexpr qsizetype mebibyte = 1024 * 1024;

const QString tooLongText =
    QStringLiteral("The model's reply is too long: Wendle stopped reading it after 1 MB.");

QByteArray ollamaLine(const QByteArray& content) {
    return "{\"message\":{\"role\":\"assistant\",\"content\":\"" + content +
           "\"},\"done\":false}\n";
}

} // namespace

// A reply past the client's cap ends with a clear error instead of growing
// without end. The cap is lowered to 1 MB here; the command line's tests
// run into the real one.
class ReplyLimitsTest : public QObject {
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
        LLMClient::setLimits({mebibyte});
        m_thread = std::make_unique<LoopbackThread>();
        m_server = &m_thread->server();
    }

    void cleanup() {
        m_server = nullptr;
        m_thread.reset();
        LLMClient::setLimits({});
    }

    void replyUpToTheCapIsWhole() {
        ReplyPlan plan =
            ReplyPlan::text(200, "application/x-ndjson",
                            ollamaLine(QByteArray(1024, 'a')).repeated(1024) + "{\"done\":true}\n");
        plan.split = ReplyPlan::Split::lines;
        const RunOutcome outcome = runWith(plan);
        QCOMPARE(outcome.errorText(), QString());
        QVERIFY(outcome.finished);
        QCOMPARE(outcome.joined().size(), mebibyte);
    }

    void replyPastTheCapEnds() {
        ReplyPlan plan = ReplyPlan::text(200, "application/x-ndjson",
                                         ollamaLine(QByteArray(1000, 'a')).repeated(3000));
        plan.split = ReplyPlan::Split::lines;
        const RunOutcome outcome = runWith(plan);
        QCOMPARE(outcome.endings, 1);
        QCOMPARE(outcome.errorText(), tooLongText);
        // Nothing past the cap was handed on.
        QCOMPARE(outcome.joined().size(), 1048000);
    }

    // A line that never ends is not kept growing either.
    void endlessLineEnds() {
        ReplyPlan plan =
            ReplyPlan::text(200, "application/x-ndjson",
                            "{\"message\":{\"content\":\"" + QByteArray(3 * mebibyte, 'a'));
        plan.split = ReplyPlan::Split::lines;
        const RunOutcome outcome = runWith(plan);
        QCOMPARE(outcome.endings, 1);
        QCOMPARE(outcome.errorText(), tooLongText);
        QVERIFY(outcome.pieces.isEmpty());
    }

    void modelListPastTheCapEnds() {
        m_server->route("GET", "/api/tags",
                        ReplyPlan::text(200, "application/json",
                                        "{\"models\":[" +
                                            QByteArray("{\"name\":\"m\"},").repeated(200000) +
                                            "{\"name\":\"last\"}]}"));
        const auto list =
            QCoro::waitFor(LLMClient::listModels(settingsFor(Provider::ollama, m_server->url())));
        QVERIFY(list.names.isEmpty());
        QCOMPARE(list.error ? list.error->description() : QString(), tooLongText);
    }
};

QTEST_GUILESS_MAIN(ReplyLimitsTest)
#include "tst_replylimits.moc"
