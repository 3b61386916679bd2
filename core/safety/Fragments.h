#pragma once

#include <QLatin1StringView>
#include <QStringView>

#include <algorithm>
#include <array>
#include <cstdint>

/// Looks for any of a few short words in a text, ASCII letters in any case. Pure functions, callable from any
/// thread, linear in the text.
namespace Larkhaven::Fragments {

inline char16_t asciiLowered(char16_t unit)
{
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
}

/// Whether the text begins with a fragment, ASCII letters in any case.
inline bool startsWith(QStringView text, QLatin1StringView fragment)
{
    return text.size() >= fragment.size() &&
           std::equal(fragment.begin(), fragment.end(), text.begin(), [](char expected, QChar character) {
               return asciiLowered(character.unicode()) == static_cast<uchar>(expected);
           });
}

/// Fragments by what they begin with.
template <std::size_t size>
class Beginnings {
public:
    constexpr explicit Beginnings(const std::array<QLatin1StringView, size>& fragments)
    {
        for (std::size_t first = 0; first < places; ++first) {
            m_starts[first] = m_count;
            for (const QLatin1StringView fragment : fragments) {
                if (place(static_cast<unsigned char>(fragment.data()[0])) != first)
                    continue;
                m_seconds[first] |= std::uint64_t{1} << place(static_cast<unsigned char>(fragment.data()[1]));
                m_fragments[static_cast<std::size_t>(m_count++)] = fragment;
            }
        }
        m_starts[places] = m_count;
    }

    /// The next place where a fragment may begin, by its first two characters: one does at most of them. The
    /// last character or behind it where there is none.
    qsizetype next(QStringView text, qsizetype from) const
    {
        const char16_t* const units = text.utf16();
        const qsizetype last = text.size() - 1;
        if (from >= last)
            return last;
        for (std::size_t first = place(units[from]); from < last; ++from) {
            const std::size_t second = place(units[from + 1]);
            if ((m_seconds[first] >> second & 1U) != 0)
                break;
            first = second;
        }
        return from;
    }

    /// Whether the text begins with one of them.
    bool begin(QStringView text) const
    {
        if (text.size() < 2)
            return false;
        const std::size_t first = place(text.utf16()[0]);
        if ((m_seconds[first] >> place(text.utf16()[1]) & 1U) == 0)
            return false;
        return std::any_of(m_fragments.begin() + m_starts[first], m_fragments.begin() + m_starts[first + 1],
                           [text](QLatin1StringView fragment) { return startsWith(text, fragment); });
    }

private:
    static constexpr std::size_t places = 64;

    /// The same for both cases of a letter.
    static constexpr std::size_t place(char16_t unit) { return (unit | 0x20U) % places; }

    std::array<std::uint64_t, places> m_seconds{}; ///< by the first character, a bit for each second one
    std::array<std::ptrdiff_t, places + 1> m_starts{};
    std::array<QLatin1StringView, size> m_fragments{};
    std::ptrdiff_t m_count = 0;
};

/// The words of a table, each of two characters or more.
template <const auto& words>
inline constexpr Beginnings<words.size()> beginningsOf{words};

template <const auto& words>
bool startsWithAny(QStringView text)
{
    return beginningsOf<words>.begin(text);
}

template <const auto& words>
bool containsAny(QStringView text)
{
    const qsizetype last = text.size() - 1;
    for (qsizetype start = beginningsOf<words>.next(text, 0); start < last;
         start = beginningsOf<words>.next(text, start + 1)) {
        if (beginningsOf<words>.begin(text.sliced(start)))
            return true;
    }
    return false;
}

} // namespace Larkhaven::Fragments
