#pragma once

#include <QByteArray>
#include <QList>
#include <QSslSocket>
#include <QString>
#include <QTcpServer>

#include <memory>

namespace Larkhaven {

/// A server on a free port of 127.0.0.1. Its connections are plain until the test begins TLS on them.
class LoopbackServer final : public QTcpServer {
public:
    /// `certificate` is the name of a certificate of `certificateFolder`.
    explicit LoopbackServer(const QString& certificate = QStringLiteral("good"));

    /// The next connection; waits for it. Owned by the server.
    QSslSocket* accept();
    /// The next connection, on which TLS has begun.
    QSslSocket* acceptWithTLS();

    /// Connections that nobody has accepted.
    qsizetype waitingCount() const { return m_pending.size(); }
    /// The next connection as the system knows it. Owned by the caller.
    qintptr acceptDescriptor();

    /// A port on which nobody listens.
    static int refusedPort();
    /// Where the build has put the certificates; "ca.pem" in it is the authority that SSL_CERT_FILE names.
    static QString certificateFolder();
    static QString certificateFile(const QString& certificate);
    static QString keyFile(const QString& certificate);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    QString m_certificate;
    QList<qintptr> m_pending;
};

} // namespace Larkhaven
