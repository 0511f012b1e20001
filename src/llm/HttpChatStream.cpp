#include "llm/HttpChatStream.h"

#include "llm/ErrorMapping.h"
#include "llm/LLMClient.h"
#include "llm/ReplyParser.h"
#include "settings/Keychain.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>
#include <QUrl>

namespace {

// An error reply's text is read until it is longer than this, or to its end.
constexpr qsizetype errorTextLimit = 600;

} // namespace

HttpChatStream::HttpChatStream(const ServerSettings& settings, const QString& instruction,
                               const QString& text, QObject* parent)
    : ChatStream(parent)
    , m_url(LLMClient::chatURL(settings))
    , m_ollama(settings.provider == Provider::ollama)
    , m_model(settings.currentModel().trimmed()) {
    // Everything else happens once the caller has had a chance to connect:
    // even a bad URL is reported through failed(), never synchronously.
    QTimer::singleShot(0, this,
                       [this, settings, instruction, text] { start(settings, instruction, text); });
}

HttpChatStream::~HttpChatStream() {
    m_over = true;
    dropReply();
}

QCoro::Task<> HttpChatStream::start(ServerSettings settings, QString instruction, QString text) {
    if (m_over)
        co_return;
    const QUrl url(m_url, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty()) {
        fail(LLMError::badURL(m_url));
        co_return;
    }
    QString model = m_model;
    if (model.isEmpty()) {
        if (settings.provider != Provider::lmstudio) {
            fail(LLMError::noModel());
            co_return;
        }
        model = QStringLiteral("local-model"); // LM Studio answers with the loaded model
    }

    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    request.setTransferTimeout(int(LLMClient::timeouts().chat.count()));
    if (settings.provider != Provider::ollama) {
        const QPointer<HttpChatStream> self(this);
        const QString key = co_await Keychain::get();
        if (!self || m_over)
            co_return;
        LLMClient::applyAuth(request, settings, key);
    }

    m_reply = LLMClient::network().post(request, LLMClient::chatBody(model, instruction, text));
    connect(m_reply, &QNetworkReply::readyRead, this, &HttpChatStream::onReadyRead);
    connect(m_reply, &QNetworkReply::finished, this, &HttpChatStream::onFinished);
}

void HttpChatStream::abort() {
    if (m_over)
        return;
    m_over = true;
    dropReply();
}

void HttpChatStream::decideReading() {
    if (m_reading != Reading::undecided)
        return;
    const QVariant status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    m_status = status.isValid() ? status.toInt() : 0;
    // Anything but exactly 200 is an error, other 2xx codes included.
    m_reading = status.isValid() && m_status != 200 ? Reading::errorText : Reading::reply;
}

void HttpChatStream::onReadyRead() {
    if (m_over || !m_reply)
        return;
    decideReading();
    readAvailable();
}

bool HttpChatStream::readAvailable() {
    const QByteArray bytes = m_reply->readAll();
    return m_lines.feed(bytes, [this](QByteArrayView line) { return handleLine(line); });
}

bool HttpChatStream::handleLine(QByteArrayView line) {
    if (m_reading == Reading::errorText)
        return handleErrorLine(QString::fromUtf8(line));
    return handleReplyLine(line);
}

bool HttpChatStream::handleReplyLine(QByteArrayView line) {
    const LLMClient::Piece parsed = LLMClient::parse(line, m_ollama);
    if (const auto* text = std::get_if<LLMClient::TextPiece>(&parsed)) {
        const QPointer<HttpChatStream> self(this);
        Q_EMIT piece(text->text);
        // A receiver may have aborted or deleted the run.
        return self && !m_over;
    }
    if (std::holds_alternative<LLMClient::DonePiece>(parsed)) {
        succeed();
        return false;
    }
    if (const auto* error = std::get_if<LLMError>(&parsed)) {
        fail(*error);
        return false;
    }
    return true;
}

bool HttpChatStream::handleErrorLine(const QString& line) {
    // Lines are joined without a separator, as far as the limit.
    m_errorText += line;
    if (LLMClient::characterCount(m_errorText) <= errorTextLimit)
        return true;
    fail(LLMError::http(m_status, LLMClient::errorMessage(m_errorText)));
    return false;
}

void HttpChatStream::onFinished() {
    if (m_over || !m_reply)
        return;
    decideReading();
    const QNetworkReply::NetworkError error = m_reply->error();

    if (m_reading == Reading::errorText) {
        if (!readAvailable())
            return;
        const QByteArray rest = m_lines.takeRest();
        if (!rest.isEmpty() && !handleLine(rest))
            return;
        fail(LLMError::http(m_status, LLMClient::errorMessage(m_errorText)));
        return;
    }

    if (!readAvailable())
        return;
    if (error != QNetworkReply::NoError) {
        // A body cut short ends with a transport error; its unterminated
        // last line is incomplete and is dropped.
        fail(LLMClient::mapError(error, m_reply->errorString(), m_url, m_ownAbort));
        return;
    }
    const QByteArray rest = m_lines.takeRest();
    if (!rest.isEmpty() && !handleLine(rest))
        return;
    succeed();
}

void HttpChatStream::succeed() {
    m_over = true;
    dropReply(); // after a "done" line, whatever else the server sends is not read
    Q_EMIT finished();
}

void HttpChatStream::fail(const ClientError& error) {
    m_over = true;
    dropReply();
    Q_EMIT failed(error);
}

void HttpChatStream::dropReply() {
    if (!m_reply)
        return;
    QNetworkReply* reply = m_reply;
    m_reply = nullptr;
    disconnect(reply, nullptr, this, nullptr);
    m_ownAbort = true;
    reply->abort(); // closes the connection when the reply is still coming in
    reply->deleteLater();
}
