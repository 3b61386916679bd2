#include "protocols/SMTPClient.h"

#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/ScriptedTransport.h"
#include "support/TokensInTurn.h"

#include <array>
#include <gtest/gtest.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QString closedText = u"The server closed the connection."_s;
const QString stoppedText = u"The server stopped responding."_s;

ServerSettings settings(ConnectionSecurity security = ConnectionSecurity::tls)
{
    ServerSettings some;
    some.username = u"ann"_s;
    some.smtpHost = u"smtp.x.example"_s;
    some.smtpPort = security == ConnectionSecurity::tls ? 465 : 587;
    some.smtpSecurity = security;
    return some;
}

MailAuth secret()
{
    return MailAuth::password(u"secret"_s);
}

constexpr std::string_view greeting = R"(
    S: 220 smtp.x.example ESMTP
    C: EHLO [127.0.0.1]
)";
constexpr std::string_view welcome = R"(
    S: 250-smtp.x.example
    S: 250-SIZE 1000000
    S: 250 AUTH LOGIN PLAIN
    C: AUTH PLAIN AGFubgBzZWNyZXQ=
    S: 235 welcome
)";
constexpr std::string_view envelope = R"(
    C: MAIL FROM:<ann@x.example>
    S: 250 ok
    C: RCPT TO:<bob@y.example>
    S: 250 ok
)";
constexpr std::string_view handover = R"(
    C: DATA
    S: 354 go on
    C: Subject: x
    C: 
    C: Hi
    C: .
    S: 250 taken
)";
constexpr std::string_view goodbye = R"(
    C: QUIT
    S: 221 bye
)";

/// A server up to the login, with these lines in answer to EHLO.
Script greeted(std::string_view offers, const Place& where = Place::current())
{
    return Script(greeting, Chunks::whole, where).then(offers);
}

/// A server on which "ann" has signed in.
Script signedIn(Chunks chunks = Chunks::whole, const Place& where = Place::current())
{
    return Script(greeting, chunks, where).then(welcome);
}

const QByteArray& hi()
{
    static const QByteArray bytes = "Subject: x\r\n\r\nHi\r\n";
    return bytes;
}

Task<> sending(ScriptedServer& server, const QList<QString>& recipients = {u"bob@y.example"_s},
               const QByteArray& data = hi(), const QString& from = u"ann@x.example"_s)
{
    return SMTPClient::send(settings(), secret(), server.factory(), from, recipients, data);
}

Task<> verifying(ScriptedServer& server, const MailAuth& auth = secret(),
                 ConnectionSecurity security = ConnectionSecurity::tls)
{
    return SMTPClient::verify(settings(security), auth, server.factory());
}

// --- A whole dialogue

TEST(SMTPClient, SendsAMessageInAFixedOrderAndCloses)
{
    ScriptedServer server({signedIn().then(envelope).then(handover).then(goodbye)});
    await(sending(server));
    server.expectUsedUp();
    EXPECT_EQ(server.openings(), QList<ScriptedServer::Opening>({{u"smtp.x.example"_s, 465, true}}));
    EXPECT_TRUE(server.connection(0).isClosed());
}

TEST(SMTPClient, ReadsTheSameByteByByteAndLineByLine)
{
    for (const Chunks chunks : {Chunks::byteByByte, Chunks::lines}) {
        ScriptedServer server({signedIn(chunks).then(envelope).then(handover).then(goodbye)});
        await(sending(server));
        server.expectUsedUp();
    }
}

TEST(SMTPClient, VerifiesWithoutSendingAnything)
{
    ScriptedServer server({signedIn().then(goodbye)});
    await(verifying(server));
    server.expectUsedUp();
    EXPECT_TRUE(server.connection(0).isClosed());
}

