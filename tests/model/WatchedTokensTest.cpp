#include "model/WatchedTokens.h"

#include "auth/KeychainStore.h"
#include "domain/MailError.h"
#include "model/KnownSecret.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// Gives what a test sets.
class SetTokens final : public TokenSource {
public:
    Task<QString> validToken(bool forceRefresh) override
    {
        forced = forceRefresh;
        if (failure)
            std::rethrow_exception(failure);
        co_return QString(token);
    }
    QString token = u"one"_s;
    std::exception_ptr failure;
    bool forced = false;
};

class WatchedTokensTest : public testing::Test {
protected:
    void refuse() { source->failure = std::make_exception_ptr(MailError::notSignedIn()); }
    void expectRefusal() { expectMailError(tokens->validToken(true), MailError::Kind::notSignedIn); }

    std::shared_ptr<SetTokens> source = std::make_shared<SetTokens>();
    int refusals = 0;
    std::shared_ptr<WatchedTokens> tokens = WatchedTokens::create(source, [this] { ++refusals; });
};

TEST_F(WatchedTokensTest, GivesTheTokensAsTheyAre)
{
    EXPECT_EQ(await(tokens->validToken(false)), u"one");
    EXPECT_FALSE(source->forced);
    EXPECT_EQ(await(tokens->validToken(true)), u"one");
    EXPECT_TRUE(source->forced);
    EXPECT_FALSE(tokens->isRefused());
    EXPECT_EQ(refusals, 0);
}

TEST_F(WatchedTokensTest, TellsEachTimeThatTheGrantIsGone)
{
    refuse();
    expectRefusal();
    EXPECT_TRUE(tokens->isRefused());
    expectRefusal();
    EXPECT_EQ(refusals, 2);
}

TEST_F(WatchedTokensTest, TakesNoOtherFailureForAGrantThatIsGone)
{
    source->failure = std::make_exception_ptr(MailError::connectionClosed());
    EXPECT_THROW(await(tokens->validToken(false)), MailError);
    EXPECT_FALSE(tokens->isRefused());
    EXPECT_EQ(refusals, 0);
}

TEST_F(WatchedTokensTest, TakesTheTokenThatTheServiceHasRefusedForNoNewGrant)
{
    await(tokens->validToken(false));
    refuse();
    expectRefusal();
    source->failure = nullptr;
    EXPECT_EQ(await(tokens->validToken(false)), u"one") << "its time lasts";
    EXPECT_TRUE(tokens->isRefused());
    source->token = u"two"_s;
    await(tokens->validToken(false));
    EXPECT_FALSE(tokens->isRefused());
}

TEST_F(WatchedTokensTest, TakesARenewalForAGrant)
{
    refuse();
    expectRefusal();
    source->failure = nullptr;
    await(tokens->validToken(true));
    EXPECT_FALSE(tokens->isRefused());
}

// --- What is known of a secret

class RefusingStore final : public SecretStore {
public:
    std::optional<Credential> load(const QUuid&) override { throw KeychainError(KeychainStatus::failed); }
    void save(const Credential& saved, const QUuid&) override
    {
        if (refuses)
            throw KeychainError(KeychainStatus::failed);
        credential = saved;
    }
    void remove(const QUuid&) override { credential.reset(); }

    bool refuses = false;
    std::optional<Credential> credential;
};

TEST(KnownSecret, AsksForNothingThatIsKnown)
{
    const auto store = std::make_shared<RefusingStore>();
    KnownSecret known(store, Credential::password(u"a"_s));
    EXPECT_EQ(known.load({}), Credential::password(u"a"_s));
    EXPECT_EQ(known.find({}), Credential::password(u"a"_s));
    KnownSecret nothing(store, std::nullopt);
    EXPECT_FALSE(nothing.load({}));
}

TEST(KnownSecret, KnowsWhatWasStoredAndNothingThatWasRefused)
{
    const auto store = std::make_shared<RefusingStore>();
    KnownSecret known(store, Credential::password(u"a"_s));
    known.save(Credential::password(u"b"_s), {});
    EXPECT_EQ(store->credential, Credential::password(u"b"_s));
    EXPECT_EQ(known.load({}), Credential::password(u"b"_s));
    store->refuses = true;
    EXPECT_THROW(known.save(Credential::password(u"c"_s), {}), KeychainError);
    EXPECT_EQ(known.load({}), Credential::password(u"b"_s));
    known.remove({});
    EXPECT_FALSE(store->credential);
    EXPECT_FALSE(known.load({}));
}

} // namespace
} // namespace Larkhaven
