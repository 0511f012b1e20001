#include "SnippetsTabHarness.h"
#include "settingswindow/SnippetEditor.h"
#include "settingswindow/SnippetFilter.h"
#include "settingswindow/SnippetListModel.h"
#include "settingswindow/SnippetRowDelegate.h"
#include "settingswindow/SnippetStatusView.h"
#include "settingswindow/SnippetsTab.h"
#include "settingswindow/ToggleSwitch.h"
#include "storage/JsonList.h"

#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

#include <memory>

using namespace std::chrono_literals;

namespace {

const QString twoCharacters = QStringLiteral(
    "Use at least two characters, ideally starting with ; or / so it does not trigger by "
    "accident.");
const QString duplicate = QStringLiteral("Another snippet already uses this abbreviation.");
const QString placeholder = QStringLiteral(
    "Select a snippet to edit it, or add a new one.\nType the abbreviation in any app and it "
    "expands to the text.");

QStringList abbreviations(const QList<Snippet>& snippets) {
    QStringList result;
    for (const Snippet& s : snippets)
        result.append(s.abbreviation);
    return result;
}

} // namespace

// The Snippets tab: search, list, editor, warnings, and the expansion switch.
class TestSnippetsTab : public SnippetsTabHarness {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        setUpTab();
        QCOMPARE(abbreviations(m_fixture->snippets.snippets()), (QStringList{";sig", ";addr"}));
    }
    void cleanup() { tearDownTab(); }

    void searchIgnoresCase();
    void searchOfOnlySpacesShowsAll();
    void searchFollowsTheLocale();
    void rowsShowAbbreviationAndOneLineOfExpansion();
    void addClearsTheSearchAndSelectsTheNewSnippet();
    void warningsInformAndTheSnippetIsSaved();
    void everyKeystrokeIsSaved();
    void deleteNeedsASelectionAndShowsThePlaceholder();
    void editingADeletedSnippetWritesNothing();
    void switchWithPermissionIsActive();
    void switchCancelledStaysOff();
    void switchWithoutPermissionWaitsUntilGranted();
    void noSettingsButtonWithoutSettingsPages();
};

void TestSnippetsTab::searchIgnoresCase() {
    auto* search = child<QLineEdit>("search");
    QCOMPARE(search->placeholderText(), QStringLiteral("Search"));
    QTest::keyClicks(search, QStringLiteral("SIG"));
    QCOMPARE(listed(), QStringList{";sig"});
    search->clear();
    QTest::keyClicks(search, QStringLiteral("springFIELD")); // in the expansion
    QCOMPARE(listed(), QStringList{";addr"});
    search->clear();
    QTest::keyClicks(search, QStringLiteral("nothing like it"));
    QVERIFY(listed().isEmpty());
}

void TestSnippetsTab::searchOfOnlySpacesShowsAll() {
    auto* search = child<QLineEdit>("search");
    QTest::keyClicks(search, QStringLiteral("   "));
    QCOMPARE(listed(), (QStringList{";sig", ";addr"}));
    search->setText(QStringLiteral("\t ;sig \n"));
    QCOMPARE(listed(), QStringList{";sig"}); // trimmed at both ends
}

void TestSnippetsTab::searchFollowsTheLocale() {
    const Snippet street{QUuid::createUuid(), QStringLiteral(";st"), QStringLiteral("Hauptstraße")};
    const Snippet city{QUuid::createUuid(), QStringLiteral(";ist"), QStringLiteral("istanbul")};
    const QLocale german(QLocale::German, QLocale::Germany);
    const QLocale turkish(QLocale::Turkish, QLocale::Turkey);
    const QLocale english(QLocale::English, QLocale::UnitedStates);
    if (turkish.toUpper(QStringLiteral("i")) != QStringLiteral("\u0130"))
        QSKIP("this Qt has no locale-specific case rules (built without ICU)");
    QVERIFY(SnippetFilter::matches(street, QStringLiteral("STRASSE"), german));
    QVERIFY(SnippetFilter::matches(city, QStringLiteral("\u0130STANBUL"), turkish));
    QVERIFY(!SnippetFilter::matches(city, QStringLiteral("\u0130STANBUL"), english));
    QVERIFY(SnippetFilter::matches(city, QStringLiteral("ISTANBUL"), english));
    QCOMPARE(SnippetFilter::filtered({street, city}, QStringLiteral("  "), english).size(), 2);
}

