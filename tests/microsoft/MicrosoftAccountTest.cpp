#include "app/signin/SignInService.h"
#include "auth/TokenManager.h"
#include "domain/ServiceEndpoints.h"
#include "integration/Mailboxes.h"
#include "integration/SubmissionTest.h"
#include "integration/TokenServer.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/WebServer.h"

#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QUrlQuery>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// A Microsoft account on real servers, which take tokens that the double of the sign-in service gives out.
/// Outlook's host names lead to them by the connections that are opened; all else is as with Outlook.
class MicrosoftAccountTest : public SubmissionTest {
protected:
    /// Whether root is the system's, and not that of a namespace with one user.
    static bool hasAllUsers()
    {
        QFile map(u"/proc/self/uid_map"_s);
        return map.open(QIODevice::ReadOnly) && map.readAll().simplified() == "0 0 4294967295";
    }
    /// That of the network, before a mail server names another.
    static const QByteArray& webAuthority()
    {
        static const QByteArray first = qgetenv("SSL_CERT_FILE");
        return first;
    }

    void SetUp() override
    {
        webAuthority();
        if (!hasAllUsers())
            GTEST_SKIP() << "the mail servers need root, which an ordinary user's network can't give";
        start(m_tokens.options());
        if (IsSkipped())
            return;
        trustBoth();
        m_account.id = QUuid::createUuid();
        m_account.provider = ProviderKind::microsoft;
        m_account.email = QString::fromLatin1(MailServer::address);
        m_account.server = ServerSettings::microsoft(m_account.email);
    }

    /// The mail servers and the sign-in service have authorities of their own.
    void trustBoth()
    {
        QByteArray authorities;
        for (const QByteArray& name : {webAuthority(), qgetenv("SSL_CERT_FILE")}) {
            QFile file(QString::fromLocal8Bit(name));
            ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
            authorities += file.readAll() + '\n';
        }
        QFile both(m_folder.filePath(u"authorities.pem"_s));
        ASSERT_TRUE(both.open(QIODevice::WriteOnly));
        both.write(authorities);
        both.close();
        qputenv("SSL_CERT_FILE", both.fileName().toLocal8Bit());
    }

    WebReply token(const WebRequest& request)
    {
        EXPECT_EQ(request.host, "login.microsoftonline.com");
        EXPECT_EQ(request.target, "/consumers/oauth2/v2.0/token");
        if (!m_isGranted)
            return {400, R"({"error":"invalid_grant"})"};
        const QByteArray claims = R"({"email":"mara@larkhaven.example","name":"Mara Lindqvist"})";
        return {200, "{\"access_token\":\"" + m_given +
                         "\",\"refresh_token\":\"refresh\",\"expires_in\":3600,"
                         "\"id_token\":\"e30." +
                         claims.toBase64(QByteArray::Base64UrlEncoding) + ".\"}"};
    }

    /// Connections to Outlook lead to the servers of the test.
    TransportFactory transports()
    {
        const ServerSettings mailbox = *server().account(ConnectionSecurity::tls).server;
        const ServerSettings submission = *server().account(ConnectionSecurity::startTLS).server;
        return [mailbox, submission](const QString& host, int port, bool implicitTLS) {
            const bool isMailbox = host == ServiceEndpoints::Microsoft::imapHost;
            EXPECT_EQ(isMailbox, host != ServiceEndpoints::Microsoft::smtpHost);
            EXPECT_EQ(port, isMailbox ? 993 : 587);
            EXPECT_EQ(implicitTLS, isMailbox);
            return isMailbox ? MailTransports::open(mailbox.imapHost, mailbox.imapPort, true)
                             : MailTransports::open(submission.smtpHost, submission.smtpPort, false);
        };
    }

    /// The account's provider; its keyring holds this access token, which looks good for an hour.
    std::shared_ptr<IMAPProvider> provider(const QString& accessToken)
    {
        m_secrets->save(Credential::oauth({accessToken, u"refresh"_s,
                                           QDateTime::currentDateTimeUtc().addSecs(3600), std::nullopt}),
                        m_account.id);
        const auto manager = TokenManager::create(m_account.id, OAuthClient(m_config), m_secrets);
        return IMAPProvider::create(m_account, MailAuth::oauth(manager), nullptr, transports());
    }

