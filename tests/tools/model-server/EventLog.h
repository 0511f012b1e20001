#pragma once

#include <QFile>
#include <QJsonObject>

// One JSON object per line, each flushed as soon as it is written, so that a
// test reading the file sees every event that has happened.
class EventLog {
public:
    bool open(const QString& path);
    void write(const QJsonObject& event);

private:
    QFile m_file;
};
