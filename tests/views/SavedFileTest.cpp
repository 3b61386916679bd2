#include "views/reader/SavedFile.h"

#include "domain/LocalizedError.h"
#include "domain/ShownText.h"
#include "support/QtPrinters.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(SavedFile, LeavesANameThatFits)
{
    EXPECT_EQ(SavedFile::name(u"a.pdf"_s), u"a.pdf"_s);
    const QString longest = QString(251, u'x') + u".pdf"_s;
    EXPECT_EQ(SavedFile::name(longest), longest);
}

TEST(SavedFile, CutsANameInBytesAndKeepsItsEnding)
{
    EXPECT_EQ(SavedFile::name(QString(252, u'x') + u".pdf"_s), QString(251, u'x') + u".pdf"_s);
    EXPECT_EQ(SavedFile::name(QString(200, u'ü') + u".eml"_s), QString(125, u'ü') + u".eml"_s);
    EXPECT_EQ(SavedFile::name(QString(300, u'x')), QString(255, u'x'));
    EXPECT_EQ(SavedFile::name(u'.' + QString(300, u'x')), QString(255, u'x'));
    // What is too long to be an ending is none.
    EXPECT_EQ(SavedFile::name(QString(250, u'x') + u'.' + QString(31, u'y')),
              QString(223, u'x') + u'.' + QString(31, u'y'));
    EXPECT_EQ(SavedFile::name(QString(250, u'x') + u'.' + QString(32, u'y')),
              QString(250, u'x') + u'.' + QString(4, u'y'));
}

TEST(SavedFile, TakesWhatIsNotSeenOutOfStemAndEnding)
{
    const QString unseen =
        u"\u2060\u180e\u2061\u2064\u206a\u206f\u3164\u115f\u1160\uffa0\U000E0041\U000E0101"_s;
    EXPECT_EQ(SavedFile::name(u"in"_s + unseen + u"voice.p"_s + unseen + u"df"_s + unseen), u"invoice.pdf"_s);
    EXPECT_EQ(SavedFile::name(unseen + u"a"_s), u"a"_s);
    EXPECT_EQ(SavedFile::name(u"a\u2028b.txt"_s), u"a b.txt"_s);
    // What isn't seen doesn't count against the length of an ending.
    EXPECT_EQ(SavedFile::name(u"a.p"_s + QString(4'093, QChar(0x2060)) + u"df"_s), u"a.p"_s);
    EXPECT_EQ(SavedFile::name(u"a.p"_s + QString(4'092, QChar(0x2060)) + u"df"_s), u"a.pdf"_s);
}

TEST(SavedFile, BoundsTheMarksOfALetterSoThatItsNameStays)
{
    EXPECT_EQ(SavedFile::name(u'a' + QString(200, QChar(0x301)) + u".pdf"_s),
              u'a' + QString(ShownText::mostMarks, QChar(0x301)) + u".pdf"_s);
    EXPECT_EQ(SavedFile::name(u'a' + QString(200'000, QChar(0x301))),
              u'a' + QString(ShownText::mostMarks, QChar(0x301)));
    EXPECT_EQ(SavedFile::name(u"Gru\u0308ße \U0001F600.pdf"_s), u"Gru\u0308ße \U0001F600.pdf"_s);
}

TEST(SavedFile, IsNeverHiddenNorWithoutAStem)
{
    EXPECT_EQ(SavedFile::name(u".pdf"_s), u"pdf"_s);
    EXPECT_EQ(SavedFile::name(u"\u2060.bashrc"_s), u"attachment.bashrc"_s);
    EXPECT_EQ(SavedFile::name(u"\u2060..\u2060 .x.tar.gz"_s), u"x.tar.gz"_s);
    EXPECT_EQ(SavedFile::name(u"a.\u2060 ."_s), u"a"_s);
    EXPECT_EQ(SavedFile::name(QString(254, u'x') + u'.' + QString(40, u'y')), QString(254, u'x'));
    EXPECT_EQ(SavedFile::name(u"a.\u2060.\u3164"_s), u"a"_s);
    for (const QString& nothing : {u""_s, u"..."_s, u"\u2060"_s, u"\u3164 . \u3164"_s})
        EXPECT_EQ(SavedFile::name(nothing), u"attachment"_s);
    // One character of a thousand letters, which no name has room for.
    EXPECT_EQ(SavedFile::name(QString(1'000, QChar(0x1100)) + u".pdf"_s), u"attachment.pdf"_s);
}

TEST(SavedFile, CutsNoCharacterInTwo)
{
    const QString family = u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_s; // 18 bytes
    EXPECT_EQ(SavedFile::name(family.repeated(20) + u".png"_s), family.repeated(13) + u".png"_s);
}

TEST(SavedFile, ReplacesAFileAsAWholeOrFails)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"a"_s);
    SavedFile::write(path, "first");
    SavedFile::write(path, "x");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "x");
    EXPECT_THROW(SavedFile::write(folder.filePath(u"none/a"_s), "x"), LocalizedError);
}

} // namespace
} // namespace Larkhaven
