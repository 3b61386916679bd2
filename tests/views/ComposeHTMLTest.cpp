#include "views/richtext/ComposeHTML.h"

#include "ComposedDocuments.h"
#include "support/QtPrinters.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextList>
#include <QTextTable>

#include <gtest/gtest.h>
#include <random>

using namespace Qt::StringLiterals;

namespace Larkhaven {

using namespace ComposedDocuments;

namespace {

// --- Writing

TEST(ComposeHTML, AnEmptyTextHasNone)
{
    const QTextDocument document;
    EXPECT_EQ(ComposeHTML::write(document), std::nullopt);
    EXPECT_EQ(ComposeHTML::plainText(document), u""_s);
}

TEST(ComposeHTML, WritesAParagraphAsADivWithoutStyles)
{
    const QTextDocument document(u"One\nTwo\n\nThree"_s);
    EXPECT_EQ(bodyOf(document), u"<div>One</div><div>Two</div><div><br></div><div>Three</div>"_s);
}

TEST(ComposeHTML, EscapesWhatTheUserTyped)
{
    const QTextDocument document(u"<script>alert(1)</script> & \"x\" &amp;"_s);
    EXPECT_EQ(bodyOf(document), u"<div>&lt;script&gt;alert(1)&lt;/script&gt; &amp; \"x\" &amp;amp;</div>"_s);
}

TEST(ComposeHTML, WritesFormattingAsElementsThatNest)
{
    QTextDocument document(u"abcd"_s);
    QTextCursor cursor(&document);
    cursor.setPosition(0);
    cursor.setPosition(3, QTextCursor::KeepAnchor);
    QTextCharFormat bold;
    bold.setFontWeight(QFont::Bold);
    cursor.mergeCharFormat(bold);
    cursor.setPosition(1);
    cursor.setPosition(4, QTextCursor::KeepAnchor);
    QTextCharFormat italic;
    italic.setFontItalic(true);
    cursor.mergeCharFormat(italic);
    EXPECT_EQ(bodyOf(document), u"<div><b>a<i>bc</i></b><i>d</i></div>"_s);
}

TEST(ComposeHTML, WritesStylesOnlyWhereTheyDiffer)
{
    QTextDocument document(u"ab"_s);
    QTextCursor cursor(&document);
    cursor.setPosition(0);
    cursor.setPosition(1, QTextCursor::KeepAnchor);
    QTextCharFormat format;
    ComposeFormat::setSize(format, 18, sizes);
    format.setForeground(QColor(u"#c00000"_s));
    format.setFontFamilies({u"Noto Serif"_s});
    cursor.mergeCharFormat(format);
    EXPECT_EQ(
        bodyOf(document),
        u"<div><span style=\"font-family:'Noto Serif';font-size:18px;color:#c00000\">a</span>b</div>"_s);
}

TEST(ComposeHTML, WritesNestedLists)
{
    const auto document =
        documentOf(u"<ul><li>a<ul><li>b</li></ul></li><li>c</li></ul><ol><li>d</li></ol>"_s);
    EXPECT_EQ(bodyOf(*document), u"<ul><li>a<ul><li>b</li></ul></li><li>c</li></ul><ol><li>d</li></ol>"_s);
}

TEST(ComposeHTML, AnInterruptedListGoesOnCounting)
{
    const auto document =
        documentOf(u"<ol><li>a</li><li>b</li></ol><div>x</div><ol start=\"3\"><li>c</li></ol>"_s);
    EXPECT_EQ(ComposeHTML::plainText(*document), u"\t1.\ta\n\t2.\tb\nx\n\t3.\tc"_s);
    EXPECT_EQ(bodyOf(*document),
              u"<ol><li>a</li><li>b</li></ol><div>x</div><ol start=\"3\"><li>c</li></ol>"_s);
}

TEST(ComposeHTML, WritesOnlyLinksThatAreSafe)
{
    QTextDocument document(u"ab"_s);
    QTextCursor cursor(&document);
    cursor.setPosition(1, QTextCursor::KeepAnchor);
    QTextCharFormat format;
    format.setAnchor(true);
    format.setAnchorHref(u"javascript:alert(1)"_s);
    cursor.mergeCharFormat(format);
    EXPECT_EQ(bodyOf(document), u"<div>ab</div>"_s);
    format.setAnchorHref(u"https://a.example/?x=\"1\"&y=2"_s);
    cursor.mergeCharFormat(format);
    EXPECT_EQ(bodyOf(document), u"<div><a href=\"https://a.example/?x=%221%22&amp;y=2\">a</a>b</div>"_s);
}

TEST(ComposeHTML, WritesNothingThatOnlyOneEngineKnows)
{
    const auto document =
        documentOf(u"<p align=\"right\">x <b>y</b></p><ul><li>z</li></ul><blockquote>q</blockquote>"_s);
    const QString html = *ComposeHTML::write(*document);
    EXPECT_FALSE(html.contains("-qt-"_L1)) << html.toStdString();
    EXPECT_FALSE(html.contains("DTD"_L1));
    EXPECT_FALSE(html.contains("<style"_L1));
    EXPECT_FALSE(html.contains("margin-top"_L1));
}

TEST(ComposeHTML, KeepsSpacesTabsAndLineBreaks)
{
    for (const QString& text : {u" a"_s, u"a "_s, u"a  b"_s, u"a   b"_s, u"  "_s, u"a\tb"_s, u"\ta  "_s,
                                u"a\u2028b"_s, u"a\u2028"_s, u"\u2028"_s, u" \u2028 a \u2028"_s}) {
        QTextDocument document;
        QTextCursor(&document).insertText(text);
        const auto read = sentAndRead(document);
        EXPECT_EQ(ComposeHTML::plainText(*read), ComposeHTML::plainText(document));
        EXPECT_EQ(read->begin().text(), document.begin().text());
    }
}

TEST(ComposeHTML, KeepsASpaceThatDoesNotBreakBetweenLetters)
{
    QTextDocument document;
    QTextCursor(&document).insertText(u"100\u00a0km"_s);
    EXPECT_EQ(sentAndRead(document)->begin().text(), u"100\u00a0km"_s);
}

TEST(ComposeHTML, ThePlainCopyShowsListsAndQuotes)
{
    EXPECT_EQ(textOf(u"<div>x</div><ul><li>a</li><li>b</li></ul><ol><li>c</li></ol>"
                     "<blockquote><div>q<br>r</div><blockquote><div>s</div></blockquote></blockquote>"_s),
              u"x\n\t•\ta\n\t•\tb\n\t1.\tc\n> q\n> r\n> > s"_s);
}

// --- Round trip

TEST(ComposeHTML, ComesBackAsItWasSent)
{
    const auto document = documentOf(
        u"<div>Dear <b>Ada</b>, <i>see</i> <a href=\"https://a.example/b\">this</a>.</div>"
        "<div style=\"text-align:center\"><span style=\"font-size:20px;color:#123456\">big</span></div>"
        "<ol><li>one</li><li><s>two</s><ul><li><u>three</u></li></ul></li></ol>"
        "<blockquote><div>old</div><blockquote><div>older</div></blockquote><div>old again</div></blockquote>"
        "<div><br></div><div>Bye</div>"_s);
    const auto read = sentAndRead(*document);
    EXPECT_EQ(appearance(*read), appearance(*document));
    EXPECT_EQ(ComposeHTML::write(*read), ComposeHTML::write(*document));
    EXPECT_EQ(ComposeHTML::plainText(*read), ComposeHTML::plainText(*document));
}

Qt::LayoutDirection directionOf(const QTextDocument& document, int block = 0)
{
    return document.findBlockByNumber(block).textDirection();
}

TEST(ComposeHTML, TextFromRightToLeftKeepsItsDirection)
{
    QTextDocument document(u"שלום"_s);
    EXPECT_EQ(bodyOf(document), u"<div dir=\"rtl\">שלום</div>"_s);
    // Letters tell their direction themselves; digits have only what was said.
    const auto read = documentOf(
        u"<div dir=\"RTL\">1</div><div>2</div><p style=\"direction:rtl\">3</p><ul dir=rtl><li>4</li></ul>"_s);
    const auto again = sentAndRead(*read);
    for (const QTextDocument* const each : {read.get(), again.get()}) {
        EXPECT_EQ(each->toPlainText(), u"1\n2\n\n3\n4"_s);
        EXPECT_EQ(directionOf(*each, 0), Qt::RightToLeft);
        EXPECT_EQ(directionOf(*each, 1), Qt::LeftToRight);
        EXPECT_EQ(directionOf(*each, 3), Qt::RightToLeft);
        EXPECT_EQ(directionOf(*each, 4), Qt::RightToLeft);
    }
}

TEST(ComposeHTML, TextFromLeftToRightStaysSoWhateverItsLetters)
{
    const auto read = documentOf(u"<div>שלום</div><div dir=ltr>שלום</div>"_s);
    const auto again = sentAndRead(*read);
    for (const QTextDocument* const each : {read.get(), again.get()}) {
        EXPECT_EQ(directionOf(*each, 0), Qt::LeftToRight);
        EXPECT_EQ(directionOf(*each, 1), Qt::LeftToRight);
    }
    EXPECT_EQ(bodyOf(*read), u"<div>שלום</div><div>שלום</div>"_s);
}

TEST(ComposeHTML, ListsKeepTheirFirstNumber)
{
    const QString html = u"<ol start=\"5\"><li>five</li><li>six</li></ol>"_s;
    const auto read = documentOf(html);
    EXPECT_EQ(ComposeHTML::plainText(*read), u"\t5.\tfive\n\t6.\tsix"_s);
    EXPECT_EQ(bodyOf(*read), html);
    EXPECT_EQ(bodyOf(*sentAndRead(*read)), html);
    EXPECT_EQ(bodyOf(*documentOf(u"<ol start=-3><li>x</ol>"_s)), u"<ol><li>x</li></ol>"_s);
    // One that goes on is the same list.
    const auto both = documentOf(u"<ol><li>a</ol><div>x</div><ol start=2><li>b</ol>"_s);
    EXPECT_EQ(both->begin().textList(), both->lastBlock().textList());
    EXPECT_EQ(ComposeHTML::plainText(*both), u"\t1.\ta\nx\n\t2.\tb"_s);
}

TEST(ComposeHTML, ParagraphsKeepTheirMargins)
{
    const auto read =
        documentOf(u"<div style=\"margin-left:30px;margin-right:1em\">a</div>"
                   "<div style=\"margin:1px 2px 3px 4px\"><div style=\"margin-left:6px\">b</div></div>"
                   "<blockquote><div style=\"margin:0 7px\">c</div></blockquote>"
                   "<div style=\"margin-left:-9px\">d</div><div style=\"margin-left:9000px\">e</div>"_s);
    const auto marginsOf = [](const QTextDocument& document, int block) {
        return ComposeFormat::margins(document.findBlockByNumber(block).blockFormat());
    };
    const auto again = sentAndRead(*read);
    for (const QTextDocument* const each : {read.get(), again.get()}) {
        EXPECT_EQ(marginsOf(*each, 0), std::pair(30.0, 13.0));
        EXPECT_EQ(marginsOf(*each, 1), std::pair(10.0, 2.0));
        EXPECT_EQ(marginsOf(*each, 2), std::pair(7.0, 7.0));
        EXPECT_EQ(marginsOf(*each, 3), std::pair(0.0, 0.0));
        EXPECT_EQ(marginsOf(*each, 4), std::pair(ComposeFormat::largestMargin, 0.0));
        EXPECT_EQ(each->findBlockByNumber(0).blockFormat().leftMargin(), 30);
        EXPECT_EQ(each->findBlockByNumber(2).blockFormat().leftMargin(), 16 + 7);
    }
}

TEST(ComposeHTML, AParagraphWithoutMarginsStandsCloseToTheNext)
{
    EXPECT_EQ(
        textOf(
            u"<p style=\"margin:0\">a</p><p style=\"margin:0cm;margin-top:0;margin-bottom:0\">b</p><p>c</p>"_s),
        u"a\nb\n\nc"_s);
}

TEST(ComposeHTML, TheMarkOfASignatureKeepsItsSpace)
{
    for (const char* const html : {"<div>x</div><div>-- </div><div>Mia</div>", "<div>x<br>-- <br>Mia</div>",
                                   "<div>x</div><span>-- </span><br>Mia", "<pre>x\n-- \nMia</pre>"}) {
        const auto read = documentOf(QString::fromLatin1(html));
        EXPECT_EQ(ComposeHTML::plainText(*read), u"x\n-- \nMia"_s) << html;
        EXPECT_EQ(ComposeHTML::plainText(*sentAndRead(*read)), u"x\n-- \nMia"_s) << html;
    }
    EXPECT_EQ(textOf(u"<div>--- </div><div>a -- </div>"_s), u"---\na --"_s);
}

TEST(ComposeHTML, ImagesGiveWayToTheirWords)
{
    EXPECT_EQ(
        textOf(
            u"<div>a <IMG src='cid:1' alt='Our  &lt;logo&gt;'> b<img src='x' alt=''>"
            "<img alt='hidden' style='display:none'><span style='display:none'><img alt=h2></span></div>"_s),
        u"a Our <logo> b"_s);
    EXPECT_EQ(textOf(u"<div>&lt;img alt=x&gt; <b title=\"<img alt='y'>\">b</b></div>"_s), u"<img alt=x> b"_s);
}

// --- Tables

TEST(ComposeHTML, TablesComeBackAsTheyWere)
{
    const QString html =
        u"<table border=\"1\" cellpadding=\"4\" cellspacing=\"0\" style=\"border-collapse:collapse\">"
        "<tr><td colspan=\"2\"><div>A</div><div>A2</div></td><td rowspan=\"2\"><div><b>B</b></div></td></tr>"
        "<tr><td><ul><li>C</li></ul></td><td><div>D</div></td></tr></table>"_s;
    const auto read = documentOf(html);
    const auto* const table = QTextCursor(read->findBlockByNumber(1)).currentTable();
    ASSERT_TRUE(table);
    EXPECT_EQ(table->rows(), 2);
    EXPECT_EQ(table->columns(), 3);
    EXPECT_EQ(table->cellAt(0, 0).columnSpan(), 2);
    EXPECT_EQ(table->cellAt(0, 2).rowSpan(), 2);
    EXPECT_EQ(bodyOf(*read), html);
    EXPECT_EQ(ComposeHTML::plainText(*read), u"A\nA2\tB\n\t•\tC\tD"_s);
    EXPECT_EQ(bodyOf(*sentAndRead(*read)), html);
}

TEST(ComposeHTML, TablesStandWithinTextQuotesAndEachOther)
{
    const QString open =
        u"<table border=\"0\" cellpadding=\"2\" cellspacing=\"0\" style=\"border-collapse:collapse\"><tr><td>"_s;
    const QString close = u"</td></tr></table>"_s;
    for (const QString& html :
         {u"<div>a</div>%1<div>b</div>%2<div>c</div>"_s, u"<div>a</div>%1<div>b</div>%2%1<div>c</div>%2"_s,
          u"%1<div>a</div>%1<div>b</div>%2<div>c</div>%2<div>d</div>"_s,
          u"<div>a</div><blockquote type=\"cite\" style=\"margin:0 0 0 .8ex;border-left:1px solid #ccc;"
          "padding-left:1ex\">%1<div>b</div>%2</blockquote><div>c</div>"_s}) {
        const QString whole = html.arg(open, close);
        const auto read = documentOf(whole);
        EXPECT_EQ(bodyOf(*read), whole);
        EXPECT_EQ(bodyOf(*sentAndRead(*read)), whole);
    }
}

TEST(ComposeHTML, WhatIsTypedBesideATableIsKept)
{
    const auto read = documentOf(u"<table><tr><td>x</td></tr></table>"_s);
    QTextCursor(read->begin()).insertText(u"before"_s);
    QTextCursor(read->lastBlock()).insertText(u"behind"_s);
    EXPECT_EQ(ComposeHTML::plainText(*sentAndRead(*read)), u"before\nx\nbehind"_s);
}

TEST(ComposeHTML, TablesBeyondTheBoundsAreReadRowByRow)
{
    const auto nested = [](std::size_t depth) {
        const int count = static_cast<int>(depth);
        return u"<table><tr><td>a</td><td>"_s.repeated(count) + u"b"_s +
               u"</td></tr></table>"_s.repeated(count);
    };
    QTextDocument document;
    EXPECT_TRUE(ComposeHTML::read(nested(ComposeHTML::maximumTableDepth), document, sizes).isEmpty());
    EXPECT_TRUE(ComposeHTML::read(nested(ComposeHTML::maximumTableDepth + 1), document, sizes).tables);
    EXPECT_TRUE(ComposeHTML::plainText(document).endsWith(u"a\tb"_s));
    const auto wide = [](int columns) {
        return u"<table><tr>"_s + u"<td>x</td>"_s.repeated(columns) + u"</tr></table>"_s;
    };
    EXPECT_FALSE(ComposeHTML::read(wide(ComposeHTML::maximumColumns), document, sizes).tables);
    EXPECT_TRUE(ComposeHTML::read(wide(ComposeHTML::maximumColumns + 1), document, sizes).tables);
    EXPECT_EQ(ComposeHTML::plainText(document).count(u'x'), ComposeHTML::maximumColumns + 1);
    const auto tall = [](int cells) {
        return u"<table>"_s + u"<tr><td>x</td></tr>"_s.repeated(cells) + u"</table>"_s;
    };
    EXPECT_FALSE(ComposeHTML::read(tall(ComposeHTML::maximumCells), document, sizes).tables);
    EXPECT_TRUE(ComposeHTML::read(tall(ComposeHTML::maximumCells + 1), document, sizes).tables);
    EXPECT_EQ(ComposeHTML::plainText(document).count(u'x'), ComposeHTML::maximumCells + 1);
    EXPECT_TRUE(
        ComposeHTML::read(u"<table><tr><td colspan=99999999 rowspan=99999999>x</table>"_s, document, sizes)
            .isEmpty());
    EXPECT_EQ(ComposeHTML::plainText(document), u"x"_s);
}

TEST(ComposeHTML, TellsWhatItDoesNotHold)
{
    QTextDocument document;
    using ComposeHTML::Losses;
    EXPECT_EQ(ComposeHTML::read(u"<p>x</p><ol><li>y</ol><table><tr><td>z</table>"_s, document, sizes),
              Losses());
    EXPECT_EQ(ComposeHTML::read(u"<style>p{color:red}</style><p>x</p>"_s, document, sizes),
              (Losses{.styles = true}));
    EXPECT_EQ(ComposeHTML::read(u"<p>x<img src='https://a.example/' alt='y'></p>"_s, document, sizes),
              (Losses{.images = true}));
    EXPECT_EQ(ComposeHTML::read(u"<p>x</p><hr><p>y</p>"_s, document, sizes), (Losses{.rules = true}));
    for (const QString& table :
         {u"<table bgcolor='red'><tr><td>z</table>"_s, u"<table><tr height=9><td>z</table>"_s,
          u"<table><tr><td width='50%'>z</table>"_s, u"<table><tr><th style='vertical-align:top'>z</table>"_s,
          u"<table><tr><td style='background:#eee'>z</table>"_s})
        EXPECT_EQ(ComposeHTML::read(table, document, sizes), (Losses{.cells = true})) << table.toStdString();
    // What it writes it also holds.
    EXPECT_EQ(ComposeHTML::read(ComposeHTML::write(document).value(), document, sizes), Losses());
}

/// Documents of all formats that the editor can make, in any order.
class RandomDocument {
public:
    explicit RandomDocument(unsigned seed)
        : m_random(seed)
    {
        QTextCursor cursor(&document);
        const int paragraphs = below(8) + 1;
        for (int number = 0; number < paragraphs; ++number) {
            if (number > 0)
                cursor.insertBlock(QTextBlockFormat(), QTextCharFormat());
            addParagraph(cursor);
        }
    }

