#include "llm/ClientError.h"

ClientError ClientError::transport(int networkError, const QString& description) {
    ClientError error;
    error.m_networkError = networkError;
    error.m_transportText = description;
    return error;
}

ClientError ClientError::cancelled() {
    ClientError error;
    error.m_cancelled = true;
    error.m_transportText = QStringLiteral("The request was cancelled.");
    return error;
}

QString ClientError::description() const {
    return m_llm ? m_llm->description() : m_transportText;
}
