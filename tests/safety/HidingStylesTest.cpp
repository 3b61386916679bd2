#include "safety/CSSValues.h"
#include "safety/HTMLSanitizer.h"
#include "safety/StyleRules.h"
#include "safety/VisibleText.h"
#include "support/QtPrinters.h"

#include <array>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

constexpr qsizetype enough = 1'000'000;

QString visible(const QString& html)
{
    return VisibleText::ofSanitized(HTMLSanitizer::sanitize(html, {}).document, enough);
}

/// What is seen of "x" in a block with the style, between two others.
QString seenIn(const QString& tag, const QString& style)
{
    return visible(u"<p>a</p><%1 style=\"%2\">x</%1><p>b</p>"_s.arg(tag, style)).simplified();
}

constexpr auto hidden = "a b";
constexpr auto shown = "a x b";

TEST(HidingStyles, HideByEachOfTheirProperties)
{
    for (const QString& style : {u"display:none"_s,
                                 u"display:none;display:foo"_s,
                                 u"display:none!important;display:block"_s,
                                 u"visibility:hidden"_s,
                                 u"visibility:collapse"_s,
                                 u"opacity:0"_s,
                                 u"opacity:.01"_s,
                                 u"opacity:2%"_s,
                                 u"opacity:.14"_s,
                                 u"font-size:4.9px"_s,
                                 u"height:5px;overflow:hidden"_s,
                                 u"background:conic-gradient(var(--x));color:white"_s,
                                 u"filter:opacity(0)"_s,
                                 u"filter:blur(1px) opacity(0%)"_s,
                                 u"content-visibility:hidden"_s,
                                 u"--ink:#fff;color:var(--ink)"_s,
                                 u"--ink:WHITE;color:VAR( --ink )"_s,
                                 u"color:var(--none,#fff)"_s,
                                 u"color:var(--none,var(--other,var(--third,white)))"_s,
                                 u"--a:255;--b:var(--a),var(--a);color:rgb(var(--b),var(--a))"_s,
                                 u"color:env(nothing,white)"_s,
                                 u"--d:none;display:var(--d)"_s,
                                 u"--s:0;font:var(--s)/1 Arial"_s,
                                 u"--ink:black;--ink:white;color:var(--ink)"_s,
                                 u"--ink:white!important;--ink:black;color:var(--ink)"_s,
                                 u"color:black;color:var(--none,white)"_s,
                                 u"color:canvas"_s,
                                 u"font-size:0"_s,
                                 u"font-size:1px"_s,
                                 u"font-size:.1em"_s,
                                 u"font-size:3%"_s,
                                 u"font-size:2pt"_s,
                                 u"font-size:calc(3px - 2px)"_s,
                                 u"font-size:min(0px, 14px)"_s,
                                 u"font:0/0 a"_s,
                                 u"font:italic 700 1px/1.5 Arial"_s,
                                 u"zoom:.01"_s,
                                 u"max-height:0;overflow:hidden"_s,
                                 u"max-height:1px;overflow:hidden"_s,
                                 u"height:0;overflow:hidden"_s,
                                 u"height:0;overflow:auto"_s,
                                 u"height:2px;overflow-y:hidden"_s,
                                 u"width:0;overflow:hidden"_s,
                                 u"max-width:1px;overflow:clip"_s,
                                 u"width:1px;height:1px;overflow:hidden"_s,
                                 u"line-height:0;overflow:hidden"_s,
                                 u"color:transparent"_s,
                                 u"color:#fff"_s,
                                 u"color:#FFFFFF"_s,
                                 u"color:#fffffe"_s,
                                 u"color:#ffff"_s,
                                 u"color:#fefefeff"_s,
                                 u"color:#00000000"_s,
                                 u"color:white"_s,
                                 u"color:snow"_s,
                                 u"color:rgb(255,255,255)"_s,
                                 u"color:rgb(100% 99% 98%)"_s,
                                 u"color:rgba(0,0,0,.05)"_s,
                                 u"color:hsl(0,0%,100%)"_s,
                                 u"color:hsla(120deg 50% 50% / 5%)"_s,
                                 u"color:hwb(90 100% 0%)"_s,
                                 u"-webkit-text-fill-color:white"_s,
                                 u"background:#000;color:#111"_s,
                                 u"background-color:navy;color:#000080"_s,
                                 u"background:red;color:rgb(250,5,5)"_s,
                                 u"background:linear-gradient(white, #fefefe);color:white"_s,
                                 u"background:none #222;color:#202020"_s,
                                 u"background-color:rgba(0,0,0,.05);color:#f5f5f5"_s,
                                 u"color:white;text-shadow:0 0 2px #fff"_s,
                                 u"text-indent:-9999px"_s,
                                 u"text-indent:-999em"_s,
                                 u"text-indent:-100%"_s,
                                 u"margin-left:-9999px"_s,
                                 u"margin:0 0 0 -2000px"_s,
                                 u"margin:-9999px"_s,
                                 u"margin-top:-5000px"_s,
                                 u"position:relative;left:-9999px"_s,
                                 u"position:relative;right:200em"_s,
                                 u"position:relative;top:-9999px"_s,
                                 u"position:relative;inset:-9999px"_s,
                                 u"transform:translate(-9999px)"_s,
                                 u"transform:translateX(-200%)"_s,
                                 u"transform:translate3d(0,-9999px,0)"_s,
                                 u"-webkit-transform:scale(0)"_s,
                                 u"transform:scale(1,.01)"_s,
                                 u"transform:scaleY(0)"_s,
                                 u"transform:matrix(0,0,0,0,0,0)"_s,
                                 u"transform:rotateX(90deg)"_s,
                                 u"clip-path:inset(100%)"_s,
                                 u"clip-path:inset(50%)"_s,
                                 u"clip-path:inset(0 100% 0 0)"_s,
                                 u"clip-path:circle(0)"_s,
                                 u"clip-path:polygon(0 0, 0 0, 0 0)"_s})
        EXPECT_EQ(seenIn(u"div"_s, style), QLatin1StringView(hidden)) << style.toStdString();
}

