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

ClientError ClientError::redirectRefused(const QString& address) {
    ClientError error;
    error.m_transportText =
        u"The model server redirected the request to " % address %
        u", which is not the server in Settings \u2192 Model. Wendle did not follow, so your "
        u"text and API key went nowhere else. Check the server address in Settings \u2192 Model.";
    return error;
}

ClientError ClientError::replyTooLong(qsizetype limit) {
    ClientError error;
    error.m_transportText =
        QStringLiteral("The model's reply is too long: Wendle stopped reading it after %1 MB.")
            .arg(limit / (1024 * 1024));
    return error;
}

QString ClientError::description() const {
    return m_llm ? m_llm->description() : m_transportText;
}
