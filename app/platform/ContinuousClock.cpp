#include "app/platform/ContinuousClock.h"

#include <algorithm>
#include <time.h>

namespace Larkhaven::ContinuousClock {

std::chrono::milliseconds now()
{
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return std::chrono::seconds(time.tv_sec) +
           std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::nanoseconds(time.tv_nsec));
}

Task<bool> sleepFor(std::chrono::milliseconds duration, std::stop_token stop)
{
    // Timers stand still while the machine sleeps, so the clock is looked at every so often.
    constexpr std::chrono::milliseconds longestNap = std::chrono::seconds(30);
    const std::chrono::milliseconds end = now() + duration;
    for (std::chrono::milliseconds left = duration; left.count() > 0; left = end - now()) {
        const bool passed = co_await Larkhaven::sleepFor(std::min(left, longestNap), stop);
        if (!passed)
            co_return false;
    }
    co_return true;
}

} // namespace Larkhaven::ContinuousClock
