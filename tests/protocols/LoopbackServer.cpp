#include "LoopbackServer.h"

#include "support/WaitUntil.h"

#include <QFile>
#include <QSslCertificate>
#include <QSslKey>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// Whoever runs the program by hand trusts the tests' authority as well; the configuration of TLS is read
/// once.
class TrustedAuthority final : public testing::Environment {
public:
    void SetUp() override
    {
        qputenv("SSL_CERT_FILE", QFile::encodeName(LoopbackServer::certificateFolder() + u"/ca.pem"_s));
    }
};
const testing::Environment* const trustedAuthority = testing::AddGlobalTestEnvironment(new TrustedAuthority);

} // namespace

LoopbackServer::LoopbackServer(const QString& certificate)
    : m_certificate(certificate)
{
    EXPECT_TRUE(listen(QHostAddress::LocalHost));
}

QString LoopbackServer::certificateFolder()
{
    return QStringLiteral(CERTIFICATES);
}

QString LoopbackServer::certificateFile(const QString& certificate)
{
    return certificateFolder() + u"/certificates/"_s + certificate + u".pem"_s;
}

QString LoopbackServer::keyFile(const QString& certificate)
{
    return certificateFolder() + u"/certificates/"_s + certificate + u".key"_s;
}

int LoopbackServer::refusedPort()
{
    QTcpServer server;
    EXPECT_TRUE(server.listen(QHostAddress::LocalHost));
    return server.serverPort();
}

void LoopbackServer::incomingConnection(qintptr descriptor)
{
    m_pending.append(descriptor);
}

qintptr LoopbackServer::acceptDescriptor()
{
    if (!waitUntil([this] { return !m_pending.isEmpty(); })) {
        ADD_FAILURE() << "nobody connected";
        return -1;
    }
    return m_pending.takeFirst();
}

QSslSocket* LoopbackServer::accept()
{
    auto* const socket = new QSslSocket(this);
    QFile key(keyFile(m_certificate));
    EXPECT_TRUE(key.open(QIODevice::ReadOnly));
    socket->setLocalCertificateChain(QSslCertificate::fromPath(certificateFile(m_certificate)));
    socket->setPrivateKey(QSslKey(key.readAll(), QSsl::Ec));
    EXPECT_TRUE(socket->setSocketDescriptor(acceptDescriptor()));
    return socket;
}

QSslSocket* LoopbackServer::acceptWithTLS()
{
    QSslSocket* const socket = accept();
    socket->startServerEncryption();
    return socket;
}

} // namespace Larkhaven