/// What is left out of a quote though it was seen deceives as well.
TEST(HidingStyles, ShowWhatTheEngineShows)
{
    for (const QString& style :
         {u"--ink:black;color:var(--ink)"_s,
          u"color:var(--none)"_s,
          u"color:white;color:var(--none)"_s,
          u"--ink:white;color:var(--Ink)"_s,
          u"--ink:initial;color:var(--ink,black)"_s,
          u"--a:var(--b);--b:var(--a);color:var(--a,black)"_s,
          u"--a:var(--a);color:var(--a,black)"_s,
          u"--ink:white;color:black!important;color:var(--ink)"_s,
          u"width:var(--w)"_s,
          u"display:block"_s,
          u"display:foo"_s,
          u"display:none;display:inline"_s,
          u"display:none;all:initial"_s,
          u"display:none!important;all:unset!important"_s,
          u"font-family:'a;display:none'"_s,
          u"content:\";display:none\""_s,
          u"visibility:visible"_s,
          u"opacity:.2"_s,
          u"opacity:zero"_s,
          u"font-size:5px"_s,
          u"font-size:1"_s,
          u"font-size:x-small"_s,
          u"font:700 12px/0 Arial"_s,
          u"zoom:1"_s,
          u"height:0"_s,
          u"max-height:0"_s,
          u"line-height:0"_s,
          u"line-height:0;height:20px;overflow:hidden"_s,
          u"height:0%;overflow:hidden"_s,
          u"max-height:0;min-height:20px;overflow:hidden"_s,
          u"height:6px;overflow:hidden"_s,
          u"overflow:hidden"_s,
          u"color:#ccc"_s,
          u"color:#d7d7d7"_s,
          u"color:yellow"_s,
          u"color:nonsense"_s,
          u"color:#fffff"_s,
          u"background:#000;color:#fff"_s,
          u"background-color:#1a73e8;color:white"_s,
          u"background:linear-gradient(90deg, #000 0%, navy 100%);color:white"_s,
          u"background:linear-gradient(white, black);color:white"_s,
          u"background:linear-gradient(canvastext,canvastext);color:white"_s,
          u"color:white;text-shadow:0 0 2px #000"_s,
          u"color:transparent;background:linear-gradient(red,blue);-webkit-background-clip:text"_s,
          u"color:rgba(0,0,0,.5)"_s,
          u"text-indent:2em"_s,
          u"margin-left:-10px"_s,
          u"margin:0 auto"_s,
          u"left:-9999px"_s,
          u"position:absolute;left:-9999px"_s,
          u"position:absolute;clip:rect(0,0,0,0)"_s,
          u"clip:rect(0,0,0,0)"_s,
          u"transform:rotate(5deg)"_s,
          u"transform:scale(.5)"_s,
          u"clip-path:inset(1%)"_s,
          u"clip-path:circle(50%)"_s,
          u"mso-hide:all"_s})
        EXPECT_EQ(seenIn(u"div"_s, style), QLatin1StringView(shown)) << style.toStdString();
}

