#include "CliProcess.h"
#include "LoopbackServer.h"
#include "settings/Preferences.h"
#include "storage/AppSupport.h"

#include <QFile>
#include <QSettings>
#include <QTest>

#include <memory>

// Mistakes on the command line, the help texts, and the two listings.
class CliCommandsTest : public QObject {
    Q_OBJECT

    std::unique_ptr<LoopbackThread> m_thread;
    LoopbackServer* m_server = nullptr;

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

    // Each mistake is named on standard error, nothing is sent, status 2.
    void usageErrors_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("expectedFirstLine");
        QTest::newRow("unknown command")
            << QStringList{"frobnicate"} << "wendle: unknown command 'frobnicate'";
        QTest::newRow("unknown option") << QStringList{"run", "--temperature", "1", "1"}
                                        << "wendle run: unknown option '--temperature'";
        QTest::newRow("short option")
            << QStringList{"run", "-x", "1"} << "wendle run: unknown option '-x'";
        QTest::newRow("option without its value")
            << QStringList{"run", "1", "--tone"} << "wendle run: option '--tone' needs a value";
        QTest::newRow("switch with a value")
            << QStringList{"run", "--raw=yes", "1"} << "wendle run: option '--raw' takes no value";
        QTest::newRow("no such provider") << QStringList{"run", "--provider", "openai", "1"}
                                          << "wendle run: no such provider 'openai' (choose "
                                             "ollama, lmstudio or custom)";
        QTest::newRow("provider in capitals") << QStringList{"run", "--provider=Ollama", "1"}
                                              << "wendle run: no such provider 'Ollama' (choose "
                                                 "ollama, lmstudio or custom)";
        QTest::newRow("unknown action") << QStringList{"run", "fix grammar"}
                                        << "wendle run: no action named 'fix grammar' (see "
                                           "'wendle actions')";
        QTest::newRow("action number too high") << QStringList{"run", "8"}
                                                << "wendle run: no action number 8; there are 7 "
                                                   "(see 'wendle actions')";
        QTest::newRow("action number zero") << QStringList{"run", "0"}
                                            << "wendle run: no action number 0; there are 7 (see "
                                               "'wendle actions')";
        QTest::newRow("no action")
            << QStringList{"run", "--raw"} << "wendle run: no action given (see 'wendle actions')";
        QTest::newRow("two actions") << QStringList{"run", "Fix", "grammar"}
                                     << "wendle run: one action expected, not 2; quote a name "
                                        "that has spaces";
        QTest::newRow("models takes no model")
            << QStringList{"models", "--model", "x"} << "wendle models: unknown option '--model'";
        QTest::newRow("models takes no argument")
            << QStringList{"models", "all"} << "wendle models: unexpected argument 'all'";
        QTest::newRow("models, no such provider") << QStringList{"models", "--provider", "x"}
                                                  << "wendle models: no such provider 'x' (choose "
                                                     "ollama, lmstudio or custom)";
        QTest::newRow("actions takes no argument")
            << QStringList{"actions", "7"} << "wendle actions: unexpected argument '7'";
    }
    void usageErrors() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, expectedFirstLine);
        m_server->setFallback(ReplyPlan::recorded("ollama_chat_stream_basic.txt"));
        Preferences::shared().setValue("ollamaURL", m_server->url());
        Preferences::shared().setValue("ollamaModel", "m");
        Preferences::shared().sync();
        CliProcess wendle(arguments);
        QVERIFY(wendle.run("text"));
        QCOMPARE(wendle.exitCode(), 2);
        QCOMPARE(wendle.outText(), QString());
        QCOMPARE(wendle.errText().section(u'\n', 0, 0), expectedFirstLine);
        QCOMPARE(m_server->requestCount(), 0);
    }

    void help_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("expectedStart");
        QTest::newRow("wendle --help")
            << QStringList{"--help"} << "usage: wendle [COMMAND [OPTIONS]]";
        QTest::newRow("wendle help") << QStringList{"help"} << "usage: wendle [COMMAND [OPTIONS]]";
        QTest::newRow("run --help")
            << QStringList{"run", "--help"} << "usage: wendle run [options] ACTION";
        QTest::newRow("run -h after others")
            << QStringList{"run", "--raw", "1", "-h"} << "usage: wendle run [options] ACTION";
        QTest::newRow("models --help") << QStringList{"models", "--help"} << "usage: wendle models";
        QTest::newRow("actions --help")
            << QStringList{"actions", "--help"} << "usage: wendle actions";
    }
    void help() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, expectedStart);
        CliProcess wendle(arguments);
        QVERIFY(wendle.run());
        QCOMPARE(wendle.exitCode(), 0);
        QCOMPARE(wendle.errText(), QString());
        QVERIFY2(wendle.outText().startsWith(expectedStart), qPrintable(wendle.outText()));
    }

    void generalUsageListsEveryCommand() {
        CliProcess wendle({"--help"});
        QVERIFY(wendle.run());
        for (const char* command : {"run", "models", "actions"})
            QVERIFY(wendle.outText().contains(QStringLiteral("\n  %1 ").arg(command)));
    }

    // "--help" after "--" is an action's name, not a request for help.
    void helpAfterTheEndOfOptionsIsAName() {
        CliProcess wendle({"run", "--", "--help"});
        QVERIFY(wendle.run("text"));
        QCOMPARE(wendle.exitCode(), 2);
        QVERIFY(wendle.errText().startsWith(u"wendle run: no action named '--help'"));
    }

    void runHelpShowsTheRememberedChoices() {
        Preferences::shared().setValue("paletteTone", "Friendly");
        Preferences::shared().setValue("paletteLanguage", "Japanese");
        Preferences::shared().sync();
        CliProcess wendle({"run", "--help"});
        QVERIFY(wendle.run());
        QVERIFY(wendle.outText().contains(u"now \"Friendly\")"));
        QVERIFY(wendle.outText().contains(u"now \"Japanese\")"));
    }

    void builtInActions() {
        CliProcess wendle({"actions"});
        QVERIFY(wendle.run());
        QCOMPARE(wendle.exitCode(), 0);
        QCOMPARE(wendle.errText(), QString());
        QCOMPARE(wendle.outText(),
                 QStringLiteral("1\tFix grammar\n2\tShorten\n3\tExpand\n4\tChange "
                                "tone\n5\tTranslate\n6\tSummarize\n7\tBullet points\n"));
    }

    void actionsFromTheActionsFile() {
        QFile file(AppSupport::fileURL(QStringLiteral("actions.json")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"([
  {"id" : "0E4C7A4B-3B2F-4C52-9E59-9D4A7F1F2C11", "instruction" : "Be brief.",
   "kind" : "plain", "name" : "Brief \u00E9dition"},
  {"id" : "5B0E2B7C-8A51-4C1D-9D7A-2E6F3B9A1C04", "instruction" : "Make it {tone}.",
   "kind" : "tone", "name" : "Tone it"},
  {"id" : "7C1E2B7C-8A51-4C1D-9D7A-2E6F3B9A1C04", "instruction" : "Into {language}.",
   "kind" : "translate", "name" : "Say it in"}
])");
        file.close();
        CliProcess wendle({"actions"});
        QVERIFY(wendle.run());
        QCOMPARE(wendle.exitCode(), 0);
        QCOMPARE(wendle.outText(),
                 QStringLiteral("1\tBrief \u00E9dition\n2\tTone it\n3\tSay it in\n"));
    }

    void emptyActionsFile() {
        QFile file(AppSupport::fileURL(QStringLiteral("actions.json")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[]");
        file.close();
        CliProcess list({"actions"});
        QVERIFY(list.run());
        QCOMPARE(list.exitCode(), 0);
        QCOMPARE(list.outText(), QString());
        CliProcess run({"run", "1"});
        QVERIFY(run.run("text"));
        QCOMPARE(run.exitCode(), 2);
        QVERIFY(run.errText().startsWith(u"wendle run: no action number 1; there are 0"));
    }

    void models_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("expected");
        QTest::newRow("ollama") << QStringList{} << QByteArray("/api/tags") << "ollama_tags.txt"
                                << "qwen3:8b\ngpt-oss:120b-cloud\nllama3.2:latest\n";
        QTest::newRow("lmstudio") << QStringList{"--provider", "lmstudio"}
                                  << QByteArray("/v1/models") << "lmstudio_models.txt"
                                  << "qwen2.5-7b-instruct\ndeepseek-r1-distill-qwen-7b\n"
                                     "text-embedding-nomic-embed-text-v1.5\n";
        QTest::newRow("no models")
            << QStringList{} << QByteArray("/api/tags") << "ollama_tags_empty.txt"
            << "";
    }
    void models() {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, path);
        QFETCH(QString, file);
        QFETCH(QString, expected);
        m_server->route("GET", path, ReplyPlan::recorded(file));
        CliProcess wendle(QStringList{"models", "--url", m_server->url()} + arguments);
        QVERIFY(wendle.run());
        QCOMPARE(wendle.errText(), QString());
        QCOMPARE(wendle.exitCode(), 0);
        QCOMPARE(wendle.outText(), expected);
        QCOMPARE(m_server->request(0).path, path);
    }

    // The saved address, unless --url says otherwise for this once.
    void modelsFromTheSavedServer() {
        Preferences::shared().setValue("provider", "custom");
        Preferences::shared().setValue("customURL",
                                       QString(m_server->url() + "/v1/chat/completions"));
        Preferences::shared().sync();
        m_server->route("GET", "/v1/models", ReplyPlan::recorded("openai_models.txt"));
        CliProcess wendle({"models"});
        QVERIFY(wendle.run());
        QCOMPARE(wendle.exitCode(), 0);
        QVERIFY(wendle.outText().startsWith(u"gpt-4o-mini\ngpt-5-nano\n"));
    }

    void modelsFailures_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("expected");
        QTest::newRow("http error")
            << "llamacpp_error_503_loading_model.txt"
            << "The model server returned an error (HTTP 503): Loading model\n";
        QTest::newRow("unknown path")
            << ""
            << "The model server returned an error (HTTP 404): 404 page not found\n";
    }
    void modelsFailures() {
        QFETCH(QString, file);
        QFETCH(QString, expected);
        if (!file.isEmpty())
            m_server->route("GET", "/api/tags", ReplyPlan::recorded(file));
        CliProcess wendle({"models", "--url", m_server->url()});
        QVERIFY(wendle.run());
        QCOMPARE(wendle.exitCode(), 1);
        QCOMPARE(wendle.outText(), QString());
        QCOMPARE(wendle.errText(), expected);
    }

    void modelsBadAddress() {
        CliProcess wendle({"models", "--url", ""});
        QVERIFY(wendle.run());
        QCOMPARE(wendle.exitCode(), 1);
        QCOMPARE(wendle.errText(),
                 QStringLiteral("The server address \u201C/api/tags\u201D is not a "
                                "valid URL. Check Settings \u2192 Model.\n"));
    }
};

QTEST_GUILESS_MAIN(CliCommandsTest)
#include "tst_cli_commands.moc"
