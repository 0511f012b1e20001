#include "SnippetsTabHarness.h"
#include "settingswindow/SnippetTransfer.h"
#include "settingswindow/SnippetsTab.h"
#include "storage/JsonFile.h"
#include "storage/JsonList.h"

#include "MemoryCap.h"
#include "ScratchFileSystem.h"
#include "UnansweredFifo.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>

#include <memory>

using namespace std::chrono_literals;

namespace {

QStringList abbreviations(const QList<Snippet>& snippets) {
    QStringList result;
    for (const Snippet& s : snippets)
        result.append(s.abbreviation);
    return result;
}

bool writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

// Import and export of snippet files through the Snippets tab and its file dialog.
class TestSnippetFiles : public SnippetsTabHarness {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(capAddressSpace()); }
    void init() { setUpTab(); }
    void cleanup() { tearDownTab(); }

    void importingTheExportedFileUpdatesEverySnippet();
    void importMergesNewAndExisting();
    void importingAnObjectFailsAndChangesNothing();
    void cancellingKeepsTheMessage();
    void exportFailureSaysWhy();
    void exportOntoAFullDiskSaysSoAndLeavesNoFile();
    void failedExportKeepsTheOlderFile();
    void exportIntoAReadOnlyFileSystemSaysSo();
    void exportOntoAFifoIsRefused();
    void importReadsOnlyRegularFilesOfSaneSize();
};

void TestSnippetFiles::importingTheExportedFileUpdatesEverySnippet() {
    const QString path = m_fixture->folder.filePath(QStringLiteral("out/exported.json"));
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QTest::keyClicks(child<QLineEdit>("search"), QStringLiteral("sig")); // exports all anyway
    QTest::mouseClick(child<QPushButton>("export"), Qt::LeftButton);
    QCOMPARE(child<QPushButton>("export")->text(), QStringLiteral("Export\u2026"));
    QFileDialog* dialog = m_tab->fileDialog();
    QVERIFY(dialog);
    QCOMPARE(dialog->acceptMode(), QFileDialog::AcceptSave);
    QCOMPARE(dialog->nameFilters(), QStringList{"JSON (*.json)"});
    QCOMPARE(dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->text(),
             QStringLiteral("snippets.json"));
    QVERIFY(answerDialog(path));
    QCOMPARE(m_tab->message(), QStringLiteral("Exported 2 snippet(s)."));
    auto* message = child<QLabel>("message");
    QVERIFY(message->isVisible());
    QCOMPARE(message->text(), m_tab->message());
    const auto exported = SettingsFixture::read(path);
    QVERIFY(exported);
    QCOMPARE(*exported, JsonList::encode(m_fixture->snippets.snippets())); // the file format
    QVERIFY(exported->contains("\"abbreviation\" : \";sig\""));

    const QList<Snippet> before = m_fixture->snippets.snippets();
    QTest::mouseClick(child<QPushButton>("import"), Qt::LeftButton);
    QCOMPARE(m_tab->fileDialog()->acceptMode(), QFileDialog::AcceptOpen);
    QCOMPARE(m_tab->fileDialog()->fileMode(), QFileDialog::ExistingFile);
    QVERIFY(answerDialog(path));
    QCOMPARE(m_tab->message(), QStringLiteral("Imported 0 new and updated 2 existing snippet(s)."));
    QCOMPARE(m_fixture->snippets.snippets(), before);
}

void TestSnippetFiles::importMergesNewAndExisting() {
    selectRow(0);
    const QString path = m_fixture->folder.filePath(QStringLiteral("in.json"));
    QVERIFY(writeFile(path, R"([{"abbreviation": ";sig", "expansion": "Cheers"},
                               {"abbreviation": ";tel", "expansion": "555", "id": "nonsense"}])"));
    QTest::mouseClick(child<QPushButton>("import"), Qt::LeftButton);
    QVERIFY(answerDialog(path));
    QCOMPARE(m_tab->message(), QStringLiteral("Imported 1 new and updated 1 existing snippet(s)."));
    QCOMPARE(abbreviations(m_fixture->snippets.snippets()), (QStringList{";sig", ";addr", ";tel"}));
    QCOMPARE(listed(), (QStringList{";sig", ";addr", ";tel"}));
    // The editor shows the imported expansion of the selected snippet.
    QCOMPARE(child<QPlainTextEdit>("expansion")->toPlainText(), QStringLiteral("Cheers"));
    QCOMPARE(JsonList::decode<Snippet>(*m_fixture->snippetsFile())->at(0).expansion,
             QStringLiteral("Cheers"));
}

