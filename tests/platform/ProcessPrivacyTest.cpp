#include "app/platform/ProcessPrivacy.h"

#include "app/platform/Relaunch.h"
#include "support/WaitUntil.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <iostream>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray("nothing");
}

unsigned modeOf(const QString& path)
{
    struct stat information {};
    return stat(QFile::encodeName(path).constData(), &information) == 0 ? information.st_mode & 07777 : 0;
}

/// What a child of this process finds, in words.
QByteArray childFinds(const std::function<void()>& modifier)
{
    QProcess child;
    if (modifier)
        child.setChildProcessModifier(modifier);
    child.start(u"/bin/sh"_s, {u"-c"_s, u"umask; ulimit -S -c; cat /proc/self/coredump_filter"_s});
    return child.waitForFinished() ? child.readAll().simplified() : QByteArray("nothing");
}

// What a process gives up it gives up for good: each test has one of its own.

/// Ends with 0, or writes what is other than it should be and ends with 1.
[[noreturn]] void end(const QStringList& faults)
{
    for (const QString& fault : faults)
        std::cerr << fault.toStdString() << '\n';
    _exit(faults.isEmpty() ? 0 : 1);
}

void expect(QStringList& faults, const QString& name, const QByteArray& value, const QByteArray& expected)
{
    if (value != expected)
        faults.append(
            u"%1: %2 in place of %3"_s.arg(name, QString::fromUtf8(value), QString::fromUtf8(expected)));
}

TEST(ProcessPrivacy, MakesFilesAndFoldersForTheOwnerAlone)
{
    const auto run = [] {
        umask(022);
        ProcessPrivacy::begin();
        const QTemporaryDir folder;
        QFile file(folder.filePath(u"file"_s));
        QStringList faults;
        if (!file.open(QIODevice::WriteOnly) || !QDir(folder.path()).mkdir(u"folder"_s))
            faults.append(u"nothing was made"_s);
        expect(faults, u"file"_s, QByteArray::number(modeOf(file.fileName()), 8), "600");
        expect(faults, u"folder"_s, QByteArray::number(modeOf(folder.filePath(u"folder"_s)), 8), "700");
        end(faults);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

TEST(ProcessPrivacy, LeavesNothingForACoreDumpAndStaysReadableForTheDesktop)
{
    const auto run = [] {
        ProcessPrivacy::begin();
        QStringList faults;
        rlimit core{};
        getrlimit(RLIMIT_CORE, &core);
        expect(faults, u"core limit"_s, QByteArray::number(static_cast<qulonglong>(core.rlim_cur)), "0");
        expect(faults, u"core filter"_s, contents(u"/proc/self/coredump_filter"_s), "00000000");
        expect(faults, u"dumpable"_s, QByteArray::number(prctl(PR_GET_DUMPABLE)), "1");
        end(faults);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

TEST(ProcessPrivacy, KeepsChildrenAsPrivateUnlessTheyAreGivenBackWhatTheUserHas)
{
    const auto run = [] {
        umask(027);
        const QByteArray before = childFinds({});
        ProcessPrivacy::begin();
        // The second one finds what the first one left, and keeps what the first one found.
        ProcessPrivacy::begin();
        QStringList faults;
        expect(faults, u"ours"_s, childFinds({}), "0077 0 00000000");
        expect(faults, u"the user's"_s, childFinds(ProcessPrivacy::giveBack), before);
        expect(faults, u"before"_s, before.left(5), "0027 ");
        end(faults);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

TEST(ProcessPrivacy, ChangesNothingOfChildrenWhereItHasNotBegun)
{
    EXPECT_EQ(childFinds(ProcessPrivacy::giveBack), childFinds({}));
}

TEST(ProcessPrivacy, StartsTheProgramAnewAsTheUserWould)
{
    const auto run = [] {
        umask(026);
        ProcessPrivacy::begin();
        const QTemporaryDir folder;
        const QString file = folder.filePath(u"mask"_s);
        QStringList faults;
        if (!Relaunch(u"/bin/sh"_s, {u"-c"_s, u"umask > %1.new; mv %1.new %1"_s.arg(file)}).start())
            faults.append(u"nothing was started"_s);
        for (int attempt = 0; attempt < 500 && !QFile::exists(file); ++attempt)
            usleep(10'000);
        expect(faults, u"mask"_s, contents(file), "0026");
        end(faults);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

TEST(ProcessPrivacy, HasTheUsersMaskForAWhile)
{
    const auto run = [] {
        umask(022);
        ProcessPrivacy::begin();
        QStringList faults;
        {
            const ProcessPrivacy::UsersMask mask;
            expect(faults, u"meanwhile"_s, childFinds({}).left(4), "0022");
        }
        expect(faults, u"afterwards"_s, childFinds({}).left(4), "0077");
        end(faults);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

TEST(ProcessPrivacy, ClosesWhatWasOpenToOthersBefore)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(u"settings.ini"_s);
    QFile(file).open(QIODevice::WriteOnly);
    ASSERT_EQ(chmod(QFile::encodeName(file).constData(), 0644), 0);
    ASSERT_EQ(chmod(QFile::encodeName(folder.path()).constData(), 0755), 0);
    const QString link = folder.filePath(u"link"_s);
    ASSERT_TRUE(QFile::link(u"/etc/hostname"_s, link));
    const unsigned before = modeOf(u"/etc/hostname"_s);
    for (const QString& path : {folder.path(), file, link, folder.filePath(u"none"_s)})
        ProcessPrivacy::close(path);
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(modeOf(folder.path()), 0700U);
    EXPECT_EQ(modeOf(u"/etc/hostname"_s), before);
}

} // namespace
} // namespace Larkhaven
