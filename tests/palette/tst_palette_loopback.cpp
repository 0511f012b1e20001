#include "PaletteTestWorld.h"

#include "LoopbackServer.h"
#include "RoundTrip.h"
#include "llm/LLMClient.h"
#include "llm/LLMError.h"
#include "palette/PaletteController.h"
#include "palette/PalettePanel.h"
#include "settings/AppSettings.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>

using Phase = PaletteModel::Phase;
using Kind = WendleAction::Kind;

namespace {

const QString vectors = QStringLiteral(WENDLE_VECTORS);

ReplyPlan vector(const QString& name, ReplyPlan::Split split = ReplyPlan::Split::lines,
                 std::chrono::milliseconds delay = std::chrono::milliseconds(0)) {
    ReplyPlan plan = ReplyPlan::recorded(name);
    plan.split = split;
    plan.delay = delay;
    return plan;
}

// The reply text of a recorded Ollama stream: its "content" fields in order.
QString contentOf(const QString& name) {
    QFile file(vectors + QLatin1Char('/') + name);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QString text;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray& line : lines.mid(1)) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        text += object.value("message").toObject().value("content").toString();
    }
    return text;
}

// The system message of a recorded request.
QString systemMessage(const LoopbackServer::Request& request) {
    return QJsonDocument::fromJson(request.body)
        .object()
        .value("messages")
        .toArray()
        .at(0)
        .toObject()
        .value("content")
        .toString();
}

QString userMessage(const LoopbackServer::Request& request) {
    return QJsonDocument::fromJson(request.body)
        .object()
        .value("messages")
        .toArray()
        .at(1)
        .toObject()
        .value("content")
        .toString();
}

} // namespace

// The palette model running actions through the real model client against a
// loopback server that replays recorded replies of a real Ollama server.
class PaletteLoopbackTest : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<LoopbackServer> m_server;
    std::unique_ptr<PaletteTestWorld> m_world;
    std::unique_ptr<PaletteModel> m_model;

    std::unique_ptr<PaletteModel> realModel() {
        return std::make_unique<PaletteModel>(m_world->store, m_world->platform.clipboardFake,
                                              *m_world->preferences,
                                              [](const QString& instruction, const QString& text) {
                                                  return LLMClient::stream(instruction, text);
                                              });
    }

