#include "safety/TrackerTest.h"

#include "domain/Text.h"
#include "safety/HTMLSanitizer.h"
#include "safety/TrackerTables.h"
#include "safety/URLParts.h"
#include "safety/UTF8.h"
#include "safety/UnitScan.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <ranges>

using namespace Qt::StringLiterals;

namespace Larkhaven::HTMLSanitizer {
namespace {

char16_t asciiLowered(char16_t unit)
{
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
}

/// Whether the text begins with a fragment, ASCII letters in any case.
bool startsWith(QStringView text, QLatin1StringView fragment)
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

    /// Whether a fragment may begin with these two: true of few other pairs.
    bool mayBegin(char16_t first, char16_t second) const
    {
        return (m_seconds[place(first)] >> place(second) & 1U) != 0;
    }

    /// Those that begin with the character, and few others.
    auto with(char16_t first) const
    {
        return std::ranges::subrange(m_fragments.begin() + m_starts[place(first)],
                                     m_fragments.begin() + m_starts[place(first) + 1]);
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

/// Whether the text holds one of the fragments, ASCII letters in any case. One pass over the text: few of its
/// pairs of characters begin a fragment.
template <const auto& fragments>
bool containsAny(QStringView text)
{
    static constexpr Beginnings<fragments.size()> beginnings(fragments);
    const char16_t* const units = text.utf16();
    for (qsizetype index = 0; index + 1 < text.size(); ++index) {
        if (!beginnings.mayBegin(units[index], units[index + 1]))
            continue;
        const QStringView rest = text.sliced(index);
        const auto isThere = [rest](QLatin1StringView fragment) { return startsWith(rest, fragment); };
        if (std::ranges::any_of(beginnings.with(units[index]), isThere))
            return true;
    }
    return false;
}

QStringView withoutUnits(QStringView text)
{
    constexpr auto unitsAndSpace = "px \t"_L1;
    while (!text.isEmpty() && unitsAndSpace.contains(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && unitsAndSpace.contains(text.back()))
        text.chop(1);
    return text;
}

/// The decimal number that the text is, as a whole; absent where it is none or doesn't fit.
std::optional<qint64> integer(QStringView text)
{
    const bool isNegative = text.startsWith(u'-');
    if (isNegative || text.startsWith(u'+'))
        text = text.sliced(1);
    if (text.isEmpty())
        return std::nullopt;
    constexpr qint64 highest = std::numeric_limits<qint64>::max();
    qint64 value = 0;
    for (const QChar character : text) {
        if (character < u'0' || character > u'9')
            return std::nullopt;
        const qint64 digit = character.unicode() - u'0';
        if (value > (highest - digit) / 10)
            return std::nullopt;
        value = value * 10 + digit;
    }
    return isNegative ? -value : value;
}

bool isTooSmallToSee(const ImageTag& tag)
{
    constexpr qint64 smallestArea = 4;
    constexpr qint64 smallestEdge = 2;
    const std::optional<qint64> width = integer(withoutUnits(tag.width));
    const std::optional<qint64> height = integer(withoutUnits(tag.height));
    return (width && height && *width < smallestArea && *height < smallestArea) ||
           (width && *width < smallestEdge) || (height && *height < smallestEdge);
}

} // namespace

namespace {

/// The text behind the host with what is percent-encoded in ASCII decoded; the rest stays, valid or not.
QString decodedWhereASCII(QStringView text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isEncoded = text[i] == u'%' && i + 2 < text.size() &&
                               UTF8::isHexDigit(text[i + 1].unicode()) &&
                               UTF8::isHexDigit(text[i + 2].unicode());
        const unsigned value =
            isEncoded ? UTF8::hexValue(text[i + 1].unicode()) * 16 + UTF8::hexValue(text[i + 2].unicode())
                      : 0;
        constexpr unsigned firstBeyondASCII = 0x80;
        if (value == 0 || value >= firstBeyondASCII) {
            result += text[i];
            continue;
        }
        result += QChar(value);
        i += 2;
    }
    return result;
}

} // namespace

bool leadsToTracker(const QString& source)
{
    const std::optional<URLParts> parts = URLParts::read(source);
    if (isOfTracker(source, parts))
        return true;
    if (!parts || parts->host.isEmpty())
        return false;
    const QString behindHost = decodedWhereASCII(QStringView(source).sliced(parts->hostEnd));
    return containsAny<trackerPathFragments>(Text::lowered(behindHost));
}

bool isTracker(const QString& source, const QHash<QString, QString>& attributes)
{
    const QString width = attributes.value(u"width"_s);
    const QString height = attributes.value(u"height"_s);
    const QString style = attributes.value(u"style"_s);
    return ImageTag{width, height, style}.isHidden() || isOfTracker(source, URLParts::read(source));
}

bool ImageTag::isHidden() const
{
    if (isTooSmallToSee(*this))
        return true;
    // Most styles have letters of ASCII alone, and many no blanks.
    return UnitScan::isGraphic(style) ? containsAny<hidingStyles>(style)
                                      : containsAny<hidingStyles>(Text::lowered(style).remove(u' '));
}

bool isOfTracker(QStringView source, const std::optional<URLParts>& parts)
{
    if (parts && parts->mappedHost.isEmpty() && UnitScan::isGraphic(source)) {
        // Nothing in it becomes another URL in small letters.
        return containsAny<trackerHostFragments>(parts->host) ||
               (!parts->host.isEmpty() && containsAny<trackerPathFragments>(source.sliced(parts->hostEnd)));
    }
    const QString lowered = Text::lowered(source);
    const std::optional<URLParts> small = URLParts::read(lowered);
    if (!small || small->host.isEmpty())
        return false;
    return containsAny<trackerHostFragments>(small->host) ||
           containsAny<trackerPathFragments>(QStringView(lowered).sliced(small->hostEnd));
}

} // namespace Larkhaven::HTMLSanitizer
