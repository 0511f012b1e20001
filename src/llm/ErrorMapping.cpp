#include "llm/ErrorMapping.h"

#include <QUrl>

namespace LLMClient {

ClientError mapError(QNetworkReply::NetworkError error, const QString& description,
                     const QString& url, bool ownAbort) {
    switch (error) {
    case QNetworkReply::OperationCanceledError:
        // Qt reports its own transfer time-out exactly like our abort();
        // only the caller knows which of the two happened.
        if (ownAbort)
            return ClientError::cancelled();
        return LLMError::noServer(address(url));
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::TimeoutError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
    // The network library's code for a network or host that cannot be
    // reached ("Network unreachable", "Host unreachable").
    case QNetworkReply::UnknownNetworkError:
        return LLMError::noServer(address(url));
    default:
        return ClientError::transport(error, description);
    }
}

QString address(const QString& url) {
    const QUrl parsed(url, QUrl::StrictMode);
    if (!parsed.isValid() || parsed.host().isEmpty())
        return url;
    if (parsed.port() < 0)
        return parsed.host();
    return parsed.host() % u':' % QString::number(parsed.port());
}

} // namespace LLMClient
