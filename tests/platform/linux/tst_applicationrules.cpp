// Which keystrokes copy and paste the CLIPBOARD in which application, by the
// WM_CLASS names its window carries.

#include "platform/linux/ApplicationRules.h"
#include "platform/linux/ApplicationRulesFile.h"
#include "platform/linux/TerminalProcess.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

using ApplicationRules::ClipboardKeys;

class TestApplicationRules : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void clipboardKeys_data();
    void clipboardKeys();
    void shortcutModifiers();
    void programNamesFindRulesToo();
    void userRulesMatchClassOrInstanceWithWildcards();
    void userRulesFile();
    void malformedUserRules_data();
    void malformedUserRules();
    void aMalformedFileIsIgnoredAndAFixedOneTakesEffect();
    void aProgramRunningAShellOnAPseudoTerminalIsATerminal();
};

void TestApplicationRules::clipboardKeys_data() {
    QTest::addColumn<QString>("instance");
    QTest::addColumn<QString>("windowClass");
    QTest::addColumn<ClipboardKeys>("keys");
    const auto row = [](const char* name, const char* instance, const char* windowClass,
                        ClipboardKeys keys) {
        QTest::newRow(name) << QString::fromLatin1(instance) << QString::fromLatin1(windowClass)
                            << keys;
    };

    // The xterm family: no keystroke at all.
    row("xterm", "xterm", "XTerm", ClipboardKeys::none);
    row("uxterm", "xterm", "UXTerm", ClipboardKeys::none);
    row("koi8rxterm", "xterm", "KOI8RXTerm", ClipboardKeys::none);
    row("xterm -name", "logs", "XTerm", ClipboardKeys::none);
    row("xterm -class", "xterm", "Console", ClipboardKeys::none);
    row("rxvt", "rxvt", "", ClipboardKeys::none);

    // rxvt-unicode, also under the name rxvt or another instance name.
    row("urxvt", "urxvt", "URxvt", ClipboardKeys::controlAlt);
    row("urxvt as rxvt", "rxvt", "URxvt", ClipboardKeys::controlAlt);
    row("urxvt -name", "irc", "URxvt", ClipboardKeys::controlAlt);

    // Ctrl+Shift terminals, with the names they set.
    row("st", "st-256color", "st-256color", ClipboardKeys::shifted);
    row("st -c", "st-256color", "Notes", ClipboardKeys::shifted);
    row("gnome-terminal", "gnome-terminal-server", "Gnome-terminal", ClipboardKeys::shifted);
    row("gnome console", "kgx", "org.gnome.Console", ClipboardKeys::shifted);
    row("konsole", "konsole", "konsole", ClipboardKeys::shifted);
    row("xfce4-terminal", "xfce4-terminal", "Xfce4-terminal", ClipboardKeys::shifted);
    row("mate-terminal", "mate-terminal", "Mate-terminal", ClipboardKeys::shifted);
    row("lxterminal", "lxterminal", "Lxterminal", ClipboardKeys::shifted);
    row("alacritty", "Alacritty", "Alacritty", ClipboardKeys::shifted);
    row("kitty", "kitty", "kitty", ClipboardKeys::shifted);
    row("tilix", "tilix", "Tilix", ClipboardKeys::shifted);
    row("terminator", "terminator", "Terminator", ClipboardKeys::shifted);
    row("wezterm", "org.wezfurlong.wezterm", "org.wezfurlong.wezterm", ClipboardKeys::shifted);
    row("ghostty", "ghostty", "com.mitchellh.ghostty", ClipboardKeys::shifted);

    // Everything else.
    row("editor", "wendle-test-editor", "wendle-test-editor", ClipboardKeys::standard);
    row("l3afpad", "l3afpad", "L3afpad", ClipboardKeys::standard);
    row("gedit", "gedit", "Gedit", ClipboardKeys::standard);
    row("firefox", "Navigator", "firefox", ClipboardKeys::standard);
    row("similar name", "stterm-notes", "Notes", ClipboardKeys::standard);
    row("longer name", "xterminal", "Xterminal", ClipboardKeys::standard);
    row("nothing", "", "", ClipboardKeys::standard);
}

