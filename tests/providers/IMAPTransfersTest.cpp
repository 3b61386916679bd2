#include "providers/IMAPTransfers.h"

#include "Providing.h"
#include "support/Await.h"
#include "support/IMAPScripts.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const MailLabel work{u"Work"_s, u"Work"_s};

/// The answer to a FETCH of what messages are known by: UID, size and Message-ID.
QByteArray known(qint64 uid, qint64 size, const QByteArray& messageID)
{
    return "* 1 FETCH (UID " + QByteArray::number(uid) + " RFC822.SIZE " + QByteArray::number(size) +
           " BODY[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)] \"Message-ID: " + messageID + "\")\r\n";
}

constexpr std::string_view selected = "C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK";
constexpr std::string_view next =
    "C: P5 STATUS \"Work\" (UIDNEXT UIDVALIDITY)\nS: * STATUS Work (UIDNEXT 40 UIDVALIDITY 2)\nS: P5 OK";
constexpr std::string_view fetchOriginals =
    "C: P5 UID FETCH 3,5 (UID RFC822.SIZE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)])";

/// A connection that is lost before the answer to the COPY of two messages.
Script lostCopy(const QByteArray& capabilities = "UIDPLUS")
{
    return signedIn(capabilities).then(selected).then(next).then("C: P6 UID COPY 3,5 \"Work\"\n[CLOSE]");
}

/// The connection after it, up to the look at the target, which has these messages since.
Script lookingConnection(const QByteArray& uids, const QByteArray& fetched, const QByteArray& uidSet,
                         const QByteArray& capabilities = "UIDPLUS")
{
    Script script = signedIn(capabilities).then(selected).then(fetchOriginals);
    script.server(known(3, 300, "<a@x>") + known(5, 500, "<b@x>"))
        .then("S: P5 OK\nC: P6 SELECT \"Work\"\nS: * OK [UIDVALIDITY 2]\nS: P6 OK\nC: P7 UID SEARCH UID 40:* "
              "ALL")
        .server("* SEARCH " + uids + "\r\n")
        .then("S: P7 OK");
    if (!uidSet.isEmpty())
        script
            .client("P8 UID FETCH " + uidSet +
                    " (UID RFC822.SIZE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)])\r\n")
            .server(fetched)
            .then("S: P8 OK\nC: P9 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P9 OK");
    return script;
}

const QStringList& both()
{
    static const QStringList ids({u"3.7:INBOX"_s, u"5.7:INBOX"_s});
    return ids;
}

