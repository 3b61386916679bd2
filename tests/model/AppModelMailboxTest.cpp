#include "domain/MailError.h"
#include "model/AppModel.h"
#include "support/Await.h"
#include "support/ModelFixture.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>
#include <limits>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QString listMessages = u"listMessages"_s;

MailboxRef system(Mailbox role)
{
    return MailboxRef::system(role);
}

class AppModelMailbox : public testing::Test {
protected:
    void list(Mailbox role, int count)
    {
        fixture.provider().setListing(system(role), ModelFixture::rows(fixture.account(), count));
    }

    QStringList shownIDs() const
    {
        QStringList ids;
        for (const MessageSummary& row : model.messages())
            ids.append(row.id);
        return ids;
    }

    ModelFixture fixture;
    AppModel& model = fixture.model();
};

TEST_F(AppModelMailbox, ReportsThatTheLastPageCannotBeFound)
{
    list(Mailbox::inbox, 60);
    await(model.load(0, true));
    fixture.provider().failNext(u"lastPageOffset"_s, MailError::protocolError(u"Gone."_s));
    await(model.lastPage());
    EXPECT_TRUE(model.errorMessage().value_or(QString()).contains(u"Gone."_s));
    EXPECT_FALSE(model.isLoading());
    EXPECT_EQ(model.pageIndex(), 0);
}

TEST_F(AppModelMailbox, ShowsTheLastPageThoughACheckCameBetween)
{
    list(Mailbox::inbox, 60);
    await(model.load(0, true));
    fixture.provider().hold(u"lastPageOffset"_s);
    model.start(model.lastPage());
    fixture.endSleeps();
    ASSERT_TRUE(waitUntil([this] { return fixture.sleeps().size() == 2; }));
    settle();
    fixture.provider().completeAll();
    EXPECT_TRUE(waitUntil([this] { return model.pageIndex() == 2 && !model.isLoading(); }));
}

TEST_F(AppModelMailbox, ForgetsTheWayToTheLastPageOnceTheUserWantsAnother)
{
    list(Mailbox::inbox, 60);
    await(model.load(0, true));
    fixture.provider().hold(u"lastPageOffset"_s);
    model.start(model.lastPage());
    await(model.refresh());
    fixture.provider().completeAll();
    settle();
    EXPECT_EQ(model.pageIndex(), 0);
    EXPECT_FALSE(model.isLoading());
}

TEST_F(AppModelMailbox, RunsNoSearchThatIsStillBeingTypedByItself)
{
    list(Mailbox::inbox, 60);
    await(model.load(0, true));
    model.setSearchText(u"half a wo"_s);
    fixture.provider().forgetCalls();
    fixture.endSleeps();
    ASSERT_TRUE(waitUntil([this] { return fixture.sleeps().size() == 2; }));
    settle();
    EXPECT_EQ(fixture.provider().calls(listMessages).size(), 1);
    EXPECT_FALSE(model.listedQuery());
    EXPECT_EQ(model.messages().size(), 25);
    await(model.applySearch());
    EXPECT_EQ(model.listedQuery(), u"half a wo"_s);
    model.setSearchText({});
    fixture.endSleeps();
    ASSERT_TRUE(waitUntil([this] { return fixture.sleeps().size() == 3; }));
    settle();
    EXPECT_EQ(model.listedQuery(), u"half a wo"_s) << "the search in force";
}

TEST_F(AppModelMailbox, TellsThatAnotherSearchHasBegunWhileALoadIsUnderWay)
{
    list(Mailbox::inbox, 3);
    fixture.provider().hold(listMessages);
    model.start(model.load(0, true));
    int told = 0;
    QObject::connect(&model, &AppModel::listedQueryChanged, &model, [&told] { ++told; });
    model.setSearchText(u"boat"_s);
    model.start(model.applySearch());
    EXPECT_EQ(told, 1);
    EXPECT_EQ(model.listedQuery(), u"boat"_s);
    fixture.provider().completeAll();
    settle();
    EXPECT_EQ(told, 1);
}

TEST_F(AppModelMailbox, TurnsNoPageBackWhileOneLoads)
{
    list(Mailbox::inbox, 80);
    await(model.load(0, true));
    await(model.nextPage());
    fixture.provider().hold(listMessages);
    model.start(model.load(2, true));
    await(model.previousPage());
    EXPECT_EQ(fixture.provider().pending().size(), 1);
    fixture.provider().completeAll();
    settle();
    EXPECT_EQ(model.pageIndex(), 2);
}

