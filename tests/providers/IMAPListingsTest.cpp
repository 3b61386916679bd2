#include "providers/IMAPListings.h"

#include "Listings.h"
#include "Providing.h"
#include "StoredRows.h"
#include "platform/Tasks.h"
#include "platform/Wakeup.h"
#include "providers/SummaryFields.h"
#include "support/Await.h"
#include "support/IMAPScripts.h"
#include "support/QtPrinters.h"

#include <QCoreApplication>
#include <QTranslator>

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

// --- Searches

QStringList shown(const QList<IMAPArg>& args)
{
    QStringList pieces;
    for (const IMAPArg& arg : args)
        pieces.append(arg.text() ? *arg.text() : u"literal "_s + QString::fromUtf8(*arg.literal()));
    return pieces;
}

TEST(IMAPSearch, AsksForEverythingOrForTheFlagged)
{
    EXPECT_EQ(shown(IMAPListings::searchArgs(inbox, std::nullopt)), QStringList(u"ALL"_s));
    EXPECT_EQ(shown(IMAPListings::searchArgs(inbox, u"   "_s)), QStringList(u"ALL"_s));
    EXPECT_EQ(shown(IMAPListings::searchArgs(starred, std::nullopt)), QStringList(u"FLAGGED"_s));
    EXPECT_EQ(shown(IMAPListings::searchArgs(starred, u" "_s)), QStringList(u"FLAGGED"_s));
}

TEST(IMAPSearch, AsksForAText)
{
    EXPECT_EQ(shown(IMAPListings::searchArgs(inbox, u" invoice "_s)),
              QStringList({u"TEXT "_s, u"\"invoice\""_s}));
    EXPECT_EQ(shown(IMAPListings::searchArgs(starred, u"invoice"_s)),
              QStringList({u"FLAGGED "_s, u"TEXT "_s, u"\"invoice\""_s}));
}

TEST(IMAPSearch, AsksForASenderInAnyCaseOfTheOperatorAndKeepsTheTerms)
{
    EXPECT_EQ(shown(IMAPListings::searchArgs(inbox, u"from:   ann"_s)),
              QStringList({u"FROM "_s, u"\"ann\""_s}));
    EXPECT_EQ(shown(IMAPListings::searchArgs(inbox, u"FROM:Ann"_s)), QStringList({u"FROM "_s, u"\"Ann\""_s}));
    EXPECT_EQ(shown(IMAPListings::searchArgs(inbox, u"from:"_s)), QStringList({u"FROM "_s, u"\"\""_s}));
    EXPECT_EQ(shown(IMAPListings::searchArgs(inbox, u"x from:ann"_s)),
              QStringList({u"TEXT "_s, u"\"x from:ann\""_s}));
}

TEST(IMAPSearch, TellsTheCharsetWhereATermIsNoASCII)
{
    EXPECT_EQ(shown(IMAPListings::searchArgs(starred, u"Grüße"_s)),
              QStringList({u"CHARSET UTF-8 "_s, u"FLAGGED "_s, u"TEXT "_s, u"literal Grüße"_s}));
}

TEST(IMAPProvider, SendsANonASCIISearchTermAsALiteral)
{
    Providing providing(
        {signedIn()
             .then("C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 UID SEARCH CHARSET UTF-8 TEXT {2}\nS: +")
             .client("\xC3\xBC\r\n")
             .then("S: * SEARCH\nS: P5 OK")});
    EXPECT_EQ(providing.list(inbox, 0, 50, true, u"ü"_s).total, 0);
}

// --- Listing

