#include "llm/ErrorMapping.h"
#include "llm/HttpChatStream.h"
#include "llm/LLMClient.h"
#include "llm/ReplyParser.h"
#include "settings/AppSettings.h"
#include "settings/Keychain.h"

#include <QCoroNetworkReply>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QStringDecoder>

#include <memory>

namespace {

struct DeleteLater {
    void operator()(QObject* object) const { object->deleteLater(); }
};

// The body as UTF-8 text; a body that is not valid UTF-8 counts as empty.
QString strictUtf8(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder.decode(bytes);
    return decoder.hasError() ? QString() : text;
}

// Collects `field` of each element of the array under `listKey`, in order;
// elements without a string there are left out.
QStringList namesIn(const QByteArray& body, const QString& listKey, const QString& field) {
    const QJsonDocument document = QJsonDocument::fromJson(body);
    QStringList names;
    const QJsonArray list = document.object().value(listKey).toArray();
    for (const QJsonValue& entry : list) {
        const QJsonValue name = entry.toObject().value(field);
        if (name.isString())
            names.append(name.toString());
    }
    return names;
}

} // namespace

namespace LLMClient {

ChatStream* stream(const QString& instruction, const QString& text, QObject* parent) {
    return stream(AppSettings::shared().server(), instruction, text, parent);
}

ChatStream* stream(const ServerSettings& settings, const QString& instruction, const QString& text,
                   QObject* parent) {
    return new HttpChatStream(settings, instruction, text, parent);
}

QCoro::Task<ModelList> listModels() {
    return listModels(AppSettings::shared().server());
}

QCoro::Task<ModelList> listModels(ServerSettings settings) {
    const QString urlText = modelsURL(settings);
    const QUrl url(urlText, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty())
        co_return ModelList{{}, LLMError::badURL(urlText)};

    QNetworkRequest request(url);
    request.setTransferTimeout(int(timeouts().listing.count()));
    request.setHeader(QNetworkRequest::UserAgentHeader, userAgent());
    // Redirects wait for a check: only the configured server is followed.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::UserVerifiedRedirectPolicy);
    if (settings.provider != Provider::ollama)
        applyAuth(request, settings, co_await Keychain::get());

    const std::unique_ptr<QNetworkReply, DeleteLater> reply(network().get(request));
    std::optional<QUrl> refused;
    bool tooLong = false;
    QUrl current = url;
    const QMetaObject::Connection redirects = QObject::connect(
        reply.get(), &QNetworkReply::redirected, reply.get(), [&](const QUrl& target) {
            if (sameServer(current, target)) {
                current = target;
                Q_EMIT reply->redirectAllowed();
                return;
            }
            refused = target;
            reply->abort();
        });
    const qsizetype limit = limits().reply;
    const QMetaObject::Connection progress = QObject::connect(
        reply.get(), &QNetworkReply::downloadProgress, reply.get(), [&](qint64 received, qint64) {
            if (received <= limit || tooLong)
                return;
            tooLong = true;
            reply->abort();
        });
    co_await reply.get();
    // The handlers above write into this frame: none may run once it is gone.
    QObject::disconnect(redirects);
    QObject::disconnect(progress);
    if (refused)
        co_return ModelList{
            {}, ClientError::redirectRefused(address(refused->toString(QUrl::RemoveUserInfo)))};
    if (tooLong)
        co_return ModelList{{}, ClientError::replyTooLong(limit)};

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid() && status.toInt() != 200) {
        // The whole body this time, not the first 600 characters.
        const QString body = strictUtf8(reply->readAll());
        co_return ModelList{{}, LLMError::http(status.toInt(), errorMessage(body))};
    }
    if (reply->error() != QNetworkReply::NoError)
        co_return ModelList{{}, mapError(reply->error(), reply->errorString(), urlText, false)};

    // A body that is not the expected JSON is an empty list, not an error.
    const QByteArray body = reply->readAll();
    if (settings.provider == Provider::ollama)
        co_return ModelList{namesIn(body, QStringLiteral("models"), QStringLiteral("name")), {}};
    co_return ModelList{namesIn(body, QStringLiteral("data"), QStringLiteral("id")), {}};
}

} // namespace LLMClient
