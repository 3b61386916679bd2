#include "platform/FolderEntries.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

void write(const QString& path, qsizetype size, qint64 seconds)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(size, 'x'));
    file.flush();
    ASSERT_TRUE(file.setFileTime(QDateTime::fromSecsSinceEpoch(seconds), QFileDevice::FileModificationTime));
}

TEST(FolderEntries, TellsSizesAndTimesOfAllThatLiesThere)
{
    const QTemporaryDir folder;
    write(folder.filePath(u"older"_s), 5, 1'000'000);
    write(folder.filePath(u".hidden"_s), 7, 2'000'000);
    ASSERT_TRUE(QDir(folder.path()).mkdir(u"below"_s));
    ASSERT_TRUE(QFile::link(u"/nonexistent/target"_s, folder.filePath(u"nowhere"_s)));
    QList<FolderEntry> entries = FolderEntry::of(folder.path());
    std::ranges::sort(entries, {}, &FolderEntry::modified);
    ASSERT_EQ(entries.size(), 4);
    EXPECT_EQ(entries[0].path, folder.filePath(u"nowhere"_s)) << "what can't be looked at is the oldest";
    EXPECT_EQ(entries[0].size, 0);
    EXPECT_EQ(entries[1].path, folder.filePath(u"older"_s));
    EXPECT_EQ(entries[1].size, 5);
    EXPECT_EQ(entries[1].modified, 1'000'000'000'000'000);
    EXPECT_EQ(entries[2].path, folder.filePath(u".hidden"_s));
    EXPECT_EQ(entries[2].size, 7);
    EXPECT_EQ(entries[3].path, folder.filePath(u"below"_s));
}

TEST(FolderEntries, IsEmptyWhereThereIsNoFolder)
{
    EXPECT_TRUE(FolderEntry::of(u"/nonexistent/folder"_s).isEmpty());
}

} // namespace
} // namespace Larkhaven
