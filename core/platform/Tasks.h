#pragma once

#include "domain/MailProvider.h"

#include <QCoroFuture>
#include <QFuture>
#include <QThreadPool>
#include <QtConcurrentRun>

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <variant>

namespace Larkhaven {

// NB: GCC 12 destroys a closure that is made within a `co_await` expression twice. A lambda that captures is
// given a name first:
//     const auto work = [bytes] { return parse(bytes); };
//     co_await runOnWorker(work);

/// Counts as work in flight until the last copy is gone. Main thread; copies may go on any thread.
std::shared_ptr<void> beginWork();

/// Waits on this thread until no work of `runOn` is in flight, what it captured included; false if `limit`
/// has passed first. The end of the application does it with `workEndLimit`: where the task that waits for a
/// work is never resumed, its owner isn't destroyed and waits for nobody, and a thread that computes while
/// the process takes its statics and its libraries down crashes.
bool waitForWork(std::chrono::milliseconds limit);

/// A keyring that still asks the user doesn't hold up the end of the process for longer.
inline constexpr std::chrono::milliseconds workEndLimit{5000};

/// Runs `work`, which is pure or owns all that it touches, on a thread of `pool` and comes back on the
/// calling thread with its result or its exception. The calling thread needs an event loop.
template <typename Work>
Task<std::invoke_result_t<Work>> runOn(QThreadPool* pool, Work work)
{
    using Result = std::invoke_result_t<Work>;
    using Value = std::conditional_t<std::is_void_v<Result>, std::monostate, Result>;
    struct Outcome {
        std::optional<Value> value;
        std::exception_ptr failure;
    };
    // QFuture copies results and knows only QException; the shared state carries both as they are.
    const auto outcome = std::make_shared<Outcome>();
    struct Job {
        std::shared_ptr<void> inFlight; ///< first, so that it goes last
        std::shared_ptr<Outcome> outcome;
        Work work;

        void operator()()
        {
            try {
                if constexpr (std::is_void_v<Result>) {
                    work();
                    outcome->value.emplace();
                } else {
                    outcome->value.emplace(work());
                }
            } catch (...) {
                outcome->failure = std::current_exception();
            }
        }
    };
    QFuture<void> future = QtConcurrent::run(pool, Job{beginWork(), outcome, std::move(work)});
    co_await future;
    if (outcome->failure)
        std::rethrow_exception(outcome->failure);
    if constexpr (!std::is_void_v<Result>)
        co_return std::move(*outcome->value);
}

/// The worker threads of the process. Not Qt's own pool, in which windows are painted: they would wait behind
/// whatever is parsed.
QThreadPool& workers();

/// `runOn` the shared worker threads of the process: for parsing, sanitising, sealing, encoding.
template <typename Work>
Task<std::invoke_result_t<Work>> runOnWorker(Work work)
{
    return runOn(&workers(), std::move(work));
}

/// What became of a task: its result, or its failure.
template <typename T>
struct Outcome {
    using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

    std::optional<Value> value;
    std::exception_ptr failure; ///< null where there is a value
};

/// Waits for the task and never fails, for flows that go on differently after a failure.
template <typename T>
Task<Outcome<T>> settled(Task<T> task)
{
    Outcome<T> outcome;
    try {
        if constexpr (std::is_void_v<T>) {
            co_await task;
            outcome.value.emplace();
        } else {
            auto value = co_await task;
            outcome.value.emplace(std::move(value));
        }
    } catch (...) {
        outcome.failure = std::current_exception();
    }
    co_return outcome;
}

/// Where the failure of a detached task goes.
using FailureGate = std::function<void(std::exception_ptr)>;

/// Lets a task run on by itself; the one way to detach a task. A failure of it goes to `gate`, which must not
/// throw.
void spawn(Task<> task, FailureGate gate);

/// A task that has ended.
Task<> nothing();

/// The gate for tasks whose failures are dropped on purpose.
void dropFailure(const std::exception_ptr& failure);

/// Sleeps for `duration` (at most 24 days), or until `stop` is requested, whichever comes first; true if the
/// time has passed.
Task<bool> sleepFor(std::chrono::milliseconds duration, std::stop_token stop);

} // namespace Larkhaven
