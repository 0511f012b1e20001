#pragma once

#include "platform/LoginItem.h"

#include <QString>

// Start at login through the XDG autostart folder, which every Linux desktop
// reads: $XDG_CONFIG_HOME/autostart/app.wendle.Wendle.desktop, naming this executable.
class XdgAutostart : public LoginItem {
public:
    // `executable`: the program the entry starts; this process's own by default.
    explicit XdgAutostart(QString executable = {});

    bool isAvailable() override;
    bool isEnabled() override;
    bool setEnabled(bool enabled, QString* error) override;

    // Where the entry is written.
    static QString entryPath();
    // The entry's content for `executable`.
    static QByteArray entry(const QString& executable);

private:
    QString m_executable;
};
