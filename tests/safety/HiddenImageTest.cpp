#include "SanitizerSupport.h"
#include "safety/HTMLSanitizer.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// The trackers of a message, which must be the same with consent and without.
int trackersIn(const QString& html)
{
    const SanitizedHTML without = HTMLSanitizer::sanitize(html, {});
    const SanitizedHTML with = HTMLSanitizer::sanitize(html, withRemoteImages());
    EXPECT_EQ(without.trackers, with.trackers) << html.toStdString();
    EXPECT_EQ(with.document.contains(u"x.example"), with.trackers == 0) << html.toStdString();
    return with.trackers;
}

QString image(const QString& attributes)
{
    return u"<img src=\"https://x.example/a.png\" "_s + attributes + u'>';
}

QString within(const QString& before, const QString& after = {})
{
    return before + image({}) + after;
}

TEST(HiddenImage, IsATrackerByTheSizeThatThePageGets)
{
    for (const QString& attributes :
         {u"width=\"&#49;\""_s, u"width=&#x31; height=&#x31;"_s, u"width=1.0"_s, u"width=1.9"_s,
          u"width=\"1;\""_s, u"width=\" 1\""_s, u"width=1em"_s, u"width=1e0"_s, u"width=0.9px"_s,
          u"width=\"+1.0\""_s, u"width=1%"_s, u"width=0x10"_s, u"width=\"calc(1px)\""_s, u"height=1.5px"_s,
          u"width=3.9 height=3.9"_s, u"width=3.5 height=\"3;\""_s})
        EXPECT_EQ(trackersIn(image(attributes)), 1) << attributes.toStdString();
}

TEST(HiddenImage, IsATrackerByTheSizeInItsStyle)
{
    for (const QString& style : {u"width:1.0px"_s,
                                 u"width:/**/1px"_s,
                                 u"width:\t1px"_s,
                                 u"width:\\31px"_s,
                                 u"height:1e0px"_s,
                                 u"width:calc(1px)"_s,
                                 u"width:CALC( 2px - 1px )"_s,
                                 u"width:calc(100% * 0)"_s,
                                 u"width:min(1px,100%)"_s,
                                 u"width:max(0px, 1px)"_s,
                                 u"width:clamp(0px, 100%, 1px)"_s,
                                 u"max-width:1.5px"_s,
                                 u"max-height: 0.1em"_s,
                                 u"width:.06em"_s,
                                 u"height:0.02in"_s,
                                 u"width:0.5mm"_s,
                                 u"width:1pt"_s,
                                 u"width:3px;height:3px"_s,
                                 u"max-width:3.5px;max-height:3.5px"_s,
                                 u"inline-size:1px"_s,
                                 u"max-block-size:1px"_s,
                                 u"width:0.01vw"_s,
                                 u"width:var(--w)"_s,
                                 u"width:1px!important"_s,
                                 u"width:-webkit-calc(1px)"_s,
                                 u"width:calc(1px"_s})
        EXPECT_EQ(trackersIn(image(u"style=\""_s + style + u'"')), 1) << style.toStdString();
}

TEST(HiddenImage, IsATrackerWhereItsStyleHidesIt)
{
    for (const QString& style : {u"display:/**/none"_s,
                                 u"display:\tnone"_s,
                                 u"DISPLAY:NONE !important"_s,
                                 u"display:n\\6fne"_s,
                                 u"display:contents"_s,
                                 u"display:var(--d)"_s,
                                 u"visibility:\ncollapse"_s,
                                 u"visibility:\thidden"_s,
                                 u"opacity:.01"_s,
                                 u"opacity:1%"_s,
                                 u"opacity:calc(0.5 * 0.01)"_s,
                                 u"opacity:5e-3"_s,
                                 u"filter:opacity(0)"_s,
                                 u"clip:rect(0,0,0,0)"_s,
                                 u"clip:rect(1px 1px 1px 1px)"_s,
                                 u"clip-path:inset(50%)"_s,
                                 u"clip-path:circle(0)"_s,
                                 u"-webkit-clip-path:inset(100%)"_s,
                                 u"clip-path:polygon(0 0, 0 0, 0 0)"_s,
                                 u"margin-left:-9999px"_s,
                                 u"margin:0 0 0 -2000px"_s,
                                 u"position:relative;left:-9999px"_s,
                                 u"position:relative;top:9999px"_s,
                                 u"transform:scale(0)"_s,
                                 u"transform:scale(.01,.01)"_s,
                                 u"-webkit-transform:translateX(-9999px)"_s,
                                 u"transform:translate(0,-200em)"_s,
                                 u"scale:0"_s,
                                 u"zoom:0.01"_s,
                                 u"content-visibility:hidden"_s})
        EXPECT_EQ(trackersIn(image(u"style=\""_s + style + u'"')), 1) << style.toStdString();
    EXPECT_EQ(trackersIn(image(u"hidden"_s)), 1);
    EXPECT_EQ(trackersIn(image(u"HIDDEN=\"until-found\""_s)), 1);
    EXPECT_EQ(trackersIn(image(u"style=\"display&colon;&#110;one\""_s)), 1);
}

