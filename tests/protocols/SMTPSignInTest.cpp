#include "SMTPDialogue.h"
#include "protocols/SMTPClient.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/ScriptedTransport.h"
#include "support/TokensInTurn.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {

using namespace SMTPDialogue;

namespace {

// --- A server without TLS

TEST(SMTPClient, NamesTheOtherSecurityWhereTheServerSpeaksNoTLS)
{
    ScriptedServer server({Script("[WITHOUT TLS]")});
    expectUnsupported(verifying(server, secret(), ConnectionSecurity::tls),
                      u"There is no TLS here. Try STARTTLS (usually port 587)."_s);
    EXPECT_TRUE(server.connection(0).isClosed());
    EXPECT_EQ(server.connection(0).sendCount(), 0);
}

TEST(SMTPClient, LeavesOtherFailuresOfAConnectionAsTheyAre)
{
    ScriptedServer server({Script("[REFUSED]")});
    EXPECT_THROW(await(verifying(server, secret(), ConnectionSecurity::tls)), StreamError);
    EXPECT_TRUE(server.connection(0).isClosed());
}

// --- STARTTLS

constexpr std::string_view startTLS = R"(
    S: 250-smtp.x.example
    S: 250-AUTH XOAUTH2
    S: 250 starttls
    C: STARTTLS
    S: 220 begin
    [STARTTLS]
    C: EHLO [127.0.0.1]
)";

TEST(SMTPClient, UpgradesToTLSAndForgetsWhatWasSaidBefore)
{
    ScriptedServer server({greeted(startTLS)
                               .then("S: 250 AUTH PLAIN\nC: AUTH PLAIN AGFubgBzZWNyZXQ=\nS: 235 ok")
                               .then(goodbye)});
    await(verifying(server, secret(), ConnectionSecurity::startTLS));
    server.expectUsedUp();
    EXPECT_EQ(server.openings(), QList<ScriptedServer::Opening>({{u"smtp.x.example"_s, 587, false}}));
}

TEST(SMTPClient, UsesNoMechanismThatWasOfferedBeforeTLS)
{
    ScriptedServer server({greeted("S: 250-AUTH PLAIN\nS: 250 STARTTLS\nC: STARTTLS\nS: 220 begin\n"
                                   "[STARTTLS]\nC: EHLO [127.0.0.1]\nS: 250 ok")});
    expectUnsupported(verifying(server, secret(), ConnectionSecurity::startTLS),
                      u"smtp.x.example doesn't accept password sign-in."_s);
    server.expectUsedUp();
}

TEST(SMTPClient, RefusesAServerWithoutStartTLS)
{
    for (const std::string_view offers :
         {"S: 250 AUTH PLAIN", "S: 250-STARTTLS x\nS: 250 AUTH PLAIN", "S: 250 X-STARTTLS", "S: 250"}) {
        ScriptedServer server({greeted(offers)});
        expectUnsupported(verifying(server, secret(), ConnectionSecurity::startTLS),
                          u"smtp.x.example doesn't offer STARTTLS. Try SSL/TLS (usually port 465)."_s);
        server.expectUsedUp();
        EXPECT_TRUE(server.connection(0).isClosed());
    }
}

TEST(SMTPClient, SaysNothingMoreInTheClearWhereStartTLSIsRefused)
{
    ScriptedServer server({greeted("S: 250 STARTTLS\nC: STARTTLS\nS: 454 not today")});
    expectProtocolError(verifying(server, secret(), ConnectionSecurity::startTLS),
                        u"The mail server said: 454 not today"_s);
    server.expectUsedUp();
    EXPECT_TRUE(server.connection(0).isClosed());
}

