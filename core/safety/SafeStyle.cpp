#include "domain/Text.h"
#include "safety/HTMLSanitizer.h"
#include "safety/RefusedStyles.h"
#include "safety/UnitScan.h"

#include <algorithm>
#include <array>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven::HTMLSanitizer {
namespace {

using RefusedStyles::positionName;
using RefusedStyles::refusedFunctions;

/// All other positions leave the flow, or may: `var()` says anything.
constexpr std::array allowedPositions{"static"_L1,  "relative"_L1, "initial"_L1,
                                      "inherit"_L1, "unset"_L1,    "revert"_L1};

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

bool endsPiece(QChar character)
{
    return character == u';' || character == u'{' || character == u'}';
}

qsizetype endOfPiece(QStringView text, qsizetype position)
{
    while (position < text.size() && !endsPiece(text[position]))
        ++position;
    return position;
}

/// A piece of the text that is taken out.
struct Piece {
    qsizetype start = 0;
    qsizetype end = 0;
};

bool isRefusedFunction(QStringView text, qsizetype bracket)
{
    qsizetype start = bracket;
    while (start > 0 && isNameCharacter(text[start - 1]))
        --start;
    return isOneOf(withoutVendor(text.sliced(start, bracket - start)), refusedFunctions);
}

/// Adds the pieces that call a refused function.
void refuseFunctions(QStringView text, std::vector<Piece>& refused)
{
    qsizetype bracket = UnitScan::firstOf<u'('>(text);
    while (bracket < text.size()) {
        qsizetype next = bracket + 1;
        if (isRefusedFunction(text, bracket)) {
            qsizetype start = bracket;
            while (start > 0 && !endsPiece(text[start - 1]))
                --start;
            refused.push_back({start, endOfPiece(text, bracket)});
            next = refused.back().end;
        }
        bracket = UnitScan::firstOf<u'('>(text, next);
    }
}

/// Adds the pieces that begin with "position" and a colon, and name no allowed one.
void refusePositions(QStringView text, std::vector<Piece>& refused)
{
    const auto next = [text](qsizetype from) { return UnitScan::firstOf<u':'>(text, from); };
    for (qsizetype colon = next(0); colon < text.size(); colon = next(colon + 1)) {
        qsizetype nameEnd = colon;
        while (nameEnd > 0 && text[nameEnd - 1].isSpace())
            --nameEnd;
        qsizetype start = nameEnd - positionName.size();
        // Nearly all names end in another letter.
        if (start < 0 || (text[nameEnd - 1].unicode() | 0x20) != u'n' ||
            text.sliced(start, positionName.size()).compare(positionName, Qt::CaseInsensitive) != 0)
            continue;
        while (start > 0 && text[start - 1].isSpace())
            --start;
        if (start > 0 && !endsPiece(text[start - 1]))
            continue;
        const qsizetype end = endOfPiece(text, colon);
        QStringView value = text.sliced(colon + 1, end - colon - 1);
        if (const qsizetype mark = value.indexOf(u'!'); mark >= 0)
            value.truncate(mark);
        if (!isOneOf(value.trimmed(), allowedPositions))
            refused.push_back({start, end});
    }
}

} // namespace

QString safeStyle(const QString& css)
{
    const QString filtered = sanitizeCSS(css);
    // Cut at each ";", "{" and "}", within strings as well: a name never goes over one, so that wherever a
    // browser sees a declaration begin, a piece begins here. The marks stay, and nothing is joined.
    const QStringView text(filtered);
    std::vector<Piece> refused;
    refuseFunctions(text, refused);
    refusePositions(text, refused);
    if (refused.empty())
        return filtered;
    std::ranges::sort(refused, {}, &Piece::start);
    QString result;
    result.reserve(text.size());
    qsizetype copied = 0;
    for (const Piece& piece : refused) {
        // The same piece may be refused for both reasons.
        if (piece.start < copied)
            continue;
        result += text.sliced(copied, piece.start - copied);
        copied = piece.end;
    }
    return result += text.sliced(copied);
}

} // namespace Larkhaven::HTMLSanitizer
