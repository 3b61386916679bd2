#include "domain/MailError.h"
#include "model/AppModel.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"
#include "support/ModelFixture.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <QDirIterator>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

// What becomes of checks that nobody asked for, and of what is shown meanwhile.

namespace Larkhaven {
namespace {

const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);
const auto listMessages = u"listMessages"_s;

StreamError refused()
{
    return {QAbstractSocket::ConnectionRefusedError, u"imap.example.org: Connection refused"_s};
}

QStringList idsOf(const QList<MessageSummary>& rows)
{
    QStringList ids;
    for (const MessageSummary& row : rows)
        ids.append(row.id);
    return ids;
}

class AppModelChecks : public testing::Test {
protected:
    AppModel& model() { return fixture.model(); }
    FakeMailProvider& provider() { return fixture.provider(); }
    QString failure()
    {
        return model().failedChecks().isEmpty() ? QString() : model().failedChecks().first().text;
    }

    /// Restarts once the rows on screen are on the disk.
    void restartWithKeptRows()
    {
        const auto isKept = [this] {
            QDirIterator files(fixture.cachesDirectory(), QDir::Files, QDirIterator::Subdirectories);
            while (files.hasNext()) {
                if (QFileInfo(files.next()).fileName().size() == 64)
                    return true;
            }
            return false;
        };
        ASSERT_TRUE(waitUntil(isKept));
        fixture.restart();
    }

