#include "platform/linux/ApplicationRules.h"

#include <QLatin1StringView>

#include <array>

namespace ApplicationRules {

namespace {

struct Rule {
    QLatin1StringView name; // a class or instance name in WM_CLASS
    ClipboardKeys keys;
};

constexpr Rule rule(const char* name, ClipboardKeys keys) {
    return Rule{QLatin1StringView(name), keys};
}

using enum ClipboardKeys;

// Only an application's default bindings count: a keystroke the user may have
// added cannot be known from here. Everything else gets Ctrl+C / Ctrl+V.
constexpr std::array rules = {
    // xterm and its wrappers (uxterm, lxterm, koi8rxterm run xterm with
    // another class) bind no key to the CLIPBOARD, and xterm passes
    // Ctrl+Shift+C on as Ctrl+C: a copy keystroke would interrupt the program.
    rule("xterm", none),
    rule("uxterm", none),
    rule("koi8rxterm", none),
    // Terminals of the rxvt line without a CLIPBOARD keystroke we can rely
    // on: better no copy than an interrupt.
    rule("rxvt", none),
    rule("aterm", none),
    rule("eterm", none),

    // rxvt-unicode copies and pastes the CLIPBOARD with Ctrl+Meta+C / V
    // (since 9.20). Its class stays URxvt when it runs as "rxvt".
    rule("urxvt", controlAlt),

    // The Ctrl+Shift+C / Ctrl+Shift+V terminals.
    rule("gnome-terminal", shifted),
    rule("gnome-terminal-server", shifted),
    rule("org.gnome.console", shifted),
    rule("kgx", shifted),
    rule("org.gnome.ptyxis", shifted),
    rule("ptyxis", shifted),
    rule("konsole", shifted),
    rule("org.kde.konsole", shifted),
    rule("yakuake", shifted),
    rule("xfce4-terminal", shifted),
    rule("lxterminal", shifted),
    rule("qterminal", shifted),
    rule("mate-terminal", shifted),
    rule("tilix", shifted),
    rule("terminator", shifted),
    rule("guake", shifted),
    rule("tilda", shifted),
    rule("sakura", shifted),
    rule("terminology", shifted),
    rule("deepin-terminal", shifted),
    rule("cool-retro-term", shifted),
    rule("alacritty", shifted),
    rule("kitty", shifted),
    rule("st", shifted),
    rule("st-256color", shifted),
    rule("stterm", shifted), // Debian's name for st's program
    rule("wezterm", shifted),
    rule("org.wezfurlong.wezterm", shifted),
    rule("foot", shifted),
    rule("footclient", shifted),
    rule("contour", shifted),
    rule("ghostty", shifted),
    rule("com.mitchellh.ghostty", shifted),
};

const Rule* find(const QString& name) {
    if (name.isEmpty())
        return nullptr;
    for (const Rule& rule : rules) {
        if (name.compare(rule.name, Qt::CaseInsensitive) == 0)
            return &rule;
    }
    return nullptr;
}

} // namespace

std::optional<ClipboardKeys> knownClipboardKeys(const QString& instance,
                                                const QString& windowClass) {
    if (const Rule* byClass = find(windowClass))
        return byClass->keys;
    if (const Rule* byInstance = find(instance))
        return byInstance->keys;
    return std::nullopt;
}

ClipboardKeys clipboardKeys(const QString& instance, const QString& windowClass) {
    return knownClipboardKeys(instance, windowClass).value_or(standard);
}

std::optional<Qt::KeyboardModifiers> shortcutModifiers(ClipboardKeys keys) {
    switch (keys) {
    case standard:
        return Qt::ControlModifier;
    case shifted:
        return Qt::ControlModifier | Qt::ShiftModifier;
    case controlAlt:
        return Qt::ControlModifier | Qt::AltModifier;
    case none:
        break;
    }
    return std::nullopt;
}

} // namespace ApplicationRules