TEST(IMAPProvider, ListsAPageNewestFirstWithWhatItsHeadersTell)
{
    const QByteArray header =
        "Date: Tue, 3 Mar 2026 10:11:12 +0100\r\nFrom: =?utf-8?Q?J=C3=BCrgen?= <j@x.example>, b@x\r\n"
        "To: ann@x.example, Bob <bob@x.example>\r\nSubject: =?utf-8?B?R3LDvMOfZQ==?=\r\n"
        "Content-Type: Multipart/Mixed; boundary=x\r\n\r\n";
    Providing providing(
        {signedIn()
             .then("C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK\nC: P5 UID SEARCH ALL\n"
                   "S: * SEARCH 9\nS: P5 OK\nC: P6 UID FETCH 9 (UID FLAGS INTERNALDATE RFC822.SIZE "
                   "BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])")
             .server("* 1 FETCH (UID 9 FLAGS (\\seen \\Flagged) RFC822.SIZE 1234 BODY[HEADER.FIELDS (DATE "
                     "FROM TO SUBJECT CONTENT-TYPE)] {" +
                     QByteArray::number(header.size()) + "}\r\n" + header + ")\r\n")
             .then("S: P6 OK")});
    const MessagePage page = providing.list();
    MessageSummary expected;
    expected.id = u"9.7:INBOX"_s;
    expected.accountID = someAccount().id;
    expected.from = EmailAddress(u"Jürgen"_s, u"j@x.example"_s);
    expected.sender = Sender{{*expected.from, EmailAddress(std::nullopt, u"b@x"_s)}};
    expected.to = {EmailAddress(std::nullopt, u"ann@x.example"_s),
                   EmailAddress(u"Bob"_s, u"bob@x.example"_s)};
    expected.subject = u"Grüße"_s;
    expected.date = QDateTime(QDate(2026, 3, 3), QTime(9, 11, 12), Qt::UTC);
    expected.isRead = true;
    expected.isStarred = true;
    expected.hasAttachments = true;
    expected.size = 1234;
    expected.mailbox = u"Inbox"_s;
    ASSERT_EQ(page.messages.size(), 1);
    EXPECT_EQ(page.messages[0].toJSON(), expected.toJSON());
    EXPECT_FALSE(page.hasMore);
    EXPECT_EQ(page.total, 1);
}

/// The row of a message with this header.
MessageSummary rowOf(const QByteArray& header)
{
    Providing providing(
        {signedIn()
             .then("C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK\nC: P5 UID SEARCH ALL\n"
                   "S: * SEARCH 9\nS: P5 OK\nC: P6 UID FETCH 9 (UID FLAGS INTERNALDATE RFC822.SIZE "
                   "BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])")
             .server("* 1 FETCH (UID 9 BODY[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)] {" +
                     QByteArray::number(header.size()) + "}\r\n" + header + ")\r\n")
             .then("S: P6 OK")});
    const MessagePage page = providing.list();
    return page.messages.value(0);
}

TEST(IMAPProvider, TakesTheFirstHundredOfAMillionRecipients)
{
    static_assert(SummaryFields::recipientLimit == 100);
    const MessageSummary row =
        rowOf("To: First <1@x>, " + QByteArray("a@x, ").repeated(98) + "last@x, " +
              QByteArray("Somebody <b@x>, ").repeated(1'000'000) + "b@x\r\nSubject: behind it\r\n\r\n");
    ASSERT_EQ(row.to.size(), 100);
    EXPECT_EQ(row.to.first(), EmailAddress(u"First"_s, u"1@x"_s));
    EXPECT_EQ(row.to.last().address, u"last@x"_s);
    EXPECT_EQ(row.subject, u"behind it");
}

TEST(IMAPProvider, KeepsTheSenderThatTheFieldHasBeforeItIsDecoded)
{
    const MessageSummary row =
        rowOf("From: =?utf-8?q?ceo=40bank=2Eexample=2C?= <service@evil.example>\r\n\r\n");
    EXPECT_EQ(row.from, EmailAddress(std::nullopt, u"ceo@bank.example"_s));
    ASSERT_TRUE(row.sender);
    EXPECT_EQ(row.sender->names, Sender::Names::lookLikeAnotherAddress);
    EXPECT_EQ(row.sender->shown(), u"service@evil.example");
    EXPECT_EQ(rowOf("From: Ann <ann@x.example>\r\n\r\n").sender, std::nullopt);
    EXPECT_EQ(rowOf("Subject: nobody\r\n\r\n").sender, std::nullopt);
}

