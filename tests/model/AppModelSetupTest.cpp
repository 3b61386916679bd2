#include "AppModelSetup.h"

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

#include <atomic>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QString refusedLogin =
    u"The server didn't accept the user name or password. Some providers (iCloud, Yahoo, Gmail) need an "
    "app-specific password."_s;

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

TEST_F(AppModelSetup, EndsTheTestAtOnceWhereTheUserGivesUpOnAServerThatIsSilent)
{
    const auto silence = std::make_shared<Wakeup>();
    fixture.setTransports([silence](const QString&, int, bool) { return afterwards(silence); });
    std::stop_source attempt;
    Begun<void> saving(save(u"ann@mail.example"_s, attempt.get_token()));
    settle();
    ASSERT_TRUE(model.isSigningIn());
    attempt.request_stop();
    ASSERT_TRUE(waitUntil([this] { return !model.isSigningIn(); }, std::chrono::seconds(5)));
    EXPECT_THROW(saving.get(), MailError);
    EXPECT_EQ(model.accounts().size(), 1);
    silence->notify();
    settle();
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

// --- What is repaired

TEST_F(AppModelSetup, KeepsANicknameThatIsGivenWhileTheServersAreAsked)
{
    model.signInAgain(fixture.account(), [] {});
    connectTo({signedIn(), verifiedSubmission()});
    Begun<void> saving(save(fixture.account().email));
    model.setNickname(fixture.account().id, u"Work"_s);
    saving.get();
    EXPECT_EQ(model.accounts()[0].nickname, u"Work"_s);
    EXPECT_EQ(AccountStore::load(model.defaults())[0].nickname, u"Work"_s);
}

/// An account with something in its cache, labels, counts and rows, whose servers are then changed.
class AppModelRepair : public AppModelSetup {
protected:
    AppModelRepair()
    {
        Account known = ModelFixture::imapAccount();
        known.server = settings();
        fixture.defaults().set(DefaultsKey::accounts, QByteArray());
        AccountStore::save({known}, fixture.defaults());
        fixture.restart();
        FakeMailProvider& provider = fixture.provider();
        provider.setListing(MailboxRef::system(Mailbox::inbox), ModelFixture::rows(known, 3));
        provider.setLabels({{u"Work"_s, u"Work"_s}});
        provider.setCounts({{u"system:inbox"_s, 2}});
        AppModel& fresh = fixture.model();
        await(fresh.load(0, true));
        await(fresh.loadLabels(known.id));
        await(fresh.loadCounts(known.id));
        await(fresh.cache(known.id)->write(u"imap:1:1:INBOX"_s, "old"));
        ComposeDraft text;
        text.id = QUuid::createUuid();
        text.accountID = known.id;
        text.body = u"typed"_s;
        fresh.keepForRecovery(text);
        await(fresh.settleKeptTexts());
    }
    /// Repairs the account, and gives whether what was known of its servers is still there.
    bool keepsWhatItKnew(const QString& email, const ServerSettings& entered)
    {
        AppModel& fresh = fixture.model();
        const QUuid id = fixture.account().id;
        fresh.signInAgain(fresh.accounts()[0], [] {});
        connectTo({signedIn(), verifiedSubmission()});
        QList<QUuid> forgotten;
        QObject::connect(&fresh, &AppModel::messagesForgotten, &fresh,
                         [&forgotten](const QUuid& accountID) { forgotten.append(accountID); });
        await(fresh.saveIMAPAccount(u"Ann"_s, email, entered, u"secret"_s));
        const bool isCached = await(fresh.cache(id)->read(u"imap:1:1:INBOX"_s)).has_value();
        const bool isCounted = !fresh.counts(id).isEmpty();
        EXPECT_EQ(isCached, isCounted);
        EXPECT_EQ(forgotten, isCached ? QList<QUuid>() : QList<QUuid>{id});
        EXPECT_EQ(isCached, !fresh.labels(id).isEmpty());
        EXPECT_EQ(isCached, !fresh.messages().isEmpty());
        fixture.restart();
        await(fixture.model().recoverDrafts());
        EXPECT_TRUE(fixture.model().pendingCompose()) << "what was typed stays";
        return isCached;
    }
};

TEST_F(AppModelRepair, KeepsWhatItKnewWhereOnlyThePasswordIsNew)
{
    EXPECT_TRUE(keepsWhatItKnew(fixture.account().email, settings()));
}

TEST_F(AppModelRepair, KeepsWhatItKnewWhereTheHostIsWrittenInOtherCase)
{
    ServerSettings entered = settings();
    entered.imapHost = entered.imapHost.toUpper();
    EXPECT_TRUE(keepsWhatItKnew(fixture.account().email, entered));
}

TEST_F(AppModelRepair, ForgetsTheOldServerWhereTheHostIsAnother)
{
    ServerSettings entered = settings();
    entered.imapHost = u"other.example"_s;
    EXPECT_FALSE(keepsWhatItKnew(fixture.account().email, entered));
}

TEST_F(AppModelRepair, ForgetsTheOldServerWhereTheAddressIsAnother)
{
    EXPECT_FALSE(keepsWhatItKnew(u"new@example.org"_s, settings()));
}

TEST_F(AppModelRepair, GoesOnWithTheKeyThatItsCacheIsInUseUnder)
{
    fixture.cacheKeys().remove(fixture.account().id);
    EXPECT_TRUE(keepsWhatItKnew(fixture.account().email, settings()));
}

TEST_F(AppModelRepair, LeavesAFolderOfTheOldServerForTheInbox)
{
    fixture.model().selectMailbox(MailboxRef::label({u"Work"_s, u"Work"_s}));
    settle();
    ServerSettings entered = settings();
    entered.imapPort = 1993;
    EXPECT_FALSE(keepsWhatItKnew(fixture.account().email, entered));
    EXPECT_EQ(fixture.model().sidebarSelection()->ref, MailboxRef::system(Mailbox::inbox));
}

TEST_F(AppModelRepair, TouchesNoMessageOfTheNewServerThatHasTheIDOfADraftOfTheOldOne)
{
    AppModel& fresh = fixture.model();
    const Account known = fresh.accounts()[0];
    fixture.provider().setRaw(u"7"_s, "To: a@x\r\n\r\nText");
    fixture.provider().setThreadID(u"7"_s, u"t"_s);
    await(fresh.editDraft(ModelFixture::row(known, u"7"_s)));
    const ComposeDraft open = fresh.takeSeed(*fresh.pendingCompose()).value();
    EXPECT_EQ(open.draftMessageID, u"7"_s);
    fixture.provider().hold(u"fetchRaw"_s);
    fresh.start(fresh.editDraft(ModelFixture::row(known, u"7"_s)));
    fresh.beginDeleteLabel({u"Work"_s, u"Work"_s}, known.id);
    const AppModel::LabelDeletion deletion = fresh.labelDeletion().value();
    fresh.beginRenameLabel({u"Work"_s, u"Work"_s}, known.id);
    const AppModel::LabelEdit edit = fresh.labelEdit().value();

    ServerSettings entered = settings();
    entered.imapHost = u"other.example"_s;
    fresh.signInAgain(known, [] {});
    connectTo({signedIn(), verifiedSubmission()});
    await(fresh.saveIMAPAccount(u"Ann"_s, known.email, entered, u"secret"_s));
    fixture.provider().completeAll();
    settle();
    const ComposeDraft late = fresh.takeSeed(*fresh.pendingCompose()).value();

    const auto service = FakeMailProvider::create(fresh.accounts()[0]);
    fresh.useProvider(known.id, service);
    for (const ComposeDraft& draft : {open, late}) {
        await(fresh.saveDraft(draft));
        EXPECT_FALSE(service->savedDrafts().constLast().draftID);
        EXPECT_FALSE(service->savedDrafts().constLast().message.threadID);
    }
    await(fresh.confirmLabelDeletion(deletion));
    await(fresh.applyLabelEdit(edit, u"Play"_s));
    settle();
    EXPECT_TRUE(service->calls(u"trash"_s).isEmpty());
    EXPECT_TRUE(service->calls(u"deleteLabel"_s).isEmpty());
    EXPECT_TRUE(service->calls(u"renameLabel"_s).isEmpty());
}

TEST_F(AppModelRepair, DropsTheAnswersOfTheOldServerThatComeLate)
{
    AppModel& fresh = fixture.model();
    FakeMailProvider& provider = fixture.provider();
    for (const char* operation : {"listMessages", "listLabels", "counts"})
        provider.hold(QString::fromLatin1(operation));
    fresh.start(fresh.refresh());
    ServerSettings entered = settings();
    entered.imapHost = u"other.example"_s;
    fresh.signInAgain(fresh.accounts()[0], [] {});
    connectTo({signedIn(), verifiedSubmission()});
    await(fresh.saveIMAPAccount(u"Ann"_s, fixture.account().email, entered, u"secret"_s));
    provider.completeAll();
    settle();
    EXPECT_TRUE(fresh.messages().isEmpty());
    EXPECT_TRUE(fresh.labels(fixture.account().id).isEmpty());
    EXPECT_TRUE(fresh.counts(fixture.account().id).isEmpty());
}

TEST_F(AppModelRepair, NeedsNoNewSignInForWhatFailsLateOfTheOldOne)
{
    AppModel& fresh = fixture.model();
    FakeMailProvider& provider = fixture.provider();
    const QUuid id = fixture.account().id;
    const MessageSummary row = fresh.messages()[0];
    const MailLabel label{u"Work"_s, u"Work"_s};
    for (const char* name : {"fetchRaw", "createLabel", "renameLabel", "deleteLabel"}) {
        provider.hold(QString::fromLatin1(name));
        provider.failAlways(QString::fromLatin1(name), MailError::notSignedIn());
    }
    // What nobody waits for may also fail outside of them.
    const auto fetched = [](std::shared_ptr<MailProvider> source) -> Task<> {
        co_await source->fetchRaw(u"1"_s);
    };
    fresh.start(fetched(fresh.provider(id)), id);
    QList<std::shared_ptr<Begun<void>>> flows;
    const auto begin = [&flows](Task<> flow) {
        flows.append(std::make_shared<Begun<void>>(std::move(flow)));
    };
    begin(fresh.reply(row, false));
    begin(fresh.forward(row));
    begin(fresh.editDraft(row));
    begin(fresh.saveMessage(row, [](const QString&) { return QString(); }));
    begin(fresh.applyLabelEdit({QUuid::createUuid(), id, AppModel::LabelEdit::Create{}}, u"New"_s));
    begin(fresh.applyLabelEdit({QUuid::createUuid(), id, AppModel::LabelEdit::Rename{label}}, u"New"_s));
    begin(fresh.confirmLabelDeletion({QUuid::createUuid(), id, label}));
    ASSERT_EQ(provider.pending().size(), 8);
    fresh.report(std::make_exception_ptr(MailError::notSignedIn()), id);
    fresh.signInAgain(fresh.accounts()[0], [] {});
    connectTo({signedIn(), verifiedSubmission()});
    await(fresh.saveIMAPAccount(u"Ann"_s, fixture.account().email, settings(), u"secret"_s));
    ASSERT_TRUE(fresh.needsReauth().isEmpty());
    for (qsizetype left = 8; left > 0; --left) {
        const QString call = provider.pending().first();
        provider.complete(0);
        settle();
        EXPECT_TRUE(fresh.needsReauth().isEmpty()) << call.toStdString();
    }
    for (const std::shared_ptr<Begun<void>>& flow : flows)
        flow->get();
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

/// The servers can be reached once the gate has opened.
Task<std::shared_ptr<MailTransport>> behind(std::shared_ptr<Wakeup> gate, TransportFactory servers,
                                            QString host, int port, bool implicitTLS)
{
    co_await gate->wait(std::chrono::seconds(30));
    gate->notify();
    std::shared_ptr<MailTransport> transport = co_await servers(host, port, implicitTLS);
    co_return transport;
}

TEST_F(TwoAccounts, BringNoAccountBackThatIsGoneWhenTheServersAnswer)
{
    model.signInAgain(fixture.account(0), [] {});
    connectTo({signedIn(), verifiedSubmission()});
    const auto gate = std::make_shared<Wakeup>();
    fixture.setTransports([gate, servers = server->factory()](const QString& host, int port, bool tls) {
        return behind(gate, servers, host, port, tls);
    });
    Begun<void> saving(save(u"new@mail.example"_s));
    await(model.removeAccount(first));
    gate->notify();
    EXPECT_THROW(saving.get(), MailError);
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