TEST(HidingStyles, KnowThatBoxesWithinALineHaveNoSize)
{
    for (const QString& style : {u"max-height:0;overflow:hidden"_s, u"width:0;overflow:hidden"_s,
                                 u"transform:scale(0)"_s, u"text-indent:-9999px"_s}) {
        EXPECT_EQ(seenIn(u"span"_s, style), QLatin1StringView(shown)) << style.toStdString();
        for (const QString& box : {u"display:inline-block;"_s, u"display:block;"_s, u"float:left;"_s})
            EXPECT_EQ(seenIn(u"span"_s, box + style), QLatin1StringView(hidden))
                << (box + style).toStdString();
        EXPECT_EQ(visible(u"<div style=display:flex>a<span style='"_s + style + u"'>x</span></div>"_s), u"a");
    }
    EXPECT_EQ(visible(u"<table><tr><td style='height:0;overflow:hidden'>x</table>"_s), u"x");
    EXPECT_EQ(visible(u"<table style='margin-left:-9999px'><tr><td>x</table>a"_s), u"a");
    EXPECT_EQ(visible(u"<table><tr><td style='margin-left:-9999px'>x</table>"_s), u"x");
}

TEST(HidingStyles, AreInheritedAndTakenBack)
{
    EXPECT_EQ(visible(u"<div style='color:#fff'>x<p><b>y</b></p><i style='color:#000'>a</i></div>"_s), u"a");
    EXPECT_EQ(visible(u"<div style='color:#fff'><p style='color:inherit'>x</p></div>a"_s), u"a");
    EXPECT_EQ(visible(u"<div style='color:#fff'>x<p style='background:#000'>a</p></div>"_s), u"a");
    EXPECT_EQ(
        visible(
            u"<div style='font-size:0'>x<p style='font-size:2em'>y</p><p style='font-size:1rem'>a</div>"_s),
        u"a");
    EXPECT_EQ(visible(u"<div style='opacity:.3'><p style='opacity:.3'>x</p>a</div>"_s), u"a");
    EXPECT_EQ(visible(u"<div style='zoom:.5'><p style='zoom:.5'>x</p>a</div>"_s), u"a");
    EXPECT_EQ(visible(u"<div style='margin-left:-500px'><p style='margin-left:-500px'>x</p>a</div>"_s), u"a");
    EXPECT_EQ(visible(u"<div style='text-indent:-9999px'>x<br>a<p>y</p></div>"_s), u"a");
    EXPECT_EQ(
        visible(u"<div style='line-height:0;overflow:hidden'>x<p style='line-height:1.5'>a</p></div>"_s),
        u"a");
    EXPECT_EQ(visible(u"<div style='clip-path:inset(100%)'>x<p style='clip-path:none'>y</p></div>a"_s), u"a");
    EXPECT_EQ(visible(u"<div style='text-shadow:0 0 1px #000'><p style='color:#fff'>a</p></div>"_s), u"a");
}

TEST(HidingStyles, KnowTheGroundOfATable)
{
    EXPECT_EQ(visible(u"<table bgcolor='#000000'><tr><td><font color=white>a</font></table>"_s), u"a");
    EXPECT_EQ(
        visible(u"<table bgcolor=black><tr><td style='background:#fff'><font color=white>x</font></table>"_s),
        u"");
    EXPECT_EQ(visible(u"<table><tr bgcolor='navy'><td><span style='color:#fff'>a</span></table>"_s), u"a");
    EXPECT_EQ(visible(u"<table><tr><td bgcolor='ffffff'><font color='#fefefe'>x</font></table>"_s), u"");
    EXPECT_EQ(
        visible(u"<font color=FFFFFF>x</font><font color=white><b>y</b></font><font color=red>a</font>"_s),
        u"a");
    EXPECT_EQ(visible(u"<font color='white' style='color:black'>a</font>"_s), u"a");
    EXPECT_EQ(visible(u"<div bgcolor=black><font color=white>x</font></div>"_s), u"") << "of tables alone";
    EXPECT_EQ(visible(u"<style>td{color:white;background:#0a0}</style><table><tr><td>a</table>"_s), u"a");
}