TEST_F(AppModelMailbox, AsksForEachOtherPageAnewAfterALookForNews)
{
    list(Mailbox::inbox, 60);
    await(model.load(0, true));
    await(model.nextPage());
    await(model.previousPage());
    await(model.refresh());
    const qsizetype before = fixture.provider().calls(listMessages).size();
    await(model.nextPage());
    EXPECT_EQ(fixture.provider().calls(listMessages).size(), before + 1);
}

TEST_F(AppModelMailbox, NeverShowsTheRowsOfTheMailboxThatWasLeftWhicheverAnswerComesFirst)
{
    for (const bool isOldAnswerFirst : {true, false}) {
        ModelFixture local;
        AppModel& localModel = local.model();
        MessageSummary inboxRow = ModelFixture::row(local.account(), u"inbox"_s);
        MessageSummary sentRow = ModelFixture::row(local.account(), u"sent"_s);
        local.provider().setListing(system(Mailbox::inbox), {inboxRow});
        local.provider().setListing(system(Mailbox::sent), {sentRow});
        bool sawInbox = false;
        QObject::connect(&localModel, &AppModel::messagesChanged, [&] {
            sawInbox = sawInbox ||
                       (!localModel.messages().isEmpty() && localModel.messages().first().id == u"inbox");
        });
        local.provider().hold(listMessages);
        localModel.start(localModel.load(0, true));
        localModel.selectMailbox(system(Mailbox::sent));
        ASSERT_EQ(local.provider().pending().filter(listMessages).size(), 2);
        EXPECT_TRUE(localModel.isLoading());

        const auto indexOf = [&](const QString& text) {
            for (qsizetype index = 0; index < local.provider().pending().size(); ++index) {
                if (local.provider().pending()[index].contains(text))
                    return index;
            }
            return qsizetype{-1};
        };
        const QString first = isOldAnswerFirst ? u"system:inbox"_s : u"system:sent"_s;
        const QString second = isOldAnswerFirst ? u"system:sent"_s : u"system:inbox"_s;
        local.provider().complete(indexOf(first));
        settle();
        EXPECT_EQ(localModel.isLoading(), isOldAnswerFirst);
        local.provider().complete(indexOf(second));
        settle();
        EXPECT_FALSE(localModel.isLoading());
        EXPECT_FALSE(sawInbox);
        ASSERT_EQ(localModel.messages().size(), 1);
        EXPECT_EQ(localModel.messages().first().id, u"sent");
    }
}

TEST_F(AppModelMailbox, ShowsAKeptPageWithoutTheNetworkAndKeepsTheTotal)
{
    list(Mailbox::inbox, 60);
    await(model.load(2, true));
    await(model.load(0, false));
    fixture.provider().forgetCalls();
    bool wasLoading = false;
    QObject::connect(&model, &AppModel::isLoadingChanged, [&wasLoading] { wasLoading = true; });
    await(model.load(2, false));
    EXPECT_EQ(model.pageIndex(), 2);
    EXPECT_EQ(model.messages().size(), 10);
    EXPECT_EQ(model.total(), 60);
    EXPECT_FALSE(wasLoading);
    EXPECT_TRUE(fixture.provider().calls().isEmpty());
}

TEST_F(AppModelMailbox, TellsWhichRowsOfHowManyAreShown)
{
    EXPECT_EQ(model.pagerText(), u"");
    list(Mailbox::inbox, 60);
    await(model.load(2, true));
    EXPECT_EQ(model.pagerText(), u"51–60 of 60");
}

TEST_F(AppModelMailbox, TellsOfManyWhereTheTotalIsUnknownAndAPageFollows)
{
    fixture.provider().setTotalIsKnown(false);
    list(Mailbox::inbox, 100);
    await(model.load(2, true));
    EXPECT_EQ(model.pagerText(), u"51–75 of many");
    await(model.load(3, true));
    EXPECT_EQ(model.pagerText(), u"76–100 of 100");
}

TEST_F(AppModelMailbox, KeepsTheTotalOfTheLastAnswerThatHadOne)
{
    list(Mailbox::inbox, 60);
    await(model.load(0, true));
    fixture.provider().setTotalIsKnown(false);
    await(model.load(1, true));
    EXPECT_EQ(model.total(), 60);
}

