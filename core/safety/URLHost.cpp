#include "safety/URLHost.h"

#include "safety/UTF8.h"
#include "safety/UnitScan.h"

#include <QList>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <string_view>
#include <unicode/uidna.h>

using namespace Qt::StringLiterals;

namespace Larkhaven::URLHost {
namespace {

bool isASCII(QStringView text)
{
    return std::ranges::all_of(text, [](QChar character) { return character.unicode() < 0x80; });
}

constexpr auto labelCharacters = [] {
    std::array<bool, 0x80> allowed{};
    for (const char character :
         std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_"))
        allowed[static_cast<unsigned char>(character)] = true;
    return allowed;
}();

bool isLabelCharacter(char16_t unit)
{
    return unit < labelCharacters.size() && labelCharacters[unit];
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

namespace {

/// Whether a unit is none that a name may hold.
struct IsOutsideOfName {
    static bool of(char16_t unit) { return !isLabelCharacter(unit) && unit != u'.'; }
#if defined(__SSE2__)
    static __m128i of(__m128i units)
    {
        const __m128i lowered = _mm_or_si128(units, _mm_set1_epi16(0x20));
        // "-", ".", "/" and the digits follow each other.
        const __m128i isNoDigit =
            _mm_or_si128(UnitScan::IsOutside<u'-', u'9'>::of(units), UnitScan::IsAnyOf<u'/'>::of(units));
        const __m128i isOther = _mm_and_si128(UnitScan::IsOutside<u'a', u'z'>::of(lowered), isNoDigit);
        return _mm_andnot_si128(UnitScan::IsAnyOf<u'_'>::of(units), isOther);
    }
#endif
};

} // namespace

qsizetype endOfName(QStringView text)
{
    const char16_t* const begin = text.utf16();
    return UnitScan::find(begin, begin + text.size(), IsOutsideOfName{}) - begin;
}

bool isName(QStringView name)
{
    // A "." at its end stands for the root.
    if (name.endsWith(u'.'))
        name.chop(1);
    if (name.size() > maximumLength)
        return false;
    if (endOfName(name) != name.size())
        return false;
    for (qsizetype labelStart = 0; labelStart <= name.size();) {
        const qsizetype dot = UnitScan::firstOf<u'.'>(name, labelStart);
        if (dot == labelStart || dot - labelStart > maximumLabelLength)
            return false;
        labelStart = dot + 1;
    }
    return true;
}

std::optional<QString> asciiName(QStringView name)
{
    // Most names need neither decoding nor mapping.
    if (isName(name))
        return name.toString();
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

namespace {

/// A number of an IPv4 address: hexadecimal behind "0x", octal behind "0", decimal otherwise.
std::optional<quint64> addressNumber(QStringView text)
{
    unsigned base = 10;
    if (text.startsWith("0x"_L1, Qt::CaseInsensitive)) {
        base = 16;
        text = text.sliced(2);
    } else if (text.size() > 1 && text.startsWith(u'0')) {
        base = 8;
        text = text.sliced(1);
    } else if (text.isEmpty()) {
        return std::nullopt;
    }
    constexpr quint64 highest = 0xffffffff;
    quint64 value = 0;
    for (const QChar digit : text) {
        if (!UTF8::isHexDigit(digit.unicode()) || UTF8::hexValue(digit.unicode()) >= base)
            return std::nullopt;
        value = value * base + UTF8::hexValue(digit.unicode());
        if (value > highest)
            return std::nullopt;
    }
    return value;
}

QString dotted(quint32 address)
{
    return u"%1.%2.%3.%4"_s.arg(address >> 24)
        .arg(address >> 16 & 0xff)
        .arg(address >> 8 & 0xff)
        .arg(address & 0xff);
}

std::optional<QString> ipv4AddressOf(QStringView host)
{
    if (host.endsWith(u'.'))
        host.chop(1);
    constexpr qsizetype mostNumbers = 4;
    if (host.isEmpty() || host.count(u'.') >= mostNumbers)
        return std::nullopt;
    quint64 address = 0;
    unsigned bits = 32;
    const QList<QStringView> pieces = host.split(u'.');
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        const std::optional<quint64> number = addressNumber(pieces[i]);
        const bool isLast = i == pieces.size() - 1;
        bits = isLast ? bits : bits - 8;
        // The last number takes all the places that are left.
        const quint64 highest = isLast ? (quint64{1} << bits) - 1 : 0xff;
        if (!number || *number > highest)
            return std::nullopt;
        address |= isLast ? *number : *number << bits;
    }
    return dotted(static_cast<quint32>(address));
}

} // namespace

std::optional<QString> addressOf(const QString& host)
{
    if (!isIPv6Address(host))
        return ipv4AddressOf(host);
    in6_addr address{};
    if (inet_pton(AF_INET6, host.toLatin1().constData(), &address) != 1)
        return std::nullopt;
    if (IN6_IS_ADDR_V4MAPPED(&address)) {
        const auto& bytes = address.s6_addr;
        return dotted(static_cast<quint32>(bytes[12]) << 24 | static_cast<quint32>(bytes[13]) << 16 |
                      static_cast<quint32>(bytes[14]) << 8 | bytes[15]);
    }
    std::array<char, INET6_ADDRSTRLEN> text{};
    return QString::fromLatin1(inet_ntop(AF_INET6, &address, text.data(), text.size()));
}

} // namespace Larkhaven::URLHost
