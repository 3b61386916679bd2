#include "protocols/IMAPCopyUID.h"

#include "IMAPDialogue.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {

using namespace IMAPDialogue;

namespace {

using Copies = QHash<qint64, qint64>;

std::optional<Copies> copiesIn(const QString& code)
{
    const std::optional<IMAPCopyUID> found = IMAPCopyUID::parse(code);
    return found ? std::optional(found->copies) : std::nullopt;
}

TEST(IMAPCopyUID, PairsTheSetsInTheirOrder)
{
    const std::optional<IMAPCopyUID> found = IMAPCopyUID::parse(u"[COPYUID 38505 304,319:320 3956:3958]"_s);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->uidValidity, 38505);
    EXPECT_EQ(found->copies, Copies({{304, 3956}, {319, 3957}, {320, 3958}}));
    EXPECT_EQ(copiesIn(u"[copyuid 1 9,2 5,4]"_s), Copies({{9, 5}, {2, 4}}));
}

TEST(IMAPCopyUID, ReadsARangeAscendingWhicheverEndComesFirst)
{
    EXPECT_EQ(copiesIn(u"[COPYUID 1 4:2 7:9]"_s), Copies({{2, 7}, {3, 8}, {4, 9}}));
    EXPECT_EQ(copiesIn(u"[COPYUID 1 4:4 7]"_s), Copies({{4, 7}}));
}

TEST(IMAPCopyUID, ReadsNumbersUpTo32Bits)
{
    const std::optional<IMAPCopyUID> found =
        IMAPCopyUID::parse(u"[COPYUID 4294967295 4294967295 4294967295]"_s);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->uidValidity, 4294967295);
    EXPECT_EQ(found->copies, Copies({{4294967295, 4294967295}}));
}

TEST(IMAPCopyUID, TakesNonsenseForNone)
{
    for (const QString& code : {u"[COPYUID 1 2 3"_s,
                                u"COPYUID 1 2 3]"_s,
                                u"[COPYUID 1 2]"_s,
                                u"[COPYUID 1 2 3 4]"_s,
                                u"[COPYUID 1  2 3]"_s,
                                u"[COPYUID 0 2 3]"_s,
                                u"[COPYUID 4294967296 2 3]"_s,
                                u"[COPYUID 1 4294967296 3]"_s,
                                u"[COPYUID 1 2 4294967296]"_s,
                                u"[COPYUID 1 0 3]"_s,
                                u"[COPYUID 1 2 0]"_s,
                                u"[COPYUID -1 2 3]"_s,
                                u"[COPYUID 1 +2 3]"_s,
                                u"[COPYUID 1 2:* 3:4]"_s,
                                u"[COPYUID 1 * 3]"_s,
                                u"[COPYUID 1 2, 3]"_s,
                                u"[COPYUID 1 ,2 3]"_s,
                                u"[COPYUID 1 2: 3]"_s,
                                u"[COPYUID 1 2:3:4 5:7]"_s,
                                u"[COPYUID 1 2:3 5]"_s,
                                u"[COPYUID 1 2 5:6]"_s,
                                u"[COPYUID 1 2,2 5,6]"_s,
                                u"[COPYUID 1 2,3 5,5]"_s,
                                u"[COPYUID 1 2:3,3 5:7]"_s,
                                u"[COPYUID 1 ٢ 3]"_s,
                                u"[COPYUID x 2 3]"_s,
                                u"[COPYUID 1 00000000002 3]"_s,
                                u"[UIDVALIDITY 1]"_s,
                                u"[COPYUID ]"_s,
                                u"[COPYUID]"_s,
                                QString()})
        EXPECT_EQ(copiesIn(code), std::nullopt) << code.toStdString();
}