TEST(HiddenImage, IsATrackerWithinWhatIsHidden)
{
    for (const QString& ancestor :
         {u"<div style=\"display:none\">"_s, u"<div hidden>"_s, u"<td style='visibility:hidden'><b>"_s,
          u"<div style=\"display:none\"><table><tr><td><p>"_s, u"<span style=\"opacity:0.01\"><i>"_s,
          u"<div style=\"height:0;overflow:hidden\">"_s,
          u"<div style=\"max-height:1px;overflow-y:hidden\">"_s, u"<div style=\"width:0px;overflow:clip\">"_s,
          u"<div style=\"margin-left:-9999px\">"_s, u"<div style=\"text-indent:-9999px\">"_s,
          u"<div style=\"transform:scale(0)\">"_s, u"<a href=https://x style=\"display:none\">"_s,
          u"<div style=\"display:none!important;display:block\">"_s,
          u"<div style=\"clip-path:inset(50%)\"><div style=\"display:block\">"_s})
        EXPECT_EQ(trackersIn(within(ancestor)), 1) << ancestor.toStdString();
}

TEST(HiddenImage, IsJudgedByItsOwnStyleAmongManyThatAreNearlyTheSame)
{
    for (const QString& style : {u"%1;color:red;width:%2px;color:red"_s, u"width:%2px;color:r%1"_s,
                                 u"color:red;c:%1;width:%2px"_s}) {
        QString html;
        int hidden = 0;
        for (int number = 0; number < 500; ++number) {
            const int width = number % 3 == 0 ? 1 : 5;
            hidden += width == 1 ? 1 : 0;
            html += image(u"style=\""_s + style.arg(number % 7, 3, 10, QChar(u'0')).arg(width) + u'"');
        }
        EXPECT_EQ(HTMLSanitizer::sanitize(html, {}).trackers, hidden) << style.toStdString();
    }
}

TEST(HiddenImage, IsATrackerWhereAStyleSheetHidesIt)
{
    for (const QString& rule :
         {u".h{display:none}"_s, u"div{display:none}"_s, u"DIV.h{visibility:hidden}"_s,
          u"@charset 'x';.h{opacity:0}"_s, u"p, .h , i{height:0;overflow:hidden}"_s,
          u"@media print{p{color:red}}.h{display:none}"_s, u".h{overflow:hidden}.h{max-height:0}"_s})
        EXPECT_EQ(trackersIn(u"<style>"_s + rule + u"</style>"_s + within(u"<div class=\"a h\">"_s)), 1)
            << rule.toStdString();
    EXPECT_EQ(trackersIn(u"<style>.p{width:1px}</style>"_s + image(u"class=p"_s)), 1);
    EXPECT_EQ(trackersIn(u"<style>img{width:3px}.p{height:3px}</style>"_s + image(u"class=p"_s)), 1);
    EXPECT_EQ(trackersIn(u"<style>img.p{display:none}</style>"_s + image(u"class=p"_s)), 1);
    EXPECT_EQ(trackersIn(u"<style>.h{overflow:hidden}</style>"_s + within(u"<div class=h style=height:0>"_s)),
              1);
}