void TestApplicationRules::clipboardKeys() {
    QFETCH(QString, instance);
    QFETCH(QString, windowClass);
    QFETCH(ClipboardKeys, keys);
    QCOMPARE(ApplicationRules::clipboardKeys(instance, windowClass), keys);
}

void TestApplicationRules::shortcutModifiers() {
    using ApplicationRules::shortcutModifiers;
    QCOMPARE(shortcutModifiers(ClipboardKeys::standard),
             std::optional<Qt::KeyboardModifiers>(Qt::ControlModifier));
    QCOMPARE(shortcutModifiers(ClipboardKeys::shifted),
             std::optional<Qt::KeyboardModifiers>(Qt::ControlModifier | Qt::ShiftModifier));
    QCOMPARE(shortcutModifiers(ClipboardKeys::controlAlt),
             std::optional<Qt::KeyboardModifiers>(Qt::ControlModifier | Qt::AltModifier));
    QCOMPARE(shortcutModifiers(ClipboardKeys::none), std::nullopt);
}

void TestApplicationRules::programNamesFindRulesToo() {
    // The names of the programs behind renamed windows.
    QCOMPARE(ApplicationRules::knownClipboardKeys("stterm", {}), ClipboardKeys::shifted);
    QCOMPARE(ApplicationRules::knownClipboardKeys("xterm", {}), ClipboardKeys::none);
    QCOMPARE(ApplicationRules::knownClipboardKeys("urxvt", {}), ClipboardKeys::controlAlt);
    QCOMPARE(ApplicationRules::knownClipboardKeys("l3afpad", {}), std::nullopt);
}

void TestApplicationRules::userRulesMatchClassOrInstanceWithWildcards() {
    const auto parsed = ApplicationRulesFile::parse(R"([
        {"class": "My?erm*", "copy": "Ctrl+Shift+C", "paste": "Shift+Insert"},
        {"class": "notes", "copy": "none", "paste": "Ctrl+V"}
    ])");
    QCOMPARE(parsed.error, QString());
    QCOMPARE(parsed.rules.size(), 2);
    const auto& first = parsed.rules.at(0);
    QVERIFY(first.match.match("MyTerm-2").hasMatch());
    QVERIFY(first.match.match("myxerm").hasMatch());
    QVERIFY(!first.match.match("xMyTerm").hasMatch());
    QCOMPARE(first.copy,
             (ApplicationRulesFile::Keystroke{Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier}));
    QCOMPARE(first.paste, (ApplicationRulesFile::Keystroke{Qt::Key_Insert, Qt::ShiftModifier}));
    const auto& second = parsed.rules.at(1);
    QVERIFY(second.match.match("NOTES").hasMatch());
    QVERIFY(!second.match.match("notes2").hasMatch());
    QCOMPARE(second.copy, std::nullopt);
    QCOMPARE(second.paste, (ApplicationRulesFile::Keystroke{Qt::Key_V, Qt::ControlModifier}));
}

namespace {

bool write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes) == bytes.size();
}

} // namespace

void TestApplicationRules::userRulesFile() {
    QTemporaryDir dir;
    const QString path = dir.filePath("keystrokes.json");
    ApplicationRulesFile rules(path);
    QCOMPARE(rules.find("foo", "Foo"), nullptr); // no file: no rules, no complaint
    QCOMPARE(rules.error(), QString());

    QVERIFY(write(path, R"([{"class": "Foo", "copy": "none", "paste": "none"}])"));
    const ApplicationRulesFile::Rule* rule = rules.find("bar", "Foo");
    QVERIFY(rule);
    QCOMPARE(rule->copy, std::nullopt);
    QVERIFY(rules.find("foo", "Bar")); // the instance name matches too
    QCOMPARE(rules.find("bar", "Bar"), nullptr);

    QVERIFY(QFile::remove(path));
    QCOMPARE(rules.find("bar", "Foo"), nullptr);
}

