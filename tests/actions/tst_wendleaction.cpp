#include "actions/WendleAction.h"

#include <QJsonDocument>
#include <QtTest>

namespace {

WendleAction action(WendleAction::Kind kind, const QString& instruction) {
    return WendleAction{QUuid::createUuid(), QStringLiteral("A"), instruction, kind};
}

std::optional<WendleAction> decode(const char* json) {
    return WendleAction::fromJson(QJsonDocument::fromJson(json).object());
}

} // namespace

class TestWendleAction : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void plainInstructionsAreUsedAsTheyStand() {
        const auto a = action(WendleAction::Kind::plain, QStringLiteral("Say {tone} {language}"));
        QCOMPARE(a.resolvedInstruction(QStringLiteral("Casual"), QStringLiteral("German")),
                 QStringLiteral("Say {tone} {language}"));
    }

    void toneFillsEveryPlaceholderKeepingCase() {
        const auto a =
            action(WendleAction::Kind::tone, QStringLiteral("Rewrite {tone}, strictly {tone}."));
        QCOMPARE(a.resolvedInstruction(QStringLiteral("Casual"), QStringLiteral("Spanish")),
                 QStringLiteral("Rewrite Casual, strictly Casual."));
    }

    void toneWithoutPlaceholderAppendsLowerCasedSentence() {
        QCOMPARE(action(WendleAction::Kind::tone, QStringLiteral("Make it punchy."))
                     .resolvedInstruction(QStringLiteral("Friendly"), QStringLiteral("Spanish")),
                 QStringLiteral("Make it punchy. Use a friendly tone."));
        QCOMPARE(action(WendleAction::Kind::tone, QString())
                     .resolvedInstruction(Options::defaultTone, Options::defaultLanguage),
                 QStringLiteral(" Use a professional tone."));
        // A placeholder in another case is no placeholder.
        QCOMPARE(action(WendleAction::Kind::tone, QStringLiteral("{Tone}"))
                     .resolvedInstruction(QStringLiteral("Casual"), QString()),
                 QStringLiteral("{Tone} Use a casual tone."));
    }

    void translateKeepsTheLanguagesCapitals() {
        QCOMPARE(action(WendleAction::Kind::translate, QStringLiteral("Translate."))
                     .resolvedInstruction(QString(), QStringLiteral("Chinese (Simplified)")),
                 QStringLiteral("Translate. Translate the text into Chinese (Simplified)."));
        QCOMPARE(action(WendleAction::Kind::translate, QStringLiteral("Into {language}, {tone}."))
                     .resolvedInstruction(QStringLiteral("Casual"), QStringLiteral("German")),
                 QStringLiteral("Into German, {tone}."));
        QCOMPARE(action(WendleAction::Kind::tone, QStringLiteral("In {language}."))
                     .resolvedInstruction(QStringLiteral("Casual"), QStringLiteral("German")),
                 QStringLiteral("In {language}. Use a casual tone."));
    }

    void builtInSetIsSevenActionsComputedOnce() {
        const QList<WendleAction>& defaults = WendleAction::defaults();
        QCOMPARE(defaults.size(), 7);
        QStringList names;
        for (const auto& a : defaults)
            names << a.name;
        QCOMPARE(names, (QStringList{"Fix grammar", "Shorten", "Expand", "Change tone", "Translate",
                                     "Summarize", "Bullet points"}));
        QCOMPARE(defaults.at(3).kind, WendleAction::Kind::tone);
        QCOMPARE(defaults.at(3).instruction,
                 QStringLiteral("Rewrite the text in a {tone} tone. Keep the meaning the same."));
        QCOMPARE(defaults.at(4).kind, WendleAction::Kind::translate);
        QCOMPARE(defaults.at(4).instruction, QStringLiteral("Translate the text into {language}."));
        QCOMPARE(defaults.at(1).instruction,
                 QStringLiteral("Make the text significantly shorter and more concise while "
                                "keeping the key meaning."));
        QSet<QUuid> ids;
        for (const auto& a : defaults)
            ids.insert(a.id);
        QCOMPARE(ids.size(), 7);
        QCOMPARE(WendleAction::defaults(), defaults);
    }

    void optionLists() {
        QCOMPARE(Options::tones(), (QStringList{"Professional", "Friendly", "Casual"}));
        QCOMPARE(Options::languages().size(), 16);
        QCOMPARE(Options::languages().first(), QStringLiteral("English"));
        QCOMPARE(Options::languages().last(), QStringLiteral("Korean"));
        QCOMPARE(Options::languages().at(13), QStringLiteral("Chinese (Simplified)"));
        QVERIFY(Options::languages().contains(Options::defaultLanguage));
        QCOMPARE(Options::defaultLanguage, QStringLiteral("Spanish"));
    }

    void decodesAndEncodes() {
        const auto a = decode(R"({"id":"0e4c7a4b-3b2f-4c52-9e59-9d4a7f1f2c11","name":"Translate",
                                 "instruction":"Translate the text into {language}.",
                                 "kind":"translate"})");
        QVERIFY(a);
        QCOMPARE(a->kind, WendleAction::Kind::translate);
        QCOMPARE(a->toJson().value("id").toString(),
                 QStringLiteral("0E4C7A4B-3B2F-4C52-9E59-9D4A7F1F2C11"));
        QCOMPARE(WendleAction::fromJson(a->toJson()), a);
    }

    void rejectsInvalidElements_data() {
        QTest::addColumn<QByteArray>("json");
        const char* id = "\"id\":\"0E4C7A4B-3B2F-4C52-9E59-9D4A7F1F2C11\"";
        QTest::newRow("kind Tone")
            << QByteArray("{") + id + ",\"name\":\"a\",\"instruction\":\"b\",\"kind\":\"Tone\"}";
        QTest::newRow("kind summary")
            << QByteArray("{") + id + ",\"name\":\"a\",\"instruction\":\"b\",\"kind\":\"summary\"}";
        QTest::newRow("no id") << QByteArray(R"({"name":"a","instruction":"b","kind":"plain"})");
        QTest::newRow("bad id") << QByteArray(
            R"({"id":"nonsense","name":"a","instruction":"b","kind":"plain"})");
        QTest::newRow("no name") << QByteArray("{") + id +
                                        ",\"instruction\":\"b\",\"kind\":\"plain\"}";
        QTest::newRow("name not a string")
            << QByteArray("{") + id + ",\"name\":3,\"instruction\":\"b\",\"kind\":\"plain\"}";
        QTest::newRow("no kind") << QByteArray("{") + id + ",\"name\":\"a\",\"instruction\":\"b\"}";
    }

    void rejectsInvalidElements() {
        QFETCH(QByteArray, json);
        QVERIFY(!decode(json.constData()));
    }
};

QTEST_GUILESS_MAIN(TestWendleAction)
#include "tst_wendleaction.moc"
