#include "images/PublicNetwork.h"

#include "domain/Text.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven::PublicNetwork {

namespace {

/// A range of addresses: its first one, and how many leading bits are common to all.
using IPv4Range = std::pair<quint32, int>;

constexpr quint32 octets(quint32 first, quint32 second, quint32 third)
{
    return first << 24 | second << 16 | third << 8;
}

constexpr std::array<IPv4Range, 15> reservedIPv4{{
    {octets(0, 0, 0), 8},       // this network
    {octets(10, 0, 0), 8},      // private
    {octets(100, 64, 0), 10},   // shared
    {octets(127, 0, 0), 8},     // loopback
    {octets(169, 254, 0), 16},  // link-local
    {octets(172, 16, 0), 12},   // private
    {octets(192, 0, 0), 24},    // protocol assignments
    {octets(192, 0, 2), 24},    // documentation
    {octets(192, 88, 99), 24},  // relays of 6to4
    {octets(192, 168, 0), 16},  // private
    {octets(198, 18, 0), 15},   // benchmarks
    {octets(198, 51, 100), 24}, // documentation
    {octets(203, 0, 113), 24},  // documentation
    {octets(224, 0, 0), 4},     // multicast
    {octets(240, 0, 0), 4},     // reserved, and broadcast
}};

bool isPublicIPv4(quint32 address)
{
    return std::ranges::none_of(reservedIPv4, [address](const IPv4Range& range) {
        return (address ^ range.first) >> (32 - range.second) == 0;
    });
}

/// A range within 2000::/3, out of which all addresses of hosts are given.
struct IPv6Range {
    std::array<quint8, 4> start;
    int bits;
};

constexpr std::array<IPv6Range, 4> reservedIPv6{{
    {{0x20, 0x01, 0x00, 0x00}, 23}, // protocol assignments, Teredo among them
    {{0x20, 0x01, 0x0d, 0xb8}, 32}, // documentation
    {{0x20, 0x02, 0x00, 0x00}, 16}, // 6to4
    {{0x3f, 0xff, 0x00, 0x00}, 20}, // documentation
}};

bool isPublicIPv6(const Q_IPV6ADDR& address)
{
    constexpr std::array<quint8, 12> translated{0x00, 0x64, 0xff, 0x9b};
    if (std::equal(translated.begin(), translated.end(), std::begin(address.c)))
        return isPublicIPv4(qFromBigEndian<quint32>(&address.c[translated.size()]));
    constexpr quint8 unicastBits = 0x20;
    constexpr quint8 unicastMask = 0xe0;
    if ((address[0] & unicastMask) != unicastBits)
        return false;
    const quint32 start = qFromBigEndian<quint32>(&address.c[0]);
    return std::ranges::none_of(reservedIPv6, [start](const IPv6Range& range) {
        return (start ^ qFromBigEndian<quint32>(range.start.data())) >> (32 - range.bits) == 0;
    });
}

bool isDigit(QChar character)
{
    return character >= u'0' && character <= u'9';
}

bool isHexDigit(QChar character)
{
    return isDigit(character) || (character >= u'a' && character <= u'f');
}

/// Whether browsers would read an IPv4 address out of a host with this last label, which is in lower case:
/// decimal, or hexadecimal behind "0x", where "0x" alone is 0 (WHATWG URL, "ends in a number").
bool isNumber(QStringView label)
{
    return std::ranges::all_of(label, isDigit) ||
           (label.startsWith("0x"_L1) && std::ranges::all_of(label.sliced(2), isHexDigit));
}

/// Four decimal numbers without leading zeros, which some read as octal.
bool isDottedDecimal(QStringView host)
{
    const QList<QStringView> parts = host.split(u'.');
    return parts.size() == 4 && std::ranges::all_of(parts, [](QStringView part) {
               return !part.isEmpty() && std::ranges::all_of(part, isDigit) &&
                      (part.size() == 1 || part.front() != u'0');
           });
}

} // namespace

bool isPublic(const QHostAddress& address)
{
    switch (address.protocol()) {
    case QAbstractSocket::IPv4Protocol:
        return isPublicIPv4(address.toIPv4Address());
    case QAbstractSocket::IPv6Protocol:
        return isPublicIPv6(address.toIPv6Address());
    default:
        return false;
    }
}

bool isPublicName(QStringView host)
{
    const QString lowered = Text::asciiLowered(host.toString());
    if (lowered.contains(u':'))
        return isPublic(QHostAddress(lowered));
    const QStringView name = QStringView(lowered).chopped(lowered.endsWith(u'.') ? 1 : 0);
    if (isDottedDecimal(name))
        return isPublic(QHostAddress(name.toString()));
    constexpr std::array reserved{".localhost"_L1, ".local"_L1, ".internal"_L1, ".home.arpa"_L1};
    const qsizetype dot = name.lastIndexOf(u'.');
    const bool isName = dot > 0 && !name.endsWith(u'.') && !isNumber(name.sliced(dot + 1));
    return isName && name != "home.arpa"_L1 &&
           std::ranges::none_of(reserved, [name](QLatin1StringView suffix) { return name.endsWith(suffix); });
}

} // namespace Larkhaven::PublicNetwork
