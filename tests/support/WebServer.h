#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QSslServer>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

class QTcpSocket;

namespace Larkhaven {

struct WebRequest {
    QByteArray method;
    QByteArray host;
    QByteArray target;                                ///< path and query
    QList<std::pair<QByteArray, QByteArray>> headers; ///< in order, names in lower case
    QByteArray body;
    int connection = 0;        ///< the first one is 1
    QHostAddress address = {}; ///< of this machine, that it was sent to

    std::optional<QByteArray> header(const QByteArray& name) const;
};

struct WebReply {
    enum class End {
        keepOpen,
        close,  ///< behind the reply
        drop,   ///< in place of any reply
        silent, ///< no reply, and the connection stays
    };

    int status = 200;
    QByteArray body = {};
    QList<std::pair<QByteArray, QByteArray>> headers = {}; ///< beside Content-Length
    End end = End::keepOpen;
    std::optional<QByteArray> raw = std::nullopt; ///< in place of all of it
    int pieces = 1;                               ///< of the body, one each 100 ms
    int delay = 0;                                ///< before any of it, in ms

    static WebReply redirect(int status, const QByteArray& location);
    static WebReply bytes(const QByteArray& raw, End end = End::close);
};

/// All HTTPS servers of a network in which every host name is this machine, HTTP/1.1 on port 443. For a
/// program that runs within tests/in-network-namespace; fails the test elsewhere.
class WebServer : public QObject {
public:
    using Handler = std::function<WebReply(const WebRequest& request)>;
    using Observer = std::function<void(const WebRequest& request)>;
    /// Serves the request and gives what sends the reply.
    using Serve = std::function<std::function<void()>()>;
    using Gate = std::function<void(const WebRequest& request, Serve serve)>;

    explicit WebServer(Handler handler, const QHostAddress& address = QHostAddress::LocalHost);
    ~WebServer() override;

    void setHandler(Handler handler) { m_handler = std::move(handler); }
    /// Called when a request has come, and when the reply to it goes out or the client has gone.
    void setObservers(Observer arrived, Observer replied)
    {
        m_arrived = std::move(arrived);
        m_replied = std::move(replied);
    }
    /// Decides when a request is served and when its reply goes out: by calling what it is given, once.
    void setGate(Gate gate) { m_gate = std::move(gate); }
    const QList<WebRequest>& requests() const { return m_requests; }
    /// Connections whose TLS stood.
    int connections() const { return m_connections; }
    /// Connections that were begun.
    int attempts() const { return m_attempts; }
    int open() const { return m_open; }
    void forget();

private:
    struct Connection;
    struct Exchange;

    void accept();
    void read(const std::shared_ptr<Connection>& connection);
    std::function<void()> serve(const std::shared_ptr<Exchange>& exchange);
    void close(Exchange& exchange);
    static void reply(QTcpSocket& socket, const WebReply& reply);

    QSslServer m_server;
    Handler m_handler;
    Observer m_arrived;
    Observer m_replied;
    Gate m_gate;
    QList<WebRequest> m_requests;
    int m_connections = 0;
    int m_attempts = 0;
    int m_open = 0;
};

} // namespace Larkhaven
