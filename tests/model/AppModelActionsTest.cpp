#include "domain/MailError.h"
#include "model/AppModel.h"
#include "support/Await.h"
#include "support/ModelFixture.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);

QStringList idsOf(const QList<MessageSummary>& rows)
{
    QStringList ids;
    for (const MessageSummary& row : rows)
        ids.append(row.id);
    return ids;
}

/// Sixty rows in the Inbox, of which the first page is on screen.
class AppModelActions : public testing::Test {
protected:
    void SetUp() override { list(60); }

    void list(int count)
    {
        provider.setListing(inbox, ModelFixture::rows(fixture.account(), count));
        await(model.load(0, true));
        provider.forgetCalls();
    }
    QList<MessageSummary> rows(int first, int count) const { return model.messages().sliced(first, count); }
    MailLabel label(const QString& path) const { return {path, path}; }

    ModelFixture fixture;
    AppModel& model = fixture.model();
    FakeMailProvider& provider = fixture.provider();
};

// --- Flags

TEST_F(AppModelActions, MarkAllAsReadWhereAnyOfThreeRowsIsUnread)
{
    QList<MessageSummary> three = ModelFixture::rows(fixture.account(), 3);
    three[0].isRead = false;
    three[2].isRead = false;
    provider.setListing(inbox, three);
    await(model.load(0, true));
    model.toggleRead(model.messages());
    for (const MessageSummary& row : model.messages())
        EXPECT_TRUE(row.isRead);
    settle();
    ASSERT_EQ(provider.calls(u"setRead"_s).size(), 1);
    EXPECT_TRUE(provider.calls(u"setRead"_s).first().startsWith(u"setRead true"_s));
}

TEST_F(AppModelActions, MarkAllAsUnreadWhereAllAreRead)
{
    model.toggleRead(rows(0, 3));
    for (const MessageSummary& row : rows(0, 3))
        EXPECT_FALSE(row.isRead);
    EXPECT_TRUE(model.messages()[3].isRead);
}

TEST_F(AppModelActions, TellOfTheOpenMessageAlsoWhereItIsOnNoPage)
{
    int told = 0;
    QObject::connect(&model, &AppModel::openMessageChanged, &model, [&told] { ++told; });
    model.open(model.messages()[0]);
    provider.setListing(inbox, ModelFixture::rows(fixture.account(), 60).sliced(1));
    await(model.load(0, true));
    ASSERT_NE(model.messages()[0].id, u"1");
    EXPECT_EQ(told, 0);
    model.toggleStarred({*model.message(u"1"_s)});
    EXPECT_EQ(told, 1);
    EXPECT_TRUE(model.message(u"1"_s)->isStarred);
    model.toggleStarred(rows(0, 1));
    EXPECT_EQ(told, 1) << "another message";
}

TEST_F(AppModelActions, KnowOfTheOpenMessageWhatWasListedLast)
{
    model.open(model.messages()[0]);
    QList<MessageSummary> listed = ModelFixture::rows(fixture.account(), 60);
    listed[0].isStarred = true;
    provider.setListing(inbox, listed);
    await(model.load(0, true));
    provider.setListing(inbox, listed.sliced(1));
    await(model.load(0, true));
    ASSERT_NE(model.messages()[0].id, u"1");
    EXPECT_TRUE(model.message(u"1"_s)->isStarred);
}

TEST_F(AppModelActions, StarAllWhereAnyHasNoStarAndTakeTheStarFromAllWhereAllHaveIt)
{
    model.toggleStarred(rows(0, 1));
    model.toggleStarred(rows(0, 2));
    EXPECT_TRUE(model.messages()[0].isStarred && model.messages()[1].isStarred);
    model.toggleStarred(rows(0, 2));
    EXPECT_FALSE(model.messages()[0].isStarred || model.messages()[1].isStarred);
}

TEST_F(AppModelActions, ChangeTheFlagOfTheOpenMessageAndOfTheKeptPage)
{
    model.open(model.messages()[1]);
    await(model.nextPage());
    model.toggleStarred({*model.message(u"2"_s)});
    EXPECT_TRUE(model.message(u"2"_s)->isStarred);
    await(model.previousPage());
    model.toggleStarred(rows(0, 1));
    settle();
    await(model.nextPage());
    await(model.previousPage());
    EXPECT_TRUE(model.messages()[0].isStarred);
}

TEST_F(AppModelActions, CountAnewAfterAFlagChange)
{
    model.toggleRead(rows(0, 1));
    settle();
    EXPECT_EQ(provider.calls(u"counts"_s).size(), 1);
}