TEST_F(AppModelMailbox, ShowsUpTo9999UnreadMessagesAndAPlusBeyond)
{
    const QString inbox = system(Mailbox::inbox).id();
    fixture.provider().setCounts({{inbox, 9999}});
    await(model.loadCounts(fixture.account().id));
    EXPECT_EQ(model.badgeText(), u"9999");
    fixture.provider().setCounts({{inbox, 10000}});
    await(model.loadCounts(fixture.account().id));
    EXPECT_EQ(model.badgeText(), u"9999+");
    fixture.provider().setCounts({});
    await(model.loadCounts(fixture.account().id));
    EXPECT_EQ(model.badgeText(), u"");
    EXPECT_EQ(fixture.badges(), (QList<qint64>{9999, 9999, 0}));
}

TEST_F(AppModelMailbox, ShowsNoBadgeWhereTheUserWantsNone)
{
    fixture.provider().setCounts({{system(Mailbox::inbox).id(), 3}});
    fixture.defaults().set(DefaultsKey::showDockBadge, false);
    await(model.loadCounts(fixture.account().id));
    EXPECT_EQ(model.badgeText(), u"");
    EXPECT_EQ(fixture.badges().last(), 0);
}

TEST_F(AppModelMailbox, ShowsAndHidesTheBadgeAsSoonAsTheUserWantsIt)
{
    fixture.provider().setCounts({{system(Mailbox::inbox).id(), 3}});
    await(model.loadCounts(fixture.account().id));
    fixture.defaults().set(DefaultsKey::showDockBadge, false);
    EXPECT_EQ(fixture.badges().last(), 0);
    fixture.defaults().set(DefaultsKey::showDockBadge, true);
    EXPECT_EQ(fixture.badges().last(), 3);
}

TEST_F(AppModelMailbox, ChecksAtAnotherIntervalAsSoonAsTheUserChoosesIt)
{
    settle();
    fixture.defaults().set(DefaultsKey::refreshMinutes, 30);
    settle();
    EXPECT_EQ(fixture.sleeps().last(), std::chrono::minutes(30));
    EXPECT_EQ(fixture.sleeping(), 1);
    fixture.defaults().set(DefaultsKey::refreshMinutes, 0);
    settle();
    EXPECT_EQ(fixture.sleeping(), 0);
    fixture.defaults().set(DefaultsKey::refreshMinutes, 1);
    settle();
    EXPECT_EQ(fixture.sleeps().last(), std::chrono::minutes(1));
    EXPECT_TRUE(fixture.provider().calls().isEmpty());
}

TEST_F(AppModelMailbox, KeepsTheAccentThatItStartedWith)
{
    EXPECT_EQ(model.accentAtStart(), AccentChoice::larkhaven);
    fixture.defaults().set(DefaultsKey::accent, u"system"_s);
    EXPECT_EQ(model.accentAtStart(), AccentChoice::larkhaven);
    fixture.restart();
    EXPECT_EQ(fixture.model().accentAtStart(), AccentChoice::system);
}

TEST_F(AppModelMailbox, EndsTheRefreshLoopAtOnceWhereTheIntervalIsZero)
{
    fixture.defaults().set(DefaultsKey::refreshMinutes, 0);
    fixture.restart();
    settle();
    EXPECT_TRUE(fixture.provider().calls().isEmpty());
    EXPECT_EQ(fixture.sleeping(), 0);
}

TEST_F(AppModelMailbox, ChecksForTheFirstTimeAfterFiveMinutesWhereTheIntervalIsFive)
{
    settle();
    ASSERT_EQ(fixture.sleeps(), QList<std::chrono::milliseconds>{std::chrono::minutes(5)});
    EXPECT_TRUE(fixture.provider().calls().isEmpty());
    fixture.endSleeps();
    settle();
    EXPECT_EQ(fixture.provider().calls(listMessages).size(), 1);
    EXPECT_EQ(fixture.sleeps().size(), 2);
}

TEST_F(AppModelMailbox, ReplacesTheRefreshLoopWhereItIsStartedAgain)
{
    fixture.defaults().set(DefaultsKey::refreshMinutes, 1);
    model.startRefreshLoop();
    settle();
    EXPECT_EQ(fixture.sleeps().last(), std::chrono::minutes(1));
    EXPECT_EQ(fixture.sleeping(), 1);
}

TEST_F(AppModelMailbox, TakesAPageSizeThatIsNotOfferedFor25)
{
    fixture.defaults().set(DefaultsKey::pageSize, 30);
    list(Mailbox::inbox, 60);
    await(model.load(0, true));
    EXPECT_EQ(model.messages().size(), 25);
    fixture.defaults().set(DefaultsKey::pageSize, 100);
    await(model.load(0, true));
    EXPECT_EQ(model.messages().size(), 60);
}

