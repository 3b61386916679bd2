#include "ComposeSupport.h"
#include "Gestures.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"
#include "views/compose/SuggestionList.h"

#include <QAccessible>
#include <QApplication>
#include <QLineEdit>
#include <QTest>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

Contact contact(const QString& given, const QString& family, const QString& email)
{
    return {given, {}, family, {}, {}, {email}};
}

class ComposeSuggestionsTest : public ComposeWindowTest {
protected:
    ComposeSuggestionsTest()
    {
        book->contacts = {contact(u"Ann"_s, u"Smith"_s, u"ann@example.com"_s),
                          contact(u"Smilla"_s, u"Berg"_s, u"smilla@example.com"_s),
                          contact(u"Smith, John"_s, {}, u"john@example.com"_s)};
        for (int number = 0; number < 8; ++number)
            book->contacts.append(contact(u"Zoe %1"_s.arg(number), {}, u"zoe%1@example.com"_s.arg(number)));
    }

    AddressField& opened()
    {
        window = &open();
        AddressField& to = field(*window, "to");
        to.line().setFocus();
        EXPECT_TRUE(waitUntil([this] { return contacts.status() == ContactsService::Status::ready; }));
        return to;
    }

    SuggestionList* list() const
    {
        SuggestionList& found = field(*window, "to").list();
        return found.isVisible() ? &found : nullptr;
    }

    /// A key as the display sends it: to the list while it is open.
    void press(Qt::Key key) const
    {
        QTest::keyClick(list() ? static_cast<QWidget*>(list()) : focused(), key);
    }
    void type(const QString& text) const
    {
        for (const QChar letter : text)
            QTest::keyClick(list() ? static_cast<QWidget*>(list()) : focused(), letter.toLatin1());
    }
    static QWidget* focused() { return &focusedWidget(); }

    QPointer<ComposeWindow> window;
};

TEST_F(ComposeSuggestionsTest, TheFirstFocusAsksForTheContacts)
{
    opened();
    EXPECT_EQ(book->questions, 1);
    field(*window, "cc").line().setFocus();
    settle();
    EXPECT_EQ(book->questions, 1);
}

TEST_F(ComposeSuggestionsTest, WithoutSuggestionsNoContactIsRead)
{
    fixture.defaults().set(DefaultsKey::suggestFromContacts, false);
    window = &open();
    field(*window, "to").line().setFocus();
    QTest::keyClicks(&field(*window, "to").line(), u"ann"_s);
    settle();
    EXPECT_EQ(book->questions, 0);
    EXPECT_TRUE(field(*window, "to").suggestions().isEmpty());
}

TEST_F(ComposeSuggestionsTest, ArrowsChooseAndReturnTakes)
{
    AddressField& to = opened();
    QTest::keyClicks(&to.line(), u"smi"_s);
    ASSERT_TRUE(list());
    EXPECT_EQ(to.suggestions().size(), 3);
    EXPECT_EQ(to.highlighted(), 0);
    QTest::keyClick(&to.line(), Qt::Key_Down);
    EXPECT_EQ(to.highlighted(), 1);
    QTest::keyClick(&to.line(), Qt::Key_Down);
    QTest::keyClick(&to.line(), Qt::Key_Down);
    EXPECT_EQ(to.highlighted(), 2);
    QTest::keyClick(&to.line(), Qt::Key_Up);
    EXPECT_EQ(to.highlighted(), 1);
    QTest::keyClick(&to.line(), Qt::Key_Return);
    EXPECT_EQ(to.text(), u"Smilla Berg <smilla@example.com>, "_s);
    EXPECT_FALSE(list());
    QTest::keyClicks(&to.line(), u"ann"_s);
    EXPECT_EQ(to.highlighted(), 0);
    QTest::keyClick(&to.line(), Qt::Key_Tab);
    EXPECT_EQ(to.text(), u"Smilla Berg <smilla@example.com>, Ann Smith <ann@example.com>, "_s);
    EXPECT_TRUE(to.line().hasFocus());
}

