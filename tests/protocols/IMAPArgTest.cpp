#include "protocols/IMAPArg.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(IMAPArg, EscapesQuotesAndBackslashesOfAQuotedString)
{
    EXPECT_EQ(IMAPArg::quoted(u"a\"b\\c"_s), IMAPArg::text(u"\"a\\\"b\\\\c\""_s));
}

TEST(IMAPArg, QuotesAnEmptyText)
{
    EXPECT_EQ(IMAPArg::quoted(QString()), IMAPArg::text(u"\"\""_s));
}

TEST(IMAPArg, QuotesAllOfPrintableASCII)
{
    EXPECT_EQ(IMAPArg::quoted(u" ~(){}%*"_s), IMAPArg::text(u"\" ~(){}%*\""_s));
}

TEST(IMAPArg, SendsAnyOtherTextAsALiteral)
{
    EXPECT_EQ(IMAPArg::quoted(u"Grüße"_s), IMAPArg::literal("Gr\xC3\xBC\xC3\x9F"
                                                            "e"));
    EXPECT_EQ(IMAPArg::quoted(u"a\tb"_s), IMAPArg::literal("a\tb"));
    EXPECT_EQ(IMAPArg::quoted(u"a\r\nP9 DELETE x"_s), IMAPArg::literal("a\r\nP9 DELETE x"));
    EXPECT_EQ(IMAPArg::quoted(u"a\u007f"_s), IMAPArg::literal("a\x7f"));
    EXPECT_EQ(IMAPArg::quoted(u"\U0001F600"_s), IMAPArg::literal("\xF0\x9F\x98\x80"));
    EXPECT_EQ(IMAPArg::quoted(QString(QChar(u'\0'))), IMAPArg::literal(QByteArray(1, '\0')));
}

TEST(IMAPArg, IsEitherATextOrALiteral)
{
    EXPECT_EQ(*IMAPArg::text(u"x"_s).text(), u"x");
    EXPECT_EQ(IMAPArg::text(u"x"_s).literal(), nullptr);
    EXPECT_EQ(*IMAPArg::literal("x").literal(), "x");
    EXPECT_EQ(IMAPArg::literal("x").text(), nullptr);
}

TEST(UidSet, OfNothingIsAnEmptyText)
{
    EXPECT_EQ(uidSet({}), u"");
}

TEST(UidSet, IsSortedWithoutDoublesAndWithRunsCompressed)
{
    EXPECT_EQ(uidSet({7, 1, 2, 3, 3}), u"1:3,7");
    EXPECT_EQ(uidSet({5, 4}), u"4:5");
    EXPECT_EQ(uidSet({4}), u"4");
    EXPECT_EQ(uidSet({4, 4}), u"4");
    EXPECT_EQ(uidSet({1, 3, 5}), u"1,3,5");
    EXPECT_EQ(uidSet({1, 2, 4, 5, 6, 8}), u"1:2,4:6,8");
}

TEST(UidSet, TakesTheLargestNumbers)
{
    constexpr qint64 largest = std::numeric_limits<qint64>::max();
    EXPECT_EQ(uidSet({largest, largest - 1}), u"9223372036854775806:9223372036854775807");
    EXPECT_EQ(uidSet({std::numeric_limits<qint64>::min()}), u"-9223372036854775808");
}

} // namespace
} // namespace Larkhaven