void TestSnippetsTab::rowsShowAbbreviationAndOneLineOfExpansion() {
    QList<Snippet> snippets = m_fixture->snippets.snippets();
    snippets.append({QUuid::createUuid(), QString(), QStringLiteral("a\nb\r\nc")});
    m_fixture->snippets.setSnippets(snippets);
    QCOMPARE(listed(), (QStringList{";sig", ";addr", "(empty)"}));
    QAbstractItemModel* model = child<QListView>("snippets")->model();
    QCOMPARE(model->index(2, 0).data(SnippetListModel::AbbreviationRole).toString(), QString());
    QCOMPARE(SnippetRowDelegate::oneLine(
                 model->index(0, 0).data(SnippetListModel::ExpansionRole).toString()),
             QStringLiteral("Best regards, Your Name"));
    QCOMPARE(SnippetRowDelegate::oneLine(QStringLiteral("a\nb\r\nc")), QStringLiteral("a b c"));
    auto* list = child<QListView>("snippets");
    // Two lines per row: the abbreviation and the expansion under it.
    QVERIFY(list->visualRect(model->index(0, 0)).height() >= 2 * list->fontMetrics().height());
}

void TestSnippetsTab::addClearsTheSearchAndSelectsTheNewSnippet() {
    auto* search = child<QLineEdit>("search");
    QTest::keyClicks(search, QStringLiteral("addr"));
    QCOMPARE(listed(), QStringList{";addr"});
    QTest::mouseClick(child<QToolButton>("add"), Qt::LeftButton);
    QCOMPARE(search->text(), QString());
    QCOMPARE(listed(), (QStringList{";sig", ";addr", ";new"}));
    const Snippet added = m_fixture->snippets.snippets().last();
    QCOMPARE(added.abbreviation, QStringLiteral(";new"));
    QCOMPARE(added.expansion, QString());
    QCOMPARE(m_tab->selected(), std::optional<QUuid>(added.id));
    QCOMPARE(child<QListView>("snippets")->selectionModel()->selectedRows().value(0).row(), 2);
    QCOMPARE(child<QLineEdit>("abbreviation")->text(), QStringLiteral(";new"));
    const auto saved = JsonList::decode<Snippet>(*m_fixture->snippetsFile());
    QVERIFY(saved);
    QCOMPARE(*saved, m_fixture->snippets.snippets());
}

void TestSnippetsTab::warningsInformAndTheSnippetIsSaved() {
    selectRow(0);
    auto* abbreviation = child<QLineEdit>("abbreviation");
    auto* warning = child<QLabel>("warning");
    QCOMPARE(abbreviation->placeholderText(), QStringLiteral("Abbreviation (for example ;sig)"));
    QVERIFY(!warning->isVisible());

    abbreviation->selectAll();
    QTest::keyClick(abbreviation, ';');
    QVERIFY(warning->isVisible());
    QCOMPARE(warning->text(), twoCharacters);
    QCOMPARE(m_fixture->snippets.snippets().at(0).abbreviation, QStringLiteral(";"));
    QCOMPARE(JsonList::decode<Snippet>(*m_fixture->snippetsFile())->at(0).abbreviation,
             QStringLiteral(";"));

    QTest::keyClicks(abbreviation, QStringLiteral("addr"));
    QCOMPARE(warning->text(), duplicate);
    QCOMPARE(abbreviations(*JsonList::decode<Snippet>(*m_fixture->snippetsFile())),
             (QStringList{";addr", ";addr"}));

    // Also a duplicate when it is under two characters: the duplicate wins.
    QList<Snippet> snippets = m_fixture->snippets.snippets();
    snippets[1].abbreviation = QStringLiteral("x");
    m_fixture->snippets.setSnippets(snippets);
    abbreviation->selectAll();
    QTest::keyClick(abbreviation, 'x');
    QCOMPARE(warning->text(), duplicate);
    QTest::keyClick(abbreviation, 'y');
    QVERIFY(!warning->isVisible());
    // Case matters: ";ADDR" is not ";addr".
    QCOMPARE(SnippetEditor::warning({QUuid::createUuid(), QStringLiteral(";ADDR"), {}},
                                    {{QUuid::createUuid(), QStringLiteral(";addr"), {}}}),
             QString());
    // "é" made of two code points is one character.
    QCOMPARE(SnippetEditor::warning({QUuid::createUuid(), QStringLiteral("e\u0301"), {}}, {}),
             twoCharacters);
}

