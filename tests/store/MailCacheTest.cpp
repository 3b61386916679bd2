#include "store/MailCache.h"

#include "store/AESGCMCipher.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

constexpr qint64 overhead = 28; ///< of a sealed box

std::shared_ptr<const CacheCipher> cipher(char key = 'k')
{
    return std::make_shared<AESGCMCipher>(QByteArray(32, key));
}

/// Seals nothing.
class FailingCipher final : public CacheCipher {
public:
    QByteArray seal(const QByteArray&) const override { throw MailError::protocolError(u"no"_s); }
    QByteArray open(const QByteArray&) const override { throw MailError::protocolError(u"no"_s); }
};

QString hexName(const QByteArray& text)
{
    return QString::fromLatin1(QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex());
}

class MailCacheTest : public testing::Test {
protected:
    QString directory() const { return temporary.path() + u"/Larkhaven/ACCOUNT"_s; }
    QString messages() const { return directory() + u"/messages"_s; }
    QString messageFile(const QByteArray& key) const { return messages() + u'/' + hexName(key); }

    std::unique_ptr<MailCache> made(qint64 maxBytes = 524'288'000) const
    {
        return std::make_unique<MailCache>(directory(), cipher(), maxBytes);
    }

    /// Writes a message whose file will be `size` bytes long, as if that had been `age` seconds ago.
    void write(MailCache& cache, const QString& key, qint64 size, int age) const
    {
        await(cache.write(key, QByteArray(size - overhead, 'x')));
        setAge(key, age);
    }

    void setAge(const QString& key, int age) const
    {
        QFile file(messageFile(key.toUtf8()));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        ASSERT_TRUE(file.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-age),
                                     QFileDevice::FileModificationTime));
    }

    QStringList keptOf(const QStringList& keys) const
    {
        QStringList kept;
        for (const QString& key : keys) {
            if (QFile::exists(messageFile(key.toUtf8())))
                kept.append(key);
        }
        return kept;
    }

    void change(const QString& path, const std::function<void(QByteArray&)>& changing) const
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        QByteArray bytes = file.readAll();
        changing(bytes);
        ASSERT_TRUE(file.resize(0));
        file.seek(0);
        file.write(bytes);
    }

    QTemporaryDir temporary;
};

using Bytes = std::optional<QByteArray>;

// --- What is on the disk

TEST_F(MailCacheTest, TouchesNoFileWhenItIsMade)
{
    const auto cache = made();
    EXPECT_EQ(await(cache->read(u"a"_s)), std::nullopt);
    EXPECT_EQ(await(cache->readSnapshot(u"imap"_s)), std::nullopt);
    EXPECT_EQ(await(cache->usedBytes()), 0);
    await(cache->remove(u"a"_s));
    EXPECT_TRUE(QDir(temporary.path()).isEmpty());
}

TEST_F(MailCacheTest, GivesBackWhatWasWritten)
{
    const auto cache = made();
    const QByteArray message("From: ann\r\n\r\n\0\xff", 15);
    await(cache->write(u"a"_s, message));
    await(cache->write(u"empty"_s, QByteArray()));
    EXPECT_EQ(await(cache->read(u"a"_s)), message);
    EXPECT_EQ(await(cache->read(u"empty"_s)), Bytes(QByteArray("")));
    EXPECT_EQ(await(cache->read(u"b"_s)), std::nullopt);
    EXPECT_EQ(await(made()->read(u"a"_s)), message);
}