TEST_F(ComposeSuggestionsTest, OtherTextHighlightsTheFirstAgain)
{
    AddressField& to = opened();
    QTest::keyClicks(&to.line(), u"s"_s);
    QTest::keyClick(&to.line(), Qt::Key_Down);
    EXPECT_EQ(to.highlighted(), 1);
    QTest::keyClicks(&to.line(), u"m"_s);
    EXPECT_EQ(to.highlighted(), 0);
}

TEST_F(ComposeSuggestionsTest, ANameWithACommaIsQuoted)
{
    AddressField& to = opened();
    QTest::keyClicks(&to.line(), u"john"_s);
    QTest::keyClick(&to.line(), Qt::Key_Return);
    EXPECT_EQ(to.text(), u"\"Smith, John\" <john@example.com>, "_s);
}

TEST_F(ComposeSuggestionsTest, AnAddressThatTheFieldHoldsIsNotOfferedAgainInAnyLetterCase)
{
    AddressField& to = opened();
    to.setText(u"Someone <ANN@Example.COM>, "_s);
    to.line().setFocus();
    QTest::keyClicks(&to.line(), u"ann"_s);
    EXPECT_TRUE(to.suggestions().isEmpty());
    to.setText(u"SMILLA@EXAMPLE.COM,smi"_s);
    EXPECT_EQ(to.suggestions().size(), 2);
}

TEST_F(ComposeSuggestionsTest, EscapeHidesTheListUntilTheTokenChanges)
{
    AddressField& to = opened();
    QTest::keyClicks(&to.line(), u"ann"_s);
    ASSERT_TRUE(list());
    QTest::keyClick(&to.line(), Qt::Key_Escape);
    EXPECT_FALSE(list());
    EXPECT_EQ(to.dismissedFor(), u"ann"_s);
    QTest::keyClicks(&to.line(), u" "_s);
    EXPECT_FALSE(list());
    QTest::keyClick(&to.line(), Qt::Key_Backspace);
    QTest::keyClick(&to.line(), Qt::Key_Backspace);
    EXPECT_TRUE(list());
}

TEST_F(ComposeSuggestionsTest, AtMostSixAreShownAndNoneWithoutTheFocus)
{
    AddressField& to = opened();
    QTest::keyClicks(&to.line(), u"zoe"_s);
    EXPECT_EQ(to.suggestions().size(), 6);
    EXPECT_EQ(list()->model()->rowCount(), 6);
    text(*window).setFocus();
    ASSERT_TRUE(waitUntil([this] { return !list(); }));
    EXPECT_TRUE(to.suggestions().isEmpty());
}

TEST_F(ComposeSuggestionsTest, AClickTakesASuggestion)
{
    AddressField& to = opened();
    QTest::keyClicks(&to.line(), u"ann"_s);
    ASSERT_TRUE(list());
    QTest::mouseClick(list()->viewport(), Qt::LeftButton, {},
                      list()->visualRect(list()->model()->index(0, 0)).center());
    EXPECT_EQ(to.text(), u"Ann Smith <ann@example.com>, "_s);
}

TEST_F(ComposeSuggestionsTest, ContactsThatComeLateShowAtOnce)
{
    window = &open();
    AddressField& to = field(*window, "to");
    to.setText(u"ann"_s);
    EXPECT_TRUE(waitUntil([&] { return to.suggestions().size() == 1; }));
}

// --- The list as a popup, which gets the keys while it is open

TEST_F(ComposeSuggestionsTest, KeysReachTheListWhileItIsOpen)
{
    AddressField& to = opened();
    type(u"smi"_s);
    ASSERT_TRUE(list());
    EXPECT_EQ(QApplication::activePopupWidget(), list());
    EXPECT_EQ(to.text(), u"smi"_s);
    EXPECT_TRUE(to.line().hasFocus());
    press(Qt::Key_Up);
    EXPECT_EQ(to.highlighted(), 0);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    EXPECT_EQ(to.highlighted(), 2);
    press(Qt::Key_Up);
    press(Qt::Key_Tab);
    EXPECT_EQ(to.text(), u"Smilla Berg <smilla@example.com>, "_s);
    EXPECT_TRUE(to.line().hasFocus());
    EXPECT_FALSE(list());
    type(u"ann"_s);
    press(Qt::Key_Escape);
    EXPECT_FALSE(list());
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(to.dismissedFor(), u"ann"_s);
    type(u"@"_s);
    press(Qt::Key_Backspace);
    ASSERT_TRUE(list());
    press(Qt::Key_Return);
    EXPECT_EQ(to.text(), u"Smilla Berg <smilla@example.com>, Ann Smith <ann@example.com>, "_s);
}

