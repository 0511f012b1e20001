#include "storage/AppSupport.h"
#include "storage/JsonFile.h"
#include "storage/UuidText.h"

#include "MemoryCap.h"
#include "ScratchFileSystem.h"
#include "UnansweredFifo.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

namespace {

bool writePlainFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

bool isFifo(const QString& path) {
    const QFileInfo info(path);
    return info.exists() && !info.isSymLink() && !info.isFile() && !info.isDir();
}

} // namespace

class TestJsonFile : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY(capAddressSpace()); }

    void writesTheLayoutByteForByte() {
        const QJsonArray value{QJsonObject{
            {QStringLiteral("name"), QStringLiteral("Shorten")},
            {QStringLiteral("id"), QStringLiteral("7D1F3C7E-2A4B-4F0E-8B53-5C1E0A9D6B21")},
            {QStringLiteral("kind"), QStringLiteral("plain")},
            {QStringLiteral("instruction"), QStringLiteral("a/b")},
        }};
        QCOMPARE(JsonFile::encode(value),
                 QByteArray("[\n"
                            "  {\n"
                            "    \"id\" : \"7D1F3C7E-2A4B-4F0E-8B53-5C1E0A9D6B21\",\n"
                            "    \"instruction\" : \"a\\/b\",\n"
                            "    \"kind\" : \"plain\",\n"
                            "    \"name\" : \"Shorten\"\n"
                            "  }\n"
                            "]"));
    }

    void escapesControlCharactersAndKeepsUnicodeAsUtf8() {
        const QString text = QStringLiteral("line\nnext\t\"q\" \\ \x01 é 😀");
        QCOMPARE(JsonFile::encode(QJsonArray{text}),
                 QByteArray("[\n  \"line\\nnext\\t\\\"q\\\" \\\\ \\u0001 ") + "é 😀" +
                     QByteArray("\"\n]"));
    }

    void loneSurrogatesAreEscapedAndReadBackUnchanged() {
        QString text;
        text.append(QChar(0xD83D)).append(u'a').append(QChar(0xDE00));
        text.append(QStringLiteral("😀")).append(QChar(0xD800));
        const QByteArray encoded = JsonFile::encode(QJsonArray{text});
        QCOMPARE(encoded, QByteArray("[\n  \"\\ud83da\\ude00") + "😀" + QByteArray("\\ud800\"\n]"));
        QCOMPARE(QJsonDocument::fromJson(encoded).array().first().toString(), text);
    }

    void writesEmptyContainersOnOneLine() {
        QCOMPARE(JsonFile::encode(QJsonArray{}), QByteArray("[]"));
        QCOMPARE(JsonFile::encode(QJsonArray{QJsonObject{}}), QByteArray("[\n  {}\n]"));
    }

    void encodedTextReadsBackUnchanged() {
        const QJsonObject object{{QStringLiteral("k"), QStringLiteral("a/b\\c\r\n\"😀\" \x1f")},
                                 {QStringLiteral("n"), 3},
                                 {QStringLiteral("t"), true}};
        const QJsonDocument back = QJsonDocument::fromJson(JsonFile::encode(object));
        QCOMPARE(back.object(), object);
    }

    void replacesFilesAtomically() {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("data.json"));
        QVERIFY(JsonFile::writeAtomically(path, "first"));
        QVERIFY(JsonFile::writeAtomically(path, "second"));
        QCOMPARE(JsonFile::read(path).value(), QByteArray("second"));
        // Nothing but the file itself is left beside it.
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
                 QStringList{QStringLiteral("data.json")});
    }

    void failedWriteLeavesTheFileAlone() {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("data.json"));
        QVERIFY(JsonFile::writeAtomically(path, "kept"));
        QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::ExeOwner);
        if (QFileInfo(dir.path()).isWritable())
            QSKIP("running as a user who may write into read-only folders");
        QVERIFY(!JsonFile::writeAtomically(path, "lost"));
        QFile::setPermissions(dir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QCOMPARE(JsonFile::read(path).value(), QByteArray("kept"));
    }

    void aFullDiskLeavesTheOldFileAsItWas() {
        ScratchFileSystem disk;
        if (!disk.isMounted())
            QSKIP(qPrintable(disk.skipReason()));
        const QString path = disk.filePath(QStringLiteral("data.json"));
        QVERIFY(JsonFile::writeAtomically(path, "kept"));
        QVERIFY(disk.fill());
        QString reason;
        QVERIFY(!JsonFile::writeAtomically(path, QByteArray(1000, 'n'), &reason));
        QVERIFY2(!reason.isEmpty(), "the system's reason is passed on");
        QCOMPARE(JsonFile::read(path).value(), QByteArray("kept"));
        QCOMPARE(disk.entries(), QStringList{QStringLiteral("data.json")}); // no temporary file
    }

    void aFullDiskCreatesNoFile() {
        ScratchFileSystem disk;
        if (!disk.isMounted())
            QSKIP(qPrintable(disk.skipReason()));
        QVERIFY(disk.fill());
        QVERIFY(!JsonFile::writeAtomically(disk.filePath(QStringLiteral("new.json")), "[]"));
        QCOMPARE(disk.entries(), QStringList());
    }

    void contentLargerThanTheFreeSpaceLeavesTheOldFileAsItWas() {
        ScratchFileSystem disk;
        if (!disk.isMounted())
            QSKIP(qPrintable(disk.skipReason()));
        const QString path = disk.filePath(QStringLiteral("data.json"));
        QVERIFY(JsonFile::writeAtomically(path, "kept"));
        // Part of it fits: the write stops half-way.
        QVERIFY(!JsonFile::writeAtomically(path, QByteArray(200 * 1024, 'n')));
        QCOMPARE(JsonFile::read(path).value(), QByteArray("kept"));
        QCOMPARE(disk.entries(), QStringList{QStringLiteral("data.json")});
    }

    void aReadOnlyFileSystemLeavesTheFileAsItWas() {
        ScratchFileSystem disk;
        if (!disk.isMounted())
            QSKIP(qPrintable(disk.skipReason()));
        const QString path = disk.filePath(QStringLiteral("data.json"));
        QVERIFY(JsonFile::writeAtomically(path, "kept"));
        QVERIFY(disk.makeReadOnly());
        QString reason;
        QVERIFY(!JsonFile::writeAtomically(path, "lost", &reason));
        QVERIFY(!reason.isEmpty());
        QCOMPARE(JsonFile::read(path).value(), QByteArray("kept"));
        QCOMPARE(disk.entries(), QStringList{QStringLiteral("data.json")});
    }

    void readsOnlyRegularFiles() {
        QTemporaryDir dir;
        const QString fifoPath = dir.filePath(QStringLiteral("fifo.json"));
        UnansweredFifo fifo(fifoPath, "[]");
        QVERIFY(fifo.isValid());
        QVERIFY(!JsonFile::read(fifoPath).has_value());
        QVERIFY2(!fifo.fedAReader(), "the FIFO was opened for reading");

        const QString zero = dir.filePath(QStringLiteral("zero.json"));
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), zero));
        QVERIFY(!JsonFile::read(zero).has_value());
        QVERIFY(!JsonFile::read(dir.path()).has_value()); // a folder

        // A link to a regular file is read through.
        const QString real = dir.filePath(QStringLiteral("real.json"));
        QVERIFY(writePlainFile(real, "[1]"));
        const QString link = dir.filePath(QStringLiteral("link.json"));
        QVERIFY(QFile::link(real, link));
        QCOMPARE(JsonFile::read(link).value(), QByteArray("[1]"));
    }

    void readsFilesUpToTheLimit() {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("big.json"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(JsonFile::maxReadSize)); // sparse: no disk space needed
        file.close();
        QCOMPARE(JsonFile::read(path).value().size(), JsonFile::maxReadSize);
        QVERIFY(file.resize(JsonFile::maxReadSize + 1));
        QVERIFY(!JsonFile::read(path).has_value());
    }

    void neverWritesOntoOrThroughOddFiles() {
        QTemporaryDir dir;
        const QString fifoPath = dir.filePath(QStringLiteral("fifo.json"));
        UnansweredFifo fifo(fifoPath, "");
        QVERIFY(fifo.isValid());
        QString reason;
        QVERIFY(!JsonFile::writeAtomically(fifoPath, "[]", &reason));
        QCOMPARE(reason, QStringLiteral("not a regular file"));
        QVERIFY(isFifo(fifoPath));

        const QString link = dir.filePath(QStringLiteral("link.json"));
        QVERIFY(QFile::link(fifoPath, link));
        QVERIFY(!JsonFile::writeAtomically(link, "[]"));
        QVERIFY(QFileInfo(link).isSymLink());
        QVERIFY(isFifo(fifoPath));
        QCOMPARE(QDir(dir.path()).entryList(QDir::System | QDir::Files | QDir::Hidden).size(), 2);
    }

    void aDataFileSaveCreatesItsFolderAgain() {
        QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("Wendle"));
        const QString path = QDir(folder).filePath(QStringLiteral("actions.json"));
        QVERIFY(JsonFile::writeDataFile(path, "first"));
        QVERIFY(QDir(folder).removeRecursively());
        QVERIFY(JsonFile::writeDataFile(path, "second"));
        QCOMPARE(JsonFile::read(path).value(), QByteArray("second"));
    }

    void aDataFileSaveReplacesAnOddEntryButNotAFolder() {
        QTemporaryDir dir;
        const QString fifoPath = dir.filePath(QStringLiteral("a.json"));
        UnansweredFifo fifo(fifoPath, "");
        QVERIFY(fifo.isValid());
        QVERIFY(JsonFile::writeDataFile(fifoPath, "a"));
        QCOMPARE(JsonFile::read(fifoPath).value(), QByteArray("a"));

        // A link to a FIFO: the link is replaced, the FIFO stays.
        const QString otherFifo = dir.filePath(QStringLiteral("other-fifo"));
        UnansweredFifo other(otherFifo, "");
        QVERIFY(other.isValid());
        const QString link = dir.filePath(QStringLiteral("b.json"));
        QVERIFY(QFile::link(otherFifo, link));
        QVERIFY(JsonFile::writeDataFile(link, "b"));
        QVERIFY(!QFileInfo(link).isSymLink());
        QCOMPARE(JsonFile::read(link).value(), QByteArray("b"));
        QVERIFY(isFifo(otherFifo));

        const QString folder = dir.filePath(QStringLiteral("c.json"));
        QVERIFY(QDir().mkpath(QDir(folder).filePath(QStringLiteral("inside"))));
        QVERIFY(!JsonFile::writeDataFile(folder, "c"));
        QVERIFY(QFileInfo(QDir(folder).filePath(QStringLiteral("inside"))).isDir());
    }

    void missingFileReadsAsNothing() {
        QTemporaryDir dir;
        QVERIFY(!JsonFile::read(dir.filePath(QStringLiteral("none.json"))).has_value());
    }

    void uuidsAreUpperCaseAndStrict() {
        const QUuid id = QUuid::fromString(QStringLiteral("0e4c7a4b-3b2f-4c52-9e59-9d4a7f1f2c11"));
        QCOMPARE(UuidText::format(id), QStringLiteral("0E4C7A4B-3B2F-4C52-9E59-9D4A7F1F2C11"));
        QCOMPARE(UuidText::parse(QStringLiteral("0e4c7a4b-3b2f-4c52-9e59-9d4a7f1f2c11")), id);
        QCOMPARE(UuidText::parse(QStringLiteral("0E4C7A4B-3B2F-4C52-9E59-9D4A7F1F2C11")), id);
        QVERIFY(!UuidText::parse(QStringLiteral("{0E4C7A4B-3B2F-4C52-9E59-9D4A7F1F2C11}")));
        QVERIFY(!UuidText::parse(QStringLiteral("nonsense")));
        QVERIFY(!UuidText::parse(QStringLiteral("0E4C7A4B-3B2F-4C52-9E59-9D4A7F1F2C1G")));
        QVERIFY(!UuidText::parse(QStringLiteral("0E4C7A4B3B2F-4C52-9E59-9D4A7F1F2C11-")));
    }

    void dataFolderIsCreatedUnderTheUsersDataHome() {
        const QString expected = QDir(qEnvironmentVariable("XDG_DATA_HOME")).filePath("Wendle");
        QVERIFY(!QDir(expected).exists());
        QCOMPARE(AppSupport::fileURL(QStringLiteral("actions.json")),
                 QDir(expected).filePath(QStringLiteral("actions.json")));
        QVERIFY(QDir(expected).exists());
    }
};

QTEST_GUILESS_MAIN(TestJsonFile)
#include "tst_jsonfile.moc"
