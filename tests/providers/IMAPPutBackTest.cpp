#include "Listings.h"
#include "Providing.h"
#include "support/Await.h"
#include "support/IMAPScripts.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const MailLabel work{u"Work"_s, u"Work"_s};
const QString refusal = u"These messages can’t be moved back."_s;

const QStringList& both()
{
    static const QStringList ids({u"3.7:INBOX"_s, u"5.7:INBOX"_s});
    return ids;
}

constexpr std::string_view moved = R"(
    C: P4 SELECT "INBOX"
    S: * OK [UIDVALIDITY 7]
    S: P4 OK
    C: P5 UID MOVE 3,5 "Work"
    S: * OK [COPYUID 2 3,5 40:41] Moved
    S: * 2 EXPUNGE
    S: * 1 EXPUNGE
    S: P5 OK
)";
constexpr std::string_view confirmed = R"(
    C: P6 SELECT "Work"
    S: * OK [UIDVALIDITY 2]
    S: P6 OK
    C: P7 UID SEARCH UID 40:41
    S: * SEARCH 40 41
    S: P7 OK
)";

// --- Where the server told where they went

TEST(IMAPPutBack, MovesMessagesBackByWhatTheServerTold)
{
    Providing providing({signedIn().then(moved).then(confirmed).then(
        "C: P8 UID MOVE 40:41 \"INBOX\"\nS: * OK [COPYUID 7 40:41 8:9]\nS: P8 OK")});
    await(providing->moveToLabel(both(), work));
    EXPECT_TRUE(await(providing->canPutBack({u"5.7:INBOX"_s, u"3.7:INBOX"_s})));
    await(providing->putBack(both()));
}

TEST(IMAPPutBack, WorksOnce)
{
    Providing providing(
        {signedIn().then(moved).then(confirmed).then("C: P8 UID MOVE 40:41 \"INBOX\"\nS: P8 OK")});
    await(providing->moveToLabel(both(), work));
    await(providing->putBack(both()));
    EXPECT_FALSE(await(providing->canPutBack(both())));
    expectUnsupported(providing->putBack(both()), refusal);
}

TEST(IMAPPutBack, WorksForExactlyTheMessagesOfTheLastMove)
{
    Providing providing({signedIn().then(moved).then("C: P6 UID MOVE 9 \"Work\"\n"
                                                     "S: P6 OK [COPYUID 2 9 42] Moved")});
    EXPECT_FALSE(await(providing->canPutBack({})));
    expectUnsupported(providing->putBack({}), refusal);
    await(providing->moveToLabel(both(), work));
    EXPECT_FALSE(await(providing->canPutBack({both().first()})));
    EXPECT_FALSE(await(providing->canPutBack(both() + QStringList(u"9.7:INBOX"_s))));
    EXPECT_TRUE(await(providing->canPutBack(both())));
    await(providing->moveToLabel({u"9.7:INBOX"_s}, work));
    EXPECT_FALSE(await(providing->canPutBack(both())));
    expectUnsupported(providing->putBack(both()), refusal);
    EXPECT_TRUE(await(providing->canPutBack({u"9.7:INBOX"_s})));
}

TEST(IMAPPutBack, IsNotOfferedAfterAMoveThatFailed)
{
    Providing providing({signedIn().then(moved).then("C: P6 UID MOVE 9 \"Work\"\nS: P6 NO over quota")});
    await(providing->moveToLabel(both(), work));
    expectProtocolError(providing->moveToLabel({u"9.7:INBOX"_s}, work), u"over quota"_s);
    EXPECT_FALSE(await(providing->canPutBack(both())));
    EXPECT_FALSE(await(providing->canPutBack({u"9.7:INBOX"_s})));
}

