#include "SettingsFixture.h"
#include "settingswindow/GeneralTab.h"
#include "settingswindow/PermissionRow.h"
#include "settingswindow/SettingsStyle.h"
#include "settingswindow/ToggleSwitch.h"
#include "storage/AppSupport.h"
#include "texts/Texts.h"

#include <QDir>
#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <memory>

namespace {

// The colour every fully covered pixel of the mark is painted in; invalid
// when the mark is empty or not of one colour.
QColor markColour(PermissionRow* row) {
    auto* mark = row->findChild<QLabel*>(QStringLiteral("mark"));
    const QImage image = mark->pixmap().toImage().convertToFormat(QImage::Format_ARGB32);
    QColor colour;
    int covered = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (pixel.alpha() != 255)
                continue;
            if (covered++ == 0)
                colour = pixel;
            else if (pixel.rgb() != colour.rgb())
                return {};
        }
    }
    return covered > 10 ? colour : QColor();
}

QString text(QWidget* parent, const char* name) {
    auto* label = parent->findChild<QLabel*>(QLatin1String(name));
    return label ? label->text() : QStringLiteral("<none>");
}

} // namespace

class TestGeneralTab : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void explainsUsageAndStorage();
    void rowsNameThePermissions();
    void bothGrantedShowGreenChecks();
    void accessibilityGrantedInputMonitoringNot();
    void missingAccessibilityIsAWarning();
    void grantingTurnsTheMarkGreenWithinTwoSeconds();
    void accessibilityButtonPromptsAndOpensItsPage();
    void inputMonitoringButtonOnlyOpensItsPage();
    void noButtonsWithoutSettingsPages();
    void startAtLoginOfferedOnlyWhenInstalled();
    void startAtLoginShowsWhatIsSet();
    void startAtLoginSwitchesBothWays();
    void startAtLoginFailureSaysWhyAndStaysPut();

private:
    void makeTab(PermissionService& permissions);
    FakeLoginItem& loginItem() { return m_fixture->platform.loginItemFake; }

    std::unique_ptr<SettingsFixture> m_fixture;
    std::unique_ptr<GeneralTab> m_tab;
    FakePermissions& permissions() { return m_fixture->platform.permissionsFake; }
};

void TestGeneralTab::init() {
    m_fixture = std::make_unique<SettingsFixture>();
}

void TestGeneralTab::cleanup() {
    m_tab.reset();
    m_fixture.reset();
}

void TestGeneralTab::makeTab(PermissionService& service) {
    m_tab = std::make_unique<GeneralTab>(service, loginItem());
    m_tab->resize(660, 460);
    m_tab->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_tab.get()));
}

void TestGeneralTab::explainsUsageAndStorage() {
    makeTab(permissions());
    QCOMPARE(text(m_tab.get(), "usage"), Texts::generalUsage());
    QCOMPARE(text(m_tab.get(), "storage"), Texts::storageNote(AppSupport::folder()));
    // The real data folder: where this run's stores are.
    const QString data =
        QDir(qEnvironmentVariable("XDG_DATA_HOME")).filePath(QStringLiteral("Wendle"));
    QVERIFY2(text(m_tab.get(), "storage").contains(data), qPrintable(text(m_tab.get(), "storage")));
}

void TestGeneralTab::rowsNameThePermissions() {
    makeTab(permissions());
    PermissionRow* accessibility = m_tab->accessibilityRow();
    PermissionRow* input = m_tab->inputMonitoringRow();
    QCOMPARE(text(accessibility, "title"), QStringLiteral("Accessibility"));
    QCOMPARE(text(accessibility, "help"), Texts::accessibilityHelp());
    QCOMPARE(text(input, "title"), QStringLiteral("Input Monitoring"));
    QCOMPARE(text(input, "help"), Texts::inputMonitoringHelp());
    QCOMPARE(accessibility->button()->text(), Texts::openSystemSettings());
    QCOMPARE(input->button()->text(), Texts::openSystemSettings());
    // Above the storage note, below the usage line.
    QVERIFY(accessibility->y() < input->y());
    QVERIFY(m_tab->findChild<QLabel*>(QStringLiteral("usage"))->y() < accessibility->y());
    QVERIFY(input->y() < m_tab->findChild<QLabel*>(QStringLiteral("storage"))->y());
}

void TestGeneralTab::bothGrantedShowGreenChecks() {
    makeTab(permissions());
    for (PermissionRow* row : {m_tab->accessibilityRow(), m_tab->inputMonitoringRow()}) {
        QVERIFY(row->isGranted());
        QCOMPARE(row->symbol(), QStringLiteral("checkmark.circle.fill"));
        QCOMPARE(markColour(row).rgb(), SettingsStyle::green(m_tab->palette()).rgb());
    }
}

void TestGeneralTab::accessibilityGrantedInputMonitoringNot() {
    permissions().inputMonitoring = false;
    makeTab(permissions());
    QCOMPARE(m_tab->accessibilityRow()->symbol(), QStringLiteral("checkmark.circle.fill"));
    QCOMPARE(markColour(m_tab->accessibilityRow()).rgb(),
             SettingsStyle::green(m_tab->palette()).rgb());
    QVERIFY(!m_tab->inputMonitoringRow()->isGranted());
    QCOMPARE(m_tab->inputMonitoringRow()->symbol(), QStringLiteral("minus.circle"));
    QCOMPARE(markColour(m_tab->inputMonitoringRow()).rgb(),
             SettingsStyle::secondary(m_tab->palette()).rgb());
}

