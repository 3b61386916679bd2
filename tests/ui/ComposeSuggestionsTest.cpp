#include "ComposeSupport.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"
#include "views/compose/SuggestionList.h"

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
        auto* const found = window->findChild<SuggestionList*>();
        return found && found->isVisible() ? found : nullptr;
    }

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
    EXPECT_EQ(list()->count(), 6);
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
                      list()->visualItemRect(list()->item(0)).center());
    EXPECT_EQ(to.text(), u"Ann Smith <ann@example.com>, "_s);
}

TEST_F(ComposeSuggestionsTest, ContactsThatComeLateShowAtOnce)
{
    window = &open();
    AddressField& to = field(*window, "to");
    to.setText(u"ann"_s);
    EXPECT_TRUE(waitUntil([&] { return to.suggestions().size() == 1; }));
}

} // namespace
} // namespace Larkhaven