void TestApplicationRules::malformedUserRules_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("error");
    QTest::newRow("not JSON") << QByteArray("[{\"class\": ") << "it is not valid JSON";
    QTest::newRow("an object") << QByteArray(R"({"class": "Foo"})") << "it must hold a list";
    QTest::newRow("not an object") << QByteArray(R"(["Foo"])") << "rule 1: it is not an object";
    QTest::newRow("no class") << QByteArray(R"([{"copy": "none", "paste": "none"}])")
                              << "rule 1: \"class\" must be a window class pattern";
    QTest::newRow("unknown field")
        << QByteArray(R"([{"class": "Foo", "copy": "none", "paste": "none", "cut": "none"}])")
        << "rule 1: unknown field \"cut\"";
    QTest::newRow("no paste") << QByteArray(R"([{"class": "Foo", "copy": "none"}])")
                              << "rule 1: \"paste\" must be a keystroke";
    QTest::newRow("misspelt key") << QByteArray(R"([{"class": "a", "copy": "none", "paste": "none"},
                          {"class": "Foo", "copy": "Ctrl+Shfit+C", "paste": "none"}])")
                                  << "rule 2: \"copy\" is not a keystroke: \"Ctrl+Shfit+C\"";
    QTest::newRow("two keys") << QByteArray(R"([{"class": "Foo", "copy": "Ctrl+C, Ctrl+C",
                                                 "paste": "none"}])")
                              << "rule 1: \"copy\" is not a keystroke";
    QTest::newRow("a number") << QByteArray(R"([{"class": "Foo", "copy": 3, "paste": "none"}])")
                              << "rule 1: \"copy\" must be a keystroke";
}

void TestApplicationRules::malformedUserRules() {
    QFETCH(QByteArray, json);
    QFETCH(QString, error);
    const auto parsed = ApplicationRulesFile::parse(json);
    QVERIFY2(parsed.error.startsWith(error), qPrintable(parsed.error));
    QVERIFY(parsed.rules.isEmpty());
}

void TestApplicationRules::aMalformedFileIsIgnoredAndAFixedOneTakesEffect() {
    QTemporaryDir dir;
    const QString path = dir.filePath("keystrokes.json");
    QVERIFY(write(path, R"([{"class": "Foo", "copy": "none", "paste": "none"},
                           {"class": "Bar", "copy": "Ctrl+Shfit+C", "paste": "none"}])"));
    ApplicationRulesFile rules(path);
    // The good rule before the bad one is ignored too: the file is wrong.
    QCOMPARE(rules.find("foo", "Foo"), nullptr);
    QVERIFY2(rules.error().contains(path + " is ignored: rule 2"), qPrintable(rules.error()));

    QVERIFY(write(path, R"([{"class": "Foo", "copy": "none", "paste": "none"},
                           {"class": "Bar", "copy": "Ctrl+Shift+C", "paste": "none"}])"));
    QVERIFY(rules.find("foo", "Foo"));
    QCOMPARE(rules.error(), QString());
}

void TestApplicationRules::aProgramRunningAShellOnAPseudoTerminalIsATerminal() {
    // script(1) holds a pseudo-terminal master, with the command on it.
    QProcess script;
    script.start("script", {"-q", "-c", "sleep 30", "/dev/null"});
    QVERIFY(script.waitForStarted());
    const auto stop = qScopeGuard([&] {
        script.kill();
        script.waitForFinished();
    });
    QVERIFY(
        QTest::qWaitFor([&] { return TerminalProcess::runsTerminal(script.processId()); }, 5000));
    QCOMPARE(TerminalProcess::programName(script.processId()), QString("script"));
    // A program without one.
    QVERIFY(!TerminalProcess::runsTerminal(QCoreApplication::applicationPid()));
    QVERIFY(!TerminalProcess::runsTerminal(0));
}

QTEST_GUILESS_MAIN(TestApplicationRules)

#include "tst_applicationrules.moc"
