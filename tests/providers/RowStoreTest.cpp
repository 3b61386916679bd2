#include "providers/RowStore.h"

#include "domain/Coding.h"
#include "store/AESGCMCipher.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QUuid account(u"{01234567-89ab-cdef-0123-456789abcdef}"_s);

MessageSummary summaryOf(const QString& subject, qint64 seconds = 0)
{
    MessageSummary summary;
    summary.id = u"id"_s;
    summary.accountID = account;
    summary.from = EmailAddress(u"Ann"_s, u"ann@x.example"_s);
    summary.to = {EmailAddress(std::nullopt, u"bob@x.example"_s)};
    summary.subject = subject;
    summary.date = QDateTime::fromSecsSinceEpoch(1'700'000'000 + seconds, Qt::UTC);
    summary.mailbox = u"Inbox"_s;
    return summary;
}

MessageSummary richSummary()
{
    MessageSummary summary = summaryOf(u"Grüße 👩‍👩‍👧"_s);
    summary.from = EmailAddress(std::nullopt, u"ann@x.example"_s);
    summary.to.append(EmailAddress(u"Zoë"_s, u"z@x.example"_s));
    summary.snippet = u"Hello"_s;
    summary.isRead = true;
    summary.hasAttachments = true;
    summary.size = 123'456'789'012;
    summary.labelIDs = {u"INBOX"_s, u"Label_1"_s};
    summary.sender =
        Sender{{EmailAddress(u"x"_s, u"real@x.example"_s)}, Sender::Names::holdHiddenCharacters, false};
    return summary;
}

// --- Packed rows

TEST(PackedRow, GivesBackTheSummaryThatWasPacked)
{
    const MessageSummary summary = richSummary();
    for (const bool isUnconfirmed : {false, true}) {
        const PackedRow row = PackedRow::of(summary, isUnconfirmed);
        EXPECT_TRUE(row.isWhole());
        EXPECT_EQ(row.summary(summary.id, account), summary);
        EXPECT_EQ(row.unpackedState().isUnconfirmed, isUnconfirmed);
        EXPECT_EQ(row.date(), summary.date.toMSecsSinceEpoch());
    }
    MessageSummary starred = summaryOf({});
    starred.isStarred = true;
    starred.from = std::nullopt;
    starred.to.clear();
    EXPECT_EQ(PackedRow::of(starred).summary(starred.id, account), starred);
}

TEST(PackedRow, GivesBackWhateverDateAndSizeAMessageClaims)
{
    for (const int year : {-4'000, 1, 1969, 250'000}) {
        MessageSummary summary = summaryOf({});
        summary.date = QDateTime(QDate(year, 1, 1), QTime(0, 0, 1, 7), Qt::UTC);
        for (const qint64 size : {std::numeric_limits<qint64>::max(), std::numeric_limits<qint64>::min()}) {
            summary.size = size;
            EXPECT_EQ(PackedRow::of(summary).summary(summary.id, account), summary) << year;
        }
    }
}

TEST(PackedRow, IsntWholeWhereItIsCutOffOrGoesOn)
{
    const PackedRow row = PackedRow::of(richSummary());
    for (qsizetype size = 0; size < row.content.size(); ++size)
        EXPECT_FALSE((PackedRow{row.content.first(size), row.state}.isWhole())) << size;
    for (qsizetype size = 0; size < row.state.size(); ++size)
        EXPECT_FALSE((PackedRow{row.content, row.state.first(size)}.isWhole())) << size;
    EXPECT_FALSE((PackedRow{row.content + 'x', row.state}.isWhole()));
    EXPECT_FALSE((PackedRow{row.content, row.state + 'x'}.isWhole()));
}

TEST(PackedRow, IsUnpackedWithoutAFailureWhereItIsWholeAndOnlyThere)
{
    const PackedRow row = PackedRow::of(richSummary());
    std::mt19937 random(7);
    int whole = 0;
    for (int round = 0; round < 20'000; ++round) {
        PackedRow changed = row;
        QByteArray& bytes = round % 2 == 0 ? changed.content : changed.state;
        bytes[static_cast<qsizetype>(random() % static_cast<std::size_t>(bytes.size()))] =
            static_cast<char>(random());
        if (!changed.isWhole())
            continue;
        ++whole;
        EXPECT_NO_THROW(changed.summary(u"id"_s, account)) << round;
    }
    EXPECT_GT(whole, 1000) << "most changes are in texts";
}

// --- Records

RowBoxes threeBoxes()
{
    RowBoxes boxes;
    boxes[u"INBOX"_s] = {"7",
                         {{"1", PackedRow::of(summaryOf(u"one"_s))}, {"2", PackedRow::of(richSummary())}}};
    boxes[u"Entw&APw-rfe"_s] = {"", {{"1", PackedRow::of(summaryOf(u"other"_s))}}};
    boxes[u"Empty"_s] = {"9", {}};
    return boxes;
}

TEST(RowRecords, MakeTheBoxesOfWhichTheyWereMade)
{
    RowBoxes boxes;
    RowRecords::apply(boxes, RowRecords::whole(threeBoxes()));
    EXPECT_EQ(boxes, threeBoxes());
    RowBoxes none;
    RowRecords::apply(none, RowRecords::whole({}));
    EXPECT_EQ(none, RowBoxes());
}

TEST(RowRecords, AreRefusedWhereTheyAreCutOffWithinARow)
{
    const QByteArray record = RowRecords::whole({{u"b"_s, {"7", {{"1", PackedRow::of(richSummary())}}}}});
    // After its three bytes of head and its note the box is whole, and empty.
    constexpr qsizetype box = 5;
    for (qsizetype size = 1; size < record.size(); ++size) {
        RowBoxes boxes;
        if (size == box)
            continue;
        EXPECT_THROW(RowRecords::apply(boxes, record.first(size)), DecodingError) << size;
    }
}

TEST(RowRecords, AreRefusedWhereTheyAreOfNoBoxOrUnknown)
{
    using namespace std::string_literals;
    for (const std::string& record : {"\0"s, "\x08"s, "\x05\x01k\x00\x00"s, "\x04\x01n"s,
                                      "\x02\x01x\x04\x01n"s, "\x01\x01x\x00\x06\x01k\x03\x00\x00\x00"s}) {
        RowBoxes boxes;
        EXPECT_THROW(RowRecords::apply(boxes, QByteArray::fromStdString(record)), DecodingError) << record;
    }
}

// --- The store

class RowStoreTest : public testing::Test {
protected:
    std::shared_ptr<MailCache> opened(const QString& name = u"cache"_s) const
    {
        return std::make_shared<MailCache>(folder.path() + u'/' + name,
                                           std::make_shared<AESGCMCipher>(QByteArray(32, 'k')), 100'000'000);
    }

    static RowBoxes noImport(const QByteArray&) { throw Coding::unreadable("snapshot"_L1); }

    static std::unique_ptr<RowStore> loaded(const std::shared_ptr<MailCache>& cache,
                                            RowStore::Ties ties = RowStore::Ties::stay)
    {
        auto store = std::make_unique<RowStore>(cache, u"imap"_s, ties);
        await(store->load(noImport));
        return store;
    }

    /// What the next start finds.
    RowBoxes stored() const { return loaded(opened())->boxes(); }

    /// Bytes of all files of the cache.
    qint64 size() const
    {
        qint64 sum = 0;
        QDirIterator files(folder.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            files.next();
            sum += files.fileInfo().size();
        }
        return sum;
    }

    QTemporaryDir folder;
};

TEST_F(RowStoreTest, KeepsItsRowsAcrossLaunches)
{
    {
        const auto store = loaded(opened());
        store->makeBox(u"INBOX"_s, "7");
        store->put(u"INBOX"_s, "1", PackedRow::of(summaryOf(u"one"_s)));
        store->put(u"made by its row"_s, "1", PackedRow::of(summaryOf(u"two"_s)));
    }
    const RowBoxes boxes = stored();
    EXPECT_EQ(boxes.size(), 2);
    EXPECT_EQ(boxes.value(u"INBOX"_s).note, "7");
    EXPECT_EQ(boxes.value(u"INBOX"_s).rows.value("1").summary({}, {}).subject, u"one");
}

TEST_F(RowStoreTest, StoresEachKindOfChange)
{
    const auto cache = opened();
    const auto store = loaded(cache);
    const auto row = [](const QString& subject) { return PackedRow::of(summaryOf(subject)); };
    PackedRow::State read = row({}).unpackedState();
    read.isRead = true;
    const std::vector<std::function<void()>> steps{
        [&] { store->makeBox(u"a"_s, "1"); },
        [&] { store->put(u"a"_s, "1", row(u"one"_s)); },
        [&] { store->put(u"a"_s, "2", row(u"two"_s)); },
        [&] { store->setState(u"a"_s, "1", read.packed()); },
        [&] { store->put(u"a"_s, "1", row(u"another"_s)); },
        [&] { store->setNote(u"a"_s, "2"); },
        [&] { store->remove(u"a"_s, "1"); },
        [&] {
            store->put(u"a"_s, "3", row(u"three"_s));
            store->put(u"a"_s, "4", row(u"four"_s));
            store->setState(u"a"_s, "4", read.packed());
            store->remove(u"a"_s, "3");
        },
        [&] { store->removeIf(u"a"_s, [](const QByteArray& key) { return key == "4"; }); },
        [&] { store->makeBox(u"b"_s, "9"); },
        [&] { store->dropBox(u"b"_s); },
        [&] {
            store->makeBox(u"c"_s, "9");
            store->dropBox(u"c"_s);
        },
        [&] {
            store->dropBox(u"a"_s);
            store->makeBox(u"a"_s, "3");
            store->put(u"a"_s, "5", row(u"five"_s));
        },
        [&] { store->makeBox(u"a"_s, "4"); },
    };
    int number = 0;
    for (const std::function<void()>& step : steps) {
        step();
        store->save();
        await(cache->usedBytes());
        EXPECT_EQ(stored(), store->boxes()) << number;
        ++number;
    }
}

TEST_F(RowStoreTest, StoresWhatRandomChangesLeave)
{
    std::mt19937 random(3);
    const auto below = [&random](std::size_t end) { return random() % end; };
    for (int round = 0; round < 20; ++round) {
        const auto cache = opened();
        const auto store = loaded(cache);
        for (int step = 0; step < 60; ++step) {
            const QString box = QString::number(below(3));
            const QByteArray key = QByteArray::number(static_cast<int>(below(5)));
            switch (below(8)) {
            case 0:
                store->makeBox(box, QByteArray::number(step));
                break;
            case 1:
                store->dropBox(box);
                break;
            case 2:
                store->setNote(box, QByteArray::number(step));
                break;
            case 3:
                store->remove(box, key);
                break;
            case 4:
                store->removeIf(box, [&](const QByteArray& each) { return each < key; });
                break;
            case 5: {
                PackedRow::State state;
                state.isStarred = step % 2 == 0;
                store->setState(box, key, state.packed());
                break;
            }
            default:
                store->put(box, key, PackedRow::of(summaryOf(QString::number(step))));
            }
            if (below(4) == 0)
                store->save();
        }
        store->save();
        await(cache->usedBytes());
        EXPECT_EQ(stored(), store->boxes()) << round;
    }
}

TEST_F(RowStoreTest, WritesOnceForManyChangesAndTwoSecondsAfterTheFirst)
{
    static_assert(RowStore::gathering == std::chrono::seconds(2));
    const auto cache = opened();
    const auto store = loaded(cache);
    store->put(u"a"_s, "1", PackedRow::of(summaryOf(u"one"_s)));
    store->put(u"a"_s, "2", PackedRow::of(summaryOf(u"two"_s)));
    await(cache->usedBytes());
    EXPECT_EQ(size(), 0) << "nobody waits for the disk";
    QElapsedTimer clock;
    clock.start();
    EXPECT_TRUE(waitUntil([&] { return size() > 0; }));
    EXPECT_GE(clock.elapsed(), 1'900);
    // What was seen may be a file that hasn't its name yet.
    await(cache->usedBytes());
    EXPECT_EQ(stored().value(u"a"_s).rows.size(), 2);
}

TEST_F(RowStoreTest, WritesNothingWhereNothingHasChanged)
{
    {
        const auto store = loaded(opened());
        store->setNote(u"a"_s, "1");
        store->put(u"a"_s, "1", PackedRow::of(summaryOf(u"one"_s)));
    }
    const qint64 before = size();
    {
        const auto store = loaded(opened());
        store->setNote(u"a"_s, "1");
        store->setState(u"a"_s, "1", store->row(u"a"_s, "1")->state);
        store->remove(u"a"_s, "unknown");
        store->setState(u"a"_s, "unknown", "x");
        store->dropBox(u"unknown"_s);
        store->save();
    }
    EXPECT_EQ(size(), before);
}

TEST_F(RowStoreTest, WritesFewBytesForAChangeInALargeMailbox)
{
    const auto cache = opened();
    const auto store = loaded(cache);
    for (int number = 0; number < 10'000; ++number)
        store->put(u"INBOX"_s, QByteArray::number(number), PackedRow::of(richSummary()));
    store->save();
    await(cache->usedBytes());
    const qint64 before = size();
    PackedRow::State state = store->row(u"INBOX"_s, "5000")->unpackedState();
    state.isRead = !state.isRead;
    store->setState(u"INBOX"_s, "5000", state.packed());
    store->save();
    await(cache->usedBytes());
    EXPECT_GT(size(), before);
    EXPECT_LE(size(), before + 1024);
}

TEST_F(RowStoreTest, TakesOverTheSnapshotOfBeforeLogs)
{
    const auto import = [](const QByteArray& snapshot) {
        return RowBoxes{{u"INBOX"_s, {snapshot, {{"1", PackedRow::of(summaryOf(u"old"_s))}}}}};
    };
    const auto cache = opened();
    await(cache->writeSnapshot(u"imap"_s, "7"));
    {
        RowStore store(cache, u"imap"_s, RowStore::Ties::stay);
        await(store.load(import));
        EXPECT_EQ(store.box(u"INBOX"_s)->note, "7");
        store.put(u"INBOX"_s, "2", PackedRow::of(summaryOf(u"new"_s)));
    }
    EXPECT_EQ(await(cache->readSnapshot(u"imap"_s)), std::nullopt);
    EXPECT_EQ(stored().value(u"INBOX"_s).rows.size(), 2);
}

TEST_F(RowStoreTest, BeginsAnewWhereASnapshotOrARecordCannotBeRead)
{
    const auto cache = opened();
    await(cache->writeSnapshot(u"imap"_s, "no"));
    EXPECT_EQ(loaded(cache)->boxes(), RowBoxes());
    await(cache->removeSnapshot(u"imap"_s));
    const quint64 owner = await(cache->readLog(u"imap"_s)).owner;
    cache->updateLog(u"imap"_s, owner, {}, [] { return QByteArray("no record"); });
    {
        const auto store = loaded(cache);
        EXPECT_EQ(store->boxes(), RowBoxes());
        store->put(u"a"_s, "1", PackedRow::of(summaryOf(u"one"_s)));
    }
    await(cache->usedBytes());
    EXPECT_EQ(stored().value(u"a"_s).rows.size(), 1);
}

TEST_F(RowStoreTest, IsReadOnceAndByWhoeverComesMeanwhileAsWell)
{
    {
        const auto store = loaded(opened());
        store->put(u"a"_s, "1", PackedRow::of(summaryOf(u"one"_s)));
    }
    RowStore store(opened(), u"imap"_s, RowStore::Ties::stay);
    Begun<void> first(store.load(noImport));
    await(store.load(noImport));
    EXPECT_NE(store.row(u"a"_s, "1"), nullptr);
    store.remove(u"a"_s, "1");
    await(store.load(noImport));
    EXPECT_EQ(store.row(u"a"_s, "1"), nullptr);
}

TEST_F(RowStoreTest, WorksWithoutACache)
{
    const auto store = loaded(nullptr);
    store->put(u"a"_s, "1", PackedRow::of(summaryOf(u"one"_s)));
    store->save();
    EXPECT_NE(store->row(u"a"_s, "1"), nullptr);
}

// --- The limit

/// A row for each second from the first one on, the number of the second its key.
void putRows(RowStore& store, const QString& box, int first, int count)
{
    for (int second = first; second < first + count; ++second)
        store.put(box, QByteArray::number(second), PackedRow::of(summaryOf({}, second)));
}

TEST_F(RowStoreTest, KeepsTwentyThousandRows)
{
    static_assert(RowStore::rowLimit == 20'000);
    const auto store = loaded(opened());
    putRows(*store, u"a"_s, 0, 15'000);
    putRows(*store, u"b"_s, 100'000, 5'000);
    store->save();
    EXPECT_EQ(store->box(u"a"_s)->rows.size(), 15'000);
    EXPECT_EQ(store->box(u"b"_s)->rows.size(), 5'000);
}

TEST_F(RowStoreTest, DropsTheOldestOfOneMoreInMemoryAndOnDisk)
{
    const auto cache = opened();
    const auto store = loaded(cache);
    putRows(*store, u"a"_s, 0, 15'001);
    putRows(*store, u"b"_s, 100'000, 5'000);
    store->save();
    EXPECT_EQ(store->box(u"a"_s)->rows.size(), 15'000);
    EXPECT_EQ(store->row(u"a"_s, "0"), nullptr);
    EXPECT_EQ(store->box(u"b"_s)->rows.size(), 5'000);
    await(cache->usedBytes());
    EXPECT_EQ(stored(), store->boxes());
    putRows(*store, u"b"_s, 200'000, 1);
    store->save();
    EXPECT_EQ(store->row(u"a"_s, "1"), nullptr);
    await(cache->usedBytes());
    EXPECT_EQ(stored(), store->boxes());
}

TEST_F(RowStoreTest, KeepsRowsWithTheDateOfTheLastOneKeptWhereTheyMayStay)
{
    for (const RowStore::Ties ties : {RowStore::Ties::stay, RowStore::Ties::goBeyondTheLimit}) {
        const auto store = loaded(opened(QString::number(static_cast<int>(ties))), ties);
        putRows(*store, u"a"_s, 1000, 19'999);
        for (const QByteArray key : {"first", "second"})
            store->put(u"b"_s, key, PackedRow::of(summaryOf({}, 500)));
        store->put(u"b"_s, "older", PackedRow::of(summaryOf({}, 499)));
        store->save();
        EXPECT_EQ(store->box(u"a"_s)->rows.size(), 19'999);
        EXPECT_EQ(store->row(u"b"_s, "older"), nullptr);
        EXPECT_EQ(store->box(u"b"_s)->rows.size(), ties == RowStore::Ties::stay ? 2 : 1);
    }
}

} // namespace
} // namespace Larkhaven
