#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

namespace {

const QString program = QStringLiteral(WENDLE_MODEL_SERVER);
const QString vectors = QStringLiteral(WENDLE_VECTORS);

QList<QJsonObject> events(const QString& logPath) {
    QFile file(logPath);
    QList<QJsonObject> list;
    if (!file.open(QIODevice::ReadOnly))
        return list;
    while (!file.atEnd())
        list.append(QJsonDocument::fromJson(file.readLine()).object());
    return list;
}

bool hasEvent(const QString& logPath, const QString& name) {
    for (const QJsonObject& event : events(logPath)) {
        if (event["event"].toString() == name)
            return true;
    }
    return false;
}

} // namespace

// wendle-test-model-server as other tests use it: a port file, routes to
// recorded replies, a log of events, and a clean end on SIGTERM.
class ModelServerToolTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QProcess m_server;

    quint16 start(const QStringList& arguments) {
        m_server.start(program, QStringList{"--port-file", m_dir.filePath("port"), "--log",
                                            m_dir.filePath("log")} +
                                    arguments);
        if (!m_server.waitForStarted())
            return 0;
        QFile portFile(m_dir.filePath("port"));
        if (!QTest::qWaitFor([&] { return portFile.exists() && portFile.size() > 0; }, 10000))
            return 0;
        portFile.open(QIODevice::ReadOnly);
        return quint16(portFile.readAll().trimmed().toUInt());
    }

    // Sends a request and reads until the server ends the reply or closes.
    static QByteArray exchange(quint16 port, const QByteArray& request, int waitMs = 5000) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, port);
        if (!socket.waitForConnected(5000))
            return "<no connection>";
        socket.write(request);
        QByteArray reply;
        // A reply that never ends within `waitMs` is for the caller to judge:
        // it gets whatever arrived.
        [[maybe_unused]] const bool ended = QTest::qWaitFor(
            [&] {
                reply += socket.readAll();
                return reply.endsWith("0\r\n\r\n") ||
                       socket.state() != QAbstractSocket::ConnectedState;
            },
            waitMs);
        return reply;
    }

private Q_SLOTS:
    void init() {
        QFile::remove(m_dir.filePath("port"));
        QFile::remove(m_dir.filePath("log"));
    }

    void cleanup() {
        if (m_server.state() != QProcess::NotRunning) {
            m_server.kill();
            m_server.waitForFinished();
        }
    }

    void helpAndMistakes() {
        QProcess help;
        help.start(program, {"--help"});
        QVERIFY(help.waitForFinished());
        QCOMPARE(help.exitCode(), 0);
        QVERIFY(help.readAllStandardOutput().startsWith("usage: wendle-test-model-server"));

        QProcess wrong;
        wrong.start(program, {"--route", "nonsense"});
        QVERIFY(wrong.waitForFinished());
        QCOMPARE(wrong.exitCode(), 2);
        QVERIFY(wrong.readAllStandardError().contains("bad value for --route"));
    }

    void answersLogsAndStopsOnSigterm() {
        const quint16 port =
            start({"--route", "POST /api/chat=" + vectors + "/ollama_chat_stream_basic.txt",
                   "--line-delay", "5"});
        QVERIFY(port > 0);
        const QByteArray reply =
            exchange(port, "POST /api/chat HTTP/1.1\r\nHost: x\r\nContent-Length: "
                           "7\r\nX-Test: yes\r\n\r\n{\"a\":1}");
        QVERIFY(reply.startsWith("HTTP/1.1 200 OK\r\nContent-Type: application/x-ndjson\r\n"));
        QVERIFY(reply.contains("\"content\":\"Hello\""));
        QVERIFY(reply.endsWith("0\r\n\r\n"));
        QVERIFY(exchange(port, "GET /elsewhere HTTP/1.1\r\nHost: x\r\n\r\n")
                    .startsWith("HTTP/1.1 404"));

        QTRY_VERIFY(events(m_dir.filePath("log")).size() >= 5);
        const QList<QJsonObject> log = events(m_dir.filePath("log"));
        QCOMPARE(log[0]["event"].toString(), QStringLiteral("listening"));
        QCOMPARE(log[0]["port"].toInt(), int(port));
        QCOMPARE(log[1]["event"].toString(), QStringLiteral("request"));
        QCOMPARE(log[1]["method"].toString(), QStringLiteral("POST"));
        QCOMPARE(log[1]["path"].toString(), QStringLiteral("/api/chat"));
        QCOMPARE(log[1]["body"].toString(), QStringLiteral("{\"a\":1}"));
        QVERIFY(QJsonDocument(log[1]["headers"].toArray()).toJson().contains("X-Test"));
        QCOMPARE(log[2]["event"].toString(), QStringLiteral("reply-complete"));

        ::kill(pid_t(m_server.processId()), SIGTERM);
        QVERIFY(m_server.waitForFinished(5000));
        QCOMPARE(m_server.exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_server.exitCode(), 0);
        QVERIFY(hasEvent(m_dir.filePath("log"), "stopped"));
    }

    void holdAndClientClosingEarly() {
        const quint16 port = start(
            {"--hold", "--route", "POST /api/chat=" + vectors + "/ollama_chat_stream_basic.txt"});
        QVERIFY(port > 0);
        const QByteArray reply =
            exchange(port, "POST /api/chat HTTP/1.1\r\nHost: x\r\nContent-Length: 0\r\n\r\n", 300);
        QCOMPARE(reply, QByteArray()); // nothing, and the client gave up
        QTRY_VERIFY(hasEvent(m_dir.filePath("log"), "client-closed-early"));
        ::kill(pid_t(m_server.processId()), SIGTERM);
        QVERIFY(m_server.waitForFinished(5000));
        QCOMPARE(m_server.exitCode(), 0);
    }

    void closeMidBody() {
        const quint16 port = start({"--close-mid-body=40", "--framing", "length", "--route",
                                    "POST /api/chat=" + vectors + "/ollama_chat_stream_basic.txt"});
        QVERIFY(port > 0);
        const QByteArray reply =
            exchange(port, "POST /api/chat HTTP/1.1\r\nHost: x\r\nContent-Length: 0\r\n\r\n");
        QVERIFY(reply.contains("Content-Length: 1409\r\n"));
        QCOMPARE(reply.size() - (reply.indexOf("\r\n\r\n") + 4), 40);
    }
};

QTEST_GUILESS_MAIN(ModelServerToolTest)
#include "tst_model_server.moc"
