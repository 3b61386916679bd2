#include "views/reader/SavedFile.h"

#include "domain/LocalizedError.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

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

TEST(SavedFile, IsForItsOwnerAloneAndNeverRuns)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"a.sh"_s);
    const QFile::Permissions own = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
    SavedFile::write(path, "#!/bin/sh");
    EXPECT_EQ(QFile::permissions(path), own);
    ASSERT_TRUE(QFile::setPermissions(path, own | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeOther));
    SavedFile::write(path, "#!/bin/sh");
    EXPECT_EQ(QFile::permissions(path), own) << "what was there could run";
}

} // namespace
} // namespace Larkhaven
