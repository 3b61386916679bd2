#include "SanitizerSupport.h"
#include "safety/HTMLSanitizer.h"
#include "support/QtPrinters.h"

#include <QRegularExpression>

#include <gtest/gtest.h>
#include <random>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

QString plainBody(const QString& text)
{
    return bodyOf(HTMLSanitizer::plainText(text));
}

QStringList linksOf(const QString& text)
{
    QStringList shown;
    for (const LinkRecord& link : HTMLSanitizer::plainText(text).links)
        shown += link.text;
    return shown;
}

TEST(PlainText, WritesLinksByIndexWithTheirCleanedURLAsTitle)
{
    const SanitizedHTML result =
        HTMLSanitizer::plainText(u"a https://x.example/?utm_source=m&b=1 c HTTP://y.example/ d"_s);
    EXPECT_EQ(bodyOf(result),
              u"<div class=\"lh-plain\">a <a href=\"larkhaven-link:0\" title=\"https://x.example/?b=1\">"
              u"https://x.example/?utm_source=m&amp;b=1</a> c <a href=\"larkhaven-link:1\" "
              u"title=\"HTTP://y.example/\">"
              u"HTTP://y.example/</a> d</div>");
    ASSERT_EQ(result.links.size(), 2);
    EXPECT_EQ(result.links[0].text, u"https://x.example/?utm_source=m&b=1");
    EXPECT_EQ(result.links[0].url.absoluteString(), u"https://x.example/?utm_source=m&b=1");
    EXPECT_EQ(result.links[1].url.scheme(), u"http");
    EXPECT_EQ(result.blockedRemoteImages, 0);
    EXPECT_EQ(result.trackers, 0);
}

TEST(PlainText, KeepsAFinalFullStopOutOfALink)
{
    EXPECT_EQ(linksOf(u"see https://x.example/a."_s), QStringList{u"https://x.example/a"_s});
    EXPECT_EQ(linksOf(u"see https://x.example/a?!..."_s), QStringList{u"https://x.example/a"_s});
}

TEST(PlainText, KeepsAClosingBracketOutOfALink)
{
    EXPECT_EQ(linksOf(u"(https://x.example/a)"_s), QStringList{u"https://x.example/a"_s});
    EXPECT_EQ(linksOf(u"[https://x.example/a(b)c]"_s), QStringList{u"https://x.example/a(b)c"_s});
}

TEST(PlainText, ShowsTagsLiterally)
{
    EXPECT_EQ(plainBody(u"<b> & 'x' \"y\""_s),
              u"<div class=\"lh-plain\">&lt;b&gt; &amp; &#39;x&#39; &quot;y&quot;</div>");
}

TEST(PlainText, ShowsTagsAroundLinksLiterally)
{
    EXPECT_EQ(plainBody(u"<i> mailto:a@x <b> mailto:b@x <u>"_s),
              u"<div class=\"lh-plain\">&lt;i&gt; "
              u"<a href=\"larkhaven-link:0\" title=\"mailto:a@x\">mailto:a@x</a> &lt;b&gt; "
              u"<a href=\"larkhaven-link:1\" title=\"mailto:b@x\">mailto:b@x</a> &lt;u&gt;</div>");
}

TEST(PlainText, KeepsLineBreaksAndWritesNoTagForThem)
{
    EXPECT_EQ(plainBody(u"a\r\nb\n\nc"_s), u"<div class=\"lh-plain\">a\r\nb\n\nc</div>");
    EXPECT_EQ(plainBody(QString()), u"<div class=\"lh-plain\"></div>");
}

TEST(PlainText, FindsMailAddressesWrittenAsURLs)
{
    EXPECT_EQ(linksOf(u"<MailTo:a@x.example?subject=y.>"_s), QStringList{u"MailTo:a@x.example?subject=y."_s});
    EXPECT_EQ(linksOf(u"mailto: a"_s), QStringList());
}

TEST(PlainText, EndsALinkAtWhiteSpaceQuotesAndBrackets)
{
    EXPECT_EQ(
        linksOf(
            u"https://x.example/a\u00a0b https://y.example/\"c https://z.example/'d https://w.example/<e"_s),
        (QStringList{u"https://x.example/a"_s, u"https://y.example/"_s, u"https://z.example/"_s,
                     u"https://w.example/"_s}));
    EXPECT_EQ(linksOf(u"https://x.example/a\u0085b\u2028"_s), QStringList{u"https://x.example/a"_s});
}

TEST(PlainText, WritesWhatIsNoURLAsText)
{
    const SanitizedHTML result =
        HTMLSanitizer::plainText(u"http://a@b@c.example/<http:///x https://good.example\\@evil.example/"_s);
    EXPECT_TRUE(result.links.isEmpty());
    EXPECT_EQ(bodyOf(result), u"<div class=\"lh-plain\">http://a@b@c.example/&lt;http:///x "
                              u"https://good.example\\@evil.example/</div>");
}

TEST(PlainText, FindsWhatItsPatternFinds)
{
    QString space =
        u"\\t-\\r \\x{85}\\x{a0}\\x{1680}\\x{2000}-\\x{200a}\\x{2028}\\x{2029}\\x{202f}\\x{205f}\\x{3000}"_s;
    const QRegularExpression pattern(
        u"([hH][tT][tT][pP][sS]?://[^%1<>\"']+[^%1<>\"'.,;:!?)\\]])|([mM][aA][iI][lL][tT][oO]:[^%1<>\"']+)"_s
            .arg(space));
    ASSERT_TRUE(pattern.isValid());
    const QStringList tokens{u"http"_s, u"HTTPS"_s, u"://"_s, u"mailto:"_s, u"."_s, u")"_s, u"]"_s,
                             u"x"_s,    u"/"_s,     u" "_s,   u"\u00a0"_s,  u"<"_s, u"'"_s, u"\U0001F600"_s,
                             u"s"_s,    u"m"_s,     u"h"_s,   u"\u017f"_s,  u","_s};
    std::mt19937 random(7);
    std::uniform_int_distribution<qsizetype> anyToken(0, tokens.size() - 1);
    int found = 0;
    for (int round = 0; round < 20'000; ++round) {
        QString text;
        for (int i = 0; i < 14; ++i)
            text += tokens[anyToken(random)];
        QStringList expected;
        for (const QRegularExpressionMatch& match : pattern.globalMatch(text)) {
            if (MailURL::parse(match.captured()))
                expected += match.captured();
        }
        found += static_cast<int>(expected.size());
        ASSERT_EQ(linksOf(text), expected) << text.toStdString();
    }
    EXPECT_GT(found, 1000);
}

TEST(PlainText, ReadsMegabytesThatAlmostAreLinks)
{
    const qsizetype size = 10'000'000;
    EXPECT_TRUE(linksOf(u"http://"_s + QString(size, u'.')).isEmpty());
    EXPECT_TRUE(linksOf(u"http://."_s.repeated(size / 8)).size() <= 1);
    EXPECT_TRUE(linksOf(u"http://. "_s.repeated(size / 9)).isEmpty());
    EXPECT_TRUE(linksOf(u"mailto: "_s.repeated(size / 8)).isEmpty());
    EXPECT_TRUE(linksOf(u"hhhm"_s.repeated(size / 4)).isEmpty());
}

} // namespace
} // namespace Larkhaven
