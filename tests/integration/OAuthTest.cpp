#include "domain/MailError.h"
#include "integration/Mailboxes.h"
#include "integration/SubmissionTest.h"
#include "integration/TokenServer.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/TokensInTurn.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QStringList goodToken{u"good="_s + QString::fromLatin1(MailServer::address)};

std::shared_ptr<IMAPProvider> providerWith(const MailServer& server, std::shared_ptr<TokenSource> tokens)
{
    return IMAPProvider::create(server.account(), MailAuth::oauth(std::move(tokens)), nullptr,
                                MailTransports::open);
}

class MailboxOAuth : public testing::Test {
protected:
    TokenServer m_tokens{goodToken};
    MailServer m_server{QStringList{u"--messages"_s, u"bulk=3"_s} + m_tokens.options()};
};

TEST_F(MailboxOAuth, SignsInWithAGoodToken)
{
    const auto tokens = std::make_shared<TokensInTurn>(QStringList{u"good"_s});
    EXPECT_EQ(Mailboxes::list(*providerWith(m_server, tokens), Mailbox::inbox).messages.size(), 3);
    EXPECT_EQ(tokens->asked, QList<bool>{false});
}

TEST_F(MailboxOAuth, AsksForAnotherTokenWhereTheFirstHasExpired)
{
    const auto tokens = std::make_shared<TokensInTurn>(QStringList{u"expired"_s, u"good"_s});
    EXPECT_EQ(Mailboxes::list(*providerWith(m_server, tokens), Mailbox::inbox).messages.size(), 3);
    EXPECT_EQ(tokens->asked, (QList<bool>{false, true}));
}

TEST_F(MailboxOAuth, IsALostSignInWhereBothTokensAreRefused)
{
    const auto tokens = std::make_shared<TokensInTurn>(QStringList{u"expired"_s, u"worse"_s, u"good"_s});
    const std::shared_ptr<IMAPProvider> provider = providerWith(m_server, tokens);
    expectMailError(provider->listMessages(MailboxRef::system(Mailbox::inbox), std::nullopt, 0, 25, true),
                    MailError::Kind::notSignedIn);
    EXPECT_EQ(tokens->asked, (QList<bool>{false, true}));
}

TEST_F(MailboxOAuth, TakesNoTokenForAnother)
{
    const auto tokens = std::make_shared<TokensInTurn>(QStringList{u"good"_s, u"good"_s});
    Account other = m_server.account();
    other.server->username = QString::fromLatin1(MailServer::secondAddress);
    const auto provider = IMAPProvider::create(other, MailAuth::oauth(tokens), nullptr, MailTransports::open);
    expectMailError(provider->inboxUnreadCount(), MailError::Kind::notSignedIn);
}

class SubmissionOAuth : public SubmissionTest {
protected:
    void SetUp() override { start(m_tokens.options()); }

    static OutgoingMessage note()
    {
        OutgoingMessage message;
        message.from = EmailAddress(u"Mara"_s, QString::fromLatin1(MailServer::address));
        message.to = {EmailAddress(std::nullopt, QString::fromLatin1(MailServer::secondAddress))};
        message.subject = u"note"_s;
        message.body = u"Hello."_s;
        return message;
    }

private:
    TokenServer m_tokens{goodToken};
};

TEST_F(SubmissionOAuth, SendsWithAGoodTokenAndStoresTheCopyWithAnother)
{
    const auto tokens = std::make_shared<TokensInTurn>(QStringList{u"good"_s, u"good"_s});
    await(providerWith(server(), tokens)->send(note()));
    EXPECT_EQ(tokens->asked, (QList<bool>{false, false}));
    Mailboxes::arrived(*server().providerOf(MailServer::secondAddress), Mailbox::inbox, 1);
    EXPECT_EQ(Mailboxes::list(*server().providerOf(MailServer::address), Mailbox::sent).messages.size(), 1);
}

TEST_F(SubmissionOAuth, AsksForAnotherTokenWhereTheFirstHasExpired)
{
    const auto tokens = std::make_shared<TokensInTurn>(QStringList{u"expired"_s, u"good"_s, u"good"_s});
    await(providerWith(server(), tokens)->send(note()));
    EXPECT_EQ(tokens->asked, (QList<bool>{false, true, false}));
    Mailboxes::arrived(*server().providerOf(MailServer::secondAddress), Mailbox::inbox, 1);
}

TEST_F(SubmissionOAuth, IsALostSignInWhereBothTokensAreRefused)
{
    const auto tokens = std::make_shared<TokensInTurn>(QStringList{u"expired"_s, u"worse"_s, u"good"_s});
    expectMailError(providerWith(server(), tokens)->send(note()), MailError::Kind::notSignedIn);
    EXPECT_EQ(tokens->asked, (QList<bool>{false, true}));
    EXPECT_TRUE(
        Mailboxes::list(*server().providerOf(MailServer::secondAddress), Mailbox::inbox).messages.isEmpty());
}

TEST_F(SubmissionOAuth, PassesTheTestOfSettings)
{
    const auto tokens = std::make_shared<TokensInTurn>(QStringList{u"good"_s, u"good"_s});
    await(IMAPProvider::testConnection(*server().account().server, MailAuth::oauth(tokens),
                                       MailTransports::open));
    EXPECT_EQ(tokens->asked, (QList<bool>{false, false}));
}

} // namespace
} // namespace Larkhaven
