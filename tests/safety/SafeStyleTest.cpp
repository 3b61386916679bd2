#include "SanitizerSupport.h"
#include "safety/HTMLSanitizer.h"
#include "support/QtPrinters.h"

#include <QRegularExpression>

#include <gtest/gtest.h>
#include <random>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using HTMLSanitizer::safeStyle;

TEST(SafeStyle, LosesPositionsThatLeaveTheFlowInAnySpelling)
{
    for (const QString& declaration :
         {u"position:var(--p)"_s, u"position:-webkit-sticky"_s, u"POSITION : -WEBKIT-Sticky !important"_s,
          u"position:env(x,fixed)"_s, u"position:/**/var(--p)"_s, u"pos\\69tion:var(--p)"_s,
          u"position:-\\77 ebkit-sticky"_s, u"position:\nvar( --p )"_s, u"position:absolutely"_s,
          u"position:"_s})
        EXPECT_EQ(safeStyle(u"color:red;"_s + declaration + u";top:0"_s), u"color:red;;top:0")
            << declaration.toStdString();
}

TEST(SafeStyle, KeepsPositionsWithinTheFlow)
{
    for (const QString& style :
         {u"position:relative"_s, u"Position : Static !important"_s, u"position:initial"_s,
          u"position:inherit"_s, u"position:unset"_s, u"position:revert"_s, u"background-position:center"_s,
          u"object-position:50% 50%"_s, u"--position:var(--p)"_s})
        EXPECT_EQ(safeStyle(style), style);
    EXPECT_EQ(safeStyle(u"position:fixed;top:0"_s), u"position:static;top:0");
}

TEST(SafeStyle, LosesEveryFunctionThatLoadsOrCopiesAPicture)
{
    for (const QString& value :
         {u"image('https://x')"_s, u"IMAGE('https://x')"_s, u"image(/**/'https://x')"_s,
          u"im/**/age('https://x')"_s, u"i\\6d age('https://x')"_s, u"cross-fade('https://x', red)"_s,
          u"-webkit-cross-fade('a','b',1%)"_s, u"src('https://x')"_s, u"s\\72 c('https://x')"_s,
          u"-webkit-image-set('https://x' 1x)"_s, u"image-se\\74('https://x' 1x)"_s, u"-moz-element(#a)"_s,
          u"paint(x)"_s, u"red,image(blue)"_s, u"calc(image(x))"_s, u"-x-src(a)"_s}) {
        const QString result = safeStyle(u"color:red;background:"_s + value + u";top:0"_s);
        EXPECT_FALSE(result.contains(u"https")) << result.toStdString();
        EXPECT_TRUE(result.startsWith(u"color:red;") && result.endsWith(u";top:0")) << result.toStdString();
        for (const QString& name :
             {u"image("_s, u"fade("_s, u"src("_s, u"set("_s, u"element("_s, u"paint("_s})
            EXPECT_FALSE(result.contains(name, Qt::CaseInsensitive)) << result.toStdString();
    }
}

TEST(SafeStyle, LosesACustomPropertyThatKeepsSuchAFunction)
{
    EXPECT_EQ(safeStyle(u"--a:image('https://x');background:var(--a)"_s), u";background:var(--a)");
    EXPECT_EQ(safeStyle(u"background:var(--a,image('https://x'))"_s), QString());
    EXPECT_EQ(safeStyle(u".a{--a:-webkit-cross-fade('https://x',red)}.b{color:red}"_s), u".a{}.b{color:red}");
}

TEST(SafeStyle, LosesThemWhateverStandsAroundThem)
{
    EXPECT_EQ(safeStyle(u"content:\";position:var(--p)"_s), u"content:\";");
    EXPECT_EQ(safeStyle(u"a:hover{position:var(--p)}@media x{b{color:red;position:var(--p)}}"_s),
              u"a:hover{}@media x{b{color:red;}}");
    EXPECT_EQ(safeStyle(u"x:\"{;}image(';src(y"_s), u"x:\"{;};");
}

