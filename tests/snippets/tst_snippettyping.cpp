#include "EngineFixture.h"

// What the engine makes of the keys it sees: the buffer, the keys and
// modifiers that clear it, and which abbreviation wins.
class TestSnippetTyping : public QObject {
    Q_OBJECT
private:
    std::unique_ptr<EngineFixture> f;

private Q_SLOTS:
    void init() { f = std::make_unique<EngineFixture>(); }
    void cleanup() { f.reset(); }

    void backspaceEditsTheBuffer() {
        QVERIFY(f->start());
        f->watcher().typeText(";si");
        f->watcher().type(press(Key::backspace));
        QCOMPARE(f->engine->buffer(), QString(";s"));
        f->watcher().typeText("ig");
        QCOMPARE(f->engine->buffer(), QString());
        QVERIFY(f->waitForPastes(1));
        QCOMPARE(f->backspaces(), 4);
    }

    void backspaceOnAnEmptyBufferIsHarmless() {
        QVERIFY(f->start());
        f->watcher().type(press(Key::backspace));
        QCOMPARE(f->engine->buffer(), QString());
        f->watcher().typeText(";sig");
        QVERIFY(f->waitForPastes(1));
    }

    void keysTypedIntoWendlesOwnWindowsNeverExpand() {
        QVERIFY(f->start());
        for (const QChar c : QStringLiteral(";sig")) {
            KeyStroke stroke = typed(QString(c));
            stroke.toOwnWindow = true;
            f->watcher().type(stroke);
        }
        QCOMPARE(f->engine->buffer(), QString());
        // Nor do they count towards an abbreviation finished elsewhere.
        f->watcher().typeText("ig");
        QCOMPARE(f->engine->buffer(), QString("ig"));
        QVERIFY(f->onlyTheNextAbbreviationExpands());
    }

    void capsLockDoesNotMatch() {
        QVERIFY(f->start());
        f->watcher().typeText(";SIG");
        QCOMPARE(f->engine->buffer(), QString(";SIG"));
        QVERIFY(f->onlyTheNextAbbreviationExpands());
    }

    void theShorterAbbreviationFiresAsSoonAsItIsComplete() {
        f->use({snippet(";sig", "signature"), snippet(";s", "short")});
        QVERIFY(f->start());
        const QStringList& pasted = f->recordPastes();
        f->watcher().typeText(";s");
        QCOMPARE(f->engine->buffer(), QString());
        QVERIFY(f->waitForPastes(1));
        QCOMPARE(pasted, QStringList{"short"});
        QCOMPARE(f->backspaces(), 2);
    }

    void theLongestAbbreviationWins() {
        // ";sig" completes "g", "ig" and ";sig" at once.
        f->use({snippet("g", "one"), snippet("ig", "two"), snippet(";sig", "four")});
        QVERIFY(f->start());
        const QStringList& pasted = f->recordPastes();
        f->watcher().typeText(";sig");
        QVERIFY(f->waitForPastes(1));
        QCOMPARE(pasted, QStringList{"four"});
        QCOMPARE(f->backspaces(), 4);
    }

    void withTheLongOneAloneItFires() {
        f->use({snippet(";sig", "signature")});
        QVERIFY(f->start());
        f->watcher().typeText(";s");
        QCOMPARE(f->engine->buffer(), QString(";s"));
        f->watcher().typeText("ig");
        QVERIFY(f->waitForPastes(1));
        QCOMPARE(f->backspaces(), 4);
    }

    void theEarlierOfTwoEqualAbbreviationsWins() {
        f->use({snippet(";a", "first"), snippet(";a", "second")});
        QVERIFY(f->start());
        const QStringList& pasted = f->recordPastes();
        f->watcher().typeText(";a");
        QVERIFY(f->waitForPastes(1));
        QCOMPARE(pasted, QStringList{"first"});
    }