TEST(SMTPClient, RefusesDataThatComesInTheSameChunkAsTheWordToBeginTLS)
{
    for (const std::string_view injected : {"S: 250 AUTH PLAIN", "S= 2", "S= \\n"}) {
        ScriptedServer server({greeted("S: 250 STARTTLS\nC: STARTTLS\nS: 220 begin").then(injected)});
        expectProtocolError(verifying(server, secret(), ConnectionSecurity::startTLS),
                            u"Unexpected data before TLS."_s);
        server.expectUsedUp();
        EXPECT_TRUE(server.connection(0).isClosed());
    }
}

TEST(SMTPClient, FailsWhereTheConnectionFailsAroundTheStartOfTLS)
{
    for (const std::string_view end :
         {"[CLOSE]", "C: STARTTLS\n[CLOSE]", "C: STARTTLS\nS: 220 begin\n[CLOSE]",
          "C: STARTTLS\nS: 220 begin\n[STARTTLS]\n[CLOSE]",
          "C: STARTTLS\nS: 220 begin\n[STARTTLS]\nC: EHLO [127.0.0.1]\n[CLOSE]"}) {
        ScriptedServer server({greeted("S: 250 STARTTLS").then(end)});
        expectProtocolError(verifying(server, secret(), ConnectionSecurity::startTLS), closedText);
        server.expectUsedUp();
        EXPECT_TRUE(server.connection(0).isClosed());
    }
}

TEST(SMTPClient, FailsWhereTheGreetingAfterTLSIsRefused)
{
    ScriptedServer server({greeted("S: 250 STARTTLS\nC: STARTTLS\nS: 220 begin\n[STARTTLS]\n"
                                   "C: EHLO [127.0.0.1]\nS: 502 no")});
    expectProtocolError(verifying(server, secret(), ConnectionSecurity::startTLS),
                        u"The mail server said: 502 no"_s);
    server.expectUsedUp();
}

TEST(SMTPClient, AsksForNoUpgradeOverTLS)
{
    ScriptedServer server({greeted("S: 250-STARTTLS\nS: 250 AUTH PLAIN\nC: AUTH PLAIN AGFubgBzZWNyZXQ=\n"
                                   "S: 235 ok")
                               .then(goodbye)});
    await(verifying(server));
    server.expectUsedUp();
}

// --- Passwords

TEST(SMTPClient, ReadsTheMechanismsOfAMultiLineReplyAndPrefersPlain)
{
    ScriptedServer server({greeted("S: 250-SIZE\nS: 250-AUTH LOGIN PLAIN\nS: 250 OK\n"
                                   "C: AUTH PLAIN AGFubgBzZWNyZXQ=\nS: 235 ok")
                               .then(goodbye)});
    await(verifying(server));
    server.expectUsedUp();
}

TEST(SMTPClient, SignsInByThreeStepsWhereTheServerHasNoPlain)
{
    ScriptedServer server({greeted("S: 250 auth login XOAUTH2\nC: AUTH LOGIN\nS: 334 VXNlcm5hbWU6\n"
                                   "C: YW5u\nS: 334 UGFzc3dvcmQ6\nC: c2VjcmV0\nS: 235 ok")
                               .then(goodbye)});
    await(verifying(server));
    server.expectUsedUp();
}

TEST(SMTPClient, TakesARefusalAtAnyStepOfTheLoginForALostSignIn)
{
    for (const std::string_view end :
         {"S: 535 no", "S: 334 x\nC: YW5u\nS: 535 no", "S: 334 x\nC: YW5u\nS: 334 x\nC: c2VjcmV0\nS: 535 no",
          "S: 334 x\nC: YW5u\n[CLOSE]", "S: 235 so soon", "S: nonsense", "[CLOSE]", "[TIMEOUT]"}) {
        ScriptedServer server({greeted("S: 250 AUTH LOGIN\nC: AUTH LOGIN").then(end)});
        expectMailError(verifying(server), MailError::Kind::notSignedIn);
        server.expectUsedUp();
        EXPECT_TRUE(server.connection(0).isClosed());
    }
}

