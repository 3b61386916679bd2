#include "domain/ShownText.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

QString shown(const QString& text)
{
    return ShownText::line(text, 1'000);
}

TEST(ShownText, IsOneLineWithoutControls)
{
    EXPECT_EQ(shown(u"a\nb\r\nc\rd"_s), u"a b c d");
    EXPECT_EQ(shown(u"a\u2028b\u2029c\u0085d\ve\ff"_s), u"a b c d e f");
    EXPECT_EQ(shown(QStringLiteral("a\0b\x1b[0mc\x7f\t\u0080\u009f.")), u"a b [0mc    .");
    EXPECT_EQ(shown(u"\r"_s), u" ");
}

TEST(ShownText, TurnsNoDirection)
{
    EXPECT_EQ(shown(u"a\u202e\u202a\u202b\u202c\u202d\u2066\u2067\u2068\u2069\u200e\u200f\u061cb"_s), u"ab");
    EXPECT_EQ(shown(u"invoice\u202efdp.exe"_s), u"invoicefdp.exe");
    EXPECT_EQ(shown(u"שלום abc مرحبا"_s), u"שלום abc مرحبا");
}

TEST(ShownText, ShowsWhatCanBeSeen)
{
    EXPECT_EQ(shown(u"a\u200b\u2060\u00ad\ufeff\u034f\u180e\u115f\u3164\U000e0041\ufff9b"_s), u"ab");
    EXPECT_EQ(shown(u"a\u00a0b"_s), u"a\u00a0b");
    EXPECT_EQ(shown(u"\u0600\u06dd"_s), u"\u0600\u06dd") << "these are seen, whatever their category";
}

TEST(ShownText, KeepsJoinersAndSelectorsOfEmoji)
{
    for (const QString& emoji : {u"👨‍👩‍👧"_s, u"❤️"_s, u"👩🏽‍🚀"_s,
                                 u"🏳️‍🌈"_s, u"1️⃣"_s, u"☎︎"_s, u"🇩🇪"_s})
        EXPECT_EQ(shown(u'x' + emoji + u'y'), QString(u'x' + emoji + u'y')) << emoji.toStdString();
    EXPECT_EQ(shown(u"👨‍a"_s), u"👨a");
    EXPECT_EQ(shown(u"👨‍"_s), u"👨");
    EXPECT_EQ(shown(u"a‍👨"_s), u"a👨");
    EXPECT_EQ(shown(u"👨‌👩"_s), u"👨👩") << "no sequence has the non-joiner";
    EXPECT_EQ(shown(u"a\ufe0f1\ufe0f2"_s), u"a12");
    EXPECT_EQ(shown(u"❤\ufe0f\ufe0f\ufe0f"_s), u"❤\ufe0f");
}

TEST(ShownText, KeepsJoinersAndSelectorsWhereTheScriptNeedsThem)
{
    for (const QString& word : {u"می\u200cخواهم"_s, u"क्\u200dष"_s, u"क्\u200cष"_s, u"র\u200d্য"_s,
                                u"ශ්\u200dරී"_s, u"葛\U000e0100飾"_s, u"ᠠ\u180bᠡ"_s})
        EXPECT_EQ(shown(word), word) << word.toStdString();
    EXPECT_EQ(shown(u"pay\u200cpal \u200d"_s), u"paypal ");
    EXPECT_EQ(shown(u"ب\u200ca"_s), u"بa");
    EXPECT_EQ(shown(u"ب\u200c\u200c\u200cب"_s), u"ب\u200cب");
    EXPECT_EQ(shown(u"क\u200cष"_s), u"कष") << "without a virama there is nothing to join";
}

TEST(ShownText, BoundsTheMarksOnOneLetter)
{
    const QString marks(100'000, QChar(0x301));
    EXPECT_EQ(shown(u'e' + marks.first(500) + u'a' + marks.first(3)),
              QString(u'e' + marks.first(ShownText::mostMarks) + u'a' + marks.first(3)));
    EXPECT_LE(shown(marks).size(), ShownText::mostMarks + 1);
}

TEST(ShownText, HasNothingThatIsNoCharacter)
{
    EXPECT_EQ(shown(QStringLiteral("a\xd83d.\xde00\uffff\ufdd0")), u"a\ufffd.\ufffd\ufffd\ufffd");
}

TEST(ShownText, CutsAtItsLengthAndSaysSo)
{
    EXPECT_EQ(ShownText::line(u"abc", 3), u"abc");
    EXPECT_EQ(ShownText::line(u"abcd", 3), u"abc…");
    EXPECT_EQ(ShownText::line(u"ab😀", 3), u"ab…");
    EXPECT_EQ(ShownText::line(u"ab😀", 4), u"ab😀");
    EXPECT_EQ(ShownText::line(u"a\u200b\u200bbc", 3), u"abc");
    EXPECT_EQ(ShownText::line(u"", 3), u"");
    EXPECT_EQ(ShownText::line(u"a", 0), u"…");
}

TEST(ShownText, LooksNoFurtherThanItHasTo)
{
    const QString hidden(18'000'000, QChar(0x200b));
    EXPECT_EQ(ShownText::line(hidden + u"x"_s, 1'000), u"…");
    EXPECT_EQ(ShownText::line(QString(18'000'000, u'x'), 1'000).size(), 1'001);
}

TEST(ShownText, KnowsWhatIsHidden)
{
    for (const QString& text :
         {u"a\u200bb"_s, u"a\u202eb"_s, u"a\nb"_s, u"a\u2028b"_s, QStringLiteral("a\0b"), u"a\u00adb"_s,
          u"pay\u200cpal"_s, u"a\ufe0fb"_s, u"\u3164"_s, u"a\ufff9b"_s, u"👨\u200d"_s, u"\u200eAnn"_s,
          u"a\U000e0041b"_s, u"\x7f"_s})
        EXPECT_TRUE(ShownText::hasHidden(text)) << text.toStdString();
    for (const QString& text :
         {u"Ann"_s, u"a\tb"_s, u""_s, u"👨\u200d👩\u200d👧"_s, u"❤\ufe0f"_s, u"می\u200cخواهم"_s, u"क्\u200dष"_s,
          u"葛\U000e0100飾"_s, u"a\u00a0b"_s, u"שלום"_s})
        EXPECT_FALSE(ShownText::hasHidden(text)) << text.toStdString();
}

TEST(ShownText, HidesNothingWithTheTagsOfAFlag)
{
    const QString scotland = u"🏴\U000e0067\U000e0062\U000e0073\U000e0063\U000e0074\U000e007f"_s;
    EXPECT_FALSE(ShownText::hasHidden(scotland + u" Scotland"_s));
    EXPECT_TRUE(ShownText::hasHidden(scotland + u"\U000e0067\U000e0062"_s)) << "more than a flag has";
    EXPECT_TRUE(ShownText::hasHidden(u"a\U000e0067"_s));
    EXPECT_TRUE(ShownText::hasHidden(u"🏴a\U000e0067"_s));
}

TEST(ShownText, KnowsWhetherThereIsInk)
{
    for (const QString& text : {u"a"_s, u"\u200ba"_s, u"."_s, u"👍"_s, u"\u0600"_s, u"\ufffd"_s, u"\u2801"_s,
                                u"\U0001342f"_s, u"\U00013443"_s, u"\U0001d158"_s})
        EXPECT_TRUE(ShownText::hasInk(text)) << text.toStdString();
    for (const QString& text : {u""_s,
                                u" \t\n"_s,
                                u"\u00a0\u3000"_s,
                                u"\u200b\u2060"_s,
                                u"\u3164\uffa0"_s,
                                u"\u2800"_s,
                                u"\u0301"_s,
                                u"\U0001d159"_s,
                                u"\u007f"_s,
                                u"\u115f\u1160"_s,
                                u"\u1680\u2003\u202f\u205f"_s,
                                u"\U000e0020\U000e007f"_s,
                                u"\ufe0f\U000e0100"_s,
                                u"\U0001d173\U0001d17a"_s,
                                u"\u17b4\u17b5"_s,
                                u"\u180b\u180e"_s,
                                u"\u2061\u2064\u206f"_s,
                                u"\ufff9\ufffb"_s,
                                u"\U0001bca0"_s,
                                u"\u034f\u061c"_s,
                                u"\U00013430\U0001343f\U00013442"_s,
                                u"\U00016fe4"_s,
                                u"\U0001da7f\U0001da80"_s})
        EXPECT_FALSE(ShownText::hasInk(text)) << text.toStdString();
}

TEST(ShownText, SpacesOnce)
{
    EXPECT_EQ(ShownText::singleSpaced(u"a  b\u00a0\u2800\tc"_s), u"a b c");
    EXPECT_EQ(ShownText::singleSpaced(u" a "_s), u" a ");
    EXPECT_EQ(ShownText::singleSpaced(u"😀\u3000\U0001d159😀"_s), u"😀 😀");
}

} // namespace
} // namespace Larkhaven