private Q_SLOTS:
    void init() {
        m_server = std::make_unique<LoopbackServer>();
        QVERIFY(m_server->listen());
        AppSettings& settings = AppSettings::shared();
        settings.setProvider(Provider::ollama);
        settings.setOllamaURL(m_server->url());
        settings.setOllamaModel(QStringLiteral("llama3.2"));
        m_world = std::make_unique<PaletteTestWorld>();
        m_world->store.setActions(
            {PaletteTestWorld::action("Shorten", Kind::plain, "Make it shorter."),
             PaletteTestWorld::action("Change tone", Kind::tone, "Rewrite in a {tone} tone.")});
        m_model = realModel();
        m_model->prepare(QStringLiteral("The selected sentence."), SelectionSource::selection, {});
    }

    void cleanup() {
        m_model.reset();
        m_world.reset();
        m_server.reset();
    }

    void theReplyStreamsInAndEndsDone() {
        m_server->route("POST", "/api/chat",
                        vector("ollama_chat_stream_basic.txt", ReplyPlan::Split::lines,
                               std::chrono::milliseconds(15)));
        QSignalSpy output(m_model.get(), &PaletteModel::outputChanged);
        QStringList seen;
        connect(m_model.get(), &PaletteModel::outputChanged, this,
                [&] { seen.append(m_model->output()); });
        m_model->runSelected();
        QCOMPARE(m_model->phase(), Phase::running);
        QTRY_COMPARE(m_model->phase(), Phase::done);

        const QString expected = contentOf("ollama_chat_stream_basic.txt");
        QCOMPARE(m_model->output(), expected);
        QCOMPARE(m_model->cleanedOutput(), QStringLiteral("Hello! How can I help you today?"));
        QVERIFY(m_model->canReplace());
        // The reply grew piece by piece: many intermediate states, each a
        // prefix of the next.
        QVERIFY2(seen.size() >= 5, qPrintable(QString::number(seen.size())));
        for (int i = 1; i < seen.size(); ++i)
            QVERIFY(seen.at(i).startsWith(seen.at(i - 1)));

        QCOMPARE(m_server->requestCount(), 1);
        const LoopbackServer::Request request = m_server->request(0);
        QVERIFY(systemMessage(request).contains("Make it shorter."));
        QCOMPARE(userMessage(request), QStringLiteral("The selected sentence."));
    }

    void thinkBlocksStayOutOfTheVisibleReply() {
        m_server->route("POST", "/api/chat",
                        vector("ollama_chat_stream_think_tags_in_content.txt"));
        bool sawOnlyThinking = false;
        connect(m_model.get(), &PaletteModel::outputChanged, this, [&] {
            if (m_model->output().startsWith("<think>") && m_model->cleanedOutput().isEmpty() &&
                m_model->output().size() > 7)
                sawOnlyThinking = true;
        });
        m_model->runSelected();
        QTRY_COMPARE(m_model->phase(), Phase::done);
        QVERIFY(sawOnlyThinking);
        QVERIFY(m_model->output().startsWith("<think>\n"));
        QCOMPARE(m_model->cleanedOutput(),
                 QStringLiteral("Hello! How can I help you today? \U0001F60A"));
    }

    void aNewRunClosesTheOldConnection() {
        m_server->route("POST", "/api/chat",
                        vector("ollama_chat_stream_basic.txt", ReplyPlan::Split::lines,
                               std::chrono::milliseconds(60)));
        QSignalSpy closed(m_server.get(), &LoopbackServer::clientClosedEarly);
        m_model->pick(1);
        QTRY_VERIFY(!m_model->output().isEmpty());
        m_model->pick(1);
        QCOMPARE(m_model->output(), QString());
        QTRY_COMPARE(closed.count(), 1);
        QCOMPARE(closed.at(0).at(0).toInt(), 0);
        QTRY_COMPARE(m_model->phase(), Phase::done);
        // Only the second run's reply, once.
        QCOMPARE(m_model->output(), contentOf("ollama_chat_stream_basic.txt"));
        QVERIFY(m_server->request(0).clientClosedEarly);
        QVERIFY(m_server->request(1).replyComplete);
    }

    void backClosesTheConnectionAndWritesNothingMore() {
        m_server->route("POST", "/api/chat",
                        vector("ollama_chat_stream_basic.txt", ReplyPlan::Split::lines,
                               std::chrono::milliseconds(60)));
        QSignalSpy closed(m_server.get(), &LoopbackServer::clientClosedEarly);
        m_model->runSelected();
        QTRY_VERIFY(!m_model->output().isEmpty());
        m_model->back();
        const QString partial = m_model->output();
        QCOMPARE(m_model->phase(), Phase::choose);
        QTRY_COMPARE(closed.count(), 1);
        // More lines were due every 60 ms; none of them shows up.
        QVERIFY(RoundTrip::settled(LLMClient::network(), *m_server, 0));
        QCOMPARE(m_model->output(), partial);
        QCOMPARE(m_model->phase(), Phase::choose);
    }

    void escapeDuringARunClosesThePaletteAndTheConnection() {
        m_server->route("POST", "/api/chat",
                        vector("ollama_chat_stream_basic.txt", ReplyPlan::Split::lines,
                               std::chrono::milliseconds(60)));
        QSignalSpy closed(m_server.get(), &LoopbackServer::clientClosedEarly);
        m_world->platform.keys.onShortcut = [this](KeySender::Shortcut shortcut) {
            if (shortcut == KeySender::Shortcut::copy)
                m_world->platform.clipboardFake.setText(QStringLiteral("Selected words."));
        };
        PaletteController controller(
            m_world->platform, m_world->store, *m_world->preferences,
            [](const QString& instruction, const QString& text) {
                return LLMClient::stream(instruction, text);
            },
            recordingDelay(m_world->platform.log));
        QSignalSpy shown(&controller, &PaletteController::shown);
        controller.toggle();
        QTRY_COMPARE(shown.count(), 1);
        QVERIFY(controller.isVisible());
        controller.handle({Qt::Key_1, {}, QStringLiteral("1")});
        QCOMPARE(controller.model().phase(), Phase::running);
        QTRY_VERIFY(!controller.model().output().isEmpty());

        controller.handle({Qt::Key_Escape, {}, QString()});
        QVERIFY(!controller.isVisible());
        QTRY_COMPARE(closed.count(), 1);
        QVERIFY(!controller.model().isRunning());
        QCOMPARE(controller.model().phase(), Phase::running); // left as it was until the next open
        QCOMPARE(userMessage(m_server->request(0)), QStringLiteral("Selected words."));
    }

    void retryWithAChangedOptionSendsTheNewInstruction() {
        m_server->route("POST", "/api/chat", vector("ollama_chat_stream_basic.txt"));
        m_model->pick(2);
        QTRY_COMPARE(m_model->phase(), Phase::done);
        QCOMPARE(m_model->runTitle(), QStringLiteral("Change tone \u00B7 Professional"));
        m_model->setTone(QStringLiteral("Casual"));
        m_model->retry();
        QCOMPARE(m_model->runTitle(), QStringLiteral("Change tone \u00B7 Casual"));
        QTRY_COMPARE(m_model->phase(), Phase::done);
        QCOMPARE(m_server->requestCount(), 2);
        QVERIFY(systemMessage(m_server->request(0)).contains("Rewrite in a Professional tone."));
        QVERIFY(systemMessage(m_server->request(1)).contains("Rewrite in a Casual tone."));
    }

    void anEmptyReplyFails() {
        // A server that ends at once, saying nothing.
        m_server->route(
            "POST", "/api/chat",
            ReplyPlan::text(200, "application/x-ndjson",
                            "{\"model\":\"llama3.2\",\"message\":{\"role\":\"assistant\","
                            "\"content\":\"\"},\"done\":true}\n"));
        m_model->runSelected();
        QTRY_COMPARE(m_model->phase(), Phase::failed);
        QCOMPARE(m_model->errorMessage(),
                 QStringLiteral("The model returned an empty reply. Try again or pick a "
                                "different model in Settings."));
    }

    void anHttpErrorShowsTheServersMessage() {
        m_server->route("POST", "/api/chat", vector("ollama_chat_error_404_model_not_found.txt"));
        m_model->runSelected();
        QTRY_COMPARE(m_model->phase(), Phase::failed);
        QCOMPARE(m_model->errorMessage(),
                 QStringLiteral("The model server returned an error (HTTP 404): model 'llama9' "
                                "not found"));
    }

    // A reply cut off by a reset fails as a lost connection: the part that
    // came stays visible, but the run is not done and cannot replace.
    void aCutReplyFailsAndCannotReplace() {
        ReplyPlan plan = vector("ollama_chat_stream_basic.txt");
        plan.mode = ReplyPlan::Mode::resetMidBody;
        qsizetype at = 0;
        for (int i = 0; i < 4; ++i)
            at = plan.body.indexOf('\n', at) + 1;
        plan.closeAfter = at;
        m_server->route("POST", "/api/chat", plan);
        m_model->runSelected();
        QTRY_COMPARE(m_model->phase(), Phase::failed);
        QCOMPARE(
            m_model->errorMessage(),
            LLMError::noServer(QStringLiteral("127.0.0.1:%1").arg(m_server->port())).description());
        QCOMPARE(m_model->output(), QStringLiteral("Hello! How can"));
        QVERIFY(!m_model->canReplace());
    }

    void aDeadServerNamesItsAddress() {
        // A port that was free a moment ago and has nobody listening now.
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost));
        const quint16 port = probe.serverPort();
        probe.close();
        AppSettings::shared().setOllamaURL(QStringLiteral("http://127.0.0.1:%1").arg(port));
        m_model->runSelected();
        QTRY_COMPARE(m_model->phase(), Phase::failed);
        QCOMPARE(m_model->errorMessage(),
                 LLMError::noServer(QStringLiteral("127.0.0.1:%1").arg(port)).description());
        QVERIFY(m_model->errorMessage().startsWith(
            QStringLiteral("No model server is running at 127.0.0.1:%1. Start Ollama").arg(port)));
    }
};

QTEST_MAIN(PaletteLoopbackTest)
#include "tst_palette_loopback.moc"
