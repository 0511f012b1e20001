#pragma once

#include "actions/ActionStore.h"
#include "palette/PaletteModel.h"

#include "FakeChatStream.h"
#include "RecordingPlatform.h"

#include <QSettings>
#include <QTemporaryDir>

#include <memory>

// What the palette tests build on: a recording platform, an action store and a
// defaults store in a temporary folder, and hand-played model runs.
struct PaletteTestWorld {
    QTemporaryDir dir;
    RecordingPlatform platform;
    ActionStore store{dir.filePath(QStringLiteral("actions.json"))};
    std::unique_ptr<QSettings> preferences = std::make_unique<QSettings>(
        dir.filePath(QStringLiteral("prefs.conf")), QSettings::IniFormat);
    FakeStreams streams;

    std::unique_ptr<PaletteModel> makeModel() {
        return std::make_unique<PaletteModel>(store, platform.clipboardFake, *preferences,
                                              streams.factory());
    }

    static WendleAction action(const QString& name,
                               WendleAction::Kind kind = WendleAction::Kind::plain,
                               const QString& instruction = QString()) {
        return WendleAction{QUuid::createUuid(), name,
                            instruction.isEmpty() ? name + QStringLiteral(" it.") : instruction,
                            kind};
    }

    // `count` plain actions named "Action 1", "Action 2", ...
    void usePlainActions(int count) {
        QList<WendleAction> actions;
        for (int i = 1; i <= count; ++i)
            actions.append(action(QStringLiteral("Action %1").arg(i)));
        store.setActions(actions);
    }
};
