#include "platform/Wakeup.h"

#include "support/Await.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>
#include <memory>

using namespace std::chrono_literals;

namespace Larkhaven {
namespace {

constexpr std::chrono::milliseconds forever{-1};

Task<Wakeup::Outcome> waitFor(Wakeup* wakeup, std::chrono::milliseconds timeout)
{
    const Wakeup::Outcome outcome = co_await wakeup->wait(timeout);
    co_return outcome;
}

TEST(Wakeup, WakesWhoWaits)
{
    Wakeup wakeup;
    Begun<Wakeup::Outcome> waiting(waitFor(&wakeup, forever));
    settle();
    EXPECT_FALSE(waiting.isDone());
    wakeup.notify();
    EXPECT_EQ(waiting.get(), Wakeup::Outcome::notified);
}

TEST(Wakeup, GoesOnFromTheEventLoopAndNotFromWithinTheNotification)
{
    Wakeup wakeup;
    Begun<Wakeup::Outcome> waiting(waitFor(&wakeup, forever));
    wakeup.notify();
    EXPECT_FALSE(waiting.isDone());
    EXPECT_EQ(waiting.get(), Wakeup::Outcome::notified);
}

TEST(Wakeup, LosesNoNotificationThatComesWhileNobodyWaits)
{
    Wakeup wakeup;
    wakeup.notify();
    wakeup.notify();
    EXPECT_EQ(await(waitFor(&wakeup, forever)), Wakeup::Outcome::notified);
    EXPECT_EQ(await(waitFor(&wakeup, 1ms)), Wakeup::Outcome::timedOut) << "two at once count as one";
}

TEST(Wakeup, KeepsANotificationThatComesBeforeTheWokenOneGoesOn)
{
    Wakeup wakeup;
    Begun<Wakeup::Outcome> waiting(waitFor(&wakeup, forever));
    wakeup.notify();
    wakeup.notify();
    EXPECT_EQ(waiting.get(), Wakeup::Outcome::notified);
    EXPECT_EQ(await(waitFor(&wakeup, forever)), Wakeup::Outcome::notified);
}

TEST(Wakeup, EndsAWaitWhenItsTimeHasPassed)
{
    Wakeup wakeup;
    EXPECT_EQ(await(waitFor(&wakeup, 1ms)), Wakeup::Outcome::timedOut);
    EXPECT_EQ(await(waitFor(&wakeup, 0ms)), Wakeup::Outcome::timedOut);
}

TEST(Wakeup, CanBeWaitedForAgainAfterATimeOut)
{
    Wakeup wakeup;
    EXPECT_EQ(await(waitFor(&wakeup, 0ms)), Wakeup::Outcome::timedOut);
    Begun<Wakeup::Outcome> waiting(waitFor(&wakeup, forever));
    wakeup.notify();
    EXPECT_EQ(waiting.get(), Wakeup::Outcome::notified);
}

TEST(Wakeup, MayBeDestroyedByWhomItWakes)
{
    const auto destroying = [](std::unique_ptr<Wakeup> wakeup) -> Task<> {
        co_await wakeup->wait(forever);
        wakeup.reset();
    };
    auto wakeup = std::make_unique<Wakeup>();
    Wakeup* const watched = wakeup.get();
    Begun<void> waiting(destroying(std::move(wakeup)));
    watched->notify();
    waiting.get();
}

} // namespace
} // namespace Larkhaven
