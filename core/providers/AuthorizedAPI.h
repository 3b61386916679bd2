#pragma once

#include "domain/TokenSource.h"
#include "http/SecureHTTP.h"
#include "platform/Tasks.h"

#include <QJsonObject>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace Larkhaven {

/// Requests to a REST service in the name of an account: the bearer token (RFC 6750), its renewal after a
/// 401, and the one place where a request is repeated because the service limits their rate. An immutable
/// record; main thread.
class AuthorizedAPI {
public:
    struct Request {
        QByteArray method = "GET";
        /// Below the base, percent-encoded; or an absolute "https://" URL on the same host, which is used as
        /// it stands, without `query`.
        QByteArray path = {};
        QList<SecureHTTP::QueryItem> query = {};
        std::optional<QJsonObject> json = std::nullopt; ///< sent in place of `body`
        std::optional<QByteArray> body = std::nullopt;
        QByteArray contentType = "application/octet-stream"; ///< of `body`
        QList<HTTPRequest::Header> headers = {};             ///< overwrite those that every request has
        qsizetype mostBody = HTTPRequest().mostBody;         ///< of the response, in bytes
    };
    /// False where the sleep was ended by the stop.
    using Sleep = std::function<Task<bool>(std::chrono::milliseconds, std::stop_token)>;

    /// How often a request whose rate is limited is sent again.
    static constexpr int mostRetries = 3;
    /// Without any byte from or to the server.
    static constexpr std::chrono::seconds timeout{60};

    /// `base` has no slash at its end. `tokens` must not be null.
    AuthorizedAPI(QByteArray base, std::shared_ptr<TokenSource> tokens, Sleep sleep = sleepFor);

    /// The body of a successful response. Fails with `MailError::protocolError` "Unexpected host", "Bad
    /// request path" or "Bad request URL" before any token is asked for; with `notSignedIn` where a renewed
    /// token is refused as well; with `rateLimited` where it is limited still; and as `SecureHTTP::checked`
    /// and the tokens do. Nothing else is repeated.
    Task<QByteArray> request(Request request, std::stop_token stop = {}) const;
    /// The JSON object of the response; an empty one where there is no body. Fails with `DecodingError` where
    /// it is none.
    Task<QJsonObject> requestJSON(Request request, std::stop_token stop = {}) const;

private:
    QByteArray url(const Request& request) const;
    /// One pass: with the token that is known, and after a 401 with a newer one.
    Task<QByteArray> pass(QByteArray url, Request request, std::stop_token stop) const;
    static Task<QByteArray> sendOnce(QByteArray url, Request request, QString token, std::stop_token stop);

    QByteArray m_base;
    std::shared_ptr<TokenSource> m_tokens;
    Sleep m_sleep;
};

} // namespace Larkhaven
