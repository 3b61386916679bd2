#include "safety/IndexSet.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>
#include <random>
#include <set>

namespace Larkhaven {
namespace {

TEST(IndexSet, FindsNothingWhenEmpty)
{
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{64}, std::size_t{4097}})
        EXPECT_EQ(IndexSet(size).next(0), -1);
}

TEST(IndexSet, AnswersForEveryIndexWithinAndBehindItsSize)
{
    IndexSet set(4096);
    set.insert(4095);
    EXPECT_EQ(set.next(0), 4095);
    EXPECT_EQ(set.next(4095), 4095);
    EXPECT_EQ(set.next(4096), -1);
    EXPECT_EQ(set.next(1'000'000), -1);
}

TEST(IndexSet, AgreesWithAnOrderedSet)
{
    constexpr std::size_t size = 300'000;
    std::mt19937 random(1);
    std::uniform_int_distribution<std::size_t> anyIndex(0, size - 1);
    IndexSet set(size);
    std::set<std::size_t> expected;
    for (int i = 0; i < 200'000; ++i) {
        const std::size_t index = anyIndex(random);
        if (i % 3 == 0) {
            const std::size_t victim = expected.empty() ? index : *expected.begin();
            set.erase(victim);
            expected.erase(victim);
        } else {
            set.insert(index);
            expected.insert(index);
        }
        const std::size_t from = anyIndex(random);
        const auto next = expected.lower_bound(from);
        ASSERT_EQ(set.next(from), next == expected.end() ? -1 : static_cast<std::ptrdiff_t>(*next));
    }
}

} // namespace
} // namespace Larkhaven
