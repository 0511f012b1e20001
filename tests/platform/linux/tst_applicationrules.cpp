// Which keystrokes copy and paste the CLIPBOARD in which application, by the
// WM_CLASS names its window carries.

#include "platform/linux/ApplicationRules.h"

#include <QTest>

using ApplicationRules::ClipboardKeys;

class TestApplicationRules : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void clipboardKeys_data();
    void clipboardKeys();
    void shortcutModifiers();
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

QTEST_GUILESS_MAIN(TestApplicationRules)

#include "tst_applicationrules.moc"
