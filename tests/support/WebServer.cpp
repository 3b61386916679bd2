#include "support/WebServer.h"

#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QTcpSocket>
#include <QTimer>

#include <gtest/gtest.h>
#include <memory>

namespace Larkhaven {

struct WebServer::Connection {
    QTcpSocket* socket;
    int number;
    QByteArray buffer;
    QList<std::shared_ptr<Exchange>> open; ///< requests without a reply
};

struct WebServer::Exchange {
    WebRequest request;
    std::weak_ptr<Connection> connection;
    bool isOver = false;
};

std::optional<QByteArray> WebRequest::header(const QByteArray& name) const
{
    for (const auto& [known, value] : headers) {
        if (known == name)
            return value;
    }
    return std::nullopt;
}

WebReply WebReply::redirect(int status, const QByteArray& location)
{
    return {.status = status, .headers = {{"Location", location}}};
}

WebReply WebReply::bytes(const QByteArray& raw, End end)
{
    return {.end = end, .raw = raw};
}

WebServer::WebServer(Handler handler, const QHostAddress& address)
    : m_handler(std::move(handler))
{
    QFile key(qEnvironmentVariable("LARKHAVEN_TEST_KEY"));
    EXPECT_TRUE(key.open(QIODevice::ReadOnly)) << "run this program through in-network-namespace";
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificateChain(
        QSslCertificate::fromPath(qEnvironmentVariable("LARKHAVEN_TEST_CERTIFICATE")));
    configuration.setPrivateKey(QSslKey(&key, QSsl::Ec));
    m_server.setSslConfiguration(configuration);
    EXPECT_TRUE(m_server.listen(address, 443)) << m_server.errorString().toStdString();
    connect(&m_server, &QSslServer::startedEncryptionHandshake, this, [this] { ++m_attempts; });
    connect(&m_server, &QTcpServer::pendingConnectionAvailable, this, &WebServer::accept);
}

WebServer::~WebServer()
{
    // The ends of connections that are still open are nobody's business any more.
    for (QTcpSocket* const socket : m_server.findChildren<QTcpSocket*>())
        socket->disconnect(this);
}

void WebServer::forget()
{
    m_requests.clear();
    m_connections = 0;
    m_attempts = 0;
}

void WebServer::accept()
{
    while (QTcpSocket* const socket = m_server.nextPendingConnection()) {
        const auto connection = std::make_shared<Connection>(Connection{socket, ++m_connections, {}, {}});
        ++m_open;
        // A reply must not wait until the client has acknowledged what TLS sent before it.
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        connect(socket, &QTcpSocket::disconnected, this, [this, connection] {
            --m_open;
            for (const std::shared_ptr<Exchange>& exchange : QList(connection->open))
                close(*exchange);
            connection->socket->deleteLater();
            connection->socket = nullptr;
        });
        connect(socket, &QTcpSocket::readyRead, this, [this, connection] { read(connection); });
        read(connection);
    }
}

void WebServer::read(const std::shared_ptr<Connection>& connection)
{
    connection->buffer += connection->socket->readAll();
    for (;;) {
        const qsizetype end = connection->buffer.indexOf("\r\n\r\n");
        if (end < 0)
            return;
        const QList<QByteArray> lines = connection->buffer.first(end).split('\n');
        const QList<QByteArray> start = lines.first().trimmed().split(' ');
        WebRequest request;
        request.connection = connection->number;
        request.address = connection->socket->localAddress();
        request.method = start.value(0);
        request.target = start.value(1);
        for (const QByteArray& line : lines.mid(1)) {
            const qsizetype colon = line.indexOf(':');
            request.headers.append({line.first(colon).toLower(), line.sliced(colon + 1).trimmed()});
        }
        request.host = request.header("host").value_or(QByteArray());
        const qsizetype length = request.header("content-length").value_or("0").toLongLong();
        if (connection->buffer.size() < end + 4 + length)
            return;
        request.body = connection->buffer.sliced(end + 4, length);
        connection->buffer.remove(0, end + 4 + length);
        m_requests.append(request);
        if (m_arrived)
            m_arrived(request);
        const auto exchange = std::make_shared<Exchange>(Exchange{request, connection});
        connection->open.append(exchange);
        if (m_gate)
            m_gate(request, [this, exchange] { return serve(exchange); });
        else
            serve(exchange)();
        if (!connection->socket)
            return;
    }
}

/// Also where the client has gone meanwhile: it can't undo what it asked for.
std::function<void()> WebServer::serve(const std::shared_ptr<Exchange>& exchange)
{
    const WebReply reply = m_handler(exchange->request);
    const auto send = [this, exchange, reply] {
        if (exchange->isOver)
            return;
        const std::shared_ptr<Connection> connection = exchange->connection.lock();
        close(*exchange);
        WebServer::reply(*connection->socket, reply);
    };
    if (reply.delay == 0)
        return send;
    return [this, delay = reply.delay, send] { QTimer::singleShot(delay, this, send); };
}

void WebServer::close(Exchange& exchange)
{
    exchange.isOver = true;
    if (const std::shared_ptr<Connection> connection = exchange.connection.lock())
        connection->open.removeIf([&](const auto& known) { return known.get() == &exchange; });
    if (m_replied)
        m_replied(exchange.request);
}

void WebServer::reply(QTcpSocket& socket, const WebReply& reply)
{
    if (reply.end == WebReply::End::silent)
        return;
    if (reply.end == WebReply::End::drop) {
        socket.abort();
        return;
    }
    QByteArray head = "HTTP/1.1 " + QByteArray::number(reply.status) + " Answer\r\n";
    for (const auto& [name, value] : reply.headers)
        head += name + ": " + value + "\r\n";
    head += "Content-Length: " + QByteArray::number(reply.body.size()) + "\r\n\r\n";
    if (reply.pieces == 1) {
        socket.write(reply.raw ? *reply.raw : head + reply.body);
        if (reply.end == WebReply::End::close)
            socket.disconnectFromHost();
        return;
    }
    socket.write(head);
    const qsizetype size = reply.body.size() / reply.pieces;
    for (int piece = 0; piece < reply.pieces; ++piece) {
        const QByteArray bytes = piece + 1 < reply.pieces ? reply.body.sliced(piece * size, size)
                                                          : reply.body.sliced(piece * size);
        QTimer::singleShot(100 * (piece + 1), &socket, [&socket, bytes] { socket.write(bytes); });
    }
}

} // namespace Larkhaven
