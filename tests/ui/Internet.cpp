#include "Internet.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QNetworkDatagram>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>

#include <gtest/gtest.h>
#include <memory>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// Where all hosts are. An address of the public internet, so that nothing treats it as another.
const QHostAddress address(u"93.184.216.34"_s);

QSslConfiguration certified()
{
    QFile key(qEnvironmentVariable("LARKHAVEN_TEST_KEY"));
    EXPECT_TRUE(key.open(QIODevice::ReadOnly)) << "run this program through in-network-namespace";
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificateChain(
        QSslCertificate::fromPath(qEnvironmentVariable("LARKHAVEN_TEST_CERTIFICATE")));
    configuration.setPrivateKey(QSslKey(&key, QSsl::Ec));
    return configuration;
}

QByteArray picture()
{
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(Qt::blue);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return buffer.data();
}

/// The number under a name of a table of the kernel: a line of names, then a line of numbers.
qint64 kernelCount(const QByteArray& protocol, const QByteArray& name)
{
    QFile file(u"/proc/net/snmp"_s);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().split('\n');
    QList<QByteArray> names;
    for (const QByteArray& line : lines) {
        if (!line.startsWith(protocol + ':'))
            continue;
        if (names.isEmpty())
            names = line.split(' ');
        else
            return line.split(' ').value(names.indexOf(name)).toLongLong();
    }
    ADD_FAILURE() << "the kernel does not count " << name.toStdString();
    return 0;
}

qint64 kernelCountOfIPv6(const QByteArray& name)
{
    QFile file(u"/proc/net/snmp6"_s);
    // A machine without IPv6 sends nothing through it.
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith(name))
            return line.mid(name.size()).trimmed().toLongLong();
    }
    return 0;
}

} // namespace

std::optional<QByteArray> Internet::Request::header(const QByteArray& name) const
{
    for (const auto& [known, value] : headers) {
        if (known == name)
            return value;
    }
    return std::nullopt;
}

Internet::Internet()
{
    EXPECT_TRUE(m_names.bind(QHostAddress::LocalHost, 53)) << m_names.errorString().toStdString();
    connect(&m_names, &QUdpSocket::readyRead, this, &Internet::answerLookup);
    EXPECT_TRUE(m_namesOverTCP.listen(QHostAddress::LocalHost, 53));
    connect(&m_namesOverTCP, &QTcpServer::newConnection, this, [this] { m_lookups.append(u"over TCP"_s); });
    m_secure.setSslConfiguration(certified());
    EXPECT_TRUE(m_plain.listen(QHostAddress::Any, 80)) << m_plain.errorString().toStdString();
    EXPECT_TRUE(m_secure.listen(QHostAddress::Any, 443)) << m_secure.errorString().toStdString();
    serve(m_plain, false);
    serve(m_secure, true);
    connect(&m_plain, &QTcpServer::pendingConnectionAvailable, this, [this] {
        ++m_connections;
        ++m_plainConnections;
    });
    connect(&m_secure, &QSslServer::startedEncryptionHandshake, this, [this] { ++m_connections; });
}

/// One question, one answer (RFC 1035, 4.1).
void Internet::answerLookup()
{
    constexpr qsizetype headerSize = 12;
    while (m_names.hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_names.receiveDatagram();
        const QByteArray query = datagram.data();
        QStringList labels;
        qsizetype position = headerSize;
        while (position < query.size() && query[position] != 0) {
            const qsizetype length = static_cast<quint8>(query[position]);
            labels.append(QString::fromLatin1(query.mid(position + 1, length)));
            position += length + 1;
        }
        const QByteArray question = query.mid(headerSize, position + 5 - headerSize);
        const QByteArray type = query.mid(position + 1, 2);
        const QString name = labels.join(u'.').toLower();
        if (!m_lookups.contains(name))
            m_lookups.append(name);
        const bool asksForIPv6 = type == QByteArray("\0\x1C", 2);
        const QList<QHostAddress> found = addressesOf(name, asksForIPv6);
        QByteArray answer = query.left(2) + QByteArray("\x81\x80\0\1\0", 5) +
                            static_cast<char>(found.size()) + QByteArray(4, '\0') + question;
        for (const QHostAddress& one : found) {
            answer += QByteArray("\xC0\x0C", 2) + type + QByteArray("\0\1\0\0\0\0\0", 7);
            if (asksForIPv6) {
                const Q_IPV6ADDR bytes = one.toIPv6Address();
                answer += '\x10' + QByteArray(reinterpret_cast<const char*>(bytes.c), sizeof bytes.c);
                continue;
            }
            answer += '\4';
            for (const int shift : {24, 16, 8, 0})
                answer += static_cast<char>(one.toIPv4Address() >> shift);
        }
        m_names.writeDatagram(datagram.makeReply(answer));
    }
}

