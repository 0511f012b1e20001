#include "settingswindow/SettingsServices.h"

#include "actions/ActionStore.h"
#include "platform/Platform.h"
#include "settings/AppSettings.h"
#include "snippets/SnippetEngine.h"
#include "snippets/SnippetStore.h"

SettingsServices SettingsServices::shared() {
    return {&AppSettings::shared(),
            &ActionStore::shared(),
            &SnippetStore::shared(),
            &SnippetEngine::shared(),
            &Platform::shared().permissions(),
            &Platform::shared().loginItem()};
}