TEST(SMTPClient, SendsUserAndPasswordInUTF8)
{
    ScriptedServer server(
        {greeted("S: 250 AUTH PLAIN")
             .client("AUTH PLAIN " + QByteArray("\0ann\0p\xC3\xA4ss", 10).toBase64() + "\r\n")
             .then("S: 235 ok")
             .then(goodbye)});
    await(verifying(server, MailAuth::password(u"päss"_s)));
    server.expectUsedUp();
}

TEST(SMTPClient, RefusesToSignInWhereTheServerTakesNoPassword)
{
    for (const std::string_view offers :
         {"S: 250 AUTH XOAUTH2", "S: 250 AUTH", "S: 250 AUTH XPLAIN PLAINS", "S: 250 AUTH=PLAIN",
          "S: 250 auth.example", "S: 250 AUTHPLAIN PLAIN", "S: 250  AUTH PLAIN", "S: 250"}) {
        ScriptedServer server({greeted(offers)});
        expectUnsupported(verifying(server), u"smtp.x.example doesn't accept password sign-in."_s);
        server.expectUsedUp();
        EXPECT_TRUE(server.connection(0).isClosed());
    }
}

TEST(SMTPClient, TakesNoHostCalledAuthForALineOfMechanisms)
{
    ScriptedServer server({greeted("S: 250-auth.example greets PLAIN\nS: 250-AUTHENTIC PLAIN\n"
                                   "S: 250 Auth Login\nC: AUTH LOGIN\nS: 334\nC: YW5u\nS: 334\nC: c2VjcmV0\n"
                                   "S: 235")
                               .then(goodbye)});
    await(verifying(server));
    server.expectUsedUp();
}

TEST(SMTPClient, TakesTheMechanismsOfTheFirstLineAlone)
{
    ScriptedServer server({greeted("S: 250-AUTH XOAUTH2\nS: 250 AUTH PLAIN")});
    expectUnsupported(verifying(server), u"smtp.x.example doesn't accept password sign-in."_s);
}

TEST(SMTPClient, ComparesKeywordsByTheLettersOfASCII)
{
    // U+0131 and U+017F turn to "I" and "S" as Unicode raises them.
    ScriptedServer server({greeted("S: 250 AUTH PLA\u0131N LOG\u0131N")});
    expectUnsupported(verifying(server), u"smtp.x.example doesn't accept password sign-in."_s);
    ScriptedServer tls({greeted("S: 250 \u017Ftarttl\u017F")});
    expectUnsupported(verifying(tls, secret(), ConnectionSecurity::startTLS),
                      u"smtp.x.example doesn't offer STARTTLS. Try SSL/TLS (usually port 465)."_s);
}

// --- OAuth

TEST(SMTPClient, SignsInWithAToken)
{
    ScriptedServer server({greeted("S: 250 AUTH PLAIN XOAUTH2")
                               .client("AUTH XOAUTH2 " + xoauth2Payload(u"ann"_s, u"one"_s) + "\r\n")
                               .then("S: 235 ok")
                               .then(goodbye)});
    const auto tokens = std::make_shared<TokensInTurn>(QStringList(u"one"_s));
    await(verifying(server, MailAuth::oauth(tokens)));
    server.expectUsedUp();
    EXPECT_EQ(tokens->asked, QList<bool>({false}));
}

TEST(SMTPClient, AnswersAChallengeWithAnEmptyLineAndTriesAFreshTokenAfterTheRefusal)
{
    ScriptedServer server({greeted("S: 250 AUTH XOAUTH2")
                               .client("AUTH XOAUTH2 " + xoauth2Payload(u"ann"_s, u"old"_s) + "\r\n")
                               .then("S: 334 eyJzdGF0dXMiOiI0MDAifQ==\nC: \nS: 535 expired")
                               .client("AUTH XOAUTH2 " + xoauth2Payload(u"ann"_s, u"new"_s) + "\r\n")
                               .then("S: 235 ok")
                               .then(goodbye)});
    const auto tokens = std::make_shared<TokensInTurn>(QStringList({u"old"_s, u"new"_s}));
    await(verifying(server, MailAuth::oauth(tokens)));
    server.expectUsedUp();
    EXPECT_EQ(tokens->asked, QList<bool>({false, true}));
}

