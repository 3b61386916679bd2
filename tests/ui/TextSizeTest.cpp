#include "ComposeSupport.h"
#include "support/QtPrinters.h"
#include "views/compose/ComposeEditorController.h"
#include "views/main/TextSizeCommands.h"

#include <QApplication>
#include <QLineEdit>
#include <QTest>

using namespace Qt::StringLiterals;

// The size of text, and its keys.

namespace Larkhaven {
namespace {

class TextSizeTest : public ComposeTest {
protected:
    TextSizeTest() { set(13); }

    void set(double size) { fixture.defaults().set(DefaultsKey::textSize, size); }
    double size() { return fixture.defaults().real(DefaultsKey::textSize); }
    void bigger() { TextSizeCommands::makeBigger(fixture.defaults()); }
    void smaller() { TextSizeCommands::makeSmaller(fixture.defaults()); }
    /// Presses the keys where the keyboard is, from the window on, as the desktop does.
    static void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::ControlModifier)
    {
        QTest::keyClick(QApplication::focusWindow(), key, modifiers);
    }
    /// A rich text with the keyboard in it.
    ComposeTextView& richText()
    {
        ComposeDraft rich = draft();
        rich.isRichText = true;
        ComposeTextView& view = text(open(rich));
        view.setFocus();
        EXPECT_TRUE(waitUntil([&view] { return view.hasFocus(); }));
        QTest::keyClicks(&view, u"word"_s);
        view.selectAll();
        return view;
    }

    TextSizeCommands commands{fixture.defaults()};
};

TEST_F(TextSizeTest, GoesUpAndDownInTwelveStepsAndStaysAtTheEnds)
{
    const QList<double> steps{10, 11, 12, 13, 14, 15, 16, 18, 20, 22, 24, 28};
    set(10);
    for (const double step : steps.mid(1)) {
        bigger();
        EXPECT_EQ(size(), step);
    }
    bigger();
    EXPECT_EQ(size(), 28);
    for (qsizetype index = steps.size() - 1; index > 0; --index) {
        smaller();
        EXPECT_EQ(size(), steps[index - 1]);
    }
    smaller();
    EXPECT_EQ(size(), 10);
    TextSizeCommands::makeActualSize(fixture.defaults());
    EXPECT_EQ(size(), 13);
}

TEST_F(TextSizeTest, TakesAStoredSizeThatIsNoStepForThirteen)
{
    for (const double stored : {17.0, 0.0, -5.0, 13.5, 1e9}) {
        set(stored);
        bigger();
        EXPECT_EQ(size(), 14) << stored;
        set(stored);
        smaller();
        EXPECT_EQ(size(), 12) << stored;
    }
}

TEST_F(TextSizeTest, FollowsItsKeysWhereAFieldHasTheKeyboard)
{
    QLineEdit field;
    show(field);
    field.setFocus();
    press(Qt::Key_Equal);
    EXPECT_EQ(size(), 14);
    press(Qt::Key_Plus, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(size(), 15);
    press(Qt::Key_Plus, Qt::ControlModifier | Qt::KeypadModifier);
    EXPECT_EQ(size(), 16);
    press(Qt::Key_Minus);
    EXPECT_EQ(size(), 15);
    press(Qt::Key_Underscore, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(size(), 14);
    press(Qt::Key_Minus, Qt::ControlModifier | Qt::KeypadModifier);
    press(Qt::Key_Minus);
    EXPECT_EQ(size(), 12);
    press(Qt::Key_0, Qt::ControlModifier | Qt::ShiftModifier);
    press(Qt::Key_0, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_EQ(size(), 12) << "with another modifier it is another key";
    field.clear();
    press(Qt::Key_0);
    EXPECT_EQ(size(), 13);
    set(20);
    press(Qt::Key_0, Qt::ControlModifier | Qt::KeypadModifier);
    EXPECT_EQ(size(), 13);
    EXPECT_EQ(field.text(), u"");
}

TEST_F(TextSizeTest, LeavesAllOtherKeysToTheField)
{
    QLineEdit field;
    show(field);
    field.setFocus();
    for (const char letter : {'+', '-', '_', '=', '0'})
        QTest::keyClick(QApplication::focusWindow(), letter);
    EXPECT_EQ(field.text(), u"+-_=0");
    press(Qt::Key_A);
    EXPECT_EQ(field.selectedText(), u"+-_=0");
    EXPECT_EQ(size(), 13);
}

TEST_F(TextSizeTest, ChangesTheSelectedTextOfARichMessageAndNotTheSetting)
{
    ComposeTextView& view = richText();
    const int before = view.textCursor().charFormat().fontPointSize() > 0 ? 0 : view.fontInfo().pixelSize();
    press(Qt::Key_Plus);
    const auto runSize = [&view] {
        return view.textCursor().charFormat().property(QTextFormat::FontPixelSize).toInt();
    };
    EXPECT_GT(runSize(), before);
    EXPECT_EQ(size(), 13);
    press(Qt::Key_Minus);
    press(Qt::Key_Minus);
    EXPECT_LT(runSize(), before);
    EXPECT_EQ(size(), 13);
    set(20);
    press(Qt::Key_0);
    EXPECT_EQ(size(), 13) << "the actual size is always that of the setting";
}

TEST_F(TextSizeTest, ChangesTheSettingWhereTheTextOfTheMessageIsPlain)
{
    ComposeTextView& view = text(open());
    view.setFocus();
    QTest::keyClicks(&view, u"word"_s);
    view.selectAll();
    press(Qt::Key_Plus);
    EXPECT_EQ(size(), 14);
    EXPECT_FALSE(view.textCursor().charFormat().hasProperty(QTextFormat::FontPixelSize));
}

TEST_F(TextSizeTest, ChangesTheSettingWhereTheKeyboardIsInTheSubjectOfARichMessage)
{
    richText();
    auto* const subject = QApplication::activeWindow()->findChild<QLineEdit*>(u"subject"_s);
    ASSERT_TRUE(subject);
    subject->setFocus();
    press(Qt::Key_Plus);
    EXPECT_EQ(size(), 14);
}

} // namespace
} // namespace Larkhaven
