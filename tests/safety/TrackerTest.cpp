#include "SanitizerSupport.h"
#include "safety/HTMLSanitizer.h"
#include "safety/TrackerTables.h"
#include "support/QtPrinters.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using Attributes = QHash<QString, QString>;
using HTMLSanitizer::isTracker;

const QString harmless = u"https://images.example/a.png"_s;

bool isTrackerOfSize(const QString& width, const QString& height)
{
    return isTracker(harmless, {{u"width"_s, width}, {u"height"_s, height}});
}

bool isTrackerOfWidth(const QString& width)
{
    return isTracker(harmless, {{u"width"_s, width}});
}

TEST(IsTracker, TakesAnImageOfThreeByThree)
{
    EXPECT_TRUE(isTrackerOfSize(u"3"_s, u"3"_s));
    EXPECT_FALSE(isTrackerOfSize(u"4"_s, u"3"_s));
    EXPECT_FALSE(isTrackerOfSize(u"3"_s, u"4"_s));
}

TEST(IsTracker, TakesASingleEdgeBelowTwo)
{
    EXPECT_TRUE(isTrackerOfWidth(u"1"_s));
    EXPECT_TRUE(isTracker(harmless, {{u"height"_s, u"1"_s}}));
    EXPECT_TRUE(isTrackerOfSize(u"1"_s, u"600"_s));
    EXPECT_FALSE(isTrackerOfWidth(u"2"_s));
}

TEST(IsTracker, LeavesAnImageThatIsOnlyThreeWide)
{
    EXPECT_FALSE(isTrackerOfWidth(u"3"_s));
}

TEST(IsTracker, ReadsNoNumberFromAPercentage)
{
    EXPECT_FALSE(isTrackerOfWidth(u"100%"_s));
    EXPECT_FALSE(isTrackerOfWidth(u"1%"_s));
}

TEST(IsTracker, ReadsDimensionsWithUnitsAndSigns)
{
    for (const QString& width :
         {u"1px"_s, u" 1 px\t"_s, u"+1"_s, u"-1"_s, u"-600"_s, u"001"_s, u"xp1"_s, u"-9223372036854775807"_s})
        EXPECT_TRUE(isTrackerOfWidth(width)) << width.toStdString();
    for (const QString& width : {QString(), u"px"_s, u"1.5"_s, u"1PX"_s, u"\n1"_s, u"--1"_s, u"+"_s, u"1 1"_s,
                                 u"\u0661"_s, u"-99999999999999999999"_s, u"1em"_s})
        EXPECT_FALSE(isTrackerOfWidth(width)) << width.toStdString();
}

TEST(IsTracker, ComparesTheLoweredStyleWithoutSpaces)
{
    EXPECT_TRUE(isTracker(harmless, {{u"style"_s, u"WIDTH: 1PX"_s}}));
    EXPECT_TRUE(isTracker(harmless, {{u"style"_s, u"color:red; Display : None"_s}}));
    EXPECT_TRUE(isTracker(harmless, {{u"style"_s, u"max-width:0"_s}}));
    EXPECT_TRUE(isTracker(harmless, {{u"style"_s, u"width:0.5em"_s}}));
    EXPECT_TRUE(isTracker(harmless, {{u"style"_s, u"visibility:hidden"_s}}));
    EXPECT_TRUE(isTracker(harmless, {{u"style"_s, u"height:1px"_s}}));
    EXPECT_TRUE(isTracker(harmless, {{u"style"_s, u"height: 0"_s}}));
    EXPECT_TRUE(isTracker(harmless, {{u"style"_s, u"opacity:0"_s}}));
    EXPECT_FALSE(isTracker(harmless, {{u"style"_s, u"width:\t1px"_s}}));
    EXPECT_FALSE(isTracker(harmless, {{u"style"_s, u"width:10em;height:2px"_s}}));
}

