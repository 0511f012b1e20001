#pragma once

#include <QString>
#include <QtGlobal>

// Identifies the application window that was in front, so that Wendle can
// bring it back before pasting.
struct WindowHandle {
    quint64 id = 0;      // the platform's window id (X11 window); 0 when none
    qint64 pid = 0;      // process id, where the platform knows it; 0 otherwise
    QString windowClass; // X11 WM_CLASS class (or the bundle id on macOS)

    bool isNull() const { return id == 0 && pid == 0; }
    bool operator==(const WindowHandle& other) const { return id == other.id && pid == other.pid; }
};
