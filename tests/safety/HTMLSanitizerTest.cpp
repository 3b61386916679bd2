#include "safety/HTMLSanitizer.h"

#include "SanitizerSupport.h"
#include "support/QtPrinters.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

QStringList textsOf(const SanitizedHTML& result)
{
    QStringList texts;
    for (const LinkRecord& link : result.links)
        texts += link.text;
    return texts;
}

QStringList urlsOf(const SanitizedHTML& result)
{
    QStringList urls;
    for (const LinkRecord& link : result.links)
        urls += link.url.absoluteString();
    return urls;
}

SanitizerOptions withInlineImage(const QString& id, const QString& mimeType, const QByteArray& data)
{
    SanitizerOptions options;
    options.inlineImages.insert(id, {mimeType, data});
    return options;
}

TEST(HTMLSanitizer, WritesALessThanSignBeforeASpaceAsText)
{
    EXPECT_EQ(sanitized(u"a < b"_s), u"a &lt; b");
    EXPECT_EQ(sanitized(u"a <"_s), u"a &lt;");
    EXPECT_EQ(sanitized(u"<<b>1<2<"_s), u"&lt;<b>1&lt;2&lt;</b>");
}

TEST(HTMLSanitizer, WritesAGreaterThanSignAsReferenceAndKeepsReferences)
{
    EXPECT_EQ(sanitized(u"a > b"_s), u"a &gt; b");
    EXPECT_EQ(sanitized(u"&amp; & &nbsp; &#60;script&#62; \"'"_s), u"&amp; & &nbsp; &#60;script&#62; \"'");
}

TEST(HTMLSanitizer, ClosesOpenElementsAtTheEnd)
{
    EXPECT_EQ(sanitized(u"<b>bold"_s), u"<b>bold</b>");
    EXPECT_EQ(sanitized(u"<table><tr><td>x"_s), u"<table><tr><td>x</td></tr></table>");
    EXPECT_EQ(sanitized(u"<b"_s), u"<b></b>");
}

TEST(HTMLSanitizer, ClosesMisnestedElementsInOrder)
{
    EXPECT_EQ(sanitized(u"<b><i>x</b>y</i>"_s), u"<b><i>x</i></b>y");
}

TEST(HTMLSanitizer, IgnoresStrayEndTags)
{
    EXPECT_EQ(sanitized(u"</div>"_s), QString());
    EXPECT_EQ(sanitized(u"<p></br></img></unknown></p x='>'>y"_s), u"<p></p>'&gt;y");
}

TEST(HTMLSanitizer, WritesAnEndTagWithoutNameAsText)
{
    EXPECT_EQ(sanitized(u"</ div>"_s), u"&lt;/ div&gt;");
    EXPECT_EQ(sanitized(u"</>"_s), u"&lt;/&gt;");
    EXPECT_EQ(sanitized(u"</"_s), u"&lt;/");
}

TEST(HTMLSanitizer, DropsScriptsWithTheirContent)
{
    EXPECT_EQ(sanitized(u"<SCRIPT>x</SCRIPT>y"_s), u"y");
    EXPECT_EQ(sanitized(u"a<script>x"_s), u"a");
    EXPECT_EQ(sanitized(u"<script src='</script>'>x<b></scriptish z='>'>y"_s), u"'&gt;y");
    EXPECT_EQ(sanitized(u"<script/x></ScRiPt\n>y"_s), u"y");
    EXPECT_EQ(sanitized(u"<script>x</ script>y</script"_s), QString());
}

TEST(HTMLSanitizer, DropsTwentySevenElementsWithTheirContent)
{
    const QStringList names{u"script"_s,    u"iframe"_s, u"frame"_s,    u"frameset"_s, u"object"_s,
                            u"embed"_s,     u"applet"_s, u"noscript"_s, u"noembed"_s,  u"noframes"_s,
                            u"template"_s,  u"title"_s,  u"textarea"_s, u"select"_s,   u"option"_s,
                            u"svg"_s,       u"math"_s,   u"video"_s,    u"audio"_s,    u"canvas"_s,
                            u"xml"_s,       u"button"_s, u"datalist"_s, u"dialog"_s,   u"portal"_s,
                            u"plaintext"_s, u"xmp"_s};
    EXPECT_EQ(names.size(), 27);
    for (const QString& name : names) {
        EXPECT_EQ(sanitized(u"a<%1 x=1><img src=https://x width=1><b>b</%1>c"_s.arg(name)), u"ac");
        EXPECT_EQ(sanitized(u"a<"_s + name + u">b"_s), u"a");
    }
    EXPECT_EQ(HTMLSanitizer::sanitize(u"<svg><img src=https://x width=1><a href=https://y></svg>"_s, {}),
              HTMLSanitizer::sanitize({}, {}));
}

