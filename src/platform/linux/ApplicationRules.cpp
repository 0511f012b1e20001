#include "platform/linux/ApplicationRules.h"

#include <QLatin1StringView>

#include <array>

namespace ApplicationRules {

namespace {

struct Rule {
    QLatin1StringView windowClass;
    ShortcutStyle style;
};

using enum ShortcutStyle;

// Terminal emulators, by the instance or class names they set.
constexpr std::array rules = {
    Rule{QLatin1StringView("xterm"), terminal},
    Rule{QLatin1StringView("uxterm"), terminal},
    Rule{QLatin1StringView("urxvt"), terminal},
    Rule{QLatin1StringView("rxvt"), terminal},
    Rule{QLatin1StringView("gnome-terminal"), terminal},
    Rule{QLatin1StringView("gnome-terminal-server"), terminal},
    Rule{QLatin1StringView("org.gnome.console"), terminal},
    Rule{QLatin1StringView("kgx"), terminal},
    Rule{QLatin1StringView("org.gnome.ptyxis"), terminal},
    Rule{QLatin1StringView("konsole"), terminal},
    Rule{QLatin1StringView("org.kde.konsole"), terminal},
    Rule{QLatin1StringView("yakuake"), terminal},
    Rule{QLatin1StringView("xfce4-terminal"), terminal},
    Rule{QLatin1StringView("lxterminal"), terminal},
    Rule{QLatin1StringView("qterminal"), terminal},
    Rule{QLatin1StringView("mate-terminal"), terminal},
    Rule{QLatin1StringView("alacritty"), terminal},
    Rule{QLatin1StringView("kitty"), terminal},
    Rule{QLatin1StringView("tilix"), terminal},
    Rule{QLatin1StringView("terminator"), terminal},
    Rule{QLatin1StringView("st"), terminal},
    Rule{QLatin1StringView("st-256color"), terminal},
    Rule{QLatin1StringView("org.wezfurlong.wezterm"), terminal},
    Rule{QLatin1StringView("wezterm"), terminal},
    Rule{QLatin1StringView("foot"), terminal},
    Rule{QLatin1StringView("footclient"), terminal},
    Rule{QLatin1StringView("terminology"), terminal},
    Rule{QLatin1StringView("sakura"), terminal},
    Rule{QLatin1StringView("guake"), terminal},
    Rule{QLatin1StringView("tilda"), terminal},
    Rule{QLatin1StringView("eterm"), terminal},
    Rule{QLatin1StringView("cool-retro-term"), terminal},
    Rule{QLatin1StringView("deepin-terminal"), terminal},
    Rule{QLatin1StringView("contour"), terminal},
    Rule{QLatin1StringView("ghostty"), terminal},
    Rule{QLatin1StringView("com.mitchellh.ghostty"), terminal},
};

} // namespace

ShortcutStyle shortcutStyle(const QString& instance, const QString& windowClass) {
    for (const Rule& rule : rules) {
        if (instance.compare(rule.windowClass, Qt::CaseInsensitive) == 0 ||
            windowClass.compare(rule.windowClass, Qt::CaseInsensitive) == 0)
            return rule.style;
    }
    return standard;
}

} // namespace ApplicationRules
