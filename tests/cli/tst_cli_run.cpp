#include "CliProcess.h"
#include "LoopbackServer.h"
#include "settings/Preferences.h"
#include "storage/AppSupport.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QTcpServer>
#include <QTest>

#include <csignal>
#include <memory>

namespace {

const QString thinkReply = QStringLiteral("Hello! How can I help you today? \U0001F60A");
const QString thinkRaw = QStringLiteral("<think>\nOkay, the user just said hi. I'll greet them "
                                        "back.\n</think>\n\n") +
                         thinkReply;

QJsonObject bodyOf(const LoopbackServer::Request& request) {
    return QJsonDocument::fromJson(request.body).object();
}

QString systemPromptOf(const LoopbackServer::Request& request) {
    return bodyOf(request)["messages"].toArray()[0].toObject()["content"].toString();
}

QString userTextOf(const LoopbackServer::Request& request) {
    return bodyOf(request)["messages"].toArray()[1].toObject()["content"].toString();
}

QString noServerText(const QString& address) {
    return QStringLiteral("No model server is running at ") + address +
           QStringLiteral(". Start Ollama or LM Studio (or check the server address in Settings "
                          "\u2192 Model), then press Retry.\n");
}

} // namespace

// `wendle run`: the reply streams to standard output, errors go to standard
// error, and the exit status says how it went.
class CliRunTest : public QObject {
    Q_OBJECT

    std::unique_ptr<LoopbackThread> m_thread;
    LoopbackServer* m_server = nullptr;

    // The connection most tests use: Ollama at the loopback server.
    QStringList ollamaAt(const QStringList& more = {}) {
        return QStringList{"run",           "--provider", "ollama",  "--url",
                           m_server->url(), "--model",    "llama3.2"} +
               more;
    }

    QByteArray settingsFileBytes() {
        QFile file(Preferences::shared().fileName());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<no file>");
    }

private Q_SLOTS:
    void init() {
        m_thread = std::make_unique<LoopbackThread>();
        m_server = &m_thread->server();
        Preferences::shared().clear();
        Preferences::shared().sync();
        QFile::remove(AppSupport::fileURL(QStringLiteral("actions.json")));
    }

    void cleanup() {
        m_server = nullptr;
        m_thread.reset();
    }

    // The reply is on standard output while the server is still sending it.
    void outputGrowsWhileTheReplyStreams() {
        ReplyPlan plan = ReplyPlan::recorded("ollama_chat_stream_basic.txt"); // ten lines
        plan.split = ReplyPlan::Split::lines;
        plan.delay = std::chrono::milliseconds(120);
        m_server->route("POST", "/api/chat", plan);

        CliProcess wendle(ollamaAt({"Shorten"}));
        int linesSentAtFirstOutput = -1;
        wendle.onOutput([&](const QByteArray&) {
            if (linesSentAtFirstOutput < 0)
                linesSentAtFirstOutput = int(m_server->request(0).pieceTimes.size());
        });
        QVERIFY(wendle.run("Some text to shorten."));
        QCOMPARE(wendle.errText(), QString());
        QCOMPARE(wendle.outText(), QStringLiteral("Hello! How can I help you today?\n"));
        QCOMPARE(wendle.exitCode(), 0);
        QVERIFY2(linesSentAtFirstOutput >= 1 && linesSentAtFirstOutput < 10,
                 qPrintable(QString::number(linesSentAtFirstOutput)));
        QVERIFY2(wendle.chunks().size() >= 5, qPrintable(QString::number(wendle.chunks().size())));
    }

    // Think blocks never reach the output, not even for a moment.
    void thinkBlocksAreLeftOut() {
        ReplyPlan plan = ReplyPlan::recorded("ollama_chat_stream_think_tags_in_content.txt");
        plan.split = ReplyPlan::Split::lines;
        plan.delay = std::chrono::milliseconds(10);
        m_server->route("POST", "/api/chat", plan);
        CliProcess wendle(ollamaAt({"1"}));
        QVERIFY(wendle.run("hi"));
        QCOMPARE(wendle.exitCode(), 0);
        QCOMPARE(wendle.outText(), thinkReply + u'\n');
        QVERIFY(wendle.chunks().size() >= 3);
        QVERIFY(!wendle.outText().contains(u"Okay"));
    }