TEST(HTMLSanitizer, AllowsSeventyOneTags)
{
    const QStringList names{
        u"a"_s,      u"abbr"_s,    u"address"_s,    u"article"_s, u"aside"_s,      u"b"_s,       u"bdi"_s,
        u"bdo"_s,    u"big"_s,     u"blockquote"_s, u"br"_s,      u"caption"_s,    u"center"_s,  u"cite"_s,
        u"code"_s,   u"col"_s,     u"colgroup"_s,   u"dd"_s,      u"del"_s,        u"details"_s, u"dfn"_s,
        u"div"_s,    u"dl"_s,      u"dt"_s,         u"em"_s,      u"figcaption"_s, u"figure"_s,  u"font"_s,
        u"footer"_s, u"h1"_s,      u"h2"_s,         u"h3"_s,      u"h4"_s,         u"h5"_s,      u"h6"_s,
        u"header"_s, u"hr"_s,      u"i"_s,          u"img"_s,     u"ins"_s,        u"kbd"_s,     u"li"_s,
        u"main"_s,   u"mark"_s,    u"nav"_s,        u"ol"_s,      u"p"_s,          u"pre"_s,     u"q"_s,
        u"s"_s,      u"samp"_s,    u"section"_s,    u"small"_s,   u"span"_s,       u"strike"_s,  u"strong"_s,
        u"sub"_s,    u"summary"_s, u"sup"_s,        u"table"_s,   u"tbody"_s,      u"td"_s,      u"tfoot"_s,
        u"th"_s,     u"thead"_s,   u"tr"_s,         u"tt"_s,      u"u"_s,          u"ul"_s,      u"var"_s,
        u"wbr"_s};
    EXPECT_EQ(names.size(), 71);
    const QStringList voidNames{u"br"_s, u"hr"_s, u"img"_s, u"col"_s, u"wbr"_s};
    for (const QString& name : names) {
        if (name == u"img")
            continue;
        const QString expected = voidNames.contains(name) ? u"<%1>x"_s.arg(name) : u"<%1>x</%1>"_s.arg(name);
        EXPECT_EQ(sanitized(u"<%1>x</%1>"_s.arg(name.toUpper())), expected);
    }
}

TEST(HTMLSanitizer, RemovesOtherTagsButKeepsTheirContent)
{
    for (const QString& name : {u"html"_s, u"head"_s, u"body"_s, u"meta"_s, u"link"_s, u"base"_s, u"form"_s,
                                u"input"_s, u"marquee"_s, u"x-y"_s, u"bx"_s, u"b:c"_s, u"a\u00e4"_s})
        EXPECT_EQ(sanitized(u"a<%1 style=x>b</%1>c"_s.arg(name)), u"abc") << name.toStdString();
}

TEST(HTMLSanitizer, LowersNamesAsUnicode)
{
    EXPECT_EQ(sanitized(u"<mar\u212a>x</MARK>"_s), u"<mark>x</mark>");
    EXPECT_EQ(sanitized(u"<\u017f>x"_s), u"&lt;\u017f&gt;x");
}

TEST(HTMLSanitizer, TakesNoNameForAnotherOne)
{
    // Names that begin like one, hold a NUL, are longer than all, or have capitals where letters end.
    for (const QString& name :
         {u"p"_s + QChar(0), u"center"_s + QChar(0), u"blockquotes"_s, u"blockquoteblockquote"_s, u"b=i"_s,
          u"h\u0011"_s, u"di\u0376"_s, u"a\u0161"_s})
        EXPECT_EQ(sanitized(u'<' + name + u">x</"_s + name + u'>'), u"x") << name.toStdString();
    for (const QString& name : {u"title"_s + QChar(0), u"titletitletitle"_s, u"titl"_s, u"t/itle"_s,
                                u"title/x"_s, u"cellspacings"_s, u"\u0174itle"_s})
        EXPECT_EQ(sanitized(u"<p "_s + name + u"=x>"_s), u"<p></p>") << name.toStdString();
    EXPECT_EQ(sanitized(u"<BlockQuote CellSpacing=1 title/>"_s),
              u"<blockquote cellspacing=\"1\" title=\"\"></blockquote>");
}

