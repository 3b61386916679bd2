#include "auth/TokenManager.h"

#include "domain/LocalizedError.h"
#include "http/HTTPMessage.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/WebServer.h"

#include <atomic>
#include <semaphore>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace Larkhaven {
namespace {

class StoreError : public LocalizedError {
public:
    QString localizedText() const override { return u"refused"_s; }
};

/// A store that refuses or waits where it is told to.
class StubbornStore final : public SecretStore {
public:
    /// As a keyring: what can't be read is nothing to who doesn't ask further.
    std::optional<Credential> load(const QUuid& accountID) override
    {
        ++loads;
        return refusesLoads ? std::nullopt : items.load(accountID);
    }

    std::optional<Credential> find(const QUuid& accountID) override
    {
        if (refusesLoads)
            throw StoreError();
        return load(accountID);
    }

    void save(const Credential& credential, const QUuid& accountID) override
    {
        ++saves;
        if (isHeld)
            release.acquire();
        if (refusesSaves)
            throw StoreError();
        items.save(credential, accountID);
    }

    void remove(const QUuid& accountID) override { items.remove(accountID); }

    InMemorySecretStore items;
    std::atomic<int> loads = 0;
    std::atomic<int> saves = 0;
    std::atomic<bool> refusesLoads = false;
    std::atomic<bool> refusesSaves = false;
    std::atomic<bool> isHeld = false;
    std::counting_semaphore<> release{0};
};

class TokenManagerTest : public testing::Test {
protected:
    static TokenSet tokens(const QString& access, std::chrono::seconds left)
    {
        return {access, u"refresh-1"_s, QDateTime::currentDateTimeUtc().addSecs(left.count()), std::nullopt};
    }

    void keep(const TokenSet& tokens) { store->items.save(Credential::oauth(tokens), id); }
    QString stored() { return store->items.load(id)->tokens()->accessToken; }

    /// As a request to a service does.
    Task<QString> askTwice()
    {
        try {
            co_await manager->validToken(false);
        } catch (const MailError&) {
        }
        QString token = co_await manager->validToken(true);
        co_return token;
    }

    qsizetype refreshes() const { return server.requests().size(); }

    static void expectStoreError(Task<QString> task) { EXPECT_THROW(await(std::move(task)), StoreError); }

