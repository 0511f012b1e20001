#include "platform/Platform.h"

#include <QtGlobal>

namespace {
std::unique_ptr<Platform>& installed() {
    static std::unique_ptr<Platform> platform;
    return platform;
}
} // namespace

void Platform::install(std::unique_ptr<Platform> platform) {
    installed() = std::move(platform);
}

Platform& Platform::shared() {
    Q_ASSERT_X(installed(), "Platform::shared", "no platform installed");
    return *installed();
}

bool Platform::isInstalled() {
    return installed() != nullptr;
}