void TestSnippetsTab::everyKeystrokeIsSaved() {
    selectRow(1);
    auto* expansion = child<QPlainTextEdit>("expansion");
    QCOMPARE(expansion->toPlainText(), QStringLiteral("123 Main Street\nSpringfield"));
    QCOMPARE(expansion->minimumHeight(), 160);
    expansion->moveCursor(QTextCursor::End);
    const QString typed = QStringLiteral(" IL");
    for (qsizetype i = 0; i < typed.size(); ++i) {
        QTest::keyClick(expansion, typed.at(i).toLatin1());
        const auto saved = JsonList::decode<Snippet>(*m_fixture->snippetsFile());
        QCOMPARE(saved->at(1).expansion,
                 QStringLiteral("123 Main Street\nSpringfield") + typed.left(i + 1));
    }
    QCOMPARE(m_fixture->snippets.snippets().at(0).expansion,
             QStringLiteral("Best regards,\nYour Name"));
}

void TestSnippetsTab::deleteNeedsASelectionAndShowsThePlaceholder() {
    auto* remove = child<QToolButton>("delete");
    auto* shown = child<QLabel>("placeholder");
    QVERIFY(!remove->isEnabled());
    QVERIFY(shown->isVisible());
    QCOMPARE(shown->text(), placeholder);
    selectRow(0);
    QVERIFY(remove->isEnabled());
    QVERIFY(child<SnippetEditor>("editor")->isVisible());
    QTest::mouseClick(remove, Qt::LeftButton);
    QCOMPARE(abbreviations(m_fixture->snippets.snippets()), QStringList{";addr"});
    QCOMPARE(abbreviations(*JsonList::decode<Snippet>(*m_fixture->snippetsFile())),
             QStringList{";addr"});
    QVERIFY(!m_tab->selected());
    QVERIFY(!remove->isEnabled());
    QVERIFY(shown->isVisible());
    QVERIFY(!child<SnippetEditor>("editor")->isVisible());
}

void TestSnippetsTab::editingADeletedSnippetWritesNothing() {
    selectRow(0);
    // Gone from the store behind the editor's back.
    m_fixture->snippets.setSnippets({m_fixture->snippets.snippets().at(1)});
    const QByteArray file = *m_fixture->snippetsFile();
    auto* abbreviation = child<QLineEdit>("abbreviation");
    QTest::keyClicks(abbreviation, QStringLiteral("zz"));
    QCOMPARE(abbreviations(m_fixture->snippets.snippets()), QStringList{";addr"});
    QCOMPARE(*m_fixture->snippetsFile(), file);
}

void TestSnippetsTab::switchWithPermissionIsActive() {
    auto* expand = child<ToggleSwitch>("expand");
    auto* status = child<SnippetStatusView>("snippetStatus");
    QCOMPARE(expand->text(), QStringLiteral("Expand snippets while I type"));
    QVERIFY(!expand->isChecked());
    QCOMPARE(status->state(), SnippetStatusView::State::off);
    QVERIFY(status->findChild<QLabel*>(QStringLiteral("off"))->isVisible());

    QTest::mouseClick(expand, Qt::LeftButton);
    QVERIFY(m_fixture->settings.snippetsEnabled());
    QVERIFY(m_fixture->engine.isRunning());
    QVERIFY(m_fixture->platform.watcher.watching);
    QVERIFY(expand->isChecked());
    auto* active = status->findChild<QLabel*>(QStringLiteral("active"));
    QVERIFY(active->isVisible());
    QCOMPARE(active->text(), QStringLiteral("Active"));

    QTest::mouseClick(expand, Qt::LeftButton);
    QVERIFY(!m_fixture->settings.snippetsEnabled());
    QVERIFY(!m_fixture->engine.isRunning());
    QVERIFY(!expand->isChecked());
    QCOMPARE(status->findChild<QLabel*>(QStringLiteral("off"))->text(), QStringLiteral("Off"));
    QVERIFY(status->findChild<QLabel*>(QStringLiteral("off"))->isVisible());
}

