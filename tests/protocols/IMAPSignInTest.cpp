#include "IMAPDialogue.h"
#include "protocols/IMAPClient.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"
#include "support/IMAPScripts.h"
#include "support/QtPrinters.h"
#include "support/ScriptedTransport.h"
#include "support/TokensInTurn.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {

using namespace IMAPDialogue;

namespace {

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

TEST(IMAPClient, NamesTheOtherSecurityWhereTheServerSpeaksNoTLS)
{
    ScriptedServer server({Script("[WITHOUT TLS]")});
    expectUnsupported(connecting(server), u"There is no TLS here. Try STARTTLS (usually port 143)."_s);
    EXPECT_TRUE(server.connection(0).isClosed());
    EXPECT_EQ(server.connection(0).sendCount(), 0);
}

TEST(IMAPClient, LeavesOtherFailuresOfAConnectionAsTheyAre)
{
    ScriptedServer server({Script("[REFUSED]")});
    EXPECT_THROW(await(connecting(server)), StreamError);
    EXPECT_TRUE(server.connection(0).isClosed());
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

} // namespace
} // namespace Larkhaven
