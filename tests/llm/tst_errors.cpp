#include "llm/ErrorMapping.h"
#include "llm/LLMError.h"

#include <QTest>

// The texts the user reads, and how transport failures become them.
class ErrorsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void descriptions() {
        QCOMPARE(LLMError::noServer("localhost:11434").description(),
                 QStringLiteral("No model server is running at localhost:11434. Start Ollama or LM "
                                "Studio (or check the server address in Settings \u2192 Model), "
                                "then press Retry."));
        QCOMPARE(
            LLMError::http(404, "model 'x' not found").description(),
            QStringLiteral("The model server returned an error (HTTP 404): model 'x' not found"));
        QCOMPARE(LLMError::http(503, QString()).description(),
                 QStringLiteral("The model server returned an error (HTTP 503)."));
        QCOMPARE(LLMError::badURL("http://a b/api/chat").description(),
                 QStringLiteral("The server address \u201Chttp://a b/api/chat\u201D is not a valid "
                                "URL. Check Settings \u2192 Model."));
        QCOMPARE(LLMError::server("boom").description(),
                 QStringLiteral("The model server reported an error: boom"));
        QCOMPARE(
            LLMError::noModel().description(),
            QStringLiteral("No model is selected. Open Settings \u2192 Model and choose one."));
    }

    void casesAndPayloads() {
        const LLMError http = LLMError::http(429, "slow down");
        QCOMPARE(http.kind(), LLMError::Case::http);
        QCOMPARE(http.status(), 429);
        QCOMPARE(http.detail(), QStringLiteral("slow down"));
        QVERIFY(LLMError::noModel() == LLMError::noModel());
        QVERIFY(!(LLMError::server("a") == LLMError::server("b")));
    }

    void addressIsHostAndStatedPort_data() {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("expected");
        QTest::newRow("host and port") << "http://localhost:11434/api/chat"
                                       << "localhost:11434";
        QTest::newRow("no port") << "https://api.openai.com/v1/chat/completions"
                                 << "api.openai.com";
        QTest::newRow("ip") << "http://127.0.0.1:1234/v1/models"
                            << "127.0.0.1:1234";
        QTest::newRow("ipv6") << "http://[::1]:8080/x"
                              << "::1:8080";
        QTest::newRow("no host") << "/api/chat"
                                 << "/api/chat";
        QTest::newRow("not a url") << "http://a b/"
                                   << "http://a b/";
    }
    void addressIsHostAndStatedPort() {
        QFETCH(QString, url);
        QFETCH(QString, expected);
        QCOMPARE(LLMClient::address(url), expected);
    }

    void unreachableServersReadAsNoServer_data() {
        QTest::addColumn<int>("error");
        QTest::newRow("refused") << int(QNetworkReply::ConnectionRefusedError);
        QTest::newRow("unknown host") << int(QNetworkReply::HostNotFoundError);
        QTest::newRow("closed") << int(QNetworkReply::RemoteHostClosedError);
        QTest::newRow("socket time-out") << int(QNetworkReply::TimeoutError);
        QTest::newRow("temporary failure") << int(QNetworkReply::TemporaryNetworkFailureError);
        QTest::newRow("network session") << int(QNetworkReply::NetworkSessionFailedError);
        QTest::newRow("transfer time-out") << int(QNetworkReply::OperationCanceledError);
        // What the network library reports for "Network unreachable" and
        // "Host unreachable" (its socket-level network error).
        QTest::newRow("unreachable") << int(QNetworkReply::UnknownNetworkError);
    }
    void unreachableServersReadAsNoServer() {
        QFETCH(int, error);
        const ClientError mapped = LLMClient::mapError(QNetworkReply::NetworkError(error),
                                                       "whatever", "http://h:99/api/chat", false);
        QVERIFY(mapped.llm().has_value());
        QCOMPARE(*mapped.llm(), LLMError::noServer("h:99"));
        QVERIFY(!mapped.isCancellation());
    }

    void ourOwnAbortIsCancellation() {
        const ClientError mapped = LLMClient::mapError(QNetworkReply::OperationCanceledError,
                                                       "Operation canceled", "http://h:1/x", true);
        QVERIFY(mapped.isCancellation());
        QVERIFY(!mapped.llm().has_value());
    }

    void otherFailuresPassThrough() {
        const ClientError mapped = LLMClient::mapError(
            QNetworkReply::SslHandshakeFailedError, "SSL handshake failed", "https://h/x", false);
        QVERIFY(!mapped.llm().has_value());
        QVERIFY(!mapped.isCancellation());
        QCOMPARE(mapped.networkError(), int(QNetworkReply::SslHandshakeFailedError));
        QCOMPARE(mapped.description(), QStringLiteral("SSL handshake failed"));
    }
};

QTEST_GUILESS_MAIN(ErrorsTest)
#include "tst_errors.moc"
