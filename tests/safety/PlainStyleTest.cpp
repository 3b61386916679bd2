#include "safety/PlainStyle.h"

#include "safety/HTMLReader.h"
#include "safety/HTMLSanitizer.h"
#include "support/QtPrinters.h"

#include <array>
#include <gtest/gtest.h>
#include <random>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using namespace HTMLSanitizer;

/// Some of what matters to a filter, and letters.
QString randomValue(std::mt19937& random)
{
    static const auto pieces = std::to_array<QString>({u"position"_s,
                                                       u"POSITION"_s,
                                                       u"behavior"_s,
                                                       u"-moz-binding"_s,
                                                       u"javascript"_s,
                                                       u"url"_s,
                                                       u"Expression"_s,
                                                       u"image"_s,
                                                       u"-webkit-image-set"_s,
                                                       u"cross-fade"_s,
                                                       u"src"_s,
                                                       u"element"_s,
                                                       u"paint"_s,
                                                       u"rgb"_s,
                                                       u"calc"_s,
                                                       u"@import"_s,
                                                       u"@font-face"_s,
                                                       u"@media"_s,
                                                       u":"_s,
                                                       u":"_s,
                                                       u" "_s,
                                                       u"\t"_s,
                                                       u"\n"_s,
                                                       u"\v"_s,
                                                       u"\u007f"_s,
                                                       u";"_s,
                                                       u"{"_s,
                                                       u"}"_s,
                                                       u"("_s,
                                                       u"("_s,
                                                       u")"_s,
                                                       u"/*"_s,
                                                       u"*/"_s,
                                                       u"\\"_s,
                                                       u"&"_s,
                                                       u"&amp;"_s,
                                                       u"<"_s,
                                                       u">"_s,
                                                       u"\""_s,
                                                       u"'"_s,
                                                       u"color"_s,
                                                       u"margin"_s,
                                                       u"red"_s,
                                                       u"fixed"_s,
                                                       u"1px"_s,
                                                       u"\u00fc"_s,
                                                       u"\u00a0"_s,
                                                       u"\u2003"_s,
                                                       u"po\u017fition"_s,
                                                       u"\u017frc"_s,
                                                       u"\u212a"_s,
                                                       u"\U0001F600"_s});
    QString value;
    for (auto count = random() % 6; count > 0; --count)
        value += pieces[random() % pieces.size()];
    return value;
}

TEST(PlainStyle, IsWhatTheFilterLeavesAsItIs)
{
    std::mt19937 random(2);
    int plain = 0;
    for (int round = 0; round < 300'000; ++round) {
        const QString style = randomValue(random);
        if (!isPlainStyle(style))
            continue;
        ++plain;
        ASSERT_EQ(safeStyle(style), style);
    }
    EXPECT_GT(plain, 10'000) << "hardly a style counts as plain";
}

TEST(PlainStyle, IsNearlyEveryStyleOfHonestMail)
{
    for (const QStringView style :
         {u"margin:0 auto", u"padding:18px 24px;font-family:Helvetica,Arial,sans-serif;color:#333",
          u"display:block;border:0", u"background-position-x:0", u"font-family:'Segoe UI', \"Open Sans\"",
          u"color:rgb(255, 255, 255);width:calc(100% - 2px)", u"font-family:\u5b8b\u4f53"})
        EXPECT_TRUE(isPlainStyle(style)) << style.toUtf8().toStdString();
}

TEST(RawAttributes, ArePlainWhereDecodingAndEscapingLeaveThemAsTheyAre)
{
    std::mt19937 random(1);
    int plain = 0;
    int others = 0;
    for (int round = 0; round < 100'000; ++round) {
        QString value = randomValue(random);
        static const std::array quotes{u"\""_s, u"'"_s, QString()};
        const QString quote = quotes[random() % quotes.size()];
        if (!quote.isEmpty())
            value.remove(quote);
        const QString html = u" title="_s + quote + value + quote + u'>';
        HTMLReader::RawAttributes raw;
        HTMLReader::readAttributes(html, 0, raw);
        ASSERT_TRUE(raw.has(HTMLVocabulary::Known::title));
        const HTMLReader::RawAttribute& title = *raw.begin();
        const QString text = title.value.toString();
        if (!quote.isEmpty()) {
            ASSERT_EQ(text, value);
        }
        if (title.isPlain) {
            ASSERT_EQ(escapeHTML(decodeEntities(text)), text);
        }
        ++(title.isPlain ? plain : others);
    }
    EXPECT_GT(plain, 10'000);
    EXPECT_GT(others, 10'000);
}

TEST(RawAttributes, KeepAByteOrderMarkThatBeginsThem)
{
    // A browser takes the mark for a part of the name, so that nothing is hidden.
    SanitizerOptions options;
    const SanitizedHTML shown = sanitize(
        u"<a href='https://evil.example/'>bank<span style='display:none'> z </span>."_s +
            u"<span style='\uFEFFdisplay:none'>example</span></a><img src='https://x.example/a.png' "_s +
            u"width='\uFEFF1' height='100'>"_s,
        options);
    ASSERT_EQ(shown.links.size(), 1);
    EXPECT_TRUE(shown.links[0].readings.contains(u"bank.example"_s))
        << shown.links[0].readings.join(u'|').toStdString();
    EXPECT_EQ(shown.trackers, 0);
}

} // namespace
} // namespace Larkhaven
