#include "domain/Coding.h"
#include "domain/MailError.h"
#include "model/AccountStore.h"
#include "model/AppModel.h"
#include "platform/Tasks.h"
#include "providers/IMAPProvider.h"
#include "support/Await.h"
#include "support/ModelFixture.h"
#include "support/QtPrinters.h"

#include <QCoreApplication>
#include <QThread>

#include <atomic>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using SignInService::SignedIn;

TokenSet tokens(const QString& name)
{
    return {name, u"refresh-"_s + name, QDateTime(QDate(2100, 1, 1), QTime(0, 0), Qt::UTC), std::nullopt};
}

Credential credential(const QString& name)
{
    return Credential::oauth(tokens(name));
}

/// A keyring that a test can make refuse and hesitate.
class WilfulStore final : public SecretStore {
public:
    std::optional<Credential> load(const QUuid& accountID) override
    {
        ++loads;
        noteThread();
        if (refusesReading)
            throw KeychainError(KeychainStatus::interactionNotAllowed);
        return items.load(accountID);
    }
    void save(const Credential& saved, const QUuid& accountID) override
    {
        isSaving = true;
        noteThread();
        hesitates.wait(true);
        if (refusesWriting)
            throw KeychainError(KeychainStatus::failed, u"The keyring is locked."_s);
        items.save(saved, accountID);
    }
    void remove(const QUuid& accountID) override
    {
        noteThread();
        items.remove(accountID);
    }
    void goOn()
    {
        hesitates = false;
        hesitates.notify_all();
    }

    InMemorySecretStore items;
    std::atomic<int> loads = 0;
    std::atomic<int> onMainThread = 0; ///< calls that would make the windows stand still
    std::atomic<bool> refusesReading = false;
    std::atomic<bool> refusesWriting = false;
    std::atomic<bool> hesitates = false;
    std::atomic<bool> isSaving = false;

private:
    void noteThread()
    {
        if (QThread::currentThread() == qApp->thread())
            ++onMainThread;
    }
};

/// The browser and the services behind it are functions; what they give is proven elsewhere.
class AppModelSignIn : public testing::Test {
protected:
    explicit AppModelSignIn(const QList<Account>& accounts = {ModelFixture::googleAccount(),
                                                              ModelFixture::microsoftAccount()})
        : fixture(accounts)
    {
        fixture.setInfo(ModelFixture::info());
        fixture.setSecrets(secrets);
        for (const Account& account : accounts)
            secrets->items.save(credential(u"old"_s), account.id);
        fixture.setSignIn([this](ProviderKind provider, const QUuid& id, const std::optional<QString>& hint,
                                 const std::stop_token& stop) { return answer(provider, id, hint, stop); });
        fixture.restart();
    }

    Task<SignedIn> answer(ProviderKind provider, QUuid id, std::optional<QString> hint, std::stop_token stop)
    {
        ++attempts;
        hints.append(hint);
        const std::stop_callback giveUp(stop, [this] { decided.notify(); });
        if (waits)
            co_await decided.wait(std::chrono::seconds(30));
        if (stop.stop_requested())
            throw MailError::cancelled();
        if (failure)
            std::rethrow_exception(failure);
        Account account;
        account.id = id;
        account.provider = provider;
        account.email = email;
        if (provider == ProviderKind::microsoft)
            account.server = ServerSettings::microsoft(email);
        co_return SignedIn{account, credential(u"new"_s)};
    }
    AppModel& model() { return fixture.model(); }
    void signIn(ProviderKind provider) { await(model().signIn(provider)); }
    void signInAgain(const Account& account)
    {
        model().signInAgain(account, [] { ADD_FAILURE() << "no set-up window"; });
        ASSERT_TRUE(waitUntil([this] { return !model().isSigningIn(); }));
        settle();
    }
    QList<Account> stored() { return AccountStore::load(fixture.defaults()); }
    SidebarItem inbox(const QUuid& id) const { return {id, MailboxRef::system(Mailbox::inbox)}; }
    void loseSignIn(qsizetype index)
    {
        model().select(inbox(fixture.account(index).id));
        settle();
        fixture.provider(index).failNext(u"listMessages"_s, MailError::notSignedIn());
        await(model().load(0, true));
        ASSERT_TRUE(model().needsReauth().contains(fixture.account(index).id));
    }

    ModelFixture fixture;
    std::shared_ptr<WilfulStore> secrets = std::make_shared<WilfulStore>();
    QString email = u"new@gmail.com"_s;
    int attempts = 0;
    QList<std::optional<QString>> hints;
    bool waits = false;
    Wakeup decided;
    std::exception_ptr failure;
};

