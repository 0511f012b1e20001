#include "DesktopTestMain.h"
#include "SnippetDesktop.h"
#include "texts/Texts.h"

#include <QScopeGuard>

using namespace SnippetDesktop;

// Wendle expanding snippets on a real X desktop: xdotool types into the Qt
// test editor (and a default xterm), and the editor's saved text, what the
// terminal's program received and the clipboard show the result.
// Snippets are switched on the settings window's Snippets tab, opened from
// the tray menu.
class TestSnippetsDesktop : public QObject {
    Q_OBJECT
private:
    DesktopSession& desktop() { return DesktopSession::current(); }
    QProcess* m_wendle = nullptr;
    std::optional<DesktopSession::Editor> m_editor;

    bool editorShows(const QString& text, int timeoutMs = 5000) {
        return DesktopSession::waitUntil([&] { return m_editor->text() == text; }, timeoutMs);
    }
    QString editorText() const { return m_editor->text(); }

    // Types an abbreviation that must expand, as proof that every key typed
    // before it has been seen and did not expand anything.
    bool expandsAfter(const QString& before) {
        return desktop().type(QStringLiteral(" ;addr")) &&
               editorShows(before + QStringLiteral(" ") + address);
    }

    // Presses each key in turn ("ctrl+a BackSpace").
    bool keys(const QString& sequence) {
        for (const QString& key : sequence.split(QLatin1Char(' '))) {
            if (!desktop().key(key))
                return false;
        }
        return true;
    }

    // The setting as Wendle stored it.
    static QString storedSetting() {
        QSettings settings(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                               QStringLiteral("/Wendle/Wendle.conf"),
                           QSettings::IniFormat);
        return settings.value(QStringLiteral("snippetsEnabled")).toString();
    }

    // A named control of the settings window, in screen coordinates.
    static QJsonObject control(const QString& name) {
        return settingsWindow().value(QStringLiteral("controls")).toObject().value(name).toObject();
    }

    bool clickControl(const QString& name) {
        const QJsonObject area = control(name);
        const int width = area.value(QStringLiteral("width")).toInt();
        const int height = area.value(QStringLiteral("height")).toInt();
        return width > 0 &&
               desktop().mouseMove(area.value(QStringLiteral("x")).toInt() + width / 2,
                                   area.value(QStringLiteral("y")).toInt() + height / 2) &&
               desktop().click();
    }

    // The abbreviation of the last snippet, as Wendle saved it.
    static QString lastAbbreviation() {
        QFile file(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                   QStringLiteral("/Wendle/snippets.json"));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        const QJsonArray list = QJsonDocument::fromJson(file.readAll()).array();
        return list.isEmpty()
                   ? QString()
                   : list.last().toObject().value(QStringLiteral("abbreviation")).toString();
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(writeUserFiles(
            {{";sig", signature}, {";addr", address}, {";zy", "Gr\u00FC\u00DFe"}}, true));
        m_wendle = startWendle(desktop());
        QVERIFY(m_wendle);
        m_editor = desktop().startEditor({});
        QVERIFY(m_editor);
    }

    void init() {
        // An empty editor with the focus. Ctrl+A is a key combination, so the
        // engine starts each test with nothing typed.
        QVERIFY(desktop().activate(m_editor->window));
        QVERIFY(keys(QStringLiteral("ctrl+a BackSpace")));
        QVERIFY(editorShows(QString()));
    }

    void typedAbbreviationBecomesTheExpansionAndTheClipboardStays() {
        const ClipboardContent before;
        QVERIFY(ownClipboard(desktop(), before));
        QVERIFY(desktop().type(QStringLiteral("Hello ;sig")));
        QVERIFY2(editorShows(QStringLiteral("Hello ") + signature), qPrintable(editorText()));
        QVERIFY(clipboardHolds(desktop(), before, 3000));
        // The pasted line break is a real one.
        QCOMPARE(editorText().split(QLatin1Char('\n')).size(), 2);
    }

    void backspaceWhileTypingStillExpands() {
        QVERIFY(desktop().type(QStringLiteral(";si")));
        QVERIFY(desktop().key(QStringLiteral("BackSpace")));
        QVERIFY(desktop().type(QStringLiteral("ig")));
        QVERIFY2(editorShows(signature), qPrintable(editorText()));
    }

    void capitalsDoNotExpand() {
        QVERIFY(desktop().type(QStringLiteral(";SIG")));
        QVERIFY2(expandsAfter(QStringLiteral(";SIG")), qPrintable(editorText()));
    }

    void capsLockDoesNotExpand() {
        QVERIFY(desktop().key(QStringLiteral("Caps_Lock")));
        QVERIFY(keys(QStringLiteral("semicolon s i g")));
        QVERIFY(desktop().key(QStringLiteral("Caps_Lock")));
        QVERIFY2(expandsAfter(QStringLiteral(";SIG")), qPrintable(editorText()));
    }

    void anArrowKeyBetweenCharactersPreventsTheMatch() {
        QVERIFY(desktop().type(QStringLiteral(";si")));
        QVERIFY(keys(QStringLiteral("Left Right")));
        QVERIFY(desktop().type(QStringLiteral("g")));
        QVERIFY2(expandsAfter(QStringLiteral(";sig")), qPrintable(editorText()));
    }

    void aCtrlCombinationBetweenCharactersPreventsTheMatch() {
        QVERIFY(desktop().type(QStringLiteral(";si")));
        // Ctrl+J does nothing in the editor; it only interrupts the typing.
        QVERIFY(desktop().key(QStringLiteral("ctrl+j")));
        QVERIFY(desktop().type(QStringLiteral("g")));
        QVERIFY2(expandsAfter(QStringLiteral(";sig")), qPrintable(editorText()));
    }