TEST_F(ComposeSuggestionsTest, TypingOnWithTheListOpenNarrowsIt)
{
    AddressField& to = opened();
    type(u"sm"_s);
    EXPECT_EQ(list()->model()->rowCount(), 3);
    type(u"ill"_s);
    EXPECT_EQ(to.text(), u"smill"_s);
    EXPECT_EQ(list()->model()->rowCount(), 1);
    type(u"x"_s);
    EXPECT_FALSE(list());
    press(Qt::Key_Tab);
    EXPECT_TRUE(field(*window, "cc").line().hasFocus());
}

TEST_F(ComposeSuggestionsTest, AModifiedKeyIsNoCommandOfTheList)
{
    AddressField& to = opened();
    type(u"ann"_s);
    ASSERT_TRUE(list());
    QTest::keyClick(list(), Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(to.highlighted(), 0);
    QTest::keyClick(&to.line(), Qt::Key_Return, Qt::ControlModifier);
    EXPECT_EQ(to.text(), u"ann"_s);
}

TEST_F(ComposeSuggestionsTest, AClickBesideTheListClosesItUntilOtherTextIsTyped)
{
    AddressField& to = opened();
    type(u"ann"_s);
    ASSERT_TRUE(list());
    QTest::mouseClick(list(), Qt::LeftButton, {}, QPoint(-50, -50));
    settle();
    EXPECT_FALSE(list());
    EXPECT_TRUE(to.line().hasFocus());
    type(u"@"_s);
    press(Qt::Key_Backspace);
    EXPECT_TRUE(list());
}

TEST_F(ComposeSuggestionsTest, TheListStandsUnderItsFieldWithinTheWindow)
{
    AddressField& to = opened();
    type(u"zoe"_s);
    ASSERT_TRUE(list());
    const QRect rect(list()->mapToGlobal(QPoint(0, 0)), list()->size());
    const int below = to.line().mapToGlobal(QPoint(0, to.line().height())).y();
    EXPECT_GE(rect.top(), below - 2);
    EXPECT_LE(rect.top(), below + 4);
    EXPECT_LE(rect.right(), window->mapToGlobal(QPoint(window->width(), 0)).x());
    // All rows are whole.
    const QRect last = list()->visualRect(list()->model()->index(5, 0));
    EXPECT_LE(last.bottom(), list()->viewport()->height());
}

// --- Assistive technology

TEST_F(ComposeSuggestionsTest, WhatIsHighlightedIsTheDescriptionOfItsField)
{
    AddressField& to = opened();
    const auto described = [&to] {
        return QAccessible::queryAccessibleInterface(&to.line())->text(QAccessible::Description);
    };
    EXPECT_EQ(described(), QString());
    type(u"smi"_s);
    ASSERT_TRUE(list());
    EXPECT_EQ(described(), u"Ann Smith ann@example.com"_s);
    press(Qt::Key_Down);
    EXPECT_EQ(described(), u"Smilla Berg smilla@example.com"_s);
    press(Qt::Key_Escape);
    EXPECT_EQ(described(), QString());
}

TEST_F(ComposeSuggestionsTest, ARowOfTheListIsNamedByItsContact)
{
    opened();
    type(u"ann"_s);
    ASSERT_TRUE(list());
    QAccessibleInterface* const view = QAccessible::queryAccessibleInterface(list());
    ASSERT_TRUE(view);
    EXPECT_EQ(view->text(QAccessible::Name), u"Suggestions"_s);
    ASSERT_EQ(view->childCount(), 1);
    EXPECT_EQ(view->child(0)->text(QAccessible::Name), u"Ann Smith ann@example.com"_s);
}

} // namespace
} // namespace Larkhaven
