#pragma once

#include "domain/LocalizedError.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QHostAddress>
#include <QList>

#include <chrono>
#include <functional>
#include <optional>
#include <utility>

namespace Larkhaven {

/// One request of HTTP (RFC 9110).
struct HTTPRequest {
    using Header = std::pair<QByteArray, QByteArray>;

    QByteArray url = {}; ///< absolute, percent-encoded
    QByteArray method = "GET";
    /// In order. One with a line end or a NUL is refused as a bad URL is. "Accept" is "*/*" and "User-Agent"
    /// is "Larkhaven" where none is given.
    QList<Header> headers = {};
    std::optional<QByteArray> body = std::nullopt;
    /// Without any byte from or to the server.
    std::chrono::milliseconds timeout = std::chrono::seconds(30);
    qsizetype mostBody = 16 * 1024 * 1024; ///< of the response, decoded, in bytes
    /// The only addresses that a connection for it may lead to, and no name is looked up. A proxy is asked
    /// for the first one in place of the name. Empty: wherever the name leads.
    QList<QHostAddress> addresses = {};
    /// Called whenever more of the body has come, with all that there is, decoded, and with the response's
    /// status. Where it gives false, the request ends as one whose response is too large.
    std::function<bool(int status, QByteArrayView body)> isWanted = {};

    /// Puts the value in the place of the one that stands under this name, in any case, or behind all others.
    void setHeader(const QByteArray& name, const QByteArray& value);
    void removeHeader(QByteArrayView name);
};

struct HTTPResponse {
    int status = 0;
    QByteArray body;     ///< decoded from its content encoding
    QByteArray location; ///< where a redirect leads, as an absolute URL; empty where there is none
};

/// A request that brought no response, in words for the user. Holds the host, never a path, a query or a
/// header.
class HTTPError : public LocalizedError {
public:
    enum class Kind {
        badURL,      ///< not an absolute URL that can be asked
        unreachable, ///< no connection stood that the request could go over: nothing was sent
        untrusted,   ///< no TLS that can be trusted: nothing was sent
        timedOut,    ///< the time-out, or the one for all
        tooLarge,    ///< the response is beyond the bounds
        broken,      ///< the connection, or the protocol on it, broke
    };

    HTTPError(Kind kind, QString host)
        : m_kind(kind)
        , m_host(std::move(host))
    {}

    Kind kind() const { return m_kind; }
    /// Whether the server may have had the request, and done what it asked for.
    bool mayHaveArrived() const;
    bool isConnectionLost() const override { return m_kind == Kind::broken || m_kind == Kind::timedOut; }
    bool isUnreachable() const override { return isConnectionLost() || m_kind == Kind::unreachable; }
    QString localizedText() const override;

private:
    Kind m_kind;
    QString m_host;
};

} // namespace Larkhaven