TEST_F(AppModelMailbox, KeepsTheSelectedRowsThatAreStillListedAndNoOthers)
{
    list(Mailbox::inbox, 3);
    await(model.load(0, true));
    model.setSelection({u"1"_s, u"3"_s});
    list(Mailbox::inbox, 2);
    await(model.load(0, true));
    EXPECT_EQ(model.selection(), QSet<QString>{u"1"_s});
}

TEST_F(AppModelMailbox, KeepsTheRowsAndTellsWhyWhereALoadFails)
{
    list(Mailbox::inbox, 3);
    await(model.load(0, true));
    fixture.provider().failNext(listMessages, MailError::protocolError(u"no"_s));
    await(model.load(0, true));
    EXPECT_EQ(model.messages().size(), 3);
    EXPECT_EQ(model.errorMessage(), u"Mail protocol error: no"_s);
    EXPECT_FALSE(model.isLoading());
}

TEST_F(AppModelMailbox, CarriesTheSearchInForceOverToTheNextMailbox)
{
    model.setSearchText(u" \tinvoice "_s);
    fixture.provider().setListing(system(Mailbox::archive), ModelFixture::rows(fixture.account(), 1),
                                  u"invoice"_s);
    model.selectMailbox(system(Mailbox::archive));
    settle();
    EXPECT_EQ(model.searchText(), u" \tinvoice ");
    EXPECT_EQ(shownIDs(), QStringList(u"1"_s));
}

TEST_F(AppModelMailbox, DoesNothingWhereTheSelectedMailboxIsSelectedAgain)
{
    list(Mailbox::inbox, 3);
    await(model.load(0, true));
    fixture.provider().forgetCalls();
    model.select(model.sidebarSelection());
    model.select(std::nullopt);
    settle();
    EXPECT_TRUE(fixture.provider().calls().isEmpty());
    EXPECT_EQ(model.messages().size(), 3);
}

TEST_F(AppModelMailbox, TurnsPagesOnlyWhereThereAreSomeAndNothingLoads)
{
    list(Mailbox::inbox, 60);
    await(model.previousPage());
    EXPECT_EQ(model.pageIndex(), 0);
    await(model.load(0, true));
    await(model.nextPage());
    EXPECT_EQ(model.pageIndex(), 1);
    await(model.lastPage());
    EXPECT_EQ(model.pageIndex(), 2);
    await(model.nextPage());
    EXPECT_EQ(model.pageIndex(), 2);
    await(model.firstPage());
    EXPECT_EQ(model.pageIndex(), 0);

    fixture.provider().hold(listMessages);
    model.start(model.load(0, true));
    fixture.provider().forgetCalls();
    await(model.nextPage());
    await(model.firstPage());
    await(model.lastPage());
    EXPECT_TRUE(fixture.provider().calls().isEmpty());
}

TEST_F(AppModelMailbox, AsksWhatIsNewOnlyWhereItIsToldTo)
{
    list(Mailbox::inbox, 60);
    await(model.load(0, true));
    EXPECT_TRUE(fixture.provider().calls(listMessages).last().contains(u"refresh=true"_s));
    await(model.nextPage());
    EXPECT_TRUE(fixture.provider().calls(listMessages).last().contains(u"refresh=false"_s));
    EXPECT_EQ(fixture.provider().calls(listMessages).size(), 2);
    await(model.refresh());
    EXPECT_TRUE(fixture.provider().calls(listMessages).last().contains(u"refresh=true"_s));
    EXPECT_TRUE(fixture.provider().calls(listMessages).last().contains(u"offset=25"_s));
}

TEST_F(AppModelMailbox, SearchesForTheMessagesOfASender)
{
    model.search(ModelFixture::row(fixture.account(), u"1"_s));
    settle();
    EXPECT_EQ(model.searchText(), u"from:ada@example.com");
    EXPECT_EQ(fixture.provider().calls(listMessages).size(), 1);
    MessageSummary anonymous;
    model.search(anonymous);
    settle();
    EXPECT_EQ(fixture.provider().calls(listMessages).size(), 1);
}

TEST_F(AppModelMailbox, RefreshesThePageOnScreenAndTheLabelsAndCountsOfAllAccounts)
{
    ModelFixture two({ModelFixture::imapAccount(u"a@x"_s), ModelFixture::imapAccount(u"b@x"_s)});
    two.provider(1).setLabels({{u"Work"_s, u"Work"_s}});
    two.provider(1).setCounts({{u"label:Work"_s, 2}});
    await(two.model().refresh());
    settle();
    EXPECT_EQ(two.provider(0).calls(listMessages).size(), 1);
    EXPECT_TRUE(two.provider(1).calls(listMessages).isEmpty());
    EXPECT_EQ(two.model().labels(two.account(1).id), (QList<MailLabel>{{u"Work"_s, u"Work"_s}}));
    EXPECT_EQ(two.model().counts(two.account(1).id).value(u"label:Work"_s), 2);
}

