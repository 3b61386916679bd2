#include "safety/TrackerTest.h"

#include "domain/Text.h"
#include "safety/Fragments.h"
#include "safety/HTMLSanitizer.h"
#include "safety/TrackerTables.h"
#include "safety/URLParts.h"
#include "safety/UTF8.h"
#include "safety/UnitScan.h"

#include <algorithm>
#include <limits>
#include <optional>

using namespace Qt::StringLiterals;

namespace Larkhaven::HTMLSanitizer {
namespace {

using Fragments::containsAny;

QStringView withoutUnits(QStringView text)
{
    const auto isUnitOrSpace = [](QChar character) {
        return character == u'p' || character == u'x' || character == u' ' || character == u'\t';
    };
    while (!text.isEmpty() && isUnitOrSpace(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isUnitOrSpace(text.back()))
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
