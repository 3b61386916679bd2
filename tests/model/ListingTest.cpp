#include "model/Listing.h"

#include "support/ModelFixture.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class ListingTest : public testing::Test {
protected:
    ListingTest() { listing.begin(key()); }

    Listing::Key key(Mailbox role = Mailbox::inbox, const std::optional<QString>& query = std::nullopt) const
    {
        return {account.id, MailboxRef::system(role), query, 25};
    }
    MessagePage page(int count, std::optional<qint64> total = std::nullopt, bool hasMore = false) const
    {
        MessagePage answer;
        answer.messages = ModelFixture::rows(account, count);
        answer.total = total;
        answer.hasMore = hasMore;
        return answer;
    }
    void show(int count, std::optional<qint64> total = std::nullopt)
    {
        listing.take(listing.beginLoad(0), page(count, total));
    }
    quint64 remove(const QSet<QString>& ids, std::optional<MailboxRef> from = std::nullopt)
    {
        return listing.lay({account.id, ids, {}, from});
    }
    quint64 star(const QString& id)
    {
        return listing.lay(
            {account.id, {id}, [](MessageSummary& row) { row.isStarred = true; }, std::nullopt});
    }
    QString shown() const
    {
        QStringList ids;
        for (const MessageSummary& row : listing.rows())
            ids.append(row.isStarred ? row.id + u'*' : row.id);
        return ids.join(u' ');
    }

    Account account = ModelFixture::imapAccount();
    Listing listing;
};

TEST_F(ListingTest, ShowsThePageThatCameLast)
{
    EXPECT_EQ(shown(), u"");
    listing.take(listing.beginLoad(2), page(3, 53, true));
    EXPECT_EQ(shown(), u"1 2 3");
    EXPECT_EQ(listing.pageIndex(), 2);
    EXPECT_TRUE(listing.hasMore());
    EXPECT_EQ(listing.total(), 53);
    EXPECT_TRUE(listing.hasPage(2));
    EXPECT_FALSE(listing.hasPage(0));
}

TEST_F(ListingTest, CountsOnlyTheNewestOfSeveralLoads)
{
    const Listing::Load first = listing.beginLoad(0);
    const Listing::Load second = listing.beginLoad(1);
    EXPECT_FALSE(listing.isNewest(first));
    EXPECT_TRUE(listing.isNewest(second));
    EXPECT_EQ(listing.newest().page, 1);
    listing.dropLoads();
    EXPECT_FALSE(listing.isNewest(second));
}

TEST_F(ListingTest, KnowsWhichLoadsBelongToTheListingBefore)
{
    const Listing::Load asked = listing.beginLoad(0);
    EXPECT_TRUE(listing.isOfThisListing(asked));
    EXPECT_FALSE(listing.begin(key()));
    EXPECT_TRUE(listing.isOfThisListing(asked));
    EXPECT_TRUE(listing.begin(key(Mailbox::inbox, u"boat"_s)));
    EXPECT_FALSE(listing.isOfThisListing(asked));
}

TEST_F(ListingTest, IsAnotherWithAnotherPageSize)
{
    show(3, 3);
    Listing::Key larger = key();
    larger.pageSize = 50;
    EXPECT_TRUE(listing.begin(larger));
    EXPECT_FALSE(listing.hasPage(0));
    EXPECT_FALSE(listing.total());
    EXPECT_EQ(listing.pageSize(), 50);
}

TEST_F(ListingTest, KeepsTheRowsOnScreenUntilTheNextListingHasAnswered)
{
    show(3, 3);
    listing.begin(key(Mailbox::inbox, u"boat"_s));
    EXPECT_EQ(shown(), u"1 2 3");
    EXPECT_FALSE(listing.showsOwnRows());
    EXPECT_FALSE(listing.hasMore());
    show(1, 1);
    EXPECT_TRUE(listing.showsOwnRows());
    EXPECT_EQ(shown(), u"1");
}

TEST_F(ListingTest, NeverTakesRowsOfTheListingBeforeIntoItsPages)
{
    show(3, 3);
    listing.begin(key(Mailbox::inbox, u"boat"_s));
    listing.refuse(star(u"1"_s));
    EXPECT_FALSE(listing.hasPage(0));
    EXPECT_FALSE(listing.show(0));
}

TEST_F(ListingTest, KeepsTheTotalOfTheLastAnswerThatHadOne)
{
    show(3, 60);
    show(3);
    EXPECT_EQ(listing.total(), 60);
}

TEST_F(ListingTest, TakesRemovedRowsAndTheirNumberOffUntilTheServiceRefuses)
{
    show(4, 60);
    const quint64 removal = remove({u"1"_s, u"3"_s});
    EXPECT_EQ(shown(), u"2 4");
    EXPECT_EQ(listing.total(), 58);
    listing.refuse(removal);
    EXPECT_EQ(shown(), u"1 2 3 4");
    EXPECT_EQ(listing.total(), 60);
}

TEST_F(ListingTest, NeverCountsBelowZeroNorARowTwice)
{
    show(3, 1);
    remove({u"1"_s, u"2"_s});
    EXPECT_EQ(listing.total(), 0);
    show(3, 60);
    remove({u"2"_s});
    EXPECT_EQ(listing.total(), 58);
}

