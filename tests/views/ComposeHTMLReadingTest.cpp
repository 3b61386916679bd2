#include "ComposedDocuments.h"
#include "support/QtPrinters.h"
#include "views/richtext/ComposeHTML.h"

#include <QTextCursor>
#include <QTextDocument>
#include <QTextList>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {

using namespace ComposedDocuments;

namespace {

// --- Reading

TEST(ComposeHTML, ReadsTheFormattingOfOtherPrograms)
{
    const auto document = documentOf(
        u"<p>a <strong>b</strong> <em>c</em> <span style='text-decoration: underline'>d</span> "
        "<del>e</del> <font color=red size=5>f</font> <span style='font-size:14pt'>g</span></p>"_s);
    EXPECT_EQ(ComposeHTML::plainText(*document), u"a b c d e f g"_s);
    EXPECT_GE(formatOf(*document, u"b"_s).fontWeight(), QFont::Bold);
    EXPECT_TRUE(formatOf(*document, u"c"_s).fontItalic());
    EXPECT_TRUE(formatOf(*document, u"d"_s).fontUnderline());
    EXPECT_TRUE(formatOf(*document, u"e"_s).fontStrikeOut());
    EXPECT_EQ(formatOf(*document, u"f"_s).foreground().color(), QColor(Qt::red));
    EXPECT_NEAR(ComposeFormat::size(formatOf(*document, u"g"_s)).value_or(0), 18.67, 0.1);
}

TEST(ComposeHTML, ParagraphsStandApartByAnEmptyLine)
{
    EXPECT_EQ(textOf(u"<p>a</p>\n  <p>b</p><div>c</div><div>d</div>"_s), u"a\n\nb\n\nc\nd"_s);
}

TEST(ComposeHTML, WhiteSpaceIsJoinedAndKeptInPre)
{
    EXPECT_EQ(textOf(u"<div>  a \n b  </div><pre>x  y\n z</pre>"_s), u"a b\n\nx  y\n z"_s);
}

TEST(ComposeHTML, CellsOfATableStandApartByTabs)
{
    EXPECT_EQ(textOf(u"<table><tr><td>a</td><td>b</td></tr><tr><td>c</td><td>d</td></tr></table>"_s),
              u"a\tb\nc\td"_s);
}

TEST(ComposeHTML, ReadsNamedAndNumberedCharacters)
{
    EXPECT_EQ(textOf(u"<div>&eacute;&hellip;&#8364;&#x41;&lt;&amp;amp;&nosuchname; &</div>"_s),
              u"é…€A<&amp;&nosuchname; &"_s);
}

TEST(ComposeHTML, TheSizeOfAnyTextStaysWithinTheBounds)
{
    const auto document =
        documentOf(u"<span style='font-size:900px'>a</span><span style='font-size:1px'>b</span>"_s);
    EXPECT_EQ(ComposeFormat::size(formatOf(*document, u"a"_s)), ComposeFormat::largestSize);
    EXPECT_EQ(ComposeFormat::size(formatOf(*document, u"b"_s)), ComposeFormat::smallestSize);
}

TEST(ComposeHTML, SizesOnScreenFollowTheScale)
{
    QTextDocument document;
    ComposeHTML::read(u"<span style='font-size:20px'>a</span>"_s, document, {13, 2});
    const QTextCharFormat format = formatOf(document, u"a"_s);
    EXPECT_EQ(ComposeFormat::size(format), 20);
    EXPECT_EQ(format.intProperty(QTextFormat::FontPixelSize), 40);
    EXPECT_TRUE(ComposeHTML::write(document)->contains("font-size:20px"_L1));
}

// --- Hostile text

/// Fails where anything would be loaded.
class GuardedDocument : public QTextDocument {
public:
    using QTextDocument::QTextDocument;
    int loads = 0;

protected:
    QVariant loadResource(int, const QUrl&) override
    {
        ++loads;
        return {};
    }
};

TEST(ComposeHTML, FetchesNothingAndTakesNoImages)
{
    GuardedDocument document;
    ComposeHTML::read(
        u"<link rel=stylesheet href='https://t.example/a.css'><style>@import url(https://t.example/b.css);"
        "div{background:url(https://t.example/c.png)}</style>"
        "<div style=\"background-image:url(https://t.example/d.png)\">a<img src='https://t.example/e.png'>"
        "<img src='file:///etc/passwd'><img src='data:image/png;base64,iVBORw0KGgo='>"
        "<img src=':/x.png'><img src='cid:1'>b</div>"
        "<ul style=\"list-style-image:url(https://t.example/f.png)\"><li>c</li></ul>"
        "<table background='https://t.example/g.png'><tr><td>d</td></tr></table>"
        "<iframe src='https://t.example/h'></iframe><object data='https://t.example/i'></object>"_s,
        document, sizes);
    document.documentLayout();
    document.setTextWidth(300);
    EXPECT_GT(document.size().height(), 0);
    EXPECT_EQ(document.loads, 0);
    EXPECT_EQ(ComposeHTML::plainText(document), u"ab\n\t•\tc\nd"_s);
    EXPECT_FALSE(document.toPlainText().contains(QChar::ObjectReplacementCharacter));
    EXPECT_FALSE(ComposeHTML::write(document)->contains("t.example"_L1));
}

TEST(ComposeHTML, ScriptsAndTheirTextVanish)
{
    const auto document = documentOf(u"<script>x</script><div onclick='y()'>a</div><noscript>z</noscript>"
                                     "<a href='javascript:alert(1)'>b</a><a href='data:text/html,x'>c</a>"
                                     "<a href='file:///etc/passwd'>d</a><a href='larkhaven-link:0'>e</a>"_s);
    EXPECT_EQ(ComposeHTML::plainText(*document), u"a\nbcde"_s);
    EXPECT_FALSE(ComposeHTML::write(*document)->contains("<a"_L1));
}

TEST(ComposeHTML, HiddenTextIsNotBroughtToLight)
{
    for (const char* const style : {"display:none", "DISPLAY: None", "color:red;display:none !important"}) {
        const QString html =
            u"<div>a<span style=\"%1\">h<b>i</b><br>d</span>b</div><div style=\"%1\"><p>h</p>"
            "<ul><li>i</li></ul><table><tr><td>d</td></tr></table></div><div>c</div>"_s.arg(
                QString::fromLatin1(style));
        EXPECT_EQ(textOf(html), u"ab\nc"_s) << style;
    }
}

TEST(ComposeHTML, FamiliesCannotBreakOutOfTheirStyle)
{
    QTextDocument document(u"a"_s);
    QTextCursor cursor(&document);
    cursor.select(QTextCursor::Document);
    QTextCharFormat format;
    format.setFontFamilies({u"x\";background:url(https://t.example/)<'>"_s});
    cursor.mergeCharFormat(format);
    EXPECT_EQ(bodyOf(document),
              u"<div><span style=\"font-family:xbackgroundurlhttpstexample\">a</span></div>"_s);
}

TEST(ComposeHTML, DeepNestingIsReadInItsOrder)
{
    constexpr int depth = 50'000;
    for (const QString& tag : {u"div"_s, u"blockquote"_s, u"ul"_s, u"b"_s, u"a href='https://a.example'"_s}) {
        const QString html = (u'<' + tag + u'>').repeated(depth) + u"a"_s +
                             (u"</"_s + tag.section(u' ', 0, 0) + u'>').repeated(depth) + u"b"_s;
        QString text = textOf(html);
        text.remove(u'>').remove(u' ').remove(u'\n').remove(u'\t').remove(u'•');
        EXPECT_EQ(text, u"ab"_s);
    }
}

TEST(ComposeHTML, QuotesDeeperThanTheBoundLookLikeTheLast)
{
    const auto document =
        documentOf(u"<blockquote>"_s.repeated(ComposeFormat::maximumQuoteLevel + 1) + u"a"_s);
    EXPECT_EQ(ComposeFormat::quoteLevel(document->begin().blockFormat()), ComposeFormat::maximumQuoteLevel);
}

TEST(ComposeHTML, AListLongerThanTheBoundGoesOnInAnother)
{
    const auto document =
        documentOf(u"<ul>"_s + u"<li>x</li>"_s.repeated(ComposeHTML::maximumItemsOfList + 1) + u"</ul>"_s);
    EXPECT_EQ(document->blockCount(), ComposeHTML::maximumItemsOfList + 1);
    EXPECT_EQ(document->begin().textList()->count(), ComposeHTML::maximumItemsOfList);
    EXPECT_NE(document->lastBlock().textList(), document->begin().textList());
}

TEST(ComposeHTML, AParagraphWithMoreLinesThanTheBoundGoesOnInAnother)
{
    const int lines = ComposeHTML::maximumLinesOfParagraph + 1;
    const auto document = documentOf(u"<div>"_s + u"x<br>"_s.repeated(lines) + u"</div>"_s);
    EXPECT_EQ(document->blockCount(), 2);
    EXPECT_EQ(ComposeHTML::plainText(*document).count(u'x'), lines);
    EXPECT_EQ(ComposeHTML::plainText(*document).count(u'\n'), lines - 1);
}

TEST(ComposeHTML, ReadsAndWritesLongHostileTextWithoutEnd)
{
    constexpr int count = 50'000;
    const QStringList hostile{u"<b>x"_s,
                              u"</b>"_s,
                              u"<i><b>x</i>"_s,
                              u"&nbsp; "_s,
                              u"&a%1;"_s,
                              u"<br>"_s,
                              u"<p>"_s,
                              u"<ol start=\"2\"><li>x</ol>"_s,
                              u"<span style=\"font-size:%1px;;;\">x</span>"_s,
                              u"<a href=\"https://a.example/%1\">x"_s,
                              u"<td>x"_s};
    for (const QString& piece : hostile) {
        QString html;
        for (int number = 0; number < count; ++number)
            html += piece.contains(u'%') ? piece.arg(number) : piece;
        const auto document = documentOf(html);
        EXPECT_LE(ComposeHTML::write(*document).value_or(QString()).size(), 200 * html.size());
    }
}

} // namespace
} // namespace Larkhaven
