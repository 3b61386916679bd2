#include "platform/Wakeup.h"

#include <QTimerEvent>

#include <utility>

namespace Larkhaven {

void Wakeup::notify()
{
    if (m_waiter)
        resumeLater(Outcome::notified);
    else
        m_pending = true;
}

bool Wakeup::takePending()
{
    m_outcome = Outcome::notified;
    return std::exchange(m_pending, false);
}

void Wakeup::suspend(std::coroutine_handle<> waiter, std::chrono::milliseconds timeout)
{
    Q_ASSERT(!m_waiter);
    m_waiter = waiter;
    if (timeout.count() >= 0)
        m_timer.start(static_cast<int>(timeout.count()), Qt::CoarseTimer, this);
}

void Wakeup::resumeLater(Outcome outcome)
{
    m_timer.stop();
    m_outcome = outcome;
    QMetaObject::invokeMethod(
        this, [waiter = std::exchange(m_waiter, {})] { waiter.resume(); }, Qt::QueuedConnection);
}

void Wakeup::timerEvent(QTimerEvent* event)
{
    if (event->timerId() == m_timer.timerId())
        resumeLater(Outcome::timedOut);
}

} // namespace Larkhaven
