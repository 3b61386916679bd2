#include "safety/VisibleText.h"

#include "safety/HTMLSanitizer.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

constexpr qsizetype enough = 1'000'000;

QString visible(const QString& html, qsizetype limit = enough)
{
    return VisibleText::ofSanitized(HTMLSanitizer::sanitize(html, {}).document, limit);
}

TEST(VisibleText, PutsBlocksOnLinesOfTheirOwn)
{
    EXPECT_EQ(visible(u"<div>a</div><div>b</div>c"_s), u"a\nb\nc");
    EXPECT_EQ(visible(u"<p>a</p><p>b</p>"_s), u"a\n\nb");
    EXPECT_EQ(visible(u"<h1>a</h1>b<div><div>c</div></div>d"_s), u"a\n\nb\nc\nd");
    EXPECT_EQ(visible(u"a<br>b<br><br>c"_s), u"a\nb\n\nc");
    EXPECT_EQ(visible(u"a <b>b</b><i>c</i>"_s), u"a bc");
}

TEST(VisibleText, RunsWhiteSpaceTogetherWhereHTMLDoes)
{
    EXPECT_EQ(visible(u"  a \r\n\t b  <b> c </b>  "_s), u"a b c");
    EXPECT_EQ(visible(u"<div> a </div>\n<div> b </div>"_s), u"a\nb");
    EXPECT_EQ(visible(u"<pre>a\n  b\n</pre>c"_s), u"a\n  b\n\nc");
    EXPECT_EQ(visible(u"a&nbsp;&nbsp;b"_s), u"a  b");
}

TEST(VisibleText, SeparatesCellsAndMarksListItems)
{
    EXPECT_EQ(visible(u"<table><tr><td>a</td><td>b</td></tr><tr><th>c</th><td>d</td></tr></table>"_s),
              u"a\tb\nc\td");
    EXPECT_EQ(visible(u"<ul><li>a</li><li>b</li></ul><ol start=3><li>c<li>d<ul><li>e</ul></ol>f"_s),
              u"• a\n• b\n3. c\n4. d\n• e\nf");
}

TEST(VisibleText, ResolvesReferences)
{
    EXPECT_EQ(visible(u"J&ouml;rg &amp; S&oslash;n &lt;b&gt; &#8364; &euro; &bull; &Auml;&auml"_s),
              u"Jörg & Søn <b> € € • Ää");
    EXPECT_EQ(visible(u"&amp;eacute; &unknown; &"_s), u"&eacute; &unknown; &");
    EXPECT_EQ(VisibleText::decodedReferences(u"&yuml;&iexcl;&frac34;&THORN;&thorn;&trade"_s), u"ÿ¡¾Þþ™");
}

TEST(VisibleText, LeavesOutWhatIsHidden)
{
    for (const QString& style : {u"display:none"_s, u"DISPLAY : None !important"_s, u"visibility:hidden"_s,
                                 u"visibility:collapse"_s, u"opacity:0"_s, u"opacity:0.0"_s, u"font-size:0"_s,
                                 u"font-size:0px"_s, u"color:transparent"_s, u"color:red;display:none"_s})
        EXPECT_EQ(visible(u"a<span style=\""_s + style + u"\">x<b>y</b></span>b"_s), u"ab")
            << style.toStdString();
    for (const QString& style :
         {u"display:block"_s, u"visibility:visible"_s, u"opacity:0.5"_s, u"opacity:.2"_s, u"font-size:10px"_s,
          u"height:0"_s, u"overflow:hidden"_s, u"color:#000"_s, u"display:none;display:inline"_s})
        EXPECT_EQ(visible(u"a<span style=\""_s + style + u"\">x</span>b"_s), u"axb") << style.toStdString();
    EXPECT_EQ(visible(u"a<div style='display:none'>x</div>b<br style='display:none'>c"_s), u"abc");
    EXPECT_EQ(visible(u"a<span style='display&#58;none'>x</span>b"_s), u"ab");
    EXPECT_EQ(visible(u"<title>x</title><script>y</script><!-- z -->a"_s), u"a");
}

TEST(VisibleText, ShowsWhatWithinAHiddenElementIsShownAgain)
{
    EXPECT_EQ(visible(u"<td style='font-size:0'>x<div style='font-size:13px'>a</div></td>"_s), u"a");
    EXPECT_EQ(visible(u"<p style='visibility:hidden'>x<b style='visibility:visible'>a</b></p>"_s), u"a");
    EXPECT_EQ(visible(u"<p style='color:transparent'>x<b style='color:#123'>a</b></p>"_s), u"a");
    EXPECT_EQ(visible(u"<p style='display:none'>x<b style='display:inline'>y</b></p>a"_s), u"a");
    EXPECT_EQ(visible(u"<p style='opacity:0'>x<b style='opacity:1'>y</b></p>a"_s), u"a");
}