TEST(HidingStyles, ComeFromRulesForTagsClassesAndBoth)
{
    const auto ruled = [](const QString& sheet) {
        return visible(u"<style>"_s + sheet + u"</style><div class='m n'><p class=\"k l\">x</p></div>"_s);
    };
    for (const QString& sheet : {u"p{display:none}"_s,
                                 u".k{display:none}"_s,
                                 u"p.l{display:none}"_s,
                                 u".k.l{display:none}"_s,
                                 u"*{visibility:hidden}"_s,
                                 u"h1, .k , h2{font-size:0}"_s,
                                 u"div p{display:none}"_s,
                                 u".m .k{display:none}"_s,
                                 u"div>p{display:none}"_s,
                                 u".n > *{display:none}"_s,
                                 u"body div.m p{display:none}"_s,
                                 u"P{DISPLAY:NONE}"_s,
                                 u".k{color:#fff}"_s,
                                 u"div{color:#fff}"_s,
                                 u"body{color:#fff}"_s,
                                 u"@media screen{.k{display:none}}"_s,
                                 u"@media all and (min-width:10px){.k{display:none}}"_s,
                                 u"@supports (display:grid){.k{display:none}}"_s,
                                 u"@import 'x';.k{display:none}"_s,
                                 u".k{display:none}.z{}"_s,
                                 u"p{display:block}.k{display:none}"_s,
                                 u".k{display:none}p{display:block}"_s,
                                 u"p{display:none!important}.k{display:block}"_s,
                                 u".k{display:block}.k{display:none}"_s,
                                 u"@charset 'x';p{display:none}"_s})
        EXPECT_EQ(ruled(sheet), u"") << sheet.toStdString();
    for (const QString& sheet : {u"q{display:none}"_s,
                                 u".K{display:none}"_s,
                                 u"div.k{display:none}"_s,
                                 u".k.m{display:none}"_s,
                                 u"p div{display:none}"_s,
                                 u".k > p{display:none}"_s,
                                 u"body>p{display:none}"_s,
                                 u"#k{display:none}"_s,
                                 u"p:hover{display:none}"_s,
                                 u".k!{display:none}"_s,
                                 u"p,!{display:none}"_s,
                                 u"@media print{.k{display:none}}"_s,
                                 u"@media (max-width:600px){.k{display:none}}"_s,
                                 u"@media not all{.k{display:none}}"_s,
                                 u"@media (prefers-color-scheme:dark){.k{display:none}}"_s,
                                 u"@supports not (display:grid){.k{display:none}}"_s,
                                 u"@keyframes x{p{display:none}}"_s,
                                 u".k{display:none}.k{display:block}"_s,
                                 u"p.k{display:block}.k{display:none}"_s,
                                 u".k{display:none}div .k{display:block}"_s,
                                 u"p{display:none}*{display:block!important}"_s,
                                 u".k{content:'}p{display:none}'}"_s})
        EXPECT_EQ(ruled(sheet), u"x") << sheet.toStdString();
}

TEST(HidingStyles, OfTheElementCountMoreThanRules)
{
    EXPECT_EQ(visible(u"<style>.k.k.k{display:none}</style><p class=k style=display:block>a</p>"_s), u"a");
    EXPECT_EQ(visible(u"<style>p{display:none!important}</style><p style=display:block>x</p>"_s), u"");
    EXPECT_EQ(visible(u"<style>p{display:block!important}</style><p style=display:none>a</p>"_s), u"a");
    EXPECT_EQ(visible(u"<style>p{color:red}</style><p style='color:#fff'>x</p>"_s), u"");
}

TEST(HidingStyles, LeaveLinksAsTheReaderShowsThem)
{
    EXPECT_EQ(visible(u"<a style=display:none>a</a>"_s), u"a") << "of dead ones the reader takes the style";
    EXPECT_EQ(visible(u"<a href=https://x.example style=display:none>x</a>"_s), u"");
    EXPECT_EQ(visible(u"<div style=color:white><a href=https://x.example>a</a></div>"_s), u"a")
        << "in their own colour";
    EXPECT_EQ(visible(u"<div style=color:white><a>x</a></div>"_s), u"");
    EXPECT_EQ(visible(u"<style>a{color:white}</style><a href=https://x.example>x</a>"_s), u"");
}

TEST(HidingStyles, FoldWhatIsClosed)
{
    EXPECT_EQ(visible(u"<details>x<summary>a</summary><summary>y</summary><p>z</p></details>b"_s), u"a\nb");
    EXPECT_EQ(visible(u"<details open><summary>a</summary>b</details>"_s), u"a\nb");
}