    void aSecondExpansionRightAfterTheFirst() {
        QVERIFY(desktop().type(QStringLiteral(";sig")));
        QVERIFY2(editorShows(signature), qPrintable(editorText()));
        QVERIFY(desktop().type(QStringLiteral(";addr")));
        QVERIFY2(editorShows(signature + address), qPrintable(editorText()));
    }

    void typingOnRightAfterTheAbbreviation_data() { typingOnRows(); }

    void typingOnRightAfterTheAbbreviation() {
        // What is typed during the expansion waits for it, in order.
        QFETCH(int, delayMs);
        QVERIFY(typeSlowly(desktop(), typedOn, delayMs));
        QVERIFY2(editorShows(typedOnResult), qPrintable(editorText()));
    }

    void typingInWendlesOwnWindowsNeverExpands() {
        QVERIFY(openSnippetsTab(desktop()));
        // A new snippet, its abbreviation typed in the editor on the right.
        QVERIFY(clickControl(QStringLiteral("add")));
        QVERIFY(DesktopSession::waitUntil(
            [] { return control(QStringLiteral("abbreviation")).value("width").toInt() > 0; }));
        QVERIFY(clickControl(QStringLiteral("abbreviation")));
        QVERIFY(keys(QStringLiteral("ctrl+a")));
        QVERIFY(desktop().type(QStringLiteral(";sig is mine")));
        QVERIFY2(DesktopSession::waitUntil([] { return lastAbbreviation() == ";sig is mine"; }),
                 qPrintable(lastAbbreviation()));

        // Back in the editor, abbreviations expand again at once.
        QVERIFY(desktop().activate(m_editor->window));
        QVERIFY(desktop().type(QStringLiteral(";addr")));
        QVERIFY2(editorShows(address), qPrintable(editorText()));
        QCOMPARE(lastAbbreviation(), QStringLiteral(";sig is mine"));
    }

    void inADefaultXtermTheAbbreviationStaysAsTyped() {
        // A default xterm has no paste keystroke: an expansion could not be
        // put in, so not even the abbreviation is erased.
        const ClipboardContent before;
        QVERIFY(ownClipboard(desktop(), before));
        auto xterm = startXterm(desktop(), QStringLiteral("wendle-snippets-xterm"));
        QVERIFY(xterm);
        const auto stop = qScopeGuard([&] { desktop().stop(xterm->process); });
        QVERIFY(desktop().type(QStringLiteral(";sig")));
        QVERIFY(DesktopSession::waitUntil([&] { return xterm->recorded() == ";sig"; }));

        // In the editor the next abbreviation expands, and only it: Wendle
        // takes keys in order, so an expansion of ";sig" would have erased
        // and pasted before this one is done.
        QVERIFY(desktop().activate(m_editor->window));
        QVERIFY(desktop().type(QStringLiteral(";addr")));
        QVERIFY2(editorShows(address), qPrintable(editorText()));
        QCOMPARE(xterm->recorded(), QByteArray(";sig"));
        QVERIFY(clipboardHolds(desktop(), before, 3000));
    }

    void theTrayMenuHoldsItsEntriesAndNoMore() {
        const QJsonArray entries = tray().value(QStringLiteral("entries")).toArray();
        QStringList titles;
        for (const QJsonValue& entry : entries)
            titles.append(entry.toString());
        QCOMPARE(titles,
                 (QStringList{Texts::menuOpenPalette(), "-", "Actions\u2026", "Snippets\u2026",
                              "Settings\u2026", "Permissions\u2026", "-", "Quit Wendle"}));
    }

    void switchingOffInTheSnippetsTabStopsAndOnStartsAgain() {
        QVERIFY(switchSnippets(desktop(), false));
        QCOMPARE(storedSetting(), QStringLiteral("false"));
        QVERIFY(desktop().activate(m_editor->window));
        QVERIFY(desktop().type(QStringLiteral(";sig")));
        QVERIFY(editorShows(QStringLiteral(";sig")));
        // With expansion off no abbreviation can expand as proof, and nothing
        // announces an expansion that does not come: give it several times
        // the 120 ms one takes to its paste.
        QTest::qWait(600);
        QCOMPARE(editorText(), QStringLiteral(";sig"));

        QVERIFY(switchSnippets(desktop(), true));
        QCOMPARE(storedSetting(), QStringLiteral("true"));
        QVERIFY(desktop().activate(m_editor->window));
        QVERIFY(desktop().type(QStringLiteral(" ;sig")));
        QVERIFY2(editorShows(QStringLiteral(";sig ") + signature), qPrintable(editorText()));
    }

    void aLayoutSwitchedWhileRunningIsFollowed() {
        // On a German layout Z and Y trade places and ";" is Shift+comma: a
        // watcher still reading the old layout would see ";yz".
        QVERIFY(desktop().run(QStringLiteral("setxkbmap"), {QStringLiteral("de")}));
        const auto restore = qScopeGuard(
            [&] { desktop().run(QStringLiteral("setxkbmap"), {QStringLiteral("us")}); });
        QVERIFY(desktop().type(QStringLiteral("Hallo ;zy")));
        QVERIFY2(editorShows(QStringLiteral("Hallo Gr\u00FC\u00DFe")), qPrintable(editorText()));
        QVERIFY(desktop().type(QStringLiteral(" ;sig")));
        QVERIFY2(editorShows(QStringLiteral("Hallo Gr\u00FC\u00DFe ") + signature),
                 qPrintable(editorText()));
    }
};

WENDLE_DESKTOP_TEST_MAIN(TestSnippetsDesktop,
                         (DesktopSession::Options{.windowManager = true, .trayHost = true}))
#include "tst_snippets_desktop.moc"