TEST(VisibleText, KnowsTheSimpleRulesOfTheStyleSheets)
{
    EXPECT_EQ(visible(u"<style>.pre, i.q{display:none} u{visibility:hidden}</style>"
                      "<b class='x pre'>1</b><i class=q>2</i><b class=q>3</b><u>4</u><i>5</i>"_s),
              u"35");
    EXPECT_EQ(visible(u"<b class=pre>1</b>2<style>b.pre{font-size:0}</style>"_s), u"2");
    EXPECT_EQ(visible(u"<style>@media (max-width:600px){.a{display:none}} .b{display:none}</style>"
                      "<b class=a>1</b><b class=b>2</b>"_s),
              u"1");
    EXPECT_EQ(visible(u"<style>.Q{display:none} B.r{display:none}</style>"
                      "<i class=q>1</i><i class=Q>2</i><b class=r>3</b><i class=r>4</i>"_s),
              u"14");
    EXPECT_EQ(visible(u"<style>q > b, #a, [x], p:hover{display:none}</style><p><b>1</b></p>"_s), u"1");
}

TEST(VisibleText, KnowsTheVariablesOfTheElementsAround)
{
    // Each is what it is where it is used, and not what it is somewhere else.
    EXPECT_EQ(
        visible(u"<style>:root{--ink:#fff}p{color:var(--ink)}</style><p>one<p style=\"--ink:#000\">two"_s),
        u"two");
    EXPECT_EQ(visible(u"<div style=\"--ink:#000\">one</div><p style=\"color:var(--ink,#fff)\">two</p>"_s),
              u"one");
    EXPECT_EQ(
        visible(u"<div style=\"--ink:#fff\"><div style=\"--ink:inherit\"><b style=\"color:var(--ink)\">one"
                "</b></div><i style=\"--ink:initial;color:var(--ink)\">two</i></div>"_s),
        u"two");
    EXPECT_EQ(
        visible(u"<style>.a{--ink:#fff}</style><p class=\"a\"><b style=\"color:var(--ink)\">one</b>two"_s),
        u"two");
}

TEST(VisibleText, ResolvesVariablesOnlyUpToTheirBounds)
{
    QString doubling = u"--v0:white;"_s;
    for (int level = 1; level < 40; ++level)
        doubling += u"--v%1:var(--v%2)var(--v%2);"_s.arg(level).arg(level - 1);
    EXPECT_EQ(visible(u"<p style=\"%1color:var(--v39,black)\">one</p>"_s.arg(doubling)), u"one");
    const QString many = u"<p style=\"--a:1;--b:var(--a);color:var(--b,black)\">x</p>"_s.repeated(20'000);
    EXPECT_EQ(visible(many, 100'000).count(u'x'), 20'000);
    const QString rule = u"<style>b{%1}</style>"_s.arg(u"color:red;--x:1;"_s.repeated(30'000));
    EXPECT_EQ(visible(rule + u"<b>x</b> "_s.repeated(30'000), 100'000).count(u'x'), 30'000);
}

TEST(VisibleText, TellsNothingOfTheShellOfTheDocument)
{
    EXPECT_EQ(visible(u""_s), u"");
    EXPECT_EQ(visible(u"<img src=https://t.example/x.png>"_s), u"");
    EXPECT_EQ(VisibleText::ofSanitized(u"a"_s, enough), u"a");
}

TEST(VisibleText, FollowsALinkThatEndsBeforeWhatItHolds)
{
    EXPECT_EQ(visible(u"<a href=https://x><span style='display:none'>1<a href=https://y>2</a>3</span>4"_s),
              u"4");
    EXPECT_EQ(visible(u"<div>a</b></div></p>b"_s), u"a\nb");
}

TEST(VisibleText, EndsSoonBehindItsLimit)
{
    const QString endless = visible(u"<p>word</p>"_s.repeated(100'000), 1'000);
    EXPECT_GT(endless.size(), 1'000);
    EXPECT_LT(endless.size(), 1'010);
}

TEST(VisibleText, EndsOnHostileDocuments)
{
    for (const QString& part :
         {u"<div>"_s, u"<div style=\"display:none\">"_s, u"<b class=\"a b c\">"_s, u"<style>{}</style>"_s,
          u"<style>.a{display:none}</style>"_s, u"&"_s, u"&amp"_s, u"<li>"_s, u"<br>"_s, u"<td>"_s, u" "_s,
          u"<a href=https://x>"_s, u"<style>{{{"_s, u"<p style=\";:;:;:\">"_s})
        EXPECT_LE(visible(part.repeated(1'000'000 / part.size())).size(), 2'000'000) << part.toStdString();
    const QString endless(400'000, QChar(0x130));
    EXPECT_EQ(
        visible(u"<p style=\""_s + endless + u":"_s + endless + u"\" class=\""_s + endless + u"\">a</p>"_s),
        u"a");
}

} // namespace
} // namespace Larkhaven
