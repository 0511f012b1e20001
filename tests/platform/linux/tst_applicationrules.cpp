// Which applications get the terminal's Ctrl+Shift+C / Ctrl+Shift+V.

#include "platform/linux/ApplicationRules.h"

#include <QTest>

using ApplicationRules::ShortcutStyle;

class TestApplicationRules : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void shortcutStyle_data();
    void shortcutStyle();
};

void TestApplicationRules::shortcutStyle_data() {
    QTest::addColumn<QString>("instance");
    QTest::addColumn<QString>("windowClass");
    QTest::addColumn<bool>("terminal");
    QTest::newRow("xterm") << "xterm"
                           << "XTerm" << true;
    QTest::newRow("urxvt") << "urxvt"
                           << "URxvt" << true;
    QTest::newRow("gnome-terminal") << "gnome-terminal-server"
                                    << "Gnome-terminal" << true;
    QTest::newRow("konsole") << "konsole"
                             << "konsole" << true;
    QTest::newRow("xfce4-terminal") << "xfce4-terminal"
                                    << "Xfce4-terminal" << true;
    QTest::newRow("alacritty") << "Alacritty"
                               << "Alacritty" << true;
    QTest::newRow("kitty") << "kitty"
                           << "kitty" << true;
    QTest::newRow("tilix") << "tilix"
                           << "Tilix" << true;
    QTest::newRow("terminator") << "terminator"
                                << "Terminator" << true;
    QTest::newRow("st") << "st"
                        << "St" << true;
    QTest::newRow("wezterm") << "org.wezfurlong.wezterm"
                             << "org.wezfurlong.wezterm" << true;
    QTest::newRow("foot") << "foot"
                          << "foot" << true;
    QTest::newRow("by class only") << ""
                                   << "XTerm" << true;
    QTest::newRow("editor") << "wendle-test-editor"
                            << "wendle-test-editor" << false;
    QTest::newRow("gedit") << "gedit"
                           << "Gedit" << false;
    QTest::newRow("firefox") << "Navigator"
                             << "firefox" << false;
    QTest::newRow("similar name") << "stterm-notes"
                                  << "Notes" << false;
    QTest::newRow("nothing") << ""
                             << "" << false;
}

void TestApplicationRules::shortcutStyle() {
    QFETCH(QString, instance);
    QFETCH(QString, windowClass);
    QFETCH(bool, terminal);
    QCOMPARE(ApplicationRules::shortcutStyle(instance, windowClass),
             terminal ? ShortcutStyle::terminal : ShortcutStyle::standard);
}

QTEST_GUILESS_MAIN(TestApplicationRules)

#include "tst_applicationrules.moc"
