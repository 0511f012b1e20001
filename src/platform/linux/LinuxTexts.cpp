#include "texts/Texts.h"

#include <QDir>

// Linux names its keys in words, has no menu bar or System Settings privacy
// pages, and keeps secrets in the desktop's keyring.
namespace Texts {

QString hotKey() {
    return QStringLiteral("Ctrl+Alt+Space");
}

QString menuOpenPalette() {
    return QStringLiteral("Wendle Selection (Ctrl+Alt+Space)");
}

QString paletteEmptyHint() {
    return QStringLiteral("Select some text in any app, then press Ctrl+Alt+Space.");
}

QString paletteResultHint() {
    return QStringLiteral("⏎ replace   Ctrl+C copy   Ctrl+R retry   ⌫ back   esc close");
}

QString retryButton() {
    return QStringLiteral("Retry Ctrl+R");
}

QString copyButton() {
    return QStringLiteral("Copy Ctrl+C");
}

QString hotKeyFailedMessage() {
    return QStringLiteral("Couldn't register the hotkey");
}

QString hotKeyFailedInformative() {
    return QStringLiteral("Ctrl+Alt+Space is probably used by another app. You can still open "
                          "Wendle from its tray icon, or bind the command \"wendle toggle\" to a "
                          "shortcut of your choice in your desktop's keyboard settings.");
}

QString accessibilityExplainerMessage() {
    return QStringLiteral("Wendle needs Accessibility access");
}

QString accessibilityExplainerInformative() {
    return QStringLiteral(
        "To work on the text you have selected, Wendle copies it and pastes the result back by "
        "sending Ctrl+C and Ctrl+V keystrokes. Your desktop only allows this when Wendle may "
        "control the keyboard.\n\n"
        "Without it, Wendle still works, but it uses the text that is currently on your "
        "clipboard and cannot replace your selection.\n\n"
        "Nothing leaves this computer except requests to the model server you choose.");
}

QString openSystemSettings() {
    return QStringLiteral("Open Settings");
}

QString notNow() {
    return QStringLiteral("Not Now");
}

QString snippetsPermissionMessage() {
    return QStringLiteral("Snippets need Input Monitoring");
}

QString snippetsPermissionInformative() {
    return QStringLiteral(
        "To notice when you type an abbreviation such as ;sig, Wendle watches your keystrokes "
        "system-wide. Your desktop only allows this with the Input Monitoring permission.\n\n"
        "Wendle only compares what you type with your abbreviations. The last few characters are "
        "kept in memory and are never saved or sent anywhere.\n\n"
        "Expanding a snippet also needs the Accessibility permission, because Wendle types the "
        "replacement for you.");
}

QString generalUsage() {
    return QStringLiteral(
        "Press Ctrl+Alt+Space in any app to open Wendle next to your mouse cursor.");
}

QString storageNote(const QString& dataFolder) {
    // The folder as people write it: "~/.local/share/Wendle" rather than the
    // full path of their home.
    const QString home = QDir::homePath();
    QString shown = QDir::cleanPath(dataFolder);
    if (shown == home || shown.startsWith(home + u'/'))
        shown = u'~' + shown.mid(home.size());
    return QStringLiteral("Your actions and snippets are stored as JSON in %1. Nothing leaves "
                          "this computer except requests to the model server you choose.")
        .arg(shown);
}

QString accessibilityHelp() {
    return QStringLiteral("Lets Wendle copy your selection and paste results back. X11 needs no "
                          "permission for this.");
}

QString inputMonitoringHelp() {
    return QStringLiteral("Only needed for snippet expansion. X11 needs no permission for this.");
}

QString apiKeyNote() {
    return QStringLiteral(
        "The key is stored in your system keyring and only sent to the server above.");
}

QString modelPrivacyNote() {
    return QStringLiteral(
        "Nothing leaves this computer except requests to the model server you choose here.");
}

} // namespace Texts