    Task<SignInService::SignedIn> signIn()
    {
        const SignInService::Authenticate authenticate = [](const QByteArray& url, const QString&,
                                                            const std::stop_token&) {
            const QUrlQuery query(QUrl::fromEncoded(url).query(QUrl::FullyEncoded));
            return redirect(query.queryItemValue(u"state"_s));
        };
        const Info info({{InfoKey::microsoftClientID, u"client"_s}});
        const SignInService::Services services{info, authenticate, transports()};
        return SignInService::signIn(ProviderKind::microsoft, services, m_account.id, std::nullopt);
    }
    static Task<QByteArray> redirect(QString state)
    {
        co_return "msauth.com.tundra42.larkhaven://auth?code=code&state=" + state.toUtf8();
    }

    static OutgoingMessage note()
    {
        OutgoingMessage message;
        message.from = EmailAddress(u"Mara"_s, QString::fromLatin1(MailServer::address));
        message.to = {EmailAddress(std::nullopt, QString::fromLatin1(MailServer::secondAddress))};
        message.subject = u"note"_s;
        message.body = u"Hello."_s;
        return message;
    }

    const OAuthConfig m_config = OAuthConfig::microsoft(u"client"_s, u"com.tundra42.larkhaven"_s);
    const std::shared_ptr<InMemorySecretStore> m_secrets = std::make_shared<InMemorySecretStore>();
    QTemporaryDir m_folder;
    Account m_account;
    QByteArray m_given = "fresh";
    bool m_isGranted = true;
    TokenServer m_tokens{{u"fresh="_s + QString::fromLatin1(MailServer::address)}};
    WebServer m_web{[this](const WebRequest& request) { return token(request); }};
};

TEST_F(MicrosoftAccountTest, ListsItsInboxWithATokenThatIsRenewedInTheMiddleOfTheLogin)
{
    const auto mailbox = provider(u"expired"_s);
    EXPECT_EQ(
        await(mailbox->listMessages(MailboxRef::system(Mailbox::inbox), std::nullopt, 0, 25, true)).total, 0);
    ASSERT_EQ(m_web.requests().size(), 1);
    EXPECT_TRUE(m_web.requests().first().body.contains("refresh_token=refresh"));
    EXPECT_EQ(m_secrets->load(m_account.id)->tokens()->accessToken, u"fresh");
}

TEST_F(MicrosoftAccountTest, SendsWithATokenThatIsRenewedInTheMiddleOfTheLogin)
{
    await(provider(u"expired"_s)->send(note()));
    EXPECT_EQ(m_web.requests().size(), 1);
    Mailboxes::arrived(*server().providerOf(MailServer::secondAddress), Mailbox::inbox, 1);
}

TEST_F(MicrosoftAccountTest, IsALostSignInWhereTheGrantIsGone)
{
    m_isGranted = false;
    expectMailError(provider(u"expired"_s)->inboxUnreadCount(), MailError::Kind::notSignedIn);
    expectMailError(provider(u"expired"_s)->send(note()), MailError::Kind::notSignedIn);
}

TEST_F(MicrosoftAccountTest, IsProvenOnBothServersAtItsSignIn)
{
    const SignInService::SignedIn signedIn = await(signIn());
    EXPECT_EQ(signedIn.account.email, QString::fromLatin1(MailServer::address));
    EXPECT_EQ(signedIn.account.displayName, u"Mara Lindqvist");
    EXPECT_EQ(signedIn.account.server, ServerSettings::microsoft(signedIn.account.email));
    EXPECT_EQ(signedIn.credential.tokens()->accessToken, u"fresh");
}

TEST_F(MicrosoftAccountTest, SaysWhatToLookForWhereTheServersRefuseItsTokens)
{
    m_given = "not-for-mail";
    expectMailError(
        signIn(), MailError::Kind::authFailed,
        u"Outlook's mail servers didn't accept the sign-in. In Outlook.com, check Settings ▸ Mail ▸ "
        "Forwarding and IMAP ▸ “Let devices and apps use IMAP”."_s);
}

} // namespace
} // namespace Larkhaven
