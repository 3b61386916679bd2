#include "protocols/IMAPClient.h"

#include "support/Await.h"
#include "support/IMAPScripts.h"
#include "support/QtPrinters.h"
#include "support/ScriptedTransport.h"
#include "support/TokensInTurn.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QString closedText = u"The server closed the connection."_s;

ServerSettings settings(ConnectionSecurity security = ConnectionSecurity::tls)
{
    ServerSettings some;
    some.username = u"ann"_s;
    some.imapHost = u"imap.x.example"_s;
    some.imapPort = security == ConnectionSecurity::tls ? 993 : 143;
    some.imapSecurity = security;
    return some;
}

MailAuth secret()
{
    return MailAuth::password(u"secret"_s);
}

/// A client that is ready, and its connection.
struct Connected {
    explicit Connected(std::string_view script, const QByteArray& capabilities = "MOVE UIDPLUS",
                       Chunks chunks = Chunks::whole, const Place& where = Place::current())
        : Connected(signedIn(capabilities, chunks, where).then(script))
    {}
    explicit Connected(const Script& script)
        : server({script})
        , client(await(IMAPClient::connect(settings(), secret(), server.factory())))
    {}
    ~Connected() { server.expectUsedUp(); }
    Connected(const Connected&) = delete;
    Connected& operator=(const Connected&) = delete;

    bool isClosed() const { return server.connection(0).isClosed(); }

    ScriptedServer server;
    std::shared_ptr<IMAPClient> client;
};

Task<std::shared_ptr<IMAPClient>> connecting(ScriptedServer& server, MailAuth auth = secret(),
                                             ConnectionSecurity security = ConnectionSecurity::tls)
{
    return IMAPClient::connect(settings(security), std::move(auth), server.factory());
}

// --- Opening

TEST(IMAPClient, OpensAConnectionInAFixedOrder)
{
    ScriptedServer server({signedIn("UIDPLUS")});
    const std::shared_ptr<IMAPClient> client = await(connecting(server));
    server.expectUsedUp();
    EXPECT_EQ(server.openings(), QList<ScriptedServer::Opening>({{u"imap.x.example"_s, 993, true}}));
    EXPECT_EQ(client->capabilities(), QSet<QString>({u"IMAP4REV1"_s, u"UIDPLUS"_s}));
    EXPECT_EQ(client->selected(), std::nullopt);
    EXPECT_EQ(client->uidValidity(), std::nullopt);
    EXPECT_EQ(client->delimiter(), u"/");
    EXPECT_FALSE(server.connection(0).isClosed());
}

TEST(IMAPClient, ReadsTheSameByteByByteAndLineByLine)
{
    for (const Chunks chunks : {Chunks::byteByByte, Chunks::lines}) {
        ScriptedServer server({signedIn("UIDPLUS", chunks)});
        await(connecting(server));
        server.expectUsedUp();
    }
}

TEST(IMAPClient, RefusesAGreetingThatSaysGoodbyeAndClosesTheConnection)
{
    ScriptedServer server({Script("S: * BYE too busy")});
    expectProtocolError(connecting(server), u"The IMAP server refused the connection."_s);
    EXPECT_TRUE(server.connection(0).isClosed());
}

TEST(IMAPClient, RefusesAGreetingThatIsNone)
{
    for (const std::string_view greeting :
         {"S: + OK", "S: * NO", "S: 220 smtp.x.example ESMTP", "S: ", "S: OK"}) {
        ScriptedServer server({Script(greeting)});
        expectProtocolError(connecting(server), u"The IMAP server refused the connection."_s);
        EXPECT_TRUE(server.connection(0).isClosed());
    }
}

