#include "llm/HttpChatStream.h"

#include "llm/ErrorMapping.h"
#include "llm/HttpExchange.h"
#include "llm/LLMClient.h"
#include "llm/ReplyParser.h"
#include "settings/Keychain.h"

#include <QTimer>

namespace {

// An error reply's text is read until it is longer than this, or to its end.
constexpr qsizetype errorTextLimit = 600;
// Redirects followed on the configured server before giving up.
constexpr int redirectLimit = 10;

bool isRedirect(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

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
    dropExchange();
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
    if (settings.provider != Provider::ollama) {
        const QPointer<HttpChatStream> self(this);
        const QString key = co_await Keychain::get();
        if (!self || m_over)
            co_return;
        LLMClient::applyAuth(request, settings, key);
    }
    m_headers = {{"Content-Type", "application/json"}, {"User-Agent", LLMClient::userAgent()}};
    for (const QByteArray& name : request.rawHeaderList())
        m_headers.append({name, request.rawHeader(name)});
    m_body = LLMClient::chatBody(model, instruction, text);
    send(url, "POST", m_body);
}

void HttpChatStream::send(const QUrl& url, const QByteArray& method, const QByteArray& body) {
    m_current = url;
    m_exchange = new HttpExchange({method, url, m_headers, body, LLMClient::timeouts().chat}, this);
    connect(m_exchange, &HttpExchange::headReceived, this, &HttpChatStream::onHead);
    connect(m_exchange, &HttpExchange::bodyData, this, &HttpChatStream::onBody);
    connect(m_exchange, &HttpExchange::finished, this, &HttpChatStream::onBodyEnd);
    connect(m_exchange, &HttpExchange::failed, this, &HttpChatStream::onTransportFailure);
}

void HttpChatStream::abort() {
    if (m_over)
        return;
    m_over = true;
    dropExchange();
}

void HttpChatStream::onHead() {
    if (m_over || !m_exchange)
        return;
    m_status = m_exchange->status();
    if (followRedirect())
        return;
    // Anything but exactly 200 is an error, other 2xx codes included.
    m_reading = m_status == 200 ? Reading::reply : Reading::errorText;
}

bool HttpChatStream::followRedirect() {
    const QByteArray location = m_exchange->header("Location");
    if (!isRedirect(m_status) || location.isEmpty())
        return false;
    const QUrl target = m_current.resolved(QUrl::fromEncoded(location));
    if (!target.isValid() || !LLMClient::sameServer(m_current, target)) {
        // Another server never sees the text or the key, nor an https
        // request made plain http.
        fail(ClientError::redirectRefused(
            LLMClient::address(target.toString(QUrl::RemoveUserInfo))));
        return true;
    }
    if (++m_redirects > redirectLimit) {
        fail(ClientError::transport(QNetworkReply::TooManyRedirectsError,
                                    QStringLiteral("The server redirected too many times.")));
        return true;
    }
    dropExchange();
    // 307 and 308 repeat the request as it was; the others ask for a GET.
    if (m_status == 307 || m_status == 308)
        send(target, "POST", m_body);
    else
        send(target, "GET", QByteArray());
    return true;
}

void HttpChatStream::onBody(const QByteArray& bytes) {
    if (m_over || m_reading == Reading::undecided)
        return;
    if (!readLines(bytes))
        return;
    // A line is kept whole until its end comes; an endless one is refused.
    const qsizetype limit = LLMClient::limits().reply;
    if (m_lines.pendingSize() > limit)
        fail(ClientError::replyTooLong(limit));
}

bool HttpChatStream::readLines(QByteArrayView bytes) {
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
        const qsizetype limit = LLMClient::limits().reply;
        m_replySize += text->text.size();
        if (m_replySize > limit) {
            fail(ClientError::replyTooLong(limit));
            return false;
        }
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

void HttpChatStream::onBodyEnd() {
    if (m_over)
        return;
    // The body reached the server's end: its unterminated last line is whole.
    const QByteArray rest = m_lines.takeRest();
    if (!rest.isEmpty() && !handleLine(rest))
        return;
    if (m_reading == Reading::errorText || m_reading == Reading::undecided)
        fail(LLMError::http(m_status, LLMClient::errorMessage(m_errorText)));
    else
        succeed();
}

void HttpChatStream::onTransportFailure(QNetworkReply::NetworkError error,
                                        const QString& description) {
    if (m_over)
        return;
    // A body cut short is no reply, whatever came of it: its unterminated
    // last line is incomplete and is dropped.
    fail(LLMClient::mapError(error, description, m_url, false));
}

void HttpChatStream::succeed() {
    m_over = true;
    dropExchange(); // after a "done" line, whatever else the server sends is not read
    Q_EMIT finished();
}

void HttpChatStream::fail(const ClientError& error) {
    m_over = true;
    dropExchange();
    Q_EMIT failed(error);
}

void HttpChatStream::dropExchange() {
    HttpExchange* exchange = m_exchange;
    m_exchange = nullptr;
    if (!exchange)
        return;
    exchange->disconnect(this);
    exchange->abort(); // closes the connection when the reply is still coming in
    exchange->deleteLater();
}
