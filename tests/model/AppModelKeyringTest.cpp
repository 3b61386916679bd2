#include "AppModelSetup.h"
#include "domain/Coding.h"
#include "platform/Tasks.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <QDir>

#include <atomic>

using namespace Qt::StringLiterals;

// The model under a keyring that refuses, hesitates or isn't there.

namespace Larkhaven {
namespace {

class RefusingSecretStore final : public SecretStore {
public:
    std::optional<Credential> load(const QUuid&) override
    {
        ++loads;
        if (refuses)
            throw KeychainError(KeychainStatus::interactionNotAllowed);
        return Credential::password(u"secret"_s);
    }
    void save(const Credential&, const QUuid&) override
    {
        if (refuses)
            throw KeychainError(KeychainStatus::failed);
    }
    void remove(const QUuid&) override {}

    std::atomic<int> loads = 0;
    std::atomic<bool> refuses = true;
};

TEST_F(AppModelSetup, StoresNoAccountWhosePasswordTheKeyringRefuses)
{
    fixture.setSecrets(std::make_shared<RefusingSecretStore>());
    fixture.restart();
    connectTo({signedIn(), verifiedSubmission()});
    EXPECT_THROW(
        await(fixture.model().saveIMAPAccount(u"Ann"_s, u"new@x.example"_s, settings(), u"secret"_s)),
        KeychainError);
    EXPECT_EQ(fixture.model().accounts().size(), 1);
    EXPECT_FALSE(fixture.model().isSigningIn());
}

// --- A keyring that refuses

TEST(AppModelKeyring, IsAskedOnceHoweverOftenTheBackgroundNeedsIt)
{
    ModelFixture fixture;
    const auto secrets = std::make_shared<RefusingSecretStore>();
    fixture.setSecrets(secrets);
    fixture.restartWithoutProviders();
    await(fixture.model().begin());
    for (int round = 0; round < 3; ++round) {
        fixture.endSleeps();
        settle();
        EXPECT_FALSE(fixture.model().provider(fixture.account().id));
    }
    EXPECT_EQ(secrets->loads, 1);
    EXPECT_TRUE(fixture.model().needsReauth().contains(fixture.account().id));
}

TEST(AppModelKeyring, IsAskedAgainWhereTheUserChecksForMail)
{
    ModelFixture fixture;
    const auto secrets = std::make_shared<RefusingSecretStore>();
    fixture.setSecrets(secrets);
    fixture.restartWithoutProviders();
    await(fixture.model().begin());
    secrets->refuses = false;
    await(fixture.model().refresh());
    EXPECT_EQ(secrets->loads, 2);
    EXPECT_TRUE(fixture.model().provider(fixture.account().id));
    EXPECT_TRUE(fixture.model().needsReauth().isEmpty());
}

TEST(AppModelKeyring, IsAskedAgainForACredentialWhereItWasNotThere)
{
    ModelFixture fixture;
    const auto keychain = std::make_shared<InMemoryKeychain>();
    const auto secrets = std::make_shared<KeychainStore>(u"test.credentials"_s,
                                                         QList<std::shared_ptr<KeychainBackend>>{keychain});
    secrets->save(Credential::password(u"secret"_s), fixture.account().id);
    fixture.setSecrets(secrets);
    fixture.cacheKeys().saveData(QByteArray(32, 'k'), fixture.account().id);
    for (InMemoryKeychain* const absent : {keychain.get(), &fixture.keychain()}) {
        absent->readFailure = KeychainStatus::notAvailable;
        absent->writeFailure = KeychainStatus::notAvailable;
    }
    fixture.restartWithoutProviders();
    await(fixture.model().begin());
    EXPECT_FALSE(fixture.model().provider(fixture.account().id));
    EXPECT_FALSE(fixture.model().cache(fixture.account().id));
    keychain->readFailure = KeychainStatus::success;
    await(fixture.model().refresh());
    EXPECT_TRUE(fixture.model().provider(fixture.account().id));
    EXPECT_TRUE(fixture.model().needsReauth().isEmpty());
    EXPECT_FALSE(fixture.model().cache(fixture.account().id));
    fixture.keychain().readFailure = KeychainStatus::success;
    await(fixture.model().refresh());
    EXPECT_TRUE(fixture.model().cache(fixture.account().id));
    EXPECT_EQ(fixture.cacheKeys().loadData(fixture.account().id), QByteArray(32, 'k'));
}

TEST(AppModelKeyring, IsNotAskedAgainForWhatItStatedNotToHave)
{
    ModelFixture fixture;
    fixture.restartWithoutProviders();
    await(fixture.model().begin());
    const int reads = fixture.keychain().reads;
    await(fixture.model().refresh());
    await(fixture.model().refresh());
    EXPECT_EQ(fixture.keychain().reads, reads);
}

/// Answers only when it is told to, as while the user is asked.
class SlowSecretStore final : public SecretStore {
public:
    std::optional<Credential> load(const QUuid&) override
    {
        isAsked = true;
        isAnswered.wait(false);
        return Credential::password(u"secret"_s);
    }
    void save(const Credential&, const QUuid&) override {}
    void remove(const QUuid&) override {}
    void answer()
    {
        isAnswered = true;
        isAnswered.notify_all();
    }