TEST(HTMLSanitizer, KeepsOnlyAllowedAttributes)
{
    EXPECT_EQ(sanitized(u"<div onclick=x id=y style='color:red'>"_s), u"<div style=\"color:red\"></div>");
    EXPECT_EQ(sanitized(u"<p href=x src=y name=z target=_top srcset=w background=v action=u xlink:href=t>"_s),
              u"<p></p>");
}

TEST(HTMLSanitizer, AllowsTwentyEightAttributesInTheirOrder)
{
    const QStringList names{u"style"_s,       u"class"_s,    u"align"_s,   u"valign"_s, u"width"_s,
                            u"height"_s,      u"bgcolor"_s,  u"color"_s,   u"border"_s, u"cellpadding"_s,
                            u"cellspacing"_s, u"colspan"_s,  u"rowspan"_s, u"dir"_s,    u"lang"_s,
                            u"title"_s,       u"alt"_s,      u"face"_s,    u"size"_s,   u"start"_s,
                            u"type"_s,        u"nowrap"_s,   u"span"_s,    u"abbr"_s,   u"headers"_s,
                            u"scope"_s,       u"reversed"_s, u"open"_s};
    EXPECT_EQ(names.size(), 28);
    QString source = u"<td"_s;
    QString expected = u"<td"_s;
    for (const QString& name : names) {
        source += u' ' + name.toUpper() + u"='x' "_s + name + u"=y"_s;
        expected += u' ' + name + u"=\"x\""_s;
    }
    EXPECT_EQ(sanitized(source + u'>'), QString(expected + u"></td>"_s));
}

TEST(HTMLSanitizer, ReadsAttributesInEveryForm)
{
    EXPECT_EQ(sanitized(u"<p\ttitle\n=\r\"a b\"\fclass=c/d/lang='e'dir/>x"_s),
              u"<p title=\"a b\" class=\"c/d/lang=&#39;e&#39;dir/\">x</p>");
    EXPECT_EQ(sanitized(u"<p/title/>x"_s), u"<p title=\"\">x</p>");
    EXPECT_EQ(sanitized(u"<p title/class=y>x"_s), u"<p>x</p>");
    EXPECT_EQ(sanitized(u"<p =x title=y =\"z\" class>x"_s), u"<p title=\"y\" class=\"\">x</p>");
    EXPECT_EQ(sanitized(u"<p title=>x"_s), u"<p title=\"\">x</p>");
    EXPECT_EQ(sanitized(u"<p title='a>b'class=\"\">x"_s), u"<p title=\"a&gt;b\" class=\"\">x</p>");
    EXPECT_EQ(sanitized(u"<p title =a=\"b\">x"_s), u"<p title=\"a=&quot;b&quot;\">x</p>");
    EXPECT_EQ(sanitized(u"<p title"_s), u"<p title=\"\"></p>");
    EXPECT_EQ(sanitized(u"<p title="_s), u"<p title=\"\"></p>");
}

TEST(HTMLSanitizer, WritesDecodedValuesEscaped)
{
    EXPECT_EQ(sanitized(u"<p title='&quot;&gt;&lt;b onclick=&#39;x&#x27; &amp;amp; &eacute;'>"_s),
              u"<p title=\"&quot;&gt;&lt;b onclick=&#39;x&#39; &amp;amp; &amp;eacute;\"></p>");
}

TEST(HTMLSanitizer, FiltersStylesAfterDecodingThem)
{
    EXPECT_EQ(sanitized(u"<p style='background:&#92;75rl(x);&quot;position&colon;fixed'>"_s),
              u"<p style=\"background:none;&quot;position:static\"></p>");
}

TEST(HTMLSanitizer, KeepsAnElementWithAScriptLinkWithoutTarget)
{
    const SanitizedHTML result = HTMLSanitizer::sanitize(u"<a href='javascript:alert(1)'>x</a>"_s, {});
    EXPECT_EQ(bodyOf(result), u"<a>x</a>");
    EXPECT_TRUE(result.links.isEmpty());
}

