#include "hotkey/HotKey.h"

#include "platform/Platform.h"

HotKey::HotKey(GlobalHotKey& key, QObject* parent)
    : QObject(parent)
    , m_key(key) {
    connect(&m_key, &GlobalHotKey::pressed, this, &HotKey::fire);
}

HotKey& HotKey::shared() {
    static HotKey* hotKey = new HotKey(Platform::shared().hotKey());
    return *hotKey;
}

bool HotKey::registerHandler(Handler handler) {
    m_handler = std::move(handler);
    m_registered = m_key.registerHotKey();
    return m_registered;
}

void HotKey::fire() {
    if (m_handler)
        m_handler();
}