TEST(SafeStyle, KeepsHonestFunctions)
{
    for (const QString& style :
         {u"color:rgb(1,2,3)"_s, u"width:calc(100% - 4px)"_s, u"background:linear-gradient(red,blue)"_s,
          u"background:-webkit-gradient(linear,0 0,0 100%,from(red))"_s, u"color:var(--ink, #333)"_s,
          u"transform:rotate(3deg)"_s, u"background-image:none"_s, u"--image (x)"_s,
          u".image:not(.src){color:red}"_s, u"a:my-image-fn(x)"_s, u"--image(x)"_s,
          u"position:relative;width:calc(1px)"_s})
        EXPECT_EQ(safeStyle(style), style);
}

TEST(SafeStyle, IsWhatElementsAndSheetsGet)
{
    EXPECT_EQ(sanitized(u"<p style=\"position:-webkit-sticky;top:0\">x</p>"_s), u"<p style=\";top:0\">x</p>");
    EXPECT_EQ(sanitized(u"<style>p{background:image('https://x');top:0}</style>"_s),
              u"<style>p{;top:0}</style>");
}

/// The rule read plainly: the text is cut at each mark, and a piece goes whole.
QString cutIntoPieces(const QString& filtered)
{
    static const QRegularExpression refusedFunction(
        u"(?:^|[^\\w\\-\\x{80}-\\x{10FFFF}])(?:-[\\w\\x{80}-\\x{10FFFF}]+-)?"_s +
            u"(?:image|image-set|cross-fade|src|url|element|paint)\\("_s,
        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression position(u"^\\s*position\\s*:([^!]*)"_s,
                                             QRegularExpression::CaseInsensitiveOption);
    static const QStringList allowed{u"static"_s,  u"relative"_s, u"initial"_s,
                                     u"inherit"_s, u"unset"_s,    u"revert"_s};
    QString result;
    qsizetype start = 0;
    for (qsizetype end = 0; end <= filtered.size(); ++end) {
        if (end < filtered.size() && !u";{}"_s.contains(filtered[end]))
            continue;
        const QString piece = filtered.sliced(start, end - start);
        const QRegularExpressionMatch match = position.match(piece);
        const bool isRefused =
            refusedFunction.match(piece).hasMatch() ||
            (match.hasMatch() && !allowed.contains(match.captured(1).trimmed(), Qt::CaseInsensitive));
        result += isRefused ? QString() : piece;
        if (end < filtered.size())
            result += filtered[end];
        start = end + 1;
    }
    return result;
}

TEST(SafeStyle, GivesWhatCuttingIntoPiecesGives)
{
    const QStringList parts{
        u"position"_s, u"Position"_s, u":"_s,        u" "_s,  u";"_s,   u"{"_s,     u"}"_s,    u"("_s,
        u")"_s,        u"image"_s,    u"-webkit-"_s, u"--"_s, u"src"_s, u"paint"_s, u"fixe"_s, u"static"_s,
        u"!"_s,        u"var"_s,      u"relative"_s, u"x"_s,  u"ü"_s,   u"\n"_s,    u"-"_s,    u"element"_s};
    std::mt19937 random(4);
    int changed = 0;
    for (int round = 0; round < 50'000; ++round) {
        QString style;
        for (auto count = random() % 14; count > 0; --count)
            style += parts[static_cast<qsizetype>(random() % static_cast<unsigned long>(parts.size()))];
        const QString filtered = HTMLSanitizer::sanitizeCSS(style);
        const QString safe = safeStyle(style);
        changed += safe == filtered ? 0 : 1;
        ASSERT_EQ(safe, cutIntoPieces(filtered)) << style.toStdString();
    }
    EXPECT_GT(changed, 1'000) << "hardly a style holds anything refused";
}

TEST(SafeStyle, ReadsMegabytesOfBracketsAndMarks)
{
    EXPECT_EQ(safeStyle(u"image("_s.repeated(300'000)), QString());
    EXPECT_EQ(safeStyle(u";"_s.repeated(1'000'000) + u"src(x"_s).size(), 1'000'000);
    EXPECT_EQ(safeStyle(u"a("_s.repeated(500'000)).size(), 1'000'000);
    EXPECT_EQ(safeStyle(u"position:x "_s.repeated(100'000)), QString());
    EXPECT_EQ(safeStyle(u"a:position:x "_s.repeated(100'000)).size(), 1'300'000);
}

} // namespace
} // namespace Larkhaven