TEST_F(AppModelActions, GiveTheRowsTheirFlagsBackWhereTheServerRefusesButNotTheOpenMessage)
{
    model.open(model.messages()[0]);
    provider.failNext(u"setStarred"_s, MailError::unsupported(u"No."_s));
    model.toggleStarred(rows(0, 2));
    await(model.nextPage());
    await(model.previousPage());
    settle();
    EXPECT_FALSE(model.messages()[0].isStarred || model.messages()[1].isStarred);
    EXPECT_EQ(model.errorMessage(), u"No."_s);
}

TEST_F(AppModelActions, KeepAFlagThatARefreshBringsFromBeforeTheChange)
{
    provider.hold(u"listMessages"_s);
    model.start(model.load(0, true));
    provider.hold(u"setStarred"_s);
    model.toggleStarred(rows(0, 1));
    provider.complete(0);
    settle();
    EXPECT_TRUE(model.messages()[0].isStarred);
}

TEST_F(AppModelActions, DoNothingWithoutRows)
{
    model.toggleRead({});
    model.archive({});
    model.setLabel({}, label(u"A"_s), true);
    settle();
    EXPECT_TRUE(provider.calls().isEmpty());
}

// --- Removals

TEST_F(AppModelActions, TakeArchivedRowsOffTheListAtOnceInTheOrderOfTheOthers)
{
    provider.hold(u"archive"_s);
    model.archive({model.messages()[3], model.messages()[1]});
    EXPECT_EQ(idsOf(model.messages()).first(4), QStringList({u"1"_s, u"3"_s, u"5"_s, u"6"_s}));
    EXPECT_EQ(model.total(), 58);
    EXPECT_EQ(provider.calls(u"archive"_s).size(), 1);
}

TEST_F(AppModelActions, FillThePageAgainAfterARemoval)
{
    model.archive(rows(0, 5));
    settle();
    EXPECT_EQ(model.messages().size(), 25);
    EXPECT_EQ(model.messages().first().id, u"6");
    EXPECT_EQ(model.total(), 55);
    EXPECT_EQ(provider.calls(u"counts"_s).size(), 1);
}

TEST_F(AppModelActions, GoToThePageBeforeWhereTheLastRowOfTheLastPageIsArchived)
{
    list(51);
    await(model.lastPage());
    ASSERT_EQ(model.pageIndex(), 2);
    model.archive(model.messages());
    settle();
    EXPECT_EQ(model.pageIndex(), 1);
    EXPECT_EQ(model.messages().size(), 25);
}

TEST_F(AppModelActions, CloseTheReaderAtOnceWhereTheOpenMessageIsArchived)
{
    model.open(model.messages()[0]);
    provider.hold(u"archive"_s);
    model.archive({*model.message(u"1"_s)});
    EXPECT_TRUE(model.path().isEmpty());
    EXPECT_TRUE(model.selection().isEmpty());
}

TEST_F(AppModelActions, KeepTheReaderOpenWhereAnotherMessageIsArchived)
{
    model.open(model.messages()[0]);
    model.archive(rows(1, 1));
    EXPECT_EQ(model.path(), QStringList(u"1"_s));
}

TEST_F(AppModelActions, LeaveATotalOfZeroWhereMoreRowsAreDeletedThanItTold)
{
    MessagePage page;
    page.messages = ModelFixture::rows(fixture.account(), 3);
    page.total = 1;
    provider.scriptPage(page);
    await(model.load(0, true));
    provider.hold(u"trash"_s);
    model.trash(model.messages());
    EXPECT_EQ(model.total(), 0);
}

TEST_F(AppModelActions, BringRefusedRowsBackInTheirOrderTellWhyAndRefresh)
{
    const QList<MessageSummary> before = model.messages();
    provider.failNext(u"archive"_s, MailError::unsupported(u"This account has no Archive mailbox."_s));
    provider.hold(u"listMessages"_s);
    model.archive({model.messages()[3], model.messages()[0]});
    settle();
    EXPECT_EQ(model.messages(), before);
    EXPECT_EQ(model.errorMessage(), u"This account has no Archive mailbox."_s);
    EXPECT_EQ(provider.calls(u"listMessages"_s).size(), 1);
}

