#include "safety/HTMLSanitizer.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(EscapeHTML, ReplacesFiveCharacters)
{
    EXPECT_EQ(HTMLSanitizer::escapeHTML(u"&<>\"'"_s), u"&amp;&lt;&gt;&quot;&#39;");
    EXPECT_EQ(HTMLSanitizer::escapeHTML(u"a&amp;b=\U0001F600"_s), u"a&amp;amp;b=\U0001F600");
    EXPECT_EQ(HTMLSanitizer::escapeHTML(u"plain"_s), u"plain");
    EXPECT_EQ(HTMLSanitizer::escapeHTML(QString()), QString());
}

TEST(ContentSecurityPolicy, AllowsImagesFromTheNetworkOnlyOnDemand)
{
    EXPECT_EQ(
        HTMLSanitizer::contentSecurityPolicy(false),
        u"default-src 'none'; img-src data:; style-src 'unsafe-inline'; font-src 'none'; media-src 'none'; "
        u"frame-src 'none'; form-action 'none'; base-uri 'none'; script-src 'none'");
    EXPECT_EQ(HTMLSanitizer::contentSecurityPolicy(true),
              u"default-src 'none'; img-src data: https:; style-src 'unsafe-inline'; font-src 'none'; "
              u"media-src 'none'; "
              u"frame-src 'none'; form-action 'none'; base-uri 'none'; script-src 'none'");
}

QString expectedDocument(const QString& imageSources, const QString& body)
{
    return u"<!DOCTYPE html><html><head><meta charset=\"utf-8\"><meta http-equiv=\"Content-Security-Policy\" "
           u"content=\""
           "default-src 'none'; img-src "_s +
           imageSources +
           u"; style-src 'unsafe-inline'; font-src 'none'; media-src 'none'; frame-src 'none'; form-action "
           u"'none'; "
           "base-uri 'none'; script-src 'none'\"><meta name=\"referrer\" content=\"no-referrer\"><meta "
           "http-equiv=\"x-dns-prefetch-control\" content=\"off\"><meta name=\"color-scheme\" "
           "content=\"light\"><style>html,"
           "body{margin:0;padding:0;background:#fff;color:#202124}body{font:14px "
           "-apple-system,BlinkMacSystemFont,\"Helvetica Neue\",sans-serif;padding:8px "
           "16px;word-wrap:break-word;overflow-wrap:anywhere}img{max-width:100%;height:auto}img[data-lh-"
           "blocked]{display:"
           "none}.lh-plain{white-space:pre-wrap;font:14px -apple-system,sans-serif}blockquote{margin:0 0 0 "
           ".8ex;border-left:1px solid #ccc;padding-left:1ex}a{color:#1a73e8}</style></head><body>"_s +
           body + u"</body></html>"_s;
}

TEST(DocumentShell, SurroundsTheBodyOfAMessage)
{
    SanitizerOptions options;
    EXPECT_EQ(HTMLSanitizer::sanitize(u"<b>x"_s, options).document,
              expectedDocument(u"data:"_s, u"<b>x</b>"_s));
    options.allowRemoteImages = true;
    EXPECT_EQ(HTMLSanitizer::sanitize(QString(), options).document,
              expectedDocument(u"data: https:"_s, QString()));
}

TEST(DocumentShell, SurroundsPlainTextWithAPolicyForNoRemoteImages)
{
    EXPECT_EQ(HTMLSanitizer::plainText(u"a\nb"_s).document,
              expectedDocument(u"data:"_s, u"<div class=\"lh-plain\">a\nb</div>"_s));
}

} // namespace
} // namespace Larkhaven
