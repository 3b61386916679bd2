#include "format/HeaderParameters.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using Params = ParameterList;

Params params(const QString& segments)
{
    return HeaderParameters::parse(u"x/y;"_s + segments).params;
}

TEST(HeaderParameters, ReadsValueAndParametersInLowerCase)
{
    const HeaderParameters header = HeaderParameters::parse(u" Text/HTML ; Charset = UTF-8;format=Flowed");
    EXPECT_EQ(header.value, u"text/html"_s);
    EXPECT_EQ(header.params, (Params{{u"charset"_s, u"UTF-8"_s}, {u"format"_s, u"Flowed"_s}}));
}

TEST(HeaderParameters, ReadsNothingFromNothing)
{
    EXPECT_EQ(HeaderParameters::parse(u""), HeaderParameters());
    EXPECT_EQ(HeaderParameters::parse(u";;;"), HeaderParameters());
}

TEST(HeaderParameters, DoesNotCutAtASemicolonWithinQuotes)
{
    EXPECT_EQ(HeaderParameters::parse(u"text/plain; charset=\"a;b\"").params,
              (Params{{u"charset"_s, u"a;b"_s}}));
    EXPECT_EQ(params(u"a=\"x\\\";y\"; b=z"_s), (Params{{u"a"_s, u"x\";y"_s}, {u"b"_s, u"z"_s}}));
}

TEST(HeaderParameters, TakesTheRestWhereAQuoteIsLeftOpen)
{
    EXPECT_EQ(params(u"a=\"x; b=z"_s), (Params{{u"a"_s, u"\"x; b=z"_s}}));
    EXPECT_EQ(params(u"a=\"x\\"_s), (Params{{u"a"_s, u"\"x\\"_s}}));
}

TEST(HeaderParameters, ProtectsNothingWithABackslashOutsideQuotes)
{
    EXPECT_EQ(params(u"a=x\\;b=y"_s), (Params{{u"a"_s, u"x\\"_s}, {u"b"_s, u"y"_s}}));
}

TEST(HeaderParameters, UndoesNoOtherEscapeThanThatOfAQuote)
{
    EXPECT_EQ(params(u"a=\"C:\\dir\\\\x\""_s), (Params{{u"a"_s, u"C:\\dir\\\\x"_s}}));
    EXPECT_EQ(params(u"a=\"x\\\"y\""_s), (Params{{u"a"_s, u"x\"y"_s}}));
    EXPECT_EQ(params(u"a=\""_s), (Params{{u"a"_s, u"\""_s}}));
    EXPECT_EQ(params(u"a=\"\""_s), (Params{{u"a"_s, u""_s}}));
    EXPECT_EQ(params(u"a=\"x\"y"_s), (Params{{u"a"_s, u"\"x\"y"_s}}));
}

TEST(HeaderParameters, PassesOverSegmentsWithoutAnEqualsSignAndCutsAtTheFirst)
{
    EXPECT_EQ(params(u"a; b=c=d"_s), (Params{{u"b"_s, u"c=d"_s}}));
}

TEST(HeaderParameters, KeepsTheLaterOfTwoParametersOfAName)
{
    EXPECT_EQ(params(u"a=1; A=2"_s), (Params{{u"a"_s, u"2"_s}}));
    EXPECT_EQ(params(u"a=1; a*=utf-8''2"_s), (Params{{u"a"_s, u"2"_s}}));
    EXPECT_EQ(params(u"a*=utf-8''2; a=1"_s), (Params{{u"a"_s, u"1"_s}}));
}

TEST(HeaderParameters, ReadsAnExtendedValue)
{
    EXPECT_EQ(params(u"filename*=UTF-8''na%C3%AFve.txt"_s), (Params{{u"filename"_s, u"naïve.txt"_s}}));
    EXPECT_EQ(params(u"filename*=iso-8859-1'de'na%EFve.txt"_s), (Params{{u"filename"_s, u"naïve.txt"_s}}));
    EXPECT_EQ(params(u"filename*=\"UTF-8''na%c3%afve.txt\""_s), (Params{{u"filename"_s, u"naïve.txt"_s}}));
}

TEST(HeaderParameters, ReadsAnExtendedValueWithoutACharsetAsUTF8)
{
    EXPECT_EQ(params(u"a*=''na%C3%AFve"_s), (Params{{u"a"_s, u"naïve"_s}}));
    EXPECT_EQ(params(u"a*=na%C3%AFve"_s), (Params{{u"a"_s, u"naïve"_s}}));
    EXPECT_EQ(params(u"a*=it's%20x"_s), (Params{{u"a"_s, u"it's x"_s}}));
}

TEST(HeaderParameters, KeepsApostrophesBehindTheSecond)
{
    EXPECT_EQ(params(u"a*=utf-8'en'it's"_s), (Params{{u"a"_s, u"it's"_s}}));
}

