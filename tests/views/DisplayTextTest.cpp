#include "views/DisplayText.h"

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