    std::atomic<bool> isAsked = false;
    std::atomic<bool> isAnswered = false;
};

TEST(AppModelKeyring, HoldsNothingUpWhileItHesitates)
{
    ModelFixture fixture;
    const auto secrets = std::make_shared<SlowSecretStore>();
    fixture.setSecrets(secrets);
    fixture.restartWithoutProviders();
    Begun<void> beginning(fixture.model().begin());
    ASSERT_TRUE(waitUntil([&secrets] { return secrets->isAsked.load(); }));
    // All of this would stand still if it asked as well.
    fixture.model().selectMailbox(MailboxRef::system(Mailbox::sent));
    EXPECT_FALSE(fixture.model().provider(fixture.account().id));
    EXPECT_TRUE(fixture.model().needsReauth().isEmpty());
    settle();
    secrets->answer();
    beginning.get();
    EXPECT_TRUE(fixture.model().provider(fixture.account().id));
}

TEST(AppModelKeyring, IsWaitedForBeforeTheSizeOfTheCachesIsTold)
{
    ModelFixture fixture;
    fixture.cacheKeys().saveData(QByteArray(32, 'k'), fixture.account().id);
    await(fixture.model().cache(fixture.account().id)->write(u"a"_s, QByteArray(1000, 'x')));
    const auto secrets = std::make_shared<SlowSecretStore>();
    fixture.setSecrets(secrets);
    fixture.restartWithoutProviders();
    Begun<void> beginning(fixture.model().begin());
    ASSERT_TRUE(waitUntil([&secrets] { return secrets->isAsked.load(); }));
    Begun<qint64> first(fixture.model().cacheSize());
    Begun<qint64> second(fixture.model().cacheSize());
    settle();
    EXPECT_FALSE(first.isDone());
    secrets->answer();
    EXPECT_GT(first.get(), 1000);
    EXPECT_GT(second.get(), 1000);
    beginning.get();
}

TEST(AppModelKeyring, HoldsUpNobodyWhoWantsTheSizeOfTheCachesBeforeItWasAsked)
{
    ModelFixture fixture;
    const auto secrets = std::make_shared<SlowSecretStore>();
    fixture.setSecrets(secrets);
    fixture.restartWithoutProviders();
    Begun<qint64> size(fixture.model().cacheSize());
    // Were it asked on this thread, this line would not be reached.
    ASSERT_TRUE(waitUntil([&secrets] { return secrets->isAsked.load(); }));
    EXPECT_FALSE(size.isDone());
    secrets->answer();
    EXPECT_EQ(size.get(), 0);
}

TEST(AppModelKeyring, IsNotAskedAgainForTheSizeOfACacheWhoseKeyItRefused)
{
    ModelFixture fixture;
    fixture.keychain().readFailure = KeychainStatus::interactionNotAllowed;
    fixture.restartWithoutProviders();
    await(fixture.model().begin());
    const int reads = fixture.keychain().reads;
    EXPECT_EQ(await(fixture.model().cacheSize()), 0);
    EXPECT_EQ(fixture.keychain().reads, reads);
}

TEST(AppModelKeyring, LeavesNothingOfACacheThatIsDeletedWhileItRefusesTheKey)
{
    ModelFixture fixture;
    await(fixture.model().cache(fixture.account().id)->write(u"a"_s, QByteArray(1000, 'x')));
    const QDir folder(
        u"%1/Larkhaven/%2"_s.arg(fixture.cachesDirectory(), Coding::fromUuid(fixture.account().id)));
    ASSERT_TRUE(folder.exists());
    fixture.keychain().readFailure = KeychainStatus::interactionNotAllowed;
    fixture.keychain().writeFailure = KeychainStatus::interactionNotAllowed;
    fixture.restartWithoutProviders();
    EXPECT_EQ(await(fixture.model().cacheSize()), 0);
    EXPECT_TRUE(folder.exists()) << "it may be opened again";
    await(fixture.model().clearCaches());
    EXPECT_FALSE(folder.exists());
}

TEST(AppModelKeyring, EndsNoWaitForTheSizeOfTheCachesOfAModelThatIsGone)
{
    auto fixture = std::make_unique<ModelFixture>();
    const auto secrets = std::make_shared<SlowSecretStore>();
    fixture->setSecrets(secrets);
    fixture->restartWithoutProviders();
    Begun<void> beginning(fixture->model().begin());
    ASSERT_TRUE(waitUntil([&secrets] { return secrets->isAsked.load(); }));
    Begun<qint64> size(fixture->model().cacheSize());
    fixture->restart();
    EXPECT_EQ(size.get(), 0);
    secrets->answer();
    settle();
}

/// Saves only when it is told to.
class HoldingSecretStore final : public SecretStore {
public:
    std::optional<Credential> load(const QUuid& accountID) override { return items.load(accountID); }
    void save(const Credential& credential, const QUuid& accountID) override
    {
        isAsked = true;
        isAnswered.wait(false);
        items.save(credential, accountID);
        holdsCredential = true;
    }
    void remove(const QUuid& accountID) override
    {
        items.remove(accountID);
        holdsCredential = false;
    }
    void answer()
    {
        isAnswered = true;
        isAnswered.notify_all();
    }

