#include "domain/Coding.h"
#include "domain/MailError.h"
#include "model/AccountStore.h"
#include "model/AppModel.h"
#include "support/Await.h"
#include "support/IMAPScripts.h"
#include "support/ModelFixture.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QString refusedLogin =
    u"The server didn't accept the user name or password. Some providers (iCloud, Yahoo, Gmail) need an "
    "app-specific password."_s;

ServerSettings settings()
{
    ServerSettings settings;
    settings.username = u"ann"_s;
    settings.imapHost = u"imap.example"_s;
    settings.smtpHost = u"smtp.example"_s;
    return settings;
}

/// The connection test speaks to the scripts; whatever connects after it finds nobody.
class AppModelSetup : public testing::Test {
protected:
    explicit AppModelSetup(const QList<Account>& accounts = {ModelFixture::imapAccount()})
        : fixture(accounts)
    {}

    void connectTo(const QList<Script>& scripts)
    {
        server = std::make_unique<ScriptedServer>(scripts);
        fixture.setTransports([this, left = scripts.size()](const QString& host, int port, bool tls) mutable {
            return left-- > 0 ? server->factory()(host, port, tls) : nobody();
        });
    }
    static Task<std::shared_ptr<MailTransport>> nobody()
    {
        throw MailError::protocolError(u"The server closed the connection."_s);
        co_return std::shared_ptr<MailTransport>();
    }
    Task<> save(const QString& email, std::stop_token stop = {})
    {
        return model.saveIMAPAccount(u"Ann"_s, email, settings(), u"secret"_s, stop);
    }
    QStringList storedEmails() const
    {
        QStringList emails;
        for (const Account& account : AccountStore::load(model.defaults()))
            emails.append(account.email);
        return emails;
    }

    ModelFixture fixture;
    AppModel& model = fixture.model();
    std::unique_ptr<ScriptedServer> server;
};

TEST_F(AppModelSetup, AddsAnAccountWhoseServersHaveAnswered)
{
    connectTo({signedIn(), verifiedSubmission()});
    Begun<void> saving(save(u"ann@mail.example"_s));
    EXPECT_TRUE(model.isSigningIn());
    saving.get();
    EXPECT_FALSE(model.isSigningIn());
    ASSERT_EQ(model.accounts().size(), 2);
    const Account added = model.accounts().last();
    EXPECT_EQ(added.provider, ProviderKind::imap);
    EXPECT_EQ(added.email, u"ann@mail.example");
    EXPECT_EQ(added.displayName, u"Ann"_s);
    EXPECT_FALSE(added.nickname);
    EXPECT_EQ(added.server, settings());
    EXPECT_EQ(storedEmails(), QStringList({u"mia@example.org"_s, u"ann@mail.example"_s}));
    EXPECT_EQ(fixture.secrets().load(added.id), Credential::password(u"secret"_s));
    EXPECT_EQ(model.sidebarSelection(), (SidebarItem{added.id, MailboxRef::system(Mailbox::inbox)}));
    server->expectUsedUp();
}

TEST_F(AppModelSetup, StoresNothingWhereThePasswordIsRefused)
{
    connectTo({refusedSignIn()});
    expectMailError(save(u"ann@mail.example"_s), MailError::Kind::authFailed, refusedLogin);
    EXPECT_FALSE(model.isSigningIn());
    EXPECT_EQ(model.accounts().size(), 1);
    EXPECT_EQ(storedEmails(), QStringList(u"mia@example.org"_s));
    EXPECT_FALSE(model.errorMessage()) << "the form tells it";
}

TEST_F(AppModelSetup, StoresNothingWhereTheSubmissionServerRefuses)
{
    connectTo({signedIn(), Script("S: 554 go away")});
    expectProtocolError(save(u"ann@mail.example"_s), u"The mail server said: 554 go away"_s);
    EXPECT_EQ(model.accounts().size(), 1);
}