    QTextDocument document;

private:
    int below(int bound) { return static_cast<int>(m_random() % static_cast<unsigned>(bound)); }

    void addParagraph(QTextCursor& cursor)
    {
        QTextBlockFormat block;
        if (below(4) == 0)
            block.setAlignment(below(2) == 0 ? Qt::AlignHCenter : Qt::AlignRight | Qt::AlignAbsolute);
        ComposeFormat::setQuoteLevel(block, std::max(0, below(5) - 2));
        cursor.setBlockFormat(block);
        if (below(3) == 0) {
            QTextListFormat list;
            list.setStyle(below(2) == 0 ? QTextListFormat::ListDisc : QTextListFormat::ListDecimal);
            list.setIndent(below(3) + 1);
            cursor.createList(list);
        }
        const int runs = below(5);
        for (int run = 0; run < runs; ++run)
            cursor.insertText(text(), format());
    }

    QString text()
    {
        static const QStringList pieces{u"a"_s,      u" "_s,         u"  "_s,      u"\t"_s,
                                        u"\u2028"_s, u"word word"_s, u"<b>&lt;"_s, u"é"_s,
                                        u"😀"_s,      u"\u00a0"_s,    u"x y"_s};
        QString result;
        const int count = below(4) + 1;
        for (int piece = 0; piece < count; ++piece)
            result += pieces[below(static_cast<int>(pieces.size()))];
        return result;
    }