TEST(IMAPPutBack, IsNotOfferedAfterAMoveOfWhichOneMailboxFailed)
{
    Providing providing({signedIn().then(R"(
        C: P4 SELECT "A"
        S: P4 OK
        C: P5 UID MOVE 1 "Work"
        S: * OK [COPYUID 2 1 40]
        S: P5 OK
        C: P6 SELECT "B"
        S: P6 NO no
    )")});
    const QStringList ids({u"1.0:A"_s, u"2.0:B"_s});
    expectProtocolError(providing->moveToLabel(ids, work), u"no"_s);
    EXPECT_FALSE(await(providing->canPutBack(ids)));
}

TEST(IMAPPutBack, IsNotOfferedAfterAnIDThatCannotBeRead)
{
    Providing providing({signedIn().then(moved)});
    await(providing->moveToLabel(both(), work));
    expectProtocolError(providing->moveToLabel({u"x"_s}, work), u"Unknown message."_s);
    EXPECT_FALSE(await(providing->canPutBack(both())));
}

TEST(IMAPPutBack, IsNotOfferedWhereTheServerToldNothingThatCanBeUsed)
{
    // None, of one of the two, of another message, of one place for both, and nonsense.
    for (const std::string_view told :
         {"S: P5 OK", "S: P5 OK [COPYUID 2 3 40]", "S: P5 OK [COPYUID 2 3,6 40:41]",
          "S: P5 OK [COPYUID 2 3,5 40,40]", "S: P5 OK [COPYUID 2 1:4294967295 *]"}) {
        Providing providing(
            {signedIn()
                 .then(
                     "C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK\nC: P5 UID MOVE 3,5 \"Work\"")
                 .then(told)});
        await(providing->moveToLabel(both(), work));
        EXPECT_FALSE(await(providing->canPutBack(both()))) << told;
        expectUnsupported(providing->putBack(both()), refusal);
    }
}

TEST(IMAPPutBack, IsNotOfferedForMoreThanAThousandMessages)
{
    static_assert(IMAPLastMove::messageLimit == 1000);
    QList<QString> ids;
    for (int uid = 1; uid <= 1001; ++uid)
        ids.append(QString::number(uid) + u".7:INBOX"_s);
    Providing providing({signedIn("MOVE").then(R"(
        C: P4 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P4 OK
        C: P5 UID MOVE 1:1001 "Work"
        S: P5 OK
    )")});
    await(providing->moveToLabel(ids, work));
    EXPECT_FALSE(await(providing->canPutBack(ids)));
}

TEST(IMAPPutBack, IsNotOfferedWhereNothingHadToBeMoved)
{
    Providing providing({signedIn().then("C: P4 SELECT \"Work\"\nS: * OK [UIDVALIDITY 2]\nS: P4 OK")});
    await(providing->moveToLabel({u"1.2:Work"_s}, work));
    EXPECT_FALSE(await(providing->canPutBack({u"1.2:Work"_s})));
}

TEST(IMAPPutBack, MovesEachMessageToTheMailboxThatItCameFrom)
{
    Providing providing({signedIn().then(R"(
        C: P4 SELECT "A"
        S: * OK [UIDVALIDITY 4]
        S: P4 OK
        C: P5 UID MOVE 1 "Work"
        S: * OK [COPYUID 2 1 40]
        S: P5 OK
        C: P6 SELECT "B"
        S: * OK [UIDVALIDITY 5]
        S: P6 OK
        C: P7 UID MOVE 1:2 "Work"
        S: * OK [COPYUID 2 1:2 41:42]
        S: P7 OK
        C: P8 SELECT "Work"
        S: * OK [UIDVALIDITY 2]
        S: P8 OK
        C: P9 UID SEARCH UID 40
        S: * SEARCH 40
        S: P9 OK
        C: P10 UID SEARCH UID 41:42
        S: * SEARCH 41 42
        S: P10 OK
        C: P11 UID MOVE 40 "A"
        S: P11 OK
        C: P12 UID MOVE 41:42 "B"
        S: P12 OK
    )")});
    const QStringList ids({u"1.5:B"_s, u"1.4:A"_s, u"2.5:B"_s});
    await(providing->moveToLabel(ids, work));
    EXPECT_TRUE(await(providing->canPutBack(ids)));
    await(providing->putBack(ids));
}

TEST(IMAPPutBack, TouchesNothingWhereTheTargetHasAnotherUIDVALIDITY)
{
    Providing providing({signedIn().then(moved).then(R"(
        C: P6 SELECT "Work"
        S: * OK [UIDVALIDITY 3]
        S: P6 OK
    )")});
    await(providing->moveToLabel(both(), work));
    EXPECT_TRUE(await(providing->canPutBack(both())));
    expectUnsupported(providing->putBack(both()), goneText);
}

TEST(IMAPPutBack, TouchesNothingWhereOneOfTheMessagesHasGone)
{
    Providing providing({signedIn().then(moved).then(R"(
        C: P6 SELECT "Work"
        S: * OK [UIDVALIDITY 2]
        S: P6 OK
        C: P7 UID SEARCH UID 40:41
        S: * SEARCH 41
        S: P7 OK
    )")});
    await(providing->moveToLabel(both(), work));
    expectUnsupported(providing->putBack(both()), goneText);
}

TEST(IMAPPutBack, PassesARefusalOn)
{
    Providing providing(
        {signedIn().then(moved).then(confirmed).then("C: P8 UID MOVE 40:41 \"INBOX\"\nS: P8 NO over quota")});
    await(providing->moveToLabel(both(), work));
    expectProtocolError(providing->putBack(both()), u"over quota"_s);
}

TEST(IMAPPutBack, CopiesAndDeletesWhereTheServerCannotMove)
{
    Providing providing({signedIn("UIDPLUS").then(R"(
        C: P4 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P4 OK
        C: P5 STATUS "Work" (UIDNEXT UIDVALIDITY)
        S: P5 OK
        C: P6 UID COPY 3,5 "Work"
        S: P6 OK [COPYUID 2 3,5 40:41] copied
        C: P7 UID STORE 3,5 +FLAGS.SILENT (\Deleted)
        S: P7 OK
        C: P8 UID EXPUNGE 3,5
        S: P8 OK
        C: P9 SELECT "Work"
        S: * OK [UIDVALIDITY 2]
        S: P9 OK
        C: P10 UID SEARCH UID 40:41
        S: * SEARCH 40 41
        S: P10 OK
        C: P11 STATUS "INBOX" (UIDNEXT UIDVALIDITY)
        S: P11 OK
        C: P12 UID COPY 40:41 "INBOX"
        S: P12 OK
        C: P13 UID STORE 40:41 +FLAGS.SILENT (\Deleted)
        S: P13 OK
        C: P14 UID EXPUNGE 40:41
        S: P14 OK
    )")});
    await(providing->moveToLabel(both(), work));
    EXPECT_TRUE(await(providing->canPutBack(both())));
    await(providing->putBack(both()));
}

// --- A connection that is lost

TEST(IMAPPutBack, TakesAMoveBackWhoseAnswerWasLostForDone)
{
    Providing providing(
        {signedIn().then(moved).then(confirmed).then("C: P8 UID MOVE 40:41 \"INBOX\"\n[CLOSE]"),
         signedIn().then(R"(
        C: P4 SELECT "Work"
        S: * OK [UIDVALIDITY 2]
        S: P4 OK
        C: P5 UID MOVE 40:41 "INBOX"
        S: P5 NO no such messages
        C: P6 UID SEARCH UID 40:41
        S: * SEARCH
        S: P6 OK
    )")});
    await(providing->moveToLabel(both(), work));
    await(providing->putBack(both()));
}

TEST(IMAPPutBack, RepeatsNoStepThatWasAnswered)
{
    Providing providing({signedIn("UIDPLUS").then(R"(
        C: P4 SELECT "A"
        S: * OK [UIDVALIDITY 4]
        S: P4 OK
        C: P5 STATUS "Work" (UIDNEXT UIDVALIDITY)
        S: P5 OK
        C: P6 UID COPY 1 "Work"
        S: P6 OK [COPYUID 2 1 40] copied
        C: P7 UID STORE 1 +FLAGS.SILENT (\Deleted)
        S: P7 OK
        C: P8 UID EXPUNGE 1
        S: P8 OK
        C: P9 SELECT "B"
        S: * OK [UIDVALIDITY 5]
        S: P9 OK
        C: P10 STATUS "Work" (UIDNEXT UIDVALIDITY)
        S: P10 OK
        C: P11 UID COPY 1 "Work"
        S: P11 OK [COPYUID 2 1 41] copied
        C: P12 UID STORE 1 +FLAGS.SILENT (\Deleted)
        S: P12 OK
        C: P13 UID EXPUNGE 1
        S: P13 OK
        C: P14 SELECT "Work"
        S: * OK [UIDVALIDITY 2]
        S: P14 OK
        C: P15 UID SEARCH UID 40
        S: * SEARCH 40
        S: P15 OK
        C: P16 UID SEARCH UID 41
        S: * SEARCH 41
        S: P16 OK
        C: P17 STATUS "A" (UIDNEXT UIDVALIDITY)
        S: P17 OK
        C: P18 UID COPY 40 "A"
        S: P18 OK
        C: P19 UID STORE 40 +FLAGS.SILENT (\Deleted)
        S: P19 OK
        C: P20 UID EXPUNGE 40
        S: P20 OK
        C: P21 STATUS "B" (UIDNEXT UIDVALIDITY)
        [CLOSE]
    )"),
                         signedIn("UIDPLUS").then(R"(
        C: P4 SELECT "Work"
        S: * OK [UIDVALIDITY 2]
        S: P4 OK
        C: P5 STATUS "B" (UIDNEXT UIDVALIDITY)
        S: P5 OK
        C: P6 UID COPY 41 "B"
        S: P6 OK
        C: P7 UID STORE 41 +FLAGS.SILENT (\Deleted)
        S: P7 OK
        C: P8 UID EXPUNGE 41
        S: P8 OK
    )")});
    const QStringList ids({u"1.4:A"_s, u"1.5:B"_s});
    await(providing->moveToLabel(ids, work));
    await(providing->putBack(ids));
}

TEST(IMAPPutBack, LooksAgainWhereTheConnectionWasLostBeforeAnythingWasMoved)
{
    Providing providing({signedIn().then(moved).then("C: P6 SELECT \"Work\"\n[CLOSE]"), signedIn().then(R"(
        C: P4 SELECT "Work"
        S: * OK [UIDVALIDITY 2]
        S: P4 OK
        C: P5 UID SEARCH UID 40:41
        S: * SEARCH 40
        S: P5 OK
    )")});
    await(providing->moveToLabel(both(), work));
    expectUnsupported(providing->putBack(both()), goneText);
}

// --- Where the server has no UIDPLUS

/// The answer to a FETCH of what messages are known by: UID, size and Message-ID.
QByteArray known(qint64 uid, qint64 size, const QByteArray& messageID)
{
    return "* 1 FETCH (UID " + QByteArray::number(uid) + " RFC822.SIZE " + QByteArray::number(size) +
           " BODY[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)] \"Message-ID: " + messageID + "\")\r\n";
}

constexpr std::string_view fetchOriginals =
    "C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK\n"
    "C: P5 UID FETCH 3,5 (UID RFC822.SIZE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)])";
constexpr std::string_view fetchThere =
    "S: P5 OK\nC: P6 UID MOVE 3,5 \"Work\"\nS: P6 OK\n"
    "C: P7 SELECT \"Work\"\nS: * OK [UIDVALIDITY 2]\nS: P7 OK\nC: P8 UID SEARCH ALL\nS: * SEARCH 41 39 40\n"
    "S: P8 OK\n"
    "C: P9 UID FETCH 39:41 (UID RFC822.SIZE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)])";

/// Moves two messages and looks for them in the target.
Script moveAndLook(const QByteArray& originals, const QByteArray& there)
{
    return signedIn("MOVE")
        .then(fetchOriginals)
        .server(originals)
        .then(fetchThere)
        .server(there)
        .then("S: P9 OK");
}

const QByteArray originals = known(3, 300, "<a@x>") + known(5, 500, "<b@x>");

TEST(IMAPPutBack, FindsMessagesByTheirMessageIDAndSizeWhereTheServerDoesNotTell)
{
    Providing providing(
        {moveAndLook(originals, known(39, 301, "<a@x>") + known(41, 300, "<a@x>") + known(40, 500, "<b@x>"))
             .then(R"(
        C: P10 UID SEARCH UID 40:41
        S: * SEARCH 40 41
        S: P10 OK
        C: P11 UID MOVE 40:41 "INBOX"
        S: P11 OK
    )")});
    await(providing->moveToLabel(both(), work));
    EXPECT_TRUE(await(providing->canPutBack(both())));
    await(providing->putBack(both()));
}

TEST(IMAPPutBack, IsNotOfferedWhereNotEachMessageIsFoundOnce)
{
    const QList<QByteArray> answers{
        known(39, 300, "<a@x>"),                                                     // one is missing
        known(39, 300, "<a@x>") + known(40, 501, "<b@x>"),                           // of another size
        known(39, 300, "<a@x>") + known(40, 500, "<b@x>") + known(41, 500, "<b@x>"), // one is there twice
        QByteArray(),
    };
    for (const QByteArray& there : answers) {
        Providing providing({moveAndLook(originals, there)});
        await(providing->moveToLabel(both(), work));
        EXPECT_FALSE(await(providing->canPutBack(both()))) << there.toStdString();
        expectUnsupported(providing->putBack(both()), refusal);
    }
    // Two that are alike don't share the one that is there.
    const QByteArray alike = known(3, 300, "<a@x>") + known(5, 300, "<a@x>");
    Providing providing({moveAndLook(alike, known(39, 300, "<a@x>"))});
    await(providing->moveToLabel(both(), work));
    EXPECT_FALSE(await(providing->canPutBack(both())));
}

TEST(IMAPPutBack, LooksForNothingThatCannotBeTold)
{
    // Nothing is known of one of them, or no Message-ID; or the server would not say.
    for (const QByteArray& told :
         {known(3, 300, "<a@x>") + "P5 OK\r\n",
          known(3, 300, "<a@x>") +
              "* 2 FETCH (UID 5 RFC822.SIZE 500 BODY[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)] "
              "\"Subject: b\")\r\nP5 OK\r\n",
          QByteArray("P5 NO not now\r\n")}) {
        Providing providing({signedIn("MOVE")
                                 .then(fetchOriginals)
                                 .server(told)
                                 .then("C: P6 UID MOVE 3,5 \"Work\"\nS: P6 OK")});
        await(providing->moveToLabel(both(), work));
        EXPECT_FALSE(await(providing->canPutBack(both()))) << told.toStdString();
    }
}

TEST(IMAPPutBack, IsNotOfferedWhereTheTargetCannotBeLookedAt)
{
    Providing providing({signedIn("MOVE")
                             .then(fetchOriginals)
                             .server(originals)
                             .then("S: P5 OK\nC: P6 UID MOVE 3,5 \"Work\"\nS: P6 OK\nC: P7 SELECT "
                                   "\"Work\"\nS: P7 NO not now")});
    await(providing->moveToLabel(both(), work));
    EXPECT_FALSE(await(providing->canPutBack(both())));
}

TEST(IMAPPutBack, AsksForNothingBeforeAMoveThatIsTriedAgain)
{
    Providing providing({signedIn("MOVE").then(fetchOriginals).then("[CLOSE]"), signedIn("MOVE").then(R"(
        C: P4 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P4 OK
        C: P5 UID MOVE 3,5 "Work"
        S: P5 OK
    )")});
    await(providing->moveToLabel(both(), work));
    EXPECT_FALSE(await(providing->canPutBack(both())));
}

TEST(IMAPPutBack, LooksAtTheNewestMessagesOfTheTargetAlone)
{
    static_assert(IMAPLastMove::newcomerLimit == 100);
    QByteArray all = "* SEARCH";
    for (int uid = 1; uid <= 300; ++uid)
        all += ' ' + QByteArray::number(uid);
    Providing providing({signedIn("MOVE")
                             .then("C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK\n"
                                   "C: P5 UID FETCH 3 (UID RFC822.SIZE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID "
                                   "DATE FROM SUBJECT)])")
                             .server(known(3, 300, "<a@x>"))
                             .then("S: P5 OK\nC: P6 UID MOVE 3 \"Work\"\nS: P6 OK\n"
                                   "C: P7 SELECT \"Work\"\nS: * OK [UIDVALIDITY 2]\nS: P7 OK\n"
                                   "C: P8 UID SEARCH ALL")
                             .server(all + "\r\n")
                             .then("S: P8 OK\nC: P9 UID FETCH 200:300 (UID RFC822.SIZE "
                                   "BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)])")
                             .server(known(299, 300, "<a@x>"))
                             .then("S: P9 OK")});
    await(providing->moveToLabel({u"3.7:INBOX"_s}, work));
    EXPECT_TRUE(await(providing->canPutBack({u"3.7:INBOX"_s})));
}

// --- What is known of the messages

TEST(IMAPPutBack, AsksForTheUIDsOfAViewAnewAfterIt)
{
    Providing providing({listedOnce(R"(
        C: P7 UID MOVE 3,5 "Work"
        S: * OK [COPYUID 2 3,5 40:41]
        S: P7 OK
        C: P8 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P8 OK
        C: P9 UID SEARCH ALL
        S: * SEARCH
        S: P9 OK
        C: P10 SELECT "Work"
        S: * OK [UIDVALIDITY 2]
        S: P10 OK
        C: P11 UID SEARCH UID 40:41
        S: * SEARCH 40 41
        S: P11 OK
        C: P12 UID MOVE 40:41 "INBOX"
        S: P12 OK
        C: P13 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P13 OK
        C: P14 UID SEARCH ALL
        S: * SEARCH
        S: P14 OK
    )")});
    providing.list();
    await(providing->moveToLabel(both(), work));
    EXPECT_TRUE(providing.list().messages.isEmpty());
    await(providing->putBack(both()));
    EXPECT_TRUE(providing.list(inbox, 0, 50, false).messages.isEmpty());
}

} // namespace
} // namespace Larkhaven
