#include "domain/Text.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace Larkhaven {
namespace {

TEST(Text, TrimsTabsAndUnicodeSpacesButNoLineEnds)
{
    EXPECT_EQ(Text::trimmedSpace(u"\t\u00a0\u3000 x\n ").toString(), u"x\n");
}

TEST(Text, TrimsLineEndsWhereTheyAreNamed)
{
    EXPECT_EQ(Text::trimmedSpaceAndLineEnds(u"\r\n\u2028 x \u0085\v\f").toString(), u"x");
}

TEST(Text, LowersEachLetterByItself)
{
    EXPECT_EQ(Text::lowered(u"ÄΣΩ Ünïted \U00010400"), u"äσω ünïted \U00010428");
    EXPECT_EQ(Text::lowered(u"K\u212a"), u"kk");
    EXPECT_EQ(Text::lowered(u"İstanbul"), u"İstanbul") << "two characters would stand for the first";
    EXPECT_EQ(Text::lowered(QStringLiteral("a\xd801")), QStringLiteral("a\xd801"));
    const QString endless(4'000'000, QChar(0x130));
    EXPECT_EQ(Text::lowered(endless), endless);
}

TEST(Text, ComparesKeywordsByTheCaseOfASCIILettersAlone)
{
    EXPECT_TRUE(Text::isSameKeyword(u"Content-TYPE", u"content-type"));
    EXPECT_TRUE(Text::isSameKeyword(u"", u""));
    EXPECT_TRUE(Text::isSameKeyword(u"AZ[", u"az["));
    EXPECT_FALSE(Text::isSameKeyword(u"@", u"`")) << "these are no letters";
    EXPECT_FALSE(Text::isSameKeyword(u"[", u"{"));
    EXPECT_FALSE(Text::isSameKeyword(u"k", u"\u212a"));
    EXPECT_FALSE(Text::isSameKeyword(u"ä", u"Ä"));
    EXPECT_FALSE(Text::isSameKeyword(u"a", u"ab"));
}

TEST(Text, FoldsKeywordsWithinASCII)
{
    EXPECT_EQ(Text::asciiLowered(u"@AZ[ Ä\u212a"), u"@az[ Ä\u212a");
    EXPECT_EQ(Text::asciiUppered(u"`az{ ä"), u"`AZ{ ä");
}

TEST(Text, CutsBetweenUserPerceivedCharacters)
{
    const QString family = QStringLiteral("\U0001F469\u200D\U0001F469\u200D\U0001F467");
    EXPECT_EQ(Text::prefix(family + u'x' + family, 2), QString(family + u'x'));
    EXPECT_EQ(Text::prefix(QStringLiteral("e\u0301e\u0301"), 1), u"e\u0301");
    EXPECT_EQ(Text::prefix(QStringLiteral("abc"), 3), u"abc");
    EXPECT_EQ(Text::prefix(QStringLiteral("abc"), 0), u"");
}

TEST(Text, FindsTheEndOfClustersThatAreMuchLongerThanUsual)
{
    const QString tower = u'a' + QString(1000, u'\u0301');
    EXPECT_EQ(Text::prefix(tower + tower + u'b', 1), tower);
    EXPECT_EQ(Text::prefix(tower + tower + u'b', 2), QString(tower + tower));
    // The variation selectors of the supplementary planes are two units long and belong to what is before.
    const QString selected = QStringLiteral("a\U000E0100");
    EXPECT_EQ(Text::prefix(selected.repeated(9), 3), selected.repeated(3));
    EXPECT_EQ(Text::prefix(QStringLiteral("abc"), -1), u"");
}

TEST(Text, CutsNoCharacterOfAnotherScriptBehindIndicLetters)
{
    const QString text = QStringLiteral("\u0BA4\u0BAE\u0BBF\U0001F44D\U0001F3FD\U0001F1E9\U0001F1EAx");
    EXPECT_EQ(Text::prefix(text, 3), text.first(7));
    EXPECT_EQ(Text::prefix(text, 4), text.first(11));
    for (qsizetype count = 1; count < text.size(); ++count)
        EXPECT_TRUE(Text::prefix(text, count).isValidUtf16()) << count;
}

TEST(Text, CutsAHugeTextWithoutLookingAtAllOfIt)
{
    const QString huge(20'000'000, u'x');
    for (int round = 0; round < 1000; ++round)
        ASSERT_EQ(Text::prefix(huge, 300).size(), 300);
}

TEST(Text, RepairsEachMaximalInvalidSequenceOfUTF8WithOneReplacement)
{
    EXPECT_EQ(Text::fromRepairedUTF8("a\xF0\x9F\x98z"), u"a\uFFFDz");
    EXPECT_EQ(Text::fromRepairedUTF8("\xC0\xAF"), u"\uFFFD\uFFFD");
    EXPECT_EQ(Text::fromRepairedUTF8("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(Text::fromRepairedUTF8("\xEF\xBB\xBFx"), u"\uFEFFx");
    EXPECT_EQ(Text::fromRepairedUTF8(""), u"");
}

TEST(Text, RefusesInvalidUTF8WhereItIsReadStrictly)
{
    EXPECT_EQ(Text::fromStrictUTF8("\xC3\xA9"), QStringLiteral("\u00e9"));
    EXPECT_EQ(Text::fromStrictUTF8("\xE9"), std::nullopt);
}

TEST(Text, ChangesTheCaseOfASCIILettersOnly)
{
    EXPECT_EQ(Text::asciiLowered(u"A\u212A\u00C4Z["), u"a\u212A\u00C4z[");
    EXPECT_EQ(Text::asciiUppered(u"a\u017F\u00E4z{"), u"A\u017F\u00E4Z{");
}

} // namespace
} // namespace Larkhaven
