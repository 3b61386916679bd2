#include "domain/Coding.h"
#include "domain/MailError.h"
#include "model/AccountStore.h"
#include "model/AppModel.h"
#include "support/Await.h"
#include "support/ModelFixture.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

template <typename Error>
std::exception_ptr thrown(const Error& error)
{
    return std::make_exception_ptr(error);
}

TEST(AppModelAccounts, SelectsTheInboxOfTheFirstAccountAtStartAndLoadsNothing)
{
    ModelFixture fixture(
        {ModelFixture::imapAccount(u"a@x.example"_s), ModelFixture::imapAccount(u"b@x.example"_s)});
    settle();
    ASSERT_TRUE(fixture.model().sidebarSelection());
    EXPECT_EQ(*fixture.model().sidebarSelection(),
              (SidebarItem{fixture.account(0).id, MailboxRef::system(Mailbox::inbox)}));
    EXPECT_TRUE(fixture.provider(0).calls().isEmpty());
    EXPECT_TRUE(fixture.connections().isEmpty());
    EXPECT_EQ(fixture.model().sortOrder(), QList<SortComparator>{SortComparator()});
}

TEST(AppModelAccounts, SelectsNothingWithoutAccounts)
{
    ModelFixture fixture(QList<Account>{});
    EXPECT_FALSE(fixture.model().sidebarSelection());
    EXPECT_EQ(fixture.model().labelNoun(), u"Folder");
}

TEST(AppModelAccounts, StartsWithoutAlertAndWithoutAccountsWhereTheStoredListIsNotJSON)
{
    ModelFixture fixture;
    fixture.defaults().set(DefaultsKey::accounts, QByteArray("\xff no list"));
    fixture.restartWithoutProviders();
    EXPECT_TRUE(fixture.model().accounts().isEmpty());
    EXPECT_FALSE(fixture.model().errorMessage());
}

TEST(AppModelAccounts, HasNoProviderForAGoogleAccountWithoutClientIDAndShowsAnEmptyListWithNoAlert)
{
    ModelFixture fixture({ModelFixture::googleAccount()});
    fixture.restartWithoutProviders();
    EXPECT_EQ(fixture.model().provider(fixture.account().id), nullptr);
    await(fixture.model().load(0, true));
    EXPECT_TRUE(fixture.model().messages().isEmpty());
    EXPECT_FALSE(fixture.model().isLoading());
    EXPECT_FALSE(fixture.model().errorMessage());
    EXPECT_TRUE(fixture.model().needsReauth().isEmpty());
}

TEST(AppModelAccounts, AsksForANewSignInWhereTheKeychainEntryOfAnIMAPAccountIsGone)
{
    ModelFixture fixture;
    fixture.restartWithoutProviders();
    EXPECT_TRUE(fixture.model().needsReauth().isEmpty());
    EXPECT_EQ(fixture.model().provider(fixture.account().id), nullptr);
    EXPECT_EQ(fixture.model().needsReauth(), QSet<QUuid>{fixture.account().id});
    EXPECT_FALSE(fixture.model().errorMessage());
}

TEST(AppModelAccounts, AsksForANewSignInWhereAnIMAPAccountHasACredentialOfAnotherKind)
{
    ModelFixture fixture;
    fixture.secrets().save(Credential::oauth({u"token"_s, std::nullopt, QDateTime::currentDateTimeUtc(), {}}),
                           fixture.account().id);
    fixture.restartWithoutProviders();
    EXPECT_EQ(fixture.model().provider(fixture.account().id), nullptr);
    EXPECT_EQ(fixture.model().needsReauth(), QSet<QUuid>{fixture.account().id});
}

TEST(AppModelAccounts, BuildsTheProviderOfAnIMAPAccountOnceFromItsPassword)
{
    ModelFixture fixture;
    fixture.secrets().save(Credential::password(u"secret"_s), fixture.account().id);
    fixture.restartWithoutProviders();
    const std::shared_ptr<MailProvider> provider = fixture.model().provider(fixture.account().id);
    ASSERT_NE(provider, nullptr);
    EXPECT_EQ(fixture.model().provider(fixture.account().id), provider);
    EXPECT_EQ(provider->account(), fixture.account());
    await(fixture.model().load(0, true));
    EXPECT_EQ(fixture.connections(), QStringList(u"imap.example.org:993"_s));
}

