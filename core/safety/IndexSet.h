#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Larkhaven {

/// A set of numbers from 0 to `size - 1` that answers "which is the next?" in logarithmic time (base 64), in
/// a little more than one bit for each number.
class IndexSet {
public:
    explicit IndexSet(std::size_t size)
    {
        do {
            size = (size + 63) / 64;
            m_levels.emplace_back(size, 0);
        } while (size > 1);
    }

    void insert(std::size_t index)
    {
        for (std::vector<std::uint64_t>& words : m_levels) {
            std::uint64_t& word = words[index / 64];
            const bool wasEmpty = word == 0;
            word |= std::uint64_t{1} << (index % 64);
            if (!wasEmpty)
                return;
            index /= 64;
        }
    }

    void erase(std::size_t index)
    {
        for (std::vector<std::uint64_t>& words : m_levels) {
            std::uint64_t& word = words[index / 64];
            word &= ~(std::uint64_t{1} << (index % 64));
            if (word != 0)
                return;
            index /= 64;
        }
    }

    /// The smallest member that is at least `index`, or -1.
    std::ptrdiff_t next(std::size_t index) const
    {
        for (std::size_t level = 0; level < m_levels.size() && index / 64 < m_levels[level].size(); ++level) {
            const std::uint64_t rest = m_levels[level][index / 64] >> (index % 64);
            if (rest != 0)
                return descend(level, index + static_cast<std::size_t>(std::countr_zero(rest)));
            index = index / 64 + 1;
        }
        return -1;
    }

private:
    std::ptrdiff_t descend(std::size_t level, std::size_t index) const
    {
        while (level > 0) {
            --level;
            index = index * 64 + static_cast<std::size_t>(std::countr_zero(m_levels[level][index]));
        }
        return static_cast<std::ptrdiff_t>(index);
    }

    /// In each word of a level above the first, a bit stands for a word of the level below that is not empty.
    std::vector<std::vector<std::uint64_t>> m_levels;
};

} // namespace Larkhaven
