#pragma once

#include <QString>

// Where Wendle keeps its data files: the per-user application data folder
// "Wendle" (~/.local/share/Wendle on Linux, ~/Library/Application
// Support/Wendle on macOS).
namespace AppSupport {

// The folder, created with its parents if missing (a failure to create it
// shows up later as a failed read or write).
QString folder();

// The path of the data file `name` inside the folder; creates the folder first.
QString fileURL(const QString& name);

} // namespace AppSupport