void TestGeneralTab::missingAccessibilityIsAWarning() {
    permissions().accessibility = false;
    makeTab(permissions());
    QCOMPARE(m_tab->accessibilityRow()->symbol(), QStringLiteral("exclamationmark.triangle.fill"));
    QCOMPARE(markColour(m_tab->accessibilityRow()).rgb(),
             SettingsStyle::orange(m_tab->palette()).rgb());
}

void TestGeneralTab::grantingTurnsTheMarkGreenWithinTwoSeconds() {
    permissions().accessibility = false;
    permissions().inputMonitoring = false;
    makeTab(permissions());
    QVERIFY(!m_tab->accessibilityRow()->isGranted());
    QElapsedTimer clock;
    clock.start();
    permissions().accessibility = true;
    QTRY_VERIFY_WITH_TIMEOUT(m_tab->accessibilityRow()->isGranted(), 2500);
    QVERIFY(clock.elapsed() <= 2200);
    QCOMPARE(markColour(m_tab->accessibilityRow()).rgb(),
             SettingsStyle::green(m_tab->palette()).rgb());
    QVERIFY(!m_tab->inputMonitoringRow()->isGranted());
    permissions().inputMonitoring = true;
    QTRY_VERIFY_WITH_TIMEOUT(m_tab->inputMonitoringRow()->isGranted(), 2500);
}

void TestGeneralTab::accessibilityButtonPromptsAndOpensItsPage() {
    permissions().accessibility = false;
    makeTab(permissions());
    QTest::mouseClick(m_tab->accessibilityRow()->button(), Qt::LeftButton);
    QCOMPARE(permissions().accessibilityRequests, 1);
    QCOMPARE(permissions().openedPanes,
             QList<PermissionService::Pane>{PermissionService::Pane::accessibility});
}

void TestGeneralTab::inputMonitoringButtonOnlyOpensItsPage() {
    permissions().inputMonitoring = false;
    makeTab(permissions());
    QTest::mouseClick(m_tab->inputMonitoringRow()->button(), Qt::LeftButton);
    QCOMPARE(permissions().inputMonitoringRequests, 0);
    QCOMPARE(permissions().accessibilityRequests, 0);
    QCOMPARE(permissions().openedPanes,
             QList<PermissionService::Pane>{PermissionService::Pane::inputMonitoring});
}

void TestGeneralTab::noButtonsWithoutSettingsPages() {
    PanelessPermissions x11;
    makeTab(x11);
    QVERIFY(!m_tab->accessibilityRow()->button()->isVisible());
    QVERIFY(!m_tab->inputMonitoringRow()->button()->isVisible());
    QVERIFY(m_tab->accessibilityRow()->isGranted());
    QVERIFY(m_tab->inputMonitoringRow()->isGranted());
    m_tab.reset();
}

void TestGeneralTab::startAtLoginOfferedOnlyWhenInstalled() {
    loginItem().available = false;
    makeTab(permissions());
    QVERIFY(!m_tab->startAtLoginSwitch());
    QVERIFY(!m_tab->findChild<ToggleSwitch*>());
    m_tab.reset();

    loginItem().available = true;
    makeTab(permissions());
    QVERIFY(m_tab->startAtLoginSwitch());
    QVERIFY(m_tab->startAtLoginSwitch()->isVisible());
    QCOMPARE(m_tab->startAtLoginSwitch()->text(), QStringLiteral("Start Wendle at login"));
    // Between the permission rows and the storage note.
    QVERIFY(m_tab->inputMonitoringRow()->y() < m_tab->startAtLoginSwitch()->y());
    QVERIFY(m_tab->startAtLoginSwitch()->y() <
            m_tab->findChild<QLabel*>(QStringLiteral("storage"))->y());
}

void TestGeneralTab::startAtLoginShowsWhatIsSet() {
    makeTab(permissions());
    QVERIFY(!m_tab->startAtLoginSwitch()->isChecked()); // off until the user turns it on
    m_tab.reset();
    loginItem().enabled = true;
    makeTab(permissions());
    QVERIFY(m_tab->startAtLoginSwitch()->isChecked());
    QVERIFY(loginItem().changes.isEmpty()); // showing the tab changes nothing
}

void TestGeneralTab::startAtLoginSwitchesBothWays() {
    makeTab(permissions());
    ToggleSwitch* toggle = m_tab->startAtLoginSwitch();
    QTest::mouseClick(toggle, Qt::LeftButton, {},
                      QPoint(toggle->width() - 10, toggle->height() / 2));
    QVERIFY(loginItem().enabled);
    QVERIFY(toggle->isChecked());
    QTest::mouseClick(toggle, Qt::LeftButton, {},
                      QPoint(toggle->width() - 10, toggle->height() / 2));
    QVERIFY(!loginItem().enabled);
    QVERIFY(!toggle->isChecked());
    QCOMPARE(loginItem().changes, (QList<bool>{true, false}));
    QVERIFY(!m_tab->findChild<QLabel*>(QStringLiteral("loginError"))->isVisible());
}

void TestGeneralTab::startAtLoginFailureSaysWhyAndStaysPut() {
    loginItem().refusal = QStringLiteral("Permission denied");
    makeTab(permissions());
    ToggleSwitch* toggle = m_tab->startAtLoginSwitch();
    QTest::mouseClick(toggle, Qt::LeftButton, {},
                      QPoint(toggle->width() - 10, toggle->height() / 2));
    QCOMPARE(loginItem().changes, QList<bool>{true});
    QVERIFY(!toggle->isChecked());
    auto* error = m_tab->findChild<QLabel*>(QStringLiteral("loginError"));
    QVERIFY(error->isVisible());
    QCOMPARE(error->text(),
             QStringLiteral("Couldn't change whether Wendle starts at login: Permission denied"));
}

QTEST_MAIN(TestGeneralTab)
#include "tst_generaltab.moc"
