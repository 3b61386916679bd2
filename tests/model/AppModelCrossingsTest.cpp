#include "domain/MailError.h"
#include "model/AppModel.h"
#include "providers/FetchParsed.h"
#include "support/Await.h"
#include "support/ModelFixture.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

// Two things in flight, answers that come late, and accounts, mailboxes and settings that change meanwhile.

namespace Larkhaven {
namespace {

const QString listMessages = u"listMessages"_s;
const MailError refusal = MailError::unsupported(u"No."_s);

MailboxRef system(Mailbox role)
{
    return MailboxRef::system(role);
}

class AppModelCrossings : public testing::Test {
protected:
    void SetUp() override { list(60); }

    void list(int count, const QString& query = {})
    {
        provider.setListing(system(Mailbox::inbox), ModelFixture::rows(fixture.account(), count), query);
        await(model.load(0, true));
        provider.forgetCalls();
    }
    QList<MessageSummary> rows(int first, int count) const { return model.messages().sliced(first, count); }
    QString firstID() const { return model.messages().isEmpty() ? QString() : model.messages().first().id; }
    QSet<QString> ids(int first, int count) const
    {
        QSet<QString> found;
        for (const MessageSummary& row : rows(first, count))
            found.insert(row.id);
        return found;
    }

    ModelFixture fixture;
    AppModel& model = fixture.model();
    FakeMailProvider& provider = fixture.provider();
};

// --- Refused changes

TEST_F(AppModelCrossings, LeaveARefusedChangeOfTheRowsBeforeOutOfASearchResult)
{
    provider.setListing(system(Mailbox::inbox), ModelFixture::rows(fixture.account(), 2), u"boat"_s);
    provider.hold(listMessages);
    provider.hold(u"setStarred"_s);
    provider.failNext(u"setStarred"_s, refusal);
    model.setSearchText(u"boat"_s);
    model.start(model.applySearch());
    model.toggleStarred(rows(0, 1));
    provider.completeAll();
    settle();
    EXPECT_EQ(model.messages().size(), 2);
    await(model.load(0, false));
    EXPECT_EQ(model.messages().size(), 2);
    EXPECT_FALSE(model.messages()[0].isStarred);
}

TEST_F(AppModelCrossings, BringBackNoGhostWhereAFlagIsRefusedAfterARemovalIsDone)
{
    provider.hold(u"setStarred"_s);
    provider.failNext(u"setStarred"_s, refusal);
    model.toggleStarred(rows(5, 1));
    model.archive(rows(0, 1));
    settle();
    provider.completeAll();
    settle();
    EXPECT_EQ(firstID(), u"2");
    EXPECT_EQ(model.messages().size(), 25);
    EXPECT_FALSE(model.messages()[4].isStarred);
}

TEST_F(AppModelCrossings, KeepNewMailWhereAFlagIsRefusedAfterARefresh)
{
    provider.hold(u"setStarred"_s);
    provider.failNext(u"setStarred"_s, refusal);
    model.toggleStarred(rows(0, 1));
    QList<MessageSummary> more = ModelFixture::rows(fixture.account(), 60);
    more.prepend(ModelFixture::row(fixture.account(), u"new"_s));
    provider.setListing(system(Mailbox::inbox), more);
    await(model.refresh());
    provider.completeAll();
    settle();
    EXPECT_EQ(firstID(), u"new");
}

TEST_F(AppModelCrossings, GiveRowsTotalAndSelectionBackWhereTwoRemovalsAreRefused)
{
    provider.failAlways(u"archive"_s, refusal);
    provider.failAlways(listMessages, refusal);
    provider.hold(u"archive"_s);
    for (int round = 0; round < 2; ++round) {
        model.setSelection(ids(0, 3));
        model.archive(model.actedOn());
        EXPECT_TRUE(model.selection().isEmpty());
    }
    EXPECT_EQ(model.total(), 54);
    provider.completeAll();
    settle();
    EXPECT_EQ(model.pagerText(), u"1–25 of 60");
    EXPECT_EQ(model.selection(), ids(0, 6));
}

TEST_F(AppModelCrossings, SelectNoRowThatCameBackBesideThoseThatTheUserHasSelectedSince)
{
    provider.failNext(u"archive"_s, refusal);
    provider.hold(u"archive"_s);
    model.setSelection(ids(0, 1));
    model.archive(model.actedOn());
    model.setSelection(ids(3, 1));
    const QSet<QString> chosen = model.selection();
    provider.completeAll();
    settle();
    EXPECT_EQ(model.selection(), chosen);
}

TEST_F(AppModelCrossings, KeepTheWayToTheNextPageAfterAFailedRefreshAndARemoval)
{
    provider.failNext(listMessages, refusal);
    await(model.refresh());
    provider.hold(u"archive"_s);
    model.archive(rows(0, 1));
    EXPECT_TRUE(model.hasNextPage());
    await(model.nextPage());
    await(model.previousPage());
    EXPECT_TRUE(model.hasNextPage());
    EXPECT_EQ(model.pageIndex(), 0);
}

TEST_F(AppModelCrossings, ReportARefusalOnceAndSelectNothingOfAnotherMailbox)
{
    provider.failNext(u"archive"_s, refusal);
    provider.hold(u"archive"_s);
    provider.setListing(system(Mailbox::sent), ModelFixture::rows(fixture.account(), 3));
    model.setSelection(ids(0, 2));
    model.archive(model.actedOn());
    model.selectMailbox(system(Mailbox::sent));
    settle();
    provider.completeAll();
    settle();
    EXPECT_EQ(model.errorMessage(), u"No."_s);
    for (const QString& id : model.selection())
        EXPECT_TRUE(model.message(id));
}

// --- Late answers

TEST_F(AppModelCrossings, KeepARemovalThatEndedWhileAnOlderListingWasOnItsWay)
{
    provider.hold(listMessages);
    model.start(model.load(0, true));
    provider.stopHolding(listMessages);
    MessagePage old;
    old.messages = rows(0, 25);
    old.total = 60;
    provider.hold(u"counts"_s);
    model.archive(rows(0, 1));
    EXPECT_EQ(firstID(), u"2");
    settle();
    provider.completeAll();
    settle();
    EXPECT_EQ(firstID(), u"2");
    EXPECT_EQ(model.total(), 59);
}

TEST_F(AppModelCrossings, AskForOneListingAndOneCountMoreForTwentyQuickRemovals)
{
    for (const QString& operation : {u"archive"_s, listMessages, u"counts"_s})
        provider.hold(operation);
    for (int removal = 0; removal < 20; ++removal)
        model.archive(rows(0, 1));
    // One connection serves one after the other.
    while (!provider.pending().isEmpty()) {
        provider.complete(0);
        settle();
    }
    EXPECT_EQ(provider.calls(u"archive"_s).size(), 20);
    EXPECT_EQ(provider.calls(listMessages).size(), 2);
    EXPECT_EQ(provider.calls(u"counts"_s).size(), 2);
    EXPECT_EQ(firstID(), u"21");
    EXPECT_EQ(model.total(), 40);
}

TEST_F(AppModelCrossings, AskForTheListingBeforeWhatIsOnlyCounted)
{
    model.archive(rows(0, 1));
    settle();
    const QStringList calls = provider.calls();
    EXPECT_LT(calls.indexOf(provider.calls(listMessages).first()),
              calls.indexOf(provider.calls(u"counts"_s).first()));
    provider.forgetCalls();
    await(model.refresh());
    EXPECT_TRUE(provider.calls().first().startsWith(listMessages));
}

TEST_F(AppModelCrossings, TurnThePageAlsoWhereARefreshComesMeanwhile)
{
    provider.hold(listMessages);
    model.start(model.nextPage());
    model.start(model.refresh());
    provider.completeAll();
    settle();
    EXPECT_EQ(model.pageIndex(), 1);
    EXPECT_EQ(firstID(), u"26");
}

TEST_F(AppModelCrossings, LoadPagesOfTheNewSizeWhereTheSettingChanges)
{
    await(model.nextPage());
    fixture.defaults().set(DefaultsKey::pageSize, 50);
    settle();
    EXPECT_EQ(model.messages().size(), 50);
    EXPECT_EQ(model.pageIndex(), 0);
    EXPECT_EQ(model.pagerText(), u"1–50 of 60");
    EXPECT_EQ(provider.calls(listMessages).last(),
              u"listMessages system:inbox offset=0 limit=50 refresh=true"_s);
}

// --- What the model holds

TEST_F(AppModelCrossings, KeepNoOpenedRowThatIsNoLongerOnThePath)
{
    model.open(model.messages()[0]);
    list(0);
    EXPECT_TRUE(model.message(u"1"_s));
    model.setPath({});
    EXPECT_FALSE(model.message(u"1"_s));
}

TEST_F(AppModelCrossings, DropTheTextOfAMessageThatIsClosed)
{
    model.open(model.messages()[0]);
    model.setOpenParsed(ParsedMessage());
    model.setPath({});
    EXPECT_FALSE(model.openParsed());
}

TEST_F(AppModelCrossings, SelectOnlyRowsThatAreOnScreen)
{
    model.setSelection({u"1"_s, u"nowhere"_s});
    EXPECT_EQ(model.selection(), QSet<QString>{u"1"_s});
}

// --- Labels on screen

class AppModelFolders : public AppModelCrossings {
protected:
    void SetUp() override
    {
        AppModelCrossings::SetUp();
        provider.setLabels({folder(u"A"_s), folder(u"A/B"_s), folder(u"AB"_s)});
        await(model.loadLabels(fixture.account().id));
    }
    static MailLabel folder(const QString& path) { return {path, path}; }
    void show(const QString& path)
    {
        model.selectMailbox(MailboxRef::label(folder(path)));
        settle();
        provider.forgetCalls();
    }
    void rename(const QString& path, const QString& name)
    {
        await(model.applyLabelEdit(
            {QUuid::createUuid(), fixture.account().id, AppModel::LabelEdit::Rename{folder(path)}}, name));
        settle();
    }
    QString shown() const
    {
        const MailLabel* const label = model.sidebarSelection()->ref.label();
        return label ? label->id + u'|' + label->path : model.sidebarSelection()->ref.id();
    }
};

TEST_F(AppModelFolders, FollowTheirParentThatIsRenamed)
{
    show(u"A/B"_s);
    provider.setLabels({folder(u"C"_s), folder(u"C/B"_s), folder(u"AB"_s)});
    rename(u"A"_s, u"C"_s);
    EXPECT_TRUE(shown().endsWith(u"|C/B"_s)) << shown().toStdString();
    EXPECT_EQ(provider.calls(listMessages).size(), 1);
    EXPECT_FALSE(model.errorMessage());
}

TEST_F(AppModelFolders, StayWhereOneOfASimilarNameIsRenamed)
{
    show(u"AB"_s);
    rename(u"A"_s, u"C"_s);
    EXPECT_TRUE(shown().endsWith(u"|AB"_s));
}

TEST_F(AppModelFolders, GiveWayToTheInboxWhereTheyHaveGoneFromTheServer)
{
    show(u"A/B"_s);
    provider.setLabels({folder(u"AB"_s)});
    await(model.refresh());
    settle();
    EXPECT_EQ(shown(), u"system:inbox");
    EXPECT_FALSE(model.errorMessage());
}

TEST_F(AppModelFolders, StayWhereTheirParentIsDeletedAndTheServerKeepsThem)
{
    show(u"A/B"_s);
    provider.setLabels({folder(u"A/B"_s), folder(u"AB"_s)});
    await(model.confirmLabelDeletion({QUuid::createUuid(), fixture.account().id, folder(u"A"_s)}));
    EXPECT_TRUE(shown().endsWith(u"|A/B"_s));
}

TEST_F(AppModelFolders, GiveWayToTheInboxWhereTheyGoWithTheirParent)
{
    show(u"A/B"_s);
    provider.setLabels({folder(u"AB"_s)});
    await(model.confirmLabelDeletion({QUuid::createUuid(), fixture.account().id, folder(u"A"_s)}));
    settle();
    EXPECT_EQ(shown(), u"system:inbox");
}

// --- Accounts that go

class AppModelOfTwo : public testing::Test {
protected:
    AppModelOfTwo()
        : fixture({ModelFixture::imapAccount(), ModelFixture::imapAccount(u"second@example.org"_s)})
    {
        for (const int index : {0, 1}) {
            fixture.provider(index).setListing(system(Mailbox::inbox),
                                               ModelFixture::rows(fixture.account(index), 3));
            fixture.provider(index).setLabels({{u"Work"_s, u"Work"_s}});
            fixture.provider(index).setCounts({{u"system:inbox"_s, 2}});
        }
    }

