#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEvent>
#include <QEventLoop>
#include <QTimer>

#include <chrono>

namespace Larkhaven {

/// Handles events until the condition holds; false if it didn't within the time. The condition is looked at
/// after each round of events, so nothing is waited for that has already happened, and every so often without
/// one, for what happens in another process.
template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds patience = std::chrono::seconds(10))
{
    const QDeadlineTimer deadline(patience);
    QTimer glance;
    glance.start(std::chrono::milliseconds(20));
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

/// Handles the events that are there, and those that they bring about at once.
inline void settle()
{
    constexpr int rounds = 20;
    for (int round = 0; round < rounds; ++round) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

} // namespace Larkhaven
