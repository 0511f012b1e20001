#pragma once

#include "llm/ClientError.h"

#include <QNetworkReply>
#include <QString>

namespace LLMClient {

// A transport failure as the user sees it: refused connections, unknown
// hosts, lost connections, time-outs, unreachable networks and hosts and no
// network all read as
// LLMError::noServer naming the host and port of `url`; anything else passes
// through with the network library's own description. `ownAbort` tells a
// cancellation we asked for from a time-out, which Qt reports alike.
ClientError mapError(QNetworkReply::NetworkError error, const QString& description,
                     const QString& url, bool ownAbort);

// Host and port of a URL, for error texts; the text unchanged when it is not
// a URL with a host.
QString address(const QString& url);

} // namespace LLMClient