TEST(IMAPProvider, KeepsTheWholeNameOfASenderWithAComma)
{
    const MessageSummary row = rowOf("From: =?utf-8?q?Doe=2C_Ann?= <ann@x.example>\r\n\r\n");
    EXPECT_EQ(row.realSender(), (Sender{{EmailAddress(u"Doe, Ann"_s, u"ann@x.example"_s)}}));
}

TEST(IMAPProvider, KeepsTheSendersOfAllFields)
{
    const MessageSummary row = rowOf("From: Ann <ann@x.example>\r\nFrom: bob@x.example\r\n\r\n");
    EXPECT_EQ(row.from, EmailAddress(u"Ann"_s, u"ann@x.example"_s));
    EXPECT_EQ(row.realSender().shown(), u"ann@x.example, bob@x.example");
    EXPECT_FALSE(row.realSender().isClear);
}

TEST(IMAPProvider, KeepsSoManySendersAndTheDomainsOfLongOnes)
{
    const QByteArray endless = QByteArray("a").repeated(SummaryFields::addressLimit) + "@evil.example";
    const MessageSummary row = rowOf("From: x@bank.example <" + endless + ">" +
                                     QByteArray(", b@y.example").repeated(20) + "\r\n\r\n");
    ASSERT_TRUE(row.sender);
    EXPECT_EQ(row.sender->addresses.size(), SummaryFields::senderLimit);
    const QString first = row.sender->addresses.first().address;
    EXPECT_EQ(first.size(), SummaryFields::addressLimit + 1);
    EXPECT_TRUE(first.startsWith(u"…a"_s));
    EXPECT_TRUE(first.endsWith(u"a@evil.example"_s));
}