TEST(AppModelAccounts, HasNoProviderForAnUnknownAccount)
{
    ModelFixture fixture;
    EXPECT_EQ(fixture.model().provider(QUuid::createUuid()), nullptr);
}

TEST(AppModelAccounts, ThrowsTheCacheAwayWhereItsKeyIsLost)
{
    ModelFixture fixture;
    const QString directory =
        u"%1/Larkhaven/%2"_s.arg(fixture.cachesDirectory(), Coding::fromUuid(fixture.account().id));
    ASSERT_TRUE(QDir().mkpath(directory + u"/messages"_s));
    const std::shared_ptr<MailCache> cache = fixture.model().cache(fixture.account().id);
    ASSERT_NE(cache, nullptr);
    EXPECT_FALSE(QDir(directory).exists());
    EXPECT_EQ(fixture.model().cache(fixture.account().id), cache);
}

TEST(AppModelAccounts, ReadsWithTheKeyOfTheLaunchBefore)
{
    ModelFixture fixture;
    await(fixture.model().cache(fixture.account().id)->write(u"key"_s, "bytes"));
    fixture.restart();
    const auto bytes = await(fixture.model().cache(fixture.account().id)->read(u"key"_s));
    EXPECT_EQ(bytes, QByteArray("bytes"));
}

TEST(AppModelAccounts, KeepsATrimmedNicknameAndDropsAnEmptyOne)
{
    ModelFixture fixture;
    int changes = 0;
    QObject::connect(&fixture.model(), &AppModel::accountsChanged, [&changes] { ++changes; });
    fixture.model().setNickname(fixture.account().id, u" Work\n"_s);
    EXPECT_EQ(fixture.model().accounts().first().nickname, u"Work"_s);
    EXPECT_EQ(AccountStore::load(fixture.defaults()).first().nickname, u"Work"_s);
    fixture.model().setNickname(fixture.account().id, u" \t"_s);
    EXPECT_FALSE(fixture.model().accounts().first().nickname);
    fixture.model().setNickname(QUuid::createUuid(), u"Nobody"_s);
    EXPECT_EQ(changes, 2);
}

TEST(AppModelAccounts, ReordersTheListAndSavesIt)
{
    ModelFixture fixture({ModelFixture::imapAccount(u"a@x"_s), ModelFixture::imapAccount(u"b@x"_s),
                          ModelFixture::imapAccount(u"c@x"_s)});
    const auto order = [&fixture] {
        QStringList emails;
        for (const Account& account : fixture.model().accounts())
            emails.append(account.email);
        return emails.join(u' ');
    };
    fixture.model().moveAccounts({0}, 3);
    EXPECT_EQ(order(), u"b@x c@x a@x");
    fixture.model().moveAccounts({1, 2}, 0);
    EXPECT_EQ(order(), u"c@x a@x b@x");
    EXPECT_EQ(AccountStore::load(fixture.defaults()), fixture.model().accounts());
}

TEST(AppModelAccounts, ReportsALostSignInInTheSidebarAndEverythingElseAsAnAlert)
{
    ModelFixture fixture;
    AppModel& model = fixture.model();
    const QUuid id = fixture.account().id;
    model.report(thrown(MailError::notSignedIn()), id);
    EXPECT_EQ(model.needsReauth(), QSet<QUuid>{id});
    EXPECT_FALSE(model.errorMessage());
    model.report(thrown(MailError::cancelled()), id);
    EXPECT_FALSE(model.errorMessage());
    model.report(thrown(MailError::notSignedIn()));
    EXPECT_EQ(model.errorMessage(), u"This account needs to sign in again."_s);
    model.report(thrown(MailError::authFailed(u"no"_s)), id);
    EXPECT_EQ(model.errorMessage(), u"Sign-in failed: no"_s);
    model.report(thrown(MailError::rateLimited()), id);
    EXPECT_EQ(model.errorMessage(),
              u"The mail server is temporarily limiting requests. Please wait a minute and try again."_s);
    model.clearErrorMessage();
    EXPECT_FALSE(model.errorMessage());
}

