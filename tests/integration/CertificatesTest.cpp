#include "domain/MailError.h"
#include "integration/MailServer.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);

QString refusal(const MailServer& server, ConnectionSecurity security)
{
    try {
        await(server.provider(security)->listMessages(inbox, std::nullopt, 0, 25, true));
    } catch (const StreamError& error) {
        return error.localizedText();
    } catch (const LocalizedError& error) {
        return u"not an error of the stream: "_s + error.localizedText();
    }
    return u"accepted"_s;
}

class Certificates : public testing::TestWithParam<ConnectionSecurity> {
protected:
    void refuses(const QString& certificate, const QString& text)
    {
        server.restart({u"--cert"_s, certificate});
        EXPECT_EQ(refusal(server, GetParam()), text);
        server.restart({u"--cert"_s, u"good"_s});
        EXPECT_EQ(refusal(server, GetParam()), u"accepted");
    }

    MailServer server;
};

TEST_P(Certificates, OfAnUnknownAuthorityAreRefused)
{
    refuses(u"unknown"_s,
            u"The certificate of localhost was issued by an authority that this computer doesn't trust."_s);
}

TEST_P(Certificates, SignedByThemselvesAreRefused)
{
    refuses(u"selfsigned"_s,
            u"The certificate of localhost was issued by an authority that this computer doesn't trust."_s);
}

TEST_P(Certificates, ThatHaveExpiredAreRefused)
{
    refuses(u"expired"_s, u"The certificate of localhost has expired."_s);
}

TEST_P(Certificates, ForAnotherHostAreRefused)
{
    refuses(u"otherhost"_s, u"The certificate that localhost presented belongs to another server."_s);
}

INSTANTIATE_TEST_SUITE_P(OverTLSAndSTARTTLS, Certificates,
                         testing::Values(ConnectionSecurity::tls, ConnectionSecurity::startTLS),
                         [](const auto& security) { return storedText(security.param).toStdString(); });

} // namespace
} // namespace Larkhaven