TEST_F(AppModelSetup, StoresNothingWhereTheUserGivesUpMeanwhile)
{
    connectTo({signedIn(), verifiedSubmission()});
    std::stop_source attempt;
    Begun<void> saving(save(u"ann@mail.example"_s, attempt.get_token()));
    attempt.request_stop();
    EXPECT_THROW(saving.get(), MailError);
    EXPECT_EQ(model.accounts().size(), 1);
    EXPECT_FALSE(model.isSigningIn());
}

TEST_F(AppModelSetup, ChangesTheAccountThatIsBeingRepaired)
{
    const QUuid repaired = fixture.account().id;
    await(model.loadCounts(repaired));
    model.signInAgain(fixture.account(), [] {});
    EXPECT_EQ(model.imapSetupAccountID(), repaired);
    connectTo({signedIn(), verifiedSubmission()});
    await(save(u"new@mail.example"_s));
    ASSERT_EQ(model.accounts().size(), 1);
    EXPECT_EQ(model.accounts()[0].id, repaired);
    EXPECT_EQ(model.accounts()[0].email, u"new@mail.example");
    EXPECT_FALSE(model.imapSetupAccountID());
}

TEST_F(AppModelSetup, ChangesTheAccountOfTheSameAddressInWhateverCase)
{
    connectTo({signedIn(), verifiedSubmission()});
    await(save(u"MIA@Example.ORG"_s));
    ASSERT_EQ(model.accounts().size(), 1);
    EXPECT_EQ(model.accounts()[0].id, fixture.account().id);
}

TEST_F(AppModelSetup, EndsTheNeedToSignInAndAsksTheServersAnew)
{
    fixture.provider().failNext(u"listMessages"_s, MailError::notSignedIn());
    await(model.load(0, true));
    ASSERT_TRUE(model.needsReauth().contains(fixture.account().id));
    connectTo({signedIn(), verifiedSubmission()});
    await(save(fixture.account().email));
    EXPECT_FALSE(model.needsReauth().contains(fixture.account().id));
    EXPECT_NE(model.provider(fixture.account().id).get(), &fixture.provider()) << "a provider of its own";
}

TEST_F(AppModelSetup, OpensTheSetUpWindowToSignInAgain)
{
    bool isOpen = false;
    model.signInAgain(fixture.account(), [&isOpen] { isOpen = true; });
    EXPECT_TRUE(isOpen);
}

class TwoAccounts : public AppModelSetup {
protected:
    TwoAccounts()
        : AppModelSetup({ModelFixture::imapAccount(), ModelFixture::imapAccount(u"second@example.org"_s)})
    {}

    const QUuid first = fixture.account(0).id;
    const QUuid second = fixture.account(1).id;
};

TEST_F(TwoAccounts, LoseEverythingOfTheOneThatIsRemoved)
{
    fixture.secrets().save(Credential::password(u"x"_s), first);
    await(model.cache(first)->write(u"key"_s, "message"));
    const QString folder = u"%1/Larkhaven/%2"_s.arg(fixture.cachesDirectory(), Coding::fromUuid(first));
    ASSERT_TRUE(QDir(folder).exists());
    fixture.provider().setCounts({{u"system:inbox"_s, 3}});
    await(model.loadCounts(first));
    await(model.removeAccount(first));
    EXPECT_EQ(model.accounts().size(), 1);
    EXPECT_EQ(storedEmails(), QStringList(u"second@example.org"_s));
    EXPECT_FALSE(fixture.secrets().load(first));
    EXPECT_FALSE(fixture.cacheKeys().loadData(first));
    EXPECT_FALSE(QDir(folder).exists());
    EXPECT_TRUE(model.counts(first).isEmpty());
    EXPECT_EQ(fixture.badges().last(), 0);
}