TEST(IMAPClient, SignsInEvenWhereTheServerSaysThatItKnowsUs)
{
    ScriptedServer server({Script(R"(
        S: * preauth hello
        C: P1 CAPABILITY
        S: * CAPABILITY AUTH=PLAIN
        S: P1 OK
        C: P2 AUTHENTICATE PLAIN
        S: +
        C: AGFubgBzZWNyZXQ=
        S: P2 OK
        C: P3 CAPABILITY
        S: P3 OK
    )")});
    const std::shared_ptr<IMAPClient> client = await(connecting(server));
    server.expectUsedUp();
    EXPECT_TRUE(client->capabilities().isEmpty());
}

TEST(IMAPClient, PassesAFailureToConnectOnAsItIs)
{
    ScriptedServer server({Script("[REFUSED]")});
    try {
        await(connecting(server));
        ADD_FAILURE() << "nothing failed";
    } catch (const LocalizedError& error) {
        EXPECT_EQ(error.localizedText(), u"Connection refused");
    }
    EXPECT_TRUE(server.connection(0).isClosed());
}

TEST(IMAPClient, ReadsNoCapabilitiesFromCodes)
{
    ScriptedServer server({Script(R"(
        S: * OK [CAPABILITY IMAP4rev1 AUTH=PLAIN] ready
        C: P1 CAPABILITY
        S: * OK [CAPABILITY AUTH=PLAIN]
        S: * CAPABILITY imap4rev1
        S: P1 OK [CAPABILITY AUTH=PLAIN]
        C: P2 LOGIN "ann" "secret"
        S: P2 OK
        C: P3 CAPABILITY
        S: * CAPABILITY imap4rev1
        S: P3 OK
    )")});
    const std::shared_ptr<IMAPClient> client = await(connecting(server));
    server.expectUsedUp();
    EXPECT_EQ(client->capabilities(), QSet<QString>({u"IMAP4REV1"_s}));
}

// --- STARTTLS

TEST(IMAPClient, UpgradesToTLSAndForgetsWhatWasSaidBefore)
{
    ScriptedServer server({Script(R"(
        S: * OK ready
        C: P1 CAPABILITY
        S: * CAPABILITY STARTTLS AUTH=PLAIN
        S: P1 OK
        C: P2 STARTTLS
        S: P2 OK begin
        [STARTTLS]
        C: P3 CAPABILITY
        S: * CAPABILITY IMAP4rev1
        S: P3 OK
        C: P4 LOGIN "ann" "secret"
        S: P4 OK
        C: P5 CAPABILITY
        S: * CAPABILITY IMAP4rev1
        S: P5 OK
    )")});
    await(connecting(server, secret(), ConnectionSecurity::startTLS));
    server.expectUsedUp();
    EXPECT_EQ(server.openings(), QList<ScriptedServer::Opening>({{u"imap.x.example"_s, 143, false}}));
}

TEST(IMAPClient, RefusesDataThatComesInTheSameChunkAsTheWordToBeginTLS)
{
    ScriptedServer server({Script(R"(
        S: * OK ready
        C: P1 CAPABILITY
        S: * CAPABILITY STARTTLS AUTH=PLAIN
        S: P1 OK
        C: P2 STARTTLS
        S: P2 OK Begin TLS
        S: * CAPABILITY AUTH=PLAIN INJECTED
    )")});
    expectProtocolError(connecting(server, secret(), ConnectionSecurity::startTLS),
                        u"Unexpected data before TLS."_s);
    EXPECT_TRUE(server.connection(0).isClosed());
    server.expectUsedUp();
}

TEST(IMAPClient, RefusesAServerWithoutStartTLS)
{
    ScriptedServer server({Script(R"(
        S: * OK ready
        C: P1 CAPABILITY
        S: * CAPABILITY IMAP4rev1 AUTH=PLAIN
        S: P1 OK
    )")});
    expectUnsupported(connecting(server, secret(), ConnectionSecurity::startTLS),
                      u"imap.x.example doesn't offer STARTTLS. Try SSL/TLS (usually port 993)."_s);
    EXPECT_TRUE(server.connection(0).isClosed());
}

TEST(IMAPClient, SaysNothingMoreInTheClearWhereStartTLSIsRefused)
{
    ScriptedServer server({Script(R"(
        S: * OK ready
        C: P1 CAPABILITY
        S: * CAPABILITY STARTTLS
        S: P1 OK
        C: P2 STARTTLS
        S: P2 NO not today
    )")});
    expectProtocolError(connecting(server, secret(), ConnectionSecurity::startTLS), u"not today"_s);
    EXPECT_TRUE(server.connection(0).isClosed());
    server.expectUsedUp();
}

// --- Passwords

/// A server with these capabilities, up to the sign-in with P2.
Script greeted(const QByteArray& capabilities, const Place& where = Place::current())
{
    Script script("S: * OK ready\nC: P1 CAPABILITY", Chunks::whole, where);
    script.server("* CAPABILITY " + capabilities + "\r\n").server("P1 OK\r\n");
    return script;
}

constexpr std::string_view afterSignIn = R"(
    C: P3 CAPABILITY
    S: P3 OK
)";

TEST(IMAPClient, SendsAPasswordThatIsNoASCIIAsALiteralToLogin)
{
    ScriptedServer server({greeted("IMAP4rev1")
                               .then("C: P2 LOGIN \"ann\" {5}\nS: + go on")
                               .client("p\xC3\xA4ss\r\n")
                               .then("S: P2 OK")
                               .then(afterSignIn)});
    await(connecting(server, MailAuth::password(u"päss"_s)));
    server.expectUsedUp();
}

TEST(IMAPClient, EscapesAPasswordInQuotes)
{
    ScriptedServer server(
        {greeted("IMAP4rev1").then("C: P2 LOGIN \"ann\" \"a\\\"b\\\\c\"\nS: P2 OK").then(afterSignIn)});
    await(connecting(server, MailAuth::password(u"a\"b\\c"_s)));
    server.expectUsedUp();
}

TEST(IMAPClient, RefusesToSignInWhereTheServerTakesNoPassword)
{
    ScriptedServer server({greeted("IMAP4rev1 LOGINDISABLED AUTH=XOAUTH2")});
    expectUnsupported(connecting(server), u"The server doesn't accept password sign-in."_s);
    EXPECT_TRUE(server.connection(0).isClosed());
    server.expectUsedUp();
}

TEST(IMAPClient, PrefersAuthenticateEvenWhereLoginIsDisabled)
{
    ScriptedServer server({greeted("logindisabled auth=plain")
                               .then("C: P2 AUTHENTICATE PLAIN\nS: +\nC: AGFubgBzZWNyZXQ=\nS: P2 OK")
                               .then(afterSignIn)});
    await(connecting(server));
    server.expectUsedUp();
}

TEST(IMAPClient, TakesARefusedPasswordForALostSignIn)
{
    ScriptedServer plain(
        {greeted("AUTH=PLAIN").then("C: P2 AUTHENTICATE PLAIN\nS: +\nC: AGFubgBzZWNyZXQ=\nS: P2 NO wrong")});
    expectMailError(connecting(plain), MailError::Kind::notSignedIn);
    EXPECT_TRUE(plain.connection(0).isClosed());
    ScriptedServer login({greeted("X").then("C: P2 LOGIN \"ann\" \"secret\"\nS: P2 BAD wrong")});
    expectMailError(connecting(login), MailError::Kind::notSignedIn);
}

TEST(IMAPClient, TakesAConnectionThatDropsDuringTheSignInForARefusal)
{
    ScriptedServer server({greeted("AUTH=PLAIN").then("C: P2 AUTHENTICATE PLAIN\n[CLOSE]")});
    expectMailError(connecting(server), MailError::Kind::notSignedIn);
    EXPECT_TRUE(server.connection(0).isClosed());
}

// --- OAuth

TEST(XOAUTH2, IsTheUserAndTheTokenBetweenControlCharacters)
{
    EXPECT_EQ(QByteArray::fromBase64(xoauth2Payload(u"ann@x"_s, u"tok%1en"_s)),
              "user=ann@x\x01"
              "auth=Bearer tok%1en\x01\x01");
    EXPECT_EQ(QByteArray::fromBase64(xoauth2Payload(u"%1"_s, u"t"_s)), "user=%1\x01"
                                                                       "auth=Bearer t\x01\x01");
}

TEST(IMAPClient, SignsInWithAToken)
{
    ScriptedServer server({greeted("AUTH=XOAUTH2")
                               .then("C: P2 AUTHENTICATE XOAUTH2\nS: +")
                               .client(xoauth2Payload(u"ann"_s, u"one"_s) + "\r\n")
                               .then("S: P2 OK")
                               .then(afterSignIn)});
    const auto tokens = std::make_shared<TokensInTurn>(QStringList(u"one"_s));
    await(connecting(server, MailAuth::oauth(tokens)));
    server.expectUsedUp();
    EXPECT_EQ(tokens->asked, QList<bool>({false}));
}

TEST(IMAPClient, TriesAFreshTokenOnTheSameConnectionAfterARefusal)
{
    ScriptedServer server({greeted("AUTH=XOAUTH2")
                               .then("C: P2 AUTHENTICATE XOAUTH2\nS: +")
                               .client(xoauth2Payload(u"ann"_s, u"old"_s) + "\r\n")
                               .then("S: + eyJzdGF0dXMiOiI0MDAifQ==\nC: \nS: P2 NO expired")
                               .then("C: P3 AUTHENTICATE XOAUTH2\nS: +")
                               .client(xoauth2Payload(u"ann"_s, u"new"_s) + "\r\n")
                               .then("S: P3 OK\nC: P4 CAPABILITY\nS: P4 OK")});
    const auto tokens = std::make_shared<TokensInTurn>(QStringList({u"old"_s, u"new"_s}));
    await(connecting(server, MailAuth::oauth(tokens)));
    server.expectUsedUp();
    EXPECT_EQ(tokens->asked, QList<bool>({false, true}));
}

TEST(IMAPClient, TakesTwoRefusedTokensForALostSignIn)
{
    ScriptedServer server(
        {greeted("AUTH=XOAUTH2")
             .then("C: P2 AUTHENTICATE XOAUTH2\nS: P2 NO\nC: P3 AUTHENTICATE XOAUTH2\nS: P3 NO")});
    const auto tokens = std::make_shared<TokensInTurn>(QStringList({u"old"_s, u"new"_s}));
    expectMailError(connecting(server, MailAuth::oauth(tokens)), MailError::Kind::notSignedIn);
    server.expectUsedUp();
    EXPECT_TRUE(server.connection(0).isClosed());
}

TEST(IMAPClient, RefusesToSignInWhereTheServerTakesNoToken)
{
    ScriptedServer server({greeted("AUTH=PLAIN")});
    const auto tokens = std::make_shared<TokensInTurn>(QStringList(u"one"_s));
    expectUnsupported(connecting(server, MailAuth::oauth(tokens)),
                      u"The server doesn't accept OAuth sign-in."_s);
    EXPECT_TRUE(tokens->asked.isEmpty());
}

TEST(IMAPClient, PassesAFailureOfTheTokensOnAndCloses)
{
    ScriptedServer server({greeted("AUTH=XOAUTH2")});
    expectMailError(connecting(server, MailAuth::oauth(std::make_shared<TokensInTurn>(QStringList()))),
                    MailError::Kind::notSignedIn);
    EXPECT_TRUE(server.connection(0).isClosed());
}

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
    Connected untagged("C: P4 APPEND \"Sent\" (\\Seen) {5}\nS: * 3 EXISTS");
    expectProtocolError(untagged.client->append(u"Sent"_s, u"\\Seen"_s, "hello"), u"EXISTS"_s);
    EXPECT_TRUE(untagged.isClosed());
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
        EXPECT_EQ(fetches[0].body, "P4 N");
        EXPECT_EQ(fetches[0].items.value(u"BODY[2]"_s, IMAPValue::nil()), IMAPValue::string("\r\n"));
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
    EXPECT_EQ(fetches[0].body, body);
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
