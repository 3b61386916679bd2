#include "domain/Text.h"
#include "safety/HTMLSanitizer.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace Larkhaven::HTMLSanitizer {
namespace {

/// What loads or copies a picture by other names than `url`, vendor prefixes apart.
constexpr std::array refusedFunctions{"image"_L1, "image-set"_L1, "cross-fade"_L1, "src"_L1,
                                      "url"_L1,   "element"_L1,   "paint"_L1};

/// All other positions leave the flow, or may: `var()` says anything.
constexpr std::array allowedPositions{"static"_L1,  "relative"_L1, "initial"_L1,
                                      "inherit"_L1, "unset"_L1,    "revert"_L1};

constexpr auto positionName = "position"_L1;

template <std::size_t size>
bool isOneOf(QStringView text, const std::array<QLatin1StringView, size>& words)
{
    return std::ranges::any_of(words, [&](QLatin1StringView word) {
        return text.compare(word, Qt::CaseInsensitive) == 0 && text.size() == word.size();
    });
}

bool isNameCharacter(QChar character)
{
    const char16_t unit = character.unicode();
    return unit >= 0x80 || (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') ||
           (unit >= u'0' && unit <= u'9') || unit == u'-' || unit == u'_';
}

/// The name without "-webkit-" and the like. A custom name, which begins with "--", stays.
QStringView withoutVendor(QStringView name)
{
    if (!name.startsWith(u'-') || name.startsWith("--"_L1))
        return name;
    const qsizetype end = name.indexOf(u'-', 1);
    return end < 0 ? name : name.sliced(end + 1);
}

bool holdsRefusedFunction(QStringView piece)
{
    for (qsizetype bracket = piece.indexOf(u'('); bracket >= 0; bracket = piece.indexOf(u'(', bracket + 1)) {
        qsizetype start = bracket;
        while (start > 0 && isNameCharacter(piece[start - 1]))
            --start;
        if (isOneOf(withoutVendor(piece.sliced(start, bracket - start)), refusedFunctions))
            return true;
    }
    return false;
}

bool isRefusedPosition(QStringView piece)
{
    const qsizetype colon = piece.indexOf(u':');
    if (colon < 0 || piece.first(colon).trimmed().compare(positionName, Qt::CaseInsensitive) != 0)
        return false;
    QStringView value = piece.sliced(colon + 1);
    if (const qsizetype mark = value.indexOf(u'!'); mark >= 0)
        value.truncate(mark);
    return !isOneOf(value.trimmed(), allowedPositions);
}

bool endsPiece(QChar character)
{
    return character == u';' || character == u'{' || character == u'}';
}

/// Whether anything in the text is worth a look; most styles of honest mail have neither.
bool mayHoldRefused(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (unit == u'(')
            return true;
        if ((unit == u'p' || unit == u'P') && text.sliced(i).startsWith(positionName, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

} // namespace

QString safeStyle(const QString& css)
{
    QString filtered = sanitizeCSS(css);
    if (!mayHoldRefused(filtered))
        return filtered;
    // Cut at each of these marks, within strings as well: a name never goes over one, so that wherever a
    // browser sees a declaration begin, a piece begins here. The marks stay, and nothing is joined.
    QString result;
    result.reserve(filtered.size());
    const QStringView text(filtered);
    qsizetype start = 0;
    for (qsizetype end = 0; end <= text.size(); ++end) {
        if (end < text.size() && !endsPiece(text[end]))
            continue;
        const QStringView piece = text.sliced(start, end - start);
        if (!holdsRefusedFunction(piece) && !isRefusedPosition(piece))
            result += piece;
        if (end < text.size())
            result += text[end];
        start = end + 1;
    }
    return result;
}

} // namespace Larkhaven::HTMLSanitizer