TEST_F(AppModelMailbox, TakesTheFirstTenThousandLabelsOfAServiceThatListsMore)
{
    QList<MailLabel> labels;
    for (int number = 0; number < 10'001; ++number)
        labels.append({QString::number(number), QString::number(number)});
    fixture.provider().setLabels(labels);
    await(model.loadLabels(fixture.account().id));
    EXPECT_EQ(model.labels(fixture.account().id), labels.first(10'000));
}

TEST_F(AppModelMailbox, RaisesNoAlertWhereLabelsOrCountsCannotBeHad)
{
    fixture.provider().setLabels({{u"Work"_s, u"Work"_s}});
    await(model.loadLabels(fixture.account().id));
    fixture.provider().failAlways(u"listLabels"_s, MailError::protocolError(u"no"_s));
    fixture.provider().failAlways(u"counts"_s, MailError::notSignedIn());
    await(model.loadLabels(fixture.account().id));
    await(model.loadCounts(fixture.account().id));
    EXPECT_FALSE(model.errorMessage());
    EXPECT_TRUE(model.needsReauth().isEmpty());
    ASSERT_EQ(model.failedChecks().size(), 1);
    EXPECT_EQ(model.failedChecks().first().text, u"Mail protocol error: no");
    EXPECT_EQ(model.labels(fixture.account().id).size(), 1);
}

TEST_F(AppModelMailbox, CallsLabelsLabelsOnGoogleAccountsOnly)
{
    EXPECT_EQ(model.labelNoun(), u"Folder");
    ModelFixture google({ModelFixture::googleAccount()});
    EXPECT_EQ(google.model().labelNoun(), u"Label");
}

TEST(AppModelMailboxes, NeverShowTheRowsOfTheOneThatWasLeftForOneThatHasNoProvider)
{
    ModelFixture fixture({ModelFixture::imapAccount(), ModelFixture::googleAccount()});
    AppModel& model = fixture.model();
    fixture.provider().setListing(MailboxRef::system(Mailbox::inbox),
                                  ModelFixture::rows(fixture.account(), 3));
    model.useProvider(fixture.account(1).id, nullptr);
    fixture.provider().hold(u"listMessages"_s);
    model.start(model.load(0, true));
    model.select(SidebarItem{fixture.account(1).id, MailboxRef::system(Mailbox::inbox)});
    fixture.provider().completeAll();
    settle();
    EXPECT_TRUE(model.messages().isEmpty());
    EXPECT_FALSE(model.hasCachedPage(0));
    EXPECT_FALSE(model.isLoading());
}

TEST(AppModelMailboxes, ForgetTheWayToTheLastPageOfTheOneThatWasLeft)
{
    ModelFixture fixture;
    AppModel& model = fixture.model();
    fixture.provider().setListing(MailboxRef::system(Mailbox::inbox),
                                  ModelFixture::rows(fixture.account(), 60));
    fixture.provider().setListing(MailboxRef::system(Mailbox::sent),
                                  ModelFixture::rows(fixture.account(), 30));
    await(model.load(0, true));
    fixture.provider().hold(u"lastPageOffset"_s);
    fixture.provider().hold(u"listMessages"_s);
    model.start(model.lastPage());
    model.selectMailbox(MailboxRef::system(Mailbox::sent));
    fixture.provider().complete(0);
    settle();
    EXPECT_TRUE(model.isLoading()) << "of the mailbox on screen";
    fixture.provider().completeAll();
    settle();
    EXPECT_EQ(model.pageIndex(), 0);
    EXPECT_EQ(model.messages().size(), 25);
    EXPECT_FALSE(model.isLoading());
}

TEST(AppModelBadge, CountsNoFurtherThanItShows)
{
    ModelFixture fixture({ModelFixture::imapAccount(), ModelFixture::googleAccount()});
    for (const int index : {0, 1}) {
        fixture.provider(index).setCounts({{u"system:inbox"_s, std::numeric_limits<qint64>::max()}});
        await(fixture.model().loadCounts(fixture.account(index).id));
    }
    EXPECT_EQ(fixture.model().badgeText(), u"9999+");
}

} // namespace
} // namespace Larkhaven