    void noWordBoundaryIsNeeded() {
        QVERIFY(f->start());
        f->watcher().typeText("x;sig");
        QCOMPARE(f->engine->buffer(), QString());
        QVERIFY(f->waitForPastes(1));
        QCOMPARE(f->backspaces(), 4);
    }

    void aClearingKeyBetweenCharactersPreventsTheMatch_data() {
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("text");
        const QList<QPair<Key, const char*>> keys{
            {Key::returnKey, "\r"}, {Key::tab, "\t"},    {Key::escape, "\x1b"},
            {Key::enter, "\r"},     {Key::home, ""},     {Key::end, ""},
            {Key::pageUp, ""},      {Key::pageDown, ""}, {Key::forwardDelete, "\x7f"},
            {Key::left, ""},        {Key::right, ""},    {Key::down, ""},
            {Key::up, ""},
        };
        for (const auto& [key, text] : keys)
            QTest::addRow("key class %d", int(key)) << int(key) << QString::fromLatin1(text);
    }

    void aClearingKeyBetweenCharactersPreventsTheMatch() {
        QFETCH(int, key);
        QFETCH(QString, text);
        QVERIFY(f->start());
        f->watcher().typeText(";si");
        f->watcher().type(press(Key(key), {}, text));
        QCOMPARE(f->engine->buffer(), QString());
        f->watcher().typeText("g");
        QCOMPARE(f->engine->buffer(), QString("g"));
        QVERIFY(f->onlyTheNextAbbreviationExpands());
    }

    void controlAndCommandCombinationsPreventTheMatch_data() {
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QString>("text");
        QTest::newRow("Ctrl+C") << int(Qt::ControlModifier) << "\x03";
        QTest::newRow("Ctrl+Shift+G") << int(Qt::ControlModifier | Qt::ShiftModifier) << "\x07";
        QTest::newRow("Super+g") << int(Qt::MetaModifier) << "g";
        QTest::newRow("Ctrl+Alt+i") << int(Qt::ControlModifier | Qt::AltModifier) << "i";
    }

    void controlAndCommandCombinationsPreventTheMatch() {
        QFETCH(int, modifiers);
        QFETCH(QString, text);
        QVERIFY(f->start());
        f->watcher().typeText(";si");
        f->watcher().type(typed(text, Qt::KeyboardModifiers(modifiers)));
        QCOMPARE(f->engine->buffer(), QString());
        f->watcher().typeText("g");
        QVERIFY(f->onlyTheNextAbbreviationExpands());
    }

    void shiftAndAltTypeCharacters() {
        f->use({snippet(";Sí", "accented")});
        QVERIFY(f->start());
        f->watcher().type(typed(";", Qt::ShiftModifier));
        f->watcher().type(typed("S", Qt::ShiftModifier));
        QCOMPARE(f->engine->buffer(), QString(";S"));
        f->watcher().type(typed("í", Qt::AltModifier | Qt::GroupSwitchModifier));
        QCOMPARE(f->engine->buffer(), QString());
        QVERIFY(f->waitForPastes(1));
        QCOMPARE(f->backspaces(), 3);
    }

    void theBufferKeepsTheLast64Characters() {
        QVERIFY(f->start());
        QString seventy;
        for (int i = 0; i < 70; ++i)
            seventy.append(QChar(u'a' + i % 26));
        f->watcher().typeText(seventy);
        QCOMPARE(f->engine->buffer(), seventy.right(64));
    }

    void theBufferCountsCharactersNotCodeUnits() {
        QVERIFY(f->start());
        const QString thumbs = QStringLiteral("\U0001F44D\U0001F3FD"); // one character
        for (int i = 0; i < 70; ++i)
            f->watcher().type(typed(thumbs));
        QCOMPARE(f->engine->buffer(), thumbs.repeated(64));
        // A backspace takes the whole character away.
        f->watcher().type(press(Key::backspace));
        QCOMPARE(f->engine->buffer(), thumbs.repeated(63));
    }

