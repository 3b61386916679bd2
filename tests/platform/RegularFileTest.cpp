#include "platform/RegularFile.h"

#include "support/QtPrinters.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(RegularFile, OpensAFile)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"file"_s);
    QFile made(path);
    ASSERT_TRUE(made.open(QIODevice::WriteOnly));
    made.write("text");
    made.close();
    QFile file;
    ASSERT_TRUE(RegularFile::open(file, path));
    EXPECT_EQ(file.readAll(), "text");
    EXPECT_FALSE(file.isWritable());
}

TEST(RegularFile, OpensNoPipeNoFolderNoDeviceNoLinkAndNothingThatIsMissing)
{
    const QTemporaryDir folder;
    const QString pipe = folder.filePath(u"pipe"_s);
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const QString target = folder.filePath(u"target"_s);
    QFile made(target);
    ASSERT_TRUE(made.open(QIODevice::WriteOnly));
    const QString link = folder.filePath(u"link"_s);
    ASSERT_TRUE(QFile::link(target, link));
    for (const QString& path : {pipe, folder.path(), u"/dev/zero"_s, link, folder.filePath(u"none"_s)}) {
        QFile file;
        EXPECT_FALSE(RegularFile::open(file, path)) << path.toStdString();
        EXPECT_FALSE(file.isOpen()) << path.toStdString();
    }
}

} // namespace
} // namespace Larkhaven
