#include "app/InstanceChannel.h"

#include <QFile>
#include <QTest>

#include <future>
#include <thread>

namespace {
// Asks from another thread, so that the server can answer on this one.
std::future<std::optional<QByteArray>> askAside(const QByteArray& command) {
    return std::async(std::launch::async, [command] { return InstanceChannel::ask(command); });
}

template <typename T>
T settle(std::future<T>& answer) {
    while (answer.wait_for(std::chrono::milliseconds(5)) != std::future_status::ready)
        QCoreApplication::processEvents();
    return answer.get();
}
} // namespace

class InstanceChannelTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void theSocketLivesInTheRuntimeFolder() {
        QCOMPARE(InstanceChannel::socketPath(),
                 qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/wendle.socket"));
    }

    void noInstanceAnswersNothing() { QVERIFY(!InstanceChannel::ask("toggle", 200).has_value()); }

    void theRunningInstanceAnswersItsCommands() {
        InstanceServer server;
        QVERIFY(server.claim());
        QVERIFY(server.listen());
        int toggles = 0;
        server.setHandler("toggle", [&] {
            ++toggles;
            return QByteArray("ok");
        });
        auto answer = askAside("toggle");
        QCOMPARE(settle(answer), std::optional<QByteArray>("ok"));
        QCOMPARE(toggles, 1);
        auto unknown = askAside("dance");
        QCOMPARE(settle(unknown), std::optional<QByteArray>("unknown command"));
    }

    void onlyOneInstanceHoldsTheSession() {
        auto first = std::make_unique<InstanceServer>();
        QVERIFY(first->claim());
        InstanceServer second;
        QVERIFY(!second.claim());
        first.reset();
        QVERIFY(second.claim());
    }

    void aSocketLeftByACrashIsReplaced() {
        QFile stale(InstanceChannel::socketPath());
        QVERIFY(stale.open(QIODevice::WriteOnly));
        stale.close();
        InstanceServer server;
        QVERIFY(server.claim());
        QVERIFY(server.listen());
        server.setHandler("toggle", [] { return QByteArray("ok"); });
        auto answer = askAside("toggle");
        QCOMPARE(settle(answer), std::optional<QByteArray>("ok"));
    }
};

QTEST_GUILESS_MAIN(InstanceChannelTest)
#include "tst_instancechannel.moc"
