#include "images/PublicNetwork.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(PublicNetwork, TakesTheFirstAndTheLastAddressOfEachReservedRangeForNotPublicAndTheirNeighboursForPublic)
{
    struct Range {
        const char* before;
        const char* first;
        const char* last;
        const char* after;
    };
    constexpr const char* none = nullptr;
    const QList<Range> ranges{
        {none, "0.0.0.0", "0.255.255.255", "1.0.0.0"},
        {"9.255.255.255", "10.0.0.0", "10.255.255.255", "11.0.0.0"},
        {"100.63.255.255", "100.64.0.0", "100.127.255.255", "100.128.0.0"},
        {"126.255.255.255", "127.0.0.0", "127.255.255.255", "128.0.0.0"},
        {"169.253.255.255", "169.254.0.0", "169.254.255.255", "169.255.0.0"},
        {"172.15.255.255", "172.16.0.0", "172.31.255.255", "172.32.0.0"},
        {"191.255.255.255", "192.0.0.0", "192.0.0.255", "192.0.1.0"},
        {"192.0.1.255", "192.0.2.0", "192.0.2.255", "192.0.3.0"},
        {"192.88.98.255", "192.88.99.0", "192.88.99.255", "192.88.100.0"},
        {"192.167.255.255", "192.168.0.0", "192.168.255.255", "192.169.0.0"},
        {"198.17.255.255", "198.18.0.0", "198.19.255.255", "198.20.0.0"},
        {"198.51.99.255", "198.51.100.0", "198.51.100.255", "198.51.101.0"},
        {"203.0.112.255", "203.0.113.0", "203.0.113.255", "203.0.114.0"},
        {"223.255.255.255", "224.0.0.0", "255.255.255.255", none},
        {none, "::", "1fff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "2000::"},
        {"2000:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "2001::", "2001:1ff:ffff:ffff:ffff:ffff:ffff:ffff",
         "2001:200::"},
        {"2001:db7:ffff:ffff:ffff:ffff:ffff:ffff", "2001:db8::", "2001:db8:ffff:ffff:ffff:ffff:ffff:ffff",
         "2001:db9::"},
        {"2001:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "2002::", "2002:ffff:ffff:ffff:ffff:ffff:ffff:ffff",
         "2003::"},
        {"3ffe:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "3fff::", "3fff:fff:ffff:ffff:ffff:ffff:ffff:ffff",
         "3fff:1000::"},
        {"3fff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "4000::", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff",
         none},
    };
    const auto isPublic = [](const char* text) {
        const QHostAddress address(QString::fromLatin1(text));
        EXPECT_FALSE(address.isNull()) << text;
        return PublicNetwork::isPublic(address);
    };
    for (const Range& range : ranges) {
        EXPECT_FALSE(isPublic(range.first)) << range.first;
        EXPECT_FALSE(isPublic(range.last)) << range.last;
        for (const char* const neighbour : {range.before, range.after}) {
            EXPECT_TRUE(!neighbour || isPublic(neighbour)) << neighbour;
        }
    }
}

TEST(PublicNetwork, RefusesTheUsersOwnNetworkInEachFormOfIPv6)
{
    for (const char* const text :
         {"::1", "::ffff:127.0.0.1", "::ffff:93.184.216.34", "::93.184.216.34", "fe80::1", "fd00::1",
          "fc00::1", "ff02::1", "fec0::1", "64:ff9b::7f00:1", "64:ff9b::c0a8:101", "64:ff9b:1::1", "100::1"})
        EXPECT_FALSE(PublicNetwork::isPublic(QHostAddress(QString::fromLatin1(text)))) << text;
    EXPECT_TRUE(PublicNetwork::isPublic(QHostAddress(u"64:ff9b::5db8:d822"_s)))
        << "where all the network is IPv6, others are reached by that";
    EXPECT_FALSE(PublicNetwork::isPublic(QHostAddress())) << "no address";
}

TEST(PublicNetwork, LooksUpNamesOfThePublicInternetAlone)
{
    for (const QString& name : {u"a.example"_s, u"A.Example"_s, u"a.example."_s, u"xn--bcher-kva.example"_s,
                                u"93.184.216.34"_s, u"2606:4700::1111"_s, u"mylocal.example"_s,
                                u"notlocal"_s + u".org"_s, u"a.1e"_s, u"1.2.3.4.example"_s})
        EXPECT_TRUE(PublicNetwork::isPublicName(name)) << name.toStdString();
    for (const QString& name : {u""_s, u"."_s, u"router"_s, u"router."_s, u"localhost"_s, u"LOCALHOST"_s,
                                u"a.localhost"_s, u"printer.local"_s, u"Printer.LOCAL."_s, u"db.internal"_s,
                                u"nas.home.arpa"_s, u"home.arpa"_s, u".example"_s, u"a.example.."_s})
        EXPECT_FALSE(PublicNetwork::isPublicName(name)) << name.toStdString();
}

TEST(PublicNetwork, KnowsTheMachineItselfInEverySpelling)
{
    for (const QString& name : {u"127.0.0.1"_s,
                                u"127.0.0.1."_s,
                                u"127.1"_s,
                                u"127.0.1"_s,
                                u"2130706433"_s,
                                u"0x7f000001"_s,
                                u"0x7f.1"_s,
                                u"0X7F.0x0.0x0.0x1"_s,
                                u"0177.0.0.1"_s,
                                u"017700000001"_s,
                                u"127.000.000.001"_s,
                                u"0"_s,
                                u"0.0.0.0"_s,
                                u"a.0x"_s,
                                u"a.0xff"_s,
                                u"a.7"_s,
                                u"::1"_s,
                                u"0:0:0:0:0:0:0:1"_s,
                                u"::ffff:127.0.0.1"_s,
                                u"::ffff:7f00:1"_s,
                                u"93.184.216.034"_s,
                                u"93.184.216.256"_s,
                                u"93.184.216"_s})
        EXPECT_FALSE(PublicNetwork::isPublicName(name)) << name.toStdString();
}

} // namespace
} // namespace Larkhaven
