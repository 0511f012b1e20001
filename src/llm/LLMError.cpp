#include "llm/LLMError.h"

LLMError::LLMError(Case c, int status, const QString& detail)
    : m_case(c)
    , m_status(status)
    , m_detail(detail) {}

LLMError LLMError::noServer(const QString& address) {
    return LLMError(Case::noServer, 0, address);
}

LLMError LLMError::http(int status, const QString& message) {
    return LLMError(Case::http, status, message);
}

LLMError LLMError::badURL(const QString& url) {
    return LLMError(Case::badURL, 0, url);
}

LLMError LLMError::server(const QString& message) {
    return LLMError(Case::server, 0, message);
}

LLMError LLMError::noModel() {
    return LLMError(Case::noModel, 0, QString());
}

QString LLMError::description() const {
    switch (m_case) {
    case Case::noServer:
        return u"No model server is running at " % m_detail %
               u". Start Ollama or LM Studio (or check the server address in Settings \u2192 "
               u"Model), then press Retry.";
    case Case::http:
        if (m_detail.isEmpty())
            return u"The model server returned an error (HTTP " % QString::number(m_status) % u").";
        return u"The model server returned an error (HTTP " % QString::number(m_status) % u"): " %
               m_detail;
    case Case::badURL:
        return u"The server address \u201C" % m_detail %
               u"\u201D is not a valid URL. Check Settings \u2192 Model.";
    case Case::server:
        return u"The model server reported an error: " % m_detail;
    case Case::noModel:
        return QStringLiteral("No model is selected. Open Settings \u2192 Model and choose one.");
    }
    return {};
}