    const QUuid id = QUuid::createUuid();
    int answered = 0;
    std::optional<WebReply> reply;
    WebServer server{[this](const WebRequest&) {
        const QByteArray number = QByteArray::number(++answered);
        return reply.value_or(WebReply{200, "{\"access_token\":\"new-" + number + "\",\"expires_in\":3600}"});
    }};
    const std::shared_ptr<StubbornStore> store = std::make_shared<StubbornStore>();
    const std::shared_ptr<TokenManager> manager =
        TokenManager::create(id, OAuthClient(OAuthConfig::google(u"123"_s)), store);
};

TEST_F(TokenManagerTest, GivesAGoodStoredTokenWithoutTheNetwork)
{
    keep(tokens(u"kept"_s, 61s + 5s));
    EXPECT_EQ(await(manager->validToken(false)), u"kept");
    EXPECT_EQ(await(manager->validToken(false)), u"kept");
    EXPECT_EQ(refreshes(), 0);
    EXPECT_EQ(store->loads, 1);
}

TEST_F(TokenManagerTest, RefreshesAtOnceWhereItIsForcedWithNothingReadYet)
{
    keep(tokens(u"kept"_s, 1h));
    EXPECT_EQ(await(manager->validToken(true)), u"new-1");
    EXPECT_EQ(refreshes(), 1);
}

TEST_F(TokenManagerTest, RefreshesATokenThatEndsWithinAMinute)
{
    keep(tokens(u"kept"_s, 60s));
    EXPECT_EQ(await(manager->validToken(false)), u"new-1");
    EXPECT_EQ(server.requests().first().body,
              "client_id=123&grant_type=refresh_token&refresh_token=refresh-1");
}

TEST_F(TokenManagerTest, MakesOneRequestForTwoWhoAskWithAStaleToken)
{
    keep(tokens(u"kept"_s, 0s));
    Begun<QString> first(manager->validToken(false));
    Begun<QString> second(manager->validToken(false));
    EXPECT_EQ(first.get(), u"new-1");
    EXPECT_EQ(second.get(), u"new-1");
    EXPECT_EQ(refreshes(), 1);
}

TEST_F(TokenManagerTest, MakesOneRequestForTwentyForcedAndUnforced)
{
    keep(tokens(u"kept"_s, 0s));
    std::vector<Begun<QString>> asking;
    for (int number = 0; number < 20; ++number)
        asking.emplace_back(manager->validToken(number % 2 == 0));
    for (Begun<QString>& one : asking)
        EXPECT_EQ(one.get(), u"new-1");
    EXPECT_EQ(refreshes(), 1);
    EXPECT_EQ(store->saves, 1);
}

TEST_F(TokenManagerTest, MakesOneRequestWhereAGoodTokenIsForced)
{
    keep(tokens(u"kept"_s, 1h));
    EXPECT_EQ(await(manager->validToken(false)), u"kept");
    EXPECT_EQ(await(manager->validToken(true)), u"new-1");
    EXPECT_EQ(await(manager->validToken(false)), u"new-1");
    EXPECT_EQ(await(manager->validToken(true)), u"new-2");
    EXPECT_EQ(refreshes(), 2);
}

TEST_F(TokenManagerTest, GivesAGoodTokenAtOnceWhileAnotherIsForced)
{
    keep(tokens(u"kept"_s, 1h));
    await(manager->validToken(false));
    store->isHeld = true;
    Begun<QString> forced(manager->validToken(true));
    EXPECT_EQ(await(manager->validToken(false)), u"kept");
    EXPECT_FALSE(forced.isDone());
    store->release.release();
    EXPECT_EQ(forced.get(), u"new-1");
}

TEST_F(TokenManagerTest, DoesNotTakeAStoredTokenForAnAnswerToWhoWasRefused)
{
    keep(tokens(u"kept"_s, 1h));
    Begun<QString> plain(manager->validToken(false));
    Begun<QString> forced(manager->validToken(true));
    EXPECT_EQ(plain.get(), u"kept");
    EXPECT_EQ(forced.get(), u"new-1");
}

TEST_F(TokenManagerTest, StoresATokenBeforeItHandsItOut)
{
    keep(tokens(u"kept"_s, 0s));
    store->isHeld = true;
    Begun<QString> asking(manager->validToken(false));
    ASSERT_TRUE(waitUntil([this] { return store->saves == 1; }));
    settle();
    EXPECT_FALSE(asking.isDone());
    store->release.release();
    EXPECT_EQ(asking.get(), u"new-1");
    EXPECT_EQ(stored(), u"new-1");
}

TEST_F(TokenManagerTest, GivesThoseWhoWaitTheSameFailureAndAsksAgainLater)
{
    keep(tokens(u"kept"_s, 0s));
    reply = WebReply{500, "{\"error\":\"server_error\"}"};
    Begun<QString> first(manager->validToken(false));
    Begun<QString> second(manager->validToken(true));
    for (Begun<QString>* const one : {&first, &second}) {
        try {
            one->get();
            ADD_FAILURE();
        } catch (const MailError& error) {
            EXPECT_EQ(error.text(), u"server_error");
        }
    }
    EXPECT_EQ(refreshes(), 1);
    reply.reset();
    EXPECT_EQ(await(manager->validToken(false)), u"new-2");
    EXPECT_EQ(refreshes(), 2);
}

TEST_F(TokenManagerTest, AsksOnceMoreForAllWhoAskAgainAfterAFailure)
{
    keep(tokens(u"kept"_s, 0s));
    reply = WebReply{400, "{\"error\":\"invalid_grant\"}"};
    for (const bool isForced : {false, true}) {
        std::vector<Begun<QString>> asking;
        for (int number = 0; number < 20; ++number)
            asking.emplace_back(manager->validToken(isForced));
        for (Begun<QString>& one : asking)
            EXPECT_THROW(one.get(), MailError);
    }
    EXPECT_EQ(refreshes(), 2);
    // Also where the second time comes while the first ones are being answered.
    std::vector<Begun<QString>> asking;
    for (int number = 0; number < 20; ++number)
        asking.emplace_back(askTwice());
    for (Begun<QString>& one : asking)
        EXPECT_THROW(one.get(), MailError);
    EXPECT_EQ(refreshes(), 4);
}

TEST_F(TokenManagerTest, KeepsTheRefreshTokenThroughALostGrant)
{
    keep(tokens(u"kept"_s, 0s));
    reply = WebReply{400, "{\"error\":\"invalid_grant\"}"};
    expectMailError(manager->validToken(false), MailError::Kind::notSignedIn);
    EXPECT_EQ(stored(), u"kept");
    reply.reset();
    EXPECT_EQ(await(manager->validToken(false)), u"new-2");
}

TEST_F(TokenManagerTest, FailsForAPasswordWithoutAnyRequest)
{
    store->items.save(Credential::password(u"p"_s), id);
    expectMailError(manager->validToken(false), MailError::Kind::notSignedIn);
    expectMailError(manager->validToken(true), MailError::Kind::notSignedIn);
    EXPECT_EQ(refreshes(), 0);
}

TEST_F(TokenManagerTest, FailsWhereNothingIsStoredWithoutAnyRequest)
{
    expectMailError(manager->validToken(false), MailError::Kind::notSignedIn);
    EXPECT_EQ(refreshes(), 0);
}

TEST_F(TokenManagerTest, FailsForAStaleTokenThatCannotBeRenewed)
{
    TokenSet stale = tokens(u"kept"_s, 0s);
    stale.refreshToken.reset();
    keep(stale);
    expectMailError(manager->validToken(false), MailError::Kind::notSignedIn);
    EXPECT_EQ(refreshes(), 0);
}

TEST_F(TokenManagerTest, TakesAStoreThatRefusesForNoLostSignIn)
{
    keep(tokens(u"kept"_s, 1h));
    store->refusesLoads = true;
    expectStoreError(manager->validToken(false));
    store->refusesLoads = false;
    EXPECT_EQ(await(manager->validToken(false)), u"kept");
}

TEST_F(TokenManagerTest, FailsWhereATokenCannotBeStoredAndKeepsItForTheNextCall)
{
    keep(tokens(u"kept"_s, 0s));
    store->refusesSaves = true;
    expectStoreError(manager->validToken(false));
    EXPECT_EQ(await(manager->validToken(false)), u"new-1");
    EXPECT_EQ(refreshes(), 1);
}

TEST_F(TokenManagerTest, UsesANewRefreshTokenFromThenOn)
{
    keep(tokens(u"kept"_s, 0s));
    reply = WebReply{200, R"({"access_token":"a","expires_in":1,"refresh_token":"refresh-2"})"};
    await(manager->validToken(false));
    await(manager->validToken(false));
    EXPECT_TRUE(server.requests().last().body.endsWith("refresh_token=refresh-2"));
    EXPECT_EQ(store->items.load(id)->tokens()->refreshToken, u"refresh-2");
}

TEST_F(TokenManagerTest, PassesAFailureOfTheNetworkOn)
{
    keep(tokens(u"kept"_s, 0s));
    reply = WebReply{.end = WebReply::End::drop};
    EXPECT_THROW(await(manager->validToken(false)), HTTPError);
}

TEST_F(TokenManagerTest, StoresNothingMoreOnceItIsRetired)
{
    keep(tokens(u"kept"_s, 0s));
    reply = WebReply{.end = WebReply::End::silent};
    Begun<QString> asking(manager->validToken(false));
    ASSERT_TRUE(waitUntil([this] { return refreshes() == 1; }));
    await(manager->retire());
    expectMailError(manager->validToken(true), MailError::Kind::cancelled);
    EXPECT_THROW(asking.get(), MailError);
    EXPECT_EQ(store->saves, 0);
    EXPECT_EQ(refreshes(), 1);
}

TEST_F(TokenManagerTest, GivesNoTokenThatItKnowsOnceItIsRetired)
{
    keep(tokens(u"kept"_s, 1h));
    await(manager->validToken(false));
    await(manager->retire());
    expectMailError(manager->validToken(false), MailError::Kind::cancelled);
}

TEST_F(TokenManagerTest, IsRetiredWhenWhatIsBeingStoredHasBeenStored)
{
    keep(tokens(u"kept"_s, 0s));
    store->isHeld = true;
    Begun<QString> asking(manager->validToken(false));
    ASSERT_TRUE(waitUntil([this] { return store->saves == 1; }));
    Begun<void> retiring(manager->retire());
    settle();
    EXPECT_FALSE(retiring.isDone());
    store->release.release();
    retiring.get();
    EXPECT_EQ(stored(), u"new-1");
}

} // namespace
} // namespace Larkhaven
