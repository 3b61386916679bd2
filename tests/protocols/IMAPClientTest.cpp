#include "protocols/IMAPClient.h"

#include "IMAPDialogue.h"
#include "support/Await.h"
#include "support/IMAPScripts.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {

using namespace IMAPDialogue;

namespace {

// --- Commands

TEST(IMAPClient, AnswersEachFurtherContinuationWithAnEmptyLine)
{
    Connected connected("C: P4 X\nS: +\nC: \nS: + more\nC: \nS: P4 OK");
    EXPECT_TRUE(await(connected.client->execute({IMAPArg::text(u"X"_s)})).isEmpty());
}

TEST(IMAPClient, SendsTheContinuationDataOnceAsItStands)
{
    Connected connected("C: P4 X\nS: +\nC= data\nS: +\nC: \nS: P4 OK");
    await(connected.client->execute({IMAPArg::text(u"X"_s)}, "data"));
}

TEST(IMAPClient, CollectsUntaggedResponsesInTheOrderOfTheirArrival)
{
    Connected connected("C: P4 X\nS: * 1 EXISTS\nS: * LIST (x) {3}\nS: abc\nS: P4 OK");
    const QList<IMAPResponse> responses = await(connected.client->execute({IMAPArg::text(u"X"_s)}));
    ASSERT_EQ(responses.size(), 2);
    EXPECT_EQ(responses[0], IMAPResponse::parse("* 1 EXISTS"));
    EXPECT_EQ(responses[1].values.last(), IMAPValue::string("abc"));
}

TEST(IMAPClient, SkipsALateResponseForAnEarlierTagAndComparesTagsExactly)
{
    Connected connected("C: P4 X\nS: P3 NO late\nS: p4 NO\nS: P40 NO\nS: P4 OK");
    await(connected.client->execute({IMAPArg::text(u"X"_s)}));
}

TEST(IMAPClient, FailsOnAGoodbyeEvenIfTheAnswerWasOnItsWay)
{
    Connected connected("C: P4 UID FETCH 1 (UID FLAGS)\nS: * 1 FETCH (UID 1)\nS: * bye now\nS: P4 OK");
    expectProtocolError(connected.client->fetch({1}, u"FLAGS"_s), closedText);
}

TEST(IMAPClient, TellsARefusalInTheServersWordsAndRemainsUsable)
{
    Connected connected("C: P4 CREATE \"x\"\nS: P4 NO [CANNOT] Not allowed\n"
                        "C: P5 CREATE \"y\"\nS: P5 BAD\nC: P6 CREATE \"z\"\nS: P6 ok");
    expectProtocolError(connected.client->create(u"x"_s), u"[CANNOT] Not allowed"_s);
    expectProtocolError(connected.client->create(u"y"_s), QString());
    await(connected.client->create(u"z"_s));
    EXPECT_FALSE(connected.isClosed());
}

TEST(IMAPClient, TellsTheFirst300CharactersOfALongRefusal)
{
    const QString text(1000, u'ä');
    Connected connected(signedIn("").then("C: P4 X").server("P4 NO " + text.toUtf8() + "\r\n"));
    expectProtocolError(connected.client->execute({IMAPArg::text(u"X"_s)}), text.first(300));
}

TEST(IMAPClient, CutsARefusalBetweenUserPerceivedCharacters)
{
    const QString text = u"e\u0301"_s.repeated(1000);
    Connected connected(signedIn("").then("C: P4 X").server("P4 NO " + text.toUtf8() + "\r\n"));
    expectProtocolError(connected.client->execute({IMAPArg::text(u"X"_s)}), text.first(600));
}

TEST(IMAPClient, TellsTheWholeTextWhereALiteralIsRefused)
{
    const QString text(1000, u'x');
    Connected connected(signedIn("").then("C: P4 CREATE {2}").server("P4 NO " + text.toUtf8() + "\r\n"));
    expectProtocolError(connected.client->create(u"ü"_s), text);
}

TEST(IMAPClient, ClosesTheConnectionWhereALiteralStaysUnfinished)
{
    Connected refused("C: P4 APPEND \"Sent\" (\\Seen) {5}\nS: P4 NO over quota");
    expectProtocolError(refused.client->append(u"Sent"_s, u"\\Seen"_s, "hello"), u"over quota"_s);
    EXPECT_TRUE(refused.isClosed());
    expectProtocolError(refused.client->create(u"x"_s), closedText);
    // Whatever is said before, and however the refusal is put: nothing of the literal is sent.
    Connected late("C: P4 APPEND \"Sent\" (\\Seen) {5}\nS: * 3 EXISTS\nS: P4 BAD what");
    expectProtocolError(late.client->append(u"Sent"_s, u"\\Seen"_s, "hello"), u"what"_s);
    EXPECT_TRUE(late.isClosed());
    Connected untaken("C: P4 APPEND \"Sent\" (\\Seen) {5}\nS: P4 OK done");
    expectProtocolError(untaken.client->append(u"Sent"_s, u"\\Seen"_s, "hello"), u"done"_s);
    EXPECT_TRUE(untaken.isClosed());
}

TEST(IMAPClient, KeepsWhatComesUntaggedBeforeALiteralForTheAnswer)
{
    for (const QByteArray early :
         {"* 3 EXISTS", "* 2 EXPUNGE", "* 1 FETCH (UID 4 FLAGS (\\Seen))", "* OK [ALERT] Full tomorrow",
          "* NO Disk almost full", "* SEARCH {3}\r\nabc"}) {
        Connected connected(signedIn("")
                                .then("C: P4 APPEND {5}")
                                .server(early + "\r\n")
                                .then("S: + go\nC: hello\nS: * 4 EXISTS\nS: P4 OK\nC: P5 X\nS: P5 OK"));
        const QList<IMAPResponse> responses =
            await(connected.client->execute({IMAPArg::text(u"APPEND "_s), IMAPArg::literal("hello")}));
        EXPECT_EQ(responses, QList<IMAPResponse>({IMAPResponse::parse(early + "\r\n"),
                                                  IMAPResponse::parse("* 4 EXISTS\r\n")}))
            << early.toStdString();
        EXPECT_TRUE(await(connected.client->execute({IMAPArg::text(u"X"_s)})).isEmpty());
        EXPECT_FALSE(connected.isClosed());
    }
}

TEST(IMAPClient, KeepsWhatComesUntaggedBeforeEachOfTwoLiterals)
{
    Connected connected("C: P4 RENAME {2}\nS: * 1 EXISTS\nS: * 2 EXISTS\nS: +\nC= \\xC3\\xBC {2}\\r\\n\n"
                        "S: P3 NO late\nS: * 3 EXPUNGE\nS: +\nC= \\xC3\\xA4\\r\\n\nS: * 5 EXISTS\nS: P4 OK");
    const QList<IMAPResponse> responses =
        await(connected.client->execute({IMAPArg::text(u"RENAME "_s), IMAPArg::literal("\xC3\xBC"),
                                         IMAPArg::text(u" "_s), IMAPArg::literal("\xC3\xA4")}));
    EXPECT_EQ(responses,
              QList<IMAPResponse>({IMAPResponse::parse("* 1 EXISTS"), IMAPResponse::parse("* 2 EXISTS"),
                                   IMAPResponse::parse("* 3 EXPUNGE"), IMAPResponse::parse("* 5 EXISTS")}));
}

TEST(IMAPClient, FindsWhatASearchTellsBeforeItsLiteral)
{
    Connected connected("C: P4 UID SEARCH TEXT {1}\nS: * SEARCH 7\nS: +\nC: x\nS: * SEARCH 9\nS: P4 OK");
    const QList<IMAPArg> criteria{IMAPArg::text(u"TEXT "_s), IMAPArg::literal("x")};
    EXPECT_EQ(await(connected.client->search(criteria)), QList<qint64>({7, 9}));
}

TEST(IMAPClient, TakesAGoodbyeBeforeALiteralForALostConnection)
{
    Connected connected("C: P4 APPEND \"Sent\" (\\Seen) {5}\nS: * 3 EXISTS\nS: * bye now\nS: +");
    try {
        await(connected.client->append(u"Sent"_s, u"\\Seen"_s, "hello"));
        ADD_FAILURE() << "nothing failed";
    } catch (const MailError& error) {
        EXPECT_TRUE(error.isConnectionLost());
    }
    EXPECT_TRUE(connected.isClosed());
}

TEST(IMAPClient, MeasuresWhatComesBeforeALiteralAsPartOfTheAnswer)
{
    const QByteArray response = "* 1 EXISTS\r\n";
    const QList<IMAPArg> command{IMAPArg::text(u"X "_s), IMAPArg::literal("hello")};
    // Two responses end it: the request to go on, and the answer.
    constexpr qsizetype before = IMAPClient::answerResponseLimit / 2;
    const auto script = [&](qsizetype after) {
        return signedIn("")
            .then("C: P4 X {5}")
            .server(response.repeated(before))
            .then("S: +\nC: hello")
            .server(response.repeated(after) + "P4 OK\r\n");
    };
    constexpr qsizetype left = IMAPClient::answerResponseLimit - before - 2;
    Connected most(script(left));
    EXPECT_EQ(await(most.client->execute(command)).size(), before + left);
    Connected tooMany(script(left + 1));
    expectProtocolError(tooMany.client->execute(command), u"Server response too large."_s);
    Connected endless(
        signedIn("").then("C: P4 X {5}").server(response.repeated(IMAPClient::answerResponseLimit + 1)));
    expectProtocolError(endless.client->execute(command), u"Server response too large."_s);
    EXPECT_TRUE(endless.isClosed());
}

TEST(IMAPClient, RemainsUsableWhereACommandIsRefusedBehindItsLiteral)
{
    Connected connected("C: P4 APPEND \"Sent\" (\\Seen) {5}\nS: +\nC: hello\nS: P4 NO over quota");
    expectProtocolError(connected.client->append(u"Sent"_s, u"\\Seen"_s, "hello"), u"over quota"_s);
    EXPECT_FALSE(connected.isClosed());
}

TEST(IMAPClient, SendsALargeAppendInTwoWrites)
{
    const QByteArray message(3'000'000, 'x');
    Connected connected(signedIn("")
                            .then("C: P4 APPEND \"Sent\" (\\Seen) {3000000}\nS: + go")
                            .client(message + "\r\n")
                            .then("S: P4 OK"));
    const qsizetype before = connected.server.connection(0).sendCount();
    await(connected.client->append(u"Sent"_s, u"\\Seen"_s, message));
    EXPECT_EQ(connected.server.connection(0).sendCount() - before, 2);
}

TEST(IMAPClient, SendsACommandWithoutLiteralsInOneWrite)
{
    Connected connected("C: P4 RENAME \"a b\" \"c\"\nS: P4 OK");
    const qsizetype before = connected.server.connection(0).sendCount();
    await(connected.client->rename(u"a b"_s, u"c"_s));
    EXPECT_EQ(connected.server.connection(0).sendCount() - before, 1);
}

TEST(IMAPClient, SendsWhatFollowsALiteralTogetherWithIt)
{
    Connected connected(
        "C: P4 RENAME {2}\nS: +\nC= \\xC3\\xBC {2}\\r\\n\nS: +\nC= \\xC3\\xA4\\r\\n\nS: P4 OK");
    await(connected.client->rename(u"ü"_s, u"ä"_s));
}

// --- Framing

TEST(IMAPClient, ReadsAResponseWithSeveralLiteralsByteByByte)
{
    for (const Chunks chunks : {Chunks::whole, Chunks::lines, Chunks::byteByByte}) {
        Connected connected(
            signedIn("", chunks)
                .then("C: P4 UID FETCH 1 (UID X)")
                .server("* 1 FETCH (UID 1 BODY[1] {4}\r\nP4 N BODY[2] {2+}\r\n\r\n X \"{3}\")\r\n")
                .then("S: P4 OK"));
        const QList<IMAPFetch> fetches = await(connected.client->fetch({1}, u"X"_s));
        ASSERT_EQ(fetches.size(), 1);
        EXPECT_EQ(fetches[0].body(), "P4 N");
        EXPECT_EQ(fetches[0].items.value("BODY[2]"_L1), IMAPValue::string("\r\n"));
    }
}

TEST(IMAPClient, ReadsALargeResponseOnAWorkerWithTheSameResult)
{
    QByteArray body(5'000'000, 'x');
    body.replace(1000, 8, "\r\nP4 NO\r");
    Connected connected(
        signedIn("")
            .then("C: P4 UID FETCH 1 (UID BODY.PEEK[])")
            .server("* 1 FETCH (UID 1 BODY[] {" + QByteArray::number(body.size()) + "}\r\n" + body + ")\r\n")
            .then("S: P4 OK"));
    const QList<IMAPFetch> fetches = await(connected.client->fetch({1}, u"BODY.PEEK[]"_s));
    ASSERT_EQ(fetches.size(), 1);
    EXPECT_EQ(fetches[0].body(), body);
}

TEST(IMAPClient, ClosesTheConnectionWhereALiteralIsTooLarge)
{
    // What follows is a stranger's message: it must never be read as responses.
    Connected connected("C: P4 UID FETCH 1 (UID BODY.PEEK[])\nS: * 1 FETCH (UID 1 BODY[] {104857601}");
    expectProtocolError(connected.client->fetch({1}, u"BODY.PEEK[]"_s), u"Server response too large."_s);
    EXPECT_TRUE(connected.isClosed());
    expectProtocolError(connected.client->fetch({1}, u"BODY.PEEK[]"_s), closedText);
}

TEST(IMAPClient, ClosesTheConnectionWhereALineIsTooLong)
{
    Connected connected(signedIn("").then("C: P4 X").server(QByteArray(LineReader::lineLimit + 1, 'x')));
    expectProtocolError(connected.client->execute({IMAPArg::text(u"X"_s)}), u"Server response too long."_s);
    EXPECT_TRUE(connected.isClosed());
}

TEST(IMAPClient, ClosesTheConnectionWhereAResponseHasTooManyValues)
{
    Connected connected(signedIn("").then("C: P4 X").server(
        "*" + QByteArray(" 1").repeated(IMAPResponse::valueLimit + 1) + "\r\n"));
    expectProtocolError(connected.client->execute({IMAPArg::text(u"X"_s)}), u"Server response too large."_s);
    EXPECT_TRUE(connected.isClosed());
}

TEST(IMAPClient, RefusesAResponseWhoseLiteralsAreTooLargeTogether)
{
    const QByteArray half(53'000'000, 'x');
    const QByteArray announced = "{53000000}\r\n" + half;
    Connected connected(signedIn("").then("C: P4 X").server("* " + announced + announced));
    expectProtocolError(connected.client->execute({IMAPArg::text(u"X"_s)}), u"Server response too large."_s);
    EXPECT_TRUE(connected.isClosed());
}

TEST(IMAPClient, ReadsAResponseOfVeryManyEmptyLiterals)
{
    constexpr int count = 900'000;
    Connected connected(signedIn("")
                            .then("C: P4 X")
                            .server("* X" + QByteArray(" {0}\r\n").repeated(count) + "\r\n")
                            .then("S: P4 OK"));
    const QList<IMAPResponse> responses = await(connected.client->execute({IMAPArg::text(u"X"_s)}));
    EXPECT_EQ(responses.first().values.size(), count + 1);
}

/// Expects that the whole answer to a command is taken, and the next one measured anew.
void expectTaken(const QByteArray& answer)
{
    const QList<IMAPArg> command({IMAPArg::text(u"X"_s)});
    Connected connected(signedIn("").then("C: P4 X").server(answer).then("C: P5 X\nS: * 1 EXISTS\nS: P5 OK"));
    await(connected.client->execute(command));
    EXPECT_EQ(await(connected.client->execute(command)).size(), 1);
}

/// Expects that the answer to a command ends the connection.
void expectTooLarge(const QByteArray& answer)
{
    Connected connected(signedIn("").then("C: P4 X").server(answer));
    expectProtocolError(connected.client->execute({IMAPArg::text(u"X"_s)}), u"Server response too large."_s);
    EXPECT_TRUE(connected.isClosed());
}

/// A response of 18 bytes and of those of its literal, of which it has tens of millions.
QByteArray responseOf(qsizetype literal)
{
    return "* X {" + QByteArray::number(literal) + "}\r\n" + QByteArray(literal, 'x') + "\r\n";
}

TEST(IMAPClient, ClosesTheConnectionWhereAnAnswerHasTooManyBytes)
{
    constexpr qsizetype around = 18;
    const QByteArray end = "P4 OK\r\n";
    const QByteArray large = responseOf(90'000'000);
    const qsizetype left = IMAPClient::answerSizeLimit - 2 * (90'000'000 + around) - end.size() - around;
    expectTaken(large + large + responseOf(left) + end);
    expectTooLarge(large + large + responseOf(left + 1) + end);
}

TEST(IMAPClient, ReadsNothingOfALiteralThatMakesAnAnswerTooLarge)
{
    expectTooLarge(responseOf(90'000'000) + responseOf(90'000'000) + "* X {90000000}\r\n");
}

TEST(IMAPClient, ClosesTheConnectionWhereAnAnswerHasTooManyResponses)
{
    const QByteArray response = "* 1 EXISTS\r\n";
    // The last response of an answer is the one that ends it.
    expectTaken(response.repeated(IMAPClient::answerResponseLimit - 1) + "P4 OK\r\n");
    expectTooLarge(response.repeated(IMAPClient::answerResponseLimit) + "P4 OK\r\n");
}

TEST(IMAPClient, ClosesTheConnectionWhereAnAnswerHasTooManyValues)
{
    // A million values: "X", the list, and those in it.
    const QByteArray million = "* X (" + QByteArray("1 ").repeated(999'998) + ")\r\n";
    const QByteArray oneLess = "* X (" + QByteArray("1 ").repeated(999'997) + ")\r\n";
    static_assert(IMAPClient::answerValueLimit == 4'000'000);
    expectTaken(million.repeated(3) + oneLess + "P4 OK\r\n");
    expectTooLarge(million.repeated(4) + "P4 OK\r\n");
}

TEST(IMAPClient, ReadsAListingOf200000MessagesAndOf10000Folders)
{
    constexpr int messages = 200'000;
    constexpr int folders = 10'000;
    QByteArray fetched;
    QByteArray numbers = "* SEARCH";
    for (int number = 1; number <= messages; ++number) {
        const QByteArray digits = QByteArray::number(number);
        fetched +=
            "* " + digits + " FETCH (UID " + digits + " FLAGS (\\Seen \\Answered) RFC822.SIZE 123456)\r\n";
        numbers += ' ' + digits;
    }
    Connected connected(
        signedIn("")
            .then("C: P4 UID SEARCH ALL")
            .server(numbers + "\r\n")
            .then("S: P4 OK\nC: P5 UID FETCH 1 (UID FLAGS RFC822.SIZE)")
            .server(fetched)
            .then("S: P5 OK\nC: P6 LIST \"\" \"*\"")
            .server(QByteArray("* LIST (\\HasNoChildren) \"/\" \"A folder\"\r\n").repeated(folders))
            .then("S: P6 OK"));
    EXPECT_EQ(await(connected.client->search({IMAPArg::text(u"ALL"_s)})).size(), messages);
    EXPECT_EQ(await(connected.client->fetch({1}, u"FLAGS RFC822.SIZE"_s)).size(), messages);
    EXPECT_EQ(await(connected.client->listMailboxes()).size(), folders);
}

TEST(IMAPClient, MeasuresManyCountsAsOneAnswer)
{
    const QByteArray response = "* 1 EXISTS\r\n";
    Connected connected(
        signedIn("")
            .then("C: P4 STATUS \"a\" (UNSEEN MESSAGES)\nC: P5 STATUS \"b\" (UNSEEN MESSAGES)")
            .server("P4 OK\r\n" + response.repeated(IMAPClient::answerResponseLimit)));
    expectProtocolError(connected.client->statuses({u"a"_s, u"b"_s}), u"Server response too large."_s);
    EXPECT_TRUE(connected.isClosed());
}

} // namespace
} // namespace Larkhaven
