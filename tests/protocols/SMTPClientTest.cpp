#include "protocols/SMTPClient.h"

#include "SMTPDialogue.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/ScriptedTransport.h"

#include <gtest/gtest.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven {

using namespace SMTPDialogue;

namespace {

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

} // namespace
} // namespace Larkhaven