TEST(SMTPClient, SendsAMessageInOneWrite)
{
    QByteArray large = "Subject: x\r\n\r\n" + QByteArray(3'000'000, 'x');
    for (qsizetype index = 100; index < large.size(); index += 78)
        large.replace(index, 3, "\r\n.");
    ScriptedServer server({signedIn()
                               .then(envelope)
                               .then("C: DATA\nS: 354 go on")
                               .client(SMTPClient::stuffedMessage(large))
                               .then("S: 250 taken")
                               .then(goodbye)});
    await(sending(server, {u"bob@y.example"_s}, large));
    server.expectUsedUp();
    // EHLO, AUTH, MAIL, RCPT, DATA, the message, QUIT.
    EXPECT_EQ(server.connection(0).sendCount(), 7);
}

TEST(SMTPClient, NamesEachRecipientInTheirOrder)
{
    ScriptedServer server({signedIn()
                               .then("C: MAIL FROM:<ann@x.example>\nS: 250\nC: RCPT TO:<c@y>\nS: 250\n"
                                     "C: RCPT TO:<a@y>\nS: 250\nC: RCPT TO:<c@y>\nS: 250\n"
                                     "C: RCPT TO:<b@y>\nS: 250")
                               .then(handover)
                               .then(goodbye)});
    await(sending(server, {u"c@y"_s, u"a@y"_s, u"c@y"_s, u"b@y"_s}));
    server.expectUsedUp();
}

TEST(SMTPClient, GoesOnWhereARecipientIsForwardedAndFailsWhereOneIsRefused)
{
    ScriptedServer forwarded({signedIn()
                                  .then("C: MAIL FROM:<ann@x.example>\nS: 250\nC: RCPT TO:<bob@y.example>\n"
                                        "S: 251 elsewhere")
                                  .then(handover)
                                  .then(goodbye)});
    await(sending(forwarded));
    forwarded.expectUsedUp();
    ScriptedServer refused({signedIn().then(
        "C: MAIL FROM:<ann@x.example>\nS: 250\nC: RCPT TO:<bob@y.example>\nS: 550 nobody here")});
    expectProtocolError(sending(refused), u"The mail server said: 550 nobody here"_s);
    refused.expectUsedUp();
    EXPECT_TRUE(refused.connection(0).isClosed());
}

// --- Failures at each step

struct Step {
    const char* name;
    Script before;   ///< up to the command, or the greeting, that is to be answered
    bool isLogin;    ///< every protocol failure counts as a refusal
    QString refusal; ///< the code with which the step is refused
};

std::vector<Step> stepsOfSending()
{
    return {
        {"greeting", Script(""), false, u"554"_s},
        {"EHLO", Script(greeting), false, u"502"_s},
        {"AUTH", greeted("S: 250 AUTH PLAIN\nC: AUTH PLAIN AGFubgBzZWNyZXQ="), true, u"535"_s},
        {"MAIL", signedIn().then("C: MAIL FROM:<ann@x.example>"), false, u"550"_s},
        {"first RCPT", signedIn().then("C: MAIL FROM:<ann@x.example>\nS: 250 ok\nC: RCPT TO:<bob@y.example>"),
         false, u"450"_s},
        {"second RCPT", signedIn().then(envelope).then("C: RCPT TO:<carol@y.example>"), false, u"252"_s},
        {"DATA", signedIn().then(envelope).then("C: RCPT TO:<carol@y.example>\nS: 250 ok\nC: DATA"), false,
         u"250"_s},
        {"final dot",
         signedIn()
             .then(envelope)
             .then("C: RCPT TO:<carol@y.example>\nS: 250 ok\nC: DATA\nS: 354 go on\nC: Subject: x")
             .client("\r\nHi\r\n.\r\n"),
         false, u"552"_s},
    };
}

void expectFailureAt(const Step& step, const Script& script, const QString& text)
{
    SCOPED_TRACE(step.name);
    ScriptedServer server({script});
    const QList<QString> recipients{u"bob@y.example"_s, u"carol@y.example"_s};
    if (step.isLogin)
        expectMailError(sending(server, recipients), MailError::Kind::notSignedIn);
    else
        expectProtocolError(sending(server, recipients), text);
    server.expectUsedUp();
    EXPECT_TRUE(server.connection(0).isClosed());
}

