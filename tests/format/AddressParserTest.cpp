#include "format/AddressParser.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {

void PrintTo(const EmailAddress& address, std::ostream* stream)
{
    *stream << '"' << address.name.value_or(u"(none)"_s).toStdString() << "\" <"
            << address.address.toStdString() << '>';
}

namespace {

using AddressParser::parseList;
using AddressParser::parseOne;
using Addresses = QList<EmailAddress>;

EmailAddress bare(const QString& address)
{
    return {std::nullopt, address};
}

TEST(AddressParser, KeepsACommaOfAQuotedName)
{
    EXPECT_EQ(parseList(u"Ann <a@x>, \"Doe, Bob\" <b@y>"),
              (Addresses{{u"Ann"_s, u"a@x"_s}, {u"Doe, Bob"_s, u"b@y"_s}}));
}

TEST(AddressParser, TurnsEscapedQuotesOfANameIntoPlainOnes)
{
    EXPECT_EQ(parseOne(u"\"Say \\\"hi\\\"\" <c@z>"), EmailAddress(u"Say \"hi\""_s, u"c@z"_s));
}

TEST(AddressParser, ReadsANameInAComment)
{
    EXPECT_EQ(parseOne(u"a@x (Ann)"), EmailAddress(u"Ann"_s, u"a@x"_s));
    EXPECT_EQ(parseOne(u"a@x (Ann (of x))"), EmailAddress(u"Ann (of x)"_s, u"a@x"_s));
    EXPECT_EQ(parseOne(u"a@x ()"), bare(u"a@x"_s));
    EXPECT_EQ(parseOne(u"team (x)"), EmailAddress(u"x"_s, u"team"_s));
}

TEST(AddressParser, ReadsABareAddress)
{
    EXPECT_EQ(parseOne(u"a@x"), bare(u"a@x"_s));
    EXPECT_EQ(parseOne(u" \r\n a@x\t"), bare(u"a@x"_s));
}

TEST(AddressParser, FindsEachSeparatorAtEachPlace)
{
    for (qsizetype before = 1; before < 40; ++before) {
        for (const QChar letter : {u'a', u'~', u'\u0128', u'\u0240', u'\uff22'}) {
            const QString word(before, letter);
            const Addresses expected{{word, u"x@y"_s}, {word, u"b"_s}, bare(u"c@"_s + word), bare(u"d@e"_s)};
            ASSERT_EQ(parseList(word + u"<x@y>,b("_s + word + u"),c@"_s + word + u",d@e"_s), expected)
                << before;
            ASSERT_EQ(parseList(u'"' + word + u",\"<x@y>"_s), (Addresses{{word + u',', u"x@y"_s}})) << before;
        }
    }
}

TEST(AddressParser, TakesTheQuotesOffANameUnlessALineEndIsBehindThem)
{
    EXPECT_EQ(parseOne(u" \n\" Ann \"\t<a@x>"), EmailAddress(u"Ann"_s, u"a@x"_s));
    EXPECT_EQ(parseOne(u"\"Ann\"\n<a@x>"), EmailAddress(u"\"Ann\""_s, u"a@x"_s));
    EXPECT_EQ(parseOne(u"\" <a@x>"), EmailAddress(u"\""_s, u"a@x"_s));
}

TEST(AddressParser, FindsNoAddressWithoutAnAtSign)
{
    EXPECT_EQ(parseOne(u"nobody"), std::nullopt);
    EXPECT_EQ(parseOne(u""), std::nullopt);
    EXPECT_EQ(parseOne(u" \r\n"), std::nullopt);
}

TEST(AddressParser, HasNoNameWhereItIsEmpty)
{
    EXPECT_EQ(parseOne(u"<a@x>"), bare(u"a@x"_s));
    EXPECT_EQ(parseOne(u"\"\" <a@x>"), bare(u"a@x"_s));
    EXPECT_EQ(parseOne(u"\" \" < a@x >"), bare(u"a@x"_s));
}

TEST(AddressParser, DropsAnEmptyPiece)
{
    EXPECT_EQ(parseList(u"a@x, ,b@y"), (Addresses{bare(u"a@x"_s), bare(u"b@y"_s)}));
}

TEST(AddressParser, GivesNoEmptyAddressForACommaAtTheEnd)
{
    EXPECT_EQ(parseList(u"a@x,"), Addresses{bare(u"a@x"_s)});
    EXPECT_EQ(parseList(u",a@x,,"), Addresses{bare(u"a@x"_s)});
    EXPECT_EQ(parseList(u""), Addresses{});
}

TEST(AddressParser, GoesOnSplittingAfterAStrayClosingBracket)
{
    EXPECT_EQ(parseList(u"> a@x, b@y"), (Addresses{bare(u"> a@x"_s), bare(u"b@y"_s)}));
    EXPECT_EQ(parseList(u">>> Ann <a@x>, b@y"), (Addresses{{u">>> Ann"_s, u"a@x"_s}, bare(u"b@y"_s)}));
}

TEST(AddressParser, KeepsCommasWithinAngleBrackets)
{
    EXPECT_EQ(parseList(u"<@a,@b:c@z>, d@y"), (Addresses{bare(u"@a,@b:c@z"_s), bare(u"d@y"_s)}));
    EXPECT_EQ(parseList(u"<<a@x>, b@y"), (Addresses{{u"<"_s, u"a@x"_s}}));
}

TEST(AddressParser, CutsWithinAComment)
{
    EXPECT_EQ(parseList(u"a@x (Doe, Ann)"), Addresses{bare(u"a@x (Doe"_s)});
}

TEST(AddressParser, EndsAQuotedNameAtAnEscapedQuote)
{
    // The walk over a list knows no backslash, so that the comma behind the second quote separates.
    EXPECT_EQ(parseList(u"\"Doe\\\", Bob\" <b@y>"), (Addresses{{u"Bob\""_s, u"b@y"_s}}));
    EXPECT_EQ(parseList(u"\"A \\\"B\\\" C, D\" <b@y>"), (Addresses{{u"A \"B\" C, D"_s, u"b@y"_s}}));
}

TEST(AddressParser, TakesTheRestWhereAQuoteIsLeftOpen)
{
    EXPECT_EQ(parseList(u"\"Ann <a@x>, b@y"), (Addresses{{u"\"Ann"_s, u"a@x"_s}}));
}

TEST(AddressParser, KnowsNoGroups)
{
    EXPECT_EQ(parseList(u"undisclosed-recipients:;"), Addresses{});
    EXPECT_EQ(parseList(u"team: a@x, b@y;"), (Addresses{bare(u"team: a@x"_s), bare(u"b@y;"_s)}));
}

TEST(AddressParser, TakesTheLastAngleBracketsOfAPiece)
{
    EXPECT_EQ(parseOne(u"Ann <a@x> <b@y>"), EmailAddress(u"Ann <a@x>"_s, u"b@y"_s));
    EXPECT_EQ(parseOne(u"a@x> <"), bare(u"a@x> <"_s));
    EXPECT_EQ(parseOne(u"Ann <>"), EmailAddress(u"Ann"_s, u""_s));
}

TEST(AddressParser, PrefersAngleBracketsToAComment)
{
    EXPECT_EQ(parseOne(u"Ann (x) <a@x>"), EmailAddress(u"Ann (x)"_s, u"a@x"_s));
}

TEST(AddressParser, KeepsADisplayNameThatLooksLikeAnAddressApart)
{
    EXPECT_EQ(parseOne(u"bank@example.com <thief@evil.example>"),
              EmailAddress(u"bank@example.com"_s, u"thief@evil.example"_s));
}

TEST(AddressParser, EndsOnHostileLists)
{
    EXPECT_EQ(parseList(u"a@x,"_s.repeated(250'000)).size(), 250'000);
    EXPECT_EQ(parseList(QString(10'000'000, u',')), Addresses{});
    EXPECT_EQ(parseList(QString(10'000'000, u'<')), Addresses{});
    EXPECT_EQ(parseList(u"<>"_s.repeated(5'000'000)).size(), 1);
    EXPECT_EQ(parseList(u"(,"_s.repeated(5'000'000)), Addresses{});
    EXPECT_EQ(parseList(u"\"\\"_s.repeated(5'000'000)), Addresses{});
}

TEST(AddressParser, GivesNoMoreAddressesThanItsBound)
{
    EXPECT_EQ(parseList(u"@,"_s.repeated(AddressParser::maxAddresses)).size(), AddressParser::maxAddresses);
    EXPECT_EQ(parseList(u"@,"_s.repeated(AddressParser::maxAddresses + 1)).size(),
              AddressParser::maxAddresses);
}

} // namespace
} // namespace Larkhaven