    void rawPrintsThePiecesAsTheyCome() {
        ReplyPlan plan = ReplyPlan::recorded("ollama_chat_stream_think_tags_in_content.txt");
        plan.split = ReplyPlan::Split::lines;
        plan.delay = std::chrono::milliseconds(5);
        m_server->route("POST", "/api/chat", plan);
        CliProcess wendle(ollamaAt({"--raw", "1"}));
        QVERIFY(wendle.run("hi"));
        QCOMPARE(wendle.exitCode(), 0);
        QCOMPARE(wendle.outText(), thinkRaw);
        QCOMPARE(wendle.errText(), QString());
    }

    void openAICompatibleServer() {
        m_server->route("POST", "/v1/chat/completions",
                        ReplyPlan::recorded("openai_chat_stream_basic.txt"));
        CliProcess wendle({"run", "--provider", "custom", "--url",
                           m_server->url() + "/v1/chat/completions", "--model", "gpt-5-nano", "2"});
        QVERIFY(wendle.run("text"));
        QCOMPARE(wendle.exitCode(), 0);
        QCOMPARE(wendle.outText(), QStringLiteral("Sure! Here\u2019s the fix: use `std::move`.\n"));
    }

    // Standard input is the captured text as it is: not trimmed, any size.
    void inputIsSentAsItIs() {
        m_server->route("POST", "/api/chat", ReplyPlan::recorded("ollama_chat_stream_basic.txt"));
        const QByteArray input =
            "  two lines,\n\tcaf\xC3\xA9 \xE2\x80\x94 end \n\n" + QByteArray(200000, 'x');
        CliProcess wendle(ollamaAt({"Fix grammar"}));
        QVERIFY(wendle.run(input));
        QCOMPARE(wendle.exitCode(), 0);
        QCOMPARE(userTextOf(m_server->request(0)), QString::fromUtf8(input));
        QVERIFY(systemPromptOf(m_server->request(0))
                    .contains(u"sends: Fix all spelling, grammar and punctuation errors."));
    }

    void inputThatIsNotUtf8IsRefused() {
        m_server->route("POST", "/api/chat", ReplyPlan::recorded("ollama_chat_stream_basic.txt"));
        CliProcess wendle(ollamaAt({"1"}));
        QVERIFY(wendle.run("caf\xE9\n"));
        QCOMPARE(wendle.exitCode(), 1);
        QCOMPARE(wendle.errText(), QStringLiteral("wendle: standard input is not UTF-8 text\n"));
        QCOMPARE(wendle.outText(), QString());
        QCOMPARE(m_server->requestCount(), 0);
    }

