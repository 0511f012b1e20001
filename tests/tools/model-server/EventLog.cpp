#include "EventLog.h"

#include <QJsonDocument>

bool EventLog::open(const QString& path) {
    m_file.setFileName(path);
    return m_file.open(QIODevice::WriteOnly | QIODevice::Append);
}

void EventLog::write(const QJsonObject& event) {
    if (!m_file.isOpen())
        return;
    m_file.write(QJsonDocument(event).toJson(QJsonDocument::Compact) + '\n');
    m_file.flush();
}
