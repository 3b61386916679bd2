#include "providers/IMAPSnapshot.h"

#include "domain/Coding.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>
#include <limits>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

MessageSummary summaryOf(qint64 uid, qint64 seconds, const QString& idTail = u".0:INBOX"_s)
{
    MessageSummary summary;
    summary.id = QString::number(uid) + idTail;
    summary.accountID = QUuid(u"{01234567-89ab-cdef-0123-456789abcdef}"_s);
    summary.date = QDateTime::fromSecsSinceEpoch(978'307'200 + seconds, Qt::UTC);
    return summary;
}

IMAPBox boxOf(qint64 first, qsizetype count, qint64 firstSecond)
{
    IMAPBox box;
    for (qint64 index = 0; index < count; ++index)
        box.messages.insert(first + index, summaryOf(first + index, firstSecond + index));
    return box;
}

TEST(IMAPSnapshot, IsAnObjectByMailboxWithSummariesByUID)
{
    IMAPBoxes boxes;
    boxes.insert(u"Entw&APw-rfe"_s, {7, {{4711, summaryOf(4711, 60, u".7:Entw&APw-rfe"_s)}}});
    EXPECT_EQ(
        IMAPSnapshot::encode(boxes),
        R"({"Entw&APw-rfe":{"messages":{"4711":{"accountID":"01234567-89AB-CDEF-0123-456789ABCDEF",)"
        R"("date":60,"hasAttachments":false,"id":"4711.7:Entw&APw-rfe","isRead":false,)"
        R"("isStarred":false,"labelIDs":[],"mailbox":"","size":0,"snippet":"","subject":"","to":[]}},"uidValidity":7}})");
}