// --- A new account

TEST_F(AppModelSignIn, AddsTheAccountAndShowsItsInbox)
{
    signIn(ProviderKind::google);
    ASSERT_EQ(model().accounts().size(), 3);
    const Account added = model().accounts().last();
    EXPECT_EQ(added.email, email);
    EXPECT_EQ(added.provider, ProviderKind::google);
    EXPECT_EQ(stored(), model().accounts());
    EXPECT_EQ(secrets->items.load(added.id), credential(u"new"_s));
    EXPECT_EQ(model().sidebarSelection(), inbox(added.id));
    EXPECT_EQ(hints, QList<std::optional<QString>>{std::nullopt});
}

TEST_F(AppModelSignIn, TellsThatItIsUnderWay)
{
    waits = true;
    int changes = 0;
    QObject::connect(&model(), &AppModel::browserSignInChanged, [&changes] { ++changes; });
    Begun<void> signingIn(model().signIn(ProviderKind::microsoft));
    EXPECT_TRUE(model().isSigningIn());
    EXPECT_EQ(model().browserSignIn(), ProviderKind::microsoft);
    EXPECT_EQ(changes, 1);
    decided.notify();
    signingIn.get();
    EXPECT_FALSE(model().isSigningIn());
    EXPECT_FALSE(model().browserSignIn());
    EXPECT_EQ(changes, 2);
}

TEST_F(AppModelSignIn, HasOneAccountForAnAddressInWhateverCase)
{
    email = u"MIA@Gmail.com"_s;
    signIn(ProviderKind::google);
    ASSERT_EQ(model().accounts().size(), 2);
    EXPECT_EQ(model().accounts(), QList({fixture.account(0), fixture.account(1)}));
    EXPECT_EQ(secrets->items.load(fixture.account(0).id), credential(u"new"_s));
    EXPECT_EQ(model().sidebarSelection(), inbox(fixture.account(0).id));
}

TEST_F(AppModelSignIn, HasTwoAccountsForOneAddressAtTwoServices)
{
    email = fixture.account(0).email;
    signIn(ProviderKind::microsoft);
    EXPECT_EQ(model().accounts().size(), 3);
}

TEST_F(AppModelSignIn, RenewsTheAccountThatIsThereAlready)
{
    loseSignIn(0);
    email = fixture.account(0).email;
    signIn(ProviderKind::google);
    EXPECT_FALSE(model().needsReauth().contains(fixture.account(0).id));
    EXPECT_NE(model().provider(fixture.account(0).id).get(), &fixture.provider(0)) << "one of its own";
}

TEST_F(AppModelSignIn, KeepsTheNameThatTheUserHasGivenAnAccount)
{
    model().setNickname(fixture.account(0).id, u"Home"_s);
    email = fixture.account(0).email;
    signIn(ProviderKind::google);
    EXPECT_EQ(model().accounts()[0].nickname, u"Home"_s);
}

TEST_F(AppModelSignIn, AddsAnAccountAnewWhileTheOldOneIsBeingRemoved)
{
    waits = true;
    email = fixture.account(0).email;
    Begun<void> signingIn(model().signIn(ProviderKind::google));
    Begun<void> removing(model().removeAccount(fixture.account(0).id));
    decided.notify();
    signingIn.get();
    removing.get();
    ASSERT_EQ(model().accounts().size(), 2);
    EXPECT_EQ(model().accounts()[1].email, email);
    EXPECT_NE(model().accounts()[1].id, fixture.account(0).id);
}

// --- What doesn't come off

TEST_F(AppModelSignIn, ReportsAFailureAndAddsNothing)
{
    failure = std::make_exception_ptr(MailError::authFailed(u"No authorization code"_s));
    signIn(ProviderKind::google);
    EXPECT_EQ(model().errorMessage(), u"Sign-in failed: No authorization code"_s);
    EXPECT_FALSE(model().isSigningIn());
    EXPECT_EQ(model().accounts().size(), 2);
}

TEST_F(AppModelSignIn, ReportsAGrantThatIsGoneBeforeTheAccountIsThere)
{
    failure = std::make_exception_ptr(MailError::notSignedIn());
    signIn(ProviderKind::google);
    EXPECT_EQ(model().errorMessage(), u"This account needs to sign in again."_s);
    EXPECT_TRUE(model().needsReauth().isEmpty());
}

