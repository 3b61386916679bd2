#include "platform/Turnstile.h"

#include "platform/Wakeup.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

constexpr std::chrono::milliseconds forever{-1};

/// Several bodies that pass the turnstile, and what they did.
struct Crossing {
    Turnstile turnstile;
    Wakeup release;
    QStringList notes;
};

Task<> cross(std::shared_ptr<Crossing> crossing, QString name,
             Turnstile::Order order = Turnstile::Order::next)
{
    [[maybe_unused]] const Turnstile::Turn turn = co_await crossing->turnstile.enter(order);
    crossing->notes.append(name + u" enters"_s);
    co_await crossing->release.wait(forever);
    crossing->notes.append(name + u" leaves"_s);
}

Task<> crossAndFail(std::shared_ptr<Crossing> crossing)
{
    [[maybe_unused]] const Turnstile::Turn turn = co_await crossing->turnstile.enter();
    throw MailError::cancelled();
}

TEST(Turnstile, LetsTheFirstOneThroughAtOnce)
{
    const auto crossing = std::make_shared<Crossing>();
    Begun<void> first(cross(crossing, u"a"_s));
    EXPECT_EQ(crossing->notes, QStringList(u"a enters"_s));
    crossing->release.notify();
    first.get();
}

TEST(Turnstile, LetsOneThroughAtATimeInTheOrderOfTheirComing)
{
    const auto crossing = std::make_shared<Crossing>();
    std::vector<Begun<void>> begun;
    for (const QString& name : {u"a"_s, u"b"_s, u"c"_s})
        begun.emplace_back(cross(crossing, name));
    for (Begun<void>& task : begun) {
        settle();
        crossing->release.notify();
        task.get();
    }
    EXPECT_EQ(crossing->notes, QStringList({u"a enters"_s, u"a leaves"_s, u"b enters"_s, u"b leaves"_s,
                                            u"c enters"_s, u"c leaves"_s}));
}

TEST(Turnstile, LetsTheBackgroundWaitUntilNobodyElseDoes)
{
    const auto crossing = std::make_shared<Crossing>();
    std::vector<Begun<void>> begun;
    begun.emplace_back(cross(crossing, u"first"_s, Turnstile::Order::background));
    begun.emplace_back(cross(crossing, u"count"_s, Turnstile::Order::background));
    begun.emplace_back(cross(crossing, u"labels"_s, Turnstile::Order::background));
    begun.emplace_back(cross(crossing, u"open"_s));
    begun.emplace_back(cross(crossing, u"star"_s));
    while (!std::ranges::all_of(begun, &Begun<void>::isDone)) {
        settle();
        crossing->release.notify();
        settle();
    }
    EXPECT_EQ(crossing->notes.filter(u"enters"_s),
              QStringList({u"first enters"_s, u"open enters"_s, u"star enters"_s, u"count enters"_s,
                           u"labels enters"_s}));
}

TEST(Turnstile, LetsNobodyInBeforeThoseWhoWait)
{
    const auto crossing = std::make_shared<Crossing>();
    Begun<void> first(cross(crossing, u"a"_s));
    Begun<void> second(cross(crossing, u"b"_s));
    crossing->release.notify();
    first.get();
    // The turn has been passed on, though the second one hasn't begun yet.
    Begun<void> third(cross(crossing, u"c"_s));
    settle();
    EXPECT_EQ(crossing->notes.last(), u"b enters");
    crossing->release.notify();
    second.get();
    crossing->release.notify();
    third.get();
    EXPECT_EQ(crossing->notes.last(), u"c leaves");
}

TEST(Turnstile, IsFreeAgainAfterAFailure)
{
    const auto crossing = std::make_shared<Crossing>();
    expectMailError(crossAndFail(crossing), MailError::Kind::cancelled);
    Begun<void> waitingFailure(crossAndFail(crossing));
    crossing->release.notify();
    await(cross(crossing, u"a"_s));
    EXPECT_EQ(crossing->notes.last(), u"a leaves");
}

TEST(Turnstile, MayBeDestroyedByTheLastOneThrough)
{
    auto crossing = std::make_shared<Crossing>();
    const std::weak_ptr<Crossing> watched = crossing;
    Begun<void> first(cross(crossing, u"a"_s));
    Begun<void> second(cross(crossing, u"b"_s));
    crossing->release.notify();
    first.get();
    settle();
    crossing->release.notify();
    crossing.reset();
    second.get();
    EXPECT_TRUE(watched.expired());
}

} // namespace
} // namespace Larkhaven