TEST(HiddenImage, IsATrackerAlsoWhereTheStyleSheetComesLater)
{
    const QString html = u"<a href=https://y.example/>one</a>"_s + within(u"<div class=h>"_s, u"</div>"_s) +
                         u"<style>.h{display:none}</style><a href=https://z.example/>two</a>"_s;
    EXPECT_EQ(trackersIn(html), 1);
    const SanitizedHTML result = HTMLSanitizer::sanitize(html, {});
    ASSERT_EQ(result.links.size(), 2);
    EXPECT_EQ(result.links[0].text, u"one");
    EXPECT_EQ(result.links[1].text, u"two");
    EXPECT_EQ(result.document.count(u"<style>.h"), 1);
    EXPECT_EQ(result.blockedRemoteImages, 0);
}

TEST(HiddenImage, IsATrackerWithinAForwardedMessageByTheStylesOfTheOuterOne)
{
    HTMLSanitizer::Section outer;
    outer.html = u"<style>.h{display:none}</style>"_s;
    HTMLSanitizer::Section inner;
    inner.depth = 1;
    inner.html = u"<style>.k{display:none}</style>"_s + within(u"<div class=h>"_s, u"</div>"_s) +
                 within(u"<div class=k>"_s);
    EXPECT_EQ(HTMLSanitizer::sections({outer, inner}, withRemoteImages()).trackers, 1);
}

TEST(HiddenImage, IsATrackerByWhatItsURLStandsFor)
{
    for (const QString& source :
         {u"https://x.example/%70ixel.gif"_s, u"https://x.example/%6Fpen/1"_s, u"https://x.example/%4Fpen"_s,
          u"https://x.example%2Fopen"_s, u"https://x.example/a%zz/%74rack?x"_s,
          u"https://x.example/%2fopen"_s, u"https://a.send%67rid.net/x.png"_s,
          u"https://PIXEL.x.example/a.png"_s, u"https://x.example/a?%62eacon"_s,
          u"https://x.example/imp%3Fid"_s, u"https://x.example/%62EACON"_s}) {
        const QString html = u"<img width=600 src=\""_s + source + u"\">"_s;
        const SanitizedHTML result = HTMLSanitizer::sanitize(html, withRemoteImages());
        EXPECT_FALSE(result.document.contains(u"x.example")) << source.toStdString();
        // A host that can't be read is no tracker's: it is no URL at all.
        const bool isURL = !source.contains(u"example%2F");
        EXPECT_EQ(result.trackers, isURL ? 1 : 0) << source.toStdString();
        EXPECT_EQ(HTMLSanitizer::leadsToTracker(source), isURL) << source.toStdString();
    }
    EXPECT_FALSE(HTMLSanitizer::leadsToTracker(u"https://x.example/%7Eann/100%25/%C3%A4.png"_s));
    EXPECT_FALSE(HTMLSanitizer::leadsToTracker(u"https://x.example/a%2570.png"_s));
    EXPECT_FALSE(HTMLSanitizer::leadsToTracker(u"nonsense/open"_s));
}

