#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <functional>

namespace Larkhaven {

/// Measures how long the main thread is held at once: by a step that a test makes, and by each turn of the
/// event loop while it waits. Main thread.
class TurnMeter {
public:
    /// In milliseconds.
    struct Turn {
        double wall = 0;
        double processor = 0; ///< without what other programs took of it
    };

    /// Counts what `work` does as one turn.
    void step(const std::function<void()>& work)
    {
        const double processorBefore = processorTime();
        QElapsedTimer clock;
        clock.start();
        work();
        note({static_cast<double>(clock.nsecsElapsed()) / 1e6, processorTime() - processorBefore});
    }

    /// Runs the event loop until the condition holds. Gives whether it did in time.
    bool until(const std::function<bool()>& condition, std::chrono::milliseconds patience)
    {
        QElapsedTimer clock;
        clock.start();
        while (!condition()) {
            if (clock.elapsed() > patience.count())
                return false;
            turn();
        }
        return true;
    }

    /// Runs the event loop for so long.
    void pass(std::chrono::milliseconds duration)
    {
        until([] { return false; }, duration);
    }

    /// The longest turn since the last call.
    Turn takeLongest() { return std::exchange(m_longest, {}); }

private:
    static double processorTime()
    {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    }

    void turn()
    {
        step([] {
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        });
        QThread::usleep(500);
    }

    void note(const Turn& turn)
    {
        if (turn.wall > m_longest.wall)
            m_longest = turn;
    }

    Turn m_longest;
};

} // namespace Larkhaven