TEST(SMTPClient, FailsWithTheServersWordsWhereAStepIsRefusedAndSaysNoGoodbye)
{
    for (const Step& step : stepsOfSending()) {
        Script script = step.before;
        script.server(step.refusal.toLatin1() + "-not\r\n" + step.refusal.toLatin1() + " today\r\n");
        expectFailureAt(step, script, u"The mail server said: "_s + step.refusal + u" not today"_s);
    }
}

TEST(SMTPClient, FailsWhereTheServerDropsTheConnectionAtAStep)
{
    for (const Step& step : stepsOfSending())
        expectFailureAt(step, Script(step.before).then("[CLOSE]"), closedText);
}

TEST(SMTPClient, FailsWhereTheServerStopsRespondingAtAStep)
{
    for (const Step& step : stepsOfSending())
        expectFailureAt(step, Script(step.before).then("[TIMEOUT]"), stoppedText);
}

TEST(SMTPClient, FailsWhereAStepIsAnsweredByNoReply)
{
    for (const Step& step : stepsOfSending())
        expectFailureAt(step, Script(step.before).then("S: * OK this is IMAP"), u"Unexpected SMTP reply."_s);
}

TEST(SMTPClient, FailsOnAGreetingThatRefusesAndCloses)
{
    ScriptedServer server({Script("S: 554 no service")});
    expectProtocolError(sending(server), u"The mail server said: 554 no service"_s);
    server.expectUsedUp();
    EXPECT_TRUE(server.connection(0).isClosed());
}

TEST(SMTPClient, PassesAFailureToConnectOnAsItIs)
{
    ScriptedServer server({Script("[REFUSED]")});
    try {
        await(sending(server));
        ADD_FAILURE() << "nothing failed";
    } catch (const LocalizedError& error) {
        EXPECT_EQ(error.localizedText(), u"Connection refused");
    }
    EXPECT_TRUE(server.connection(0).isClosed());
}

// --- Whether the message may have gone out

/// Everything up to the end of the message, which the server has.
Script handedOver()
{
    return signedIn().then(envelope).then("C: DATA\nS: 354 go on\nC: Subject: x").client("\r\nHi\r\n.\r\n");
}

std::optional<MailError> failureOf(Task<> task)
{
    try {
        await(std::move(task));
    } catch (const MailError& error) {
        return error;
    }
    ADD_FAILURE() << "nothing failed";
    return std::nullopt;
}

TEST(SMTPClient, TellsThatAMessageMayHaveGoneOutWhereTheAnswerToItsEndNeverCame)
{
    for (const auto& [end, text] :
         {std::pair{"[CLOSE]", closedText}, std::pair{"[TIMEOUT]", stoppedText},
          std::pair{"S: 250-taken\n[CLOSE]", closedText}, std::pair{"S: taken", u"Unexpected SMTP reply."_s},
          std::pair{"S: 251 perhaps", u"The mail server said: 251 perhaps"_s},
          std::pair{"S: 354 go on", u"The mail server said: 354 go on"_s},
          std::pair{"S: 399 odd", u"The mail server said: 399 odd"_s},
          std::pair{"S: 600 odd", u"The mail server said: 600 odd"_s}}) {
        ScriptedServer server({handedOver().then(end)});
        const std::optional<MailError> error = failureOf(sending(server));
        ASSERT_TRUE(error);
        EXPECT_TRUE(error->mayHaveBeenSent()) << end;
        EXPECT_EQ(error->kind(), MailError::Kind::protocolError);
        EXPECT_EQ(error->text(), text);
    }
}