TEST(IMAPSnapshot, IsReadBackFromWhatWasWritten)
{
    IMAPBoxes boxes;
    boxes.insert(u"INBOX"_s, boxOf(1, 300, 0));
    boxes.insert(u"Empty"_s, {4'294'967'295, {}});
    EXPECT_EQ(IMAPSnapshot::decode(IMAPSnapshot::encode(boxes)), boxes);
    EXPECT_EQ(IMAPSnapshot::decode("{}"), IMAPBoxes());
}

TEST(IMAPSnapshot, LeavesOutSendersThatWereStoredBeforeTheyWereReadRaw)
{
    MessageSummary old = summaryOf(1, 0, u".7:INBOX"_s);
    old.from = EmailAddress(std::nullopt, u"ceo@bank.example"_s);
    const MessageSummary nobody = summaryOf(2, 0, u".7:INBOX"_s);
    const IMAPBoxes boxes{{u"INBOX"_s, {7, {{1, old}, {2, nobody}}}}};
    QByteArray json = IMAPSnapshot::encode(boxes);
    EXPECT_EQ(IMAPSnapshot::decode(json), boxes);
    ASSERT_TRUE(json.contains(R"("rawSenders":1,)"));
    json.replace(R"("rawSenders":1,)", "");
    const IMAPBoxes read = IMAPSnapshot::decode(json);
    EXPECT_EQ(read[u"INBOX"_s].uidValidity, 7);
    EXPECT_EQ(read[u"INBOX"_s].messages.keys(), QList<qint64>(1, 2)) << "the other one is fetched anew";
}

TEST(IMAPSnapshot, LeavesOutWhatHasAnotherIDThanItsPlaceSays)
{
    IMAPBoxes boxes;
    QHash<qint64, MessageSummary> messages{{1, summaryOf(1, 0, u".7:INBOX"_s)},
                                           {2, summaryOf(2, 0, u":INBOX"_s)},
                                           {3, summaryOf(3, 0, u".8:INBOX"_s)},
                                           {4, summaryOf(4, 0, u".7:Work"_s)},
                                           {5, summaryOf(6, 0, u".7:INBOX"_s)}};
    boxes.insert(u"INBOX"_s, {7, messages});
    const IMAPBoxes read = IMAPSnapshot::decode(IMAPSnapshot::encode(boxes));
    EXPECT_EQ(read.value(u"INBOX"_s).uidValidity, 7);
    EXPECT_EQ(read.value(u"INBOX"_s).messages.keys(), QList<qint64>(1, 1));
}

TEST(IMAPSnapshot, IsRefusedWhereAnythingInItCannotBeRead)
{
    for (const QByteArray json :
         {"", "[]", "x", R"({"INBOX":1})", R"({"INBOX":{"messages":{}}})", R"({"INBOX":{"uidValidity":1}})",
          R"({"INBOX":{"uidValidity":1,"messages":[]}})",
          R"({"INBOX":{"uidValidity":1,"messages":{"1":{}}}})",
          R"({"INBOX":{"uidValidity":1.5,"messages":{}}})"})
        EXPECT_THROW(IMAPSnapshot::decode(json), DecodingError) << json.toStdString();
    IMAPBoxes boxes;
    boxes.insert(u"INBOX"_s, boxOf(1, 1, 0));
    QByteArray json = IMAPSnapshot::encode(boxes);
    json.replace("\"1\":", "\"one\":");
    EXPECT_THROW(IMAPSnapshot::decode(json), DecodingError);
}

TEST(IMAPSnapshot, KeepsTwentyThousandSummaries)
{
    IMAPBoxes boxes;
    boxes.insert(u"a"_s, boxOf(1, 15'000, 0));
    boxes.insert(u"b"_s, boxOf(1, 5'000, 100'000));
    const IMAPBoxes before = boxes;
    IMAPSnapshot::trim(boxes);
    EXPECT_EQ(boxes, before);
}

TEST(IMAPSnapshot, DropsTheOldestOfOneMore)
{
    IMAPBoxes boxes;
    boxes.insert(u"a"_s, boxOf(1, 15'001, 0));
    boxes.insert(u"b"_s, boxOf(1, 5'000, 100'000));
    IMAPSnapshot::trim(boxes);
    EXPECT_EQ(boxes.value(u"a"_s).messages.size(), 15'000);
    EXPECT_FALSE(boxes.value(u"a"_s).messages.contains(1));
    EXPECT_EQ(boxes.value(u"b"_s).messages.size(), 5'000);
}

TEST(IMAPSnapshot, KeepsSummariesWithTheDateOfTheLastOneKept)
{
    IMAPBoxes boxes;
    boxes.insert(u"a"_s, boxOf(1, 19'999, 1000));
    boxes[u"a"_s].messages.insert(30'001, summaryOf(30'001, 500));
    boxes.insert(u"b"_s, {1, {{30'002, summaryOf(30'002, 500)}, {30'003, summaryOf(30'003, 499)}}});
    IMAPSnapshot::trim(boxes);
    EXPECT_EQ(boxes.value(u"a"_s).messages.size(), 20'000);
    EXPECT_EQ(boxes.value(u"b"_s).messages.keys(), QList<qint64>(1, 30'002));
}

TEST(IMAPSnapshot, WritesAndReadsALargeBoxInProportionToItsSize)
{
    IMAPBoxes boxes;
    boxes.insert(u"INBOX"_s, boxOf(1, 60'000, 0));
    EXPECT_TRUE(IMAPSnapshot::decode(IMAPSnapshot::encode(boxes)) == boxes);
}

TEST(IMAPSnapshot, ReadsBackWhateverDateAndSizeAMessageClaims)
{
    IMAPBoxes boxes;
    MessageSummary summary;
    summary.id = u"1.0:INBOX"_s;
    summary.date = QDateTime(QDate(250'000, 1, 1), QTime(0, 0), Qt::UTC);
    summary.size = std::numeric_limits<qint64>::max();
    boxes[u"INBOX"_s].messages.insert(1, summary);
    summary.id = u"2.0:INBOX"_s;
    summary.date = QDateTime(QDate(-4'000, 1, 1), QTime(0, 0), Qt::UTC);
    boxes[u"INBOX"_s].messages.insert(2, summary);
    EXPECT_EQ(IMAPSnapshot::decode(IMAPSnapshot::encode(boxes)), boxes);
}

} // namespace
} // namespace Larkhaven