TEST_F(AppModelSignIn, ShowsNothingWhereTheUserGivesUp)
{
    failure = std::make_exception_ptr(MailError::cancelled());
    signIn(ProviderKind::google);
    EXPECT_FALSE(model().errorMessage());
    failure = nullptr;
    waits = true;
    Begun<void> signingIn(model().signIn(ProviderKind::google));
    model().cancelSignIn();
    signingIn.get();
    EXPECT_FALSE(model().errorMessage());
    EXPECT_FALSE(model().isSigningIn());
    EXPECT_EQ(model().accounts().size(), 2);
}

TEST_F(AppModelSignIn, CanBeTriedAgainAfterTheUserGaveUp)
{
    waits = true;
    Begun<void> signingIn(model().signIn(ProviderKind::google));
    model().cancelSignIn();
    signingIn.get();
    waits = false;
    signIn(ProviderKind::google);
    EXPECT_EQ(model().accounts().size(), 3);
}

TEST_F(AppModelSignIn, AddsNothingWhereTheKeyringRefuses)
{
    secrets->refusesWriting = true;
    signIn(ProviderKind::google);
    EXPECT_EQ(model().errorMessage(), u"The keyring is locked."_s);
    EXPECT_EQ(model().accounts().size(), 2);
    EXPECT_EQ(stored().size(), 2);
    EXPECT_FALSE(model().isSigningIn());
}

TEST_F(AppModelSignIn, StoresNothingWhereTheUserGivesUpWhileTheKeyringHesitates)
{
    secrets->hesitates = true;
    Begun<void> signingIn(model().signIn(ProviderKind::google));
    ASSERT_TRUE(waitUntil([this] { return secrets->isSaving.load(); }));
    EXPECT_TRUE(model().browserSignIn());
    model().cancelSignIn();
    secrets->goOn();
    signingIn.get();
    EXPECT_EQ(model().accounts().size(), 2);
    EXPECT_EQ(stored().size(), 2);
    EXPECT_FALSE(model().errorMessage());
}

TEST_F(AppModelSignIn, EndsWithTheAccountThatItWasToRenew)
{
    waits = true;
    model().signInAgain(fixture.account(1), [] {});
    ASSERT_TRUE(model().browserSignIn());
    await(model().removeAccount(fixture.account(0).id));
    EXPECT_TRUE(model().browserSignIn()) << "another account";
    await(model().removeAccount(fixture.account(1).id));
    EXPECT_TRUE(waitUntil([this] { return !model().isSigningIn(); }));
    EXPECT_FALSE(model().browserSignIn());
    EXPECT_FALSE(model().errorMessage());
}

TEST_F(AppModelSignIn, BeginsNoSecondOneButShowsTheFirst)
{
    waits = true;
    int wanted = 0;
    QObject::connect(&model(), &AppModel::browserSignInWanted, [&wanted] { ++wanted; });
    Begun<void> signingIn(model().signIn(ProviderKind::google));
    signIn(ProviderKind::microsoft);
    model().signInAgain(fixture.account(1), [] {});
    EXPECT_EQ(attempts, 1);
    EXPECT_EQ(wanted, 2);
    EXPECT_EQ(model().browserSignIn(), ProviderKind::google);
    decided.notify();
    signingIn.get();
    EXPECT_EQ(model().accounts().size(), 3);
}

TEST_F(AppModelSignIn, EndsWithTheProgram)
{
    waits = true;
    Begun<void> signingIn(model().signIn(ProviderKind::google));
    fixture.restart();
    signingIn.get();
    EXPECT_EQ(model().accounts().size(), 2);
    EXPECT_EQ(attempts, 1);
}

// --- Signing in again

TEST_F(AppModelSignIn, RenewsAnAccountForTheSameAddress)
{
    loseSignIn(1);
    email = u"MIA@outlook.com"_s;
    const qsizetype shown = model().messages().size();
    signInAgain(fixture.account(1));
    EXPECT_EQ(hints, QList<std::optional<QString>>{u"mia@outlook.com"_s});
    EXPECT_EQ(secrets->items.load(fixture.account(1).id), credential(u"new"_s));
    EXPECT_FALSE(model().needsReauth().contains(fixture.account(1).id));
    EXPECT_EQ(model().accounts(), QList({fixture.account(0), fixture.account(1)}));
    EXPECT_EQ(model().messages().size(), shown);
    EXPECT_TRUE(waitUntil([this] { return !fixture.connections().isEmpty(); })) << "all is asked for anew";
}

TEST_F(AppModelSignIn, ChangesNothingWhereItComesBackWithAnotherAddress)
{
    loseSignIn(1);
    email = u"zoe@outlook.com"_s;
    signInAgain(fixture.account(1));
    EXPECT_EQ(model().errorMessage(),
              u"Sign-in failed: You signed in as zoe@outlook.com, not mia@outlook.com."_s);
    EXPECT_EQ(secrets->items.load(fixture.account(1).id), credential(u"old"_s));
    EXPECT_TRUE(model().needsReauth().contains(fixture.account(1).id));
    EXPECT_EQ(model().accounts().size(), 2);
    EXPECT_FALSE(model().isSigningIn());
}

