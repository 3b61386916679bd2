#pragma once

#include "domain/MailProvider.h"
#include "http/HTTPMessage.h"

#include <QObject>

#include <chrono>
#include <memory>
#include <stop_token>

namespace Larkhaven {

/// HTTPS over libcurl's multi interface, which Qt's event loop drives: no thread of ours, and nothing that
/// the main thread waits for. HTTP/2 where the server has it, TLS 1.2 at least, trust as `TLSTrust` tells,
/// the proxies of the environment. It knows no cookies, caches, stored credentials or redirects, and says
/// "Larkhaven" of itself and nothing else.
///
/// What changes something on the server is sent once. libcurl repeats a request by itself where a connection
/// that was used before ends without an answer, and where a stream of HTTP/2 is refused; such a request
/// therefore gets a connection of its own, and ends where libcurl would send it again. Main thread.
class HTTPSession : public QObject {
public:
    struct Limits {
        qsizetype head = 64 * 1024;         ///< of a request: its URL and its headers, in bytes
        qsizetype body = 128 * 1024 * 1024; ///< of a response, whatever its request allows, in bytes
        qsizetype headers = 256 * 1024;     ///< of a response with all that came before it, in bytes
        std::chrono::milliseconds whole =
            std::chrono::seconds(600); ///< from the first look-up to the last byte
        int connections = 0;           ///< to one host at once; 0: as many as there are requests
    };

    explicit HTTPSession(Limits limits, QObject* parent = nullptr);
    ~HTTPSession() override;

    /// The one session of the process; made with its first use.
    static HTTPSession& shared();

    /// Fails with `HTTPError`, of `badURL` where the head of the request is beyond the bounds, or with
    /// `MailError::cancelled` once `stop` is requested. The session must outlive it.
    Task<HTTPResponse> perform(HTTPRequest request, std::stop_token stop);

private:
    struct Transfer;
    struct Multi;

    std::unique_ptr<Multi> m_multi;
    Limits m_limits;
};

} // namespace Larkhaven
