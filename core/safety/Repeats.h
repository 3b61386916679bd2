#pragma once

#include <QStringView>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

/// What was found out of the texts that were read last: newsletters repeat their tags and styles.
namespace Larkhaven::Repeats {

/// A number that tells most texts apart, from their length and four units at four places.
inline std::size_t spread(QStringView text)
{
    constexpr qsizetype step = 4;
    const char16_t* const units = text.utf16();
    if (text.size() < step) {
        std::size_t sum = 0;
        for (const QChar character : text)
            sum = sum * 5 + character.unicode();
        return sum;
    }
    const auto at = [units](qsizetype start) {
        std::uint64_t four = 0;
        std::memcpy(&four, units + start, sizeof(four));
        return four;
    };
    const qsizetype last = text.size() - step;
    const std::uint64_t outer = (at(0) + static_cast<std::uint64_t>(text.size())) * 0x9E37'79B9'7F4A'7C15;
    const std::uint64_t inner = (at(last / 3) ^ std::rotl(at(last - last / 3), 31)) * 0xC2B2'AE3D'27D4'EB4F;
    return static_cast<std::size_t>((outer ^ inner ^ at(last) * 0x1656'67B1'9E37'79F9) >> 32);
}

inline bool isSame(QStringView left, QStringView right)
{
    return left.size() == right.size() && std::equal(left.utf16(), left.utf16() + left.size(), right.utf16());
}

/// A few entries, each with the `text` that it is about, which must outlive this. A text has two places, and
/// takes one from the text that had it, so that whoever makes many of them collide gains no more than that
/// each is read again.
template <typename Entry>
class Table {
public:
    /// What is about the text; null where there is nothing.
    const Entry* find(QStringView text) const
    {
        for (const Entry& entry : m_entries[spread(text) % places]) {
            if (isSame(entry.text, text))
                return &entry;
        }
        return nullptr;
    }

    /// Adds what is about a text that isn't there, and isn't empty.
    const Entry& add(const Entry& entry)
    {
        auto& [newer, older] = m_entries[spread(entry.text) % places];
        older = newer;
        return newer = entry;
    }

private:
    static constexpr std::size_t places = 64;
    std::array<std::array<Entry, 2>, places> m_entries; ///< at first about the empty text
};

} // namespace Larkhaven::Repeats
