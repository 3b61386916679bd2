#pragma once

namespace Larkhaven::Bench {

/// Processor time of this process with all of its threads, in seconds.
double processorTime();

/// Binds this process, and those that it starts, to the last core that it may use: interrupts and what else
/// the machine does gather on the first.
void pinToOneCore();

} // namespace Larkhaven::Bench
