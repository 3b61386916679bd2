#include "protocols/IMAPFetch.h"

#include "protocols/IMAPResponse.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// The record of what stands in the parentheses of a FETCH response.
IMAPFetch fetched(const QByteArray& inside)
{
    const IMAPResponse response = IMAPResponse::parse("* 1 FETCH (" + inside + ")\r\n");
    return IMAPFetch(*response.values.at(2).list());
}

TEST(IMAPFetch, SortsOutTheItemsThatItKnows)
{
    const IMAPFetch fetch = fetched("FLAGS (\\Seen $Label) UID 17 RFC822.SIZE 123 "
                                    "INTERNALDATE \" 1-Jan-2026 10:00:00 +0100\"");
    EXPECT_EQ(fetch.uid, 17);
    EXPECT_EQ(fetch.flags, QList<QString>({u"\\Seen"_s, u"$Label"_s}));
    EXPECT_TRUE(fetch.hasFlags);
    EXPECT_EQ(fetch.internalDate, u" 1-Jan-2026 10:00:00 +0100"_s);
    EXPECT_EQ(fetch.items.value("RFC822.SIZE"_L1), IMAPValue::atom(u"123"_s));
    for (const QLatin1StringView name : {"UID"_L1, "FLAGS"_L1, "INTERNALDATE"_L1, "RFC822"_L1, ""_L1})
        EXPECT_FALSE(fetch.items.contains(name)) << name.data();
    EXPECT_EQ(fetch.body(), std::nullopt);
    EXPECT_FALSE(fetch.hasBody());
}

TEST(IMAPFetch, KnowsItemsInAnyCase)
{
    const IMAPFetch fetch = fetched("uid 5 flags (\\seen) Body[] {2}\r\nhi");
    EXPECT_EQ(fetch.uid, 5);
    EXPECT_EQ(fetch.flags, QList<QString>(1, u"\\seen"_s));
    EXPECT_EQ(fetch.body(), "hi");
    EXPECT_TRUE(fetch.hasBody());
}

TEST(IMAPFetch, IsEmptyForFewerThanTwoValues)
{
    for (const QByteArray inside : {"", "UID"}) {
        const IMAPFetch fetch = fetched(inside);
        EXPECT_EQ(fetch.uid, std::nullopt);
        EXPECT_TRUE(fetch.items.isEmpty());
        EXPECT_FALSE(fetch.hasFlags);
    }
}

TEST(IMAPFetch, IgnoresALoneLastValue)
{
    const IMAPFetch fetch = fetched("UID 5 FLAGS");
    EXPECT_EQ(fetch.uid, 5);
    EXPECT_FALSE(fetch.hasFlags);
}

TEST(IMAPFetch, TellsNoFlagsFromFlagsThatAreNotTold)
{
    EXPECT_TRUE(fetched("UID 1 FLAGS ()").hasFlags);
    EXPECT_FALSE(fetched("UID 1 BODY[] {0}\r\n").hasFlags);
}

TEST(IMAPFetch, TakesFlagsThatAreNoListForNone)
{
    EXPECT_TRUE(fetched("FLAGS \\Seen UID 1").flags.isEmpty());
    EXPECT_EQ(fetched("FLAGS (\\Seen NIL (x) \"\\\\Flagged\")").flags,
              QList<QString>({u"\\Seen"_s, u"\\Flagged"_s}));
}

TEST(IMAPFetch, KeepsTheLaterOfTwoItemsOfAName)
{
    EXPECT_EQ(fetched("X 1 x 2").items.value("X"_L1), IMAPValue::atom(u"2"_s));
}

TEST(IMAPFetch, TakesTheBodyThatTheServerSentFirst)
{
    const IMAPFetch fetch = fetched("BODY[2] {3}\r\ntwo BODY[1] {3}\r\none BODY[2] {5}\r\nagain");
    EXPECT_EQ(fetch.body(), "two");
    EXPECT_EQ(fetch.items.value("BODY[2]"_L1), IMAPValue::string("again"));
    EXPECT_EQ(fetch.items.value("BODY[1]"_L1), IMAPValue::string("one"));
}

TEST(IMAPFetch, HasNoBodyWhereTheFirstOneIsNothing)
{
    EXPECT_EQ(fetched("BODY[1] NIL BODY[2] x").body(), std::nullopt);
    EXPECT_FALSE(fetched("BODY[1] NIL BODY[2] x").hasBody());
    EXPECT_FALSE(fetched("BODY[1] (x) BODY[2] x").hasBody());
    EXPECT_EQ(fetched("BODY (x) BODYSTRUCTURE (y)").body(), std::nullopt);
}

TEST(IMAPFetch, TakesABodyInQuotes)
{
    EXPECT_EQ(fetched("BODY[] \"a \\\" b\"").body(), "a \" b");
}

TEST(IMAPFetch, HasNoUIDWhereItIsNoNumber)
{
    EXPECT_EQ(fetched("UID x").uid, std::nullopt);
    EXPECT_EQ(fetched("UID 99999999999999999999").uid, std::nullopt);
}

TEST(IMAPFetch, TakesAListInThePlaceOfANameForAnEmptyName)
{
    const IMAPFetch fetch = fetched("(a b) 1 UID 7");
    EXPECT_EQ(fetch.uid, 7);
    EXPECT_TRUE(fetch.items.contains(""_L1));
}

} // namespace
} // namespace Larkhaven