    void failures_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QStringList>("extra"); // overrides the connection
        QTest::addColumn<QString>("expectedOut");
        QTest::addColumn<QString>("expectedErr");
        QTest::newRow("http error")
            << "ollama_chat_error_404_model_not_found.txt" << QStringList{} << ""
            << "The model server returned an error (HTTP 404): model "
               "'llama9' not found\n";
        // What came before the error stays on standard output, its line ended.
        QTest::newRow("error in the middle")
            << "ollama_chat_stream_midstream_error.txt" << QStringList{} << "Hello! How\n"
            << "The model server reported an error: an error was "
               "encountered while running the model: unexpected "
               "EOF\n";
        QTest::newRow("bad address") << "" << QStringList{"--url", "http://my server"} << ""
                                     << "The server address \u201Chttp://my server/api/chat\u201D "
                                        "is not a valid URL. Check Settings \u2192 Model.\n";
        QTest::newRow("no model") << "" << QStringList{"--model", " "} << ""
                                  << "No model is selected. Open Settings \u2192 Model and choose "
                                     "one.\n";
        QTest::newRow("empty reply")
            << "llamacpp_api_chat_alias_returns_openai_json.txt" << QStringList{} << ""
            << "The model returned an empty reply. Try again or pick a "
               "different model in Settings.\n";
    }
    void failures() {
        QFETCH(QString, file);
        QFETCH(QStringList, extra);
        QFETCH(QString, expectedOut);
        QFETCH(QString, expectedErr);
        if (!file.isEmpty())
            m_server->route("POST", "/api/chat", ReplyPlan::recorded(file));
        // Later options win over the defaults of ollamaAt().
        CliProcess wendle(ollamaAt(extra + QStringList{"1"}));
        QVERIFY(wendle.run("text"));
        QCOMPARE(wendle.errText(), expectedErr);
        QCOMPARE(wendle.outText(), expectedOut);
        QCOMPARE(wendle.exitCode(), 1);
    }

    // A reply cut off by a reset or by damaged chunk framing is no reply:
    // status 1 and the lost-connection text, never a truncated success.
    void cutReplyFails_data() {
        QTest::addColumn<int>("mode");
        QTest::newRow("reset") << int(ReplyPlan::Mode::resetMidBody);
        QTest::newRow("damaged chunk head") << int(ReplyPlan::Mode::badChunkMidBody);
        QTest::newRow("close inside a chunk") << int(ReplyPlan::Mode::closeInsideChunk);
    }
    void cutReplyFails() {
        QFETCH(int, mode);
        ReplyPlan plan = ReplyPlan::recorded("ollama_chat_stream_basic.txt");
        plan.split = ReplyPlan::Split::lines;
        plan.mode = ReplyPlan::Mode(mode);
        qsizetype at = 0;
        for (int i = 0; i < 4; ++i)
            at = plan.body.indexOf('\n', at) + 1;
        plan.closeAfter = at;
        m_server->route("POST", "/api/chat", plan);
        CliProcess wendle(ollamaAt({"1"}));
        QVERIFY(wendle.run("text"));
        QCOMPARE(wendle.errText(),
                 noServerText(QStringLiteral("127.0.0.1:%1").arg(m_server->port())));
        QCOMPARE(wendle.outText(), QStringLiteral("Hello! How can\n"));
        QCOMPARE(wendle.exitCode(), 1);
    }

    void onlyThinkingIsAnEmptyReply() {
        m_server->route("POST", "/api/chat",
                        ReplyPlan::text(200, "application/x-ndjson",
                                        "{\"message\":{\"content\":\"<think>hmm</think>\\n \"}}\n"
                                        "{\"done\":true}\n"));
        CliProcess wendle(ollamaAt({"1"}));
        QVERIFY(wendle.run("text"));
        QCOMPARE(wendle.exitCode(), 1);
        QCOMPARE(wendle.outText(), QString());
        QCOMPARE(wendle.errText(), QStringLiteral("The model returned an empty reply. Try again or "
                                                  "pick a different model in Settings.\n"));
    }

    void nothingListening() {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        const QString address = QStringLiteral("127.0.0.1:%1").arg(probe.serverPort());
        probe.close();
        CliProcess wendle({"run", "--url", address, "--model", "m", "1"});
        QVERIFY(wendle.run("text"));
        QCOMPARE(wendle.exitCode(), 1);
        QCOMPARE(wendle.outText(), QString());
        QCOMPARE(wendle.errText(), noServerText(address));
    }

    // Tone and language default to the palette's last choices.
    void toneAndLanguage() {
        m_server->route("POST", "/api/chat", ReplyPlan::recorded("ollama_chat_stream_basic.txt"));
        {
            CliProcess wendle(ollamaAt({"Change tone"}));
            QVERIFY(wendle.run("text"));
            QVERIFY(systemPromptOf(m_server->request(0))
                        .contains(u"sends: Rewrite the text in a Professional tone."));
        }
        Preferences::shared().setValue("paletteTone", "Casual");
        Preferences::shared().setValue("paletteLanguage",
                                       "Klingon"); // not in the list: as it stands
        Preferences::shared().sync();
        const QByteArray before = settingsFileBytes();
        {
            CliProcess wendle(ollamaAt({"Change tone"}));
            QVERIFY(wendle.run("text"));
            QVERIFY(systemPromptOf(m_server->request(1)).contains(u"in a Casual tone."));
        }
        {
            CliProcess wendle(ollamaAt({"Translate"}));
            QVERIFY(wendle.run("text"));
            QVERIFY(systemPromptOf(m_server->request(2))
                        .contains(u"sends: Translate the text into Klingon."));
        }
        {
            CliProcess wendle(ollamaAt({"--tone", "Friendly", "--language=German", "4"}));
            QVERIFY(wendle.run("text"));
            QVERIFY(systemPromptOf(m_server->request(3)).contains(u"in a Friendly tone."));
        }
        {
            CliProcess wendle(ollamaAt({"--language", "German", "5"}));
            QVERIFY(wendle.run("text"));
            QVERIFY(systemPromptOf(m_server->request(4)).contains(u"into German."));
        }
        // The command line does not change the palette's choices.
        QCOMPARE(settingsFileBytes(), before);
    }

    // With no options, the saved connection; options change it for one run
    // and are never saved.
    void savedConnectionAndOverrides() {
        Preferences::shared().setValue("provider", "lmstudio");
        Preferences::shared().setValue("lmStudioURL", QString(m_server->url() + "/v1/"));
        Preferences::shared().setValue("lmStudioModel", "saved-model");
        Preferences::shared().setValue("ollamaURL", "http://127.0.0.1:1");
        Preferences::shared().sync();
        const QByteArray before = settingsFileBytes();
        m_server->route("POST", "/v1/chat/completions",
                        ReplyPlan::recorded("lmstudio_chat_stream_basic.txt"));
        m_server->route("POST", "/api/chat", ReplyPlan::recorded("ollama_chat_stream_basic.txt"));

        CliProcess saved({"run", "1"});
        QVERIFY(saved.run("text"));
        QCOMPARE(saved.outText(), QStringLiteral("Hello! How can I assist you today?\n"));
        QCOMPARE(m_server->request(0).path, QByteArray("/v1/chat/completions"));
        QCOMPARE(bodyOf(m_server->request(0))["model"].toString(), QStringLiteral("saved-model"));

        CliProcess model({"run", "--model", "other-model", "1"});
        QVERIFY(model.run("text"));
        QCOMPARE(bodyOf(m_server->request(1))["model"].toString(), QStringLiteral("other-model"));

        CliProcess provider(
            {"run", "--provider", "ollama", "--url", m_server->url(), "--model", "qwen3", "1"});
        QVERIFY(provider.run("text"));
        QCOMPARE(provider.outText(), QStringLiteral("Hello! How can I help you today?\n"));
        QCOMPARE(m_server->request(2).path, QByteArray("/api/chat"));
        QCOMPARE(bodyOf(m_server->request(2))["model"].toString(), QStringLiteral("qwen3"));

        QCOMPARE(settingsFileBytes(), before);
    }

    void actionsFromTheActionsFile() {
        QFile file(AppSupport::fileURL(QStringLiteral("actions.json")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"([
  {"id" : "0E4C7A4B-3B2F-4C52-9E59-9D4A7F1F2C11", "instruction" : "Say it like a pirate.",
   "kind" : "plain", "name" : "Pirate"},
  {"id" : "5B0E2B7C-8A51-4C1D-9D7A-2E6F3B9A1C04", "instruction" : "Make it {tone}.",
   "kind" : "tone", "name" : "2"}
])");
        file.close();
        m_server->route("POST", "/api/chat", ReplyPlan::recorded("ollama_chat_stream_basic.txt"));
        {
            CliProcess wendle(ollamaAt({"Pirate"}));
            QVERIFY(wendle.run("text"));
            QCOMPARE(wendle.exitCode(), 0);
            QVERIFY(systemPromptOf(m_server->request(0)).contains(u"sends: Say it like a pirate."));
        }
        {
            // A name wins over a number.
            CliProcess wendle(ollamaAt({"--tone", "Casual", "2"}));
            QVERIFY(wendle.run("text"));
            QVERIFY(systemPromptOf(m_server->request(1)).contains(u"sends: Make it Casual."));
        }
        {
            CliProcess wendle(ollamaAt({"1"}));
            QVERIFY(wendle.run("text"));
            QVERIFY(systemPromptOf(m_server->request(2)).contains(u"sends: Say it like a pirate."));
        }
    }

    // Ctrl+C ends the run, closes the connection and exits with 130.
    void interruptEndsTheRun() {
        ReplyPlan plan = ReplyPlan::recorded("ollama_chat_stream_basic.txt");
        plan.split = ReplyPlan::Split::lines;
        plan.delay = std::chrono::milliseconds(200);
        m_server->route("POST", "/api/chat", plan);
        CliProcess wendle(ollamaAt({"1"}));
        QVERIFY(wendle.start("text"));
        QVERIFY(wendle.waitUntil([&] { return !wendle.out().isEmpty(); }));
        ::kill(pid_t(wendle.process().processId()), SIGINT);
        QVERIFY(wendle.waitForEnd());
        QVERIFY(wendle.exitedNormally());
        QCOMPARE(wendle.exitCode(), 130);
        QCOMPARE(wendle.errText(), QString());
        QVERIFY(wendle.outText().startsWith(u"Hello"));
        QTRY_VERIFY(m_server->request(0).clientClosedEarly);
    }

    // A reader that goes away ends the run quietly, as it ends any filter:
    // `wendle run ... | head -c 5`.
    void readerGoingAwayEndsTheRun() {
        ReplyPlan plan = ReplyPlan::recorded("ollama_chat_stream_basic.txt");
        plan.split = ReplyPlan::Split::lines;
        plan.delay = std::chrono::milliseconds(100);
        m_server->route("POST", "/api/chat", plan);
        QProcess shell;
        const QStringList script{"-c",
                                 "\"$0\" \"$@\" | head -c 5; echo \" status ${PIPESTATUS[0]}\"",
                                 QStringLiteral(WENDLE_EXECUTABLE)};
        shell.start("/bin/bash", script + ollamaAt({"1"}));
        QVERIFY(shell.waitForStarted());
        shell.write("text");
        shell.closeWriteChannel();
        QVERIFY(shell.waitForFinished(15000));
        // Ended by SIGPIPE (128 + 13), with nothing on standard error.
        QCOMPARE(QString::fromUtf8(shell.readAllStandardOutput()),
                 QStringLiteral("Hello status 141\n"));
        QCOMPARE(QString::fromUtf8(shell.readAllStandardError()), QString());
        QTRY_VERIFY(m_server->request(0).clientClosedEarly);
        QVERIFY(m_server->request(0).pieceTimes.size() < 10);
    }

    void closedStandardOutputIsAnError() {
        m_server->route("POST", "/api/chat", ReplyPlan::recorded("ollama_chat_stream_basic.txt"));
        QProcess shell;
        const QStringList shellArguments{"-c", "exec \"$0\" \"$@\" >&-",
                                         QStringLiteral(WENDLE_EXECUTABLE)};
        shell.start("/bin/sh", shellArguments + ollamaAt({"1"}));
        QVERIFY(shell.waitForStarted());
        shell.write("text");
        shell.closeWriteChannel();
        QVERIFY(shell.waitForFinished(15000));
        QCOMPARE(shell.exitCode(), 1);
        QVERIFY(QString::fromUtf8(shell.readAllStandardError())
                    .startsWith(u"wendle: cannot write to standard output: "));
    }
};

QTEST_GUILESS_MAIN(CliRunTest)
#include "tst_cli_run.moc"
