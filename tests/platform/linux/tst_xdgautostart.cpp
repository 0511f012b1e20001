#include "fakes/FakePlatform.h"
#include "platform/linux/XdgAutostart.h"
#include "settingswindow/GeneralTab.h"
#include "settingswindow/ToggleSwitch.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

// The autostart entry for real, in this test's own home (isolated-run gives
// every test a fresh XDG_CONFIG_HOME).
class TestXdgAutostart : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void entryLivesInTheAutostartFolder();
    void onlyAnInstalledWendleIsOffered();
    void enablingWritesAnEntryNamingTheExecutable();
    void executableWithSpacesIsQuoted();
    void disablingRemovesTheEntry();
    void disablingWhenOffIsFine();
    void unwritableFolderFailsWithAReason();
    void theSwitchInTheGeneralTabWritesAndRemovesTheFile();

private:
    // <prefix>/bin/wendle beside <prefix>/share/applications/app.wendle.Wendle.desktop,
    // as `cmake --install` lays them out.
    QString installedExecutable(const QString& prefix);
    static QByteArray read(const QString& path);
    // What desktop-file-validate says about the entry; empty when it accepts it.
    static QString validatorComplaints();

    std::unique_ptr<QTemporaryDir> m_prefix;
};

void TestXdgAutostart::init() {
    m_prefix = std::make_unique<QTemporaryDir>();
    // A fresh autostart folder, whatever the test before left.
    const QString folder = QFileInfo(XdgAutostart::entryPath()).absolutePath();
    QDir(folder).removeRecursively();
    QFile::remove(folder);
}

void TestXdgAutostart::cleanup() {
    QFile::remove(XdgAutostart::entryPath());
    m_prefix.reset();
}

QString TestXdgAutostart::installedExecutable(const QString& prefix) {
    QDir(prefix).mkpath(QStringLiteral("bin"));
    QDir(prefix).mkpath(QStringLiteral("share/applications"));
    const QString program = prefix + QStringLiteral("/bin/wendle");
    QFile(program).open(QIODevice::WriteOnly);
    QFile entry(prefix + QStringLiteral("/share/applications/app.wendle.Wendle.desktop"));
    entry.open(QIODevice::WriteOnly);
    entry.write("[Desktop Entry]\n");
    return program;
}

