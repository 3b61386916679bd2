#include "model/SortField.h"

#include "support/ModelFixture.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class SortFieldTest : public testing::Test {
protected:
    MessageSummary left = ModelFixture::row(ModelFixture::imapAccount(), u"1"_s);
    MessageSummary right = left;
};

TEST_F(SortFieldTest, PutsUnreadStarredAndAttachedRowsBeforeOthers)
{
    right.isRead = false;
    EXPECT_GT(compare(left, right, SortField::unread), 0);
    right.isStarred = true;
    EXPECT_GT(compare(left, right, SortField::starred), 0);
    right.hasAttachments = true;
    EXPECT_GT(compare(left, right, SortField::attachments), 0);
    EXPECT_EQ(compare(left, left, SortField::attachments), 0);
}

TEST_F(SortFieldTest, ComparesSendersAndSubjectsWithoutRegardToCase)
{
    left.from = EmailAddress(u"anna"_s, u"z@x"_s);
    right.from = EmailAddress(u"Bert"_s, u"a@x"_s);
    EXPECT_LT(compare(left, right, SortField::from), 0);
    left.subject = u"zebra"_s;
    right.subject = u"Apple"_s;
    EXPECT_GT(compare(left, right, SortField::subject), 0);
}

TEST_F(SortFieldTest, PutsATextBeforeALongerOneThatBeginsWithIt)
{
    EXPECT_LT(compareTexts(u"Invoice"_s, u"invoice 1"_s), 0);
    EXPECT_GT(compareTexts(u"a"_s, {}), 0);
    EXPECT_EQ(compareTexts(u"Zoë"_s, u"zoË"_s), 0);
}

TEST_F(SortFieldTest, ComparesTextsNoFurtherThanTheirFirstThousandUnits)
{
    const QString start(999, u'x');
    EXPECT_LT(compareTexts(start + u"a"_s, start + u"b"_s), 0);
    EXPECT_GT(compareTexts(start + u"b"_s, start + u"a"_s), 0);
    EXPECT_EQ(compareTexts(start + u"xa"_s, start + u"xb"_s), 0);
    EXPECT_EQ(compareTexts(start + u"x"_s, start + u"xb"_s), 0);
    EXPECT_EQ(compareTexts(start + u"xa"_s, start + u"x"_s), 0);
    left.subject = start + u"xa"_s;
    right.subject = start + u"xb"_s;
    EXPECT_EQ(compare(left, right, SortField::subject), 0);
}

TEST_F(SortFieldTest, ReadsASenderWithoutANameNoFurtherThanThat)
{
    const QString start(999, u'@');
    left.from = EmailAddress({}, start + u"b@x"_s);
    right.from = EmailAddress({}, start + u"c@x"_s);
    EXPECT_LT(compare(left, right, SortField::from), 0);
    left.from = EmailAddress({}, start + u"@b@x"_s);
    right.from = EmailAddress({}, start + u"@c@x"_s);
    EXPECT_EQ(compare(left, right, SortField::from), 0);
}

TEST_F(SortFieldTest, ComparesDates)
{
    right.date = left.date.addSecs(1);
    EXPECT_LT(compare(left, right, SortField::date), 0);
    EXPECT_GT(compare(right, left, SortField::date), 0);
    EXPECT_EQ(compare(left, left, SortField::date), 0);
}

TEST_F(SortFieldTest, TellsTheStoredTextsAndTitlesInTheirOrder)
{
    QStringList stored;
    QStringList titles;
    for (const SortField field : allSortFields) {
        stored.append(storedText(field));
        titles.append(title(field));
    }
    EXPECT_EQ(stored,
              (QStringList{u"date"_s, u"from"_s, u"subject"_s, u"unread"_s, u"starred"_s, u"attachments"_s}));
    EXPECT_EQ(titles,
              (QStringList{u"Date"_s, u"From"_s, u"Subject"_s, u"Unread"_s, u"Starred"_s, u"Attachments"_s}));
}

} // namespace
} // namespace Larkhaven