TEST(HTMLSanitizer, SeesThroughCharactersThatHideAScheme)
{
    for (const QString& href :
         {u"java&#9;script:alert(1)"_s, u"java\u200bscript:x"_s, u"&#1;javascript:x"_s, u"java\nscript:x"_s,
          u"javascript&colon;x"_s, u"&#xFEFF;j&#x200c;avascript&#58x"_s, u"data:text/html,x"_s,
          u"vbscript:x"_s, u"file:///etc/passwd"_s, u"larkhaven-link:0"_s, u"about:blank"_s}) {
        const SanitizedHTML result = HTMLSanitizer::sanitize(u"<a href='"_s + href + u"'>x</a>"_s, {});
        EXPECT_EQ(bodyOf(result), u"<a>x</a>") << href.toStdString();
        EXPECT_TRUE(result.links.isEmpty());
    }
    EXPECT_EQ(urlsOf(HTMLSanitizer::sanitize(u"<a href='&#9; ht\u200dtps&colon;//x/ a&#127;\ufeff'>"_s, {})),
              QStringList{u"https://x/a"_s});
}

TEST(HTMLSanitizer, RecordsNoLinkWithoutScheme)
{
    for (const QString& href :
         {u"x.html"_s, u"//x/"_s, u"/x:y"_s, u"#x"_s, u""_s, u":x"_s, u"?https://x"_s}) {
        const SanitizedHTML result = HTMLSanitizer::sanitize(u"<a href=\""_s + href + u"\" title=t>x"_s, {});
        EXPECT_EQ(bodyOf(result), u"<a title=\"t\">x</a>");
        EXPECT_TRUE(result.links.isEmpty());
    }
    EXPECT_EQ(sanitized(u"<a>x"_s), u"<a>x</a>");
}

TEST(HTMLSanitizer, RecordsNoLinkThatIsNoURL)
{
    for (const QString& href : {u"https:x"_s, u"http:///x"_s, u"https://a@b@c/"_s, u"https://x:65536/"_s,
                                u"https://good\\@evil/"_s, u"https://good%2f@evil@x/"_s}) {
        const SanitizedHTML result = HTMLSanitizer::sanitize(u"<a href=\""_s + href + u"\">x"_s, {});
        EXPECT_EQ(bodyOf(result), u"<a>x</a>") << href.toStdString();
        EXPECT_TRUE(result.links.isEmpty());
    }
}

TEST(HTMLSanitizer, NeverNestsLinks)
{
    const SanitizedHTML result =
        HTMLSanitizer::sanitize(u"<a href='https://x'>one<a href='https://y'>two"_s, {});
    EXPECT_EQ(bodyOf(result), u"<a href=\"https://x\">one</a><a href=\"https://y\">two</a>");
    EXPECT_EQ(textsOf(result), (QStringList{u"one"_s, u"two"_s}));
    EXPECT_EQ(urlsOf(result), (QStringList{u"https://x"_s, u"https://y"_s}));
}

TEST(HTMLSanitizer, KeepsTheElementsInALinkOpenWhenTheNextLinkClosesIt)
{
    EXPECT_EQ(sanitized(u"<a href=https://x><b>one<a href=https://y>two</b>three</a>"_s),
              u"<a href=\"https://x\"><b>one</a><a href=\"https://y\">two</a></b>three");
}

TEST(HTMLSanitizer, WritesLinksAsTheyAreOrByIndex)
{
    const QString source = u"<a class=c href=HTTPS://X/?utm_source=a&amp;b=\u00e9 title=t lang=l>x</a>"_s;
    EXPECT_EQ(sanitized(source),
              u"<a href=\"HTTPS://X/?utm_source=a&amp;b=%C3%A9\" class=\"c\" lang=\"l\">x</a>");
    EXPECT_EQ(sanitized(source, withIndirectLinks()),
              u"<a href=\"larkhaven-link:0\" class=\"c\" lang=\"l\" title=\"HTTPS://X/?b=%C3%A9\">x</a>");
}

TEST(HTMLSanitizer, ShowsTheCleanedURLOfAnIndirectLink)
{
    EXPECT_EQ(sanitized(u"<a href=https://x?utm_source=a title=t>"_s, withIndirectLinks()),
              u"<a href=\"larkhaven-link:0\" title=\"https://x\"></a>");
}

