#pragma once

#include <QObject>

#include <coroutine>
#include <deque>
#include <utility>

namespace Larkhaven {

/// Lets one coroutine of a thread through at a time, or as many as it is wide, in the order of their coming,
/// across their waits. Those of the background wait until nobody else does.
///
/// `const Turn turn = co_await turnstile.enter();` holds the turn for the scope. The next one goes on from
/// the event loop, never from within the destructor of a `Turn`. Whoever enters keeps the turnstile alive.
class Turnstile : public QObject {
public:
    explicit Turnstile(int width = 1)
        : m_free(width)
    {}

    enum class Order {
        next,       ///< behind those who came before
        background, ///< behind all others, whenever they come
    };

    class Turn {
    public:
        explicit Turn(Turnstile& turnstile)
            : m_turnstile(&turnstile)
        {}
        Turn(Turn&& other) noexcept
            : m_turnstile(std::exchange(other.m_turnstile, nullptr))
        {}
        ~Turn()
        {
            if (m_turnstile)
                m_turnstile->leave();
        }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        Turn& operator=(Turn&&) = delete;

    private:
        Turnstile* m_turnstile;
    };

    /// For one `co_await`: gives the `Turn`.
    auto enter(Order order = Order::next)
    {
        struct Awaiter {
            Turnstile& turnstile;
            Order order;

            bool await_ready() const
            {
                if (turnstile.m_free == 0)
                    return false;
                --turnstile.m_free;
                return true;
            }
            void await_suspend(std::coroutine_handle<> waiter) const
            {
                (order == Order::next ? turnstile.m_waiters : turnstile.m_background).push_back(waiter);
            }
            Turn await_resume() const { return Turn(turnstile); }
        };
        return Awaiter{*this, order};
    }

private:
    void leave()
    {
        std::deque<std::coroutine_handle<>>& waiters = m_waiters.empty() ? m_background : m_waiters;
        if (waiters.empty()) {
            ++m_free;
            return;
        }
        // The turn passes on directly: nobody gets in between.
        const std::coroutine_handle<> next = waiters.front();
        waiters.pop_front();
        QMetaObject::invokeMethod(
            this, [next] { next.resume(); }, Qt::QueuedConnection);
    }

    int m_free;
    std::deque<std::coroutine_handle<>> m_waiters;
    std::deque<std::coroutine_handle<>> m_background;
};

} // namespace Larkhaven
