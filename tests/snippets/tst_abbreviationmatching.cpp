#include "snippets/AbbreviationIndex.h"
#include "snippets/Graphemes.h"
#include "snippets/SnippetEngine.h"

#include <QRandomGenerator>
#include <QtTest>

namespace {

Snippet snippet(const QString& abbreviation) {
    return Snippet{QUuid::createUuid(), abbreviation, QStringLiteral("x")};
}

qsizetype positionOf(const Snippet* found, const QList<Snippet>& list) {
    return found ? found - list.constData() : -1;
}

const QString eAcute = QStringLiteral("e\u0301");                // e + combining acute
const QString thumbsUp = QStringLiteral("\U0001F44D\U0001F3FD"); // with a skin tone
const QString family = QStringLiteral("\U0001F468\u200D\U0001F469\u200D\U0001F467");

} // namespace

// Characters as the user sees them, and the matching of typed text against
// abbreviations: the plain scan and the index the engine uses must agree.
class TestAbbreviationMatching : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void charactersAreGraphemeClusters() {
        QCOMPARE(Graphemes::count(QString()), 0);
        QCOMPARE(Graphemes::count(QStringLiteral(";sig")), 4);
        QCOMPARE(Graphemes::count(eAcute), 1);
        QCOMPARE(Graphemes::count(thumbsUp), 1);
        QCOMPARE(Graphemes::count(family), 1);
        QCOMPARE(Graphemes::count(QStringLiteral("a\r\nb")), 3);
        QCOMPARE(Graphemes::count(QStringLiteral(";s") + eAcute + thumbsUp), 4);
    }

    void removingTheLastCharacterTakesItWhole() {
        QString text = QStringLiteral(";s") + family;
        Graphemes::removeLast(text);
        QCOMPARE(text, QStringLiteral(";s"));
        text = QStringLiteral("x") + eAcute;
        Graphemes::removeLast(text);
        QCOMPARE(text, QStringLiteral("x"));
        Graphemes::removeLast(text);
        QCOMPARE(text, QString());
        Graphemes::removeLast(text);
        QCOMPARE(text, QString());
    }

    void keepingTheLastCharacters() {
        QString ascii = QStringLiteral("abcdef");
        Graphemes::keepLast(ascii, 4);
        QCOMPARE(ascii, QStringLiteral("cdef"));
        QString mixed = QStringLiteral("ab") + eAcute + thumbsUp + QStringLiteral("c");
        Graphemes::keepLast(mixed, 3);
        QCOMPARE(mixed, eAcute + thumbsUp + QStringLiteral("c"));
        QString shortText = thumbsUp;
        Graphemes::keepLast(shortText, 1);
        QCOMPARE(shortText, thumbsUp);
    }

    void anAbbreviationMustStartOnACharacter() {
        // The typed é (e + accent) does not end with a lone accent, and a
        // thumbs-up with a skin tone does not end with the skin tone.
        const QList<Snippet> list{snippet(QStringLiteral("\u0301")),
                                  snippet(QStringLiteral("\U0001F3FD"))};
        QCOMPARE(SnippetEngine::match(QStringLiteral("x") + eAcute, list), nullptr);
        QCOMPARE(SnippetEngine::match(thumbsUp, list), nullptr);
        const AbbreviationIndex index(list);
        QCOMPARE(index.find(QStringLiteral("x") + eAcute), -1);
        QCOMPARE(index.find(thumbsUp), -1);
        // Typed at the start, they are characters of their own and match.
        QCOMPARE(index.find(QStringLiteral("\U0001F3FD")), 1);
        QCOMPARE(positionOf(SnippetEngine::match(QStringLiteral("\U0001F3FD"), list), list), 1);
    }

    void theLongerAbbreviationWins() {
        // ";" + é (two characters) wins over é (one); the precomposed é is
        // different text and does not match the decomposed one typed.
        const QList<Snippet> list{snippet(eAcute), snippet(QStringLiteral(";") + eAcute),
                                  snippet(QStringLiteral("\u00E9"))};
        const QString typed = QStringLiteral("a;") + eAcute;
        QCOMPARE(positionOf(SnippetEngine::match(typed, list), list), 1);
        QCOMPARE(AbbreviationIndex(list).find(typed), 1);
    }

    void theIndexAgreesWithThePlainScan() {
        // Random lists and typed texts over a small alphabet, so that
        // suffixes, ties and duplicates occur often.
        const QStringList alphabet{";", "s", "i", "g", "\u00E9", "e", "\u0301", thumbsUp};
        QRandomGenerator random(20240611);
        const auto randomText = [&](int maxCharacters) {
            QString text;
            const int length = random.bounded(maxCharacters + 1);
            for (int i = 0; i < length; ++i)
                text += alphabet.at(random.bounded(int(alphabet.size())));
            return text;
        };
        int matches = 0;
        for (int round = 0; round < 300; ++round) {
            QList<Snippet> list;
            const int size = random.bounded(25);
            for (int i = 0; i < size; ++i)
                list.append(snippet(randomText(4)));
            const AbbreviationIndex index(list);
            for (int probe = 0; probe < 40; ++probe) {
                const QString typed = randomText(12);
                const qsizetype expected = positionOf(SnippetEngine::match(typed, list), list);
                QCOMPARE(index.find(typed), expected);
                matches += expected >= 0;
            }
        }
        // The comparison must have covered many real matches.
        QVERIFY2(matches > 1000, qPrintable(QString::number(matches)));
    }

    void emptyListsAndEmptyTextMatchNothing() {
        QCOMPARE(SnippetEngine::match(QStringLiteral(";sig"), {}), nullptr);
        QCOMPARE(AbbreviationIndex(QList<Snippet>()).find(QStringLiteral(";sig")), -1);
        const QList<Snippet> list{snippet(QString()), snippet(QStringLiteral(";sig"))};
        QCOMPARE(SnippetEngine::match(QString(), list), nullptr);
        QCOMPARE(AbbreviationIndex(list).find(QString()), -1);
    }
};

QTEST_GUILESS_MAIN(TestAbbreviationMatching)
#include "tst_abbreviationmatching.moc"
