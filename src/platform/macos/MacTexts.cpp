#include "texts/Texts.h"

namespace Texts {

QString hotKey() {
    return QStringLiteral("⌃⌥Space");
}

QString menuOpenPalette() {
    return QStringLiteral("Wendle Selection (⌃⌥Space)");
}

QString paletteEmptyHint() {
    return QStringLiteral("Select some text in any app, then press ⌃⌥Space.");
}

QString paletteResultHint() {
    return QStringLiteral("⏎ replace   ⌘C copy   ⌘R retry   ⌫ back   esc close");
}

QString retryButton() {
    return QStringLiteral("Retry ⌘R");
}

QString copyButton() {
    return QStringLiteral("Copy ⌘C");
}

QString hotKeyFailedMessage() {
    return QStringLiteral("Couldn't register the hotkey");
}

QString hotKeyFailedInformative() {
    return QStringLiteral("Control+Option+Space is probably used by another app. You can still "
                          "open Wendle from the menu bar.");
}

QString accessibilityExplainerMessage() {
    return QStringLiteral("Wendle needs Accessibility access");
}

QString accessibilityExplainerInformative() {
    return QStringLiteral(
        "To work on the text you have selected, Wendle copies it and pastes the result back by "
        "sending Cmd+C and Cmd+V keystrokes. macOS only allows this when Wendle is listed under "
        "Privacy & Security → Accessibility.\n\n"
        "Without it, Wendle still works, but it uses the text that is currently on your "
        "clipboard and cannot replace your selection.\n\n"
        "Nothing leaves your Mac except requests to the model server you choose.");
}

QString openSystemSettings() {
    return QStringLiteral("Open System Settings");
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
        "system-wide. macOS only allows this with the Input Monitoring permission.\n\n"
        "Wendle only compares what you type with your abbreviations. The last few characters are "
        "kept in memory and are never saved or sent anywhere.\n\n"
        "Expanding a snippet also needs the Accessibility permission, because Wendle types the "
        "replacement for you.");
}

QString generalUsage() {
    return QStringLiteral("Press ⌃⌥Space in any app to open Wendle next to your mouse cursor.");
}

QString storageNote(const QString&) {
    return QStringLiteral(
        "Your actions and snippets are stored as JSON in ~/Library/Application Support/Wendle. "
        "Nothing leaves your Mac except requests to the model server you choose.");
}

QString accessibilityHelp() {
    return QStringLiteral("Lets Wendle copy your selection and paste results back. Without it, "
                          "the clipboard text is used.");
}

QString inputMonitoringHelp() {
    return QStringLiteral(
        "Only needed for snippet expansion. You are asked before it is requested.");
}

QString apiKeyNote() {
    return QStringLiteral(
        "The key is stored in your macOS Keychain and only sent to the server above.");
}

QString modelPrivacyNote() {
    return QStringLiteral(
        "Nothing leaves your Mac except requests to the model server you choose here.");
}

} // namespace Texts
