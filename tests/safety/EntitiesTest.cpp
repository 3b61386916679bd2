#include "safety/HTMLSanitizer.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using HTMLSanitizer::decodeEntities;

TEST(DecodeEntities, ReturnsATextWithoutAmpersandUnchanged)
{
    EXPECT_EQ(decodeEntities(u"a;b#65;"_s), u"a;b#65;");
    EXPECT_EQ(decodeEntities(QString()), QString());
}

TEST(DecodeEntities, ReadsEveryNameInAnyCaseWithOrWithoutSemicolon)
{
    const QList<QPair<QString, QString>> names{
        {u"amp"_s, u"&"_s},         {u"lt"_s, u"<"_s},         {u"gt"_s, u">"_s},
        {u"quot"_s, u"\""_s},       {u"apos"_s, u"'"_s},       {u"nbsp"_s, u"\u00a0"_s},
        {u"colon"_s, u":"_s},       {u"tab"_s, u"\t"_s},       {u"newline"_s, u"\n"_s},
        {u"sol"_s, u"/"_s},         {u"period"_s, u"."_s},     {u"lpar"_s, u"("_s},
        {u"rpar"_s, u")"_s},        {u"copy"_s, u"\u00a9"_s},  {u"reg"_s, u"\u00ae"_s},
        {u"hellip"_s, u"\u2026"_s}, {u"mdash"_s, u"\u2014"_s}, {u"ndash"_s, u"\u2013"_s},
        {u"rsquo"_s, u"\u2019"_s},  {u"lsquo"_s, u"\u2018"_s}, {u"rdquo"_s, u"\u201d"_s},
        {u"ldquo"_s, u"\u201c"_s}};
    EXPECT_EQ(names.size(), 22);
    for (const auto& [name, character] : names) {
        EXPECT_EQ(decodeEntities(u"x&"_s + name + u";y"_s), QString(u'x' + character + u'y'));
        EXPECT_EQ(decodeEntities(u'&' + name.toUpper()), character);
        EXPECT_EQ(decodeEntities(u'&' + name + u" z"_s), QString(character + u" z"_s));
    }
}

TEST(DecodeEntities, LooksANameUpAsAWhole)
{
    EXPECT_EQ(decodeEntities(u"&ampx;"_s), u"&ampx;");
    EXPECT_EQ(decodeEntities(u"&lt=1"_s), u"&lt=1");
    EXPECT_EQ(decodeEntities(u"&lt&gt"_s), u"<>");
    EXPECT_EQ(decodeEntities(u"&lt<"_s), u"<<");
    EXPECT_EQ(decodeEntities(u"&lt\u3000x"_s), u"<\u3000x");
    EXPECT_EQ(decodeEntities(u"&eacute;"_s), u"&eacute;");
}

TEST(DecodeEntities, ReadsDecimalNumbersUpToTheFirstOtherCharacter)
{
    EXPECT_EQ(decodeEntities(u"&#65;"_s), u"A");
    EXPECT_EQ(decodeEntities(u"&#65"_s), u"A");
    EXPECT_EQ(decodeEntities(u"&#65x"_s), u"Ax");
    EXPECT_EQ(decodeEntities(u"&#65x;"_s), u"Ax;");
    EXPECT_EQ(decodeEntities(u"&#65;;"_s), u"A;");
}

TEST(DecodeEntities, ReadsHexadecimalNumbersInAnyCase)
{
    EXPECT_EQ(decodeEntities(u"&#x41;&#X4a;&#x4Ag"_s), u"AJJg");
    EXPECT_EQ(decodeEntities(u"&#x1F600;"_s), u"\U0001F600");
}

TEST(DecodeEntities, CopiesWhatHoldsNoDigit)
{
    EXPECT_EQ(decodeEntities(u"&#;&#x;&;&"_s), u"&#;&#x;&;&");
    EXPECT_EQ(decodeEntities(u"&#xg;&#a;&# 65;"_s), u"&#xg;&#a;&# 65;");
    EXPECT_EQ(decodeEntities(u"&#\u0661;"_s), u"&#\u0661;");
}

TEST(DecodeEntities, RefusesSurrogatesAndWhatIsAboveTheLastCodePoint)
{
    EXPECT_EQ(decodeEntities(u"&#xD7FF;&#xE000;"_s), u"\uD7FF\uE000");
    EXPECT_EQ(decodeEntities(u"&#xD800;&#xDFFF;"_s), u"&#xD800;&#xDFFF;");
    EXPECT_EQ(decodeEntities(u"&#x10FFFF;"_s), u"\U0010FFFF");
    EXPECT_EQ(decodeEntities(u"&#x110000;&#1114112;"_s), u"&#x110000;&#1114112;");
    EXPECT_EQ(decodeEntities(u"&#99999999999999999999999999;"_s), u"&#99999999999999999999999999;");
    EXPECT_EQ(decodeEntities(u"&#x100000041;"_s), u"&#x100000041;");
}

TEST(DecodeEntities, CollectsAtMostThirtyTwoCharacters)
{
    const QString zeros(29, u'0');
    EXPECT_EQ(decodeEntities(u"&#"_s + zeros + u"65;"_s), u"A");
    EXPECT_EQ(decodeEntities(u"&#0"_s + zeros + u"65;"_s), QString(QChar(6) + u"5;"_s));
    EXPECT_EQ(decodeEntities(u'&' + QString(33, u'a') + u';'), QString(u'&' + QString(33, u'a') + u';'));
}

TEST(DecodeEntities, DecodesOnlyOnce)
{
    EXPECT_EQ(decodeEntities(u"&amp;lt;"_s), u"&lt;");
    EXPECT_EQ(decodeEntities(u"&&amp;amp;"_s), u"&&amp;");
}

TEST(DecodeEntities, ReadsMegabytesOfAmpersands)
{
    const QString hostile = u"&#"_s.repeated(5'000'000);
    EXPECT_EQ(decodeEntities(hostile), hostile);
}

} // namespace
} // namespace Larkhaven