TEST(AppModelAccounts, NeedsNoNewSignInAnyMoreAfterAPageHasLoaded)
{
    ModelFixture fixture;
    fixture.model().report(thrown(MailError::notSignedIn()), fixture.account().id);
    await(fixture.model().load(0, true));
    EXPECT_TRUE(fixture.model().needsReauth().isEmpty());
}

// --- Keychains that fail

class FailingSecretStore final : public SecretStore {
public:
    std::optional<Credential> load(const QUuid&) override { throw DecodingError(u"no"_s); }
    void save(const Credential&, const QUuid&) override { throw DecodingError(u"no"_s); }
    void remove(const QUuid&) override { throw DecodingError(u"no"_s); }
};

TEST(AppModelKeychain, AsksForANewSignInWhereTheCredentialCannotBeRead)
{
    ModelFixture fixture;
    fixture.setSecrets(std::make_shared<FailingSecretStore>());
    fixture.restartWithoutProviders();
    EXPECT_FALSE(fixture.model().provider(fixture.account().id));
    EXPECT_TRUE(fixture.model().needsReauth().contains(fixture.account().id));
    EXPECT_FALSE(fixture.model().errorMessage());
}

TEST(AppModelKeychain, RemovesAnAccountWhoseCredentialCannotBeRemoved)
{
    ModelFixture fixture;
    fixture.setSecrets(std::make_shared<FailingSecretStore>());
    fixture.restart();
    await(fixture.model().removeAccount(fixture.account().id));
    EXPECT_TRUE(fixture.model().accounts().isEmpty());
}

TEST(AppModelKeychain, MakesANewKeyAndEmptiesTheCacheWhereTheKeyCannotBeRead)
{
    ModelFixture fixture;
    await(fixture.model().cache(fixture.account().id)->write(u"a"_s, "b"));
    fixture.keychain().readFailure = KeychainStatus::failed;
    fixture.restart();
    ASSERT_TRUE(fixture.model().cache(fixture.account().id));
    EXPECT_FALSE(await(fixture.model().cache(fixture.account().id)->read(u"a"_s)));
    EXPECT_EQ(await(fixture.model().cache(fixture.account().id)->usedBytes()), 0);
}

TEST(AppModelKeychain, HasNoCacheWhereANewKeyCannotBeStored)
{
    ModelFixture fixture;
    fixture.keychain().writeFailure = KeychainStatus::failed;
    EXPECT_FALSE(fixture.model().cache(fixture.account().id));
    EXPECT_TRUE(fixture.model().provider(fixture.account().id)) << "the account works without";
}

TEST(AppModelKeychain, HasNoCacheWithAKeyOfAnotherLengthAndLeavesIt)
{
    ModelFixture fixture;
    fixture.cacheKeys().saveData("short", fixture.account().id);
    EXPECT_FALSE(fixture.model().cache(fixture.account().id));
    EXPECT_EQ(fixture.cacheKeys().loadData(fixture.account().id), "short");
}

TEST(AppModelStart, UnlocksTheKeychainAndListsTheMailboxOnScreen)
{
    ModelFixture fixture;
    fixture.provider().hold(u"listMessages"_s);
    Begun<void> beginning(fixture.model().begin());
    EXPECT_TRUE(fixture.model().isLoading());
    ASSERT_TRUE(waitUntil([&fixture] { return !fixture.provider().pending().isEmpty(); }));
    EXPECT_TRUE(fixture.model().isLoading());
    fixture.provider().completeAll();
    beginning.get();
    EXPECT_EQ(fixture.provider().calls(u"listMessages"_s).size(), 1);
    EXPECT_FALSE(fixture.model().isLoading());
}

} // namespace
} // namespace Larkhaven