TEST(IMAPTransfers, CopiesFlagsAndExpungesWhereTheServerCannotMove)
{
    Providing uidPlus({signedIn("UIDPLUS").then(selected).then(next).then(R"(
        C: P6 UID COPY 3,5 "Work"
        S: P6 OK
        C: P7 UID STORE 3,5 +FLAGS.SILENT (\Deleted)
        S: P7 OK
        C: P8 UID EXPUNGE 3,5
        S: P8 OK
    )")});
    await(uidPlus->moveToLabel(both(), work));
    Providing plain({signedIn("").then(selected).then(next).then(R"(
        C: P6 UID COPY 3,5 "Work"
        S: P6 OK
        C: P7 UID STORE 3,5 +FLAGS.SILENT (\Deleted)
        S: P7 OK
        C: P8 EXPUNGE
        S: P8 OK
    )")});
    await(plain->moveToLabel(both(), work));
}

TEST(IMAPTransfers, CopiesNothingTwiceWhereTheAnswerToTheCopyWasLost)
{
    Providing providing(
        {lostCopy(),
         lookingConnection("40 41", known(40, 300, "<a@x>") + known(41, 500, "<b@x>"), "40:41").then(R"(
        C: P10 UID STORE 3,5 +FLAGS.SILENT (\Deleted)
        S: P10 OK
        C: P11 UID EXPUNGE 3,5
        S: P11 OK
    )")});
    await(providing->moveToLabel(both(), work));
}

TEST(IMAPTransfers, CopiesAgainWhatIsNotInTheTarget)
{
    // The last message of the target is told though its number is too low; another one came meanwhile, one is
    // of another size, and one can't be told from others.
    const QByteArray found = known(41, 300, "<c@x>") + known(42, 301, "<a@x>") +
                             "* 1 FETCH (UID 43 RFC822.SIZE 300)\r\n" + known(44, 500, "<b@x>") +
                             known(39, 300, "<a@x>");
    Providing providing({lostCopy(), lookingConnection("39 41 42 43 44", found, "41:44").then(R"(
        C: P10 STATUS "Work" (UIDNEXT UIDVALIDITY)
        S: * STATUS Work (UIDNEXT 45 UIDVALIDITY 2)
        S: P10 OK
        C: P11 UID COPY 3 "Work"
        S: P11 OK
        C: P12 UID STORE 3,5 +FLAGS.SILENT (\Deleted)
        S: P12 OK
        C: P13 UID EXPUNGE 3,5
        S: P13 OK
    )")});
    await(providing->moveToLabel(both(), work));
}

TEST(IMAPTransfers, TakesOneCopyForOneMessageHoweverManyAreAlike)
{
    Script looking = signedIn("UIDPLUS").then(selected).then(fetchOriginals);
    looking.server(known(3, 300, "<a@x>") + known(5, 300, "<a@x>"))
        .then("S: P5 OK\nC: P6 SELECT \"Work\"\nS: * OK [UIDVALIDITY 2]\nS: P6 OK\n"
              "C: P7 UID SEARCH UID 40:* ALL\nS: * SEARCH 40\nS: P7 OK\n"
              "C: P8 UID FETCH 40 (UID RFC822.SIZE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)])")
        .server(known(40, 300, "<a@x>"))
        .then("S: P8 OK\nC: P9 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P9 OK\n"
              "C: P10 STATUS \"Work\" (UIDNEXT UIDVALIDITY)\nS: P10 OK");
    // One of the two is copied; which of them is all the same, and so the script ends here.
    ScriptedServer server({lostCopy(), looking.then("[CLOSE]")});
    const auto provider =
        IMAPProvider::create(someAccount(), MailAuth::password(u"secret"_s), nullptr, server.factory());
    expectProtocolError(provider->moveToLabel(both(), work), u"The server closed the connection."_s);
    server.expectUsedUp();
}

TEST(IMAPTransfers, CopiesEverythingAgainWhereNothingArrived)
{
    Providing providing({lostCopy(), lookingConnection("12", {}, {}).then(R"(
        C: P8 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P8 OK
        C: P9 STATUS "Work" (UIDNEXT UIDVALIDITY)
        S: * STATUS Work (UIDNEXT 40 UIDVALIDITY 2)
        S: P9 OK
        C: P10 UID COPY 3,5 "Work"
        S: P10 OK
        C: P11 UID STORE 3,5 +FLAGS.SILENT (\Deleted)
        S: P11 OK
        C: P12 UID EXPUNGE 3,5
        S: P12 OK
    )")});
    await(providing->moveToLabel(both(), work));
}

TEST(IMAPTransfers, OnlyDeletesWhereTheCopyWasAnswered)
{
    for (const std::string_view lost :
         {"C: P7 UID STORE 3,5 +FLAGS.SILENT (\\Deleted)\n[CLOSE]",
          "C: P7 UID STORE 3,5 +FLAGS.SILENT (\\Deleted)\nS: P7 OK\nC: P8 UID EXPUNGE 3,5\n[TIMEOUT]"}) {
        Providing providing({signedIn("UIDPLUS")
                                 .then(selected)
                                 .then(next)
                                 .then("C: P6 UID COPY 3,5 \"Work\"\nS: P6 OK")
                                 .then(lost),
                             signedIn("UIDPLUS").then(selected).then(R"(
        C: P5 UID STORE 3,5 +FLAGS.SILENT (\Deleted)
        S: P5 OK
        C: P6 UID EXPUNGE 3,5
        S: P6 OK
    )")});
        await(providing->moveToLabel(both(), work));
    }
}

TEST(IMAPTransfers, LooksAgainWhenTheUserTriesAgain)
{
    // Both connections of the first move were lost; the copies may have gone elsewhere since.
    Providing providing(
        {lostCopy(), signedIn("UIDPLUS").then("C: P4 SELECT \"INBOX\"\n[CLOSE]"),
         lookingConnection("40 41", known(40, 300, "<a@x>") + known(41, 500, "<b@x>"), "40:41")
             .then("C: P10 UID STORE 3,5 +FLAGS.SILENT (\\Deleted)\nS: P10 OK\n"
                   "C: P11 UID EXPUNGE 3,5\nS: P11 NO not now\n"
                   "C: P12 UID FETCH 3,5 (UID RFC822.SIZE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID "
                   "DATE FROM SUBJECT)])")
             .server(known(3, 300, "<a@x>") + known(5, 500, "<b@x>"))
             .then("S: P12 OK\nC: P13 SELECT \"Work\"\nS: * OK [UIDVALIDITY 2]\nS: P13 OK\n"
                   "C: P14 UID SEARCH UID 40:* ALL\nS: P14 OK\n"
                   "C: P15 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P15 OK")
             .then("C: P16 STATUS \"Work\" (UIDNEXT UIDVALIDITY)\nS: P16 OK\n"
                   "C: P17 UID COPY 3,5 \"Work\"\nS: P17 OK\n"
                   "C: P18 UID STORE 3,5 +FLAGS.SILENT (\\Deleted)\nS: P18 OK\n"
                   "C: P19 UID EXPUNGE 3,5\nS: P19 OK")});
    expectProtocolError(providing->moveToLabel(both(), work), u"The server closed the connection."_s);
    expectProtocolError(providing->moveToLabel(both(), work), u"not now"_s);
    await(providing->moveToLabel(both(), work));
}

TEST(IMAPTransfers, LooksThroughTheWholeTargetWhereItsNumbersHaveChanged)
{
    Script looking = signedIn("UIDPLUS").then(selected).then(fetchOriginals);
    looking.server(known(3, 300, "<a@x>") + known(5, 500, "<b@x>"))
        .then("S: P5 OK\nC: P6 SELECT \"Work\"\nS: * OK [UIDVALIDITY 3]\nS: P6 OK\n"
              "C: P7 UID SEARCH ALL\nS: * SEARCH 1 2\nS: P7 OK\n"
              "C: P8 UID FETCH 1:2 (UID RFC822.SIZE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)])")
        .server(known(1, 300, "<a@x>") + known(2, 500, "<b@x>"))
        .then("S: P8 OK\nC: P9 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P9 OK\n"
              "C: P10 UID STORE 3,5 +FLAGS.SILENT (\\Deleted)\nS: P10 OK\nC: P11 UID EXPUNGE 3,5\nS: P11 OK");
    Providing providing({lostCopy(), looking});
    await(providing->moveToLabel(both(), work));
}

TEST(IMAPTransfers, TouchesNothingWhereTheSourceChangedBehindTheLook)
{
    Script looking = signedIn("UIDPLUS").then(selected).then(fetchOriginals);
    looking.server(known(3, 300, "<a@x>"))
        .then("S: P5 OK\nC: P6 SELECT \"Work\"\nS: * OK [UIDVALIDITY 2]\nS: P6 OK\n"
              "C: P7 UID SEARCH UID 40:* ALL\nS: P7 OK\n"
              "C: P8 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 8]\nS: P8 OK");
    Providing providing({lostCopy(), looking});
    expectUnsupported(providing->moveToLabel(both(), work), u"This message is no longer on the server."_s);
}

TEST(IMAPTransfers, TakesAMoveWhoseAnswerWasLostForDone)
{
    const Script lost = signedIn().then(selected).then("C: P5 UID MOVE 3,5 \"Work\"\n[CLOSE]");
    const Script again =
        signedIn().then(selected).then("C: P5 UID MOVE 3,5 \"Work\"\nS: P5 NO no such messages\n"
                                       "C: P6 UID SEARCH UID 3,5");
    Providing done({lost, Script(again).then("S: * SEARCH\nS: P6 OK")});
    await(done->moveToLabel(both(), work));
    Providing left({lost, Script(again).then("S: * SEARCH 5\nS: P6 OK")});
    expectProtocolError(left->moveToLabel(both(), work), u"no such messages"_s);
    Providing first({signedIn().then(selected).then("C: P5 UID MOVE 3,5 \"Work\"\nS: P5 NO over quota")});
    expectProtocolError(first->moveToLabel(both(), work), u"over quota"_s);
}

} // namespace
} // namespace Larkhaven