TEST(SMTPClient, KnowsThatAMessageHasNotGoneOutWhereItWasRefusedOrNeverHandedOver)
{
    const Script toData = signedIn().then(envelope).then("C: DATA\nS: 354 go on");
    QList<Script> scripts{handedOver().then("S: 400 not now"), handedOver().then("S: 599 never"),
                          Script(toData).then("[CLOSE]"), Script(toData).then("C: Subject: x\n[CLOSE]"),
                          Script(toData).then("C: Subject: x").client("\r\nHi\r\n.\r").then("[CLOSE]")};
    for (const Step& step : stepsOfSending()) {
        if (step.name != std::string_view("final dot"))
            scripts.append(Script(step.before).then("[CLOSE]"));
    }
    const QList<QString> recipients{u"bob@y.example"_s, u"carol@y.example"_s};
    for (qsizetype index = 0; index < scripts.size(); ++index) {
        ScriptedServer server({scripts[index]});
        const auto error = failureOf(sending(server, index < 5 ? recipients.first(1) : recipients));
        ASSERT_TRUE(error);
        EXPECT_FALSE(error->mayHaveBeenSent()) << "script " << index;
    }
}

/// Notes how long the client would wait for each chunk.
class PatienceNotingTransport final : public MailTransport {
public:
    PatienceNotingTransport(std::shared_ptr<MailTransport> transport, std::shared_ptr<QList<qint64>> seconds)
        : m_transport(std::move(transport))
        , m_seconds(std::move(seconds))
    {}
    Task<> send(QByteArray data) override { return m_transport->send(data); }
    Task<QByteArray> receive() override
    {
        m_seconds->append(m_timeout.count() / 1000);
        return m_transport->receive();
    }
    void setReceiveTimeout(std::chrono::milliseconds timeout) override { m_timeout = timeout; }
    Task<> startTLS() override { return m_transport->startTLS(); }
    void close() override { m_transport->close(); }

private:
    std::shared_ptr<MailTransport> m_transport;
    std::shared_ptr<QList<qint64>> m_seconds;
    std::chrono::milliseconds m_timeout{0};
};

TEST(SMTPClient, WaitsTenMinutesForTheAnswerToTheEndOfAMessageAndForNoOther)
{
    const auto scripted = ScriptedTransport::create(signedIn().then(envelope).then(handover).then(goodbye));
    const auto seconds = std::make_shared<QList<qint64>>();
    const TransportFactory factory = [scripted, seconds](const QString&, int, bool) {
        return [](std::shared_ptr<MailTransport> transport) -> Task<std::shared_ptr<MailTransport>> {
            co_return transport;
        }(std::make_shared<PatienceNotingTransport>(scripted, seconds));
    };
    await(SMTPClient::send(settings(), secret(), factory, u"ann@x.example"_s, {u"bob@y.example"_s}, hi()));
    // The greeting, EHLO, AUTH, MAIL, RCPT, DATA, the message, QUIT.
    EXPECT_EQ(*seconds, QList<qint64>({0, 0, 0, 0, 0, 0, 600, 60}));
}

// --- Addresses beyond ASCII

TEST(SMTPClient, SendsToAnAddressBeyondASCIIOverAServerThatTakesThem)
{
    const auto taking = [](std::string_view offers) {
        return greeted(offers).then("C: AUTH PLAIN AGFubgBzZWNyZXQ=\nS: 235 welcome");
    };
    ScriptedServer recipient({taking("S: 250-8BITMIME\nS: 250-smtputf8\nS: 250 AUTH PLAIN")
                                  .then("C: MAIL FROM:<ann@x.example> SMTPUTF8\nS: 250\n"
                                        "C: RCPT TO:<jörg@münchen.example>\nS: 250")
                                  .then(handover)
                                  .then(goodbye)});
    await(sending(recipient, {u"jörg@münchen.example"_s}));
    recipient.expectUsedUp();
    const QByteArray header = "To: jörg@y.example\r\n\r\nHi\r\n";
    for (const bool hasEightBits : {true, false}) {
        ScriptedServer sender(
            {taking(hasEightBits ? "S: 250-AUTH PLAIN\nS: 250-8BITMIME\nS: 250 SMTPUTF8"
                                 : "S: 250-AUTH PLAIN\nS: 250 SMTPUTF8")
                 .then(hasEightBits ? "C: MAIL FROM:<ünn@x.example> SMTPUTF8 BODY=8BITMIME\nS: 250"
                                    : "C: MAIL FROM:<ünn@x.example> SMTPUTF8\nS: 250")
                 .then("C: RCPT TO:<bob@y.example>\nS: 250\nC: DATA\nS: 354")
                 .client(header + ".\r\n")
                 .then("S: 250 taken")
                 .then(goodbye)});
        await(sending(sender, {u"bob@y.example"_s}, header, u"ünn@x.example"_s));
        sender.expectUsedUp();
    }
}

