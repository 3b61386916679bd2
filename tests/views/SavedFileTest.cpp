#include "views/SavedFile.h"

#include "domain/LocalizedError.h"
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
    EXPECT_EQ(SavedFile::name(u'.' + QString(300, u'x')), u'.' + QString(254, u'x'));
    // What is too long to be an ending is none.
    EXPECT_EQ(SavedFile::name(QString(250, u'x') + u'.' + QString(31, u'y')),
              QString(223, u'x') + u'.' + QString(31, u'y'));
    EXPECT_EQ(SavedFile::name(QString(250, u'x') + u'.' + QString(32, u'y')),
              QString(250, u'x') + u'.' + QString(4, u'y'));
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