    void anAbbreviationOfExactly64CharactersMatches() {
        const QString abbreviation = QStringLiteral(";") + QString(63, u'x');
        f->use({snippet(abbreviation, "long")});
        QVERIFY(f->start());
        f->watcher().typeText(QStringLiteral("yy") + abbreviation);
        QVERIFY(f->waitForPastes(1));
        QCOMPARE(f->backspaces(), 64);
    }

    void anAbbreviationOver64CharactersNeverMatches() {
        const QString abbreviation = QStringLiteral(";") + QString(64, u'x');
        f->use({snippet(abbreviation, "too long"), addressSnippet()});
        QVERIFY(f->start());
        f->watcher().typeText(abbreviation);
        QCOMPARE(f->engine->buffer(), abbreviation.right(64));
        QVERIFY(f->onlyTheNextAbbreviationExpands());
    }

    void emptyAbbreviationsAreIgnored() {
        f->use({snippet("", "never"), snippet(";sig", "sig")});
        QVERIFY(f->start());
        f->watcher().typeText("abc");
        QCOMPARE(f->engine->buffer(), QString("abc"));
        f->watcher().typeText(";sig");
        QVERIFY(f->waitForPastes(1));
        QCOMPARE(f->backspaces(), 4);
    }

    void aKeyWithoutTextChangesNothingAndMatchesNothing() {
        f->use({});
        QVERIFY(f->start());
        f->watcher().typeText(";sig");
        QCOMPARE(f->engine->buffer(), QString(";sig"));
        // Now ";sig" exists; a key that types nothing must not run the match
        // on the unchanged buffer.
        f->use({snippet(";sig", "sig"), addressSnippet()});
        f->watcher().type(press(Key::other, {}, QString()));
        f->watcher().type(press(Key::other, Qt::ShiftModifier, QString()));
        QCOMPARE(f->engine->buffer(), QString(";sig"));
        QVERIFY(f->onlyTheNextAbbreviationExpands());
    }

    void overlongKeyTextIsCutToEightUnits() {
        QVERIFY(f->start());
        f->watcher().type(typed(QStringLiteral("0123456789")));
        QCOMPARE(f->engine->buffer(), QString("01234567"));
        f->watcher().type(typed(QStringLiteral("abcdefg\U0001F600")));
        QCOMPARE(f->engine->buffer(), QStringLiteral("01234567abcdefg\uFFFD"));
    }

    void ownKeystrokesAreIgnored() {
        QVERIFY(f->start());
        f->watcher().typeText(";si");
        f->watcher().type(KeyStroke{Key::backspace, {}, QString(), true});
        f->watcher().type(KeyStroke{Key::other, {}, QStringLiteral("x"), true});
        f->watcher().type(KeyStroke{Key::other, Qt::ControlModifier, QStringLiteral("v"), true});
        f->watcher().type(KeyStroke{Key::returnKey, {}, QStringLiteral("\r"), true});
        QCOMPARE(f->engine->buffer(), QString(";si"));
        f->watcher().typeText("g");
        QVERIFY(f->waitForPastes(1));
    }

    void nothingIsWatchedWhileStopped() {
        f->watcher().typeText(";sig");
        QCOMPARE(f->engine->buffer(), QString());
        QVERIFY(f->start());
        QVERIFY(f->onlyTheNextAbbreviationExpands());
    }

    void editsToTheListApplyToTheNextKey() {
        QVERIFY(f->start());
        f->watcher().typeText(";ne");
        f->use({snippet(";new", "fresh")});
        const QStringList& pasted = f->recordPastes();
        f->watcher().typeText("w");
        QVERIFY(f->waitForPastes(1));
        QCOMPARE(pasted, QStringList{"fresh"});
    }
};

QTEST_GUILESS_MAIN(TestSnippetTyping)
#include "tst_snippettyping.moc"
