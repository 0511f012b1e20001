#include "actions/ActionStore.h"
#include "storage/AppSupport.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QByteArray element(const char* id, const char* kind) {
    return QByteArray("{\"id\":\"") + id + "\",\"name\":\"n\",\"instruction\":\"i\",\"kind\":\"" +
           kind + "\"}";
}

} // namespace

class TestActionStore : public QObject {
    Q_OBJECT
private:
    QTemporaryDir m_dir;
    QString path() const { return m_dir.filePath(QStringLiteral("actions.json")); }

private Q_SLOTS:
    void init() { QFile::remove(path()); }

    void noFileGivesTheBuiltInsAndWritesNothing() {
        ActionStore store(path());
        QCOMPARE(store.actions(), WendleAction::defaults());
        QVERIFY(!QFile::exists(path()));
    }

    void emptyArrayIsKeptAsItIs() {
        writeFile(path(), "[]");
        ActionStore store(path());
        QVERIFY(store.actions().isEmpty());
        QCOMPARE(readFile(path()), QByteArray("[]"));
    }

    void oneInvalidElementDiscardsTheFileUntilTheFirstChange() {
        const QByteArray content = "[" + element("11111111-1111-1111-1111-111111111111", "plain") +
                                   "," + element("22222222-2222-2222-2222-222222222222", "tone") +
                                   "," +
                                   element("33333333-3333-3333-3333-333333333333", "summary") + "]";
        writeFile(path(), content);
        ActionStore store(path());
        QCOMPARE(store.actions(), WendleAction::defaults());
        QCOMPARE(readFile(path()), content);

        QList<WendleAction> changed = store.actions();
        changed[0].name = QStringLiteral("Fix it");
        store.setActions(changed);
        ActionStore reread(path());
        QCOMPARE(reread.actions(), changed);
        QCOMPARE(reread.actions().size(), 7);
    }

    void notJsonGivesTheBuiltIns() {
        writeFile(path(), "{ not json");
        QCOMPARE(ActionStore(path()).actions(), WendleAction::defaults());
        writeFile(path(), "{\"a\":1}");
        QCOMPARE(ActionStore(path()).actions(), WendleAction::defaults());
    }

    void everyAssignmentNotifiesAndSaves() {
        ActionStore store(path());
        QSignalSpy changed(&store, &ActionStore::actionsChanged);
        store.setActions(store.actions());
        store.setActions(store.actions());
        QCOMPARE(changed.count(), 2);
        QVERIFY(QFile::exists(path()));
    }

    void resetTwiceGivesTheSameIds() {
        ActionStore store(path());
        store.setActions(WendleAction::defaults());
        const QUuid first = ActionStore(path()).actions().first().id;
        store.setActions({});
        store.setActions(WendleAction::defaults());
        QCOMPARE(ActionStore(path()).actions().first().id, first);
    }

    void slashesAreEscapedAndReadBackUnchanged() {
        ActionStore store(path());
        const WendleAction action{
            QUuid::fromString(QStringLiteral("7D1F3C7E-2A4B-4F0E-8B53-5C1E0A9D6B21")),
            QStringLiteral("Shorten"), QStringLiteral("a/b"), WendleAction::Kind::plain};
        store.setActions({action});
        QCOMPARE(readFile(path()),
                 QByteArray("[\n"
                            "  {\n"
                            "    \"id\" : \"7D1F3C7E-2A4B-4F0E-8B53-5C1E0A9D6B21\",\n"
                            "    \"instruction\" : \"a\\/b\",\n"
                            "    \"kind\" : \"plain\",\n"
                            "    \"name\" : \"Shorten\"\n"
                            "  }\n"
                            "]"));
        QCOMPARE(ActionStore(path()).actions(), QList<WendleAction>{action});
    }

    void anUnwritableFileKeepsTheListInMemory() {
        QTemporaryDir dir;
        const QString blocked = dir.filePath(QStringLiteral("sub/actions.json")); // no such folder
        ActionStore store(blocked);
        store.setActions({});
        QVERIFY(store.actions().isEmpty());
        QVERIFY(!QFile::exists(blocked));
    }

    void sharedStoreLivesInTheDataFolder() {
        QCOMPARE(ActionStore::shared().filePath(),
                 AppSupport::fileURL(QStringLiteral("actions.json")));
        QCOMPARE(ActionStore::shared().actions(), WendleAction::defaults());
    }
};

QTEST_GUILESS_MAIN(TestActionStore)
#include "tst_actionstore.moc"
