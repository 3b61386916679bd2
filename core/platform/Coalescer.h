#pragma once

#include "platform/Tasks.h"
#include "platform/Turnstile.h"

#include <functional>
#include <memory>
#include <utility>

namespace Larkhaven {

/// Merges requests for the same work: at most one run is under way and one waits, however many ask.
///
/// A request ends when a run has ended that began after the request, and so has seen all that was true by
/// then. A failure of the run goes to the request that ran it alone. One thread; a request keeps the object
/// alive.
class Coalescer : public std::enable_shared_from_this<Coalescer> {
public:
    using Work = std::function<Task<>()>;

    static std::shared_ptr<Coalescer> create(Work work)
    {
        return std::shared_ptr<Coalescer>(new Coalescer(std::move(work)));
    }

    Task<> request()
    {
        const auto self = shared_from_this();
        const quint64 wanted = m_begun + 1;
        const Turnstile::Turn turn = co_await m_turnstile.enter();
        if (m_begun >= wanted)
            co_return;
        ++m_begun;
        co_await m_work();
    }

private:
    explicit Coalescer(Work work)
        : m_work(std::move(work))
    {}

    Work m_work;
    Turnstile m_turnstile;
    quint64 m_begun = 0; ///< number of the last run
};

} // namespace Larkhaven