TEST_F(AppModelActions, AskForANewSignInWhereARemovalFindsNone)
{
    provider.failNext(u"trash"_s, MailError::notSignedIn());
    provider.failNext(u"listMessages"_s, MailError::notSignedIn());
    model.trash(rows(0, 1));
    settle();
    EXPECT_TRUE(model.needsReauth().contains(fixture.account().id));
    EXPECT_FALSE(model.errorMessage());
}

TEST_F(AppModelActions, KeepOnlyThePageOnScreenAfterARemoval)
{
    await(model.nextPage());
    await(model.previousPage());
    ASSERT_TRUE(model.hasCachedPage(1));
    provider.hold(u"archive"_s);
    model.archive(rows(0, 1));
    EXPECT_TRUE(model.hasCachedPage(0));
    EXPECT_FALSE(model.hasCachedPage(1));
    await(model.load(0, false));
    EXPECT_EQ(model.messages().first().id, u"2");
}

TEST_F(AppModelActions, KeepTheEffectsOfTwoQuickRemovalsWhileBothAreInFlight)
{
    provider.hold(u"archive"_s);
    provider.hold(u"trash"_s);
    model.archive(rows(0, 1));
    model.trash(rows(0, 1));
    EXPECT_EQ(model.messages().first().id, u"3");
    provider.complete(0);
    settle();
    EXPECT_EQ(model.messages().first().id, u"3") << "the reload must not bring back what is being deleted";
    provider.completeAll();
    settle();
    EXPECT_EQ(model.messages().first().id, u"3");
    EXPECT_EQ(model.total(), 58);
}

TEST_F(AppModelActions, UndoOnlyTheLaterOfTwoRemovalsWhereItFails)
{
    provider.hold(u"trash"_s);
    provider.failNext(u"trash"_s, MailError::unsupported(u"No."_s));
    model.archive(rows(0, 1));
    model.trash(rows(0, 1));
    settle();
    provider.completeAll();
    settle();
    EXPECT_EQ(model.messages().first().id, u"2");
}

TEST_F(AppModelActions, LeaveTheNextMailboxAloneWhereARemovalOfTheOneBeforeFails)
{
    provider.hold(u"archive"_s);
    provider.failNext(u"archive"_s, MailError::unsupported(u"No."_s));
    model.archive(rows(0, 1));
    model.selectMailbox(MailboxRef::system(Mailbox::sent));
    settle();
    provider.completeAll();
    settle();
    EXPECT_TRUE(model.messages().isEmpty());
    EXPECT_EQ(model.errorMessage(), u"No."_s);
}

TEST_F(AppModelActions, TellTheServiceOfEachKindOfRemoval)
{
    model.moveToInbox(rows(0, 1));
    model.reportSpam(rows(0, 1));
    model.move(rows(0, 1), MailboxRef::label(label(u"Projects"_s)));
    model.move(rows(0, 1), MailboxRef::system(Mailbox::archive));
    settle();
    for (const QString& operation : {u"moveToInbox"_s, u"markSpam"_s, u"moveToLabel"_s, u"archive"_s})
        EXPECT_EQ(provider.calls(operation).size(), 1) << operation.toStdString();
}

TEST_F(AppModelActions, BringTheRowsBackWhereTheyAreMovedToSent)
{
    model.move(rows(0, 2), MailboxRef::system(Mailbox::sent));
    settle();
    EXPECT_EQ(model.errorMessage(), u"Messages can't be moved to Sent."_s);
    EXPECT_EQ(model.messages().first().id, u"1");
}

TEST_F(AppModelActions, ArchiveAThousandRowsInOneCall)
{
    const QList<MessageSummary> thousand = ModelFixture::rows(fixture.account(), 1000);
    model.archive(thousand);
    settle();
    ASSERT_EQ(provider.calls(u"archive"_s).size(), 1);
    EXPECT_EQ(provider.calls(u"archive"_s).first().count(u' '), 1000);
}

TEST_F(AppModelActions, EndQuietlyWhereTheModelGoesWhileTheServiceIsTold)
{
    provider.hold(u"archive"_s);
    model.archive(rows(0, 1));
    fixture.restart();
    settle();
    EXPECT_EQ(fixture.provider().calls(u"archive"_s).size(), 1);
}