TEST(HTMLSanitizer, CountsIndirectLinksFromZero)
{
    EXPECT_EQ(
        sanitized(u"<a href=https://x>1</a><a href=y>2</a><a href=mailto:z>3</a>"_s, withIndirectLinks()),
        u"<a href=\"larkhaven-link:0\" title=\"https://x\">1</a><a>2</a>"
        u"<a href=\"larkhaven-link:1\" title=\"mailto:z\">3</a>");
}

TEST(HTMLSanitizer, CollectsTheTextOfALinkDecodedAndTrimmed)
{
    const SanitizedHTML result = HTMLSanitizer::sanitize(
        u"a<a href=https://x>\r\n\u00a0b<b>&amp;c</b><!--d--><script>e</script> < &lt;f&nbsp;\t</a>g"_s, {});
    EXPECT_EQ(textsOf(result), QStringList{u"b&c  <f"_s});
}

TEST(HTMLSanitizer, AddsTextToALinkThatWasClosedImplicitlyUntilTheNextOne)
{
    const SanitizedHTML result =
        HTMLSanitizer::sanitize(u"<div><a href=https://x>b</div>c</a>d<a>e</a>f"_s, {});
    EXPECT_EQ(bodyOf(result), u"<div><a href=\"https://x\">b</a></div>cd</a><a>e</a>f");
    EXPECT_EQ(textsOf(result), QStringList{u"bcd"_s});
}

TEST(HTMLSanitizer, WritesATagThatIsRepeatedAsItsPlaceWantsIt)
{
    const SanitizerOptions indirect = withIndirectLinks();
    // A title goes within a link, and only there.
    EXPECT_EQ(sanitized(u"<b title=x>1</b><a href=https://x.example><b title=x>2</b></a><b title=x>3</b>"_s,
                        indirect),
              u"<b title=\"x\">1</b><a href=\"larkhaven-link:0\" title=\"https://x.example\"><b>2</b></a>"
              u"<b title=\"x\">3</b>");
    EXPECT_EQ(sanitized(u"<a href=https://x.example><b title=x>2</b></a><b title=x>3</b>"_s, indirect),
              u"<a href=\"larkhaven-link:0\" title=\"https://x.example\"><b>2</b></a><b title=\"x\">3</b>");
    // Each link has its number, and each of two images what is around it.
    EXPECT_EQ(sanitized(u"<a href=https://x.example>1</a><a href=https://x.example>2</a>"_s, indirect),
              u"<a href=\"larkhaven-link:0\" title=\"https://x.example\">1</a>"
              u"<a href=\"larkhaven-link:1\" title=\"https://x.example\">2</a>");
    const QString image = u"<img src=https://x.example/a.png>"_s;
    const QString shown = u"<img src=\"https://x.example/a.png\">"_s;
    EXPECT_EQ(sanitized(u"<p class=a>"_s + image + u"</p><p hidden>"_s + image + u"</p><p hidden>"_s + image +
                            u"</p><p class=a>"_s + image,
                        withRemoteImages()),
              u"<p class=\"a\">"_s + shown + u"</p><p></p><p></p><p class=\"a\">"_s + shown + u"</p>"_s);
    // A tag may end behind its first ">", or never.
    EXPECT_EQ(sanitized(u"<p title='a>b'>1</p><p title='a>b'>2</p><p title='a>c'>3</p><p title='a>b"_s),
              u"<p title=\"a&gt;b\">1</p><p title=\"a&gt;b\">2</p><p title=\"a&gt;c\">3</p>"
              u"<p title=\"a&gt;b\"></p>");
    EXPECT_EQ(sanitized(u"<p class=a>1</p><p class=a"_s), u"<p class=\"a\">1</p><p class=\"a\"></p>");
    // A tag that was too deep, and is no more.
    const QString deep = u"<b class=a>"_s.repeated(300) + u"</b>"_s.repeated(300);
    EXPECT_EQ(sanitized(deep + deep),
              (u"<b class=\"a\">"_s.repeated(256) + u"</b>"_s.repeated(256)).repeated(2));
}