TEST(HeaderParameters, ReadsOctetsOfAnExtendedValueWithAnEqualsSignToo)
{
    EXPECT_EQ(params(u"a*=utf-8''x=41%42_"_s), (Params{{u"a"_s, u"xAB_"_s}}));
}

TEST(HeaderParameters, LeavesPercentSignsOfAPlainValue)
{
    EXPECT_EQ(params(u"a=100%41"_s), (Params{{u"a"_s, u"100%41"_s}}));
}

TEST(HeaderParameters, JoinsSectionsOfWhichTheFirstIsExtended)
{
    EXPECT_EQ(params(u"filename*0*=UTF-8''a%20; filename*1=b.txt"_s),
              (Params{{u"filename"_s, u"a b.txt"_s}}));
}

TEST(HeaderParameters, JoinsSectionsByNumberAndSkipsGaps)
{
    EXPECT_EQ(params(u"a*10=c; a*2=b; a*0=a"_s), (Params{{u"a"_s, u"abc"_s}}));
    EXPECT_EQ(params(u"a*01=x; a*1=y"_s), (Params{{u"a"_s, u"y"_s}}));
}

TEST(HeaderParameters, ReadsLaterSectionsAsUTF8WhateverTheFirstNames)
{
    EXPECT_EQ(params(u"a*0*=iso-8859-1''%E9; a*1*=%C3%A9"_s), (Params{{u"a"_s, u"éé"_s}}));
    EXPECT_EQ(params(u"a*0*=utf-8''x; a*1*=it's 'y'"_s), (Params{{u"a"_s, u"xit's 'y'"_s}}));
}

TEST(HeaderParameters, LetsAPlainParameterWinOverSections)
{
    EXPECT_EQ(params(u"a*0=x; a=plain; a*1=y"_s), (Params{{u"a"_s, u"plain"_s}}));
}

TEST(HeaderParameters, TakesTheSectionNumberBehindTheLastStar)
{
    EXPECT_EQ(params(u"a*b*1=y; a*b*0=x"_s), (Params{{u"a*b"_s, u"xy"_s}}));
}

TEST(HeaderParameters, KeepsAStarThatNoNumberFollows)
{
    EXPECT_EQ(params(u"a*b=x"_s), (Params{{u"a*b"_s, u"x"_s}}));
    EXPECT_EQ(params(u"a**=utf-8''x"_s), (Params{{u"a*"_s, u"x"_s}}));
    EXPECT_EQ(params(u"a*1x=y"_s), (Params{{u"a*1x"_s, u"y"_s}}));
}

TEST(HeaderParameters, ReadsSectionNumbersThatFit64Bits)
{
    EXPECT_EQ(params(u"a*9223372036854775807=b; a*0=a"_s), (Params{{u"a"_s, u"ab"_s}}));
    EXPECT_EQ(params(u"a*9223372036854775808=b"_s), (Params{{u"a*9223372036854775808"_s, u"b"_s}}));
}

TEST(HeaderParameters, ReadsParametersWithoutAName)
{
    EXPECT_EQ(params(u"=x; *0=y"_s), (Params{{u""_s, u"x"_s}}));
}

TEST(HeaderParameters, EndsOnHostileParameters)
{
    QString sections;
    for (int index = 200'000; index > 0; --index)
        sections += u"a*%1*=%41;"_s.arg(QString::number(index));
    EXPECT_EQ(params(sections), (Params{{u"a"_s, QString(200'000, u'A')}}));

    EXPECT_TRUE(params(QString(10'000'000, u';')).isEmpty());
    EXPECT_EQ(params(u"a=\""_s + QString(5'000'000, u';') + u'"').value(u"a").value().size(), 5'000'000);
    EXPECT_EQ(params(u"a=\""_s + u"\\\""_s.repeated(5'000'000) + u'"').value(u"a").value().size(), 5'000'000);
    EXPECT_EQ(params(u"a*=utf-8''"_s + u"%41"_s.repeated(3'000'000)).value(u"a").value().size(), 3'000'000);
    EXPECT_EQ(params(u"a*=utf-8"_s + QString(5'000'000, u'\'')).value(u"a").value().size(), 4'999'998);
}

TEST(HeaderParameters, ReadsNoMoreParametersThanItsBound)
{
    const QString segments = u"a=1;"_s.repeated(HeaderParameters::maxParameters - 1);
    EXPECT_EQ(params(segments + u"b=2;c=3"_s), (Params{{u"a"_s, u"1"_s}, {u"b"_s, u"2"_s}}));
}

TEST(HeaderParameters, FoldsNamesWithinASCII)
{
    const HeaderParameters read =
        HeaderParameters::parse(u"TEXT/\u212a\u0130; N\u00c4ME=x; KEY*0=a; key*1=b");
    EXPECT_EQ(read.value, u"text/\u212a\u0130"_s);
    EXPECT_EQ(read.params.value(u"n\u00c4me"_s), u"x"_s);
    EXPECT_EQ(read.params.value(u"key"_s), u"ab"_s);
}

} // namespace
} // namespace Larkhaven