TEST(AppModelActionsOfTwoAccounts, ChangeNoRowOfTheOtherThatHasTheSameID)
{
    ModelFixture fixture({ModelFixture::imapAccount(), ModelFixture::imapAccount(u"second@example.org"_s)});
    AppModel& model = fixture.model();
    for (const int index : {0, 1})
        fixture.provider(index).setListing(inbox, ModelFixture::rows(fixture.account(index), 3));
    await(model.load(0, true));
    fixture.provider(0).hold(u"archive"_s);
    fixture.provider(0).hold(u"setStarred"_s);
    model.toggleStarred({model.messages()[1]});
    model.archive({model.messages()[0]});
    model.select(SidebarItem{fixture.account(1).id, inbox});
    settle();
    EXPECT_EQ(model.messages().size(), 3);
    EXPECT_FALSE(model.messages()[1].isStarred);
}

// --- Labels

TEST_F(AppModelActions, PutALabelOnRowsOnceAndTakeItOff)
{
    provider.setSupportsLabels(true);
    model.setLabel(rows(0, 2), label(u"A"_s), true);
    model.setLabel(rows(0, 2), label(u"A"_s), true);
    EXPECT_EQ(model.messages()[0].labelIDs, QStringList(u"A"_s));
    EXPECT_EQ(model.messages().size(), 25);
    model.setLabel(rows(0, 1), label(u"A"_s), false);
    EXPECT_TRUE(model.messages()[0].labelIDs.isEmpty());
    EXPECT_EQ(model.messages()[1].labelIDs, QStringList(u"A"_s));
}

TEST_F(AppModelActions, TakeTheLabelBackWhereTheServiceRefusesIt)
{
    provider.failNext(u"setLabel"_s, MailError::unsupported(u"No labels."_s));
    model.setLabel(rows(0, 1), label(u"A"_s), true);
    settle();
    EXPECT_TRUE(model.messages()[0].labelIDs.isEmpty());
    EXPECT_EQ(model.errorMessage(), u"No labels."_s);
}

TEST_F(AppModelActions, AskForANestedLabelByItsWholePath)
{
    model.beginCreateLabel(std::nullopt, label(u"A"_s));
    ASSERT_TRUE(model.labelEdit());
    await(model.applyLabelEdit(*model.labelEdit(), u"  B \n"_s));
    EXPECT_FALSE(model.labelEdit());
    EXPECT_EQ(provider.calls(u"createLabel"_s), QStringList(u"createLabel A/B"_s));
    EXPECT_EQ(provider.calls(u"listLabels"_s).size(), 1);
}

TEST_F(AppModelActions, PutANewLabelOnTheRowsThatItWasMadeFor)
{
    model.beginCreateLabel(std::nullopt, std::nullopt, rows(0, 2));
    await(model.applyLabelEdit(*model.labelEdit(), u"New"_s));
    EXPECT_EQ(model.messages()[1].labelIDs.size(), 1);
    EXPECT_TRUE(model.messages()[2].labelIDs.isEmpty());
}

TEST_F(AppModelActions, ReplaceALabelDialogByTheNextOne)
{
    model.beginCreateLabel();
    const QUuid first = model.labelEdit()->id;
    model.beginRenameLabel(label(u"A"_s), fixture.account().id);
    EXPECT_NE(model.labelEdit()->id, first);
}

TEST_F(AppModelActions, RenameTheLastComponentAndFollowTheLabelOnScreen)
{
    model.selectMailbox(MailboxRef::label(label(u"A/B"_s)));
    settle();
    provider.forgetCalls();
    model.beginRenameLabel(label(u"A/B"_s), fixture.account().id);
    await(model.applyLabelEdit(*model.labelEdit(), u"C"_s));
    ASSERT_EQ(provider.calls(u"renameLabel"_s).size(), 1);
    EXPECT_TRUE(provider.calls(u"renameLabel"_s).first().endsWith(u" A/C"_s));
    ASSERT_TRUE(model.sidebarSelection()->ref.label());
    EXPECT_EQ(model.sidebarSelection()->ref.label()->path, u"A/C");
    EXPECT_EQ(provider.calls(u"listMessages"_s).size(), 1);
}

TEST_F(AppModelActions, TellWhyALabelWasNotMade)
{
    provider.failNext(u"createLabel"_s, MailError::unsupported(u"Please enter a name."_s));
    model.beginCreateLabel();
    await(model.applyLabelEdit(*model.labelEdit(), u""_s));
    EXPECT_EQ(model.errorMessage(), u"Please enter a name."_s);
}

