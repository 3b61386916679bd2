#include "safety/TrackerTest.h"

#include "domain/Text.h"
#include "safety/HTMLSanitizer.h"
#include "safety/TrackerTables.h"
#include "safety/URLParts.h"
#include "safety/UTF8.h"

#include <algorithm>
#include <limits>
#include <optional>

using namespace Qt::StringLiterals;

namespace Larkhaven::HTMLSanitizer {
namespace {

/// The characters that fragments begin with, as bits; no fragment begins beyond the letters.
template <std::size_t size>
constexpr std::array<bool, 0x80> beginnings(const std::array<QLatin1StringView, size>& fragments)
{
    std::array<bool, 0x80> begins{};
    for (const QLatin1StringView fragment : fragments)
        begins[static_cast<unsigned char>(*fragment.data())] = true;
    return begins;
}

/// Whether the text holds one of the fragments. One pass over the text: of most characters no fragment begins
/// with them, and of the others one or two do.
template <const auto& fragments>
bool containsAny(QStringView text)
{
    static constexpr auto begins = beginnings(fragments);
    const char16_t* const units = text.utf16();
    for (qsizetype index = 0; index < text.size(); ++index) {
        const char16_t unit = units[index];
        if (unit >= begins.size() || !begins[unit])
            continue;
        for (const QLatin1StringView fragment : fragments) {
            if (static_cast<unsigned char>(*fragment.data()) == unit &&
                text.sliced(index).startsWith(fragment))
                return true;
        }
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
    if (isTracker(source, {}))
        return true;
    const std::optional<URLParts> parts = URLParts::read(source);
    if (!parts || parts->host.isEmpty())
        return false;
    const QString behindHost = decodedWhereASCII(QStringView(source).sliced(parts->hostEnd));
    return containsAny<trackerPathFragments>(Text::lowered(behindHost));
}

bool isTracker(const QString& source, const QHash<QString, QString>& attributes)
{
    const ImageTag tag{attributes.value(u"width"_s), attributes.value(u"height"_s),
                       attributes.value(u"style"_s)};
    return tag.isTracker(source);
}

bool ImageTag::isTracker(const QString& source) const
{
    if (isTooSmallToSee(*this))
        return true;
    if (containsAny<hidingStyles>(Text::lowered(style).remove(u' ')))
        return true;
    const QString lowered = Text::lowered(source);
    const std::optional<URLParts> parts = URLParts::read(lowered);
    if (!parts || parts->host.isEmpty())
        return false;
    return containsAny<trackerHostFragments>(Text::asciiLowered(parts->host)) ||
           containsAny<trackerPathFragments>(QStringView(lowered).sliced(parts->hostEnd));
}

} // namespace Larkhaven::HTMLSanitizer