    ModelFixture fixture;
    AppModel& model = fixture.model();
    const QUuid first = fixture.account(0).id;
    const QUuid second = fixture.account(1).id;
};

TEST_F(AppModelOfTwo, KnowsNothingOfARemovedAccountWhoseAnswersComeLate)
{
    for (const char* operation : {"listLabels", "counts", "listMessages"})
        fixture.provider(0).hold(QString::fromLatin1(operation));
    model.start(model.load(0, true));
    model.start(model.loadLabels(first));
    model.start(model.loadCounts(first));
    await(model.removeAccount(first));
    EXPECT_EQ(model.sidebarSelection()->accountID, second);
    fixture.provider(0).completeAll();
    settle();
    EXPECT_TRUE(model.labels(first).isEmpty());
    EXPECT_TRUE(model.counts(first).isEmpty());
    EXPECT_EQ(model.messages().first().accountID, second);
    EXPECT_FALSE(model.isLoading());
    EXPECT_EQ(model.badgeText(), u"2");
}

TEST_F(AppModelOfTwo, AsksForNoSignInOfARemovedAccountWhoseFailureComesLate)
{
    fixture.provider(0).hold(u"archive"_s);
    fixture.provider(0).failNext(u"archive"_s, MailError::notSignedIn());
    await(model.load(0, true));
    model.archive({model.messages().first()});
    await(model.removeAccount(first));
    fixture.provider(0).completeAll();
    settle();
    EXPECT_TRUE(model.needsReauth().isEmpty());
    EXPECT_FALSE(model.errorMessage());
}

TEST_F(AppModelOfTwo, RaisesNoAlertForARemovedAccountWhoseRefusalComesLate)
{
    for (const char* operation : {"archive", "setStarred"}) {
        fixture.provider(0).hold(QString::fromLatin1(operation));
        fixture.provider(0).failNext(QString::fromLatin1(operation), refusal);
    }
    await(model.load(0, true));
    model.toggleStarred({model.messages().last()});
    model.archive({model.messages().first()});
    await(model.removeAccount(first));
    fixture.provider(0).completeAll();
    settle();
    EXPECT_FALSE(model.errorMessage());
}

TEST_F(AppModelOfTwo, AsksForNoSignInOfARemovedAccountWhoseMessageIsAnswered)
{
    await(model.load(0, true));
    fixture.provider(0).hold(u"fetchRaw"_s);
    fixture.provider(0).failNext(u"fetchRaw"_s, MailError::notSignedIn());
    Begun<void> replying(model.reply(model.messages().first(), false));
    await(model.removeAccount(first));
    fixture.provider(0).completeAll();
    replying.get();
    EXPECT_TRUE(model.needsReauth().isEmpty());
}

TEST_F(AppModelOfTwo, ClosesTheReaderAndStopsLoadingWhereTheLastAccountGoes)
{
    await(model.removeAccount(second));
    await(model.load(0, true));
    model.open(model.messages().first());
    fixture.provider(0).hold(listMessages);
    model.start(model.load(0, true));
    await(model.removeAccount(first));
    EXPECT_FALSE(model.sidebarSelection());
    EXPECT_TRUE(model.path().isEmpty());
    EXPECT_TRUE(model.messages().isEmpty());
    EXPECT_FALSE(model.isLoading());
    EXPECT_EQ(model.total(), std::nullopt);
    fixture.provider(0).completeAll();
    settle();
    EXPECT_TRUE(model.messages().isEmpty());
}

TEST_F(AppModelOfTwo, RemovesAnAccountOnceWhereItIsAskedTwice)
{
    Begun<void> one(model.removeAccount(first));
    Begun<void> other(model.removeAccount(first));
    one.get();
    other.get();
    EXPECT_EQ(model.accounts().size(), 1);
}

TEST_F(AppModelOfTwo, HasNoProviderForAnAccountThatIsBeingRemoved)
{
    Begun<void> removal(model.removeAccount(first));
    EXPECT_FALSE(model.provider(first));
    EXPECT_FALSE(model.cache(first));
    removal.get();
}

TEST_F(AppModelOfTwo, CountsTheUnreadMessagesOfBothOnTheBadge)
{
    await(model.loadCounts(first));
    await(model.loadCounts(second));
    EXPECT_EQ(model.badgeText(), u"4");
}

TEST_F(AppModelOfTwo, LeavesPathAndSelectionWithTheMailbox)
{
    await(model.load(0, true));
    model.open(model.messages().first());
    fixture.provider(1).hold(listMessages);
    model.select(SidebarItem{second, system(Mailbox::inbox)});
    EXPECT_TRUE(model.path().isEmpty());
    EXPECT_TRUE(model.selection().isEmpty());
    EXPECT_TRUE(model.messages().isEmpty());
    EXPECT_EQ(model.total(), std::nullopt);
}

// --- Answers to the open message

TEST(AppModelAnswers, ToAnOpenMessageAreCompleteHoweverOften)
{
    ModelFixture fixture;
    AppModel& model = fixture.model();
    fixture.provider().setListing(system(Mailbox::inbox), ModelFixture::rows(fixture.account(), 2));
    fixture.provider().setRaw(u"1"_s,
                              "From: Ada <ada@example.com>\r\nTo: mia@example.org, bob@example.com\r\n"
                              "Subject: Boats\r\n\r\nText");
    await(model.load(0, true));
    const MessageSummary row = model.messages().first();
    model.open(row);
    model.setOpenParsed(await(fetchParsed(model.provider(row.accountID), row.id)));
    for (int round = 0; round < 3; ++round) {
        await(model.reply(row, true));
        const std::optional<ComposeDraft> draft = model.takeSeed(*model.pendingCompose());
        EXPECT_TRUE(draft->to.contains(u"ada@example.com"_s));
        EXPECT_EQ(draft->cc, u"bob@example.com");
        EXPECT_TRUE(draft->body.contains(u"> Text"_s));
        model.closeCompose(draft->id);
    }
    ASSERT_TRUE(model.openParsed());
    EXPECT_EQ(model.openParsed()->textBody, u"Text"_s);
}

TEST(AppModelAnswers, ToAnotherRowQuoteThatRow)
{
    ModelFixture fixture;
    AppModel& model = fixture.model();
    fixture.provider().setListing(system(Mailbox::inbox), ModelFixture::rows(fixture.account(), 2));
    fixture.provider().setRaw(u"1"_s, "From: ada@example.com\r\n\r\nOne");
    fixture.provider().setRaw(u"2"_s, "From: bob@example.com\r\n\r\nTwo");
    await(model.load(0, true));
    const QList<MessageSummary> rows = model.messages();
    model.open(rows[0]);
    model.setOpenParsed(await(fetchParsed(model.provider(rows[0].accountID), rows[0].id)));
    await(model.reply(rows[1], false));
    const std::optional<ComposeDraft> draft = model.takeSeed(*model.pendingCompose());
    EXPECT_TRUE(draft->body.contains(u"> Two"_s));
    EXPECT_EQ(draft->to, u"bob@example.com");
}

} // namespace
} // namespace Larkhaven
