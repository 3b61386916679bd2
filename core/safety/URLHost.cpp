#include "safety/URLHost.h"

#include "safety/UTF8.h"

#include <QList>

#include <algorithm>
#include <array>
#include <unicode/uidna.h>

using namespace Qt::StringLiterals;

namespace Larkhaven::URLHost {
namespace {

bool isASCII(QStringView text)
{
    return std::ranges::all_of(text, [](QChar character) { return character.unicode() < 0x80; });
}

bool isLabelCharacter(QChar character)
{
    const char16_t unit = character.unicode();
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') ||
           (unit >= u'0' && unit <= u'9') || unit == u'-' || unit == u'_';
}

bool isLabel(QStringView label)
{
    return !label.isEmpty() && label.size() <= maximumLabelLength &&
           std::ranges::all_of(label, isLabelCharacter);
}

/// Whether the text is a name that can be looked up; a "." at its end stands for the root.
bool isName(QStringView name)
{
    if (name.endsWith(u'.'))
        name.chop(1);
    if (name.size() > maximumLength)
        return false;
    for (const QStringView label : name.tokenize(u'.')) {
        if (!isLabel(label))
            return false;
    }
    return true;
}

/// What is not an error of the name itself: browsers take hyphens anywhere, and an empty label marks the
/// root.
constexpr uint32_t toleratedErrors = UIDNA_ERROR_EMPTY_LABEL | UIDNA_ERROR_LEADING_HYPHEN |
                                     UIDNA_ERROR_TRAILING_HYPHEN | UIDNA_ERROR_HYPHEN_3_4;

std::optional<QString> mappedByUTS46(QStringView name)
{
    static const UIDNA* const idna = [] {
        UErrorCode status = U_ZERO_ERROR;
        return uidna_openUTS46(UIDNA_NONTRANSITIONAL_TO_ASCII | UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ,
                               &status);
    }();
    constexpr qsizetype longest = maximumLength + 1;
    if (!idna || name.size() > longest)
        return std::nullopt;
    std::array<char16_t, longest> mapped{};
    UIDNAInfo info = UIDNA_INFO_INITIALIZER;
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length =
        uidna_nameToASCII(idna, name.utf16(), static_cast<int32_t>(name.size()), mapped.data(),
                          static_cast<int32_t>(mapped.size()), &info, &status);
    if (U_FAILURE(status) || (info.errors & ~toleratedErrors) != 0)
        return std::nullopt;
    return QStringView(mapped.data(), length).toString();
}

} // namespace

std::optional<QString> asciiName(QStringView name)
{
    std::optional<QString> result = name.contains(u'%') ? UTF8::percentDecoded(name) : name.toString();
    if (result && !isASCII(*result))
        result = mappedByUTS46(*result);
    if (result && !result->isEmpty() && !isName(*result))
        return std::nullopt;
    return result;
}

namespace {

bool isIPv4Address(QStringView text)
{
    const QList<QStringView> numbers = text.split(u'.');
    return numbers.size() == 4 && std::ranges::all_of(numbers, [](QStringView number) {
               return !number.isEmpty() && number.size() <= 3 && std::ranges::all_of(number, [](QChar digit) {
                   return digit >= u'0' && digit <= u'9';
               }) && number.toInt() <= 255;
           });
}

/// The number of 16-bit groups that the text, a list separated by colons, stands for; absent where it is
/// none. The empty text has no group. A dotted IPv4 address may be the last piece where `last` says so.
std::optional<qsizetype> groupCount(QStringView text, bool last)
{
    if (text.isEmpty())
        return 0;
    const QList<QStringView> groups = text.split(u':');
    qsizetype count = groups.size();
    for (qsizetype i = 0; i < groups.size(); ++i) {
        const QStringView group = groups[i];
        if (last && i == groups.size() - 1 && isIPv4Address(group)) {
            ++count;
            continue;
        }
        if (group.isEmpty() || group.size() > 4 ||
            !std::ranges::all_of(group, [](QChar digit) { return UTF8::isHexDigit(digit.unicode()); }))
            return std::nullopt;
    }
    return count;
}

} // namespace

bool isIPv6Address(QStringView text)
{
    constexpr qsizetype groupsOfAnAddress = 8;
    constexpr qsizetype longestAddress = 45;
    if (text.size() > longestAddress)
        return false;
    const qsizetype gap = text.indexOf("::"_L1);
    if (gap < 0)
        return groupCount(text, true) == groupsOfAnAddress;
    const std::optional<qsizetype> before = groupCount(text.first(gap), false);
    const std::optional<qsizetype> after = groupCount(text.sliced(gap + 2), true);
    return before && after && *before + *after < groupsOfAnAddress;
}

} // namespace Larkhaven::URLHost