void TestSnippetFiles::importingAnObjectFailsAndChangesNothing() {
    m_fixture->snippets.save();
    const QByteArray file = *m_fixture->snippetsFile();
    const QList<Snippet> before = m_fixture->snippets.snippets();
    const QString path = m_fixture->folder.filePath(QStringLiteral("object.json"));
    QVERIFY(writeFile(path, R"({"abbreviation": ";x", "expansion": "y"})"));
    QTest::mouseClick(child<QPushButton>("import"), Qt::LeftButton);
    QVERIFY(answerDialog(path));
    QCOMPARE(m_tab->message(),
             QStringLiteral("Import failed: the file is not a valid snippets JSON list."));
    QCOMPARE(m_fixture->snippets.snippets(), before);
    QCOMPARE(*m_fixture->snippetsFile(), file);
    // An element without "expansion" rejects the whole list, and so does a
    // file that cannot be read at all.
    QVERIFY(writeFile(path,
                      R"([{"abbreviation": ";ok", "expansion": "fine"}, {"abbreviation": ";x"}])"));
    QCOMPARE(SnippetTransfer::importFile(m_fixture->snippets, path), m_tab->message());
    QCOMPARE(SnippetTransfer::importFile(m_fixture->snippets, path + QStringLiteral(".missing")),
             m_tab->message());
    QCOMPARE(m_fixture->snippets.snippets(), before);
    QCOMPARE(*m_fixture->snippetsFile(), file);
}

void TestSnippetFiles::cancellingKeepsTheMessage() {
    const QString path = m_fixture->folder.filePath(QStringLiteral("a.json"));
    QTest::mouseClick(child<QPushButton>("export"), Qt::LeftButton);
    QVERIFY(answerDialog(path));
    QCOMPARE(m_tab->message(), QStringLiteral("Exported 2 snippet(s)."));
    QTest::mouseClick(child<QPushButton>("import"), Qt::LeftButton);
    QFileDialog* dialog = m_tab->fileDialog();
    QVERIFY(dialog && QTest::qWaitForWindowExposed(dialog));
    dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel)->click();
    QTRY_VERIFY(!m_tab->fileDialog());
    QCOMPARE(m_tab->message(), QStringLiteral("Exported 2 snippet(s)."));
}

void TestSnippetFiles::exportFailureSaysWhy() {
    const QString path = m_fixture->folder.filePath(QStringLiteral("no-such-folder/s.json"));
    const QString message = SnippetTransfer::exportFile(m_fixture->snippets.snippets(), path);
    QVERIFY2(message.startsWith(QStringLiteral("Export failed: ")), qPrintable(message));
    QVERIFY(message.size() > QStringLiteral("Export failed: ").size()); // with the reason
    QVERIFY(!QFile::exists(path));
}

void TestSnippetFiles::exportOntoAFullDiskSaysSoAndLeavesNoFile() {
    ScratchFileSystem disk;
    if (!disk.isMounted())
        QSKIP(qPrintable(disk.skipReason()));
    QVERIFY(disk.fill());
    const QString path = disk.filePath(QStringLiteral("snippets.json"));
    QTest::mouseClick(child<QPushButton>("export"), Qt::LeftButton);
    QVERIFY(answerDialog(path));
    QVERIFY2(m_tab->message().startsWith(QStringLiteral("Export failed: ")),
             qPrintable(m_tab->message()));
    QVERIFY(m_tab->message().size() > QStringLiteral("Export failed: ").size());
    QCOMPARE(child<QLabel>("message")->text(), m_tab->message());
    QCOMPARE(disk.entries(), QStringList()); // neither an empty file nor a temporary one
}