TEST_F(AppModelSignIn, KeepsTheOldSignInWhereTheUserGivesUpWhileTheKeyringHesitates)
{
    email = fixture.account(1).email;
    secrets->hesitates = true;
    model().signInAgain(fixture.account(1), [] {});
    ASSERT_TRUE(waitUntil([this] { return secrets->isSaving.load(); }));
    model().cancelSignIn();
    secrets->goOn();
    ASSERT_TRUE(waitUntil([this] { return !model().isSigningIn(); }));
    EXPECT_EQ(secrets->items.load(fixture.account(1).id), credential(u"old"_s));
    EXPECT_FALSE(model().errorMessage());
}

TEST_F(AppModelSignIn, StoresNothingForAnAccountThatIsRemovedMeanwhile)
{
    waits = true;
    email = fixture.account(1).email;
    model().signInAgain(fixture.account(1), [] {});
    await(model().removeAccount(fixture.account(1).id));
    decided.notify();
    ASSERT_TRUE(waitUntil([this] { return !model().isSigningIn(); }));
    EXPECT_EQ(model().accounts(), QList{fixture.account(0)});
    EXPECT_FALSE(secrets->items.load(fixture.account(1).id));
    EXPECT_FALSE(model().errorMessage());
}

TEST_F(AppModelSignIn, ReportsNothingOfAnAccountThatIsRemovedMeanwhile)
{
    waits = true;
    failure = std::make_exception_ptr(MailError::authFailed(u"x"_s));
    model().signInAgain(fixture.account(1), [] {});
    await(model().removeAccount(fixture.account(1).id));
    decided.notify();
    ASSERT_TRUE(waitUntil([this] { return !model().isSigningIn(); }));
    EXPECT_FALSE(model().errorMessage());
}

TEST_F(AppModelSignIn, KeepsTheCacheOfAnAccountThatIsSignedInAnew)
{
    const std::shared_ptr<MailCache> cache = model().cache(fixture.account(0).id);
    ASSERT_TRUE(cache);
    await(cache->write(u"1"_s, "Subject: x\r\n\r\n"));
    email = fixture.account(0).email;
    signInAgain(fixture.account(0));
    EXPECT_EQ(model().cache(fixture.account(0).id), cache);
    EXPECT_EQ(await(cache->read(u"1"_s)), "Subject: x\r\n\r\n");
}

// --- Removal

TEST_F(AppModelSignIn, TakesTheGrantOfARemovedAccountBackWithoutWaitingForIt)
{
    Wakeup never;
    fixture.setRevocation([&never]() -> Task<> { co_await never.wait(std::chrono::seconds(30)); });
    await(model().removeAccount(fixture.account(0).id));
    EXPECT_EQ(fixture.revocations(),
              (QList<std::pair<Credential, ProviderKind>>{{credential(u"old"_s), ProviderKind::google}}));
    EXPECT_FALSE(secrets->items.load(fixture.account(0).id));
    EXPECT_EQ(model().accounts(), QList{fixture.account(1)});
    never.notify();
    settle();
}

TEST_F(AppModelSignIn, RemovesAnAccountWhoseRevocationFails)
{
    fixture.setRevocation([]() -> Task<> {
        throw MailError::connectionClosed();
        co_return;
    });
    await(model().removeAccount(fixture.account(0).id));
    EXPECT_EQ(model().accounts(), QList{fixture.account(1)});
    EXPECT_FALSE(model().errorMessage());
}

TEST_F(AppModelSignIn, RemovesAnAccountWhoseCredentialCannotBeRead)
{
    secrets->refusesReading = true;
    await(model().removeAccount(fixture.account(0).id));
    EXPECT_EQ(model().accounts(), QList{fixture.account(1)});
    EXPECT_TRUE(fixture.revocations().isEmpty());
}

TEST_F(AppModelSignIn, TakesTheGrantBackThatIsKnownWhereTheKeyringRefusesNow)
{
    await(model().begin());
    secrets->refusesReading = true;
    await(model().removeAccount(fixture.account(0).id));
    EXPECT_EQ(fixture.revocations(),
              (QList<std::pair<Credential, ProviderKind>>{{credential(u"old"_s), ProviderKind::google}}));
}

