#include "platform/Tasks.h"

#include "platform/Wakeup.h"

#include <QThread>

#include <algorithm>

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

} // namespace

QThreadPool& workers()
{
    // A keyring that asks the user holds one thread for as long as they think.
    static constexpr int fewest = 4;
    static QThreadPool pool;
    static const bool isSet = [] {
        pool.setMaxThreadCount(std::max(fewest, QThread::idealThreadCount()));
        return true;
    }();
    Q_UNUSED(isSet);
    return pool;
}

void spawn(Task<> task, FailureGate gate)
{
    guarded(std::move(task), std::move(gate));
}

void dropFailure(const std::exception_ptr&) {}

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
