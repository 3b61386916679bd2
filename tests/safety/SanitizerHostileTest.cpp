#include "SanitizerSupport.h"
#include "safety/HTMLSanitizer.h"
#include "safety/LinkCleaner.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

// Messages of megabytes that would take hours if any step were quadratic. They are compared without being
// printed.

namespace Larkhaven {
namespace {

constexpr qsizetype hostileSize = 10'000'000;

bool gives(const QString& html, const QString& body)
{
    return sanitized(html) == body;
}

QString manyTimes(const QString& text)
{
    return text.repeated(hostileSize / text.size());
}

TEST(SanitizerUnderLoad, ReadsUnfinishedPieces)
{
    EXPECT_TRUE(gives(manyTimes(u"<!--"_s), QString()));
    EXPECT_TRUE(gives(manyTimes(u"<!"_s), QString()));
    EXPECT_TRUE(gives(manyTimes(u"<?"_s), QString()));
    EXPECT_TRUE(gives(manyTimes(u"</b"_s), QString()));
    EXPECT_TRUE(gives(manyTimes(u"<script>"_s), QString()));
    EXPECT_TRUE(gives(manyTimes(u"<script></"_s), QString()));
    EXPECT_TRUE(gives(u"<style>"_s + manyTimes(u"</"_s),
                      u"<style>"_s + u"/"_s.repeated(hostileSize / 2) + u"</style>"_s));
    EXPECT_TRUE(gives(manyTimes(u"<b x='"_s), u"<b></b>"_s));
    EXPECT_TRUE(gives(manyTimes(u"<b "_s), u"<b></b>"_s));
}

TEST(SanitizerUnderLoad, ReadsRunsOfOneCharacter)
{
    EXPECT_TRUE(gives(QString(hostileSize, u'<'), u"&lt;"_s.repeated(hostileSize)));
    EXPECT_TRUE(gives(QString(hostileSize, u'>'), u"&gt;"_s.repeated(hostileSize)));
    EXPECT_TRUE(gives(u"<b"_s + QString(hostileSize, u'b'), QString()));
    EXPECT_TRUE(gives(u"<b "_s + QString(hostileSize, u'/'), u"<b></b>"_s));
    EXPECT_TRUE(gives(u"<b "_s + QString(hostileSize, u'='), u"<b></b>"_s));
    EXPECT_TRUE(gives(u"<b "_s + manyTimes(u"a "_s), u"<b></b>"_s));
    EXPECT_TRUE(gives(u"<b "_s + manyTimes(u"title "_s), u"<b title=\"\"></b>"_s));
}

TEST(SanitizerUnderLoad, OpensAndClosesMillionsOfElements)
{
    const QString opening = u"<div>"_s.repeated(256);
    const QString closing = u"</div>"_s.repeated(256);
    EXPECT_TRUE(gives(manyTimes(u"<div>"_s), opening + closing));
    EXPECT_TRUE(gives(opening + manyTimes(u"</b>"_s), opening + closing));
    EXPECT_TRUE(gives(manyTimes(u"<b></b>"_s), manyTimes(u"<b></b>"_s)));
}

TEST(SanitizerUnderLoad, RecordsHundredsOfThousandsOfLinks)
{
    const QString link = u"<a href=mailto:a>"_s;
    const SanitizedHTML result = HTMLSanitizer::sanitize(manyTimes(link), withIndirectLinks());
    EXPECT_EQ(result.links.size(), hostileSize / link.size());
}

TEST(SanitizerUnderLoad, ReadsLongValues)
{
    const QString nest = u"java"_s.repeated(100'000) + u"script:"_s.repeated(100'000);
    const QString digits(hostileSize, u'1');
    EXPECT_TRUE(gives(u"<p style='"_s + nest + u"a'>"_s, u"<p style=\"a\"></p>"_s));
    EXPECT_TRUE(gives(u"<a href='https://"_s + QString(hostileSize, u'a') + u"'>"_s, u"<a></a>"_s));
    EXPECT_TRUE(gives(u"<a href='"_s + QString(hostileSize, u'&') + u"'>"_s, u"<a></a>"_s));
    EXPECT_TRUE(gives(u"<img src='https://x/"_s + QString(hostileSize, u'/') + u"'>"_s,
                      u"<img data-lh-blocked=\"\">"_s));
    EXPECT_TRUE(gives(u"<img src=https://x/a width='"_s + digits + u"'>"_s,
                      u"<img width=\""_s + digits + u"\" data-lh-blocked=\"\">"_s));
}

TEST(SanitizerHostile, EndsOnLettersThatHaveNoSmallOne)
{
    // QString::toLower takes the time of the square for these.
    const QString endless(400'000, QChar(0x130));
    EXPECT_EQ(sanitized(u"<a"_s + endless + u">x"_s), u"x");
    EXPECT_EQ(sanitized(u"<b "_s + endless + u"=1>x"_s), u"<b>x</b>");
    EXPECT_EQ(sanitized(u"<a href=\""_s + endless + u":x\">x</a>"_s), u"<a>x</a>");
    EXPECT_TRUE(sanitized(u"<a href=\"https://x/?"_s + endless + u"=1\">x</a>"_s).endsWith(u"=1\">x</a>"_s));
    const SanitizedHTML image = HTMLSanitizer::sanitize(
        u"<img style=\""_s + endless + u"\" src=\"https://x.example/"_s + endless + u"\">"_s, {});
    EXPECT_EQ(image.blockedRemoteImages, 1);
    const SanitizedHTML link =
        HTMLSanitizer::sanitize(u"<a href=\"https://x.example\">"_s + endless + u".example</a>"_s, {});
    ASSERT_EQ(link.links.size(), 1);
    EXPECT_TRUE(LinkCleaner::warnings(link.links.first()).isEmpty());
}

} // namespace
} // namespace Larkhaven