TEST(StyleRules, CountOnlyUpToTheirBounds)
{
    const auto counts = [](const StyleRules& known, const QString& name) {
        StyleRules rules = known;
        const QList<QStringView> classes{name};
        const std::array path{StyledTag{u"p", classes}};
        DeclaredStyle style;
        EXPECT_TRUE(rules.find(path, style));
        return style.value(StyleProperty::display) == u"none";
    };
    StyleRules all;
    for (qsizetype index = 0; index <= StyleRules::mostRules; ++index)
        all.addSheet(u".c%1{display:none}"_s.arg(index));
    EXPECT_TRUE(counts(all, u"c0"_s));
    EXPECT_TRUE(counts(all, u"c%1"_s.arg(StyleRules::mostRules - 1)));
    EXPECT_FALSE(counts(all, u"c%1"_s.arg(StyleRules::mostRules)));
    StyleRules ofOne;
    for (std::size_t index = 1; index < StyleRules::mostOfOne; ++index)
        ofOne.addSheet(u".c{color:red}"_s);
    StyleRules oneMore = ofOne;
    ofOne.addSheet(u".c{display:none}"_s);
    EXPECT_TRUE(counts(ofOne, u"c"_s));
    oneMore.addSheet(u".c{color:red}.c{display:none}"_s);
    EXPECT_FALSE(counts(oneMore, u"c"_s));
}

TEST(HidingStyles, EndTheTextWhereTheirRulesTakeTooLong)
{
    QString sheet;
    for (int index = 0; index < 400; ++index)
        sheet += u"i.z%1 b b b b b b .k{display:none}"_s.arg(index);
    const QString document = u"<style>"_s + sheet + u"</style>"_s + u"<b>"_s.repeated(200) +
                             u"<b class=k>word</b> "_s.repeated(2'000);
    const QString text = visible(document);
    EXPECT_GT(text.size(), 0);
    EXPECT_LT(text.size(), 2'000 * 5 - 10);
}

TEST(CSSValues, ReadColors)
{
    using CSSValues::Color;
    EXPECT_EQ(CSSValues::color(u"#1a2b3c"), (Color{0x1a, 0x2b, 0x3c, 1}));
    EXPECT_EQ(CSSValues::color(u"#abc"), (Color{0xaa, 0xbb, 0xcc, 1}));
    EXPECT_EQ(CSSValues::color(u"rebeccapurple"), (Color{0x66, 0x33, 0x99, 1}));
    EXPECT_EQ(CSSValues::color(u"aliceblue"), (Color{0xf0, 0xf8, 0xff, 1}));
    EXPECT_EQ(CSSValues::color(u"yellowgreen"), (Color{0x9a, 0xcd, 0x32, 1}));
    EXPECT_EQ(CSSValues::color(u"rgba(10, 20, 30, 0.5)"), (Color{10, 20, 30, .5}));
    EXPECT_EQ(CSSValues::color(u"hsl(120, 100%, 50%)"), (Color{0, 255, 0, 1}));
    EXPECT_EQ(CSSValues::color(u"hsl(0.5turn 100% 50%)"), (Color{0, 255, 255, 1}));
    for (const QString& none :
         {u""_s, u"#"_s, u"#12"_s, u"#12345"_s, u"#ggg"_s, u"rgb(1,2)"_s, u"url(x)"_s, u"nothing"_s})
        EXPECT_FALSE(CSSValues::color(none)) << none.toStdString();
    EXPECT_EQ(CSSValues::legacyColor(u"fff"), (Color{0x0f, 0x0f, 0x0f, 1}));
    EXPECT_EQ(CSSValues::legacyColor(u"#fff"), (Color{255, 255, 255, 1}));
    EXPECT_EQ(CSSValues::legacyColor(u"ffffff"), (Color{255, 255, 255, 1}));
    EXPECT_EQ(CSSValues::legacyColor(u"chucknorris"), (Color{0xc0, 0, 0, 1}));
    EXPECT_FALSE(CSSValues::legacyColor(u""));
}

TEST(CSSValues, ReadLengths)
{
    const CSSValues::Measure measure{10, 200};
    EXPECT_EQ(CSSValues::length(u"12px", measure), 12);
    EXPECT_EQ(CSSValues::length(u"-1.5em", measure), -15);
    EXPECT_EQ(CSSValues::length(u"50%", measure), 100);
    EXPECT_EQ(CSSValues::length(u"3pt", measure), 4);
    EXPECT_EQ(CSSValues::length(u"+.5in", measure), 48);
    EXPECT_EQ(CSSValues::length(u"1e1px", measure), 10);
    EXPECT_EQ(CSSValues::length(u"0", measure), 0);
    EXPECT_EQ(CSSValues::length(u"calc(100% - 2em)", measure), 180);
    EXPECT_EQ(CSSValues::length(u"clamp(1px, 2em, 30px)", measure), 20);
    EXPECT_EQ(CSSValues::length(u"max(1px, 2px)", measure), 2);
    for (const QString& none :
         {u""_s, u"1"_s, u"px"_s, u"auto"_s, u"1px 2px"_s, u"calc(1px -)"_s, u"calc()"_s})
        EXPECT_FALSE(CSSValues::length(none, measure)) << none.toStdString();
}

} // namespace
} // namespace Larkhaven