TEST_F(ListingTest, DropsTheOtherPagesWithARemovalAndKeepsThemWithAFlag)
{
    listing.take(listing.beginLoad(1), page(3));
    show(3);
    star(u"1"_s);
    EXPECT_TRUE(listing.hasPage(1));
    remove({u"1"_s});
    EXPECT_FALSE(listing.hasPage(1));
    EXPECT_TRUE(listing.hasPage(0));
}

TEST_F(ListingTest, TakesBackOnlyTheRefusedOfTwoChanges)
{
    show(3, 3);
    const quint64 starring = star(u"2"_s);
    const quint64 removal = remove({u"1"_s});
    EXPECT_EQ(shown(), u"2* 3");
    listing.accept(removal);
    listing.refuse(starring);
    EXPECT_EQ(shown(), u"2 3") << "the row that was removed is no ghost";
    EXPECT_EQ(listing.total(), 2);
}

TEST_F(ListingTest, KeepsNewMailThatCameBeforeAChangeWasRefused)
{
    show(2);
    const quint64 starring = star(u"2"_s);
    show(3);
    listing.refuse(starring);
    EXPECT_EQ(shown(), u"1 2 3");
}

TEST_F(ListingTest, LaysAnAcceptedChangeOverAnAnswerThatWasAskedForBefore)
{
    show(3, 3);
    const quint64 removal = remove({u"1"_s});
    const Listing::Load asked = listing.beginLoad(0);
    listing.accept(removal);
    listing.take(asked, page(3, 3));
    EXPECT_EQ(shown(), u"2 3");
    EXPECT_EQ(listing.total(), 2);
}

TEST_F(ListingTest, TakesTheServicesWordOnceALoadWasBegunAfterTheAcceptance)
{
    show(3, 3);
    listing.accept(remove({u"1"_s}));
    EXPECT_EQ(shown(), u"2 3");
    show(3, 3);
    EXPECT_EQ(shown(), u"1 2 3") << "the service has it again";
    EXPECT_EQ(listing.total(), 3);
}

TEST_F(ListingTest, KeepsAnAcceptedFlagInPagesThatAreOlderThanIt)
{
    listing.take(listing.beginLoad(1), page(3));
    listing.accept(star(u"2"_s));
    listing.take(listing.beginLoad(0), page(1));
    ASSERT_TRUE(listing.show(1));
    EXPECT_EQ(shown(), u"1 2* 3");
}

TEST_F(ListingTest, KeepsTheNumberOfAcceptedRemovalsWhereTheNextAnswerHasNoTotal)
{
    show(3, 60);
    listing.accept(remove({u"1"_s}));
    show(2);
    EXPECT_EQ(listing.total(), 59);
}

TEST_F(ListingTest, HidesRemovedRowsInTheNextListingAsWell)
{
    show(3, 3);
    remove({u"1"_s});
    listing.begin(key(Mailbox::inbox, u"boat"_s));
    show(2, 2);
    EXPECT_EQ(shown(), u"2");
    EXPECT_EQ(listing.total(), 1);
}

TEST_F(ListingTest, CountsOfRowsRemovedElsewhereOnlyThoseThatItShows)
{
    show(3, 3);
    remove({u"2"_s, u"3"_s});
    listing.begin(key(Mailbox::inbox, u"boat"_s));
    show(2, 40);
    EXPECT_EQ(shown(), u"1");
    EXPECT_EQ(listing.total(), 39) << "whether the third is among the others isn't known";
}

TEST_F(ListingTest, ShowsARowElsewhereThatHasOnlyLeftOneOfItsMailboxes)
{
    show(3, 3);
    remove({u"1"_s}, MailboxRef::system(Mailbox::inbox));
    EXPECT_EQ(shown(), u"2 3");
    listing.begin(key(Mailbox::archive));
    show(3, 3);
    EXPECT_EQ(shown(), u"1 2 3");
    EXPECT_EQ(listing.total(), 3);
}

TEST_F(ListingTest, ChangesNoRowOfAnotherAccount)
{
    show(2, 2);
    const Account other = ModelFixture::imapAccount(u"other@example.org"_s);
    listing.lay({other.id, {u"1"_s}, {}, std::nullopt});
    EXPECT_EQ(shown(), u"1 2");
    EXPECT_EQ(listing.total(), 2);
}

TEST_F(ListingTest, KeepsNothingOfAnAccountThatIsGone)
{
    show(3, 3);
    star(u"1"_s);
    listing.forgetAccount(account.id);
    EXPECT_EQ(shown(), u"");
    EXPECT_FALSE(listing.total());
    EXPECT_FALSE(listing.hasPage(0));
    listing.begin(key());
    show(1, 1);
    EXPECT_EQ(shown(), u"1");
}

TEST_F(ListingTest, ForgetsItsPagesButNotTheRowsOnScreen)
{
    show(3, 3);
    listing.forgetPages();
    EXPECT_FALSE(listing.hasPage(0));
    EXPECT_EQ(shown(), u"1 2 3");
    EXPECT_EQ(listing.total(), 3);
}

TEST_F(ListingTest, BeginsAnewOnItsFirstPage)
{
    listing.take(listing.beginLoad(2), page(3, 60));
    listing.restart();
    EXPECT_EQ(listing.pageIndex(), 0);
    EXPECT_FALSE(listing.total());
    EXPECT_EQ(shown(), u"1 2 3");
    listing.clearRows();
    EXPECT_EQ(shown(), u"");
}

} // namespace
} // namespace Larkhaven
