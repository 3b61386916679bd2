#include "SanitizerSupport.h"
#include "safety/HTMLSanitizer.h"
#include "support/QtPrinters.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using HTMLSanitizer::Section;

Section section(int depth, const QString& html)
{
    return {depth, u"name %1"_s.arg(depth), {{u"From:"_s, u"<Ada> %1"_s.arg(depth)}}, html, u"text"_s};
}

SanitizerOptions options()
{
    SanitizerOptions options;
    options.indirectLinks = true;
    return options;
}

/// The body with our own styles replaced by "…".
QString shape(const QList<Section>& messages)
{
    QString body = bodyOf(HTMLSanitizer::sections(messages, options()));
    static const QRegularExpression styles(u" style=\"all:[^\"]*\""_s);
    return body.replace(styles, u""_s);
}

TEST(Sections, StandInTheirFramesBelowTheirHeadings)
{
    EXPECT_EQ(shape({section(0, u"<p>one</p>"_s), section(1, u"<p>two"_s), section(2, u"three"_s),
                     section(1, u"four"_s)}),
              u"<p>one</p>"
              "<div role=\"group\" aria-label=\"name 1\">"
              "<div><div><span>From:</span> <bdi>&lt;Ada&gt; 1</bdi></div></div><div><p>two</p>"
              "<div role=\"group\" aria-label=\"name 2\">"
              "<div><div><span>From:</span> <bdi>&lt;Ada&gt; 2</bdi></div></div><div>three</div></div>"
              "</div></div>"
              "<div role=\"group\" aria-label=\"name 1\">"
              "<div><div><span>From:</span> <bdi>&lt;Ada&gt; 1</bdi></div></div><div>four</div></div>"_s);
}

TEST(Sections, ShowTheTextWhereThereIsNoHTML)
{
    Section plain = section(0, {});
    plain.html.reset();
    plain.text = u"<b> https://a.example/ "_s;
    EXPECT_EQ(shape({plain}),
              u"<div class=\"lh-plain\">&lt;b&gt; <a href=\"larkhaven-link:0\" title=\"https://a.example/\">"
              "https://a.example/</a> </div>"_s);
}

TEST(Sections, CountLinksImagesAndTrackersThroughAllMessages)
{
    const QString html = u"<a href=\"https://%1.example/\">%1</a><img src=\"https://img.example/a.png\">"
                         "<img src=\"https://img.example/b.png\" width=1 height=1>"_s;
    Section plain = section(2, {});
    plain.html.reset();
    plain.text = u"https://c.example/"_s;
    const SanitizedHTML result = HTMLSanitizer::sections(
        {section(0, html.arg(u"a"_s)), section(1, html.arg(u"b"_s)), plain, section(1, html.arg(u"d"_s))},
        options());
    ASSERT_EQ(result.links.size(), 4);
    for (qsizetype index = 0; index < 4; ++index) {
        const QString url = u"https://%1.example/"_s.arg(QChar(u'a' + static_cast<char16_t>(index)));
        EXPECT_EQ(result.links[index].url.absoluteString(), url);
        EXPECT_TRUE(
            result.document.contains(u"href=\"larkhaven-link:%1\" title=\"%2\""_s.arg(index).arg(url)));
    }
    EXPECT_EQ(result.blockedRemoteImages, 3);
    EXPECT_EQ(result.trackers, 3);
}

TEST(Sections, KeepTheStyleSheetsOfTheOuterMessageAlone)
{
    const QString styled = u"<style>p{color:red}</style><p style=\"color:blue\">x</p>"_s;
    const QString body = shape({section(0, styled), section(1, styled)});
    EXPECT_EQ(body.count(u"<style>"), 1);
    EXPECT_TRUE(body.startsWith(u"<style>p{color:red}</style>"));
    EXPECT_EQ(body.count(u"<p style=\"color:blue\">x</p>"), 2);
}

TEST(Sections, ShareTheRoomForInlineImages)
{
    SanitizerOptions shared = options();
    const QByteArray half(static_cast<qsizetype>(HTMLSanitizer::maximumInlineImageBytes / 2 + 1), 'x');
    shared.inlineImages.insert(u"one"_s, {u"image/png"_s, half});
    const QString image = u"<img src=\"cid:one\">"_s;
    const QString document = HTMLSanitizer::sections({section(0, image), section(1, image)}, shared).document;
    EXPECT_EQ(document.count(u"<img src=\"data:"), 1);
    EXPECT_EQ(document.count(u"<img data-lh-blocked"), 1);
}

TEST(Sections, AllowRemoteImagesInThePolicyWhereTheyLoad)
{
    SanitizerOptions remote = options();
    EXPECT_TRUE(HTMLSanitizer::sections({section(1, {})}, remote).document.contains(u"img-src data:;"));
    remote.allowRemoteImages = true;
    EXPECT_TRUE(
        HTMLSanitizer::sections({section(1, {})}, remote).document.contains(u"img-src data: https:;"));
}

} // namespace
} // namespace Larkhaven
