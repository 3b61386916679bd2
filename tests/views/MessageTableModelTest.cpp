#include "views/list/MessageTableModel.h"

#include "support/ModelFixture.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTextDocumentFragment>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class MessageTableModelTest : public testing::Test {
protected:
    void list(const QList<MessageSummary>& rows)
    {
        fixture.provider().setListing(MailboxRef::system(Mailbox::inbox), rows);
        fixture.model().start(fixture.model().load(0, true));
        ASSERT_TRUE(waitUntil([this] { return !fixture.model().isLoading(); }));
    }

    QVariant data(int row, MessageColumn column, int role = Qt::DisplayRole) const
    {
        return table.data(table.index(row, static_cast<int>(column)), role);
    }

    ModelFixture fixture;
    MessageTableModel table{fixture.model()};
};

TEST_F(MessageTableModelTest, KeepsThePromisesOfAModel)
{
    const QAbstractItemModelTester tester(&table, QAbstractItemModelTester::FailureReportingMode::Fatal);
    list(ModelFixture::rows(fixture.account(), 5));
    list(ModelFixture::rows(fixture.account(), 3));
    EXPECT_EQ(table.rowCount(), 3);
}

TEST_F(MessageTableModelTest, HasEightColumnsInTheirOrder)
{
    QStringList titles;
    QStringList ids;
    for (int column = 0; column < table.columnCount(); ++column) {
        titles.append(table.headerData(column, Qt::Horizontal, Qt::DisplayRole).toString());
        ids.append(columnID(allMessageColumns[static_cast<size_t>(column)]));
    }
    EXPECT_EQ(ids.join(u' '), u"unread star attachments from subject date mailbox size");
    EXPECT_EQ(titles.mid(3).join(u' '), u"From Subject Date Mailbox Size");
    EXPECT_EQ(table.headerData(0, Qt::Horizontal, Qt::ToolTipRole).toString(), u"Unread");
}

TEST_F(MessageTableModelTest, ShowsMailboxAndSizeOnlyOnDemand)
{
    QStringList hidden;
    for (const MessageColumn column : allMessageColumns) {
        if (!isVisibleAtFirst(column))
            hidden.append(columnID(column));
    }
    EXPECT_EQ(hidden.join(u' '), u"mailbox size");
}

TEST_F(MessageTableModelTest, TellsTheTextsOfARow)
{
    MessageSummary row = ModelFixture::row(fixture.account(), u"1"_s);
    row.isRead = false;
    row.isStarred = true;
    row.hasAttachments = true;
    list({row});
    EXPECT_EQ(data(0, MessageColumn::unread).toString(), u"Unread");
    EXPECT_EQ(data(0, MessageColumn::star).toString(), u"Starred");
    EXPECT_EQ(data(0, MessageColumn::attachments).toString(), u"Has attachments");
    EXPECT_EQ(data(0, MessageColumn::from).toString(), u"Ada");
    EXPECT_EQ(data(0, MessageColumn::subject).toString(), u"Subject 1");
    EXPECT_EQ(data(0, MessageColumn::date).toString(), u"3/15/24");
    EXPECT_EQ(data(0, MessageColumn::mailbox).toString(), u"Inbox");
    EXPECT_EQ(data(0, MessageColumn::size).toString(), u"2.0 kB");
    EXPECT_EQ(data(0, MessageColumn::star, Qt::ToolTipRole).toString(), u"Starred");
    EXPECT_EQ(data(0, MessageColumn::attachments, Qt::ToolTipRole).toString(), u"Has attachments");
}

TEST_F(MessageTableModelTest, SaysNothingOfStatesThatARowHasNot)
{
    list(ModelFixture::rows(fixture.account(), 1));
    for (const MessageColumn column :
         {MessageColumn::unread, MessageColumn::star, MessageColumn::attachments}) {
        EXPECT_EQ(data(0, column).toString(), u"");
        EXPECT_EQ(data(0, column, Qt::ToolTipRole).toString(), u"");
    }
}

TEST_F(MessageTableModelTest, ShowsTheAddressOfTheSenderAsPlainTextInTheTooltip)
{
    MessageSummary row = ModelFixture::row(fixture.account(), u"1"_s);
    row.from = EmailAddress(u"Ada"_s, u"<b>ada</b>@example.com"_s);
    list({row});
    const QString toolTip = data(0, MessageColumn::from, Qt::ToolTipRole).toString();
    EXPECT_TRUE(Qt::mightBeRichText(toolTip));
    EXPECT_EQ(QTextDocumentFragment::fromHtml(toolTip).toPlainText(), u"<b>ada</b>@example.com");
}

TEST_F(MessageTableModelTest, ShowsTheRealAddressesInTheTooltip)
{
    MessageSummary row = ModelFixture::row(fixture.account(), u"1"_s);
    row.sender = Sender{{EmailAddress(u"Ann"_s, u"ann@x"_s), EmailAddress(std::nullopt, u"bob@x"_s)},
                        Sender::Names::honest,
                        false};
    list({row});
    EXPECT_EQ(data(0, MessageColumn::from, Qt::ToolTipRole).toString(), u"ann@x, bob@x");
    EXPECT_EQ(data(0, MessageColumn::from).toString(), u"ann@x, bob@x");
}

TEST_F(MessageTableModelTest, KeepsThePlaceWhenOnlyTheRowsChange)
{
    QList<MessageSummary> rows = ModelFixture::rows(fixture.account(), 3);
    list(rows);
    const QSignalSpy resets(&table, &MessageTableModel::modelReset);
    const QSignalSpy changes(&table, &MessageTableModel::dataChanged);
    rows[1].isStarred = true;
    list(rows);
    EXPECT_EQ(resets.size(), 0);
    EXPECT_EQ(changes.size(), 1);
    EXPECT_EQ(data(1, MessageColumn::star).toString(), u"Starred");
}

TEST_F(MessageTableModelTest, StartsAnewWithOtherMessages)
{
    list(ModelFixture::rows(fixture.account(), 3));
    const QSignalSpy resets(&table, &MessageTableModel::modelReset);
    list(ModelFixture::rows(fixture.account(), 2));
    EXPECT_EQ(resets.size(), 1);
    EXPECT_EQ(table.rowCount(), 2);
}

TEST_F(MessageTableModelTest, KnowsNothingOfPlacesBeyondItsRows)
{
    EXPECT_FALSE(table.data(QModelIndex(), Qt::DisplayRole).isValid());
    EXPECT_FALSE(table.headerData(8, Qt::Horizontal, Qt::DisplayRole).isValid());
    EXPECT_FALSE(table.headerData(-1, Qt::Horizontal, Qt::DisplayRole).isValid());
    EXPECT_FALSE(table.headerData(0, Qt::Vertical, Qt::DisplayRole).isValid());
}

} // namespace
} // namespace Larkhaven