    std::atomic<bool> isAsked = false;
    std::atomic<bool> isAnswered = false;
    std::atomic<bool> holdsCredential = false; ///< the last one that was saved
    InMemorySecretStore items;
};

/// A new account, whose password is on its way into the keyring.
class AppModelSlowSetup : public AppModelSetup {
protected:
    AppModelSlowSetup()
    {
        fixture.setSecrets(secrets);
        fixture.restart();
        connectTo({signedIn(), verifiedSubmission()});
    }
    Task<> add()
    {
        return fixture.model().saveIMAPAccount(u"Ann"_s, u"ann@mail.example"_s, settings(), u"secret"_s,
                                               attempt.get_token());
    }

    std::shared_ptr<HoldingSecretStore> secrets = std::make_shared<HoldingSecretStore>();
    std::stop_source attempt;
};

TEST_F(AppModelSetup, AsksTheKeyringForNothingOfANewAccountOnTheMainThread)
{
    await(model.load(0, true));
    const int before = fixture.keychain().readsOnMainThread;
    connectTo({signedIn(), verifiedSubmission()});
    await(save(u"ann@mail.example"_s));
    const QUuid added = model.accounts().last().id;
    EXPECT_TRUE(model.provider(added));
    EXPECT_TRUE(model.cache(added));
    EXPECT_TRUE(fixture.cacheKeys().loadData(added));
    EXPECT_EQ(fixture.keychain().readsOnMainThread - 1, before) << "but for that of this test";
}

TEST_F(AppModelSlowSetup, IsSigningInUntilThePasswordIsStored)
{
    Begun<void> adding(add());
    ASSERT_TRUE(waitUntil([this] { return secrets->isAsked.load(); }));
    EXPECT_TRUE(fixture.model().isSigningIn());
    secrets->answer();
    adding.get();
    EXPECT_FALSE(fixture.model().isSigningIn());
    EXPECT_EQ(fixture.model().accounts().size(), 2);
}

TEST_F(AppModelSlowSetup, StoresNothingWhereTheUserGivesUpWhileTheKeyringAsks)
{
    Begun<void> adding(add());
    ASSERT_TRUE(waitUntil([this] { return secrets->isAsked.load(); }));
    attempt.request_stop();
    secrets->answer();
    EXPECT_THROW(adding.get(), MailError);
    EXPECT_EQ(fixture.model().accounts().size(), 1);
    EXPECT_FALSE(secrets->holdsCredential);
    EXPECT_TRUE(fixture.keychain().isEmpty());
    EXPECT_FALSE(fixture.model().isSigningIn());
}

TEST_F(AppModelSlowSetup, PutsThePasswordBackThatARepairHadReplaced)
{
    const QUuid known = fixture.account().id;
    secrets->items.save(Credential::password(u"old"_s), known);
    fixture.model().signInAgain(fixture.account(), [] {});
    Begun<void> repairing(add());
    ASSERT_TRUE(waitUntil([this] { return secrets->isAsked.load(); }));
    attempt.request_stop();
    secrets->answer();
    EXPECT_THROW(repairing.get(), MailError);
    EXPECT_EQ(secrets->load(known), Credential::password(u"old"_s));
    EXPECT_EQ(fixture.model().accounts(), QList<Account>{fixture.account()});
    EXPECT_EQ(fixture.model().provider(known).get(), &fixture.provider());
}

/// An account that is repaired, whose password is on its way into the keyring.
class AppModelSlowRepair : public AppModelSetup {
protected:
    AppModelSlowRepair()
    {
        fixture.setSecrets(secrets);
        fixture.restart();
        fixture.model().signInAgain(fixture.account(), [] {});
        connectTo({signedIn(), verifiedSubmission()});
    }
    Task<> repair()
    {
        return fixture.model().saveIMAPAccount(u"Ann"_s, fixture.account().email, settings(), u"secret"_s);
    }

