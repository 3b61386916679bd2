#include "http/SecureHTTP.h"

#include "domain/MailError.h"
#include "domain/Text.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <curl/curl.h>

using namespace Qt::StringLiterals;

namespace Larkhaven::SecureHTTP {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(SecureHTTP)
};

constexpr qsizetype searchedForLimit = 4000; ///< bytes of a body
constexpr qsizetype longestMessage = 500;    ///< bytes
/// A longer body, in bytes, isn't read for a message.
constexpr qsizetype longestReadMessage = 64 * 1024;

/// The token of the request (RFC 6750, 2.1); empty where it has none.
QByteArray bearer(const HTTPRequest& request)
{
    constexpr QByteArrayView scheme("Bearer ");
    for (const auto& [name, value] : request.headers) {
        if (name.compare("Authorization", Qt::CaseInsensitive) == 0 && value.startsWith(scheme))
            return value.sliced(scheme.size());
    }
    return {};
}

bool isHTTPS(const QByteArray& url)
{
    return url.startsWith("https:");
}

/// In lower case.
std::optional<QByteArray> hostOf(const QByteArray& url)
{
    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parsed(curl_url(), curl_url_cleanup);
    char* text = nullptr;
    const bool hasHost = parsed &&
                         curl_url_set(parsed.get(), CURLUPART_URL, url.constData(), 0) == CURLUE_OK &&
                         curl_url_get(parsed.get(), CURLUPART_HOST, &text, 0) == CURLUE_OK;
    if (!hasHost)
        return std::nullopt;
    const QString host = Text::asciiLowered(QString::fromUtf8(text));
    curl_free(text);
    return host.toUtf8();
}

bool isRedirect(int status)
{
    constexpr std::array redirects{301, 302, 303, 307, 308};
    return std::ranges::find(redirects, status) != redirects.end();
}

QString firstPart(const QByteArray& body)
{
    const QByteArray part = body.first(std::min(body.size(), longestMessage));
    return part.isValidUtf8() ? QString::fromUtf8(part) : QString();
}

} // namespace

Task<HTTPResponse> send(HTTPRequest request, std::stop_token stop)
{
    if (!isHTTPS(request.url))
        throw MailError::protocolError(Texts::tr("Refusing non-HTTPS request"));
    const RedirectGuard guard(request.url);
    for (int redirects = 0;; ++redirects) {
        HTTPResponse response = co_await HTTPSession::shared().perform(request, stop);
        std::optional<HTTPRequest> next = guard.next(request, response);
        if (!next || redirects == mostRedirects)
            co_return std::move(response);
        request = std::move(*next);
    }
}

Task<QByteArray> checked(HTTPRequest request, std::stop_token stop)
{
    const QByteArray secret = bearer(request);
    HTTPResponse response = co_await send(std::move(request), std::move(stop));
    if (response.status >= 200 && response.status <= 299)
        co_return std::move(response.body);
    if (response.status == 401)
        throw MailError::notSignedIn();
    if (isRateLimited(response.status, response.body))
        throw MailError::rateLimited();
    // A service may repeat in its words what it was sent.
    if (!secret.isEmpty() && response.body.size() <= longestReadMessage)
        response.body.replace(secret, "…");
    throw MailError::http(response.status, message(response.body));
}

bool isRateLimited(int status, QByteArrayView body)
{
    if (status != 403)
        return status == 429;
    const QByteArray start = body.first(std::min(body.size(), searchedForLimit)).toByteArray();
    constexpr std::array words{"rateLimitExceeded", "userRateLimitExceeded", "quotaExceeded",
                               "RESOURCE_EXHAUSTED"};
    return start.isValidUtf8() &&
           std::ranges::any_of(words, [&start](const char* word) { return start.contains(word); });
}

QString message(const QByteArray& body)
{
    if (body.size() > longestReadMessage)
        return {};
    const QJsonValue error = QJsonDocument::fromJson(body).object()["error"_L1];
    const QJsonValue text = error.isObject() ? error["message"_L1] : error;
    if (text.isString()) {
        const QByteArray words = text.toString().trimmed().toUtf8();
        const bool isForPrograms = words.startsWith('{') || words.startsWith('[') || words.startsWith('<');
        return isForPrograms ? QString() : firstPart(words);
    }
    const QString words = firstPart(body);
    const bool isForPrograms =
        std::ranges::any_of(words, [](QChar letter) { return QStringView(u"{[<").contains(letter); });
    return isForPrograms ? QString() : words;
}

QByteArray formBody(const QMap<QString, QString>& fields)
{
    QByteArrayList pairs;
    for (auto field = fields.cbegin(); field != fields.cend(); ++field)
        pairs.append(field.key().toUtf8().toPercentEncoding() + '=' +
                     field.value().toUtf8().toPercentEncoding());
    return pairs.join('&');
}

QByteArray query(const QList<QueryItem>& items)
{
    // What RFC 3986 allows in a query and no item ends with.
    constexpr const char* plain = "!$'()*,:@/?";
    QByteArrayList pairs;
    for (const auto& [name, value] : items)
        pairs.append(name.toUtf8().toPercentEncoding(plain) + '=' + value.toUtf8().toPercentEncoding(plain));
    return pairs.join('&');
}

// --- RedirectGuard

RedirectGuard::RedirectGuard(const QByteArray& url)
    : m_host(hostOf(url))
{}

std::optional<HTTPRequest> RedirectGuard::next(const HTTPRequest& last, const HTTPResponse& response) const
{
    const bool mayFollow =
        isRedirect(response.status) && isHTTPS(response.location) && hostOf(response.location) == m_host;
    if (!mayFollow)
        return std::nullopt;
    HTTPRequest next = last;
    next.url = response.location;
    const bool isPost = last.method == "POST" && (response.status == 301 || response.status == 302);
    if (isPost || (response.status == 303 && last.method != "HEAD")) {
        next.method = "GET";
        next.body.reset();
        next.removeHeader("Content-Type");
    }
    return next;
}

} // namespace Larkhaven::SecureHTTP
