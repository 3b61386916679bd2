#include "domain/FileName.h"

#include "domain/ShownText.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(FileName, LeavesANameThatFits)
{
    EXPECT_EQ(FileName::shown(u"a.pdf"_s), u"a.pdf"_s);
    const QString longest = QString(251, u'x') + u".pdf"_s;
    EXPECT_EQ(FileName::shown(longest), longest);
}

TEST(FileName, CutsANameInBytesAndKeepsItsEnding)
{
    EXPECT_EQ(FileName::shown(QString(252, u'x') + u".pdf"_s), QString(251, u'x') + u".pdf"_s);
    EXPECT_EQ(FileName::shown(QString(200, u'ü') + u".eml"_s), QString(125, u'ü') + u".eml"_s);
    EXPECT_EQ(FileName::shown(QString(300, u'x')), QString(255, u'x'));
    EXPECT_EQ(FileName::shown(u'.' + QString(300, u'x')), QString(255, u'x'));
    // What is too long to be an ending is none.
    EXPECT_EQ(FileName::shown(QString(250, u'x') + u'.' + QString(31, u'y')),
              QString(223, u'x') + u'.' + QString(31, u'y'));
    EXPECT_EQ(FileName::shown(QString(250, u'x') + u'.' + QString(32, u'y')),
              QString(250, u'x') + u'.' + QString(4, u'y'));
}

TEST(FileName, TakesWhatIsNotSeenOutOfStemAndEnding)
{
    const QString unseen =
        u"\u2060\u180e\u2061\u2064\u206a\u206f\u3164\u115f\u1160\uffa0\U000E0041\U000E0101"_s;
    EXPECT_EQ(FileName::shown(u"in"_s + unseen + u"voice.p"_s + unseen + u"df"_s + unseen), u"invoice.pdf"_s);
    EXPECT_EQ(FileName::shown(unseen + u"a"_s), u"a"_s);
    EXPECT_EQ(FileName::shown(u"a\u2028b.txt"_s), u"a b.txt"_s);
    // What isn't seen doesn't count against the length of an ending.
    EXPECT_EQ(FileName::shown(u"a.p"_s + QString(4'093, QChar(0x2060)) + u"df"_s), u"a.p"_s);
    EXPECT_EQ(FileName::shown(u"a.p"_s + QString(4'092, QChar(0x2060)) + u"df"_s), u"a.pdf"_s);
}

TEST(FileName, BoundsTheMarksOfALetterSoThatItsNameStays)
{
    EXPECT_EQ(FileName::shown(u'a' + QString(200, QChar(0x301)) + u".pdf"_s),
              u'a' + QString(ShownText::mostMarks, QChar(0x301)) + u".pdf"_s);
    EXPECT_EQ(FileName::shown(u'a' + QString(200'000, QChar(0x301))),
              u'a' + QString(ShownText::mostMarks, QChar(0x301)));
    EXPECT_EQ(FileName::shown(u"Gru\u0308ße \U0001F600.pdf"_s), u"Gru\u0308ße \U0001F600.pdf"_s);
}

TEST(FileName, IsNeverHiddenNorWithoutAStem)
{
    EXPECT_EQ(FileName::shown(u".pdf"_s), u"pdf"_s);
    EXPECT_EQ(FileName::shown(u"\u2060.bashrc"_s), u"attachment.bashrc"_s);
    EXPECT_EQ(FileName::shown(u"\u2060..\u2060 .x.tar.gz"_s), u"x.tar.gz"_s);
    EXPECT_EQ(FileName::shown(u"a.\u2060 ."_s), u"a"_s);
    EXPECT_EQ(FileName::shown(QString(254, u'x') + u'.' + QString(40, u'y')), QString(254, u'x'));
    EXPECT_EQ(FileName::shown(u"a.\u2060.\u3164"_s), u"a"_s);
    for (const QString& nothing : {u""_s, u"..."_s, u"\u2060"_s, u"\u3164 . \u3164"_s})
        EXPECT_EQ(FileName::shown(nothing), u"attachment"_s);
    // One character of a thousand letters, which no name has room for.
    EXPECT_EQ(FileName::shown(QString(1'000, QChar(0x1100)) + u".pdf"_s), u"attachment.pdf"_s);
}

TEST(FileName, CutsNoCharacterInTwo)
{
    const QString family = u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_s; // 18 bytes
    EXPECT_EQ(FileName::shown(family.repeated(20) + u".png"_s), family.repeated(13) + u".png"_s);
}

TEST(FileName, ShowsAnEndingBehindBlanks)
{
    for (const QString& blank : {u" "_s, u"\u00a0"_s, u"\u3000"_s, u"\u2003"_s, u"\u2800"_s, u"\t"_s,
                                 u"\u2028"_s, u"\n"_s, u"\U0001d159"_s, u"\U00013441"_s}) {
        EXPECT_EQ(FileName::shown(u"invoice.pdf"_s + blank.repeated(80) + u".exe"_s), u"invoice.pdf .exe")
            << blank.toStdString();
        EXPECT_EQ(FileName::shown(u"a.e"_s + blank.repeated(3) + u"xe"_s + blank), u"a.e xe");
    }
    EXPECT_EQ(FileName::shown(u"a\u3164\u115f.exe"_s), u"a.exe") << "Hangul fillers are no letters";
}

TEST(FileName, DropsWhatFileSystemsDrop)
{
    for (const QString& end : {u"."_s, u" "_s, u". ."_s, u"\u2800"_s, u"\u200b.\u200b"_s, u".\U000e0041"_s})
        EXPECT_EQ(FileName::shown(u"a.exe"_s + end), u"a.exe") << end.toStdString();
}

TEST(FileName, TurnsNoDirection)
{
    EXPECT_EQ(FileName::shown(u"invoice\u202efdp.exe"_s), u"invoicefdp.exe");
    EXPECT_EQ(FileName::shown(u"\u2067invoice\u2069\u200f.exe\u061c"_s), u"invoice.exe");
}

TEST(FileName, KnowsItsEnding)
{
    EXPECT_EQ(FileName::endingOf(u"a.b.pdf"), u".pdf");
    EXPECT_EQ(FileName::endingOf(u"a.tar.GZ"), u".GZ");
    for (const QString& name : {u"a"_s, u".bashrc"_s, u"a."_s, u""_s, u"a."_s + QString(32, u'y')})
        EXPECT_TRUE(FileName::endingOf(name).isEmpty()) << name.toStdString();
    EXPECT_EQ(FileName::endingOf(u"a."_s + QString(31, u'y')).size(), 32);
}

} // namespace
} // namespace Larkhaven
