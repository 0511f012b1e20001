#pragma once

// The tabs of the settings window, in their order from left to right.
enum class SettingsTab {
    model,
    actions,
    snippets,
    general,
};