TEST(HiddenImage, IsNoTrackerWhereItCanBeSeen)
{
    for (const QString& attributes : {u"width=\"100%\""_s,
                                      u"width=600 height=2"_s,
                                      u"height=40"_s,
                                      u"width=4 height=3"_s,
                                      u"width=2%"_s,
                                      u"width=auto"_s,
                                      u"width=\"\""_s,
                                      u"width=20 height=20 alt=spacer"_s,
                                      u"style=\"max-width:100%\""_s,
                                      u"style=\"max-width:100%;height:auto;display:block;border:0\""_s,
                                      u"style=\"width:100%;max-width:600px\""_s,
                                      u"style=\"width:calc(100% - 20px)\""_s,
                                      u"style=\"width:min(100%, 600px)\""_s,
                                      u"style=\"max-height:none;min-width:20px\""_s,
                                      u"style=\"opacity:1\""_s,
                                      u"style=\"opacity:.5\""_s,
                                      u"style=\"display:inline-block;vertical-align:middle\""_s,
                                      u"style=\"margin:0 auto -4px\""_s,
                                      u"style=\"margin-top:-40px\""_s,
                                      u"style=\"position:relative;top:-10px\""_s,
                                      u"style=\"clip-path:circle(50%)\""_s,
                                      u"style=\"clip-path:inset(10px)\""_s,
                                      u"style=\"transform:scale(1.05)\""_s,
                                      u"style=\"transform:rotate(0deg)\""_s,
                                      u"style=\"overflow:hidden;border-radius:50%\""_s,
                                      u"style=\"font-size:0;line-height:normal\""_s,
                                      u"style=\"mso-hide:all\""_s,
                                      u"style=\"zoom:100%\""_s,
                                      u"style=\"filter:opacity(100%)\""_s,
                                      u"style=\"--w:0;--d:none\""_s,
                                      u"style=\"color:var(--c);background:transparent\""_s,
                                      u"style=\"clip:rect(0,100px,100px,0)\""_s,
                                      u"style=\"width:600px;height:3px\""_s,
                                      u"class=h"_s})
        EXPECT_EQ(trackersIn(image(attributes)), 0) << attributes.toStdString();
    for (const QString& ancestor :
         {u"<td style=\"font-size:0;line-height:0\">"_s, u"<td height=1 width=1>"_s,
          u"<div style=\"overflow:hidden\">"_s, u"<div style=\"width:0\">"_s,
          u"<div style=\"display:none\">x</div>"_s, u"<span hidden>x</span>"_s,
          u"<td style=\"color:transparent\">"_s, u"<div style=\"max-height:400px;overflow:hidden\">"_s})
        EXPECT_EQ(trackersIn(within(ancestor)), 0) << ancestor.toStdString();
    for (const QString& rule : {u"@media (max-width:480px){.h{display:none!important}}"_s,
                                u".h2{display:none}"_s, u".h i{display:none}"_s, u".h{font-size:0}"_s,
                                u".h:hover{display:none}"_s, u"#h{display:none}"_s, u".h{max-width:100%}"_s})
        EXPECT_EQ(trackersIn(u"<style>"_s + rule + u"</style>"_s + within(u"<div class=\"h\">"_s)), 0)
            << rule.toStdString();
}

TEST(HiddenImage, IsAnyWhereADocumentHasMoreRulesThanAreKept)
{
    QString sheet = u"<style>"_s;
    for (int i = 0; i < 10'000; ++i)
        sheet += u".a%1{width:0}"_s.arg(i);
    EXPECT_EQ(trackersIn(sheet + u"</style>"_s + image(u"width=600"_s)), 0);
    EXPECT_EQ(trackersIn(sheet + u".b{width:0}</style>"_s + image(u"width=600"_s)), 1);
}

TEST(HiddenImage, IsFoundInDeepAndLongMessages)
{
    const QString deep = u"<b style=\"margin:0\" class=\"a b c\">"_s.repeated(200'000);
    EXPECT_EQ(trackersIn(deep + image(u"width=9.5"_s)), 0);
    EXPECT_EQ(trackersIn(u"<i hidden>"_s + deep + image(u"width=9.5"_s)), 1);
    const QString nested = u"width:"_s + u"calc("_s.repeated(100'000) + u"1px"_s;
    EXPECT_EQ(trackersIn(image(u"style=\""_s + nested + u"\""_s)), 0);
    EXPECT_EQ(trackersIn(image(u"style=\"margin:"_s + u"-1px "_s.repeated(100'000) + u"\""_s)), 0);
}

TEST(DataImage, IsKeptOnlyWithAWholeTypeThatIsAllowed)
{
    for (const QString& source : {u"data:image/png+xml,x"_s, u"data:image/pngx;base64,eA"_s,
                                  u"data:image/gif-x;base64,eA"_s, u"data:image/jpeg2000,x"_s})
        EXPECT_EQ(sanitized(u"<img src=\""_s + source + u"\">"_s), QString()) << source.toStdString();
    for (const QString& source :
         {u"data:image/png;base64,eA"_s, u"data:IMAGE/PNG,x"_s, u"data:image/jpg;base64,eA"_s})
        EXPECT_EQ(sanitized(u"<img src=\""_s + source + u"\">"_s),
                  QString(u"<img src=\""_s + source + u"\">"_s));
}

} // namespace
} // namespace Larkhaven