TEST(HTMLSanitizer, TellsTheReadingsOfEachOfManyLinks)
{
    const QString link =
        u"<a href=https://x.example>a<span style=display:none>b</span>c<div class=x>d</div></a>"_s;
    const QString plain = u"<a href=https://x.example> &amp;a<b>b</b>c </a>"_s;
    const SanitizedHTML result = HTMLSanitizer::sanitize((link + plain).repeated(3), {});
    ASSERT_EQ(result.links.size(), 6);
    for (qsizetype index = 0; index < 6; index += 2) {
        EXPECT_EQ(result.links[index].text, u"abcd");
        EXPECT_EQ(result.links[index].readings, QStringList({u"abc d"_s, u"ac d"_s}));
        EXPECT_EQ(result.links[index + 1].text, u"&abc");
        EXPECT_EQ(result.links[index + 1].readings, QStringList());
    }
}

TEST(HTMLSanitizer, DropsAnInlineImageThatIsNotThere)
{
    EXPECT_EQ(sanitized(u"<img src=cid:a@b>"_s), QString());
}

TEST(HTMLSanitizer, KeepsOnlyTheWordsOfImagesWhereItIsToldTo)
{
    SanitizerOptions options = withInlineImage(u"a@b"_s, u"image/png"_s, "x");
    options.keepsOnlyWordsOfImages = true;
    options.allowRemoteImages = true;
    const SanitizedHTML result = HTMLSanitizer::sanitize(
        u"<img src=cid:a@b alt=a><IMG src=https://t.example/a.png alt='&lt;b' onerror=x()>"
        "<img src='data:image/png;base64,AA==' srcset=x><img src=javascript:x alt=c width=1 height=1>"_s,
        options);
    EXPECT_EQ(bodyOf(result),
              u"<img alt=\"a\"><img alt=\"&lt;b\"><img><img alt=\"c\" width=\"1\" height=\"1\">");
    EXPECT_EQ(result.trackers, 0);
    EXPECT_EQ(result.blockedRemoteImages, 0);
}

TEST(HTMLSanitizer, EmbedsInlineImages)
{
    const QByteArray data(80, '\xff');
    const QString expected =
        u"<img src=\"data:Image/PNG;base64,"_s + QString::fromLatin1(data.toBase64()) + u"\" alt=\"x\">"_s;
    const SanitizerOptions options = withInlineImage(u"a@b"_s, u"Image/PNG"_s, data);
    EXPECT_EQ(sanitized(u"<img alt=x src=cid:a@b>"_s, options), expected);
    EXPECT_EQ(sanitized(u"<img alt=x src='CID:a%40b'>"_s, options), expected);
    EXPECT_EQ(sanitized(u"<img alt=x src=cid:a@b>"_s, withInlineImage(u"<a@b>"_s, u"Image/PNG"_s, data)),
              expected);
    EXPECT_EQ(sanitized(u"<img src=cid:a%zz>"_s, withInlineImage(u"a%zz"_s, u"image/heic"_s, "x")),
              u"<img src=\"data:image/heic;base64,eA==\">");
    EXPECT_EQ(sanitized(u"<img src=cid:A@b>"_s, options), QString());
}

TEST(HTMLSanitizer, EmbedsSixTypesOfInlineImages)
{
    for (const QString& type :
         {u"image/png"_s, u"image/gif"_s, u"image/jpeg"_s, u"image/jpg"_s, u"image/webp"_s, u"image/heic"_s})
        EXPECT_EQ(sanitized(u"<img src=cid:a>"_s, withInlineImage(u"a"_s, type, "x")),
                  u"<img src=\"data:%1;base64,eA==\">"_s.arg(type));
    for (const QString& type : {u"image/svg+xml"_s, u"text/html"_s, u"image/png;x"_s, u""_s, u"image/tiff"_s})
        EXPECT_EQ(sanitized(u"<img src=cid:a>"_s, withInlineImage(u"a"_s, type, "x")), QString());
}