TEST_F(AppModelActions, ReadTheLabelsAgainWhereARenameFailedHalfWay)
{
    provider.failNext(u"renameLabel"_s, MailError::http(409, u"Label name exists"_s));
    provider.failNext(u"listLabels"_s, MailError::http(500, u"not shown"_s));
    model.beginRenameLabel(label(u"A/B"_s), fixture.account().id);
    provider.forgetCalls();
    await(model.applyLabelEdit(*model.labelEdit(), u"C"_s));
    settle();
    EXPECT_EQ(model.errorMessage(), u"Server error 409: Label name exists"_s);
    EXPECT_EQ(provider.calls(u"listLabels"_s).size(), 1);
    provider.forgetCalls();
    provider.failNext(u"createLabel"_s, MailError::http(409, u"Label name exists"_s));
    model.beginCreateLabel();
    await(model.applyLabelEdit(*model.labelEdit(), u"A/B"_s));
    settle();
    EXPECT_EQ(provider.calls(u"listLabels"_s).size(), 1);
}

TEST_F(AppModelActions, ShowTheInboxWhereTheLabelOnScreenIsDeleted)
{
    model.selectMailbox(MailboxRef::label(label(u"A"_s)));
    model.beginDeleteLabel(label(u"A"_s), fixture.account().id);
    ASSERT_TRUE(model.labelDeletion());
    await(model.confirmLabelDeletion(*model.labelDeletion()));
    EXPECT_FALSE(model.labelDeletion());
    EXPECT_EQ(model.sidebarSelection()->ref, inbox);
}

TEST_F(AppModelActions, StayWhereADeletionIsRefused)
{
    model.selectMailbox(MailboxRef::label(label(u"A"_s)));
    provider.failNext(u"deleteLabel"_s, MailError::unsupported(u"No."_s));
    model.beginDeleteLabel(label(u"A"_s), fixture.account().id);
    await(model.confirmLabelDeletion(*model.labelDeletion()));
    EXPECT_NE(model.sidebarSelection()->ref, inbox);
    EXPECT_EQ(model.errorMessage(), u"No."_s);
}

// --- Saving

class SavedMessage : public AppModelActions {
protected:
    QString suggestedNameFor(const QString& subject)
    {
        MessageSummary row = ModelFixture::row(fixture.account(), u"1"_s);
        row.subject = subject;
        provider.setRaw(u"1"_s, bytes);
        QString suggested;
        await(model.saveMessage(row, [&](const QString& name) {
            suggested = name;
            return folder.filePath(u"saved.eml"_s);
        }));
        return suggested;
    }
    QByteArray saved() const
    {
        QFile file(folder.filePath(u"saved.eml"_s));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QByteArray bytes = "Subject: x\r\n\r\n\xFF\0body";
    QTemporaryDir folder;
};

TEST_F(SavedMessage, IsTheMessageAsItCame)
{
    EXPECT_EQ(suggestedNameFor(u"Hello"_s), u"Hello.eml");
    EXPECT_EQ(saved(), bytes);
}

TEST_F(SavedMessage, IsNamedByTheFirst80CharactersOfALongSubject)
{
    EXPECT_EQ(suggestedNameFor(QString(200, u'é')), QString(80, u'é') + u".eml"_s);
}

TEST_F(SavedMessage, IsOfferedAsMessageWhereTheSubjectIsEmpty)
{
    EXPECT_EQ(suggestedNameFor({}), u"Message.eml");
}

TEST_F(SavedMessage, IsNamedSafely)
{
    EXPECT_EQ(suggestedNameFor(u"../../etc/passwd"_s).count(u'/'), 0);
}

TEST_F(SavedMessage, IsNotWrittenWhereTheUserGivesUp)
{
    provider.setRaw(u"1"_s, bytes);
    await(model.saveMessage(ModelFixture::row(fixture.account(), u"1"_s),
                            [](const QString&) { return QString(); }));
    EXPECT_TRUE(saved().isEmpty());
    EXPECT_FALSE(model.errorMessage());
}

TEST_F(SavedMessage, TellsWhereItCannotBeWrittenOrFetched)
{
    provider.setRaw(u"1"_s, bytes);
    await(model.saveMessage(ModelFixture::row(fixture.account(), u"1"_s),
                            [](const QString&) { return u"/nowhere/at/all.eml"_s; }));
    EXPECT_TRUE(model.errorMessage());
    model.clearErrorMessage();
    provider.failNext(u"fetchRaw"_s, MailError::unsupported(u"Gone."_s));
    await(model.saveMessage(ModelFixture::row(fixture.account(), u"1"_s),
                            [](const QString&) { return QString(); }));
    EXPECT_EQ(model.errorMessage(), u"Gone."_s);
}

} // namespace
} // namespace Larkhaven
