#include "snippets/SnippetStore.h"
#include "storage/AppSupport.h"

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

Snippet snippet(const QString& abbreviation, const QString& expansion) {
    return Snippet{QUuid::createUuid(), abbreviation, expansion};
}

QList<QPair<QString, QString>> pairs(const QList<Snippet>& snippets) {
    QList<QPair<QString, QString>> result;
    for (const Snippet& s : snippets)
        result.append({s.abbreviation, s.expansion});
    return result;
}

} // namespace

class TestSnippetStore : public QObject {
    Q_OBJECT
private:
    QTemporaryDir m_dir;
    QString path() const { return m_dir.filePath(QStringLiteral("snippets.json")); }

private Q_SLOTS:
    void initTestCase() { QVERIFY(capAddressSpace()); }
    void init() { QFile::remove(path()); }

    void noFileGivesTheStartersAndWritesNothing() {
        SnippetStore store(path());
        QCOMPARE(pairs(store.snippets()),
                 (QList<QPair<QString, QString>>{{";sig", "Best regards,\nYour Name"},
                                                 {";addr", "123 Main Street\nSpringfield"}}));
        QVERIFY(!QFile::exists(path()));
    }

    void writesTheFileLayout() {
        SnippetStore store(path());
        store.setSnippets(
            {Snippet{QUuid::fromString(QStringLiteral("5b0e2b7c-8a51-4c1d-9d7a-2e6f3b9a1c04")),
                     QStringLiteral(";sig"), QStringLiteral("Best regards,\nYour Name / Team")}});
        QCOMPARE(readFile(path()),
                 QByteArray("[\n"
                            "  {\n"
                            "    \"abbreviation\" : \";sig\",\n"
                            "    \"expansion\" : \"Best regards,\\nYour Name \\/ Team\",\n"
                            "    \"id\" : \"5B0E2B7C-8A51-4C1D-9D7A-2E6F3B9A1C04\"\n"
                            "  }\n"
                            "]"));
        QCOMPARE(SnippetStore(path()).snippets(), store.snippets());
    }

