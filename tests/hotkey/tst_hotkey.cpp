#include "hotkey/HotKey.h"

#include "fakes/FakePlatform.h"

#include <QTest>

class HotKeyTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void everyPressCallsTheHandler() {
        FakeHotKey key;
        HotKey hotKey(key);
        int calls = 0;
        QVERIFY(hotKey.registerHandler([&] { ++calls; }));
        QCOMPARE(key.registrations, 1);
        QVERIFY(hotKey.isRegistered());
        key.press();
        key.press();
        QCOMPARE(calls, 2);
    }

    void takenShortcutAnswersFalse() {
        FakeHotKey key;
        key.available = false;
        HotKey hotKey(key);
        int calls = 0;
        QVERIFY(!hotKey.registerHandler([&] { ++calls; }));
        QVERIFY(!hotKey.isRegistered());
    }

    void aSecondRegistrationReplacesTheHandler() {
        FakeHotKey key;
        HotKey hotKey(key);
        int first = 0;
        int second = 0;
        QVERIFY(hotKey.registerHandler([&] { ++first; }));
        QVERIFY(hotKey.registerHandler([&] { ++second; }));
        key.press();
        QCOMPARE(first, 0);
        QCOMPARE(second, 1);
    }

    void pressBeforeRegistrationDoesNothing() {
        FakeHotKey key;
        HotKey hotKey(key);
        key.press(); // no handler yet: nothing to call, nothing breaks
        int calls = 0;
        QVERIFY(hotKey.registerHandler([&] { ++calls; }));
        QCOMPARE(calls, 0);
    }
};

QTEST_GUILESS_MAIN(HotKeyTest)
#include "tst_hotkey.moc"
