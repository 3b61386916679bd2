#include "ComposeEditorFixture.h"
#include "app/platform/Spelling.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"
#include "views/compose/ComposeEditor.h"
#include "views/compose/ComposeHighlighter.h"

#include <QMenu>
#include <QTest>
#include <QTextBlock>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

// --- Spelling

class ComposeSpellingTest : public ComposeEditorTest {
protected:
    bool isMarked(int position) const
    {
        const QTextBlock block = view->document()->findBlock(position);
        for (const QTextLayout::FormatRange& range : block.layout()->formats()) {
            const int start = block.position() + range.start;
            if (position >= start && position < start + range.length &&
                range.format.underlineStyle() == QTextCharFormat::SpellCheckUnderline)
                return true;
        }
        return false;
    }

    void waitForChecks()
    {
        ASSERT_TRUE(waitUntil([] { return !Spelling::shared().languages().isEmpty(); }));
        settle();
        ASSERT_TRUE(waitUntil([this] { return controller.spelling().highlighter()->isDone(); }));
    }

    QAction* action(QMenu& menu, const QString& text)
    {
        for (QAction* const item : menu.actions()) {
            if (item->text() == text)
                return item;
        }
        return nullptr;
    }
};

TEST_F(ComposeSpellingTest, MarksMisspelledWordsAndNoOthers)
{
    open(u"The wrold is https://wrold.example mia@wrold.example wrold1"_s, false);
    waitForChecks();
    EXPECT_FALSE(isMarked(0));
    EXPECT_TRUE(isMarked(4));
    EXPECT_FALSE(isMarked(10));
    EXPECT_FALSE(isMarked(22));
    EXPECT_FALSE(isMarked(40));
    EXPECT_FALSE(isMarked(56));
}

TEST_F(ComposeSpellingTest, LeavesTheWordAloneThatIsBeingTyped)
{
    open({}, false);
    editor->activateWindow();
    view->setFocus();
    ASSERT_TRUE(waitUntil([this] { return view->hasFocus(); }));
    QTest::keyClicks(view, u"wrold"_s);
    waitForChecks();
    EXPECT_FALSE(isMarked(0));
    QTest::keyClicks(view, u" "_s);
    waitForChecks();
    EXPECT_TRUE(isMarked(0));
}

TEST_F(ComposeSpellingTest, DoesNotJudgeWhatIsQuoted)
{
    open(u"> wrold\nwrold"_s, false);
    waitForChecks();
    EXPECT_FALSE(isMarked(2));
    EXPECT_TRUE(isMarked(8));
}

TEST_F(ComposeSpellingTest, LongTextIsCheckedTurnByTurnToItsEnd)
{
    const QString lines = u"These are words of a line.\n"_s.repeated(3'000) + u"wrold"_s;
    open(lines, false);
    waitForChecks();
    EXPECT_TRUE(isMarked(static_cast<int>(lines.size()) - 3));
}

TEST_F(ComposeSpellingTest, OffersSuggestionsAtTheTopOfTheMenu)
{
    open(u"The wrold"_s, false);
    waitForChecks();
    QMenu menu;
    menu.addAction(u"Copy"_s);
    controller.spelling().addTo(menu, 5);
    // They come when the dictionary has thought of them; the menu opens at once.
    QAction* const place = action(menu, u"Looking for Suggestions…"_s);
    ASSERT_TRUE(place);
    EXPECT_FALSE(place->isEnabled());
    ASSERT_TRUE(waitUntil([&] { return action(menu, u"world"_s); }));
    QAction* const suggestion = action(menu, u"world"_s);
    EXPECT_FALSE(action(menu, u"Looking for Suggestions…"_s));
    EXPECT_LT(menu.actions().indexOf(suggestion), menu.actions().indexOf(action(menu, u"Copy"_s)));
    EXPECT_TRUE(action(menu, u"Add to Dictionary"_s));
    EXPECT_TRUE(action(menu, u"Ignore"_s));
    suggestion->trigger();
    EXPECT_EQ(controller.text(), u"The world"_s);
    view->undo();
    EXPECT_EQ(controller.text(), u"The wrold"_s);
}

TEST_F(ComposeSpellingTest, ALongWordIsMarkedButNothingIsSuggestedForIt)
{
    open(QString(Spelling::longestSuggestedWord + 1, u'x') + u" is a word"_s, false);
    waitForChecks();
    ASSERT_TRUE(isMarked(0));
    QMenu menu;
    controller.spelling().addTo(menu, 1);
    EXPECT_TRUE(action(menu, u"Ignore"_s));
    EXPECT_FALSE(action(menu, u"Looking for Suggestions…"_s));
}

TEST_F(ComposeSpellingTest, AMenuThatIsGoneGetsNoSuggestions)
{
    open(u"The wrold"_s, false);
    waitForChecks();
    {
        QMenu menu;
        controller.spelling().addTo(menu, 5);
    }
    QMenu menu;
    controller.spelling().addTo(menu, 5);
    EXPECT_TRUE(waitUntil([&] { return action(menu, u"world"_s); }));
}

TEST_F(ComposeSpellingTest, AnIgnoredWordIsMarkedNoMore)
{
    open(u"xyzzyq is a word"_s, false);
    waitForChecks();
    ASSERT_TRUE(isMarked(0));
    QMenu menu;
    controller.spelling().addTo(menu, 0);
    action(menu, u"Ignore"_s)->trigger();
    waitForChecks();
    EXPECT_FALSE(isMarked(0));
}

TEST_F(ComposeSpellingTest, TheMenuLetsChooseAnotherLanguage)
{
    open(u"Straßenbahn"_s, false);
    waitForChecks();
    ASSERT_TRUE(isMarked(0));
    QMenu menu;
    controller.spelling().addTo(menu, 0);
    QMenu* const languages = action(menu, u"Spelling Language"_s)->menu();
    ASSERT_TRUE(languages);
    EXPECT_TRUE(action(*languages, u"English (United States)"_s)->isChecked());
    action(*languages, u"German (Germany)"_s)->trigger();
    waitForChecks();
    EXPECT_FALSE(isMarked(0));
}

} // namespace
} // namespace Larkhaven
