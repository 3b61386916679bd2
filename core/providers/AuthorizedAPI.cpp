#include "providers/AuthorizedAPI.h"

#include "domain/Coding.h"
#include "domain/MailError.h"
#include "platform/Tasks.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QUrl>

namespace Larkhaven {

namespace {

/// From this size on, in bytes, an answer is read on a worker.
constexpr qsizetype longAnswer = 64 * 1024;

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(AuthorizedAPI)
};

bool isMailError(const std::exception_ptr& failure, MailError::Kind kind)
{
    try {
        std::rethrow_exception(failure);
    } catch (const MailError& error) {
        return error.kind() == kind;
    } catch (...) {
        return false;
    }
}

/// The host of an absolute URL as it is written, without its port, but with a user: nobody here names one.
QByteArray writtenHost(const QByteArray& url)
{
    QByteArray authority = url.sliced(std::min<qsizetype>(url.size(), url.indexOf("//") + 2));
    for (const char end : {'/', '?', '#'})
        authority.truncate(std::min(authority.size(), (authority + end).indexOf(end)));
    const qsizetype port = authority.lastIndexOf(':');
    return port > authority.lastIndexOf(']') ? authority.first(port) : authority;
}

bool isURL(const QByteArray& text)
{
    return QUrl::fromEncoded(text, QUrl::StrictMode).isValid();
}

QJsonObject readObject(const QByteArray& body)
{
    if (body.isEmpty())
        return {};
    const QJsonDocument answer = QJsonDocument::fromJson(body);
    if (!answer.isObject())
        throw DecodingError(Texts::tr("The answer of the mail service can’t be read."));
    return answer.object();
}

std::chrono::milliseconds backOff(int attempt)
{
    return std::chrono::seconds(1 << attempt) +
           std::chrono::milliseconds(QRandomGenerator::global()->bounded(501));
}

} // namespace

AuthorizedAPI::AuthorizedAPI(QByteArray base, std::shared_ptr<TokenSource> tokens, Sleep sleep)
    : m_base(std::move(base))
    , m_tokens(std::move(tokens))
    , m_sleep(std::move(sleep))
{}

QByteArray AuthorizedAPI::url(const Request& request) const
{
    if (request.path.startsWith("https://")) {
        if (!isURL(request.path) || writtenHost(request.path) != writtenHost(m_base))
            throw MailError::protocolError(Texts::tr("Unexpected host"));
        return request.path;
    }
    QByteArray text = m_base + '/' + request.path;
    if (!isURL(text))
        throw MailError::protocolError(Texts::tr("Bad request path"));
    if (!request.query.isEmpty())
        text += '?' + SecureHTTP::query(request.query);
    if (!isURL(text))
        throw MailError::protocolError(Texts::tr("Bad request URL"));
    return text;
}

Task<QByteArray> AuthorizedAPI::request(Request request, std::stop_token stop) const
{
    const AuthorizedAPI self = *this;
    const QByteArray url = self.url(request);
    for (int attempt = 0;; ++attempt) {
        Outcome<QByteArray> outcome = co_await settled(self.pass(url, request, stop));
        if (outcome.value)
            co_return std::move(*outcome.value);
        if (attempt == mostRetries || !isMailError(outcome.failure, MailError::Kind::rateLimited))
            std::rethrow_exception(outcome.failure);
        const bool hasSlept = co_await self.m_sleep(backOff(attempt), stop);
        if (!hasSlept)
            throw MailError::cancelled();
    }
}

Task<QByteArray> AuthorizedAPI::pass(QByteArray url, Request request, std::stop_token stop) const
{
    const AuthorizedAPI self = *this;
    QString refused;
    // A token may have been renewed for another request while the service refused this one.
    for (int known = 0; known < 2; ++known) {
        const Outcome<QString> token = co_await settled(self.m_tokens->validToken(false));
        if (!token.value && !isMailError(token.failure, MailError::Kind::notSignedIn))
            std::rethrow_exception(token.failure);
        if (!token.value || *token.value == refused)
            break;
        refused = *token.value;
        Outcome<QByteArray> answer = co_await settled(sendOnce(url, request, refused, stop));
        if (answer.value)
            co_return std::move(*answer.value);
        if (!isMailError(answer.failure, MailError::Kind::notSignedIn))
            std::rethrow_exception(answer.failure);
    }
    const QString renewed = co_await self.m_tokens->validToken(true);
    QByteArray answer = co_await sendOnce(url, request, renewed, stop);
    co_return answer;
}

Task<QByteArray> AuthorizedAPI::sendOnce(QByteArray url, Request request, QString token, std::stop_token stop)
{
    HTTPRequest sent;
    sent.url = url;
    sent.method = request.method;
    sent.timeout = timeout;
    sent.mostBody = request.mostBody;
    sent.headers = {{"Authorization", "Bearer " + token.toUtf8()}, {"Accept", "application/json"}};
    for (const auto& [name, value] : std::as_const(request.headers))
        sent.setHeader(name, value);
    if (request.json) {
        sent.body = QJsonDocument(*request.json).toJson(QJsonDocument::Compact);
        sent.setHeader("Content-Type", "application/json");
    } else if (request.body) {
        sent.body = request.body;
        sent.setHeader("Content-Type", request.contentType);
    }
    QByteArray body = co_await SecureHTTP::checked(sent, stop);
    co_return body;
}

Task<QJsonObject> AuthorizedAPI::requestJSON(Request request, std::stop_token stop) const
{
    const QByteArray body = co_await this->request(std::move(request), std::move(stop));
    if (body.size() < longAnswer)
        co_return readObject(body);
    const auto read = [body] { return readObject(body); };
    QJsonObject object = co_await runOnWorker(read);
    co_return object;
}

} // namespace Larkhaven