TEST(HTMLSanitizer, BlocksInlineImagesFromTheOneThatPassesTheLimit)
{
    SanitizerOptions options;
    options.inlineImages.insert(u"full"_s, {u"image/png"_s, QByteArray(31'457'280, 'x')});
    options.inlineImages.insert(u"one"_s, {u"image/png"_s, "x"});
    options.inlineImages.insert(u"none"_s, {u"image/png"_s, {}});
    const SanitizedHTML atLimit = HTMLSanitizer::sanitize(u"<img src=cid:full><img src=cid:none>"_s, options);
    EXPECT_TRUE(bodyOf(atLimit).endsWith(u"<img src=\"data:image/png;base64,\">"));
    EXPECT_FALSE(bodyOf(atLimit).contains(u"blocked"));
    const SanitizedHTML pastLimit = HTMLSanitizer::sanitize(
        u"<img src=cid:one><img src=cid:full alt=a><img src=cid:one><img src=cid:none>"_s, options);
    EXPECT_EQ(bodyOf(pastLimit),
              u"<img src=\"data:image/png;base64,eA==\"><img alt=\"a\" data-lh-blocked=\"\">"
              u"<img data-lh-blocked=\"\"><img data-lh-blocked=\"\">");
    EXPECT_EQ(pastLimit.blockedRemoteImages, 0);
}

TEST(HTMLSanitizer, DropsVectorImagesInDataURLs)
{
    EXPECT_EQ(sanitized(u"<img src='data:image/svg+xml,...'>"_s), QString());
    EXPECT_EQ(sanitized(u"<img src='data:text/html,<b>'><img src=data:><img src='data: image/png'>"_s),
              u"<img src=\"data:image/png\">");
}

TEST(HTMLSanitizer, KeepsPixelImagesInDataURLs)
{
    for (const QString& prefix : {u"data:image/png"_s, u"DATA:image/GIF"_s, u"data:image/jpeg"_s,
                                  u"data:image/jpg"_s, u"data:image/webp"_s})
        EXPECT_EQ(sanitized(u"<img width=1 src='"_s + prefix + u";base64,eA=='>"_s),
                  QString(u"<img src=\""_s + prefix + u";base64,eA==\" width=\"1\">"_s));
}

TEST(HTMLSanitizer, LoadsRemoteImagesOverHTTPSOnlyWhereAllowed)
{
    EXPECT_EQ(sanitized(u"<img src=http://x/a.png>"_s, withRemoteImages()), u"<img src=\"https://x/a.png\">");
    EXPECT_EQ(sanitized(u"<img src=HtTp://x/a.png>"_s, withRemoteImages()), u"<img src=\"https://x/a.png\">");
    EXPECT_EQ(sanitized(u"<img alt=b src=HTTPS://x/a.png>"_s, withRemoteImages()),
              u"<img src=\"HTTPS://x/a.png\" alt=\"b\">");
    const SanitizedHTML blocked = HTMLSanitizer::sanitize(u"<img src=http://x/a.png>"_s, {});
    EXPECT_EQ(bodyOf(blocked), u"<img data-lh-blocked=\"\">");
    EXPECT_EQ(blocked.blockedRemoteImages, 1);
    EXPECT_EQ(blocked.trackers, 0);
}

TEST(HTMLSanitizer, RemovesTrackersInBothCases)
{
    for (const SanitizerOptions& options : {SanitizerOptions(), withRemoteImages()}) {
        const SanitizedHTML result =
            HTMLSanitizer::sanitize(u"<img src=http://x/a.png width=1 height=1>"_s, options);
        EXPECT_EQ(bodyOf(result), QString());
        EXPECT_EQ(result.trackers, 1);
        EXPECT_EQ(result.blockedRemoteImages, 0);
    }
}

TEST(HTMLSanitizer, TestsTheFirstAttributeForTrackersRawAndDecoded)
{
    EXPECT_EQ(HTMLSanitizer::sanitize(u"<img src=http://x/a.png width=9 width=1>"_s, {}).trackers, 0);
    EXPECT_EQ(HTMLSanitizer::sanitize(u"<img src=http://x/a.png width='&#49;'>"_s, {}).trackers, 1);
    EXPECT_EQ(HTMLSanitizer::sanitize(u"<img src=http://x/a.png WIDTH=1 width=9>"_s, {}).trackers, 1);
}

TEST(HTMLSanitizer, DropsImagesWithOtherSources)
{
    for (const QString& source :
         {u"a.png"_s, u"//x/a.png"_s, u"ftp://x/a.png"_s, u"javascript:x"_s, u"blob:x"_s, u"file:///x"_s,
          u"larkhaven-link:0"_s, u"https:///x"_s, u"https://a@b@c/"_s, u"https:x"_s, u"https://x:99999/"_s,
          u"https://good\\@evil/"_s, u""_s}) {
        const SanitizedHTML result =
            HTMLSanitizer::sanitize(u"a<img src=\""_s + source + u"\">b"_s, withRemoteImages());
        EXPECT_EQ(bodyOf(result), u"ab") << source.toStdString();
        EXPECT_EQ(result.trackers + result.blockedRemoteImages, 0);
    }
    EXPECT_EQ(sanitized(u"<img alt=x>"_s), QString());
}