TEST(IMAPProvider, CutsTheRecipientsOfAnEndlessFieldBetweenTwo)
{
    // 65 of these fit: in the beginning of the field, and in no other address of the row.
    const QByteArray address = QByteArray(998, 'a') + "@x";
    const MessageSummary row = rowOf("To: " + (address + ", ").repeated(2000) + address + "\r\n\r\n");
    ASSERT_EQ(row.to.size(), 65);
    EXPECT_EQ(row.to.last().address, QString::fromLatin1(address));
    static_assert(SummaryFields::fieldLimit == 65'536);
    // A field that is read to its end keeps its last one, and so does one of a single address.
    const QByteArray whole = QByteArray(65'536 - 5, 'a') + ", b@x";
    EXPECT_EQ(rowOf("To: " + whole + "\r\n\r\n").to, QList<EmailAddress>({EmailAddress({}, u"b@x"_s)}));
    const QByteArray endless = "a@" + QByteArray(70'000, 'x');
    EXPECT_EQ(rowOf("To: " + endless + "\r\n\r\n").to.value(0).address.size(), 1000);
}

TEST(IMAPProvider, CutsTheTextsOfARow)
{
    const QByteArray cat = "\xF0\x9F\x90\x88"; // two UTF-16 units
    const MessageSummary row =
        rowOf("From: " + QByteArray(201, 'n') + " <" + QByteArray(1001, 'a') + ">\r\nTo: n" +
              cat.repeated(100) + " <n@x>\r\nSubject: s" + cat.repeated(1'000'000) + "\r\n\r\n");
    ASSERT_TRUE(row.from);
    EXPECT_EQ(row.from->name, QString(200, u'n'));
    EXPECT_EQ(row.from->address, QString(1000, u'a'));
    // No half of a character stays.
    EXPECT_EQ(row.to.value(0).name, u'n' + u"\U0001F408"_s.repeated(99));
    EXPECT_EQ(row.subject, u's' + u"\U0001F408"_s.repeated(999));
    const MessageSummary longest = rowOf("From: " + QByteArray(200, 'n') + " <" + QByteArray(1000, 'a') +
                                         ">\r\nSubject: " + QByteArray(2000, 's') + "\r\n\r\n");
    ASSERT_TRUE(longest.from);
    EXPECT_EQ(longest.from, EmailAddress(QString(200, u'n'), QString(1000, u'a')));
    EXPECT_EQ(longest.subject, QString(2000, u's'));
}

TEST(IMAPProvider, ReadsTheBeginningOfAnEndlessDateAndContentType)
{
    const QByteArray endless(1'000'000, 'x');
    const MessageSummary row = rowOf("Content-Type: multipart/mixed; boundary=" + endless +
                                     "\r\nDate: Tue, 3 Mar 2026 10:11:12 +0100 (" + endless + ")\r\n\r\n");
    EXPECT_TRUE(row.hasAttachments);
    EXPECT_EQ(row.date, QDateTime(QDate(2026, 3, 3), QTime(9, 11, 12), Qt::UTC));
}

// --- Pages that are too large

const std::string headerItems = " (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO "
                                "SUBJECT CONTENT-TYPE)])\n";
const std::string fourFound = "C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK\n"
                              "C: P5 UID SEARCH ALL\nS: * SEARCH 6 7 8 9\nS: P5 OK\n";
const std::string selectedAgain = "C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK\n";
const std::string oneTooLarge = "S: * 1 FETCH (UID 6 BODY[X] {104857601}";

TEST(IMAPProvider, FetchesWhatIsTooLargeForOneAnswerInHalvesAndAtLastWithoutHeaders)
{
    Providing providing(
        {signedIn().then(fourFound + "C: P6 UID FETCH 6:9" + headerItems +
                         "S: * 4 FETCH (UID 9 BODY[X] \"Subject: lost\")\n" + oneTooLarge),
         signedIn().then(selectedAgain + "C: P5 UID FETCH 8:9" + headerItems +
                         "S: * 4 FETCH (UID 9 BODY[X] \"Subject: nine\")\n"
                         "S: * 3 FETCH (UID 8 BODY[X] \"Subject: eight\")\nS: P5 OK\n"
                         "C: P6 UID FETCH 6:7" +
                         headerItems + oneTooLarge),
         signedIn().then(selectedAgain +
                         "C: P5 UID FETCH 8:9 (UID FLAGS)\nS: * 3 FETCH (UID 8 FLAGS ())\n"
                         "S: * 4 FETCH (UID 9 FLAGS ())\nS: P5 OK\nC: P6 UID FETCH 7" +
                         headerItems +
                         "S: * 2 FETCH (UID 7 BODY[X] \"Subject: seven\")\nS: P6 OK\nC: P7 UID FETCH 6" +
                         headerItems + oneTooLarge),
         signedIn().then(selectedAgain +
                         "C: P5 UID FETCH 7:9 (UID FLAGS)\nS: * 2 FETCH (UID 7 FLAGS ())\n"
                         "S: * 3 FETCH (UID 8 FLAGS ())\nS: * 4 FETCH (UID 9 FLAGS (\\Seen))\nS: P5 OK\n"
                         "C: P6 UID FETCH 6 (UID FLAGS INTERNALDATE RFC822.SIZE)\n"
                         "S: * 1 FETCH (UID 6 FLAGS (\\Flagged) INTERNALDATE \" 3-Mar-2026 10:11:12 +0100\" "
                         "RFC822.SIZE 104900000)\nS: P6 OK\n"
                         // It is known from now on.
                         "C: P7 UID FETCH 6:9 (UID FLAGS)\nS: * 1 FETCH (UID 6 FLAGS ())\nS: P7 OK")});
    const MessagePage page = providing.list();
    ASSERT_EQ(idsOf(page), QStringList({u"9.7:INBOX"_s, u"8.7:INBOX"_s, u"7.7:INBOX"_s, u"6.7:INBOX"_s}));
    EXPECT_EQ(page.messages[0].subject, u"nine");
    EXPECT_TRUE(page.messages[0].isRead);
    EXPECT_EQ(page.messages[1].subject, u"eight");
    EXPECT_EQ(page.messages[2].subject, u"seven");
    const MessageSummary& bare = page.messages[3];
    EXPECT_EQ(bare.subject, QString());
    EXPECT_FALSE(bare.from);
    EXPECT_TRUE(bare.isStarred);
    EXPECT_EQ(bare.size, 104'900'000);
    EXPECT_EQ(bare.date, QDateTime(QDate(2026, 3, 3), QTime(9, 11, 12), Qt::UTC));
    EXPECT_EQ(idsOf(providing.list(inbox, 0, 50, false)), QStringList(u"6.7:INBOX"_s));
}

TEST(IMAPProvider, FailsWhereAPageIsTooLargeWithoutHeadersToo)
{
    const std::string found = "C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK\n"
                              "C: P5 UID SEARCH ALL\nS: * SEARCH 6\nS: P5 OK\n";
    Providing providing(
        {signedIn().then(found + "C: P6 UID FETCH 6" + headerItems + oneTooLarge),
         signedIn().then(selectedAgain + "C: P5 UID FETCH 6 (UID FLAGS INTERNALDATE RFC822.SIZE)\n" +
                         oneTooLarge)});
    expectProtocolError(providing->listMessages(inbox, std::nullopt, 0, 50, true),
                        u"Server response too large."_s);
}

TEST(IMAPProvider, AsksOnceForAListingThatIsTooLarge)
{
    Providing searching(
        session("C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 UID SEARCH ALL\nS: * SEARCH {104857601}"));
    expectProtocolError(searching->listMessages(inbox, std::nullopt, 0, 50, true),
                        u"Server response too large."_s);
    Providing known({listedOnce("C: P7 UID FETCH 3,5 (UID FLAGS)\nS: * 1 FETCH (UID 3 FLAGS {104857601}")});
    known.list();
    expectProtocolError(known->listMessages(inbox, std::nullopt, 0, 50, false),
                        u"Server response too large."_s);
    // Nor is a page asked for again that was only lost before.
    Providing lost(
        {listedOnce("C: P7 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P7 OK\n"
                    "C: P8 UID SEARCH ALL\nS: * SEARCH 3 5 9 10\nS: P8 OK\n"
                    "C: P9 UID FETCH 3,5 (UID FLAGS)\nS: * 1 FETCH (UID 3 FLAGS ())\n"
                    "S: * 2 FETCH (UID 5 FLAGS ())\nS: P9 OK\nC: P10 UID FETCH 9:10" +
                    headerItems + "[CLOSE]"),
         signedIn().then("C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK\n"
                         "C: P5 UID SEARCH ALL\nS: * SEARCH 3 5 9 10\nS: P5 OK\n"
                         "C: P6 UID FETCH 3,5 (UID FLAGS)\nS: * 1 FETCH (UID 3 FLAGS {104857601}")});
    lost.list();
    expectProtocolError(lost->listMessages(inbox, std::nullopt, 0, 50, true),
                        u"Server response too large."_s);
    // A refusal in the same words is a refusal.
    Providing refused({signedIn().then(fourFound + "C: P6 UID FETCH 6:9" + headerItems +
                                       "S: P6 NO Server response too large.")});
    expectProtocolError(refused->listMessages(inbox, std::nullopt, 0, 50, true),
                        u"Server response too large."_s);
}

TEST(IMAPProvider, ListsNothingOfAnEmptyMailbox)
{
    Providing providing(
        session("C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 UID SEARCH ALL\nS: * SEARCH\nS: P5 OK"));
    const MessagePage page = providing.list();
    EXPECT_TRUE(page.messages.isEmpty());
    EXPECT_FALSE(page.hasMore);
    EXPECT_EQ(page.total, 0);
    EXPECT_EQ(await(providing->lastPageOffset(inbox, std::nullopt, 50)), 0);
}

TEST(IMAPProvider, ListsNothingBehindTheEnd)
{
    Providing providing({listedOnce()});
    providing.list();
    const MessagePage page = providing.list(inbox, 50, 50, false);
    EXPECT_TRUE(page.messages.isEmpty());
    EXPECT_FALSE(page.hasMore);
    EXPECT_EQ(page.total, 2);
}

TEST(IMAPProvider, ListsPagesOfTheSameListingWithoutASearch)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P4 OK
        C: P5 UID SEARCH ALL
        S: * SEARCH 3 5 4 0 5 4294967296 -1
        S: P5 OK
        C: P6 UID FETCH 4:5 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
        S: * 1 FETCH (UID 4 BODY[X] "")
        S: * 1 FETCH (UID 5 BODY[X] "")
        S: P6 OK
        C: P7 UID FETCH 3 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
        S: * 1 FETCH (UID 3 BODY[X] "")
        S: P7 OK
    )"));
    const MessagePage first = providing.list(inbox, 0, 2, false);
    EXPECT_EQ(idsOf(first), QStringList({u"5.7:INBOX"_s, u"4.7:INBOX"_s}));
    EXPECT_TRUE(first.hasMore);
    EXPECT_EQ(first.total, 3) << "what is no UID, and doubles, don't count";
    const MessagePage second = providing.list(inbox, 2, 2, false);
    EXPECT_EQ(idsOf(second), QStringList(u"3.7:INBOX"_s));
    EXPECT_FALSE(second.hasMore);
    EXPECT_EQ(await(providing->lastPageOffset(inbox, std::nullopt, 2)), 2);
    EXPECT_EQ(await(providing->lastPageOffset(inbox, std::nullopt, 0)), 0);
}

TEST(IMAPProvider, FindsTheLastPageOfFiftyAndOfFiftyOneMessages)
{
    for (const auto& [count, offset] : {std::pair{50, 0}, std::pair{51, 50}}) {
        QByteArray uids;
        for (int uid = 1; uid <= count; ++uid)
            uids += ' ' + QByteArray::number(uid);
        Providing providing({signedIn()
                                 .then("C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 UID SEARCH ALL")
                                 .server("* SEARCH" + uids + "\r\n")
                                 .then("S: P5 OK")});
        EXPECT_EQ(await(providing->lastPageOffset(inbox, std::nullopt, 50)), offset);
    }
}

TEST(IMAPProvider, ShowsAMessageThatWasReadElsewhereAsReadWithoutFetchingItsHeader)
{
    Providing providing({listedOnce(R"(
        C: P7 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P7 OK
        C: P8 UID SEARCH ALL
        S: * SEARCH 3 5
        S: P8 OK
        C: P9 UID FETCH 3,5 (UID FLAGS)
        S: * 1 FETCH (UID 3 FLAGS (\Seen))
        S: * 2 FETCH (UID 5 FLAGS (\SEEN))
        S: P9 OK
    )")});
    MessagePage page = providing.list();
    EXPECT_FALSE(page.messages[0].isRead);
    EXPECT_TRUE(page.messages[0].isStarred);
    page = providing.list();
    EXPECT_EQ(idsOf(page), QStringList({u"5.7:INBOX"_s, u"3.7:INBOX"_s}));
    EXPECT_TRUE(page.messages[0].isRead);
    EXPECT_FALSE(page.messages[0].isStarred);
    EXPECT_EQ(page.messages[0].subject, u"five");
}

TEST(IMAPProvider, LeavesAMessageOutThatVanishedMeanwhile)
{
    Providing providing({listedOnce(R"(
        C: P7 UID FETCH 3,5 (UID FLAGS)
        S: * 1 FETCH (UID 3 FLAGS ())
        S: P7 OK
    )")});
    providing.list();
    const MessagePage page = providing.list(inbox, 0, 50, false);
    EXPECT_EQ(idsOf(page), QStringList(u"3.7:INBOX"_s));
    EXPECT_EQ(page.total, 2);
}

TEST(IMAPProvider, FetchesEverythingAnewAfterUIDVALIDITYChanged)
{
    Providing providing({listedOnce(R"(
        C: P7 SELECT "INBOX"
        S: * OK [UIDVALIDITY 8]
        S: P7 OK
        C: P8 UID SEARCH ALL
        S: * SEARCH 3
        S: P8 OK
        C: P9 UID FETCH 3 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
        S: * 1 FETCH (UID 3 BODY[X] "Subject: another")
        S: P9 OK
    )")});
    providing.list();
    const MessagePage page = providing.list();
    ASSERT_EQ(idsOf(page), QStringList(u"3.8:INBOX"_s));
    EXPECT_EQ(page.messages[0].subject, u"another");
}

TEST_F(CachedIMAPProvider, CountsAMailboxWithoutUIDVALIDITYAsValidityZero)
{
    const auto files = cache();
    {
        Providing providing(
            session("C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 UID SEARCH ALL\nS: * SEARCH\nS: P5 OK"), files);
        providing.list();
    }
    EXPECT_EQ(storedBoxes(files), (IMAPBoxes{{u"INBOX"_s, {0, {}}}}));
}

TEST(IMAPProvider, TakesTheDateOfABrokenHeaderFromTheServerOrElseFromTheClock)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: P4 OK
        C: P5 UID SEARCH ALL
        S: * SEARCH 1 2 3
        S: P5 OK
        C: P6 UID FETCH 1:3 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
        S: * 1 FETCH (UID 1 INTERNALDATE " 3-Mar-2026 10:11:12 +0100" BODY[X] "Date: some day")
        S: * 2 FETCH (UID 2 INTERNALDATE "someday" BODY[X] "Date: some day")
        S: * 3 FETCH (UID 3 INTERNALDATE "03-Mar-2026 10:11:12 +0100" BODY[X] "")
        S: P6 OK
    )"));
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const MessagePage page = providing.list();
    const QDateTime told(QDate(2026, 3, 3), QTime(9, 11, 12), Qt::UTC);
    EXPECT_EQ(page.messages[0].date, told);
    EXPECT_EQ(page.messages[2].date, told);
    EXPECT_GE(page.messages[1].date, before);
    EXPECT_LE(page.messages[1].date, QDateTime::currentDateTimeUtc());
}

TEST(IMAPProvider, DoesNotLetAnUnaskedFetchBlankASummary)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: P4 OK
        C: P5 UID SEARCH ALL
        S: * SEARCH 3
        S: P5 OK
        C: P6 UID FETCH 3 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
        S: * 1 FETCH (UID 3 FLAGS (\Seen) BODY[X] "Subject: three")
        S: * 1 FETCH (UID 3 FLAGS ())
        S: * 9 FETCH (UID 99 BODY[X] "Subject: unasked")
        S: * 9 FETCH (BODY[X] "Subject: nameless")
        S: P6 OK
    )"));
    const MessagePage page = providing.list();
    ASSERT_EQ(idsOf(page), QStringList(u"3.0:INBOX"_s));
    EXPECT_EQ(page.messages[0].subject, u"three");
}

TEST_F(CachedIMAPProvider, DeletesNoSummaryWhereNothingIsFlagged)
{
    const auto files = cache();
    {
        Providing providing({listedOnce(R"(
            C: P7 SELECT "INBOX"
            S: * OK [UIDVALIDITY 7]
            S: P7 OK
            C: P8 UID SEARCH FLAGGED
            S: * SEARCH
            S: P8 OK
        )")},
                            files);
        providing.list();
        const MessagePage page = providing.list(starred);
        EXPECT_TRUE(page.messages.isEmpty());
        EXPECT_EQ(page.total, 0);
    }
    const IMAPBoxes boxes = storedBoxes(files);
    EXPECT_EQ(boxes.value(u"INBOX"_s).messages.size(), 2);
}

TEST_F(CachedIMAPProvider, ForgetsSummariesThatTheMailboxHoldsNoMore)
{
    const auto files = cache();
    {
        Providing providing({listedOnce(R"(
            C: P7 SELECT "INBOX"
            S: * OK [UIDVALIDITY 7]
            S: P7 OK
            C: P8 UID SEARCH ALL
            S: * SEARCH 5
            S: P8 OK
            C: P9 UID FETCH 5 (UID FLAGS)
            S: * 1 FETCH (UID 5 FLAGS (\Flagged))
            S: P9 OK
        )")},
                            files);
        providing.list();
        EXPECT_EQ(idsOf(providing.list()), QStringList(u"5.7:INBOX"_s));
    }
    const IMAPBoxes boxes = storedBoxes(files);
    EXPECT_EQ(boxes.value(u"INBOX"_s).messages.keys(), QList<qint64>(1, 5));
    EXPECT_EQ(boxes.value(u"INBOX"_s).uidValidity, 7);
}

TEST_F(CachedIMAPProvider, KnowsSummariesAcrossLaunches)
{
    {
        Providing providing({listedOnce()}, cache());
        providing.list();
    }
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P4 OK
        C: P5 UID SEARCH ALL
        S: * SEARCH 3 5
        S: P5 OK
        C: P6 UID FETCH 3,5 (UID FLAGS)
        S: * 1 FETCH (UID 3 FLAGS ())
        S: * 2 FETCH (UID 5 FLAGS ())
        S: P6 OK
    )"),
                        cache());
    const MessagePage page = providing.list();
    ASSERT_EQ(page.messages.size(), 2);
    EXPECT_EQ(page.messages[0].subject, u"five");
}

TEST_F(CachedIMAPProvider, IgnoresASnapshotThatCannotBeRead)
{
    const auto files = cache();
    await(files->writeSnapshot(u"imap"_s, "no JSON"));
    Providing providing({listedOnce()}, files);
    EXPECT_EQ(providing.list().messages.size(), 2);
}

TEST_F(CachedIMAPProvider, DropsTheOldestOfTwentyThousandAndOneSummariesAtTheNextWrite)
{
    const auto files = cache();
    IMAPBox box{7, {}};
    for (qint64 uid = 1; uid <= 20'001; ++uid) {
        MessageSummary summary;
        summary.id = QString::number(uid) + u".7:Old"_s;
        summary.date = QDateTime::fromSecsSinceEpoch(1'000'000'000 + uid, Qt::UTC);
        box.messages.insert(uid, summary);
    }
    IMAPBoxes boxes;
    boxes.insert(u"Old"_s, box);
    await(files->writeSnapshot(u"imap"_s, oldSnapshot(boxes)));
    {
        Providing providing(session("C: P4 SELECT \"Old\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK\n"
                                    "C: P5 UID STORE 7 +FLAGS.SILENT (\\Seen)\nS: P5 OK"),
                            files);
        await(providing->setRead(true, {u"7.7:Old"_s}));
    }
    const IMAPBoxes kept = storedBoxes(files);
    EXPECT_EQ(kept.value(u"Old"_s).messages.size(), 20'000);
    EXPECT_FALSE(kept.value(u"Old"_s).messages.contains(1));
    EXPECT_TRUE(kept.value(u"Old"_s).messages.value(7).isRead);
}

TEST_F(CachedIMAPProvider, KeepsASnapshotThatNobodyListedYetWhenALabelIsDeleted)
{
    const auto files = cache();
    {
        Providing providing({listedOnce()}, files);
        providing.list();
    }
    {
        Providing providing(session("C: P4 DELETE \"Work\"\nS: P4 OK"), files);
        await(providing->deleteLabel({u"Work"_s, u"Work"_s}));
    }
    const IMAPBoxes boxes = storedBoxes(files);
    EXPECT_EQ(boxes.value(u"INBOX"_s).messages.size(), 2);
}

TEST(IMAPProvider, HasNoMailboxForARoleThatTheServerLacks)
{
    Providing providing(session("C: P4 LIST \"\" \"*\"\nS: P4 OK"));
    expectUnsupported(providing->listMessages(MailboxRef::system(Mailbox::sent), std::nullopt, 0, 50, true),
                      u"This account has no Sent mailbox."_s);
}

TEST(IMAPProvider, ShowsThePathOfAFolderInItsRows)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX.Work.&APw-"
        S: P4 OK
        C: P5 UID SEARCH ALL
        S: * SEARCH 1
        S: P5 OK
        C: P6 UID FETCH 1 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
        S: * 1 FETCH (UID 1 BODY[X] "")
        S: P6 OK
        C: P7 LIST "" "*"
        S: * LIST () "." INBOX.Work.&APw-
        S: P7 OK
    )"));
    const MessagePage page = providing.list(MailboxRef::label({u"INBOX.Work.&APw-"_s, u"Work/ü"_s}));
    ASSERT_EQ(page.messages.size(), 1);
    EXPECT_EQ(page.messages[0].mailbox, u"Work/ü");
    EXPECT_EQ(page.messages[0].id, u"1.0:INBOX.Work.&APw-");
}

} // namespace
} // namespace Larkhaven
