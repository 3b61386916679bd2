#pragma once

#include <QStringView>

#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// Searches for single code units in UTF-16, eight at a time where the processor has SSE2, which all of
/// x86-64 has: of the time that a newsletter takes, half went into loops that looked at each unit. Inline,
/// for many of the texts are short. Pure functions, callable from any thread.
namespace Larkhaven::UnitScan {

/// Finds the first unit that is one, by a test of a single unit and the same of eight. `Test` has
/// `bool of(char16_t)`, and with SSE2 `__m128i of(__m128i)` with all bits of each unit that is one.
template <typename Test>
const char16_t* find(const char16_t* at, const char16_t* end, Test test)
{
#if defined(__SSE2__)
    constexpr std::ptrdiff_t step = 8;
    const auto hit = [&test](const char16_t* units) {
        const __m128i found = test.of(_mm_loadu_si128(reinterpret_cast<const __m128i*>(units)));
        return static_cast<unsigned>(_mm_movemask_epi8(found));
    };
    const auto place = [](unsigned hits) { return std::countr_zero(hits) / 2; };
    if (end - at >= step) {
        for (; end - at >= step; at += step) {
            if (const unsigned hits = hit(at); hits != 0)
                return at + place(hits);
        }
        // The last vector overlaps what was looked at, in which there is none.
        if (at == end)
            return end;
        const unsigned hits = hit(end - step);
        return hits == 0 ? end : end - step + place(hits);
    }
#endif
    while (at < end && !test.of(*at))
        ++at;
    return at;
}

/// The same for a text in which it is far between: takes four vectors at a time.
template <typename Test>
const char16_t* findFar(const char16_t* at, const char16_t* end, Test test)
{
#if defined(__SSE2__)
    constexpr std::ptrdiff_t step = 8;
    const auto found = [&test](const char16_t* units) {
        return test.of(_mm_loadu_si128(reinterpret_cast<const __m128i*>(units)));
    };
    for (; end - at >= 4 * step; at += 4 * step) {
        const __m128i half = _mm_or_si128(found(at), found(at + step));
        const __m128i other = _mm_or_si128(found(at + 2 * step), found(at + 3 * step));
        if (_mm_movemask_epi8(_mm_or_si128(half, other)) != 0)
            break;
    }
#endif
    return find(at, end, test);
}

/// Whether a unit is one of the marks.
template <char16_t... marks>
struct IsAnyOf {
    static bool of(char16_t unit) { return ((unit == marks) || ...); }
#if defined(__SSE2__)
    static __m128i of(__m128i units)
    {
        __m128i found = _mm_setzero_si128();
        ((found =
              _mm_or_si128(found, _mm_cmpeq_epi16(units, _mm_set1_epi16(static_cast<std::int16_t>(marks))))),
         ...);
        return found;
    }
#endif
};

/// Whether a unit is a mark that is only known where it is looked for.
struct IsMark {
    char16_t mark;

    bool of(char16_t unit) const { return unit == mark; }
#if defined(__SSE2__)
    __m128i of(__m128i units) const
    {
        return _mm_cmpeq_epi16(units, _mm_set1_epi16(static_cast<std::int16_t>(mark)));
    }
#endif
};

/// Whether a unit is neither `first` nor `last` nor between them.
template <char16_t first, char16_t last>
struct IsOutside {
    static bool of(char16_t unit) { return unit < first || unit > last; }
#if defined(__SSE2__)
    static __m128i of(__m128i units)
    {
        // There is no comparison of units without sign: what is taken off wraps, and the sign is turned
        // round.
        constexpr std::uint16_t sign = 0x8000;
        constexpr auto down = static_cast<std::int16_t>(static_cast<std::uint16_t>(first + sign));
        constexpr auto most = static_cast<std::int16_t>(static_cast<std::uint16_t>(last - first + sign));
        const __m128i moved = _mm_sub_epi16(units, _mm_set1_epi16(down));
        return _mm_cmpgt_epi16(moved, _mm_set1_epi16(most));
    }
#endif
};

/// Whether a unit is half of a surrogate pair.
struct IsSurrogate {
    static bool of(char16_t unit) { return (unit & 0xf800U) == 0xd800U; }
#if defined(__SSE2__)
    static __m128i of(__m128i units)
    {
        const __m128i high = _mm_and_si128(units, _mm_set1_epi16(static_cast<std::int16_t>(0xf800)));
        return _mm_cmpeq_epi16(high, _mm_set1_epi16(static_cast<std::int16_t>(0xd800)));
    }
#endif
};

/// The first of the marks; the end of the text where there is none.
template <char16_t... marks>
qsizetype firstOf(QStringView text, qsizetype from = 0)
{
    const char16_t* const begin = text.utf16();
    return find(begin + from, begin + text.size(), IsAnyOf<marks...>{}) - begin;
}

/// Whether any of the marks is in the text.
template <char16_t... marks>
bool holds(QStringView text)
{
    return firstOf<marks...>(text) != text.size();
}

/// A mark that is only known where it is looked for; the end of the text where there is none.
inline qsizetype firstMark(QStringView text, char16_t mark, qsizetype from = 0)
{
    const char16_t* const begin = text.utf16();
    return find(begin + from, begin + text.size(), IsMark{mark}) - begin;
}

/// Whether the text begins so. Where the start is a literal, a comparison or two and no call.
inline bool startsWith(QStringView text, QStringView start)
{
    return text.size() >= start.size() &&
           std::memcmp(text.utf16(), start.utf16(),
                       static_cast<std::size_t>(start.size()) * sizeof(char16_t)) == 0;
}

/// Whether all of the text is ASCII that is seen: neither blank nor control.
inline bool isGraphic(QStringView text)
{
    const char16_t* const end = text.utf16() + text.size();
    return find(text.utf16(), end, IsOutside<u'!', u'~'>{}) == end;
}

} // namespace Larkhaven::UnitScan
