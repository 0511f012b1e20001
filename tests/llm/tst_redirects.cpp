#include "LoopbackServer.h"
#include "LoopbackSettings.h"
#include "RunOutcome.h"
#include "llm/LLMClient.h"
#include "settings/Keychain.h"

#include <QCoroTask>
#include <QTest>

#include <memory>

namespace {

const QList<int> redirectStatuses{301, 302, 303, 307, 308};

QString refusedText(const QString& address) {
    return QStringLiteral("The model server redirected the request to ") + address +
           QStringLiteral(", which is not the server in Settings \u2192 Model. Wendle did not "
                          "follow, so your text and API key went nowhere else. Check the server "
                          "address in Settings \u2192 Model.");
}

} // namespace

// A server that sends a request on elsewhere: the user's text and API key
// never reach a server other than the configured one.
class RedirectsTest : public QObject {
    Q_OBJECT

    std::unique_ptr<LoopbackThread> m_origin;
    std::unique_ptr<LoopbackThread> m_elsewhere;

    RunOutcome run(const ServerSettings& settings) {
        RunOutcome outcome;
        std::unique_ptr<ChatStream> stream(LLMClient::stream(settings, QStringLiteral("Shorten."),
                                                             QStringLiteral("Secret text.")));
        outcome.watch(stream.get());
        waitUntil([&] { return outcome.over(); });
        return outcome;
    }

    // Another server, at `host`, that would answer both requests.
    void startElsewhere(const QString& host) {
        m_elsewhere = std::make_unique<LoopbackThread>(QHostAddress(host));
        m_elsewhere->server().route("POST", "/v1/chat/completions",
                                    ReplyPlan::recorded("openai_chat_stream_basic.txt"));
        m_elsewhere->server().route("GET", "/v1/models", ReplyPlan::recorded("openai_models.txt"));
    }

private Q_SLOTS:
    void initTestCase() {
        Keychain::useMemoryStoreForTesting();
        QCoro::waitFor(Keychain::set(QStringLiteral("sk-secret")));
    }

    void init() { m_origin = std::make_unique<LoopbackThread>(); }

    void cleanup() {
        m_elsewhere.reset();
        m_origin.reset();
    }

    // Every redirect status, to another host and to another port of the
    // same host, for the chat request and for the model listing.
    void redirectToAnotherServerIsRefused_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("host");
        QTest::addColumn<bool>("chat");
        for (const int status : redirectStatuses) {
            for (const QString host : {"127.0.0.2", "127.0.0.1"}) {
                for (const bool chat : {true, false}) {
                    QTest::addRow("%d to %s, %s", status, qPrintable(host),
                                  chat ? "chat" : "listing")
                        << status << host << chat;
                }
            }
        }
    }
    void redirectToAnotherServerIsRefused() {
        QFETCH(int, status);
        QFETCH(QString, host);
        QFETCH(bool, chat);
        startElsewhere(host);
        LoopbackServer& elsewhere = m_elsewhere->server();
        const QByteArray path = chat ? "/v1/chat/completions" : "/v1/models";
        m_origin->server().route(chat ? "POST" : "GET", path,
                                 ReplyPlan::redirect(status, elsewhere.url().toUtf8() + path));
        const ServerSettings settings = settingsFor(Provider::custom, m_origin->server().url());

        QString error;
        if (chat) {
            const RunOutcome outcome = run(settings);
            QCOMPARE(outcome.endings, 1);
            QVERIFY(outcome.pieces.isEmpty());
            error = outcome.errorText();
        } else {
            const auto list = QCoro::waitFor(LLMClient::listModels(settings));
            QVERIFY(list.names.isEmpty());
            error = list.error ? list.error->description() : QString();
        }
        QCOMPARE(error, refusedText(host + u':' + QString::number(elsewhere.port())));
        // The configured server had the key; the other one saw nothing at all.
        QCOMPARE(m_origin->server().request(0).header("Authorization"),
                 QByteArray("Bearer sk-secret"));
        QCOMPARE(elsewhere.requestCount(), 0);
    }

    // On the configured server a redirect is followed, key and all.
    void redirectOnTheSameServerIsFollowed_data() {
        QTest::addColumn<int>("status");
        for (const int status : redirectStatuses)
            QTest::addRow("%d", status) << status;
    }
    void redirectOnTheSameServerIsFollowed() {
        QFETCH(int, status);
        LoopbackServer& origin = m_origin->server();
        origin.route("POST", "/v1/chat/completions", ReplyPlan::redirect(status, "/moved/chat"));
        origin.route("POST", "/moved/chat", ReplyPlan::recorded("openai_chat_stream_basic.txt"));
        origin.route("GET", "/moved/chat", ReplyPlan::recorded("openai_chat_stream_basic.txt"));
        const RunOutcome outcome = run(settingsFor(Provider::custom, origin.url()));
        QCOMPARE(outcome.errorText(), QString());
        QVERIFY(outcome.finished);
        QCOMPARE(origin.requestCount(), 2);
        QCOMPARE(origin.request(1).path, QByteArray("/moved/chat"));
        QCOMPARE(origin.request(1).header("Authorization"), QByteArray("Bearer sk-secret"));
        // 307 and 308 repeat the request; the others ask for the new place.
        const bool repeat = status == 307 || status == 308;
        QCOMPARE(origin.request(1).method, repeat ? QByteArray("POST") : QByteArray("GET"));
        QCOMPARE(origin.request(1).body, repeat ? origin.request(0).body : QByteArray());
    }

    void sameServer_data() {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::addColumn<bool>("same");
        QTest::newRow("path only") << "http://h:1/a"
                                   << "http://h:1/b" << true;
        QTest::newRow("default port written out") << "http://h/a"
                                                  << "http://h:80/b" << true;
        QTest::newRow("host case") << "https://Example.com/a"
                                   << "https://example.COM/b" << true;
        QTest::newRow("another host") << "http://h:1/a"
                                      << "http://g:1/a" << false;
        QTest::newRow("another port") << "http://h:1/a"
                                      << "http://h:2/a" << false;
        QTest::newRow("https to http") << "https://h/a"
                                       << "http://h/a" << false;
        QTest::newRow("https to http, same port") << "https://h:8443/a"
                                                  << "http://h:8443/a" << false;
        QTest::newRow("http to https") << "http://h/a"
                                       << "https://h/a" << false;
    }
    void sameServer() {
        QFETCH(QString, from);
        QFETCH(QString, to);
        QFETCH(bool, same);
        QCOMPARE(LLMClient::sameServer(QUrl(from), QUrl(to)), same);
    }
};

QTEST_GUILESS_MAIN(RedirectsTest)
#include "tst_redirects.moc"
