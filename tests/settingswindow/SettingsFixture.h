#pragma once

#include "actions/ActionStore.h"
#include "fakes/FakePlatform.h"
#include "fakes/PendingQuestion.h"
#include "settings/AppSettings.h"
#include "settingswindow/SettingsServices.h"
#include "snippets/SnippetEngine.h"
#include "snippets/SnippetStore.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <optional>

// Everything a settings window edits, kept in a folder of its own: the
// defaults store, the two data files, a fake desktop and a snippet engine on
// it. A fresh one per test.
struct SettingsFixture {
    QTemporaryDir folder;
    QSettings preferences{folder.filePath(QStringLiteral("Wendle.conf")), QSettings::IniFormat};
    AppSettings settings{preferences};
    ActionStore actions{folder.filePath(QStringLiteral("actions.json"))};
    SnippetStore snippets{folder.filePath(QStringLiteral("snippets.json"))};
    FakePlatform platform;
    SnippetEngine engine{platform, snippets, settings};

    SettingsServices services() {
        return {&settings,
                &actions,
                &snippets,
                &engine,
                &platform.permissionsFake,
                &platform.loginItemFake};
    }

    // The bytes of a data file; nothing when it does not exist.
    static std::optional<QByteArray> read(const QString& path) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return std::nullopt;
        return file.readAll();
    }
    std::optional<QByteArray> actionsFile() const { return read(actions.filePath()); }
    std::optional<QByteArray> snippetsFile() const { return read(snippets.filePath()); }
};

// X11 has no permission settings pages.
class PanelessPermissions : public FakePermissions {
public:
    bool hasSettingsPanes() override { return false; }
};