TEST(IsTracker, LooksForPixelAnywhereBehindTheHostButInTheHostOnlyWithADot)
{
    EXPECT_TRUE(isTracker(u"https://x.example/a/PIXEL.gif"_s, {}));
    EXPECT_TRUE(isTracker(u"https://x.example?pixel"_s, {}));
    EXPECT_TRUE(isTracker(u"https://x.example/#pixel"_s, {}));
    EXPECT_TRUE(isTracker(u"https://pixel.example/a.png"_s, {}));
    EXPECT_FALSE(isTracker(u"https://pixels.example/a.png"_s, {}));
    EXPECT_FALSE(isTracker(u"https://pixel@x.example/a.png"_s, {}));
}

TEST(IsTracker, BeginsTheTextBehindTheHostWithThePort)
{
    EXPECT_TRUE(isTracker(u"https://x.example:8080/open"_s, {}));
    EXPECT_FALSE(isTracker(u"https://x.example:8080/0pen"_s, {}));
    EXPECT_TRUE(isTracker(u"https://[::1]/open"_s, {}));
}

TEST(IsTracker, TakesEveryFragmentOfHostsAndPaths)
{
    for (const QLatin1StringView fragment : HTMLSanitizer::trackerHostFragments)
        EXPECT_TRUE(isTracker(u"https://A."_s + fragment + u"b.example/x.png"_s, {})) << fragment.data();
    for (const QLatin1StringView fragment : HTMLSanitizer::trackerPathFragments)
        EXPECT_TRUE(isTracker(u"https://x.example/a"_s + fragment, {})) << fragment.data();
}

TEST(IsTracker, HasThirtyFourHostFragmentsOfWhichTwentyThreeAreDomains)
{
    const std::set<QString> words{u"hubspot"_s, u"hs-analytics"_s, u"mailtracker"_s,  u"bananatag"_s,
                                  u"pixel."_s,  u"tracking."_s,    u"track."_s,       u"trk."_s,
                                  u"click."_s,  u"open."_s,        u"intercom-mail"_s};
    std::set<QString> domains;
    std::set<QString> others;
    for (const QLatin1StringView fragment : HTMLSanitizer::trackerHostFragments) {
        const QString text = fragment;
        const bool isDomain = text.contains(u'.') && !text.endsWith(u'.');
        EXPECT_TRUE((isDomain ? domains : others).insert(text).second);
        EXPECT_EQ(text, text.toLower());
    }
    EXPECT_EQ(domains.size(), 23U);
    EXPECT_EQ(others, words);
    EXPECT_EQ(HTMLSanitizer::trackerPathFragments.size(), 9U);
}

TEST(IsTracker, LeavesASourceThatIsNoURLToOtherRules)
{
    EXPECT_FALSE(isTracker(u"https:///open"_s, {}));
    EXPECT_FALSE(isTracker(u"/open"_s, {}));
    EXPECT_FALSE(isTracker(u"https://x@y@z/open"_s, {}));
    EXPECT_TRUE(isTracker(u"nonsense"_s, {{u"width"_s, u"1"_s}}));
}

TEST(IsTracker, SeesThroughHostsInOtherScripts)
{
    EXPECT_TRUE(isTracker(u"https://a.sendgrid\u3002net/x.png"_s, {}));
    EXPECT_TRUE(isTracker(u"https://a.s%65ndgrid.net/x.png"_s, {}));
}

TEST(IsTracker, TakesTrackersOfAMessageInEveryMode)
{
    for (const bool allowRemoteImages : {false, true}) {
        SanitizerOptions options;
        options.allowRemoteImages = allowRemoteImages;
        for (const QString& image : {u"<img src=https://x.example/a.png width=3 height=3>"_s,
                                     u"<img src=https://x.example/a.png width=1>"_s,
                                     u"<img src=https://x.example/a.png style='WIDTH: 1PX'>"_s}) {
            const SanitizedHTML result = HTMLSanitizer::sanitize(image, options);
            EXPECT_EQ(result.trackers, 1);
            EXPECT_EQ(result.blockedRemoteImages, 0);
            EXPECT_EQ(bodyOf(result), QString());
        }
        const QString ordinary =
            u"<img src=https://x.example/a.png width=3><img src=https://x.example/a.png width=100%>"_s;
        EXPECT_EQ(HTMLSanitizer::sanitize(ordinary, options).trackers, 0);
    }
}

} // namespace
} // namespace Larkhaven