    void missingOrMalformedIdsGetNewOnes() {
        writeFile(path(), R"([{"abbreviation":";a","expansion":"A"},
                              {"abbreviation":";b","expansion":"B","id":"nonsense"}])");
        SnippetStore store(path());
        QCOMPARE(store.snippets().size(), 2);
        QVERIFY(!store.snippets().at(0).id.isNull());
        QVERIFY(!store.snippets().at(1).id.isNull());
        QVERIFY(store.snippets().at(0).id != store.snippets().at(1).id);
    }

    void anElementWithoutExpansionInvalidatesTheFile() {
        const QByteArray content =
            R"([{"abbreviation":";a","expansion":"A"},{"abbreviation":";b"}])";
        writeFile(path(), content);
        SnippetStore store(path());
        QCOMPARE(store.snippets().size(), 2);
        QCOMPARE(store.snippets().first().abbreviation, QStringLiteral(";sig"));
        QCOMPARE(readFile(path()), content);
    }

    void emptyArrayIsUsedAsItIs() {
        writeFile(path(), "[]");
        QVERIFY(SnippetStore(path()).snippets().isEmpty());
    }

    void mergeUpdatesTheFirstMatchInPlace() {
        SnippetStore store(path());
        const QList<Snippet> before = store.snippets();
        const auto result = store.merge({snippet(";sig", "Cheers")});
        QCOMPARE(result, (SnippetStore::MergeResult{0, 1}));
        QCOMPARE(store.snippets().size(), 2);
        QCOMPARE(store.snippets().at(0).id, before.at(0).id);
        QCOMPARE(store.snippets().at(0).expansion, QStringLiteral("Cheers"));
        QCOMPARE(store.snippets().at(1), before.at(1));
    }

    void mergeSkipsEmptyAbbreviationsButStillSaves() {
        SnippetStore store(path());
        const QList<Snippet> before = store.snippets();
        QSignalSpy changed(&store, &SnippetStore::snippetsChanged);
        QCOMPARE(store.merge({snippet("", "nothing")}), (SnippetStore::MergeResult{0, 0}));
        QCOMPARE(store.snippets(), before);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(SnippetStore(path()).snippets(), before);
    }

    void mergeOfRepeatedAbbreviationsAddsOnceAndLastWins() {
        writeFile(path(), "[]");
        SnippetStore store(path());
        const Snippet first = snippet(";a", "1");
        QCOMPARE(store.merge({first, snippet(";a", "2")}), (SnippetStore::MergeResult{1, 1}));
        QCOMPARE(pairs(store.snippets()), (QList<QPair<QString, QString>>{{";a", "2"}}));
        QVERIFY(store.snippets().first().id != first.id); // imported ids are never used
    }

    void mergeTreatsBlanksAsAnAbbreviationAndMatchesCaseSensitively() {
        writeFile(path(), "[]");
        SnippetStore store(path());
        QCOMPARE(store.merge({snippet("  ", "x"), snippet(";A", "y"), snippet(";a", "z")}),
                 (SnippetStore::MergeResult{3, 0}));
    }

    void importingTheSameListTwiceOnlyUpdates() {
        writeFile(path(), "[]");
        SnippetStore store(path());
        const QList<Snippet> list{snippet(";x", "X"), snippet(";y", "Y")};
        QCOMPARE(store.merge(list), (SnippetStore::MergeResult{2, 0}));
        QCOMPARE(store.merge(list), (SnippetStore::MergeResult{0, 2}));
        QCOMPARE(store.snippets().size(), 2);
    }

    void aFullDiskKeepsTheFileAsItWas() {
        ScratchFileSystem disk;
        if (!disk.isMounted())
            QSKIP(qPrintable(disk.skipReason()));
        const QString file = disk.filePath(QStringLiteral("snippets.json"));
        SnippetStore store(file);
        store.save();
        const QByteArray saved = readFile(file);
        QVERIFY(!saved.isEmpty());
        QVERIFY(disk.fill());
        QCOMPARE(store.merge({snippet(";tel", QString(3000, u'5'))}),
                 (SnippetStore::MergeResult{1, 0}));
        QCOMPARE(store.snippets().size(), 3);
        QCOMPARE(readFile(file), saved);
        QCOMPARE(disk.entries(), QStringList{QStringLiteral("snippets.json")});
    }

    void aReadOnlyFileSystemKeepsTheFileAsItWas() {
        ScratchFileSystem disk;
        if (!disk.isMounted())
            QSKIP(qPrintable(disk.skipReason()));
        const QString file = disk.filePath(QStringLiteral("snippets.json"));
        SnippetStore store(file);
        store.save();
        const QByteArray saved = readFile(file);
        QVERIFY(disk.makeReadOnly());
        store.setSnippets({});
        QVERIFY(store.snippets().isEmpty());
        QCOMPARE(readFile(file), saved);
    }

    void aDeletedDataFolderIsCreatedAgainOnTheNextChange() {
        QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("Wendle"));
        const QString file = QDir(folder).filePath(QStringLiteral("snippets.json"));
        SnippetStore store(file);
        store.save();
        QVERIFY(QDir(folder).removeRecursively());
        store.merge({snippet(";tel", "555")});
        QCOMPARE(pairs(SnippetStore(file).snippets()), pairs(store.snippets()));
    }

    void oddFilesReadAsMissing() {
        {
            UnansweredFifo fifo(path(), "[]");
            QVERIFY(fifo.isValid());
            SnippetStore store(path());
            QVERIFY2(!fifo.fedAReader(), "the FIFO was opened for reading");
            QCOMPARE(store.snippets().size(), 2); // the starters
            store.save();
            QVERIFY(QFileInfo(path()).isFile());
        }
        QFile::remove(path());
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), path()));
        QCOMPARE(SnippetStore(path()).snippets().size(), 2);
    }

    void sharedStoreLivesInTheDataFolder() {
        QCOMPARE(SnippetStore::shared().filePath(),
                 AppSupport::fileURL(QStringLiteral("snippets.json")));
    }
};

QTEST_GUILESS_MAIN(TestSnippetStore)
#include "tst_snippetstore.moc"
