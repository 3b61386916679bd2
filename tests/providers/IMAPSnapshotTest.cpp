#include "providers/IMAPSnapshot.h"

#include "StoredRows.h"
#include "domain/Coding.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QUuid account(u"{01234567-89ab-cdef-0123-456789abcdef}"_s);

MessageSummary summaryOf(qint64 uid, qint64 seconds, const QString& idTail = u".0:INBOX"_s)
{
    MessageSummary summary;
    summary.id = QString::number(uid) + idTail;
    summary.accountID = account;
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

IMAPBoxes decoded(const QByteArray& json)
{
    return unpacked(IMAPSnapshot::decode(json), account);
}

TEST(IMAPSnapshot, IsAnObjectByMailboxWithSummariesByUID)
{
    const IMAPBoxes boxes{{u"Entw&APw-rfe"_s, {7, {{4711, summaryOf(4711, 60, u".7:Entw&APw-rfe"_s)}}}}};
    EXPECT_EQ(
        decoded(
            R"({"Entw&APw-rfe":{"messages":{"4711":{"accountID":"01234567-89AB-CDEF-0123-456789ABCDEF",)"
            R"("date":60,"hasAttachments":false,"id":"4711.7:Entw&APw-rfe","isRead":false,)"
            R"("isStarred":false,"labelIDs":[],"mailbox":"","size":0,"snippet":"","subject":"","to":[]}},"uidValidity":7}})"),
        boxes);
}

TEST(IMAPSnapshot, IsReadBackFromWhatWasWritten)
{
    IMAPBoxes boxes;
    boxes.insert(u"INBOX"_s, boxOf(1, 300, 0));
    boxes.insert(u"Empty"_s, {4'294'967'295, {}});
    EXPECT_EQ(decoded(oldSnapshot(boxes)), boxes);
    EXPECT_EQ(decoded("{}"), IMAPBoxes());
}

TEST(IMAPSnapshot, LeavesOutSendersThatWereStoredBeforeTheyWereReadRaw)
{
    MessageSummary old = summaryOf(1, 0, u".7:INBOX"_s);
    old.from = EmailAddress(std::nullopt, u"ceo@bank.example"_s);
    const MessageSummary nobody = summaryOf(2, 0, u".7:INBOX"_s);
    const IMAPBoxes boxes{{u"INBOX"_s, {7, {{1, old}, {2, nobody}}}}};
    QByteArray json = oldSnapshot(boxes);
    EXPECT_EQ(decoded(json), boxes);
    ASSERT_TRUE(json.contains(R"("rawSenders":1,)"));
    json.replace(R"("rawSenders":1,)", "");
    const IMAPBoxes read = decoded(json);
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
    const IMAPBoxes read = decoded(oldSnapshot(boxes));
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
    QByteArray json = oldSnapshot(boxes);
    json.replace("\"1\":", "\"one\":");
    EXPECT_THROW(IMAPSnapshot::decode(json), DecodingError);
}

} // namespace
} // namespace Larkhaven
