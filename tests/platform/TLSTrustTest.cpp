#include "platform/TLSTrust.h"

#include "support/QtPrinters.h"

#include <QSslCertificate>
#include <QSslSocket>

#include <gtest/gtest.h>
#include <optional>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(TLSTrust, AsksForTLS12AtLeastAndVerifiesThePeer)
{
    qunsetenv("SSL_CERT_FILE");
    qunsetenv("SSL_CERT_DIR");
    QObject context;
    std::optional<QSslConfiguration> configuration;
    TLSTrust::configure(&context, [&](const QSslConfiguration& given) { configuration = given; });
    ASSERT_TRUE(configuration) << "the system's authorities are looked up on demand";
    EXPECT_EQ(configuration->protocol(), QSsl::TlsV1_2OrLater);
    EXPECT_EQ(configuration->peerVerifyMode(), QSslSocket::VerifyPeer);
    EXPECT_TRUE(configuration->localCertificate().isNull());
}

TEST(TLSTrust, TellsWhyACertificateWasRefused)
{
    const QString host = u"imap.x.example"_s;
    EXPECT_EQ(TLSTrust::refusalText(host, {QSslError(QSslError::HostNameMismatch)}),
              u"The certificate that imap.x.example presented belongs to another server.");
    EXPECT_EQ(TLSTrust::refusalText(host, {QSslError(QSslError::CertificateExpired)}),
              u"The certificate of imap.x.example has expired.");
    EXPECT_EQ(TLSTrust::refusalText(host, {QSslError(QSslError::CertificateNotYetValid)}),
              u"The certificate of imap.x.example isn't valid yet.");
    EXPECT_EQ(TLSTrust::refusalText(host, {QSslError(QSslError::SelfSignedCertificate)}),
              u"The certificate of imap.x.example was issued by an authority that this computer doesn't "
              u"trust.");
}

TEST(TLSTrust, TellsAnUnknownIssuerBeforeWhatItsCertificateSays)
{
    EXPECT_EQ(TLSTrust::refusalText(u"h"_s, {QSslError(QSslError::HostNameMismatch),
                                             QSslError(QSslError::CertificateExpired),
                                             QSslError(QSslError::UnableToGetLocalIssuerCertificate)}),
              u"The certificate of h was issued by an authority that this computer doesn't trust.");
}

TEST(TLSTrust, TellsAnyOtherFaultInTheWordsOfTheLibrary)
{
    const QSslError error(QSslError::CertificateRevoked);
    EXPECT_EQ(TLSTrust::refusalText(u"h"_s, {error}),
              QString(u"The certificate of h can't be trusted: "_s + error.errorString()));
}

} // namespace
} // namespace Larkhaven