void TestSnippetFiles::failedExportKeepsTheOlderFile() {
    ScratchFileSystem disk;
    if (!disk.isMounted())
        QSKIP(qPrintable(disk.skipReason()));
    const QString path = disk.filePath(QStringLiteral("snippets.json"));
    QCOMPARE(SnippetTransfer::exportFile(m_fixture->snippets.snippets(), path),
             QStringLiteral("Exported 2 snippet(s)."));
    const QByteArray older = *SettingsFixture::read(path);
    QVERIFY(disk.fill());
    QList<Snippet> more = m_fixture->snippets.snippets();
    more.append(Snippet{QUuid::createUuid(), QStringLiteral(";long"), QString(5000, u'x')});
    const QString message = SnippetTransfer::exportFile(more, path);
    QVERIFY2(message.startsWith(QStringLiteral("Export failed: ")), qPrintable(message));
    QCOMPARE(*SettingsFixture::read(path), older);
    QCOMPARE(disk.entries(), QStringList{QStringLiteral("snippets.json")});
}

void TestSnippetFiles::exportIntoAReadOnlyFileSystemSaysSo() {
    ScratchFileSystem disk;
    if (!disk.isMounted())
        QSKIP(qPrintable(disk.skipReason()));
    QVERIFY(disk.makeReadOnly());
    const QString message = SnippetTransfer::exportFile(m_fixture->snippets.snippets(),
                                                        disk.filePath(QStringLiteral("s.json")));
    QVERIFY2(message.startsWith(QStringLiteral("Export failed: ")), qPrintable(message));
    QVERIFY(message.size() > QStringLiteral("Export failed: ").size());
    QCOMPARE(disk.entries(), QStringList());
}

void TestSnippetFiles::exportOntoAFifoIsRefused() {
    const QString path = m_fixture->folder.filePath(QStringLiteral("pipe.json"));
    UnansweredFifo fifo(path, "");
    QVERIFY(fifo.isValid());
    QCOMPARE(SnippetTransfer::exportFile(m_fixture->snippets.snippets(), path),
             QStringLiteral("Export failed: not a regular file"));
    QVERIFY(!QFileInfo(path).isFile());
}

void TestSnippetFiles::importReadsOnlyRegularFilesOfSaneSize() {
    const QString failed =
        QStringLiteral("Import failed: the file is not a valid snippets JSON list.");
    const QList<Snippet> before = m_fixture->snippets.snippets();
    const QString list = R"([{"abbreviation": ";tel", "expansion": "555"}])";

    const QString fifoPath = m_fixture->folder.filePath(QStringLiteral("pipe.json"));
    UnansweredFifo fifo(fifoPath, list.toUtf8());
    QVERIFY(fifo.isValid());
    QCOMPARE(SnippetTransfer::importFile(m_fixture->snippets, fifoPath), failed);
    QVERIFY2(!fifo.fedAReader(), "the FIFO was opened for reading");

    const QString zero = m_fixture->folder.filePath(QStringLiteral("zero.json"));
    QVERIFY(QFile::link(QStringLiteral("/dev/zero"), zero));
    QCOMPARE(SnippetTransfer::importFile(m_fixture->snippets, zero), failed);

    const QString big = m_fixture->folder.filePath(QStringLiteral("big.json"));
    QVERIFY(writeFile(big, list.toUtf8() + QByteArray(JsonFile::maxReadSize, ' ')));
    QCOMPARE(SnippetTransfer::importFile(m_fixture->snippets, big), failed);
    QCOMPARE(m_fixture->snippets.snippets(), before);

    // The same list within the limit is imported.
    QVERIFY(writeFile(big, list.toUtf8() + QByteArray(1000, ' ')));
    QCOMPARE(SnippetTransfer::importFile(m_fixture->snippets, big),
             QStringLiteral("Imported 1 new and updated 0 existing snippet(s)."));
}

QTEST_MAIN(TestSnippetFiles)
#include "tst_snippetfiles.moc"
