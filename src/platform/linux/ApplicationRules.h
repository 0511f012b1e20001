#pragma once

#include <QString>

// What differs per application, looked up by its window's WM_CLASS (instance
// or class name, case-insensitive). One table, meant to grow.
namespace ApplicationRules {

enum class ShortcutStyle {
    standard, // Ctrl+C, Ctrl+V
    terminal, // Ctrl+Shift+C, Ctrl+Shift+V: Ctrl+C would interrupt the running program
};

ShortcutStyle shortcutStyle(const QString& instance, const QString& windowClass);

} // namespace ApplicationRules