TEST_F(TwoAccounts, ShowTheFirstInboxThatIsLeftWhereTheOneOnScreenIsRemoved)
{
    fixture.provider().setListing(MailboxRef::system(Mailbox::inbox),
                                  ModelFixture::rows(fixture.account(), 3));
    await(model.load(0, true));
    model.open(model.messages().first());
    await(model.removeAccount(first));
    EXPECT_EQ(model.sidebarSelection(), (SidebarItem{second, MailboxRef::system(Mailbox::inbox)}));
    EXPECT_TRUE(model.path().isEmpty());
    settle();
    EXPECT_TRUE(model.messages().isEmpty());
}

TEST_F(TwoAccounts, KeepTheMailboxOnScreenWhereTheOtherIsRemoved)
{
    model.selectMailbox(MailboxRef::system(Mailbox::sent));
    await(model.removeAccount(second));
    EXPECT_EQ(model.sidebarSelection(), (SidebarItem{first, MailboxRef::system(Mailbox::sent)}));
}

TEST_F(TwoAccounts, HaveNoDefaultAccountOnceItIsRemoved)
{
    model.defaults().set(DefaultsKey::defaultAccountID, Coding::fromUuid(second));
    await(model.removeAccount(first));
    EXPECT_EQ(model.defaults().text(DefaultsKey::defaultAccountID), Coding::fromUuid(second));
    await(model.removeAccount(second));
    EXPECT_EQ(model.defaults().text(DefaultsKey::defaultAccountID), u"");
    EXPECT_FALSE(model.sidebarSelection());
}

TEST_F(TwoAccounts, LeaveNoFilesOfAnAccountThatWasNeverOpened)
{
    await(model.cache(second)->write(u"key"_s, "message"));
    fixture.restart();
    await(fixture.model().removeAccount(second));
    EXPECT_FALSE(
        QDir(u"%1/Larkhaven/%2"_s.arg(fixture.cachesDirectory(), Coding::fromUuid(second))).exists());
}

TEST_F(TwoAccounts, TellTheSizeOfTheirCachesTogetherAndEmptyThem)
{
    await(model.cache(first)->write(u"a"_s, QByteArray(1000, 'x')));
    await(model.cache(second)->write(u"b"_s, QByteArray(500, 'x')));
    const qint64 size = await(model.cacheSize());
    EXPECT_GT(size, 1500);
    EXPECT_LT(size, 1700);
    await(model.clearCaches());
    EXPECT_EQ(await(model.cacheSize()), 0);
}

TEST_F(TwoAccounts, BuildTheirProvidersAnewOnceTheCachesAreEmptied)
{
    fixture.secrets().save(Credential::password(u"x"_s), first);
    await(model.clearCaches());
    EXPECT_NE(model.provider(first).get(), &fixture.provider(0));
}

TEST_F(TwoAccounts, KeepTheRepairOfOneFromChangingTheOther)
{
    model.signInAgain(fixture.account(0), [] {});
    connectTo({signedIn(), verifiedSubmission()});
    Begun<void> saving(save(u"new@mail.example"_s));
    model.setImapSetupAccountID(second);
    saving.get();
    EXPECT_EQ(model.accounts()[0].email, u"new@mail.example");
    EXPECT_EQ(model.accounts()[1].email, u"second@example.org");
}

TEST_F(TwoAccounts, BringNoAccountBackThatIsRemovedWhileItIsRepaired)
{
    model.signInAgain(fixture.account(0), [] {});
    connectTo({signedIn(), verifiedSubmission()});
    Begun<void> saving(save(u"new@mail.example"_s));
    Begun<void> removal(model.removeAccount(first));
    EXPECT_THROW(saving.get(), MailError);
    removal.get();
    EXPECT_FALSE(fixture.secrets().load(first));
    EXPECT_EQ(model.accounts().size(), 1);
}

TEST_F(TwoAccounts, MakeNoCacheForAnAccountThatIsGone)
{
    await(model.removeAccount(second));
    EXPECT_FALSE(model.cache(second));
    EXPECT_FALSE(fixture.cacheKeys().loadData(second));
}

} // namespace
} // namespace Larkhaven
