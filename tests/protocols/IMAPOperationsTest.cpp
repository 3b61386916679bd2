#include "IMAPDialogue.h"
#include "protocols/IMAPClient.h"
#include "support/Await.h"
#include "support/IMAPScripts.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {

using namespace IMAPDialogue;

namespace {

// --- Operations

TEST(IMAPClient, ListsMailboxesInTheServersOrder)
{
    Connected connected(R"(
        C: P4 LIST "" "*"
        S: * LIST (\HasNoChildren \Junk) "/" Werbung
        S: * list NIL "." "INBOX.Sent Items"
        S: * LIST (\Noselect) NIL {1}
        S: x
        S: * LIST () "/"
        S: * LIST () "#" NIL
        S: * LIST () "/" (a)
        S: * LSUB () "/" y
        S: P4 OK
    )");
    using Mailbox = IMAPClient::ListedMailbox;
    const QList<Mailbox> expected{
        {u"Werbung"_s, {u"\\hasnochildren"_s, u"\\junk"_s}, u"/"_s},
        {u"INBOX.Sent Items"_s, {}, u"."_s},
        {u"x"_s, {u"\\noselect"_s}, std::nullopt},
    };
    EXPECT_EQ(await(connected.client->listMailboxes()), expected);
    EXPECT_EQ(connected.client->delimiter(), u"/");
}

TEST(IMAPClient, KeepsTheDelimiterThatItSawLast)
{
    Connected connected(
        "C: P4 LIST \"\" \"*\"\nS: * LIST () \"/\" a\nS: * LIST () \"#\" NIL\nS: * LIST () NIL b\nS: P4 OK");
    EXPECT_EQ(await(connected.client->listMailboxes()).size(), 2);
    EXPECT_EQ(connected.client->delimiter(), u"#");
}

TEST(IMAPClient, SelectsAMailboxOnceUnlessForced)
{
    Connected connected(R"(
        C: P4 SELECT "INBOX"
        S: * 3 EXISTS
        S: * OK [UIDVALIDITY 1234] ok
        S: P4 OK [READ-WRITE]
        C: P5 SELECT "INBOX"
        S: * OK [uidvalidity 5]
        S: P5 OK
        C: P6 SELECT "Other"
        S: P6 OK
    )");
    await(connected.client->select(u"INBOX"_s, false));
    await(connected.client->select(u"INBOX"_s, false));
    EXPECT_EQ(connected.client->selected(), u"INBOX"_s);
    EXPECT_EQ(connected.client->uidValidity(), 1234);
    await(connected.client->select(u"INBOX"_s, true));
    EXPECT_EQ(connected.client->uidValidity(), 5);
    await(connected.client->select(u"Other"_s, false));
    EXPECT_EQ(connected.client->uidValidity(), std::nullopt);
}

TEST(IMAPClient, HasNothingSelectedAfterAFailedSelect)
{
    Connected connected("C: P4 SELECT \"a\"\nS: * OK [UIDVALIDITY 1]\nS: P4 OK\n"
                        "C: P5 SELECT \"b\"\nS: P5 NO none\nC: P6 SELECT \"a\"\nS: P6 OK");
    await(connected.client->select(u"a"_s, false));
    expectProtocolError(connected.client->select(u"b"_s, false), u"none"_s);
    EXPECT_EQ(connected.client->selected(), std::nullopt);
    EXPECT_EQ(connected.client->uidValidity(), std::nullopt);
    await(connected.client->select(u"a"_s, false));
}

TEST(IMAPClient, ReadsTheLastUIDValidityThatTheServerTells)
{
    Connected connected("C: P4 SELECT \"a\"\nS: * OK [UIDVALIDITY 7]\nS: * NO [UIDVALIDITY 9]\n"
                        "S: * OK [UIDVALIDITY 8 ]] x\nS: P4 OK\n"
                        "C: P5 SELECT \"b\"\nS: * OK [UIDVALIDITY 7]\nS: * OK [UIDVALIDITY x]\nS: P5 OK\n"
                        "C: P6 SELECT \"c\"\nS: * OK [UIDVALIDITY]\nS: P6 OK");
    await(connected.client->select(u"a"_s, false));
    EXPECT_EQ(connected.client->uidValidity(), 8);
    await(connected.client->select(u"b"_s, false));
    EXPECT_EQ(connected.client->uidValidity(), std::nullopt);
    await(connected.client->select(u"c"_s, false));
    EXPECT_EQ(connected.client->uidValidity(), std::nullopt);
}

TEST(IMAPClient, SearchesAndGivesTheNumbersAsListed)
{
    Connected connected(
        "C: P4 UID SEARCH FLAGGED\nS: * SEARCH 7 x 3 (1)\nS: * 9 EXISTS\nS: * search 5\nS: P4 OK\n"
        "C: P5 UID SEARCH ALL\nS: * SEARCH\nS: P5 OK");
    EXPECT_EQ(await(connected.client->search({IMAPArg::text(u"FLAGGED"_s)})), QList<qint64>({7, 3, 5}));
    EXPECT_TRUE(await(connected.client->search({IMAPArg::text(u"ALL"_s)})).isEmpty());
}

TEST(IMAPClient, AsksForRangesWhereTheServerOffersThem)
{
    Connected connected("C: P4 UID SEARCH RETURN (ALL) ALL\n"
                        "S: * ESEARCH (TAG \"P4\") UID ALL 1:3,9,7:6\nS: P4 OK\n"
                        "C: P5 UID SEARCH RETURN (ALL) FLAGGED\nS: * ESEARCH (TAG \"P5\") UID\nS: P5 OK\n"
                        "C: P6 UID SEARCH RETURN (ALL) CHARSET UTF-8 TEXT {2}\nS: +\nC: \xc3\xbc\n"
                        "S: * esearch all 4\nS: * SEARCH 8\nS: P6 OK",
                        "ESEARCH");
    EXPECT_EQ(await(connected.client->search({IMAPArg::text(u"ALL"_s)})), QList<qint64>({1, 2, 3, 9, 6, 7}));
    EXPECT_TRUE(await(connected.client->search({IMAPArg::text(u"FLAGGED"_s)})).isEmpty());
    const QList<IMAPArg> word{IMAPArg::text(u"CHARSET UTF-8 "_s), IMAPArg::text(u"TEXT "_s),
                              IMAPArg::quoted(u"ü"_s)};
    EXPECT_EQ(await(connected.client->search(word)), QList<qint64>({4, 8}));
}

TEST(IMAPClient, TakesNoRangesThatAnswerAnotherCommand)
{
    Connected connected("C: P4 UID SEARCH RETURN (ALL) ALL\nS: * ESEARCH (TAG \"P3\") UID ALL 1:3\nS: P4 OK",
                        "ESEARCH");
    EXPECT_TRUE(await(connected.client->search({IMAPArg::text(u"ALL"_s)})).isEmpty());
}

TEST(IMAPClient, RefusesRangesOfMoreThanAMillionMessagesBeforeUnfoldingThem)
{
    Connected connected(
        "C: P4 UID SEARCH RETURN (ALL) ALL\nS: * ESEARCH (TAG \"P4\") UID ALL 1:1000000\nS: P4 OK\n"
        "C: P5 UID SEARCH RETURN (ALL) ALL\nS: * ESEARCH (TAG \"P5\") UID ALL 1:4294967295\nS: P5 OK\n"
        "C: P6 UID SEARCH RETURN (ALL) ALL\nS: * ESEARCH (TAG \"P6\") UID ALL 1:999999,4:5\nS: P6 OK\n"
        "C: P7 UID SEARCH RETURN (ALL) ALL\nS: * ESEARCH UID ALL 1:600000\nS: * ESEARCH UID ALL 1:600000\n"
        "S: P7 OK",
        "ESEARCH");
    const QList<IMAPArg> all{IMAPArg::text(u"ALL"_s)};
    EXPECT_EQ(await(connected.client->search(all)).size(), 1'000'000);
    for (int search = 0; search < 3; ++search)
        expectProtocolError(connected.client->search(all), u"Server response too large."_s);
    EXPECT_FALSE(connected.isClosed()) << "the answers were read to their ends";
}

TEST(IMAPClient, TakesRangesThatCannotBeReadForNoEmptyMailbox)
{
    for (const QByteArray set : {"1:*", "1,,2", "x", "0", "1:", "4294967296", "(1 2)", ""}) {
        Connected connected(signedIn("ESEARCH")
                                .then("C: P4 UID SEARCH RETURN (ALL) ALL")
                                .server("* ESEARCH (TAG \"P4\") UID ALL " + set + "\r\nP4 OK\r\n"));
        expectProtocolError(connected.client->search({IMAPArg::text(u"ALL"_s)}),
                            u"The server listed the messages in a way that can’t be read."_s);
    }
}

TEST(IMAPClient, FetchesAndTakesWhatIsAFetch)
{
    Connected connected(R"(
        C: P4 UID FETCH 1:2,9 (UID FLAGS)
        S: * 4 EXISTS
        S: * 1 FETCH (UID 1 FLAGS (\Seen))
        S: * 1 FETCH
        S: * 1 FETCH x
        S: * 2 fetch (FLAGS () UID 2) tail
        S: P4 OK
    )");
    const QList<IMAPFetch> fetches = await(connected.client->fetch({9, 2, 1}, u"FLAGS"_s));
    ASSERT_EQ(fetches.size(), 2);
    EXPECT_EQ(fetches[0].uid, 1);
    EXPECT_EQ(fetches[1].uid, 2);
}

TEST(IMAPClient, SendsNothingForNoUIDs)
{
    Connected connected("");
    EXPECT_TRUE(await(connected.client->fetch({}, u"FLAGS"_s)).isEmpty());
    await(connected.client->store({}, true, u"\\Seen"_s));
    await(connected.client->move({}, u"x"_s));
    await(connected.client->deleteMessages({}));
}

TEST(IMAPClient, AddsAndRemovesFlags)
{
    Connected connected("C: P4 UID STORE 1:2 +FLAGS.SILENT (\\Seen)\nS: P4 OK\n"
                        "C: P5 UID STORE 7 -FLAGS.SILENT (\\Seen \\Flagged)\nS: P5 OK");
    await(connected.client->store({1, 2}, true, u"\\Seen"_s));
    await(connected.client->store({7}, false, u"\\Seen \\Flagged"_s));
}

TEST(IMAPClient, MovesInOneCommandWhereTheServerCan)
{
    Connected connected("C: P4 UID MOVE 1:2 \"Trash\"\nS: P4 OK", "move");
    await(connected.client->move({1, 2}, u"Trash"_s));
}

TEST(IMAPClient, CopiesFlagsAndExpungesWhereTheServerCannotMove)
{
    Connected connected("C: P4 UID COPY 1:2 \"Trash\"\nS: P4 OK\n"
                        "C: P5 UID STORE 1:2 +FLAGS.SILENT (\\Deleted)\nS: P5 OK\nC: P6 EXPUNGE\nS: P6 OK",
                        "");
    await(connected.client->move({1, 2}, u"Trash"_s));
}

TEST(IMAPClient, LeavesMessagesUnflaggedWhereTheyCannotBeCopied)
{
    Connected connected("C: P4 UID COPY 1:2 \"Trash\"\nS: P4 NO over quota", "");
    expectProtocolError(connected.client->move({1, 2}, u"Trash"_s), u"over quota"_s);
}

TEST(IMAPClient, ExpungesOnlyItsOwnMessagesWhereTheServerCan)
{
    Connected connected(
        "C: P4 UID STORE 3 +FLAGS.SILENT (\\Deleted)\nS: P4 OK\nC: P5 UID EXPUNGE 3\nS: P5 OK", "UIDPLUS");
    await(connected.client->deleteMessages({3}));
}

TEST(IMAPClient, SelectsAnewAfterItsMailboxWasRenamedOrDeleted)
{
    Connected connected(R"(
        C: P4 SELECT "a"
        S: * OK [UIDVALIDITY 3]
        S: P4 OK
        C: P5 RENAME "a" "b"
        S: P5 OK
        C: P6 SELECT "a"
        S: P6 OK
        C: P7 DELETE "a"
        S: P7 NO no
        C: P8 SELECT "a"
        S: P8 OK
        C: P9 RENAME "x" "y"
        S: P9 OK
        C: P10 DELETE "x"
        S: P10 OK
    )");
    IMAPClient& client = *connected.client;
    await(client.select(u"a"_s, false));
    await(client.rename(u"a"_s, u"b"_s));
    EXPECT_EQ(client.uidValidity(), 3);
    await(client.select(u"a"_s, false));
    expectProtocolError(client.deleteMailbox(u"a"_s), u"no"_s);
    await(client.select(u"a"_s, false));
    await(client.rename(u"x"_s, u"y"_s));
    await(client.deleteMailbox(u"x"_s));
    await(client.select(u"a"_s, false));
}

TEST(IMAPClient, ReadsTheCountsOfAMailbox)
{
    Connected connected(
        "C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: * STATUS \"INBOX\" (messages 12 RECENT 1 UNSEEN 3)\nS: "
        "P4 OK\n"
        "C: P5 STATUS \"x\" (UNSEEN MESSAGES)\nS: * STATUS x (UNSEEN many MESSAGES 2 UNSEEN)\nS: P5 OK");
    EXPECT_EQ(await(connected.client->status(u"INBOX"_s)), (IMAPClient::Status{3, 12}));
    EXPECT_EQ(await(connected.client->status(u"x"_s)), (IMAPClient::Status{0, 2}));
}

TEST(IMAPClient, CountsNothingWhereTheServerTellsNothing)
{
    Connected connected(
        "C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: * STATUS x\nS: * STATUS x (UNSEEN)\nS: P4 OK");
    EXPECT_EQ(await(connected.client->status(u"INBOX"_s)), (IMAPClient::Status{0, 0}));
}

using Statuses = QList<std::optional<IMAPClient::Status>>;
using Status = IMAPClient::Status;

TEST(IMAPClient, CountsManyMailboxesAtOnceWhateverTheOrderOfTheAnswers)
{
    Connected connected(R"(
        C: P4 STATUS "a" (UNSEEN MESSAGES)
        C: P5 STATUS "b" (UNSEEN MESSAGES)
        C: P6 STATUS "c" (UNSEEN MESSAGES)
        C: P7 STATUS "d" (UNSEEN MESSAGES)
        S: * STATUS c (UNSEEN 3 MESSAGES 30)
        S: * STATUS a (UNSEEN 1 MESSAGES 10)
        S: * 5 EXISTS
        S: P6 OK
        S: P2 OK of another time
        S: P5 NO no
        S: + what
        C: 
        S: * STATUS other (UNSEEN 9)
        S: * STATUS c (UNSEEN 9)
        S: P4 OK
        S: P4 NO twice
        S: P7 OK
        C: P8 SELECT "a"
        S: P8 OK
    )");
    EXPECT_EQ(await(connected.client->statuses({u"a"_s, u"b"_s, u"c"_s, u"d"_s})),
              Statuses({Status{9, 10}, std::nullopt, Status{3, 30}, Status{}}));
    await(connected.client->select(u"a"_s, false));
    EXPECT_TRUE(await(connected.client->statuses({})).isEmpty());
}

TEST(IMAPClient, CountsOneByOneWhereANameNeedsALiteral)
{
    Connected connected(signedIn("")
                            .then("C: P4 STATUS {2}\nS: +")
                            .client("\xc3\xbf (UNSEEN MESSAGES)\r\n")
                            .then("S: P4 NO no\nC: P5 STATUS \"b\" (UNSEEN MESSAGES)\n"
                                  "S: * STATUS b (UNSEEN 2)\nS: P5 OK"));
    EXPECT_EQ(await(connected.client->statuses({u"\u00ff"_s, u"b"_s})),
              Statuses({std::nullopt, Status{2, 0}}));
}

TEST(IMAPClient, LosesTheConnectionAmongCountsOneByOneAsAnywhere)
{
    Connected connected(
        signedIn("").then("C: P4 STATUS {2}\nS: +").client("\xc3\xbf (UNSEEN MESSAGES)\r\n").then("[CLOSE]"));
    try {
        await(connected.client->statuses({u"\u00ff"_s, u"b"_s}));
        ADD_FAILURE() << "nothing failed";
    } catch (const MailError& error) {
        EXPECT_TRUE(error.isConnectionLost());
    }
}

TEST(IMAPClient, LosesTheConnectionAmongManyCountsAsAnywhere)
{
    for (const std::string_view end : {"[CLOSE]", "S: P4 OK\nS: * BYE", "[TIMEOUT]"}) {
        Connected connected(signedIn("")
                                .then("C: P4 STATUS \"a\" (UNSEEN MESSAGES)\n"
                                      "C: P5 STATUS \"b\" (UNSEEN MESSAGES)")
                                .then(end));
        try {
            await(connected.client->statuses({u"a"_s, u"b"_s}));
            ADD_FAILURE() << "nothing failed";
        } catch (const MailError& error) {
            EXPECT_TRUE(error.isConnectionLost());
        }
    }
}

TEST(IMAPClient, ReadsTheNextNumberOfAMailbox)
{
    Connected connected(
        "C: P4 STATUS \"a\" (UIDNEXT UIDVALIDITY)\nS: * STATUS a (uidvalidity 7 UIDNEXT 44)\nS: P4 OK\n"
        "C: P5 STATUS \"a\" (UIDNEXT UIDVALIDITY)\nS: * STATUS a (UIDVALIDITY -7 UIDNEXT -44)\nS: P5 OK\n"
        "C: P6 STATUS \"a\" (UIDNEXT UIDVALIDITY)\nS: P6 OK");
    using NextUID = IMAPClient::NextUID;
    EXPECT_EQ(await(connected.client->nextUID(u"a"_s)), (NextUID{7, 44}));
    EXPECT_EQ(await(connected.client->nextUID(u"a"_s)), (NextUID{0, 1}));
    EXPECT_EQ(await(connected.client->nextUID(u"a"_s)), (NextUID{0, 1}));
}

TEST(IMAPClient, ReadsTheNamespacesOfTheUser)
{
    Connected connected(R"(
        C: P4 NAMESPACE
        S: * NAMESPACE (("" "/")("#mh/" NIL "X-PARAM" ("FLAG1" "FLAG2"))) (("~" "")) (("#shared/" "/"))
        S: P4 OK
        C: P5 NAMESPACE
        S: * NAMESPACE NIL NIL NIL
        S: P5 OK
    )");
    using Namespace = IMAPClient::Namespace;
    const IMAPClient::Namespaces expected{
        {Namespace{u""_s, u"/"_s}, Namespace{u"#mh/"_s, std::nullopt}},
        {Namespace{u"~"_s, std::nullopt}, Namespace{u"#shared/"_s, u"/"_s}}};
    EXPECT_EQ(await(connected.client->namespaces()), expected);
    EXPECT_TRUE(expected.isTold());
    EXPECT_FALSE(await(connected.client->namespaces()).isTold());
}

TEST(IMAPClient, ReadsABoundedNumberOfNamespacesAndLeavesOutWhatIsNone)
{
    QByteArray many = "* NAMESPACE (x () (\"a\") (NIL \"/\") (\"" + QByteArray(1001, 'l') + "\" \"/\") (\"" +
                      QByteArray(1000, 'k') + "\" \"/\")";
    for (int index = 0; index < 1000; ++index)
        many += " (\"p" + QByteArray::number(index) + "\" \"/\")";
    Connected connected(signedIn("")
                            .then("C: P4 NAMESPACE")
                            .server(many + ") y NIL\r\n")
                            .then("S: * NAMESPACE (\nS: * NAMESPACE\nS: P4 OK"));
    const IMAPClient::Namespaces namespaces = await(connected.client->namespaces());
    ASSERT_EQ(namespaces.personal.size(), 32);
    EXPECT_EQ(namespaces.personal[0].prefix.size(), 1000);
    EXPECT_EQ(namespaces.personal[31].prefix, u"p30");
    EXPECT_TRUE(namespaces.foreign.isEmpty());
}

TEST(IMAPClient, TakesAnEmptyDelimiterForNone)
{
    Connected connected("C: P4 LIST \"\" \"*\"\nS: * LIST () \"\" a\nS: P4 OK");
    EXPECT_EQ(await(connected.client->listMailboxes()).first().delimiter, std::nullopt);
    EXPECT_EQ(connected.client->delimiter(), u"/");
}

TEST(IMAPClient, TakesADelimiterThatIsNotOneCharacterForNone)
{
    Connected connected(
        signedIn("")
            .then("C: P4 LIST \"\" \"*\"")
            .server(QByteArray("* LIST () \"\0\" a\r\n* LIST () \"//\" b\r\n* LIST () \"\x7f\" c\r\n"
                               "* LIST () \"^\" d\r\n",
                               69))
            .then("S: P4 OK\nC: P5 NAMESPACE\nS: * NAMESPACE ((\"x//\" \"//\")) NIL NIL\nS: P5 OK"));
    const QList<IMAPClient::ListedMailbox> mailboxes = await(connected.client->listMailboxes());
    ASSERT_EQ(mailboxes.size(), 4);
    for (int index : {0, 1, 2})
        EXPECT_EQ(mailboxes[index].delimiter, std::nullopt) << index;
    EXPECT_EQ(mailboxes[3].delimiter, u"^"_s);
    EXPECT_EQ(connected.client->delimiter(), u"^");
    EXPECT_EQ(await(connected.client->namespaces()).personal,
              QList<IMAPClient::Namespace>({{u"x//"_s, std::nullopt}}));
}

TEST(IMAPClient, SendsAMailboxNameOfTheServerThatIsNoASCIIAsALiteral)
{
    Connected connected(
        signedIn("").then("C: P4 SELECT {14}\nS: +").client("a\r\nP5 DELETE b\r\n").then("S: P4 OK"));
    await(connected.client->select(u"a\r\nP5 DELETE b"_s, false));
}

TEST(IMAPClient, ClosesItsTransport)
{
    Connected connected("");
    connected.client->close();
    EXPECT_TRUE(connected.isClosed());
}

} // namespace
} // namespace Larkhaven