    std::shared_ptr<HoldingSecretStore> secrets = std::make_shared<HoldingSecretStore>();
};

TEST_F(AppModelSlowRepair, KeepsANicknameThatIsGivenWhileThePasswordIsStored)
{
    Begun<void> repairing(repair());
    ASSERT_TRUE(waitUntil([this] { return secrets->isAsked.load(); }));
    fixture.model().setNickname(fixture.account().id, u"Work"_s);
    secrets->answer();
    repairing.get();
    EXPECT_EQ(fixture.model().accounts()[0].nickname, u"Work"_s);
}

TEST_F(AppModelSlowRepair, LeavesNoPasswordOfAnAccountThatIsRemovedMeanwhile)
{
    Begun<void> repairing(repair());
    ASSERT_TRUE(waitUntil([this] { return secrets->isAsked.load(); }));
    await(fixture.model().removeAccount(fixture.account().id));
    secrets->answer();
    EXPECT_THROW(repairing.get(), MailError);
    EXPECT_FALSE(secrets->holdsCredential);
    EXPECT_TRUE(fixture.keychain().isEmpty());
    EXPECT_TRUE(fixture.model().accounts().isEmpty());
}

TEST_F(AppModelSlowRepair, BringsNoAccountBackThatIsRemovedWhileItsCacheIsEmptied)
{
    const QUuid known = fixture.account().id;
    Begun<void> repairing(repair());
    ASSERT_TRUE(waitUntil([this] { return secrets->isAsked.load(); }));
    // The cache is emptied behind what fills the workers.
    const auto isFree = std::make_shared<std::atomic<bool>>(false);
    for (int worker = 0; worker < workers().maxThreadCount(); ++worker)
        workers().start([isFree] { isFree->wait(false); });
    secrets->answer();
    const bool isEmptied = waitUntil([&] { return !fixture.model().provider(known); });
    Begun<void> removal(fixture.model().removeAccount(known));
    *isFree = true;
    isFree->notify_all();
    ASSERT_TRUE(isEmptied);
    EXPECT_THROW(repairing.get(), MailError);
    removal.get();
    EXPECT_FALSE(secrets->holdsCredential);
    EXPECT_TRUE(fixture.model().accounts().isEmpty());
    EXPECT_TRUE(storedEmails().isEmpty());
}

} // namespace
} // namespace Larkhaven
