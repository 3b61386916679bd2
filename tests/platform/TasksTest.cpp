#include "platform/Tasks.h"

#include "support/Await.h"
#include "support/QtPrinters.h"

#include <QProcess>
#include <QSemaphore>
#include <QThread>

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <thread>

using namespace std::chrono_literals;

namespace Larkhaven {
namespace {

TEST(RunOn, GivesTheResultOfTheWork)
{
    EXPECT_EQ(await(runOnWorker([] { return QByteArray("done"); })), "done");
}

TEST(RunOn, RunsOnAnotherThreadAndComesBackOnTheCallingOne)
{
    struct Threads {
        QThread* work;
        QThread* back;
    };
    const auto threads = []() -> Task<Threads> {
        QThread* const work = co_await runOnWorker([] { return QThread::currentThread(); });
        co_return Threads{work, QThread::currentThread()};
    };
    const Threads seen = await(threads());
    EXPECT_NE(seen.work, QThread::currentThread());
    EXPECT_EQ(seen.back, QThread::currentThread());
}

TEST(RunOn, ThrowsTheExceptionOfTheWorkAsItIs)
{
    expectMailError(runOnWorker([]() -> int { throw MailError::rateLimited(); }),
                    MailError::Kind::rateLimited);
    expectMailError(runOnWorker([] { throw MailError::cancelled(); }), MailError::Kind::cancelled);
}

TEST(RunOn, RunsWorkWithoutAResult)
{
    const auto count = std::make_shared<int>(0);
    await(runOnWorker([count] { ++*count; }));
    EXPECT_EQ(*count, 1);
}

TEST(RunOn, TakesWorkAndResultsThatCanOnlyBeMoved)
{
    auto work = [value = std::make_unique<int>(7)]() mutable { return std::move(value); };
    const auto run = [](decltype(work) moved) -> Task<int> {
        const std::unique_ptr<int> result = co_await runOnWorker(std::move(moved));
        const int value = *result;
        co_return value;
    };
    EXPECT_EQ(await(run(std::move(work))), 7);
}

TEST(RunOn, RunsOneByOneAndInOrderOnAPoolOfOneThread)
{
    QThreadPool pool;
    pool.setMaxThreadCount(1);
    const auto order = std::make_shared<QList<int>>();
    QList<Begun<void>> begun;
    for (int number = 0; number < 100; ++number)
        begun.emplaceBack(runOn(&pool, [order, number] { order->append(number); }));
    for (Begun<void>& task : begun)
        task.get();
    ASSERT_EQ(order->size(), 100);
    EXPECT_TRUE(std::is_sorted(order->cbegin(), order->cend()));
}

TEST(WaitForWork, WaitsForTheWorkAndForWhatItHolds)
{
    struct Held {
        explicit Held(std::shared_ptr<std::atomic<bool>> gone)
            : isGone(std::move(gone))
        {}
        ~Held()
        {
            std::this_thread::sleep_for(20ms);
            *isGone = true;
        }
        std::shared_ptr<std::atomic<bool>> isGone;
    };
    const auto isGone = std::make_shared<std::atomic<bool>>(false);
    const auto isFree = std::make_shared<QSemaphore>();
    {
        const auto work = [isFree, held = std::make_shared<Held>(isGone)] { isFree->acquire(); };
        spawn(runOnWorker(work), dropFailure);
    }
    EXPECT_FALSE(waitForWork(1ms));
    EXPECT_FALSE(*isGone);
    isFree->release();
    EXPECT_TRUE(waitForWork(10s));
    EXPECT_TRUE(*isGone);
}

TEST(WaitForWork, IsWhatTheEndOfTheApplicationDoes)
{
    QProcess program;
    program.start(QString::fromLatin1(ENDING_PROGRAM), QStringList());
    ASSERT_TRUE(program.waitForFinished());
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
    EXPECT_EQ(program.readAllStandardOutput(), "begun\ndone\nleft\n");
}

Task<> failing(MailError error)
{
    co_await runOnWorker([] {});
    throw error;
}

TEST(Spawn, HandsTheFailureOfADetachedTaskToItsGate)
{
    QString told;
    spawn(failing(MailError::cancelled()),
          [&told](const std::exception_ptr& failure) { told = localizedText(failure); });
    EXPECT_TRUE(waitUntil([&] { return !told.isEmpty(); }));
    EXPECT_EQ(told, u"Cancelled.");
}

TEST(Spawn, HandsAFailureBeforeTheFirstWaitToItsGate)
{
    bool isTold = false;
    spawn(
        []() -> Task<> {
            throw MailError::cancelled();
            co_return;
        }(),
        [&isTold](const std::exception_ptr&) { isTold = true; });
    EXPECT_TRUE(isTold);
}

TEST(Spawn, LeavesTheGateAloneWhereNothingFails)
{
    bool isTold = false;
    bool isDone = false;
    const auto work = [](bool* done) -> Task<> {
        co_await runOnWorker([] {});
        *done = true;
    };
    spawn(work(&isDone), [&isTold](const std::exception_ptr&) { isTold = true; });
    EXPECT_TRUE(waitUntil([&] { return isDone; }));
    settle();
    EXPECT_FALSE(isTold);
}

TEST(Spawn, CanDropFailures)
{
    spawn(failing(MailError::cancelled()), dropFailure);
    settle();
}

TEST(SleepFor, EndsWhenTheTimeHasPassed)
{
    EXPECT_TRUE(await(sleepFor(1ms, {})));
    EXPECT_TRUE(await(sleepFor(0ms, {})));
    EXPECT_TRUE(await(sleepFor(-5ms, {})));
}

TEST(SleepFor, EndsAtOnceWhereAStopWasRequestedBefore)
{
    std::stop_source source;
    source.request_stop();
    EXPECT_FALSE(await(sleepFor(24h, source.get_token())));
}

TEST(SleepFor, IsWokenByAStopRequest)
{
    std::stop_source source;
    Begun<bool> sleep(sleepFor(24h, source.get_token()));
    settle();
    EXPECT_FALSE(sleep.isDone());
    source.request_stop();
    EXPECT_FALSE(sleep.get());
}

TEST(SleepFor, IsWokenByAStopRequestFromAnotherThread)
{
    for (int round = 0; round < 50; ++round) {
        std::stop_source source;
        Begun<bool> sleep(sleepFor(24h, source.get_token()));
        const std::jthread other([&source] { source.request_stop(); });
        EXPECT_FALSE(sleep.get());
    }
}

} // namespace
} // namespace Larkhaven
