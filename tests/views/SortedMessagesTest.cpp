#include "support/ModelFixture.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"
#include "views/list/MessageTableModel.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class SortedMessagesTest : public testing::Test {
protected:
    void list(const QList<MessageSummary>& rows)
    {
        fixture.provider().setListing(MailboxRef::system(Mailbox::inbox), rows);
        fixture.model().start(fixture.model().load(0, true));
        ASSERT_TRUE(waitUntil([this] { return !fixture.model().isLoading(); }));
    }

    QString order() const
    {
        QStringList ids;
        for (int row = 0; row < sorted.rowCount(); ++row)
            ids.append(sorted.row(row).id);
        return ids.join(u' ');
    }

    QString order(SortField field, Qt::SortOrder direction)
    {
        fixture.model().setSortOrder({{field, direction}});
        return order();
    }

    ModelFixture fixture;
    SortedMessages sorted{fixture.model()};
};

TEST_F(SortedMessagesTest, ShowsTheNewestFirstAtTheStart)
{
    QList<MessageSummary> rows = ModelFixture::rows(fixture.account(), 3);
    rows.swapItemsAt(0, 2);
    list(rows);
    EXPECT_EQ(order(), u"1 2 3");
}

TEST_F(SortedMessagesTest, SortsByDate)
{
    list(ModelFixture::rows(fixture.account(), 3));
    EXPECT_EQ(order(SortField::date, Qt::AscendingOrder), u"3 2 1");
    EXPECT_EQ(order(SortField::date, Qt::DescendingOrder), u"1 2 3");
}

TEST_F(SortedMessagesTest, SortsBySenderAndSubjectAsWords)
{
    QList<MessageSummary> rows = ModelFixture::rows(fixture.account(), 4);
    const QStringList words{u"b"_s, u"Ä"_s, u"a"_s, u"C"_s};
    for (int index = 0; index < 4; ++index) {
        rows[index].from = EmailAddress(words[index], u"x@example.com"_s);
        rows[index].subject = words[index];
    }
    list(rows);
    EXPECT_EQ(order(SortField::from, Qt::AscendingOrder), u"3 2 1 4");
    EXPECT_EQ(order(SortField::from, Qt::DescendingOrder), u"4 1 2 3");
    EXPECT_EQ(order(SortField::subject, Qt::AscendingOrder), u"3 2 1 4");
    EXPECT_EQ(order(SortField::subject, Qt::DescendingOrder), u"4 1 2 3");
}

TEST_F(SortedMessagesTest, ShowsThePreferredStatesFirst)
{
    QList<MessageSummary> rows = ModelFixture::rows(fixture.account(), 3);
    rows[1].isRead = false;
    rows[2].isStarred = true;
    rows[1].hasAttachments = true;
    list(rows);
    EXPECT_EQ(order(SortField::unread, Qt::AscendingOrder), u"2 1 3");
    EXPECT_EQ(order(SortField::unread, Qt::DescendingOrder), u"1 3 2");
    EXPECT_EQ(order(SortField::starred, Qt::AscendingOrder), u"3 1 2");
    EXPECT_EQ(order(SortField::starred, Qt::DescendingOrder), u"1 2 3");
    EXPECT_EQ(order(SortField::attachments, Qt::AscendingOrder), u"2 1 3");
    EXPECT_EQ(order(SortField::attachments, Qt::DescendingOrder), u"1 3 2");
}

TEST_F(SortedMessagesTest, KeepsEqualRowsInTheirOrderInBothDirections)
{
    QList<MessageSummary> rows = ModelFixture::rows(fixture.account(), 25);
    QStringList ids;
    for (MessageSummary& row : rows) {
        row.subject = u"same"_s;
        ids.append(row.id);
    }
    list(rows);
    EXPECT_EQ(order(SortField::date, Qt::AscendingOrder).section(u' ', 0, 0), u"25");
    EXPECT_EQ(order(SortField::subject, Qt::AscendingOrder), ids.join(u' '));
    EXPECT_EQ(order(SortField::subject, Qt::DescendingOrder), ids.join(u' '));
}

TEST_F(SortedMessagesTest, SortsByTheNextComparatorWhereTheFirstSeesNoDifference)
{
    QList<MessageSummary> rows = ModelFixture::rows(fixture.account(), 3);
    rows[2].isStarred = true;
    list(rows);
    fixture.model().setSortOrder(
        {{SortField::starred, Qt::AscendingOrder}, {SortField::date, Qt::AscendingOrder}});
    EXPECT_EQ(order(), u"3 2 1");
}

TEST_F(SortedMessagesTest, SortsAgainWhenARowChanges)
{
    QList<MessageSummary> rows = ModelFixture::rows(fixture.account(), 6);
    list(rows);
    EXPECT_EQ(order(SortField::starred, Qt::AscendingOrder), u"1 2 3 4 5 6");
    rows[4].isStarred = true;
    rows[2].isStarred = true;
    list(rows);
    EXPECT_EQ(order(), u"3 5 1 2 4 6");
    rows[2].isStarred = false;
    list(rows);
    EXPECT_EQ(order(), u"5 1 2 3 4 6");
}

TEST_F(SortedMessagesTest, KeepsTheRowsOfThePageWithNoComparator)
{
    list(ModelFixture::rows(fixture.account(), 3));
    fixture.model().setSortOrder({});
    EXPECT_EQ(order(), u"1 2 3");
}

TEST_F(SortedMessagesTest, FindsTheRowOfAMessage)
{
    list(ModelFixture::rows(fixture.account(), 3));
    fixture.model().setSortOrder({{SortField::date, Qt::AscendingOrder}});
    EXPECT_EQ(sorted.indexOf(u"1"_s), 2);
    EXPECT_EQ(sorted.indexOf(u"9"_s), -1);
}

TEST_F(SortedMessagesTest, SortsSentMessagesByWhomTheyWentTo)
{
    QList<MessageSummary> rows = ModelFixture::rows(fixture.account(), 3);
    const QStringList names{u"Cleo"_s, u"Ada"_s, u"Bo"_s};
    for (int row = 0; row < 3; ++row)
        rows[row].to = {EmailAddress(names[row], u"x@x"_s)};
    fixture.provider().setListing(MailboxRef::system(Mailbox::sent), rows);
    fixture.model().selectMailbox(MailboxRef::system(Mailbox::sent));
    ASSERT_TRUE(waitUntil([this] { return fixture.model().messages().size() == 3; }));
    EXPECT_EQ(order(SortField::from, Qt::AscendingOrder), u"2 3 1");
}

} // namespace
} // namespace Larkhaven
