#include "storage/AppSupport.h"
#include "storage/JsonFile.h"
#include "storage/UuidText.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

class TestJsonFile : public QObject {
    Q_OBJECT
private Q_SLOTS:
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