TEST(HTMLSanitizer, WritesTheHostOfAnImageInASCIIAndLeavesTheRest)
{
    EXPECT_EQ(
        sanitized(u"<img src='http://u@\u00fcber.example:80/\u00e9|%41?a=\u00e9'>"_s, withRemoteImages()),
        u"<img src=\"https://u@xn--ber-goa.example:80/\u00e9|%41?a=\u00e9\">");
}

TEST(HTMLSanitizer, NestsAtMostTwoHundredAndFiftySixElements)
{
    EXPECT_EQ(sanitized(u"<div>"_s.repeated(257) + u"x"_s),
              QString(u"<div>"_s.repeated(256) + u"x"_s + u"</div>"_s.repeated(256)));
    EXPECT_EQ(sanitized(u"<div>"_s.repeated(256) + u"<br>x</div><b>y"_s),
              QString(u"<div>"_s.repeated(256) + u"<br>x</div><b>y</b>"_s + u"</div>"_s.repeated(255)));
}

TEST(HTMLSanitizer, RecordsNoLinkThatIsNestedTooDeep)
{
    EXPECT_TRUE(
        HTMLSanitizer::sanitize(u"<div>"_s.repeated(256) + u"<a href=https://x>y"_s, {}).links.isEmpty());
}

TEST(HTMLSanitizer, TakesTheRestForTheValueAfterAnUnterminatedQuote)
{
    EXPECT_EQ(sanitized(u"a<p title='x><b>y\">z"_s), u"a<p title=\"x&gt;&lt;b&gt;y&quot;&gt;z\"></p>");
}

TEST(HTMLSanitizer, DropsCommentsAndAllBehindAnUnterminatedOne)
{
    EXPECT_EQ(sanitized(u"a<!-- x"_s), u"a");
    EXPECT_EQ(sanitized(u"a<!-->b"_s), u"a");
    EXPECT_EQ(sanitized(u"a<!-->b-->c"_s), u"ac");
    EXPECT_EQ(sanitized(u"a<!--<b>--!>--->b<!---->c<!--[if mso]>x<![endif]-->d"_s), u"abcd");
}

TEST(HTMLSanitizer, DropsDeclarationsAndInstructions)
{
    EXPECT_EQ(sanitized(u"<!DOCTYPE html>a<?xml x?>b<![CDATA[c>d]]>e<!>f<?>g<!-h>i"_s), u"abd]]&gt;efgi");
    EXPECT_EQ(sanitized(u"a<!x"_s), u"a");
    EXPECT_EQ(sanitized(u"a<?"_s), u"a");
    EXPECT_EQ(sanitized(u"a<!-"_s), u"a");
}

TEST(HTMLSanitizer, WritesStyleElementsFilteredAndWithoutAttributes)
{
    EXPECT_EQ(sanitized(u"<STYLE media=x>a{background:url(x)}&lt;b></styles y>z"_s),
              u"<style>a{background:none}&lt;b></style>z");
    EXPECT_EQ(sanitized(u"<style>a</sty</style>b"_s), u"<style>a/sty</style>b");
    EXPECT_EQ(sanitized(u"<style>a"_s), u"<style>a</style>");
    EXPECT_EQ(sanitized(u"<style>\\3c/style><script>"_s), u"<style>/style>script></style>");
    EXPECT_EQ(sanitized(u"x</style>"_s), u"x");
}

TEST(HTMLSanitizer, KeepsTextAsItIs)
{
    EXPECT_EQ(sanitized(u"\ufeffa\r\n\t\u00e9\U0001F600"_s), u"\ufeffa\r\n\t\u00e9\U0001F600");
    EXPECT_EQ(sanitized(QString(u"a"_s + QChar(0xd800) + u"b"_s)), u"a\ufffdb");
    EXPECT_EQ(sanitized(QString(QChar(0))), QString(QChar(0)));
    EXPECT_EQ(sanitized(QString()), QString());
}

} // namespace
} // namespace Larkhaven