TEST_F(MailCacheTest, NamesFilesByTheDigestOfTheKey)
{
    const auto cache = made();
    await(cache->write(u"imap:1:2:Entwürfe"_s, "x"));
    await(cache->writeSnapshot(u"imap"_s, "y"));
    EXPECT_EQ(QDir(messages()).entryList(QDir::Files | QDir::Hidden),
              QStringList(hexName("imap:1:2:Entw\xC3\xBCrfe")));
    EXPECT_TRUE(QFile::exists(directory() + u'/' + hexName("snapshot:imap")));
    // A digest that does not come from this program.
    EXPECT_EQ(hexName("abc"), u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST_F(MailCacheTest, KeepsItsFoldersForTheOwnerAlone)
{
    const mode_t mask = ::umask(0);
    await(made()->write(u"a"_s, "x"));
    ::umask(mask);
    for (const QString& path : {directory(), messages()}) {
        struct stat status {};
        ASSERT_EQ(::stat(QFile::encodeName(path).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0700U) << path.toStdString();
    }
}

TEST_F(MailCacheTest, IsExcludedFromBackups)
{
    await(made()->write(u"a"_s, "x"));
    QFile tag(directory() + u"/CACHEDIR.TAG"_s);
    ASSERT_TRUE(tag.open(QIODevice::ReadOnly));
    EXPECT_TRUE(tag.readAll().startsWith("Signature: 8a477f597d28d172789f06886806bc55"));
}

TEST_F(MailCacheTest, IsExcludedFromBackupsByItsFirstSnapshotAsWell)
{
    await(made()->writeSnapshot(u"gmail"_s, "x"));
    EXPECT_TRUE(QFile::exists(directory() + u"/CACHEDIR.TAG"_s));
    EXPECT_FALSE(QFile::exists(messages()));
}

TEST_F(MailCacheTest, WritesNothingReadableAnywhere)
{
    const QByteArray subject = "Subject: very secret plans";
    const auto cache = made();
    await(cache->write(u"imap:17:4711:Hidden"_s,
                       "From: ann@x.example\r\n" + subject + "\r\n\r\nBody text\r\n"));
    await(cache->writeSnapshot(u"imap"_s, R"({"Hidden":{"messages":{"4711":{"subject":"secret"}}}})"));
    int files = 0;
    QDirIterator all(temporary.path(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString path = all.next();
        for (const QString& word : {u"imap"_s, u"4711"_s, u"Hidden"_s})
            EXPECT_FALSE(path.mid(temporary.path().size()).contains(word)) << path.toStdString();
        QFile file(path);
        if (QFileInfo(path).isDir() || !file.open(QIODevice::ReadOnly))
            continue;
        ++files;
        const QByteArray bytes = file.readAll();
        for (const QByteArray word :
             {"secret", "Subject", "ann@x", "Body", "imap:", "4711", "Hidden", "messages"})
            EXPECT_FALSE(bytes.contains(word)) << path.toStdString();
    }
    EXPECT_EQ(files, 3) << "the message, the snapshot and the tag";
}

TEST_F(MailCacheTest, SealsTheFilesAsBoxesOfTheCipher)
{
    await(made()->write(u"a"_s, "hello"));
    QFile file(messageFile("a"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray box = file.readAll();
    EXPECT_EQ(box.size(), overhead + 5);
    EXPECT_EQ(cipher()->open(box), "hello");
}

// --- Misses

TEST_F(MailCacheTest, MissesWhatWasCutChangedOrSealedUnderAnotherKey)
{
    const QStringList keys{u"cut"_s, u"flipped"_s, u"short"_s, u"empty"_s};
    const auto cache = made();
    for (const QString& key : keys)
        await(cache->write(key, "hello"));
    change(messageFile("cut"), [](QByteArray& bytes) { bytes.chop(1); });
    change(messageFile("flipped"), [](QByteArray& bytes) { bytes[20] = static_cast<char>(bytes[20] ^ 1); });
    change(messageFile("short"), [](QByteArray& bytes) { bytes.truncate(27); });
    change(messageFile("empty"), [](QByteArray& bytes) { bytes.clear(); });
    for (const QString& key : keys)
        EXPECT_EQ(await(cache->read(key)), std::nullopt) << key.toStdString();
    EXPECT_EQ(keptOf(keys), keys) << "the files stay";
    await(cache->write(u"whole"_s, "hello"));
    MailCache other(directory(), cipher('o'), 1000);
    EXPECT_EQ(await(other.read(u"whole"_s)), std::nullopt);
    await(cache->write(u"flipped"_s, "again"));
    EXPECT_EQ(await(cache->read(u"flipped"_s)), "again");
}

TEST_F(MailCacheTest, MissesASnapshotThatWasChanged)
{
    const auto cache = made();
    await(cache->writeSnapshot(u"imap"_s, "{}"));
    change(directory() + u'/' + hexName("snapshot:imap"), [](QByteArray& bytes) { bytes += 'x'; });
    EXPECT_EQ(await(cache->readSnapshot(u"imap"_s)), std::nullopt);
}

TEST_F(MailCacheTest, DropsAWriteThatCannotBeSealed)
{
    MailCache cache(directory(), std::make_shared<FailingCipher>(), 1000);
    await(cache.write(u"a"_s, "x"));
    await(cache.writeSnapshot(u"imap"_s, "x"));
    EXPECT_TRUE(QDir(temporary.path()).isEmpty());
}

TEST_F(MailCacheTest, DropsAWriteWhereNoFolderCanBeMade)
{
    QFile obstacle(temporary.path() + u"/Larkhaven"_s);
    ASSERT_TRUE(obstacle.open(QIODevice::WriteOnly));
    const auto cache = made();
    await(cache->write(u"a"_s, "x"));
    await(cache->writeSnapshot(u"imap"_s, "x"));
    EXPECT_EQ(await(cache->read(u"a"_s)), std::nullopt);
    EXPECT_EQ(await(cache->usedBytes()), 0);
}

TEST_F(MailCacheTest, LeavesTheTotalAloneWhereAFileCannotBeWritten)
{
    const auto cache = made();
    await(cache->write(u"a"_s, "hello"));
    // A folder stands where the file would go.
    ASSERT_TRUE(QDir().mkpath(messageFile("b") + u"/x"_s));
    await(cache->write(u"b"_s, "hello"));
    EXPECT_EQ(await(cache->usedBytes()), overhead + 5);
    EXPECT_EQ(await(cache->read(u"b"_s)), std::nullopt);
}

// --- The total

TEST_F(MailCacheTest, CountsOnlyTheNewerOfTwoWritesOfAKey)
{
    const auto cache = made();
    await(cache->write(u"a"_s, QByteArray(100, 'x')));
    EXPECT_EQ(await(cache->usedBytes()), overhead + 100);
    await(cache->write(u"a"_s, QByteArray(7, 'x')));
    EXPECT_EQ(await(cache->usedBytes()), overhead + 7);
    await(cache->write(u"a"_s, QByteArray(50, 'x')));
    EXPECT_EQ(await(cache->usedBytes()), overhead + 50);
    EXPECT_EQ(await(made()->usedBytes()), overhead + 50);
}

TEST_F(MailCacheTest, IsZeroWithoutALookAfterEverythingWasRemoved)
{
    const auto cache = made();
    await(cache->write(u"a"_s, "x"));
    await(cache->writeSnapshot(u"imap"_s, "y"));
    await(cache->removeAll());
    EXPECT_FALSE(QFile::exists(directory()));
    // A file that lies there all the same isn't noticed: nothing was listed.
    ASSERT_TRUE(QDir().mkpath(messages()));
    QFile stray(messages() + u"/stray"_s);
    ASSERT_TRUE(stray.open(QIODevice::WriteOnly));
    stray.write("12345");
    stray.close();
    EXPECT_EQ(await(cache->usedBytes()), 0);
}

TEST_F(MailCacheTest, MakesItsFoldersAgainAfterEverythingWasRemoved)
{
    const auto cache = made();
    await(cache->write(u"a"_s, "x"));
    await(cache->removeAll());
    await(cache->write(u"b"_s, "y"));
    EXPECT_EQ(await(cache->read(u"b"_s)), "y");
    EXPECT_EQ(await(cache->usedBytes()), overhead + 1);
    EXPECT_TRUE(QFile::exists(directory() + u"/CACHEDIR.TAG"_s));
}

TEST_F(MailCacheTest, NeverComesBackOnceItIsRetired)
{
    const auto cache = made();
    await(cache->write(u"a"_s, "x"));
    await(cache->writeSnapshot(u"imap"_s, "y"));
    await(cache->retire());
    EXPECT_FALSE(QFileInfo::exists(directory()));
    // What was under way arrives.
    await(cache->write(u"b"_s, "late"));
    await(cache->writeSnapshot(u"imap"_s, "late"));
    EXPECT_FALSE(QFileInfo::exists(directory()));
    EXPECT_EQ(await(cache->read(u"b"_s)), std::nullopt);
    EXPECT_EQ(await(cache->readSnapshot(u"imap"_s)), std::nullopt);
    EXPECT_EQ(await(cache->usedBytes()), 0);
    await(cache->retire());
    await(cache->removeAll());
    await(cache->write(u"b"_s, "later"));
    EXPECT_FALSE(QFileInfo::exists(directory()));
}

TEST_F(MailCacheTest, ReadsNothingThatComesBackOnceItIsRetired)
{
    const auto cache = made();
    await(cache->retire());
    const auto another = made();
    await(another->write(u"a"_s, "x"));
    await(another->writeSnapshot(u"imap"_s, "y"));
    EXPECT_EQ(await(cache->read(u"a"_s)), std::nullopt);
    EXPECT_EQ(await(cache->readSnapshot(u"imap"_s)), std::nullopt);
    EXPECT_EQ(await(another->read(u"a"_s)), "x");
}

TEST_F(MailCacheTest, DropsWritesThatWaitBehindItsRetirement)
{
    const auto cache = made();
    Begun<void> first(cache->write(u"a"_s, "x"));
    Begun<void> retiring(cache->retire());
    Begun<void> second(cache->write(u"b"_s, "y"));
    first.get();
    retiring.get();
    second.get();
    EXPECT_FALSE(QFileInfo::exists(directory()));
}

TEST_F(MailCacheTest, MissesWhatIsNoRegularFile)
{
    const auto cache = made();
    for (const QString& key : {u"pipe"_s, u"link"_s, u"folder"_s})
        await(cache->write(key, "text"));
    await(cache->writeSnapshot(u"imap"_s, "text"));
    const QString snapshot = directory() + u'/' + hexName("snapshot:imap");
    const QString kept = temporary.path() + u"/kept"_s;
    ASSERT_TRUE(QFile::rename(messageFile("link"), kept));
    ASSERT_TRUE(QFile::link(kept, messageFile("link")));
    for (const QString& path : {messageFile("pipe"), snapshot}) {
        ASSERT_TRUE(QFile::remove(path));
        ASSERT_EQ(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    }
    ASSERT_TRUE(QFile::remove(messageFile("folder")));
    ASSERT_TRUE(QDir().mkdir(messageFile("folder")));
    for (const QString& key : {u"pipe"_s, u"link"_s, u"folder"_s})
        EXPECT_EQ(await(cache->read(key)), std::nullopt) << key.toStdString();
    EXPECT_EQ(await(cache->readSnapshot(u"imap"_s)), std::nullopt);
    // A write takes their place, and touches nothing that a link leads to.
    const QByteArray before = QFileInfo(kept).lastModified().toString(Qt::ISODateWithMs).toUtf8();
    for (const QString& key : {u"pipe"_s, u"link"_s}) {
        await(cache->write(key, "new"));
        EXPECT_EQ(await(cache->read(key)), Bytes("new")) << key.toStdString();
    }
    await(cache->writeSnapshot(u"imap"_s, "new"));
    EXPECT_EQ(await(cache->readSnapshot(u"imap"_s)), Bytes("new"));
    EXPECT_EQ(QFileInfo(kept).lastModified().toString(Qt::ISODateWithMs).toUtf8(), before);
    EXPECT_EQ(QFileInfo(kept).size(), 4 + overhead);
}

TEST_F(MailCacheTest, DoesNotWaitForAPipeInPlaceOfTheMarkForBackups)
{
    ASSERT_TRUE(QDir().mkpath(directory()));
    ASSERT_EQ(::mkfifo(QFile::encodeName(directory() + u"/CACHEDIR.TAG"_s).constData(), 0600), 0);
    const auto cache = made();
    await(cache->write(u"a"_s, "x"));
    EXPECT_EQ(await(cache->read(u"a"_s)), Bytes("x"));
}

TEST_F(MailCacheTest, MissesAFileThatIsLargerThanAnythingItWrites)
{
    const auto cache = made();
    await(cache->write(u"a"_s, "x"));
    QFile file(messageFile("a"));
    ASSERT_TRUE(file.resize(MailCache::fileLimit + 1)); // sparse
    EXPECT_EQ(await(cache->read(u"a"_s)), std::nullopt);
}

TEST_F(MailCacheTest, ListsItsFolderAfterARemoval)
{
    const auto cache = made();
    await(cache->write(u"a"_s, "x"));
    await(cache->write(u"b"_s, "y"));
    QFile stray(messages() + u"/.stray"_s);
    ASSERT_TRUE(stray.open(QIODevice::WriteOnly));
    stray.write("12345");
    stray.close();
    EXPECT_EQ(await(cache->usedBytes()), 2 * (overhead + 1)) << "not noticed until the next count";
    await(cache->remove(u"a"_s));
    EXPECT_EQ(await(cache->usedBytes()), overhead + 1 + 5) << "hidden files count";
    EXPECT_EQ(await(cache->read(u"a"_s)), std::nullopt);
}

// --- Eviction

TEST_F(MailCacheTest, EvictsNothingAtExactlyTheLimit)
{
    const auto cache = made(1000);
    write(*cache, u"a"_s, 500, 20);
    write(*cache, u"b"_s, 500, 10);
    EXPECT_EQ(keptOf({u"a"_s, u"b"_s}), QStringList({u"a"_s, u"b"_s}));
    EXPECT_EQ(await(cache->usedBytes()), 1000);
}

TEST_F(MailCacheTest, EvictsDownToFourFifthsOneBytePastTheLimit)
{
    const auto cache = made(1000);
    const QStringList keys{u"a"_s, u"b"_s, u"c"_s, u"d"_s};
    write(*cache, keys[0], 100, 40);
    write(*cache, keys[1], 100, 30);
    write(*cache, keys[2], 400, 20);
    write(*cache, keys[3], 401, 10);
    EXPECT_EQ(keptOf(keys), QStringList(u"d"_s)) << "801 without the first two is still too much";
    EXPECT_EQ(await(cache->usedBytes()), 401);
}

TEST_F(MailCacheTest, StopsEvictingAtExactlyFourFifths)
{
    const auto cache = made(1000);
    const QStringList keys{u"a"_s, u"b"_s, u"c"_s};
    write(*cache, keys[0], 201, 30);
    write(*cache, keys[1], 400, 20);
    write(*cache, keys[2], 400, 10);
    EXPECT_EQ(keptOf(keys), QStringList({u"b"_s, u"c"_s}));
    EXPECT_EQ(await(cache->usedBytes()), 800);
}

TEST_F(MailCacheTest, EvictsEverythingForAWriteThatIsLargerThanTheLimit)
{
    const auto cache = made(1000);
    write(*cache, u"a"_s, 300, 20);
    await(cache->write(u"huge"_s, QByteArray(5000, 'x')));
    EXPECT_EQ(keptOf({u"a"_s, u"huge"_s}), QStringList());
    EXPECT_EQ(await(cache->usedBytes()), 0);
}

TEST_F(MailCacheTest, KeepsYoungerFilesThanAWriteThatIsLargerThanTheLimit)
{
    const auto cache = made(1000);
    // Files that will still be younger when the large one is written.
    write(*cache, u"a"_s, 300, -3600);
    await(cache->write(u"huge"_s, QByteArray(5000, 'x')));
    EXPECT_EQ(keptOf({u"a"_s, u"huge"_s}), QStringList(u"a"_s));
    EXPECT_EQ(await(cache->usedBytes()), 300);
}

TEST_F(MailCacheTest, EvictsFilesOfTheSameDateInTheOrderOfTheListing)
{
    const auto cache = made(1000);
    const QStringList keys{u"a"_s, u"b"_s, u"c"_s, u"d"_s};
    const QDateTime same = QDateTime::currentDateTimeUtc().addSecs(-100);
    for (const QString& key : keys) {
        await(cache->write(key, QByteArray(200 - overhead, 'x')));
        QFile file(messageFile(key.toUtf8()));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        ASSERT_TRUE(file.setFileTime(same, QFileDevice::FileModificationTime));
    }
    QStringList listed;
    QDirIterator listing(messages(), QDir::Files);
    while (listing.hasNext())
        listed.append(listing.next());
    await(cache->write(u"last"_s, QByteArray(201 - overhead, 'x')));
    // 1001 bytes: two of 200 go until 601 are left; one leaves 801.
    EXPECT_FALSE(QFile::exists(listed[0]));
    EXPECT_FALSE(QFile::exists(listed[1]));
    EXPECT_TRUE(QFile::exists(listed[2]));
    EXPECT_TRUE(QFile::exists(listed[3]));
}

TEST_F(MailCacheTest, SparesAnOldMessageThatWasReadLately)
{
    const auto cache = made(1000);
    const QStringList keys{u"old"_s, u"younger"_s, u"new"_s};
    write(*cache, keys[0], 400, 300);
    write(*cache, keys[1], 400, 200);
    EXPECT_TRUE(await(cache->read(keys[0])).has_value());
    await(cache->write(keys[2], QByteArray(400 - overhead, 'x')));
    EXPECT_EQ(keptOf(keys), QStringList({u"old"_s, u"new"_s}));
}

TEST_F(MailCacheTest, EvictsAFileWhoseDateCannotBeReadFirstAndCountsItAsNothing)
{
    const auto cache = made(1000);
    const QStringList keys{u"a"_s, u"b"_s};
    write(*cache, keys[0], 300, 20);
    // A link to nowhere has neither a date nor a size.
    const QString link = messages() + u"/nowhere"_s;
    ASSERT_EQ(::symlink("/nonexistent/target", QFile::encodeName(link).constData()), 0);
    write(*cache, keys[1], 701, 10);
    EXPECT_FALSE(QFileInfo(link).isSymLink());
    EXPECT_EQ(keptOf(keys), QStringList(u"b"_s)) << "the link didn't bring the total down";
    EXPECT_EQ(await(cache->usedBytes()), 701);
}

TEST_F(MailCacheTest, SubtractsWhatCannotBeDeletedAllTheSame)
{
    const auto cache = made(1000);
    const QStringList keys{u"a"_s, u"b"_s};
    write(*cache, keys[0], 300, 20);
    // A folder that isn't empty is no file that can be deleted.
    const QString folder = messages() + u"/folder"_s;
    ASSERT_TRUE(QDir().mkpath(folder + u"/x"_s));
    await(cache->write(keys[1], QByteArray(900 - overhead, 'x')));
    EXPECT_TRUE(QFile::exists(folder));
    EXPECT_LE(await(cache->usedBytes()), 800);
}

TEST_F(MailCacheTest, TakesNoMessageOutForALargeSnapshot)
{
    const auto cache = made(1000);
    write(*cache, u"a"_s, 900, 20);
    await(cache->writeSnapshot(u"imap"_s, QByteArray(5'000'000, 'x')));
    await(cache->write(u"b"_s, QByteArray(100 - overhead, 'x')));
    EXPECT_EQ(keptOf({u"a"_s, u"b"_s}), QStringList({u"a"_s, u"b"_s}));
    EXPECT_EQ(await(cache->usedBytes()), 1000);
    EXPECT_EQ(await(cache->readSnapshot(u"imap"_s))->size(), 5'000'000);
}

TEST_F(MailCacheTest, NeverEvictsASnapshot)
{
    const auto cache = made(1000);
    await(cache->writeSnapshot(u"imap"_s, "state"));
    await(cache->write(u"huge"_s, QByteArray(5000, 'x')));
    EXPECT_EQ(await(cache->readSnapshot(u"imap"_s)), "state");
}

// --- Logs

using Records = QList<QByteArray>;

/// The record that makes a log anew.
std::function<QByteArray()> whole(const QByteArray& record)
{
    return [record] { return record; };
}

TEST_F(MailCacheTest, AddsToTheLogOfItsOwner)
{
    const auto cache = made();
    const MailCache::Log log = await(cache->readLog(u"imap"_s));
    EXPECT_EQ(log.records, Records());
    cache->updateLog(u"imap"_s, log.owner, "lost", whole("all"));
    cache->updateLog(u"imap"_s, log.owner, "change", whole("unused"));
    await(cache->usedBytes());
    EXPECT_EQ(await(made()->readLog(u"imap"_s)).records, (Records{"all", "change"}));
    EXPECT_TRUE(QFile::exists(directory() + u'/' + hexName("log:imap")));
}

TEST_F(MailCacheTest, ReplacesALogWhoseOwnerHasNoChangeToAdd)
{
    const auto cache = made();
    const quint64 owner = await(cache->readLog(u"imap"_s)).owner;
    cache->updateLog(u"imap"_s, owner, {}, whole("one"));
    cache->updateLog(u"imap"_s, owner, {}, whole("two"));
    await(cache->usedBytes());
    EXPECT_EQ(await(made()->readLog(u"imap"_s)).records, Records{"two"});
}

TEST_F(MailCacheTest, TakesNothingMoreFromAnOwnerOnceAnotherHasReadTheLog)
{
    const auto cache = made();
    const quint64 first = await(cache->readLog(u"imap"_s)).owner;
    cache->updateLog(u"imap"_s, first, {}, whole("first"));
    const quint64 second = await(cache->readLog(u"imap"_s)).owner;
    cache->updateLog(u"imap"_s, first, "late", whole("late"));
    cache->updateLog(u"imap"_s, second, "second", whole("unused"));
    EXPECT_EQ(await(cache->readLog(u"imap"_s)).records, (Records{"first", "second"}));
}

TEST_F(MailCacheTest, TakesNothingMoreFromAnOwnerOnceEverythingWasRemoved)
{
    const auto cache = made();
    const quint64 owner = await(cache->readLog(u"imap"_s)).owner;
    cache->updateLog(u"imap"_s, owner, {}, whole("rows of the old server"));
    await(cache->removeAll());
    cache->updateLog(u"imap"_s, owner, "late", whole("late"));
    EXPECT_EQ(await(cache->usedBytes()), 0);
    EXPECT_FALSE(QFileInfo::exists(directory()));
    EXPECT_EQ(await(cache->readLog(u"imap"_s)).records, Records());
}

TEST_F(MailCacheTest, KeepsALogThatIsWrittenWhileItGoes)
{
    {
        const auto cache = made();
        const quint64 owner = await(cache->readLog(u"imap"_s)).owner;
        cache->updateLog(u"imap"_s, owner, {}, whole("all"));
    }
    EXPECT_EQ(await(made()->readLog(u"imap"_s)).records, Records{"all"});
}

TEST_F(MailCacheTest, HasNoLogOnceItIsRetired)
{
    const auto cache = made();
    const quint64 owner = await(cache->readLog(u"imap"_s)).owner;
    cache->updateLog(u"imap"_s, owner, {}, whole("all"));
    await(cache->retire());
    const quint64 next = await(cache->readLog(u"imap"_s)).owner;
    for (const quint64 any : {owner, next})
        cache->updateLog(u"imap"_s, any, "late", whole("late"));
    EXPECT_EQ(await(cache->readLog(u"imap"_s)).records, Records());
    EXPECT_FALSE(QFileInfo::exists(directory()));
}

TEST_F(MailCacheTest, KeepsASnapshotUntilThereIsALogInItsPlace)
{
    const auto cache = made();
    await(cache->writeSnapshot(u"imap"_s, "old"));
    const quint64 owner = await(cache->readLog(u"imap"_s)).owner;
    ASSERT_TRUE(QDir().mkpath(directory() + u'/' + hexName("log:imap") + u"/in the way"_s));
    cache->updateLog(u"imap"_s, owner, {}, whole("all"));
    EXPECT_EQ(await(cache->readSnapshot(u"imap"_s)), "old");
    ASSERT_TRUE(QDir(directory() + u'/' + hexName("log:imap")).removeRecursively());
    cache->updateLog(u"imap"_s, owner, {}, whole("all"));
    EXPECT_EQ(await(cache->readSnapshot(u"imap"_s)), std::nullopt);
    EXPECT_EQ(await(cache->readLog(u"imap"_s)).records, Records{"all"});
}

TEST_F(MailCacheTest, EvictsNoLogAndCountsNone)
{
    const auto cache = made(1000);
    const quint64 owner = await(cache->readLog(u"imap"_s)).owner;
    cache->updateLog(u"imap"_s, owner, {}, whole(QByteArray(5000, 'x')));
    write(*cache, u"a"_s, 500, 10);
    EXPECT_EQ(await(cache->usedBytes()), 500);
    write(*cache, u"b"_s, 600, 5);
    EXPECT_EQ(keptOf({u"a"_s, u"b"_s}), QStringList(u"b"_s));
    EXPECT_EQ(await(cache->readLog(u"imap"_s)).records.size(), 1);
}

// --- Accounts, snapshots, order

TEST_F(MailCacheTest, KeepsTheSameKeyOfTwoAccountsApart)
{
    MailCache first(temporary.path() + u"/1"_s, cipher('1'), 1000);
    MailCache second(temporary.path() + u"/2"_s, cipher('2'), 1000);
    await(first.write(u"a"_s, "one"));
    await(second.write(u"a"_s, "two"));
    EXPECT_EQ(await(first.read(u"a"_s)), "one");
    EXPECT_EQ(await(second.read(u"a"_s)), "two");
    const QString name = hexName("a");
    ASSERT_TRUE(QFile::remove(temporary.path() + u"/2/messages/"_s + name));
    ASSERT_TRUE(QFile::copy(temporary.path() + u"/1/messages/"_s + name,
                            temporary.path() + u"/2/messages/"_s + name));
    EXPECT_EQ(await(second.read(u"a"_s)), std::nullopt) << "each has its own key";
}

TEST_F(MailCacheTest, TellsSnapshotsAndMessagesOfTheSameNameApart)
{
    const auto cache = made();
    await(cache->write(u"snapshot:imap"_s, "message"));
    await(cache->writeSnapshot(u"imap"_s, "one"));
    await(cache->writeSnapshot(u"imap"_s, "two"));
    await(cache->writeSnapshot(u"gmail"_s, "other"));
    EXPECT_EQ(await(cache->read(u"snapshot:imap"_s)), "message");
    EXPECT_EQ(await(cache->readSnapshot(u"imap"_s)), "two");
    EXPECT_EQ(await(cache->readSnapshot(u"gmail"_s)), "other");
}

TEST_F(MailCacheTest, RunsOperationsInTheOrderOfTheirCalls)
{
    const auto cache = made();
    Begun<void> first(cache->write(u"a"_s, "one"));
    Begun<void> second(cache->write(u"a"_s, "two"));
    Begun<Bytes> third(cache->read(u"a"_s));
    Begun<void> fourth(cache->removeAll());
    Begun<Bytes> fifth(cache->read(u"a"_s));
    EXPECT_EQ(third.get(), "two");
    EXPECT_EQ(fifth.get(), std::nullopt);
    EXPECT_TRUE(first.isDone() && second.isDone() && fourth.isDone());
}

TEST_F(MailCacheTest, MayBeDroppedWhileOperationsRun)
{
    auto cache = made();
    Begun<void> writing(cache->write(u"a"_s, QByteArray(3'000'000, 'x')));
    Begun<Bytes> reading(cache->read(u"a"_s));
    cache.reset();
    writing.get();
    EXPECT_EQ(reading.get()->size(), 3'000'000);
}

} // namespace
} // namespace Larkhaven