TEST(SMTPClient, RefusesAnAddressBeyondASCIIByItsNameBeforeItTellsTheServerAny)
{
    const QString refusal =
        u"“jörg@y.example” has letters that this mail server doesn’t take in addresses."_s;
    ScriptedServer server({signedIn()});
    expectUnsupported(sending(server, {u"bob@y.example"_s, u"jörg@y.example"_s, u"zoë@y.example"_s}),
                      refusal);
    server.expectUsedUp();
    EXPECT_TRUE(server.connection(0).isClosed());
    ScriptedServer sender({signedIn()});
    expectUnsupported(sending(sender, {u"zoë@y.example"_s}, hi(), u"jörg@y.example"_s), refusal);
    sender.expectUsedUp();
}

TEST(SMTPClient, TakesNoOtherKeywordAndNoneBeforeTLSForOneOfAddresses)
{
    ScriptedServer longer({greeted("S: 250-SMTPUTF8X\nS: 250-X SMTPUTF8\nS: 250 AUTH PLAIN")
                               .then("C: AUTH PLAIN AGFubgBzZWNyZXQ=\nS: 235")});
    EXPECT_TRUE(failureOf(sending(longer, {u"jörg@y"_s})));
    longer.expectUsedUp();
    ScriptedServer before({greeted("S: 250-SMTPUTF8\nS: 250 STARTTLS").then(R"(
        C: STARTTLS
        S: 220
        [STARTTLS]
        C: EHLO [127.0.0.1]
        S: 250 AUTH PLAIN
        C: AUTH PLAIN AGFubgBzZWNyZXQ=
        S: 235
    )")});
    EXPECT_TRUE(failureOf(SMTPClient::send(settings(ConnectionSecurity::startTLS), secret(), before.factory(),
                                           u"ann@x"_s, {u"jörg@y"_s}, hi())));
    before.expectUsedUp();
}

// --- After the message

TEST(SMTPClient, DoesNotFailAnAcceptedMessageWhereTheGoodbyeFails)
{
    for (const std::string_view end :
         {"C: QUIT\n[CLOSE]", "[CLOSE]", "C: QUIT\n[TIMEOUT]", "C: QUIT\nS: 500 what", "C: QUIT\nS: what"}) {
        ScriptedServer server({signedIn().then(envelope).then(handover).then(end)});
        await(sending(server));
        server.expectUsedUp();
        EXPECT_TRUE(server.connection(0).isClosed());
        ScriptedServer verified({signedIn().then(end)});
        await(verifying(verified));
        verified.expectUsedUp();
    }
}

TEST(SMTPClient, TellsAtMost300CharactersOfARefusal)
{
    const QString text = u"e\u0301"_s.repeated(1000);
    ScriptedServer server({Script("").server("554 " + text.toUtf8() + "\r\n")});
    expectProtocolError(sending(server), u"The mail server said: 554 "_s + text.first(600));
    ScriptedServer lines(
        {Script("").server("554-" + QByteArray(150, 'a') + "\r\n554 " + QByteArray(150, 'b') + "\r\n")});
    expectProtocolError(sending(lines),
                        u"The mail server said: 554 "_s + QString(150, u'a') + u' ' + QString(149, u'b'));
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

// --- Addresses

TEST(SMTPClient, TakesAnAddressWhoseDomainHasNoDot)
{
    for (const QString& address : {u"ann@x"_s, u"ann@x.example"_s, u"a+b.c=d'e%f@x"_s, u"ünn@münchen"_s,
                                   u"a@-"_s, u"a:b@c:d"_s, u"a\u0001@b"_s})
        EXPECT_EQ(SMTPClient::validateAddress(address), address);
}

TEST(SMTPClient, RefusesAnAddressWithABlankABracketOrASecondAt)
{
    for (const QString& address : {u""_s,
                                   u"@"_s,
                                   u"ann"_s,
                                   u"ann@"_s,
                                   u"@x"_s,
                                   u"a b@x"_s,
                                   u"a@x y"_s,
                                   u"<a@x>"_s,
                                   u"a@x>"_s,
                                   u"a@b@x"_s,
                                   u"a@@x"_s,
                                   u"a,b@x"_s,
                                   u"a@x;"_s,
                                   u"\"a\"@x"_s,
                                   u"a(b)@x"_s,
                                   u"a@[1.2.3.4]"_s,
                                   u"a\\@x"_s,
                                   u" a@x"_s,
                                   u"a@x "_s,
                                   u"a@x\n"_s,
                                   u"a@x\r\nDATA"_s,
                                   u"a\t@x"_s,
                                   u"a@x\v"_s,
                                   u"a@x\f"_s,
                                   u"a\u00a0@x"_s,
                                   u"a@x\u2028"_s,
                                   u"a@x\u3000y"_s,
                                   u"a@x\u0085"_s,
                                   QString(u"a@x"_s + QChar(0xd800)),
                                   QString(QChar(0xdc00) + u"a@x"_s)}) {
        try {
            SMTPClient::validateAddress(address);
            ADD_FAILURE() << address.toStdString();
        } catch (const MailError& error) {
            EXPECT_EQ(error.kind(), MailError::Kind::unsupported);
            EXPECT_EQ(error.text(), u"“"_s + address + u"” isn’t a valid email address."_s);
        }
    }
}

TEST(SMTPClient, SaysNothingOfASenderThatIsNoAddress)
{
    ScriptedServer server({signedIn()});
    expectUnsupported(sending(server, {u"bob@y"_s}, hi(), u"ann"_s), u"“ann” isn’t a valid email address."_s);
    server.expectUsedUp();
    EXPECT_TRUE(server.connection(0).isClosed());
}

TEST(SMTPClient, StopsAtARecipientThatIsNoAddress)
{
    ScriptedServer server({signedIn().then(envelope)});
    expectUnsupported(sending(server, {u"bob@y.example"_s, u"a@x>\r\nRCPT TO:<evil@z"_s, u"carol@y"_s}),
                      u"“a@x>\r\nRCPT TO:<evil@z” isn’t a valid email address."_s);
    server.expectUsedUp();
    EXPECT_TRUE(server.connection(0).isClosed());
}

// --- Commands and replies

constexpr std::array ok{250};

/// A session on a connection of its own.
struct Talking {
    explicit Talking(const Script& script)
        : transport(ScriptedTransport::create(script))
        , session(transport)
    {}
    ~Talking() { transport->expectUsedUp(); }
    Talking(const Talking&) = delete;
    Talking& operator=(const Talking&) = delete;

    std::shared_ptr<ScriptedTransport> transport;
    SMTPClient::Session session;
};

TEST(SMTPSession, RefusesACommandWithALineEndAndSendsNothingOfIt)
{
    Talking talking(Script(""));
    for (const QString& text : {u"MAIL FROM:<a@x>\r\nDATA"_s, u"x\n"_s, u"x\r"_s, u"\n"_s})
        expectProtocolError(talking.session.command(text, ok), u"Invalid SMTP command."_s);
    EXPECT_EQ(talking.transport->sendCount(), 0);
}

TEST(SMTPSession, SendsACommandInOneWriteAndGivesTheLinesOfItsReply)
{
    Talking talking(Script("C: NOOP ä\nS: 250-a\nS: 250 b"));
    EXPECT_EQ(await(talking.session.command(u"NOOP ä"_s, ok)), QList<QString>({u"a"_s, u"b"_s}));
    EXPECT_EQ(talking.transport->sendCount(), 1);
}

TEST(SMTPSession, EndsAReplyAtALineOfTheCodeAlone)
{
    Talking talking(Script("S: 250\nS: 250-a\nS: 250"));
    EXPECT_EQ(await(talking.session.readReply()), (SMTPClient::Reply{250, {QString()}}));
    EXPECT_EQ(await(talking.session.readReply()), (SMTPClient::Reply{250, {u"a"_s, QString()}}));
}

TEST(SMTPSession, TakesTheCodeOfTheLastLineAndWhatFollowsTheFourthCharacter)
{
    Talking talking(Script("S: 250-a\nS: 251-\nS: 552 b c\nS: 250+d\nS: 250-\nS: 250 \nS: 000 e"));
    EXPECT_EQ(await(talking.session.readReply()), (SMTPClient::Reply{552, {u"a"_s, u""_s, u"b c"_s}}));
    EXPECT_EQ(await(talking.session.readReply()), (SMTPClient::Reply{250, {u"d"_s}}));
    EXPECT_EQ(await(talking.session.readReply()), (SMTPClient::Reply{250, {u""_s, u""_s}}));
    EXPECT_EQ(await(talking.session.readReply()), (SMTPClient::Reply{0, {u"e"_s}}));
}

TEST(SMTPSession, RepairsTextThatIsNoUTF8)
{
    Talking talking(Script("S= 250 \\xFF\\xC3\\xA4\\r\\n"));
    EXPECT_EQ(await(talking.session.readReply()).lines, QList<QString>({u"\uFFFDä"_s}));
}

TEST(SMTPSession, RefusesALineThatDoesNotBeginWithThreeDigits)
{
    for (const std::string_view line :
         {"S: ", "S: 2", "S: 25", "S: 25x ok", "S: -25 ok", "S: +25 ok", "S:  250 ok", "S: 2 50", "S: x250",
          "S: \u0662\u0665\u0660 ok", "S: 250-a\nS: b", "S= \\xFF\\xFF\\xFF\\r\\n"}) {
        Talking talking((Script(line)));
        expectProtocolError(talking.session.readReply(), u"Unexpected SMTP reply."_s);
    }
}

TEST(SMTPSession, TakesAReplyOf999LinesAndRefusesOneMore)
{
    Talking most(Script("").server(QByteArray("250-x\r\n").repeated(998) + "250 x\r\n"));
    EXPECT_EQ(await(most.session.readReply()).lines.size(), 999);
    Talking more(Script("").server(QByteArray("250-x\r\n").repeated(999) + "250 x\r\n"));
    expectProtocolError(more.session.readReply(), u"SMTP reply too long."_s);
}

TEST(SMTPSession, TakesALineAsLongAsALineMayBeAndRefusesAReplyThatHoldsMore)
{
    const QByteArray longest = "250-" + QByteArray(SMTPClient::replySizeLimit - 7, 'x');
    Talking most(Script("").server(longest + "\r\n250\r\n"));
    EXPECT_EQ(await(most.session.readReply()).lines.value(0).size(), SMTPClient::replySizeLimit - 7);
    Talking more(Script("").server(longest + "\r\n250 \r\n"));
    expectProtocolError(more.session.readReply(), u"SMTP reply too long."_s);
}

TEST(SMTPSession, RefusesALineThatNeverEnds)
{
    Talking talking(Script("").server(QByteArray(LineReader::lineLimit + 1, '2')));
    expectProtocolError(talking.session.readReply(), u"Server response too long."_s);
}

TEST(SMTPSession, ReadsALineOfVeryManyMechanisms)
{
    ScriptedServer server({Script(greeting)
                               .server("250 AUTH" + QByteArray(" X").repeated(4'000'000) + " PLAIN\r\n")
                               .then("C: AUTH PLAIN AGFubgBzZWNyZXQ=\nS: 235 ok")
                               .then(goodbye)});
    await(verifying(server));
    server.expectUsedUp();
}

// --- Stuffing

TEST(SMTPStuffing, EndsAMessageThatHasNoLineEnd)
{
    EXPECT_EQ(SMTPClient::stuffedMessage("a"), "a\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("a\r\n"), "a\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("a\n"), "a\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("a\r"), "a\r\r\n.\r\n");
}

TEST(SMTPStuffing, EndsAnEmptyMessage)
{
    EXPECT_EQ(SMTPClient::stuffedMessage(""), "\r\n.\r\n");
}

TEST(SMTPStuffing, DoublesADotAtTheBeginningOfALine)
{
    EXPECT_EQ(SMTPClient::stuffedMessage("."), "..\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("a\r\n.\r\nb"), "a\r\n..\r\nb\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("a\n.\nb"), "a\r\n..\r\nb\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("..a\r\n..\r\n"), "...a\r\n...\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("a.\r\n a.b"), "a.\r\n a.b\r\n.\r\n");
}

TEST(SMTPStuffing, LeavesACarriageReturnAloneAsItIs)
{
    EXPECT_EQ(SMTPClient::stuffedMessage("a\r.\rb\r\n"), "a\r.\rb\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("\r\r\n\r"), "\r\r\n\r\r\n.\r\n");
}

TEST(SMTPStuffing, SendsABareLineFeedAsALineEnd)
{
    EXPECT_EQ(SMTPClient::stuffedMessage("\n\n.\n"), "\r\n\r\n..\r\n.\r\n");
    EXPECT_EQ(SMTPClient::stuffedMessage("a\n\r\nb"), "a\r\n\r\nb\r\n.\r\n");
}

TEST(SMTPStuffing, LetsNoMessageEndBeforeItsEnd)
{
    // Every text of up to six of these letters.
    constexpr std::string_view letters("\r\n.a");
    constexpr int longest = 6;
    QList<QByteArray> texts{QByteArray()};
    for (qsizetype index = 0; index < texts.size(); ++index) {
        const QByteArray text = texts[index];
        const QByteArray sent = SMTPClient::stuffedMessage(text);
        EXPECT_EQ(("\r\n" + sent).indexOf("\r\n.\r\n"), sent.size() - 3)
            << text.toPercentEncoding().toStdString();
        EXPECT_TRUE(sent.endsWith("\r\n.\r\n"));
        EXPECT_EQ(sent.count('\n'), sent.count("\r\n"));
        // What the server makes of it is the message with line ends of the network.
        QByteArray received = "\r\n" + sent.chopped(3);
        received = received.replace("\r\n.", "\r\n").sliced(2);
        QByteArray expected = QByteArray(text).replace("\r\n", "\n").replace('\n', "\r\n");
        if (!expected.endsWith("\r\n"))
            expected += "\r\n";
        EXPECT_EQ(received, expected) << text.toPercentEncoding().toStdString();
        if (text.size() < longest) {
            for (const char letter : letters)
                texts.append(text + letter);
        }
    }
    EXPECT_EQ(texts.size(), 5461);
}

TEST(SMTPStuffing, MakesOneCopyOfAMessageThatNeedsNoStuffing)
{
    const QByteArray message = QByteArray(76, 'x').append("\r\n").repeated(100'000);
    const QByteArray sent = SMTPClient::stuffedMessage(message);
    EXPECT_EQ(sent.size(), message.size() + 3);
    EXPECT_EQ(sent.capacity(), message.size() + 64);
}

TEST(SMTPStuffing, TakesThirtyMegabytesOfTheWorst)
{
    EXPECT_EQ(SMTPClient::stuffedMessage(QByteArray(10'000'000, '\n')).size(), 20'000'003);
    EXPECT_EQ(SMTPClient::stuffedMessage(QByteArray(".\n").repeated(5'000'000)).size(), 20'000'003);
    EXPECT_EQ(SMTPClient::stuffedMessage(QByteArray(10'000'000, '\r')).size(), 10'000'005);
}

} // namespace
} // namespace Larkhaven
