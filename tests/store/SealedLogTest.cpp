#include "store/SealedLog.h"

#include "store/AESGCMCipher.h"
#include "support/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <memory>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

constexpr qint64 noLimit = 0x40000000;

std::shared_ptr<const CacheCipher> cipher(char key = 'k')
{
    return std::make_shared<AESGCMCipher>(QByteArray(32, key));
}

class SealedLogTest : public testing::Test {
protected:
    QString path() const { return temporary.path() + u"/log"_s; }
    SealedLog opened() const { return {path(), cipher()}; }

    /// What whoever starts next finds.
    QList<QByteArray> found() const { return opened().read(noLimit); }

    QByteArray bytes() const
    {
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    void setBytes(const QByteArray& bytes) const
    {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }

    /// A log of three records; gives where each of them ends.
    QList<qint64> writeThree() const
    {
        SealedLog log = opened();
        QList<qint64> ends;
        EXPECT_TRUE(log.replace("one"));
        ends.append(QFileInfo(path()).size());
        for (const QByteArray record : {"two", "three"}) {
            EXPECT_TRUE(log.append(record));
            ends.append(QFileInfo(path()).size());
        }
        return ends;
    }

    QTemporaryDir temporary;
};

TEST_F(SealedLogTest, GivesItsRecordsInTheirOrder)
{
    EXPECT_EQ(found(), QList<QByteArray>());
    writeThree();
    EXPECT_EQ(found(), (QList<QByteArray>{"one", "two", "three"}));
}

TEST_F(SealedLogTest, WritesNothingReadable)
{
    writeThree();
    for (const QByteArray record : {"one", "two", "three"})
        EXPECT_FALSE(bytes().contains(record));
}

TEST_F(SealedLogTest, AddsToWhatAnotherStartHasWritten)
{
    writeThree();
    SealedLog log = opened();
    log.read(noLimit);
    EXPECT_TRUE(log.append("four"));
    EXPECT_EQ(found(), (QList<QByteArray>{"one", "two", "three", "four"}));
}

TEST_F(SealedLogTest, AddsToNothingThatItHasNotRead)
{
    writeThree();
    SealedLog log = opened();
    EXPECT_FALSE(log.append("four"));
    EXPECT_TRUE(log.replace("all"));
    EXPECT_EQ(found(), QList<QByteArray>{"all"});
}

TEST_F(SealedLogTest, EndsBeforeARecordThatIsCutOffAnywhere)
{
    const QList<qint64> ends = writeThree();
    const QByteArray whole = bytes();
    for (qint64 size = 0; size < whole.size(); ++size) {
        setBytes(whole.first(size));
        const auto count = std::ranges::count_if(ends, [size](qint64 end) { return end <= size; });
        EXPECT_EQ(found().size(), count) << size;
    }
}

TEST_F(SealedLogTest, EndsBeforeARecordThatWasChangedAnywhere)
{
    const QList<qint64> ends = writeThree();
    const QByteArray whole = bytes();
    for (qint64 at = 0; at < whole.size(); ++at) {
        QByteArray changed = whole;
        changed[at] = static_cast<char>(changed[at] ^ 1);
        setBytes(changed);
        const auto count = std::ranges::count_if(ends, [at](qint64 end) { return end <= at; });
        EXPECT_EQ(found().size(), count) << at;
    }
}

TEST_F(SealedLogTest, EndsBeforeARecordThatIsOutOfItsPlace)
{
    const QList<qint64> ends = writeThree();
    const QByteArray whole = bytes();
    const QByteArray one = whole.first(ends[0]);
    const QByteArray two = whole.sliced(ends[0], ends[1] - ends[0]);
    const QByteArray three = whole.sliced(ends[1]);
    setBytes(one + three + two);
    EXPECT_EQ(found(), QList<QByteArray>{"one"});
    setBytes(one + two + two);
    EXPECT_EQ(found(), (QList<QByteArray>{"one", "two"}));
    setBytes(two + three);
    EXPECT_EQ(found(), QList<QByteArray>());
}

TEST_F(SealedLogTest, EndsBeforeARecordOfAnotherLog)
{
    const QList<qint64> ends = writeThree();
    const QByteArray two = bytes().sliced(ends[0], ends[1] - ends[0]);
    ASSERT_TRUE(opened().replace("other"));
    setBytes(bytes() + two);
    EXPECT_EQ(found(), QList<QByteArray>{"other"});
}

TEST_F(SealedLogTest, FindsNothingUnderAnotherKey)
{
    writeThree();
    EXPECT_EQ(SealedLog(path(), cipher('o')).read(noLimit), QList<QByteArray>());
}

TEST_F(SealedLogTest, AddsBehindTheLastWholeRecordWhereAWriteWasCutShort)
{
    const QList<qint64> ends = writeThree();
    setBytes(bytes().first(ends[2] - 1));
    SealedLog log = opened();
    EXPECT_EQ(log.read(noLimit).size(), 2);
    EXPECT_TRUE(log.append("third"));
    EXPECT_EQ(found(), (QList<QByteArray>{"one", "two", "third"}));
}

TEST_F(SealedLogTest, AddsToNothingThatBecameShorterMeanwhile)
{
    const QList<qint64> ends = writeThree();
    SealedLog log = opened();
    log.read(noLimit);
    setBytes(bytes().first(ends[1]));
    EXPECT_FALSE(log.append("four"));
    EXPECT_EQ(found().size(), 2);
}

TEST_F(SealedLogTest, IsToBeReplacedOnceItIsTwiceAsLargeAsItWas)
{
    SealedLog log = opened();
    const QByteArray base(SealedLog::smallest, 'x');
    ASSERT_TRUE(log.replace(base));
    const QByteArray quarter(SealedLog::smallest / 4, 'y');
    int added = 0;
    while (added < 10 && log.append(quarter))
        ++added;
    EXPECT_EQ(added, 3) << "the fourth would be beyond";
    EXPECT_EQ(found().size(), 4) << "what was refused left no trace";
    ASSERT_TRUE(log.replace(base));
    EXPECT_TRUE(log.append(quarter));
}

TEST_F(SealedLogTest, MayGrowToItsSmallestSizeInAnyCase)
{
    SealedLog log = opened();
    ASSERT_TRUE(log.replace("x"));
    EXPECT_TRUE(log.append(QByteArray(SealedLog::smallest / 2, 'y')));
    EXPECT_FALSE(log.append(QByteArray(SealedLog::smallest / 2, 'y')));
}

TEST_F(SealedLogTest, AddsToNothingAfterAReplacementThatFailed)
{
    writeThree();
    SealedLog log = opened();
    log.read(noLimit);
    const QString elsewhere = temporary.path() + u"/elsewhere"_s;
    ASSERT_TRUE(QFile::rename(path(), elsewhere));
    ASSERT_TRUE(QDir().mkpath(path() + u"/in the way"_s));
    EXPECT_FALSE(log.replace("all"));
    ASSERT_TRUE(QDir(path()).removeRecursively());
    ASSERT_TRUE(QFile::rename(elsewhere, path()));
    EXPECT_FALSE(log.append("four")) << "it lacks what the replacement held";
    EXPECT_EQ(found().size(), 3);
    EXPECT_TRUE(log.replace("all"));
    EXPECT_EQ(found(), QList<QByteArray>{"all"});
}

TEST_F(SealedLogTest, IsNoneWhereItIsTooLarge)
{
    writeThree();
    const qint64 size = bytes().size();
    EXPECT_EQ(opened().read(size).size(), 3);
    EXPECT_EQ(opened().read(size - 1).size(), 0);
}

TEST_F(SealedLogTest, NeverReadsOrWritesWhereALinkLeads)
{
    writeThree();
    const QString target = temporary.path() + u"/target"_s;
    SealedLog log = opened();
    log.read(noLimit);
    ASSERT_TRUE(QFile::rename(path(), target));
    ASSERT_TRUE(QFile::link(target, path()));
    const qint64 size = QFileInfo(target).size();
    EXPECT_FALSE(log.append("four"));
    EXPECT_EQ(found(), QList<QByteArray>());
    EXPECT_TRUE(log.replace("all"));
    EXPECT_EQ(QFileInfo(target).size(), size);
    EXPECT_EQ(found(), QList<QByteArray>{"all"});
}

} // namespace
} // namespace Larkhaven
