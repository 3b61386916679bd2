#include "platform/Coalescer.h"

#include "platform/Wakeup.h"
#include "support/Await.h"

#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace Larkhaven {
namespace {

constexpr std::chrono::milliseconds forever{-1};

/// Work that lasts until it is released.
struct Job {
    Wakeup release;
    int runs = 0;
    bool fails = false;
};

Task<> work(std::shared_ptr<Job> job)
{
    ++job->runs;
    co_await job->release.wait(forever);
    if (job->fails)
        throw MailError::cancelled();
}

class CoalescerTest : public testing::Test {
protected:
    std::shared_ptr<Job> job = std::make_shared<Job>();
    std::shared_ptr<Coalescer> coalescer = Coalescer::create([held = job] { return work(held); });
};

TEST_F(CoalescerTest, RunsAtOnceWhereNothingIsUnderWay)
{
    Begun<void> request(coalescer->request());
    EXPECT_EQ(job->runs, 1);
    EXPECT_FALSE(request.isDone());
    job->release.notify();
    request.get();
}

TEST_F(CoalescerTest, RunsOnceMoreForAllThatAskDuringARun)
{
    std::vector<Begun<void>> requests;
    for (int index = 0; index < 20; ++index)
        requests.emplace_back(coalescer->request());
    EXPECT_EQ(job->runs, 1);
    job->release.notify();
    requests.front().get();
    settle();
    EXPECT_EQ(job->runs, 2);
    EXPECT_FALSE(requests[1].isDone()) << "its run has only begun";
    job->release.notify();
    for (Begun<void>& request : requests)
        request.get();
    EXPECT_EQ(job->runs, 2);
}

TEST_F(CoalescerTest, RunsAnewForARequestThatComesDuringTheSecondRun)
{
    Begun<void> first(coalescer->request());
    Begun<void> second(coalescer->request());
    job->release.notify();
    settle();
    Begun<void> third(coalescer->request());
    job->release.notify();
    second.get();
    EXPECT_FALSE(third.isDone());
    settle();
    EXPECT_EQ(job->runs, 3);
    job->release.notify();
    third.get();
}

TEST_F(CoalescerTest, GoesOnAfterARunThatFails)
{
    job->fails = true;
    Begun<void> first(coalescer->request());
    Begun<void> second(coalescer->request());
    job->release.notify();
    EXPECT_THROW(first.get(), MailError);
    job->fails = false;
    job->release.notify();
    second.get();
    EXPECT_EQ(job->runs, 2);
}

TEST_F(CoalescerTest, EndsItsRequestsWhereItIsDroppedMeanwhile)
{
    Begun<void> first(coalescer->request());
    Begun<void> second(coalescer->request());
    coalescer.reset();
    job->release.notify();
    first.get();
    job->release.notify();
    second.get();
    EXPECT_EQ(job->runs, 2);
}

} // namespace
} // namespace Larkhaven
