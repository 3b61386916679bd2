#include "domain/MailError.h"
#include "model/AppModel.h"
#include "support/Await.h"
#include "support/ModelFixture.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class AppModelMessages : public testing::Test {
protected:
    void SetUp() override
    {
        QList<MessageSummary> rows = ModelFixture::rows(fixture.account(), 3);
        rows[1].isRead = false;
        fixture.provider().setListing(MailboxRef::system(Mailbox::inbox), rows);
        await(model.load(0, true));
        fixture.provider().forgetCalls();
    }

    ModelFixture fixture;
    AppModel& model = fixture.model();
};

TEST_F(AppModelMessages, OpensAReadMessageWithoutTellingTheServer)
{
    model.open(model.messages()[0]);
    settle();
    EXPECT_EQ(model.path(), QStringList(u"1"_s));
    EXPECT_EQ(model.selection(), QSet<QString>{u"1"_s});
    EXPECT_TRUE(fixture.provider().calls().isEmpty());
}

TEST_F(AppModelMessages, MarksAnUnreadMessageAsReadAtOnceAndTellsTheServerAfterwards)
{
    fixture.provider().hold(u"setRead"_s);
    model.open(model.messages()[1]);
    EXPECT_TRUE(model.messages()[1].isRead);
    EXPECT_TRUE(model.message(u"2"_s)->isRead);
    ASSERT_EQ(fixture.provider().calls(u"setRead"_s).size(), 1);
    EXPECT_TRUE(fixture.provider().calls(u"counts"_s).isEmpty());
    fixture.provider().completeAll();
    settle();
    EXPECT_EQ(fixture.provider().calls(u"counts"_s).size(), 1);
    await(model.load(0, false));
    EXPECT_TRUE(model.messages()[1].isRead);
}

TEST_F(AppModelMessages, TakesTheMarkBackWhereTheServerRefusesItAndTellsWhy)
{
    fixture.provider().failNext(u"setRead"_s, MailError::protocolError(u"read-only"_s));
    model.open(model.messages()[1]);
    settle();
    EXPECT_FALSE(model.messages()[1].isRead);
    EXPECT_EQ(model.errorMessage(), u"Mail protocol error: read-only"_s);
    await(model.load(0, false));
    EXPECT_FALSE(model.messages()[1].isRead);
    EXPECT_EQ(model.path(), QStringList(u"2"_s));
}

TEST_F(AppModelMessages, BringsTheRowsOfAMailboxBackOnlyWhereItIsStillOnScreen)
{
    fixture.provider().hold(u"setRead"_s);
    fixture.provider().failNext(u"setRead"_s, MailError::protocolError(u"read-only"_s));
    model.open(model.messages()[1]);
    model.selectMailbox(MailboxRef::system(Mailbox::sent));
    settle();
    fixture.provider().completeAll();
    settle();
    EXPECT_TRUE(model.messages().isEmpty());
}

TEST_F(AppModelMessages, KeepsAnOpenedMessageThatHasLeftTheList)
{
    model.open(model.messages()[2]);
    fixture.provider().setListing(MailboxRef::system(Mailbox::inbox), {});
    await(model.load(0, true));
    EXPECT_TRUE(model.messages().isEmpty());
    EXPECT_EQ(model.path(), QStringList(u"3"_s));
    ASSERT_TRUE(model.message(u"3"_s));
    EXPECT_EQ(model.message(u"3"_s)->subject, u"Subject 3");
}

TEST_F(AppModelMessages, AsksForAComposeWindowToAnAddress)
{
    model.newMessage(u"a@x"_s);
    ASSERT_TRUE(model.pendingCompose());
    const std::optional<ComposeDraft> seed = model.takeSeed(*model.pendingCompose());
    ASSERT_TRUE(seed);
    EXPECT_EQ(seed->to, u"a@x");
    EXPECT_TRUE(model.takeSeed(seed->id));
    model.closeCompose(seed->id);
    EXPECT_FALSE(model.takeSeed(seed->id));
    model.clearPendingCompose();
    EXPECT_FALSE(model.pendingCompose());
}

TEST_F(AppModelMessages, KeepTheTextOfTheMessageOnScreenWhereItIsOpenedAgain)
{
    model.open(model.messages()[0]);
    model.setOpenParsed(ParsedMessage());
    model.open(model.messages()[0]);
    EXPECT_TRUE(model.openParsed());
    model.open(model.messages()[2]);
    EXPECT_FALSE(model.openParsed());
}

} // namespace
} // namespace Larkhaven
