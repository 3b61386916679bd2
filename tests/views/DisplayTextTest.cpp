#include "views/style/DisplayText.h"

#include "support/QtPrinters.h"

#include <QTextDocumentFragment>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(DisplayText, LeavesTextUpToItsLimitAsItIs)
{
    const QString longest(DisplayText::maxLength, u'x');
    EXPECT_EQ(DisplayText::bounded(longest), longest);
    EXPECT_EQ(DisplayText::bounded(longest + u'y'), longest + u'…');
}

TEST(DisplayText, CutsNoCharacterInTwo)
{
    const QString text = QString(DisplayText::maxLength - 1, u'x') + u"😀😀"_s;
    EXPECT_EQ(DisplayText::bounded(text), QString(DisplayText::maxLength - 1, u'x') + u'…');
}

TEST(DisplayText, ShowsNothingButOneLineOfWhatCanBeSeen)
{
    EXPECT_EQ(DisplayText::bounded(QStringLiteral("a\nb\u2028c\0d\x1b[0m\u202ee\u200b\u0085.")),
              u"a b c d [0me .");
    EXPECT_EQ(DisplayText::bounded(u"👩🏽‍🚀 می\u200cخواهم"_s),
              u"👩🏽‍🚀 می\u200cخواهم");
    EXPECT_EQ(DisplayText::bounded(u"abcdef"_s, 3), u"abc…");
    EXPECT_EQ(DisplayText::toolTip(u"a\n\u202eb"_s), u"a b");
    EXPECT_EQ(DisplayText::toolTip(QStringList{u"a\nb"_s, u"\u202ec"_s}), u"a b\nc");
    EXPECT_EQ(DisplayText::menuItem(u"a & b\n\u202ec"_s), u"a && b c");
}

TEST(DisplayText, KeepsTheLinesOfAnAlertWithinItsBounds)
{
    EXPECT_EQ(DisplayText::lines(u"a\n\nb\u202ec\u2028d"_s), u"a\n\nbc d");
    EXPECT_EQ(DisplayText::lines(u""_s), u"");
    const QString many = DisplayText::lines(u"a\n"_s.repeated(1'000));
    EXPECT_EQ(many.count(u'\n'), DisplayText::maxLines);
    EXPECT_TRUE(many.endsWith(u"a\n…"_s));
    EXPECT_EQ(DisplayText::lines(QString(5'000, u'x') + u"\ny"_s),
              QString(DisplayText::maxLength, u'x') + u"…\n…"_s);
    EXPECT_LE(DisplayText::lines((QString(900, u'x') + u'\n').repeated(9)).size(),
              DisplayText::maxLength + 10);
}

TEST(DisplayText, ShowsMarkupInATooltipAsText)
{
    for (const QString& text : {u"<b>bold</b> & more"_s, u"<img src=\"file:///x\">"_s, u"a<br>b"_s}) {
        const QString shown = DisplayText::toolTip(text);
        ASSERT_TRUE(Qt::mightBeRichText(shown)) << "the tooltip would show the escapes";
        EXPECT_EQ(QTextDocumentFragment::fromHtml(shown).toPlainText(), text);
    }
}

TEST(DisplayText, ShowsEverythingElseInATooltipAsItIs)
{
    for (const QString& text : {u"R&D"_s, u"Ann \"A\" <ann@x.example>"_s, u"1 < 2 > 0"_s}) {
        EXPECT_EQ(DisplayText::toolTip(text), text);
        EXPECT_FALSE(Qt::mightBeRichText(text));
    }
}

} // namespace
} // namespace Larkhaven
