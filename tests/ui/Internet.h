#pragma once

#include <QByteArray>
#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QSslServer>
#include <QStringList>
#include <QTcpServer>
#include <QUdpSocket>

#include <optional>
#include <ostream>
#include <utility>

namespace Larkhaven {

/// All of the internet that there is in a network where every address is this machine, in both versions of
/// the protocol: a name server that knows every name, and web servers for all hosts, which write down what
/// they are asked.
///
/// For a network namespace made for it; fails the test elsewhere. Image requests get a picture unless told
/// otherwise.
class Internet : public QObject {
public:
    struct Request {
        QByteArray method;
        QString url;
        QList<std::pair<QByteArray, QByteArray>> headers; ///< names in lower case
        QByteArray body;

        std::optional<QByteArray> header(const QByteArray& name) const;
    };
    struct Answer {
        int status = 200;
        QList<std::pair<QByteArray, QByteArray>> headers;
        QByteArray body = {};   ///< in place of the picture
        bool isEndless = false; ///< the body comes again and again, until nobody wants it any more
    };
    /// What the kernel has seen in this network: any attempt to connect, and any datagram, to anywhere.
    struct Counters {
        qint64 connects = 0;
        qint64 datagrams = 0;

        bool operator==(const Counters&) const = default;
    };

    Internet();

    void answer(const QString& url, const Answer& answer) { m_answers.insert(url, answer); }

    /// Servers keep connections for further requests.
    void keepConnections() { m_keepsConnections = true; }

    /// Where a name leads, in place of an address of the public internet: to the first addresses when it is
    /// looked up for the first time, to the second ones the second time, and to the last ones from then on.
    void resolve(const QString& name, const QList<QList<QHostAddress>>& inTurn)
    {
        m_addresses.insert(name, inTurn);
    }

    /// Names that were looked up, each once.
    const QStringList& lookups() const { return m_lookups; }
    const QList<Request>& requests() const { return m_requests; }
    /// Hosts of the requests, each once.
    QStringList hosts() const;
    /// Connections to the ports of HTTP and HTTPS.
    int connections() const { return m_connections; }
    int plainConnections() const { return m_plainConnections; }
    /// The addresses under which these were reached, each once.
    const QList<QHostAddress>& reached() const { return m_reached; }
    /// Bytes of bodies that were given out.
    qint64 bytesSent() const { return m_bytesSent; }
    void forget();

    static Counters counters();

private:
    void answerLookup();
    void serve(QTcpServer& server, bool isSecure);
    void read(QTcpSocket& socket, QByteArray& buffer, bool isSecure);
    void reply(QTcpSocket& socket, const Request& request);
    QList<QHostAddress> addressesOf(const QString& name, bool isIPv6);

    QUdpSocket m_names;
    QTcpServer m_namesOverTCP;
    QTcpServer m_plain;
    QSslServer m_secure;
    QHash<QString, Answer> m_answers;
    QHash<QString, QList<QList<QHostAddress>>> m_addresses;
    QHash<QString, qsizetype> m_turns; ///< of a name and a type of address
    QList<QHostAddress> m_reached;
    qint64 m_bytesSent = 0;
    bool m_keepsConnections = false;
    QStringList m_lookups;
    QList<Request> m_requests;
    int m_connections = 0;
    int m_plainConnections = 0;
};

inline void PrintTo(const Internet::Counters& counters, std::ostream* stream)
{
    *stream << counters.connects << " connects, " << counters.datagrams << " datagrams";
}

} // namespace Larkhaven
