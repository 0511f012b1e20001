#include "actions/ActionStore.h"
#include "storage/AppSupport.h"
#include "storage/JsonFile.h"

#include "MemoryCap.h"
#include "ScratchFileSystem.h"
#include "UnansweredFifo.h"

#include <QDir>
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

    static QList<WendleAction> renamedFirst(QList<WendleAction> actions) {
        actions[0].name = QStringLiteral("Renamed");
        return actions;
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(capAddressSpace()); }
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
        writeFile(dir.filePath(QStringLiteral("sub")), "a file, not a folder");
        const QString blocked = dir.filePath(QStringLiteral("sub/actions.json"));
        ActionStore store(blocked);
        store.setActions({});
        QVERIFY(store.actions().isEmpty());
        QVERIFY(!QFile::exists(blocked));
    }

    void aFullDiskKeepsTheFileAsItWas() {
        ScratchFileSystem disk;
        if (!disk.isMounted())
            QSKIP(qPrintable(disk.skipReason()));
        const QString file = disk.filePath(QStringLiteral("actions.json"));
        ActionStore store(file);
        store.setActions(store.actions());
        const QByteArray saved = readFile(file);
        QVERIFY(!saved.isEmpty());
        QVERIFY(disk.fill());

        const QList<WendleAction> changed = renamedFirst(store.actions());
        store.setActions(changed);
        QCOMPARE(store.actions(), changed); // the list in memory holds for this run
        QCOMPARE(readFile(file), saved);
        QCOMPARE(disk.entries(), QStringList{QStringLiteral("actions.json")});
    }

    void aReadOnlyFileSystemKeepsTheFileAsItWas() {
        ScratchFileSystem disk;
        if (!disk.isMounted())
            QSKIP(qPrintable(disk.skipReason()));
        const QString file = disk.filePath(QStringLiteral("actions.json"));
        ActionStore store(file);
        store.setActions(store.actions());
        const QByteArray saved = readFile(file);
        QVERIFY(disk.makeReadOnly());
        store.setActions(renamedFirst(store.actions()));
        QCOMPARE(store.actions().first().name, QStringLiteral("Renamed"));
        QCOMPARE(readFile(file), saved);
        QCOMPARE(disk.entries(), QStringList{QStringLiteral("actions.json")});
    }

    void aDeletedDataFolderIsCreatedAgainOnTheNextChange() {
        QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("Wendle"));
        const QString file = QDir(folder).filePath(QStringLiteral("actions.json"));
        ActionStore store(file);
        store.setActions(store.actions());
        QVERIFY(QDir(folder).removeRecursively());
        const QList<WendleAction> changed = renamedFirst(store.actions());
        store.setActions(changed);
        QCOMPARE(ActionStore(file).actions(), changed);
    }

    void aFifoReadsAsMissingAndTheFirstChangeReplacesIt() {
        UnansweredFifo fifo(path(), "[]");
        QVERIFY(fifo.isValid());
        ActionStore store(path());
        QVERIFY2(!fifo.fedAReader(), "the FIFO was opened for reading");
        QCOMPARE(store.actions(), WendleAction::defaults());
        const QList<WendleAction> changed = renamedFirst(store.actions());
        store.setActions(changed);
        QVERIFY(QFileInfo(path()).isFile());
        QCOMPARE(ActionStore(path()).actions(), changed);
    }

    void aLinkToADeviceReadsAsMissing() {
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), path()));
        QCOMPARE(ActionStore(path()).actions(), WendleAction::defaults());
        QVERIFY(QFileInfo(path()).isSymLink());
        QFile::remove(path());
    }

    void aFileBeyondTheSizeLimitGivesTheBuiltIns() {
        // A valid list padded with blanks past the limit.
        QByteArray content = "[]";
        content.append(QByteArray(JsonFile::maxReadSize, ' '));
        writeFile(path(), content);
        QCOMPARE(ActionStore(path()).actions(), WendleAction::defaults());
        writeFile(path(), "[]    ");
        QVERIFY(ActionStore(path()).actions().isEmpty());
    }

    void sharedStoreLivesInTheDataFolder() {
        QCOMPARE(ActionStore::shared().filePath(),
                 AppSupport::fileURL(QStringLiteral("actions.json")));
        QCOMPARE(ActionStore::shared().actions(), WendleAction::defaults());
    }
};

QTEST_GUILESS_MAIN(TestActionStore)
#include "tst_actionstore.moc"
