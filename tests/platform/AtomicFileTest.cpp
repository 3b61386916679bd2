#include "platform/AtomicFile.h"

#include "support/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using AtomicFile::Durability;

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("none");
}

class AtomicFileTest : public testing::TestWithParam<Durability> {
protected:
    QStringList names() const
    {
        return QDir(folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }

    const QTemporaryDir folder;
    const QString path = folder.filePath(u"file"_s);
};

TEST_P(AtomicFileTest, TakesThePlaceOfTheFileBefore)
{
    ASSERT_TRUE(AtomicFile::write(path, QByteArray(100'000, 'a'), GetParam()));
    ASSERT_TRUE(AtomicFile::write(path, "b", GetParam()));
    EXPECT_EQ(contentOf(path), "b");
    ASSERT_TRUE(AtomicFile::write(path, {}, GetParam()));
    EXPECT_EQ(contentOf(path), "");
    EXPECT_EQ(names(), QStringList{u"file"_s});
}

TEST_P(AtomicFileTest, IsForTheOwnerAloneWhateverWasThere)
{
    QFile before(path);
    ASSERT_TRUE(before.open(QIODevice::WriteOnly));
    ASSERT_TRUE(before.setPermissions(QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
    ASSERT_TRUE(AtomicFile::write(path, "a", GetParam()));
    constexpr auto others =
        QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther | QFile::ExeOwner;
    EXPECT_FALSE(QFile::permissions(path) & others);
}

TEST_P(AtomicFileTest, TakesThePlaceOfALinkAndLeavesWhereItLeads)
{
    const QString target = folder.filePath(u"target"_s);
    ASSERT_TRUE(AtomicFile::write(target, "theirs", GetParam()));
    ASSERT_TRUE(QFile::link(target, path));
    ASSERT_TRUE(AtomicFile::write(path, "ours", GetParam()));
    EXPECT_EQ(contentOf(target), "theirs");
    EXPECT_EQ(contentOf(path), "ours");
    EXPECT_FALSE(QFileInfo(path).isSymbolicLink());
}

TEST_P(AtomicFileTest, LeavesTheOldFileAndNoOtherWhereTheDiskTakesNoMore)
{
    ASSERT_TRUE(AtomicFile::write(path, "before", GetParam()));
    // The process may write no larger file; the first half of this one can be written.
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit small = before;
    small.rlim_cur = 50'000;
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool isWritten = AtomicFile::write(path, QByteArray(100'000, 'a'), GetParam());
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(isWritten);
    EXPECT_EQ(contentOf(path), "before");
    EXPECT_EQ(names(), QStringList{u"file"_s});
}

TEST_P(AtomicFileTest, FailsWhereAFolderHasTheNameOrThereIsNoFolderForIt)
{
    ASSERT_TRUE(QDir().mkdir(path));
    EXPECT_FALSE(AtomicFile::write(path, "a", GetParam()));
    EXPECT_FALSE(AtomicFile::write(folder.filePath(u"none/file"_s), "a", GetParam()));
    EXPECT_TRUE(QFileInfo(path).isDir());
    EXPECT_EQ(names(), QStringList{u"file"_s});
}

INSTANTIATE_TEST_SUITE_P(, AtomicFileTest, testing::Values(Durability::none, Durability::synced));

} // namespace
} // namespace Larkhaven
