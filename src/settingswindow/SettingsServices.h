#pragma once

class ActionStore;
class AppSettings;
class LoginItem;
class PermissionService;
class SnippetEngine;
class SnippetStore;

// What the settings window edits and watches. The application uses the
// shared instances; tests build a window over their own.
struct SettingsServices {
    AppSettings* settings = nullptr;
    ActionStore* actions = nullptr;
    SnippetStore* snippets = nullptr;
    SnippetEngine* engine = nullptr;
    PermissionService* permissions = nullptr;
    LoginItem* loginItem = nullptr;

    // The shared settings, stores and engine and the installed platform's
    // permissions.
    static SettingsServices shared();
};
