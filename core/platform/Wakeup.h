#pragma once

#include <QBasicTimer>
#include <QObject>

#include <chrono>
#include <coroutine>

namespace Larkhaven {

/// Lets one coroutine sleep until an event of the same thread happens, or a time has passed.
///
/// A wake-up is never lost: one that comes while nobody waits ends the next wait at once. The coroutine goes
/// on from the event loop, never from within `notify`, so that it may destroy whoever notified it. Whoever
/// waits keeps the `Wakeup` alive.
class Wakeup : public QObject {
public:
    enum class Outcome { notified, timedOut };

    /// Wakes the waiting coroutine.
    void notify();

    /// For one `co_await`: gives the outcome. No time-out where `timeout` is negative; at most 24 days
    /// otherwise. At most one coroutine waits at a time.
    auto wait(std::chrono::milliseconds timeout)
    {
        struct Awaiter {
            Wakeup& wakeup;
            std::chrono::milliseconds timeout;

            bool await_ready() const { return wakeup.takePending(); }
            void await_suspend(std::coroutine_handle<> waiter) const { wakeup.suspend(waiter, timeout); }
            Outcome await_resume() const { return wakeup.m_outcome; }
        };
        return Awaiter{*this, timeout};
    }

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    bool takePending();
    void suspend(std::coroutine_handle<> waiter, std::chrono::milliseconds timeout);
    void resumeLater(Outcome outcome);

    std::coroutine_handle<> m_waiter;
    QBasicTimer m_timer;
    Outcome m_outcome = Outcome::notified;
    bool m_pending = false;
};

} // namespace Larkhaven
