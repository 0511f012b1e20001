#include "texts/Texts.h"

#include <QDir>
#include <QtTest>

class TestTexts : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void storageNoteWritesTheHomeFolderAsTilde() {
        const QString home = QDir::homePath();
        QVERIFY(Texts::storageNote(home + QStringLiteral("/.local/share/Wendle"))
                    .contains(QStringLiteral(" ~/.local/share/Wendle. ")));
        // Only the home folder itself, not a sibling that starts the same.
        QVERIFY(Texts::storageNote(home + QStringLiteral("x/Wendle"))
                    .contains(home + QStringLiteral("x/Wendle")));
        QVERIFY(Texts::storageNote(QStringLiteral("/srv/data/Wendle"))
                    .contains(QStringLiteral(" /srv/data/Wendle. ")));
    }

    void linuxTextsNameNoMacKeysOrPlaces() {
        const QStringList texts{
            Texts::hotKey(),
            Texts::menuOpenPalette(),
            Texts::paletteEmptyHint(),
            Texts::paletteResultHint(),
            Texts::retryButton(),
            Texts::copyButton(),
            Texts::hotKeyFailedMessage(),
            Texts::hotKeyFailedInformative(),
            Texts::accessibilityExplainerMessage(),
            Texts::accessibilityExplainerInformative(),
            Texts::openSystemSettings(),
            Texts::notNow(),
            Texts::snippetsPermissionMessage(),
            Texts::snippetsPermissionInformative(),
            Texts::generalUsage(),
            Texts::storageNote(QDir::homePath() + QStringLiteral("/.local/share/Wendle")),
            Texts::accessibilityHelp(),
            Texts::inputMonitoringHelp(),
            Texts::apiKeyNote(),
            Texts::modelPrivacyNote(),
        };
        for (const QString& text : texts) {
            for (const char* macOnly : {"⌘", "⌃", "⌥", "Cmd+", "Command", "Option", "Mac",
                                        "Keychain", "System Settings", "Library/", "menu bar"})
                QVERIFY2(!text.contains(QString::fromUtf8(macOnly)),
                         qPrintable(text + QStringLiteral(" names ") + QString::fromUtf8(macOnly)));
        }
        QCOMPARE(Texts::menuOpenPalette(), QStringLiteral("Wendle Selection (Ctrl+Alt+Space)"));
        QCOMPARE(Texts::paletteResultHint(),
                 QStringLiteral("⏎ replace   Ctrl+C copy   Ctrl+R retry   ⌫ back   esc close"));
    }
};

QTEST_GUILESS_MAIN(TestTexts)
#include "tst_texts.moc"