QByteArray TestXdgAutostart::read(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

QString TestXdgAutostart::validatorComplaints() {
    QProcess validator;
    validator.setProcessChannelMode(QProcess::MergedChannels);
    validator.start(QStringLiteral("desktop-file-validate"), {XdgAutostart::entryPath()});
    if (!validator.waitForFinished(10000))
        return QStringLiteral("desktop-file-validate did not run: ") + validator.errorString();
    const QString output = QString::fromUtf8(validator.readAll());
    return validator.exitCode() == 0 ? QString() : output;
}

void TestXdgAutostart::entryLivesInTheAutostartFolder() {
    const QString config = qEnvironmentVariable("XDG_CONFIG_HOME");
    QVERIFY(!config.isEmpty());
    QCOMPARE(XdgAutostart::entryPath(),
             config + QStringLiteral("/autostart/app.wendle.Wendle.desktop"));
}

void TestXdgAutostart::onlyAnInstalledWendleIsOffered() {
    // This test executable sits in a build folder.
    QVERIFY(!XdgAutostart().isAvailable());
    QVERIFY(XdgAutostart(installedExecutable(m_prefix->path())).isAvailable());
    // A bin folder without the installed desktop entry beside it is no install.
    QTemporaryDir bare;
    QDir(bare.path()).mkpath(QStringLiteral("bin"));
    QVERIFY(!XdgAutostart(bare.path() + QStringLiteral("/bin/wendle")).isAvailable());
}

void TestXdgAutostart::enablingWritesAnEntryNamingTheExecutable() {
    const QString program = installedExecutable(m_prefix->path());
    XdgAutostart autostart(program);
    QVERIFY(!autostart.isEnabled());
    QString error;
    QVERIFY(autostart.setEnabled(true, &error));
    QVERIFY(error.isEmpty());
    QVERIFY(autostart.isEnabled());
    const QByteArray expected =
        "[Desktop Entry]\n"
        "Type=Application\n"
        "Name=Wendle\n"
        "Comment=Rewrite selected text with a language model, expand snippets\n"
        "Exec=" +
        program.toUtf8() +
        "\n"
        "Icon=wendle\n"
        "Terminal=false\n"
        "X-GNOME-Autostart-enabled=true\n";
    QCOMPARE(read(XdgAutostart::entryPath()), expected);
    QCOMPARE(validatorComplaints(), QString());
    // No temporary file left beside it.
    QCOMPARE(QDir(QFileInfo(XdgAutostart::entryPath()).absolutePath())
                 .entryList(QDir::Files | QDir::Hidden),
             QStringList{QStringLiteral("app.wendle.Wendle.desktop")});
}

void TestXdgAutostart::executableWithSpacesIsQuoted() {
    // Quoted for the launcher ("\"" and "\$" escaped), whose escapes are then
    // escaped again for the entry's string unescaping; "%" is doubled.
    QTemporaryDir home;
    const QString program = installedExecutable(home.path() + QStringLiteral("/My \"Apps\" 100%$"));
    XdgAutostart autostart(program);
    QVERIFY(autostart.setEnabled(true, nullptr));
    QString quoted = program;
    quoted.replace(u'"', QStringLiteral("\\\\\""))
        .replace(u'$', QStringLiteral("\\\\$"))
        .replace(u'%', QStringLiteral("%%"));
    QVERIFY2(read(XdgAutostart::entryPath())
                 .contains(QByteArray("\nExec=\"" + quoted.toUtf8() + "\"\n")),
             read(XdgAutostart::entryPath()).constData());
    QCOMPARE(validatorComplaints(), QString());
}

void TestXdgAutostart::disablingRemovesTheEntry() {
    XdgAutostart autostart(installedExecutable(m_prefix->path()));
    QVERIFY(autostart.setEnabled(true, nullptr));
    QVERIFY(QFileInfo::exists(XdgAutostart::entryPath()));
    QVERIFY(autostart.setEnabled(false, nullptr));
    QVERIFY(!QFileInfo::exists(XdgAutostart::entryPath()));
    QVERIFY(!autostart.isEnabled());
}

void TestXdgAutostart::disablingWhenOffIsFine() {
    XdgAutostart autostart(installedExecutable(m_prefix->path()));
    QString error;
    QVERIFY(autostart.setEnabled(false, &error));
    QVERIFY(error.isEmpty());
}

void TestXdgAutostart::unwritableFolderFailsWithAReason() {
    // A file where the autostart folder should be: nothing can be written
    // there, whoever runs the test (root ignores permission bits).
    const QString folder = QFileInfo(XdgAutostart::entryPath()).absolutePath();
    QDir().mkpath(QFileInfo(folder).absolutePath());
    QFile blocker(folder);
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.write("not a folder");
    blocker.close();

    XdgAutostart autostart(installedExecutable(m_prefix->path()));
    QString error;
    QVERIFY(!autostart.setEnabled(true, &error));
    QVERIFY(!error.isEmpty());
    QVERIFY(!autostart.isEnabled());
    QCOMPARE(read(folder), QByteArray("not a folder")); // nothing of the user's touched
    QFile::remove(folder);
}

void TestXdgAutostart::theSwitchInTheGeneralTabWritesAndRemovesTheFile() {
    FakePermissions permissions;
    XdgAutostart autostart(installedExecutable(m_prefix->path()));
    GeneralTab tab(permissions, autostart);
    tab.resize(660, 460);
    tab.show();
    QVERIFY(QTest::qWaitForWindowExposed(&tab));
    ToggleSwitch* toggle = tab.startAtLoginSwitch();
    QVERIFY(toggle);
    QVERIFY(!toggle->isChecked());
    const QPoint track(toggle->width() - 10, toggle->height() / 2);
    QTest::mouseClick(toggle, Qt::LeftButton, {}, track);
    QVERIFY(toggle->isChecked());
    QVERIFY(read(XdgAutostart::entryPath())
                .contains(QByteArray("\nExec=" + m_prefix->path().toUtf8() + "/bin/wendle\n")));
    QTest::mouseClick(toggle, Qt::LeftButton, {}, track);
    QVERIFY(!toggle->isChecked());
    QVERIFY(!QFileInfo::exists(XdgAutostart::entryPath()));
}

QTEST_MAIN(TestXdgAutostart)
#include "tst_xdgautostart.moc"
