#include "palette/PaletteKeyTable.h"

namespace PaletteKeyTable {

namespace {

bool isHotKey(const Key& key) {
    // While the palette is up it holds the keyboard (an X11 popup grabs it),
    // so the global shortcut arrives here instead of at its own grab. Qt
    // calls Ctrl "Control" on Linux and the Control key "Meta" on macOS.
    const Qt::KeyboardModifiers held = key.modifiers & ~Qt::KeypadModifier;
    return key.key == Qt::Key_Space && (held == (Qt::ControlModifier | Qt::AltModifier) ||
                                        held == (Qt::MetaModifier | Qt::AltModifier));
}

int digit(const QString& text) {
    bool ok = false;
    const int number = text.toInt(&ok, 10);
    return ok && number >= 1 && number <= 9 ? number : 0;
}

} // namespace

Result interpret(const Key& key, SelectionSource source, PaletteModel::Phase phase) {
    if (key.key == Qt::Key_Escape)
        return {Command::close};
    if (isHotKey(key))
        return {Command::hotKey};
    if (source == SelectionSource::none)
        return {};

    // Ctrl on Linux, Command on macOS.
    const bool command = key.modifiers.testFlag(Qt::ControlModifier);
    const bool isReturn = key.key == Qt::Key_Return || key.key == Qt::Key_Enter;

    if (phase != PaletteModel::Phase::choose) {
        if (key.key == Qt::Key_Backspace)
            return {Command::back};
        if (isReturn)
            return {Command::replace};
        if (command && key.key == Qt::Key_C)
            return {Command::copy};
        if (command && key.key == Qt::Key_R)
            return {Command::retry};
        return {};
    }

    if (isReturn)
        return {Command::runSelected};
    switch (key.key) {
    case Qt::Key_Left:
        return {Command::previousOption};
    case Qt::Key_Right:
        return {Command::nextOption};
    case Qt::Key_Down:
        return {Command::moveDown};
    case Qt::Key_Up:
        return {Command::moveUp};
    default:
        break;
    }
    if (command)
        return {};
    if (const int number = digit(key.text))
        return {Command::pick, number};
    return {};
}

} // namespace PaletteKeyTable