    ModelFixture fixture;
};

TEST_F(AppModelChecks, TellOfAFailureInTheBackgroundWithoutAnAlert)
{
    provider().failAlways(listMessages, refused());
    await(model().begin());
    settle();
    EXPECT_FALSE(model().errorMessage());
    EXPECT_EQ(failure(), u"Can’t reach imap.example.org.");
    EXPECT_EQ(model().failedChecks().first().accountID, fixture.account().id);
    EXPECT_FALSE(model().failedChecks().first().lastChecked.isValid());
}

TEST_F(AppModelChecks, TellOfAFailureOfTheLoopWithoutAnAlert)
{
    provider().failAlways(listMessages, refused());
    fixture.endSleeps();
    settle();
    EXPECT_FALSE(model().errorMessage());
    EXPECT_EQ(failure(), u"Can’t reach imap.example.org.");
}

TEST_F(AppModelChecks, TellOfAFailureOfAnotherKindInItsOwnWords)
{
    provider().failAlways(listMessages, MailError::protocolError(u"Mailbox is locked"_s));
    await(model().begin());
    EXPECT_EQ(failure(), u"Mail protocol error: Mailbox is locked");
    EXPECT_FALSE(model().errorMessage());
}

TEST_F(AppModelChecks, KnowWhenTheAccountWasCheckedLast)
{
    const QDateTime before = QDateTime::currentDateTimeUtc();
    await(model().begin());
    provider().failAlways(listMessages, refused());
    await(model().tryAgain());
    const QDateTime last = model().failedChecks().first().lastChecked;
    EXPECT_GE(last, before);
    EXPECT_LE(last, QDateTime::currentDateTimeUtc());
}

TEST_F(AppModelChecks, ForgetTheFailureWithTheNextAnswer)
{
    provider().failAlways(listMessages, refused());
    await(model().begin());
    provider().heal();
    await(model().tryAgain());
    settle();
    EXPECT_TRUE(model().failedChecks().isEmpty());
}

TEST_F(AppModelChecks, DoNotTakeCountsForAnAnswerToAListingThatHasFailed)
{
    provider().failAlways(listMessages, MailError::protocolError(u"Mailbox is locked"_s));
    await(model().begin());
    await(model().loadCounts(fixture.account().id));
    EXPECT_FALSE(failure().isEmpty());
}

TEST_F(AppModelChecks, TakeCountsForTheCheckOfAnAccountThatIsNotOnScreen)
{
    ModelFixture two({ModelFixture::imapAccount(), ModelFixture::googleAccount()});
    two.provider(0).failAlways(listMessages, refused());
    await(two.model().begin());
    ASSERT_EQ(two.model().failedChecks().size(), 1);
    two.model().select(SidebarItem{two.account(1).id, inbox});
    await(two.model().loadCounts(two.account(0).id));
    EXPECT_TRUE(two.model().failedChecks().isEmpty());
}

TEST_F(AppModelChecks, TellOfEachAccountByItself)
{
    ModelFixture two({ModelFixture::imapAccount(), ModelFixture::googleAccount()});
    two.provider(0).failAlways(u"counts"_s, refused());
    two.provider(1).failAlways(u"counts"_s, refused());
    await(two.model().begin());
    ASSERT_TRUE(waitUntil([&] { return two.model().failedChecks().size() == 2; }));
    QStringList texts;
    for (const CheckResults::Failure& failed : two.model().failedChecks())
        texts.append(failed.text);
    EXPECT_TRUE(texts.contains(u"Can’t reach gmail.googleapis.com."_s)) << texts.join(u' ').toStdString();
    EXPECT_TRUE(texts.contains(u"Can’t reach imap.example.org."_s));
    await(two.model().removeAccount(two.account(1).id));
    EXPECT_EQ(two.model().failedChecks().size(), 1);
}

TEST_F(AppModelChecks, GiveWayToTheSignInThatAnAccountNeeds)
{
    provider().failAlways(u"counts"_s, refused());
    await(model().loadCounts(fixture.account().id));
    ASSERT_FALSE(failure().isEmpty());
    provider().failAlways(listMessages, MailError::notSignedIn());
    await(model().load(0, true));
    EXPECT_TRUE(model().needsReauth().contains(fixture.account().id));
    EXPECT_TRUE(model().failedChecks().isEmpty());
}

TEST_F(AppModelChecks, RaiseAnAlertForWhatTheUserHasAskedForOnceForOneCause)
{
    provider().failAlways(listMessages, refused());
    model().selectMailbox(MailboxRef::system(Mailbox::sent));
    settle();
    EXPECT_EQ(model().errorMessage(), u"imap.example.org: Connection refused");
    model().clearErrorMessage();
    model().selectMailbox(MailboxRef::system(Mailbox::trash));
    settle();
    EXPECT_FALSE(model().errorMessage()) << "the strip says so already";
    await(model().refresh());
    EXPECT_TRUE(model().errorMessage()) << "whoever asks for news gets an answer";
}

TEST_F(AppModelChecks, SayInWhichWindowTheUserHasAsked)
{
    QObject main;
    auto settings = std::make_unique<QObject>();
    QObject* active = settings.get();
    model().setAskerSource([&active] { return active; });
    provider().failAlways(u"archive"_s, MailError::protocolError(u"no"_s));
    provider().hold(u"archive"_s);
    provider().setListing(inbox, ModelFixture::rows(fixture.account(), 2));
    await(model().load(0, true));
    model().archive(model().messages());
    active = &main;
    provider().completeAll();
    settle();
    ASSERT_TRUE(model().errorMessage());
    EXPECT_EQ(model().errorAsker(), settings.get());
    settings.reset();
    EXPECT_EQ(model().errorAsker(), nullptr);
}

// --- Rows that an earlier run has kept

TEST_F(AppModelChecks, TellOfTwoFailuresInTheSameWordsAsOfTwo)
{
    const auto failure = std::make_exception_ptr(MailError::protocolError(u"No."_s));
    int told = 0;
    QObject::connect(&model(), &AppModel::errorMessageChanged, &model(), [&told] { ++told; });
    QObject first;
    QObject second;
    model().report(failure, std::nullopt, &first);
    const quint64 number = model().errorNumber();
    model().report(failure, std::nullopt, &second);
    EXPECT_EQ(told, 2);
    EXPECT_NE(model().errorNumber(), number);
    EXPECT_EQ(model().errorAsker(), &second);
}

TEST_F(AppModelChecks, ShowTheRowsOfAnEarlierRunWhereTheServiceCannotBeReached)
{
    provider().setListing(inbox, ModelFixture::rows(fixture.account(), 60));
    await(model().begin());
    ASSERT_EQ(model().messages().size(), 25);
    restartWithKeptRows();
    provider().failAlways(listMessages, refused());
    await(model().begin());
    ASSERT_TRUE(waitUntil([&] { return !model().messages().isEmpty(); }));
    EXPECT_EQ(idsOf(model().messages()), idsOf(ModelFixture::rows(fixture.account(), 25)));
    EXPECT_EQ(model().pagerText(), u"1–25 of 60");
    EXPECT_FALSE(model().isListingAnswered());
    ASSERT_TRUE(waitUntil([&] { return model().failedChecks().first().lastChecked.isValid(); }));
}

TEST_F(AppModelChecks, ShowTheRowsOfAnEarlierRunUntilTheServiceAnswers)
{
    provider().setListing(inbox, ModelFixture::rows(fixture.account(), 3));
    await(model().begin());
    restartWithKeptRows();
    provider().hold(listMessages);
    model().start(model().begin());
    ASSERT_TRUE(waitUntil([&] { return model().messages().size() == 3; }));
    EXPECT_TRUE(model().isLoading());
    provider().receive(inbox, ModelFixture::row(fixture.account(), u"new"_s));
    provider().stopHolding(listMessages);
    provider().completeAll();
    ASSERT_TRUE(waitUntil([&] { return model().isListingAnswered(); }));
    settle();
    await(model().tryAgain());
    EXPECT_EQ(model().messages().size(), 4);
}

TEST_F(AppModelChecks, NeverPutKeptRowsOverAnAnswer)
{
    provider().setListing(inbox, ModelFixture::rows(fixture.account(), 3));
    await(model().begin());
    restartWithKeptRows();
    provider().setListing(inbox, {});
    await(model().begin());
    settle();
    EXPECT_TRUE(model().messages().isEmpty());
    EXPECT_TRUE(model().isListingAnswered());
}

TEST_F(AppModelChecks, KeepNoRowsOfASearch)
{
    provider().setListing(inbox, ModelFixture::rows(fixture.account(), 3));
    provider().setListing(inbox, ModelFixture::rows(fixture.account(), 1), u"one"_s);
    await(model().begin());
    model().setSearchText(u"one"_s);
    await(model().applySearch());
    restartWithKeptRows();
    provider().failAlways(listMessages, refused());
    await(model().begin());
    ASSERT_TRUE(waitUntil([&] { return !model().messages().isEmpty(); }));
    EXPECT_EQ(model().messages().size(), 3);
}

TEST_F(AppModelChecks, SayThatThereIsNothingOnlyWhereTheServiceHasSaidSo)
{
    provider().failAlways(listMessages, refused());
    await(model().begin());
    EXPECT_TRUE(model().messages().isEmpty());
    EXPECT_FALSE(model().isListingAnswered());
    provider().heal();
    await(model().tryAgain());
    EXPECT_TRUE(model().isListingAnswered());
}

TEST_F(AppModelChecks, ReturnToTheMailboxThatWasOnScreenLast)
{
    model().selectMailbox(MailboxRef::system(Mailbox::archive));
    fixture.restart();
    EXPECT_EQ(model().sidebarSelection()->ref, MailboxRef::system(Mailbox::archive));
    fixture.defaults().set(DefaultsKey::mailboxOnScreen, u"{\"account\": 7}"_s);
    fixture.restart();
    EXPECT_EQ(model().sidebarSelection()->ref, inbox);
    fixture.defaults().set(
        DefaultsKey::mailboxOnScreen,
        u"{\"account\":\"6F1B3E4C-0000-4000-8000-000000000000\",\"mailbox\":{\"system\":\"trash\"}}"_s);
    fixture.restart();
    EXPECT_EQ(model().sidebarSelection()->ref, inbox) << "an account that is gone";
}

TEST_F(AppModelChecks, GoToTheInboxWhereTheFolderThatWasOnScreenLastIsGone)
{
    const MailLabel work{u"Work"_s, u"Work"_s};
    provider().setLabels({work});
    await(model().loadLabels(fixture.account().id));
    for (const QList<MailLabel>& left : {QList<MailLabel>{{u"Play"_s, u"Play"_s}}, QList<MailLabel>()}) {
        model().selectMailbox(MailboxRef::label(work));
        fixture.restart();
        ASSERT_EQ(model().sidebarSelection()->ref, MailboxRef::label(work));
        provider().setLabels(left);
        await(model().loadLabels(fixture.account().id));
        EXPECT_EQ(model().sidebarSelection()->ref, inbox);
    }
}

// --- Undoing

class AppModelUndo : public AppModelChecks {
protected:
    void SetUp() override
    {
        provider().setListing(inbox, ModelFixture::rows(fixture.account(), 4));
        provider().setCanPutBack(true);
        await(model().load(0, true));
        provider().forgetCalls();
    }
};

TEST_F(AppModelUndo, MovesBackWhatWasMovedLast)
{
    const QStringList all = idsOf(model().messages());
    provider().hold(u"archive"_s);
    model().archive({model().messages().first()});
    settle();
    EXPECT_FALSE(model().undoOffer()) << "the service hasn't done it yet";
    provider().completeAll();
    settle();
    ASSERT_TRUE(model().undoOffer());
    EXPECT_EQ(model().undoOffer()->text, u"Archived.");
    await(model().undo());
    settle();
    EXPECT_EQ(provider().calls(u"putBack"_s), QStringList(u"putBack "_s + all.first()));
    EXPECT_EQ(idsOf(model().messages()), all);
    EXPECT_FALSE(model().undoOffer());
}

TEST_F(AppModelUndo, SaysWhatWasDone)
{
    const auto said = [this](const auto& act) {
        act(QList<MessageSummary>{model().messages().first()});
        settle();
        return model().undoOffer() ? model().undoOffer()->text : QString();
    };
    EXPECT_EQ(said([this](const auto& rows) { model().trash(rows); }), u"Deleted.");
    EXPECT_EQ(said([this](const auto& rows) { model().reportSpam(rows); }), u"Marked as junk.");
    EXPECT_EQ(said([this](const auto& rows) {
                  model().move(rows, MailboxRef::label({u"W"_s, u"Work/Old"_s}));
              }),
              u"Moved to Old.");
    EXPECT_EQ(said([this](const auto& rows) { model().moveToInbox(rows); }), u"Moved to Inbox.");
}

TEST_F(AppModelUndo, IsOnlyOfferedWhereAllCanBePutBack)
{
    provider().setCanPutBack(false);
    model().archive({model().messages().first()});
    settle();
    EXPECT_FALSE(model().undoOffer());
    provider().failNext(u"canPutBack"_s, MailError::protocolError(u"no"_s));
    model().archive({model().messages().first()});
    settle();
    EXPECT_FALSE(model().undoOffer());
    EXPECT_FALSE(model().errorMessage());
}

TEST_F(AppModelUndo, MeansTheNewestMoveAlone)
{
    provider().hold(u"canPutBack"_s);
    model().archive({model().messages().first()});
    settle();
    model().trash({model().messages().first()});
    settle();
    ASSERT_EQ(provider().pending().size(), 2);
    provider().complete(0);
    settle();
    EXPECT_FALSE(model().undoOffer()) << "the first one was not the last";
    provider().completeAll();
    settle();
    ASSERT_TRUE(model().undoOffer());
    EXPECT_EQ(model().undoOffer()->text, u"Deleted.");
}

TEST_F(AppModelUndo, HappensOnceWhereItIsAskedForTwice)
{
    model().archive({model().messages().first()});
    settle();
    model().start(model().undo());
    model().start(model().undo());
    settle();
    EXPECT_EQ(provider().calls(u"putBack"_s).size(), 1);
}

TEST_F(AppModelUndo, IsOfferedForAWhile)
{
    model().archive(model().messages().first(1));
    ASSERT_TRUE(waitUntil([this] { return model().undoOffer().has_value(); }));
    EXPECT_EQ(AppModel::undoTime, std::chrono::seconds(8));
    EXPECT_TRUE(waitUntil([this] { return !model().undoOffer(); }, 2 * AppModel::undoTime));
    await(model().undo());
    EXPECT_TRUE(provider().calls(u"putBack"_s).isEmpty());
}

TEST_F(AppModelUndo, ReportsThatItFailed)
{
    model().archive({model().messages().first()});
    settle();
    provider().failNext(u"putBack"_s, MailError::protocolError(u"no"_s));
    await(model().undo());
    EXPECT_TRUE(model().errorMessage());
}

TEST_F(AppModelUndo, IsNotOfferedForAnAccountThatIsGone)
{
    provider().hold(u"canPutBack"_s);
    model().archive({model().messages().first()});
    settle();
    await(model().removeAccount(fixture.account().id));
    provider().completeAll();
    settle();
    EXPECT_FALSE(model().undoOffer());
}

TEST_F(AppModelUndo, SelectsTheRowThatTakesThePlaceOfARemovedOne)
{
    QObject::connect(&model(), &AppModel::removing, &model(), [this] { model().setSuccessor(u"3"_s); });
    model().setSelection({u"2"_s});
    model().archive({model().messages()[1]});
    EXPECT_EQ(model().selection(), QSet<QString>{u"3"_s});
}

TEST_F(AppModelUndo, LeavesTheSelectionAloneWhereOtherRowsAreRemoved)
{
    QObject::connect(&model(), &AppModel::removing, &model(), [this] { model().setSuccessor(u"3"_s); });
    model().setSelection({u"1"_s});
    model().archive({model().messages()[1]});
    EXPECT_EQ(model().selection(), QSet<QString>{u"1"_s});
}

TEST_F(AppModelUndo, SelectsRowsThatComeBackInPlaceOfTheirSuccessor)
{
    QObject::connect(&model(), &AppModel::removing, &model(), [this] { model().setSuccessor(u"3"_s); });
    provider().failNext(u"archive"_s, MailError::protocolError(u"no"_s));
    model().setSelection({u"2"_s});
    model().archive({model().messages()[1]});
    settle();
    EXPECT_EQ(model().selection(), QSet<QString>{u"2"_s});
    // But what the user has chosen meanwhile stays.
    provider().failNext(u"archive"_s, MailError::protocolError(u"no"_s));
    model().archive({model().messages()[1]});
    model().setSelection({u"4"_s});
    settle();
    EXPECT_EQ(model().selection(), QSet<QString>{u"4"_s});
}

// --- Searching

TEST_F(AppModelUndo, LeavesTheReaderForTheResultsOfASearch)
{
    model().open(model().messages().first());
    model().setSearchText(u"boat"_s);
    await(model().applySearch());
    EXPECT_TRUE(model().path().isEmpty());
    EXPECT_EQ(model().listedQuery(), u"boat");
}

} // namespace
} // namespace Larkhaven