TEST(SMTPClient, IsSignedInWhereTheEmptyLineIsAnsweredSo)
{
    ScriptedServer server({greeted("S: 250 AUTH XOAUTH2")
                               .client("AUTH XOAUTH2 " + xoauth2Payload(u"ann"_s, u"one"_s) + "\r\n")
                               .then("S: 334\nC: \nS: 235 after all")
                               .then(goodbye)});
    await(verifying(server, MailAuth::oauth(std::make_shared<TokensInTurn>(QStringList(u"one"_s)))));
    server.expectUsedUp();
}

TEST(SMTPClient, TakesTwoRefusedTokensForALostSignIn)
{
    for (const std::string_view refusal :
         {"S: 535 no", "S: 334 x\nC: \nS: 535 no", "S: 334 x\nC: \nS: 334 x", "S: 250 ok", "S: 421 later"}) {
        ScriptedServer server({greeted("S: 250 AUTH XOAUTH2")
                                   .client("AUTH XOAUTH2 " + xoauth2Payload(u"ann"_s, u"old"_s) + "\r\n")
                                   .then(refusal)
                                   .client("AUTH XOAUTH2 " + xoauth2Payload(u"ann"_s, u"new"_s) + "\r\n")
                                   .then(refusal)});
        const auto tokens = std::make_shared<TokensInTurn>(QStringList({u"old"_s, u"new"_s}));
        expectMailError(verifying(server, MailAuth::oauth(tokens)), MailError::Kind::notSignedIn);
        server.expectUsedUp();
        EXPECT_TRUE(server.connection(0).isClosed());
        EXPECT_EQ(tokens->asked, QList<bool>({false, true}));
    }
}

TEST(SMTPClient, PassesAReplyOfTheTokenLoginThatCannotBeReadOnAsItCame)
{
    for (const auto& [end, text] :
         {std::pair{"[CLOSE]", closedText}, std::pair{"[TIMEOUT]", stoppedText},
          std::pair{"S: what", u"Unexpected SMTP reply."_s}, std::pair{"S: 334\nC: \n[CLOSE]", closedText}}) {
        ScriptedServer server({greeted("S: 250 AUTH XOAUTH2")
                                   .client("AUTH XOAUTH2 " + xoauth2Payload(u"ann"_s, u"old"_s) + "\r\n")
                                   .then(end)});
        const auto tokens = std::make_shared<TokensInTurn>(QStringList({u"old"_s, u"new"_s}));
        expectProtocolError(verifying(server, MailAuth::oauth(tokens)), text);
        server.expectUsedUp();
        EXPECT_EQ(tokens->asked, QList<bool>({false}));
    }
}

TEST(SMTPClient, RefusesToSignInWhereTheServerTakesNoTokenAndNeverTriesAPassword)
{
    ScriptedServer server({greeted("S: 250 AUTH PLAIN LOGIN")});
    const auto tokens = std::make_shared<TokensInTurn>(QStringList(u"one"_s));
    expectUnsupported(verifying(server, MailAuth::oauth(tokens)),
                      u"smtp.x.example doesn't accept OAuth sign-in."_s);
    server.expectUsedUp();
    EXPECT_TRUE(server.connection(0).isClosed());
    EXPECT_TRUE(tokens->asked.isEmpty());
}

TEST(SMTPClient, PassesAFailureOfTheTokensOnAndCloses)
{
    ScriptedServer server({greeted("S: 250 AUTH XOAUTH2")});
    expectMailError(verifying(server, MailAuth::oauth(std::make_shared<TokensInTurn>(QStringList()))),
                    MailError::Kind::notSignedIn);
    EXPECT_TRUE(server.connection(0).isClosed());
}

} // namespace
} // namespace Larkhaven
