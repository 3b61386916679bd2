#include "Paired.h"

#include "Clock.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace Larkhaven::Bench {
namespace {

constexpr double secondsOfACase = 3;
constexpr double secondsOfATurn = 0.02;
constexpr std::size_t fewestTurns = 5;
constexpr std::size_t mostTurns = 31;

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

/// Has the C library merge the small blocks that the other side has freed, which it does in a request for a
/// large one: each side is to pay for its own.
void mergeFreedMemory()
{
    constexpr std::size_t large = 0x10000;
    void* volatile block = std::malloc(large);
    std::free(block);
}

/// One turn of one side, repeated until it can be told from the clock's own noise.
class Side {
public:
    Side(const Work& work, const std::function<void()>& prepare)
        : m_work(work)
        , m_prepare(prepare)
    {}

    /// The first run, which warms the caches and isn't counted. Returns what it did.
    std::uint64_t warm()
    {
        prepare();
        const double start = processorTime();
        const std::uint64_t result = m_work();
        const double once = std::max(processorTime() - start, 1e-9);
        m_repetitions = std::clamp(static_cast<std::size_t>(secondsOfATurn / once), std::size_t{1},
                                   std::size_t{1'000'000});
        return result;
    }

    void turn()
    {
        // What is prepared serves one piece of work.
        if (m_prepare)
            m_repetitions = 1;
        prepare();
        mergeFreedMemory();
        const double start = processorTime();
        for (std::size_t i = 0; i < m_repetitions; ++i)
            m_sink = m_sink + m_work();
        m_times.push_back((processorTime() - start) / static_cast<double>(m_repetitions));
    }

    double seconds() const { return median(m_times); }

private:
    void prepare() const
    {
        if (m_prepare)
            m_prepare();
    }

    const Work& m_work;
    const std::function<void()>& m_prepare;
    std::size_t m_repetitions = 1;
    std::vector<double> m_times;
    volatile std::uint64_t m_sink = 0;
};

/// Returns false where the two sides didn't do the same work.
bool run(const Case& pair)
{
    Side ours(pair.ours, pair.prepare);
    Side theirs(pair.theirs, pair.prepare);
    const std::uint64_t our = ours.warm();
    const std::uint64_t their = theirs.warm();
    const double start = processorTime();
    for (std::size_t turns = 0; turns < mostTurns; ++turns) {
        if (turns >= fewestTurns && processorTime() - start > secondsOfACase)
            break;
        ours.turn();
        theirs.turn();
    }
    std::printf("%s\t%.2f\t%s\t%.2f\t%.2f\t%.2f\n", pair.name.c_str(), ours.seconds() * 1e6,
                pair.peer.c_str(), theirs.seconds() * 1e6, theirs.seconds() / ours.seconds(), pair.goal);
    std::fflush(stdout);
    if (our == their)
        return true;
    std::fprintf(stderr, "%s: we did %llu, %s did %llu\n", pair.name.c_str(),
                 static_cast<unsigned long long>(our), pair.peer.c_str(),
                 static_cast<unsigned long long>(their));
    return false;
}

} // namespace

int compare(int argc, char** argv, const std::vector<Case>& cases)
{
    pinToOneCore();
    const std::string_view wanted = argc > 1 ? argv[1] : "";
    bool equal = true;
    for (const Case& pair : cases) {
        if (pair.name.find(wanted) != std::string::npos)
            equal = run(pair) && equal;
    }
    return equal ? 0 : 1;
}

} // namespace Larkhaven::Bench