    QTextCharFormat format()
    {
        QTextCharFormat format;
        if (below(3) == 0)
            format.setFontWeight(QFont::Bold);
        if (below(3) == 0)
            format.setFontItalic(true);
        if (below(4) == 0)
            format.setFontUnderline(true);
        if (below(4) == 0)
            format.setFontStrikeOut(true);
        if (below(4) == 0)
            ComposeFormat::setSize(format, below(64) + 8, sizes);
        if (below(5) == 0)
            format.setForeground(QColor(below(256), below(256), below(256)));
        if (below(6) == 0)
            ComposeFormat::setLink(format, u"https://a.example/?a=1&b=%1"_s.arg(below(9)));
        return format;
    }

    std::mt19937 m_random;
};

TEST(ComposeHTML, AnyDocumentKeepsItsTextAndWritesTheSameAgain)
{
    for (unsigned seed = 0; seed < 1'500; ++seed) {
        const RandomDocument random(seed);
        const auto read = sentAndRead(random.document);
        ASSERT_EQ(ComposeHTML::plainText(*read), ComposeHTML::plainText(random.document))
            << seed << ' ' << ComposeHTML::write(random.document).value_or(QString()).toStdString();
        const auto again = sentAndRead(*read);
        ASSERT_EQ(appearance(*again), appearance(*read)) << seed;
    }
}

TEST(ComposeHTML, ADocumentThatRemembersIsWrittenAsOneThatDoesNot)
{
    std::mt19937 random(7);
    for (unsigned seed = 0; seed < 60; ++seed) {
        RandomDocument made(seed);
        QTextDocument& document = made.document;
        ComposeHTML::rememberParagraphs(document);
        for (int step = 0; step < 20; ++step) {
            const std::optional<QString> html = ComposeHTML::write(document);
            const QString text = ComposeHTML::plainText(document);
            // Without memory every paragraph is written anew.
            for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
                block.setUserData(nullptr);
            ASSERT_EQ(html, ComposeHTML::write(document)) << seed << ' ' << step;
            ASSERT_EQ(text, ComposeHTML::plainText(document)) << seed << ' ' << step;
            QTextCursor cursor(&document);
            cursor.setPosition(static_cast<int>(random() % static_cast<unsigned>(document.characterCount())));
            cursor.setPosition(static_cast<int>(random() % static_cast<unsigned>(document.characterCount())),
                               QTextCursor::KeepAnchor);
            QTextCharFormat bold;
            bold.setFontWeight(QFont::Bold);
            switch (random() % 6) {
            case 0:
                cursor.insertText(u"x"_s);
                break;
            case 1:
                cursor.insertBlock();
                break;
            case 2:
                cursor.mergeCharFormat(bold);
                break;
            case 3:
                cursor.createList(QTextListFormat::ListDisc);
                break;
            case 4:
                document.undo();
                break;
            default:
                cursor.removeSelectedText();
            }
        }
    }
}

} // namespace
} // namespace Larkhaven
