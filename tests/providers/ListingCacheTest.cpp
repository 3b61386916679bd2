#include "providers/ListingCache.h"

#include "platform/Wakeup.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <deque>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using Cache = ListingCache<int>;

class ListingCacheTest : public testing::Test {
protected:
    /// Gives the pages in turn, and holds them where it is told to.
    Task<Cache::Page> fetch(std::optional<QString> continuation)
    {
        asked.append(continuation.value_or(u"-"_s));
        const Cache::Page page = pages.empty() ? Cache::Page() : pages.front();
        if (!pages.empty())
            pages.pop_front();
        if (isHeld) {
            Wakeup& release = held.emplace_back();
            co_await release.wait(std::chrono::seconds(10));
        }
        if (page.estimate == failing)
            throw MailError::rateLimited();
        Cache::Page answer = page;
        co_return answer;
    }

    Task<Cache::Entry> ensure(qint64 count, const QString& key = u"k"_s)
    {
        return cache.ensure(key, count, [this](std::optional<QString> token) { return fetch(token); });
    }

    static constexpr qint64 failing = -1;
    Cache cache;
    std::deque<Cache::Page> pages;
    QStringList asked;
    bool isHeld = false;
    std::deque<Wakeup> held; ///< one for each fetch
};

TEST_F(ListingCacheTest, ReadsPagesUntilItHasEnough)
{
    pages = {{{1, 2}, u"b"_s, 9}, {{3, 4}, u"c"_s, std::nullopt}, {{5}, std::nullopt, 7}};
    Cache::Entry entry = await(ensure(3));
    EXPECT_EQ(entry.items, (QList<int>{1, 2, 3, 4}));
    EXPECT_EQ(entry.continuation, u"c");
    EXPECT_EQ(entry.estimate, 9) << "the last one that was told";
    EXPECT_FALSE(entry.exhausted);
    EXPECT_EQ(await(ensure(4)).items.size(), 4);
    EXPECT_EQ(asked, (QStringList{u"-"_s, u"b"_s}));
    entry = await(ensure(100));
    EXPECT_EQ(entry.items, (QList<int>{1, 2, 3, 4, 5}));
    EXPECT_TRUE(entry.exhausted);
    EXPECT_EQ(entry.estimate, 7);
    await(ensure(100));
    EXPECT_EQ(asked, (QStringList{u"-"_s, u"b"_s, u"c"_s}));
}

TEST_F(ListingCacheTest, KeepsListingsApartByTheirKeys)
{
    pages = {{{1}, std::nullopt, {}}, {{2}, std::nullopt, {}}};
    EXPECT_EQ(await(ensure(1)).items, QList<int>{1});
    EXPECT_EQ(await(ensure(1, u"other"_s)).items, QList<int>{2});
}

TEST_F(ListingCacheTest, EndsWhereTheServiceRepeatsItsToken)
{
    pages = {{{1}, u"b"_s, {}}, {{2}, u"b"_s, {}}, {{3}, u"b"_s, {}}};
    const Cache::Entry entry = await(ensure(100));
    EXPECT_EQ(entry.items, (QList<int>{1, 2}));
    EXPECT_TRUE(entry.exhausted);
}

TEST_F(ListingCacheTest, AppendsOnePageWhereTwoAskAtOnce)
{
    isHeld = true;
    pages = {{{1}, std::nullopt, {}}, {{2}, std::nullopt, {}}};
    Begun<Cache::Entry> first(ensure(1));
    Begun<Cache::Entry> second(ensure(1));
    // Both fetches are under way; the first that comes back counts.
    EXPECT_EQ(asked.size(), 2);
    held[1].notify();
    EXPECT_EQ(second.get().items, QList<int>{2});
    held[0].notify();
    EXPECT_EQ(first.get().items, QList<int>{2});
    EXPECT_EQ(await(ensure(5)).items, QList<int>{2});
}

TEST_F(ListingCacheTest, DropsAPageThatWasAskedForBeforeTheListingWasCleared)
{
    isHeld = true;
    pages = {{{1}, std::nullopt, {}}, {{2}, std::nullopt, {}}};
    Begun<Cache::Entry> entry(ensure(1));
    cache.clear();
    isHeld = false;
    held[0].notify();
    EXPECT_EQ(entry.get().items, QList<int>{2});
}

TEST_F(ListingCacheTest, StaysAsItWasWhereAPageFails)
{
    pages = {{{1}, u"b"_s, {}}, {{}, {}, failing}, {{2}, std::nullopt, {}}};
    expectMailError(ensure(2), MailError::Kind::rateLimited);
    EXPECT_EQ(await(ensure(2)).items, (QList<int>{1, 2}));
    EXPECT_EQ(asked, (QStringList{u"-"_s, u"b"_s, u"b"_s}));
}

TEST_F(ListingCacheTest, EndsAfter200000Items)
{
    static_assert(Cache::mostItems == 200'000);
    pages = {{QList<int>(199'999, 1), u"b"_s, {}}, {{2, 3}, u"c"_s, {}}, {{4}, u"d"_s, {}}};
    const Cache::Entry entry = await(ensure(std::numeric_limits<qint64>::max()));
    EXPECT_EQ(entry.items.size(), 200'001);
    EXPECT_TRUE(entry.exhausted);
    EXPECT_EQ(asked.size(), 2);
}

TEST_F(ListingCacheTest, EndsAfter10000PagesOfNothing)
{
    static_assert(Cache::mostPages == 10'000);
    for (int number = 0; number < 10'001; ++number)
        pages.push_back({{}, QString::number(number), {}});
    EXPECT_TRUE(await(ensure(1)).exhausted);
    EXPECT_EQ(asked.size(), 10'000);
}

} // namespace
} // namespace Larkhaven