TEST(IMAPCopyUID, ReadsAThousandMessagesAndUnfoldsNoMore)
{
    static_assert(IMAPCopyUID::messageLimit == 1000);
    EXPECT_EQ(copiesIn(u"[COPYUID 1 1:1000 2001:3000]"_s).value_or(Copies()).size(), 1000);
    EXPECT_EQ(copiesIn(u"[COPYUID 1 1:500,501:1000 2001:3000]"_s).value_or(Copies()).size(), 1000);
    EXPECT_EQ(copiesIn(u"[COPYUID 1 1:1001 2001:3001]"_s), std::nullopt);
    EXPECT_EQ(copiesIn(u"[COPYUID 1 1:1000,1001 2001:3001]"_s), std::nullopt);
    EXPECT_EQ(copiesIn(u"[COPYUID 1 1:4294967295 1:4294967295]"_s), std::nullopt);
}

// --- In the answers to commands

std::optional<IMAPCopyUID> moved(std::string_view answer, const QList<qint64>& uids = {1, 2})
{
    Connected connected(signedIn().then("C: P4 UID MOVE 1:2 \"Trash\"").then(answer));
    return await(connected.client->move(uids, u"Trash"_s));
}

const IMAPCopyUID told{9, {{1, 11}, {2, 12}}};

TEST(IMAPCopyUID, ComesWithAMoveBeforeTheMessagesGo)
{
    EXPECT_EQ(moved("S: * OK [COPYUID 9 1:2 11:12] Moved\nS: * 2 EXPUNGE\nS: * 1 EXPUNGE\nS: P4 OK done"),
              told);
    EXPECT_EQ(moved("S: * 1 EXPUNGE\nS: * 1 EXPUNGE\nS: P4 OK [COPYUID 9 1:2 11:12] done"), told);
    EXPECT_EQ(moved("S: * OK [COPYUID 9 1:2 11:12]\nS: P4 OK [COPYUID 9 1:2 11:12] done"), told);
}

TEST(IMAPCopyUID, ComesWithACopyAtItsEnd)
{
    Connected copied("C: P4 UID COPY 1:2 \"Trash\"\nS: P4 OK [COPYUID 9 1:2 11:12] done");
    EXPECT_EQ(await(copied.client->copy({2, 1}, u"Trash"_s)), told);
    Connected inPieces("C: P4 UID COPY 1:2 \"Trash\"\nS: P4 OK [COPYUID 9 1:2 11:12] done\n"
                       "C: P5 UID STORE 1:2 +FLAGS.SILENT (\\Deleted)\nS: P5 OK\n"
                       "C: P6 UID EXPUNGE 1:2\nS: P6 OK",
                       "UIDPLUS");
    EXPECT_EQ(await(inPieces.client->move({1, 2}, u"Trash"_s)), told);
}

TEST(IMAPCopyUID, IsNoneWhereTheServerToldNothingOrOfOtherMessages)
{
    for (const std::string_view answer :
         {"S: P4 OK done", "S: * OK\nS: P4 OK", "S: P4 OK [COPYUID 9 1 11] partly",
          "S: P4 OK [COPYUID 9 1:3 11:13] more", "S: P4 OK [COPYUID 9 1,3 11:12] another",
          "S: * OK [COPYUID 9 1:2 11:12]\nS: P4 OK [COPYUID 8 1:2 11:12] contradicted",
          "S: * OK [COPYUID 9 1:2 11:12]\nS: P4 OK [COPYUID 9 x y] half of it nonsense",
          "S: * NO [COPYUID 9 1:2 11:12]\nS: P4 OK no OK", "S: P4 OK (COPYUID) [COPYUID 9 1:2 11:12] behind"})
        EXPECT_EQ(moved(answer), std::nullopt) << answer;
}

TEST(IMAPCopyUID, IsNotThatOfAnEarlierCommand)
{
    Connected connected("C: P4 UID COPY 1:2 \"Trash\"\nS: P4 OK [COPYUID 9 1:2 11:12] done\n"
                        "C: P5 UID COPY 1:2 \"Trash\"\nS: P5 OK done");
    EXPECT_EQ(await(connected.client->copy({1, 2}, u"Trash"_s)), told);
    EXPECT_EQ(await(connected.client->copy({1, 2}, u"Trash"_s)), std::nullopt);
    EXPECT_EQ(await(connected.client->copy({}, u"Trash"_s)), std::nullopt);
}

} // namespace
} // namespace Larkhaven