QList<QHostAddress> Internet::addressesOf(const QString& name, bool isIPv6)
{
    const QList<QList<QHostAddress>> inTurn = m_addresses.value(name, {{address}});
    qsizetype& turn = m_turns[name + (isIPv6 ? u"|6"_s : u"|4"_s)];
    QList<QHostAddress> found;
    for (const QHostAddress& one : inTurn.at(std::min(turn, inTurn.size() - 1))) {
        if ((one.protocol() == QAbstractSocket::IPv6Protocol) == isIPv6)
            found.append(one);
    }
    ++turn;
    return found;
}

void Internet::serve(QTcpServer& server, bool isSecure)
{
    connect(&server, &QTcpServer::pendingConnectionAvailable, this, [this, &server, isSecure] {
        while (QTcpSocket* const socket = server.nextPendingConnection()) {
            bool isIPv4 = false;
            const quint32 four = socket->localAddress().toIPv4Address(&isIPv4);
            const QHostAddress here = isIPv4 ? QHostAddress(four) : socket->localAddress();
            if (!m_reached.contains(here))
                m_reached.append(here);
            const auto buffer = std::make_shared<QByteArray>();
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QTcpSocket::readyRead, this,
                    [this, socket, buffer, isSecure] { read(*socket, *buffer, isSecure); });
            read(*socket, *buffer, isSecure);
        }
    });
}

void Internet::read(QTcpSocket& socket, QByteArray& buffer, bool isSecure)
{
    buffer += socket.readAll();
    const qsizetype end = buffer.indexOf("\r\n\r\n");
    if (end < 0)
        return;
    const QList<QByteArray> lines = buffer.left(end).split('\n');
    const QList<QByteArray> start = lines.first().trimmed().split(' ');
    Request request;
    request.method = start.value(0);
    for (const QByteArray& line : lines.mid(1)) {
        const qsizetype colon = line.indexOf(':');
        request.headers.append({line.left(colon).toLower(), line.mid(colon + 1).trimmed()});
    }
    request.body = buffer.mid(end + 4);
    request.url = u"%1://%2%3"_s.arg(isSecure ? u"https"_s : u"http"_s,
                                     QString::fromLatin1(request.header("host").value_or(QByteArray())),
                                     QString::fromLatin1(start.value(1)));
    m_requests.append(request);
    buffer.clear();
    reply(socket, request);
}

void Internet::reply(QTcpSocket& socket, const Request& request)
{
    static const QByteArray image = picture();
    const Answer answer = m_answers.value(request.url);
    const QByteArray body = answer.body.isEmpty() ? image : answer.body;
    QByteArray text = "HTTP/1.1 " + QByteArray::number(answer.status) + " Answer\r\n";
    if (!m_keepsConnections)
        text += "Connection: close\r\n";
    for (const auto& [name, value] : answer.headers)
        text += name + ": " + value + "\r\n";
    text += "Content-Type: image/png\r\n";
    if (!answer.isEndless)
        text += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    m_bytesSent += body.size();
    socket.write(text + "\r\n" + body);
    if (!answer.isEndless) {
        if (!m_keepsConnections)
            socket.disconnectFromHost();
        return;
    }
    auto* const secure = qobject_cast<QSslSocket*>(&socket);
    if (!secure)
        return;
    // What is written is encrypted at once, whether anybody takes it or not.
    connect(secure, &QSslSocket::encryptedBytesWritten, this, [this, secure] {
        static const QByteArray more(64 * 1024, 'x');
        if (secure->encryptedBytesToWrite() > 0 || secure->state() != QAbstractSocket::ConnectedState)
            return;
        m_bytesSent += more.size();
        secure->write(more);
    });
}

QStringList Internet::hosts() const
{
    QStringList all;
    for (const Request& request : m_requests) {
        const QString host = QString::fromLatin1(request.header("host").value_or(QByteArray()));
        if (!all.contains(host))
            all.append(host);
    }
    return all;
}

void Internet::forget()
{
    m_lookups.clear();
    m_reached.clear();
    m_bytesSent = 0;
    m_requests.clear();
    m_connections = 0;
    m_plainConnections = 0;
}

Internet::Counters Internet::counters()
{
    return {kernelCount("Tcp", "ActiveOpens"),
            kernelCount("Udp", "OutDatagrams") + kernelCountOfIPv6("Udp6OutDatagrams")};
}

} // namespace Larkhaven