TEST_F(AppModelSignIn, EmptiesTheDefaultAccountWithItsRemoval)
{
    fixture.defaults().set(DefaultsKey::defaultAccountID, Coding::fromUuid(fixture.account(0).id));
    await(model().removeAccount(fixture.account(1).id));
    EXPECT_NE(fixture.defaults().text(DefaultsKey::defaultAccountID), u"");
    await(model().removeAccount(fixture.account(0).id));
    EXPECT_EQ(fixture.defaults().text(DefaultsKey::defaultAccountID), u"");
}

// --- What a build can do

TEST_F(AppModelSignIn, IsPossibleWhereTheBuildHasAClientForTheService)
{
    EXPECT_TRUE(model().canSignIn(ProviderKind::google));
    EXPECT_TRUE(model().canSignIn(ProviderKind::microsoft));
    EXPECT_FALSE(model().canSignIn(ProviderKind::imap));
    fixture.setInfo(Info({{InfoKey::microsoftClientID, u"x"_s}, {InfoKey::googleClientID, u" "_s}}));
    fixture.restart();
    EXPECT_FALSE(model().canSignIn(ProviderKind::google));
    EXPECT_TRUE(model().canSignIn(ProviderKind::microsoft));
}

TEST_F(AppModelSignIn, HasNoProviderAndNoAlertWhereTheBuildHasNoClient)
{
    fixture.setInfo({});
    fixture.restartWithoutProviders();
    await(model().begin());
    await(model().refresh());
    for (qsizetype index : {0, 1})
        EXPECT_FALSE(model().provider(fixture.account(index).id));
    EXPECT_TRUE(model().messages().isEmpty());
    EXPECT_FALSE(model().errorMessage());
    EXPECT_TRUE(model().needsReauth().isEmpty());
}

TEST_F(AppModelSignIn, HasAProviderOfItsOwnForEachService)
{
    fixture.restartWithoutProviders();
    const std::shared_ptr<MailProvider> google = model().provider(fixture.account(0).id);
    const std::shared_ptr<MailProvider> microsoft = model().provider(fixture.account(1).id);
    ASSERT_TRUE(google);
    EXPECT_TRUE(google->supportsLabels());
    EXPECT_EQ(google->account(), fixture.account(0));
    ASSERT_TRUE(microsoft);
    EXPECT_TRUE(std::dynamic_pointer_cast<IMAPProvider>(microsoft));
    EXPECT_EQ(microsoft->account(), fixture.account(1));
    EXPECT_EQ(model().provider(fixture.account(0).id), google);
    EXPECT_EQ(model().provider(fixture.account(1).id), microsoft);
}

// --- The keyring

TEST_F(AppModelSignIn, AsksTheKeyringOnceForAllThatNeedsTokens)
{
    secrets->items.remove(fixture.account(0).id);
    fixture.restartWithoutProviders();
    secrets->loads = 0;
    await(model().begin());
    EXPECT_EQ(secrets->loads, 2);
    model().select(inbox(fixture.account(0).id));
    for (int round = 0; round < 3; ++round)
        await(model().load(0, true));
    EXPECT_EQ(secrets->loads, 2);
    EXPECT_TRUE(model().needsReauth().contains(fixture.account(0).id));
    EXPECT_FALSE(model().errorMessage());
}

TEST_F(AppModelSignIn, NeverAsksTheKeyringOnTheMainThread)
{
    fixture.restartWithoutProviders();
    await(model().begin());
    email = fixture.account(0).email;
    signIn(ProviderKind::google);
    email = u"new@outlook.com"_s;
    signIn(ProviderKind::microsoft);
    await(model().load(0, true));
    await(model().removeAccount(fixture.account(0).id));
    EXPECT_EQ(model().accounts().size(), 2);
    EXPECT_EQ(secrets->onMainThread, 0);
    EXPECT_EQ(fixture.keychain().readsOnMainThread, 0);
}

TEST_F(AppModelSignIn, MarksAnAccountWhoseTokensTheKeyringRefusesUntilItGivesThem)
{
    fixture.restartWithoutProviders();
    secrets->refusesReading = true;
    await(model().begin());
    model().select(inbox(fixture.account(0).id));
    await(model().load(0, true));
    EXPECT_TRUE(model().needsReauth().contains(fixture.account(0).id));
    EXPECT_FALSE(model().errorMessage());
    secrets->refusesReading = false;
    await(model().refresh());
    EXPECT_FALSE(model().needsReauth().contains(fixture.account(0).id));
    // It has tokens for the service, which can't be reached.
    EXPECT_TRUE(waitUntil([this] { return model().errorMessage().has_value(); }));
}

} // namespace
} // namespace Larkhaven
