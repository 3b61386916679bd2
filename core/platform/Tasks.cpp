#include "platform/Tasks.h"

#include "platform/Wakeup.h"

#include <QCoreApplication>
#include <QThread>

#include <algorithm>
#include <condition_variable>
#include <mutex>

namespace Larkhaven {

namespace {

Task<> guarded(Task<> task, FailureGate gate)
{
    std::exception_ptr failure;
    try {
        co_await task;
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure)
        gate(failure);
}

/// Never destroyed: what outlives the wait at the end of the application counts down later.
struct WorkInFlight {
    std::mutex mutex;
    std::condition_variable isNone;
    qint64 count = 0;

    static WorkInFlight& instance()
    {
        static auto* const works = new WorkInFlight;
        return *works;
    }

    void begin()
    {
        const std::scoped_lock lock(mutex);
        ++count;
    }
    void end()
    {
        const std::scoped_lock lock(mutex);
        if (--count == 0)
            isNone.notify_all();
    }
};

} // namespace

std::shared_ptr<void> beginWork()
{
    [[maybe_unused]] static const bool isAwaited = [] {
        qAddPostRoutine([] { waitForWork(workEndLimit); });
        return true;
    }();
    WorkInFlight& works = WorkInFlight::instance();
    works.begin();
    return {&works, [](WorkInFlight* counted) { counted->end(); }};
}

bool waitForWork(std::chrono::milliseconds limit)
{
    WorkInFlight& works = WorkInFlight::instance();
    std::unique_lock lock(works.mutex);
    return works.isNone.wait_for(lock, limit, [&works] { return works.count == 0; });
}

QThreadPool& workers()
{
    // A keyring that asks the user holds one thread for as long as they think.
    static constexpr int fewest = 4;
    // Never destroyed: the destructor would wait for that keyring, without a bound, at the end of the
    // process.
    static QThreadPool* const pool = [] {
        auto* const made = new QThreadPool;
        made->setMaxThreadCount(std::max(fewest, QThread::idealThreadCount()));
        return made;
    }();
    return *pool;
}

void spawn(Task<> task, FailureGate gate)
{
    guarded(std::move(task), std::move(gate));
}

void dropFailure(const std::exception_ptr&) {}

Task<> nothing()
{
    co_return;
}

Task<bool> sleepFor(std::chrono::milliseconds duration, std::stop_token stop)
{
    Wakeup wakeup;
    // A stop may be requested from any thread.
    const std::stop_callback wake(stop, [&wakeup] {
        QMetaObject::invokeMethod(
            &wakeup, [&wakeup] { wakeup.notify(); }, Qt::QueuedConnection);
    });
    if (stop.stop_requested())
        co_return false;
    const Wakeup::Outcome outcome = co_await wakeup.wait(std::max(duration, std::chrono::milliseconds(0)));
    co_return outcome == Wakeup::Outcome::timedOut;
}

} // namespace Larkhaven
