// The API key in a real Secret Service: gnome-keyring in a private session bus.
#include "settings/Keychain.h"

#include <QCoroTask>
#include <QProcess>
#include <QtTest>

namespace {

// What `secret-tool` finds under the attributes QtKeychain writes; null when
// there is no item.
QByteArray lookup() {
    QProcess tool;
    tool.start(QStringLiteral("secret-tool"), {"lookup", "server", "Wendle", "user", "api-key"});
    tool.waitForFinished(10000);
    return tool.exitCode() == 0 ? tool.readAllStandardOutput() : QByteArray();
}

void storeWithSecretTool(const QByteArray& secret) {
    QProcess tool;
    tool.start(QStringLiteral("secret-tool"),
               {"store", "--label=Wendle", "server", "Wendle", "user", "api-key"});
    tool.write(secret);
    tool.closeWriteChannel();
    QVERIFY(tool.waitForFinished(10000));
    QCOMPARE(tool.exitCode(), 0);
}

} // namespace

class TestKeychain : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { QCoro::waitFor(Keychain::set(QString())); }

    void noKeyReadsAsEmpty() { QCOMPARE(QCoro::waitFor(Keychain::get()), QString()); }

    void storesTheKeyAsUtf8Text() {
        QCoro::waitFor(Keychain::set(QStringLiteral("sk-tëst-1")));
        QCOMPARE(QCoro::waitFor(Keychain::get()), QStringLiteral("sk-tëst-1"));
        QCOMPARE(lookup(), QStringLiteral("sk-tëst-1").toUtf8());
    }

    void keepsSurroundingWhiteSpace() {
        QCoro::waitFor(Keychain::set(QStringLiteral("  sk-key \n")));
        QCOMPARE(QCoro::waitFor(Keychain::get()), QStringLiteral("  sk-key \n"));
    }

    void emptyValueRemovesTheKey() {
        QCoro::waitFor(Keychain::set(QStringLiteral("sk-gone")));
        QVERIFY(!lookup().isEmpty());
        QCoro::waitFor(Keychain::set(QString()));
        QCOMPARE(QCoro::waitFor(Keychain::get()), QString());
        QVERIFY(lookup().isNull());
    }

    void replacesAnExistingKey() {
        storeWithSecretTool("old-key");
        QCoro::waitFor(Keychain::set(QStringLiteral("new-key")));
        QCOMPARE(lookup(), QByteArray("new-key"));
        QCOMPARE(QCoro::waitFor(Keychain::get()), QStringLiteral("new-key"));
    }

    void quickSuccessiveEditsEndWithTheLast() {
        // As when the user types into the key field: every edit is written,
        // none awaited.
        for (const char* typed : {"s", "sk", "sk-", "sk-a", "sk-ab"})
            Keychain::set(QString::fromUtf8(typed));
        QCoro::waitFor(Keychain::set(QStringLiteral("sk-abc")));
        QCOMPARE(QCoro::waitFor(Keychain::get()), QStringLiteral("sk-abc"));
    }

    void clearingRightAfterTypingLeavesNoKey() {
        Keychain::set(QStringLiteral("sk-typed"));
        QCoro::waitFor(Keychain::set(QString()));
        QCOMPARE(QCoro::waitFor(Keychain::get()), QString());
        QVERIFY(lookup().isNull());
    }

    void invalidUtf8ReadsAsEmpty() {
        storeWithSecretTool("\xff\xfe\xfd");
        QCOMPARE(QCoro::waitFor(Keychain::get()), QString());
    }
};

QTEST_GUILESS_MAIN(TestKeychain)
#include "tst_keychain.moc"
