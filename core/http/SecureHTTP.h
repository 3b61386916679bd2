#pragma once

#include "http/HTTPSession.h"

#include <QByteArrayView>
#include <QList>
#include <QMap>
#include <QString>

#include <optional>
#include <stop_token>
#include <utility>

/// All HTTP of the program: HTTPS only, no cookies, no caches, no stored credentials, no redirect to another
/// host. Main thread.
namespace Larkhaven::SecureHTTP {

/// Redirects that are followed for one request.
inline constexpr int mostRedirects = 16;

/// Fails with `MailError::protocolError` "Refusing non-HTTPS request", without touching the network, where
/// the scheme of the URL isn't "https" as it is written; with `HTTPError` where no response came; with
/// `MailError::cancelled` once `stop` is requested. Any response is a success, a redirect that isn't followed
/// as well.
Task<HTTPResponse> send(HTTPRequest request, std::stop_token stop = {});

/// The body of a response of the statuses 200 to 299. Any other fails: 401 with `MailError::notSignedIn`, one
/// that `isRateLimited` with `MailError::rateLimited`, the rest with `MailError::http` and `message` of the
/// body, in which the request's bearer token doesn't stand.
Task<QByteArray> checked(HTTPRequest request, std::stop_token stop = {});

/// 429; or 403 where the first 4000 bytes of the body are UTF-8 and hold one of Google's words for it.
bool isRateLimited(int status, QByteArrayView body);

/// What the body of a failure says: the message of the error object where it is JSON with one (as Google's
/// services and RFC 6749, section 5.2, have it), otherwise its first 500 bytes; empty where those hold other
/// JSON, HTML or XML, or aren't UTF-8, also where they end within a character, and of more than 64 KiB.
QString message(const QByteArray& body);

/// The fields, sorted by key, as application/x-www-form-urlencoded. All but letters and digits of ASCII and
/// "-._~" is percent-encoded, a blank as well.
QByteArray formBody(const QMap<QString, QString>& fields);

using QueryItem = std::pair<QString, QString>;
/// The items in their order as the query of a URL (RFC 3986, 3.4), without the "?". A blank is "%20" and a
/// "+" is "%2B", which servers read as a blank otherwise.
QByteArray query(const QList<QueryItem>& items);

/// Decides where redirects of one request may lead: to the same host, over HTTPS. A token or a body never
/// goes anywhere else.
class RedirectGuard {
public:
    /// For the request that the caller made; `url` is absolute.
    explicit RedirectGuard(const QByteArray& url);

    /// What is asked next; absent where the response is no redirect, or leads where it must not. After 303,
    /// and after 301 and 302 of a POST, it is a GET without body; 307 and 308 keep both (RFC 9110, 15.4).
    std::optional<HTTPRequest> next(const HTTPRequest& last, const HTTPResponse& response) const;

private:
    std::optional<QByteArray> m_host; ///< in lower case
};

} // namespace Larkhaven::SecureHTTP
