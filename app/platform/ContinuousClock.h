#pragma once

#include "platform/Tasks.h"

#include <chrono>
#include <stop_token>

namespace Larkhaven::ContinuousClock {

/// Time since the machine started, the time in which it slept included.
std::chrono::milliseconds now();

/// Sleeps for `duration` on this clock, or until `stop` is requested; true if the time has passed. After a
/// sleep of the machine it may take half a minute to notice.
Task<bool> sleepFor(std::chrono::milliseconds duration, std::stop_token stop);

} // namespace Larkhaven::ContinuousClock
