#include "domain/MailError.h"
#include "integration/Mailboxes.h"
#include "integration/SubmissionTest.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

OutgoingMessage note(const QString& receiver = QString::fromLatin1(MailServer::secondAddress))
{
    OutgoingMessage message;
    message.from = EmailAddress(u"Mara"_s, QString::fromLatin1(MailServer::address));
    message.to = {EmailAddress(std::nullopt, receiver)};
    message.subject = u"note"_s;
    message.body = u"Hello."_s;
    return message;
}

/// What the user reads.
QString outcome(Task<> task)
{
    try {
        await(std::move(task));
    } catch (const LocalizedError& error) {
        return error.localizedText();
    }
    return u"accepted"_s;
}

class SubmissionFaults : public SubmissionTest, public testing::WithParamInterface<ConnectionSecurity> {
protected:
    void SetUp() override { start(); }

    Account account() { return server().account(GetParam()); }

    /// Both the sending of a message and the test of settings end so, and nothing is left in Sent.
    void expectOutcome(const QString& text)
    {
        const std::shared_ptr<IMAPProvider> provider = server().providerOf(account());
        EXPECT_EQ(outcome(provider->send(note())), text);
        EXPECT_EQ(
            outcome(IMAPProvider::testConnection(*account().server, rightPassword(), MailTransports::open)),
            text);
        EXPECT_TRUE(Mailboxes::list(*provider, Mailbox::sent).messages.isEmpty());
    }

    void refusesTheCertificate(const QString& kind, const QString& text)
    {
        server().stopSubmission();
        server().start({u"--smtp-cert"_s, kind});
        expectOutcome(text);
    }

    static MailAuth rightPassword() { return MailAuth::password(QString::fromLatin1(MailServer::password)); }
};

TEST_P(SubmissionFaults, OfAnUnknownAuthorityAreToldInWords)
{
    refusesTheCertificate(
        u"unknown"_s,
        u"The certificate of localhost was issued by an authority that this computer doesn't trust."_s);
}

TEST_P(SubmissionFaults, OfAnExpiredCertificateAreToldInWords)
{
    refusesTheCertificate(u"expired"_s, u"The certificate of localhost has expired."_s);
}

TEST_P(SubmissionFaults, OfACertificateForAnotherHostAreToldInWords)
{
    refusesTheCertificate(u"otherhost"_s,
                          u"The certificate that localhost presented belongs to another server."_s);
}

TEST_P(SubmissionFaults, OfAServerThatIsDownAreToldInWords)
{
    server().stopSubmission();
    const QString text = outcome(server().providerOf(account())->send(note()));
    EXPECT_EQ(text, outcome(IMAPProvider::testConnection(*account().server, rightPassword(),
                                                         MailTransports::open)));
    EXPECT_TRUE(text.contains(u"refused"_s, Qt::CaseInsensitive)) << text.toStdString();
}

TEST_P(SubmissionFaults, OfAWrongPasswordAreALostSignIn)
{
    const MailAuth wrong = MailAuth::password(u"wrong"_s);
    expectMailError(IMAPProvider::create(account(), wrong, nullptr, MailTransports::open)->send(note()),
                    MailError::Kind::notSignedIn);
    expectMailError(IMAPProvider::testConnection(*account().server, wrong, MailTransports::open),
                    MailError::Kind::notSignedIn);
}

TEST_P(SubmissionFaults, OfAReceiverWhomTheServerDoesNotKnowAreToldInItsWords)
{
    const std::shared_ptr<IMAPProvider> provider = server().providerOf(account());
    expectProtocolError(provider->send(note(u"nobody@larkhaven.example"_s)),
                        u"The mail server said: 550 5.1.1 <nobody@larkhaven.example>: Recipient address "
                        "rejected: User unknown in virtual mailbox table"_s);
    // The sample server sends nothing into the world.
    expectProtocolError(provider->send(note(u"someone@example.org"_s)),
                        u"The mail server said: 554 5.7.1 <someone@example.org>: Relay access denied"_s);
    EXPECT_TRUE(Mailboxes::list(*provider, Mailbox::sent).messages.isEmpty());
}

TEST_P(SubmissionFaults, OfTheMailboxServerAloneFailTheTestOfSettings)
{
    server().restart({u"--cert"_s, u"expired"_s, u"--smtp-cert"_s, u"good"_s});
    EXPECT_EQ(outcome(IMAPProvider::testConnection(*account().server, rightPassword(), MailTransports::open)),
              u"The certificate of localhost has expired.");
    // The message itself goes out; that its copy can't be stored is no failure.
    EXPECT_EQ(outcome(server().providerOf(account())->send(note())), u"accepted");
    server().restart({u"--cert"_s, u"good"_s});
    EXPECT_EQ(Mailboxes::arrived(*server().providerOf(MailServer::secondAddress), Mailbox::inbox, 1)
                  .messages.first()
                  .subject,
              u"note");
}

TEST_P(SubmissionFaults, AreAbsentWhereBothServersTakeTheSettings)
{
    EXPECT_EQ(outcome(IMAPProvider::testConnection(*account().server, rightPassword(), MailTransports::open)),
              u"accepted");
    EXPECT_TRUE(
        Mailboxes::list(*server().providerOf(MailServer::address), Mailbox::inbox).messages.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(OverTLSAndSTARTTLS, SubmissionFaults,
                         testing::Values(ConnectionSecurity::tls, ConnectionSecurity::startTLS),
                         [](const auto& security) { return storedText(security.param).toStdString(); });

class SubmissionWithoutTLS : public SubmissionTest {
protected:
    void SetUp() override { start(); }
};

TEST_F(SubmissionWithoutTLS, IsRefusedWhereTheSettingsWantSTARTTLS)
{
    Account account = server().account(ConnectionSecurity::startTLS);
    account.server->smtpPort = server().plainSubmissionPort();
    const QString text = u"localhost doesn't offer STARTTLS. Try SSL/TLS (usually port 465)."_s;
    expectUnsupported(server().providerOf(account)->send(note()), text);
    expectUnsupported(IMAPProvider::testConnection(
                          *account.server, MailAuth::password(QString::fromLatin1(MailServer::password)),
                          MailTransports::open),
                      text);
}

} // namespace
} // namespace Larkhaven
