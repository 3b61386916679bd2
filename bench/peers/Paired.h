#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Larkhaven::Bench {

/// Does the whole work of a case once, and returns what can be compared about it: bytes, counts or a checksum
/// of the result.
using Work = std::function<std::uint64_t()>;

/// The same work done by us and by a peer.
struct Case {
    /// What is done, as the table names it.
    std::string name;
    /// The program or library that does it as well.
    std::string peer;
    /// How many times as fast as the peer we mean to be: the peer's time divided by ours.
    double goal;
    Work ours;
    Work theirs;
    /// What either side needs to be there, done before each piece of work and not measured; may be null.
    std::function<void()> prepare = nullptr;
};

/// Runs each case whose name holds the program's first argument, if there is one, ours and the peer's in turn
/// on one pinned core, and prints a line for each on standard output, its fields parted by tabs: name, our
/// microseconds, the peer, its microseconds, the ratio, the goal. Times are medians of the processor time of
/// the whole process. Where the two sides didn't do the same work it says so on standard error, and goes on.
/// Returns the exit code: 0, or 1 where any case was unequal.
int compare(int argc, char** argv, const std::vector<Case>& cases);

} // namespace Larkhaven::Bench