void TestSnippetsTab::switchCancelledStaysOff() {
    m_fixture->platform.permissionsFake.inputMonitoring = false;
    PendingQuestion question;
    m_fixture->engine.setPermissionPrompt(question.prompt());
    auto* expand = child<ToggleSwitch>("expand");
    auto* status = child<SnippetStatusView>("snippetStatus");
    QTest::mouseClick(expand, Qt::LeftButton);
    // While the question is open the switch stays where the user put it;
    // nothing is decided yet.
    QVERIFY(question.isOpen());
    QCOMPARE(question.asked, 1);
    QVERIFY(expand->isChecked());
    QVERIFY(!m_fixture->settings.snippetsEnabled());
    QCOMPARE(status->state(), SnippetStatusView::State::off);

    question.answer(false); // "Cancel"
    QTRY_VERIFY(!expand->isChecked());
    QVERIFY(!question.isOpen());
    QVERIFY(!m_fixture->settings.snippetsEnabled());
    QCOMPARE(status->state(), SnippetStatusView::State::off);
}

void TestSnippetsTab::switchWithoutPermissionWaitsUntilGranted() {
    FakePermissions& permissions = m_fixture->platform.permissionsFake;
    permissions.inputMonitoring = false;
    PendingQuestion question;
    m_fixture->engine.setPermissionPrompt(question.prompt());
    auto* expand = child<ToggleSwitch>("expand");
    QTest::mouseClick(expand, Qt::LeftButton);
    QVERIFY(question.isOpen());
    question.answer(true); // "Continue"
    QTRY_VERIFY(m_fixture->settings.snippetsEnabled());
    QVERIFY(expand->isChecked());
    auto* status = child<SnippetStatusView>("snippetStatus");
    QCOMPARE(status->state(), SnippetStatusView::State::waiting);
    auto* waiting = status->findChild<QWidget*>(QStringLiteral("waiting"));
    QVERIFY(waiting->isVisible());
    QVERIFY(waiting->findChildren<QLabel*>().value(0));
    QCOMPARE(waiting->findChildren<QLabel*>().value(0)->text(),
             QStringLiteral("Waiting for Input Monitoring permission"));
    auto* open = status->findChild<QPushButton*>(QStringLiteral("openSettings"));
    QVERIFY(open->isVisible());
    QCOMPARE(open->text(), QStringLiteral("Open Settings"));
    const qsizetype panesBefore = permissions.openedPanes.size();
    QTest::mouseClick(open, Qt::LeftButton);
    QCOMPARE(permissions.openedPanes.size(), panesBefore + 1);
    QCOMPARE(permissions.openedPanes.last(), PermissionService::Pane::inputMonitoring);

    // Granted in the system settings: the engine's poll starts the watcher
    // within two seconds, and the line turns to "Active".
    m_fixture->engine.startMonitoringState();
    QCOMPARE(status->state(), SnippetStatusView::State::waiting);
    permissions.inputMonitoring = true;
    QTRY_VERIFY_WITH_TIMEOUT(status->findChild<QLabel*>(QStringLiteral("active"))->isVisible(),
                             3000);
    QVERIFY(!waiting->isVisible());
}

void TestSnippetsTab::noSettingsButtonWithoutSettingsPages() {
    PanelessPermissions x11;
    m_tab.reset();
    makeTab(&x11);
    m_fixture->platform.permissionsFake.inputMonitoring = false;
    m_fixture->engine.setPermissionPrompt(PendingQuestion::answeredAtOnce(true));
    QTest::mouseClick(child<ToggleSwitch>("expand"), Qt::LeftButton);
    auto* status = child<SnippetStatusView>("snippetStatus");
    QCOMPARE(status->state(), SnippetStatusView::State::waiting);
    QVERIFY(status->findChild<QWidget*>(QStringLiteral("waiting"))->isVisible());
    QVERIFY(!status->findChild<QPushButton*>(QStringLiteral("openSettings"))->isVisible());
    m_tab.reset(); // before `x11` goes
}

QTEST_MAIN(TestSnippetsTab)
#include "tst_snippetstab.moc"
