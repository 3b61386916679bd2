#include "Providing.h"
#include "format/MIMEParser.h"
#include "format/MessageComposer.h"
#include "platform/Wakeup.h"
#include "providers/IMAPProvider.h"
#include "support/Await.h"
#include "support/IMAPScripts.h"
#include "support/QtPrinters.h"

#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

OutgoingMessage someMessage()
{
    OutgoingMessage message;
    message.from = EmailAddress(u"Ann"_s, u"ann@x.example"_s);
    message.to = {EmailAddress(std::nullopt, u"bob@y"_s)};
    message.cc = {EmailAddress(u"Carol"_s, u"carol@y"_s)};
    message.bcc = {EmailAddress(u"Dora"_s, u"dora@y"_s)};
    message.subject = u"Hello"_s;
    message.body = u"Hi\n"_s;
    return message;
}

/// An SMTP connection on which "ann" has signed in.
Script smtpSession(std::string_view lines, const Place& where = Place::current())
{
    return Script("S: 220 smtp\nC: EHLO [127.0.0.1]\nS: 250 AUTH PLAIN\nC: AUTH PLAIN AGFubgBzZWNyZXQ=\n"
                  "S: 235 welcome",
                  Chunks::whole, where)
        .then(lines);
}

constexpr std::string_view handover = R"(
    C: MAIL FROM:<ann@x.example>
    S: 250
    C: RCPT TO:<bob@y>
    S: 250
    C: RCPT TO:<carol@y>
    S: 250
    C: RCPT TO:<dora@y>
    S: 250
    C: DATA
    S: 354
    [MESSAGE]
)";

constexpr std::string_view acceptance = R"(
    S: 250 taken
    C: QUIT
    S: 221
)";

QList<Script> accepting(const Place& where = Place::current())
{
    return {smtpSession(handover, where).then(acceptance)};
}

constexpr std::string_view sentCopy = R"(
    C: P4 LIST "" "*"
    S: * LIST () "/" INBOX
    S: * LIST (\Sent) "/" Gesendet
    S: P4 OK
    C: P5 APPEND "Gesendet" (\Seen) [LITERAL]
    S: P5 OK
)";

/// An account whose mail goes out over that host.
Account sendingOver(const QString& host)
{
    Account account = someAccount();
    account.server->smtpHost = host;
    return account;
}

// --- Sending

TEST(IMAPProviderSend, SendsAMessageAndFilesACopyAsRead)
{
    Providing providing(session(sentCopy), accepting());
    await(providing->send(someMessage(), std::nullopt));
    EXPECT_EQ(providing.smtp.openings(), QList<ScriptedServer::Opening>({{u"smtp.x.example"_s, 465, true}}));
    const QList<QByteArray>& copies = providing.server.connection(0).kept();
    ASSERT_EQ(copies.size(), 1);
    const ParsedMessage copy = MIMEParser::parse(copies[0]);
    EXPECT_EQ(copy.headers.from(), QList<EmailAddress>({someMessage().from}));
    EXPECT_EQ(copy.headers.to(), someMessage().to);
    EXPECT_EQ(copy.headers.cc(), someMessage().cc);
    EXPECT_EQ(copy.headers.subject(), u"Hello");
    EXPECT_EQ(copy.textBody, u"Hi\r\n"_s);
}

TEST(IMAPProviderSend, HandsOverTheMessageAsItIsComposed)
{
    Providing providing(session(sentCopy), accepting());
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);
    await(providing->send(someMessage(), std::nullopt));
    const QList<QByteArray>& messages = providing.smtp.connection(0).kept();
    ASSERT_EQ(messages.size(), 1);
    const ParsedMessage sent = MIMEParser::parse(messages[0]);
    EXPECT_EQ(sent.headers.subject(), u"Hello");
    EXPECT_EQ(sent.textBody, u"Hi\r\n"_s);
    ASSERT_TRUE(sent.headers.date());
    EXPECT_GE(*sent.headers.date(), before);
    EXPECT_LE(*sent.headers.date(), QDateTime::currentDateTimeUtc());
}

TEST(IMAPProviderSend, ReachesBlindCopiesWithoutNamingThemToAnyone)
{
    Providing providing(session(sentCopy), accepting());
    await(providing->send(someMessage(), std::nullopt));
    // The recipients are those of the script, Dora among them.
    const QByteArray& sent = providing.smtp.connection(0).kept().value(0);
    EXPECT_TRUE(sent.contains("Subject: Hello"));
    EXPECT_FALSE(sent.toLower().contains("bcc"));
    EXPECT_FALSE(sent.toLower().contains("dora"));
    // The user's own copy tells them.
    const ParsedMessage copy = MIMEParser::parse(providing.server.connection(0).kept().value(0));
    EXPECT_EQ(copy.headers.value(u"Bcc"), u"\"Dora\" <dora@y>"_s);
}

TEST(IMAPProviderSend, FilesNoCopyWhereTheServerDoesSoItself)
{
    for (const QString& host : {u"smtp.gmail.com"_s, u"SMTP.Gmail.COM"_s, u"smtp.googlemail.com"_s,
                                u"smtp.office365.com"_s, u"smtp-mail.outlook.com"_s}) {
        Providing providing({}, accepting(), sendingOver(host));
        await(providing->send(someMessage(), std::nullopt));
        EXPECT_TRUE(providing.server.openings().isEmpty()) << host.toStdString();
    }
}

TEST(IMAPProviderSend, FilesACopyForAnyOtherHost)
{
    for (const QString& host : {u"smtp.x.example"_s, u"smtp.notgmail.com"_s, u"smtp.gmail.com.evil.example"_s,
                                u"outlook.com.x.example"_s}) {
        Providing providing(session(sentCopy), accepting(), sendingOver(host));
        await(providing->send(someMessage(), std::nullopt));
        EXPECT_EQ(providing.server.connection(0).kept().size(), 1) << host.toStdString();
    }
}

TEST(IMAPProviderSend, FilesNoCopyWhereThereIsNoSentMailbox)
{
    Providing providing(session("C: P4 LIST \"\" \"*\"\nS: * LIST () \"/\" INBOX\nS: P4 OK"), accepting());
    await(providing->send(someMessage(), std::nullopt));
}

TEST(IMAPProviderSend, RemovesTheDraftOfAMessageThatHasGoneOut)
{
    Providing providing({session(sentCopy).first().then(R"(
        C: P6 SELECT "Drafts"
        S: P6 OK
        C: P7 UID STORE 9 +FLAGS.SILENT (\Deleted)
        S: P7 OK
        C: P8 UID EXPUNGE 9
        S: P8 OK
    )")},
                        accepting());
    await(providing->send(someMessage(), u"9.0:Drafts"_s));
}

TEST(IMAPProviderSend, LeavesTheDraftWhereSendingFails)
{
    for (const std::string_view refusal :
         {"C: MAIL FROM:<ann@x.example>\nS: 550 no", "[CLOSE]", "C: MAIL FROM:<ann@x.example>\n[TIMEOUT]"}) {
        Providing providing({}, {smtpSession(refusal)});
        Begun<void> sending(providing->send(someMessage(), u"9.0:Drafts"_s));
        EXPECT_THROW(sending.get(), MailError);
        EXPECT_TRUE(providing.server.openings().isEmpty()) << "nothing else happens";
    }
}

TEST(IMAPProviderSend, PassesTheFailureOfSendingOnAsItIs)
{
    Providing refused({}, {smtpSession("C: MAIL FROM:<ann@x.example>\nS: 550 no")});
    expectProtocolError(refused->send(someMessage(), std::nullopt), u"The mail server said: 550 no"_s);
    Providing unreachable({}, {Script("[REFUSED]")});
    try {
        await(unreachable->send(someMessage(), std::nullopt));
        ADD_FAILURE() << "nothing failed";
    } catch (const LocalizedError& error) {
        EXPECT_EQ(error.localizedText(), u"Connection refused");
    }
    OutgoingMessage misaddressed = someMessage();
    misaddressed.to = {EmailAddress(std::nullopt, u"bob"_s)};
    Providing stopped({}, {smtpSession("C: MAIL FROM:<ann@x.example>\nS: 250")});
    expectUnsupported(stopped->send(misaddressed, std::nullopt), u"“bob” isn’t a valid email address."_s);
}

TEST(IMAPProviderSend, NeverRepeatsASendingWhoseAnswerIsLost)
{
    Providing providing({}, {smtpSession(handover).then("[CLOSE]")});
    expectProtocolError(providing->send(someMessage(), std::nullopt), u"The server closed the connection."_s);
    EXPECT_EQ(providing.smtp.openings().size(), 1);
}

TEST(IMAPProviderSend, NeverTellsAFailureAfterTheServerHasTakenTheMessage)
{
    const QList<QList<Script>> copies{
        {Script("[REFUSED]"), Script("[REFUSED]")},
        {Script("[CLOSE]"), Script("[CLOSE]")},
        {Script("S: * BYE no"), Script("S: * BYE no")},
        {signedIn().then("C: P4 LIST \"\" \"*\"\nS: P4 NO no\n"
                         "C: P5 SELECT \"Drafts\"\nS: P5 NO gone")},
        {signedIn().then("C: P4 LIST \"\" \"*\"\nS: * LIST () \"/\" Sent\nS: P4 OK\n"
                         "C: P5 APPEND \"Sent\" (\\Seen) [LITERAL]\nS: P5 NO over quota\n"
                         "C: P6 SELECT \"Drafts\"\nS: P6 OK\n"
                         "C: P7 UID STORE 9 +FLAGS.SILENT (\\Deleted)\nS: P7 NO read-only")},
    };
    for (const QList<Script>& scripts : copies) {
        Providing providing(scripts, {smtpSession(handover).then("S: 250 taken\nC: QUIT\n[CLOSE]")});
        await(providing->send(someMessage(), u"9.0:Drafts"_s));
        EXPECT_EQ(providing.smtp.openings().size(), 1);
    }
}

TEST(IMAPProviderSend, SendsOnceAndFilesOneCopyWhereTheAnswerToTheCopyIsLost)
{
    OutgoingMessage message = someMessage();
    message.messageID = u"1@x.example"_s;
    const Script lost = signedIn().then("C: P4 LIST \"\" \"*\"\nS: * LIST () \"/\" Sent\nS: P4 OK\n"
                                        "C: P5 APPEND \"Sent\" (\\Seen) [LITERAL]\n[CLOSE]");
    const Script looking = signedIn().then("C: P4 SELECT \"Sent\"\nS: * OK [UIDVALIDITY 4]\nS: P4 OK\n"
                                           "C: P5 UID SEARCH HEADER Message-ID \"<1@x.example>\"");
    Providing there({lost, Script(looking).then("S: * SEARCH 7\nS: P5 OK")}, accepting());
    await(there->send(message, std::nullopt));
    Providing missing(
        {lost, Script(looking).then("S: P5 OK\nC: P6 APPEND \"Sent\" (\\Seen) [LITERAL]\nS: P6 OK")},
        accepting());
    await(missing->send(message, std::nullopt));
}

TEST(IMAPProviderSend, SearchesAnewAfterAMessageWasSent)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: P4 OK
        C: P5 UID SEARCH ALL
        S: * SEARCH
        S: P5 OK
        C: P6 UID SEARCH ALL
        S: * SEARCH
        S: P6 OK
    )"),
                        accepting(), sendingOver(u"smtp.gmail.com"_s));
    const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);
    providing.list();
    await(providing->send(someMessage(), std::nullopt));
    providing.list(inbox, 0, 50, false);
}

TEST(IMAPProviderSend, HoldsNoIMAPConnectionWhileItSends)
{
    ScriptedServer imap(session("C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: * STATUS INBOX (UNSEEN 3)\n"
                                "S: P4 OK"));
    ScriptedServer smtp(accepting());
    const auto gate = std::make_shared<Wakeup>();
    const TransportFactory both = Providing::bothServers(imap, smtp);
    const TransportFactory gated = [both, gate](const QString& host, int port, bool implicitTLS) {
        return [](TransportFactory open, std::shared_ptr<Wakeup> opened, QString name, int number,
                  bool secured) -> Task<std::shared_ptr<MailTransport>> {
            if (number == 465)
                co_await opened->wait(std::chrono::seconds(-1));
            const std::shared_ptr<MailTransport> transport = co_await open(name, number, secured);
            co_return transport;
        }(both, gate, host, port, implicitTLS);
    };
    const auto provider = IMAPProvider::create(sendingOver(u"smtp.gmail.com"_s),
                                               MailAuth::password(u"secret"_s), nullptr, gated);
    Begun<void> sending(provider->send(someMessage(), std::nullopt));
    Begun<qint64> counting(provider->inboxUnreadCount());
    EXPECT_EQ(counting.get(), 3);
    EXPECT_FALSE(sending.isDone());
    gate->notify();
    sending.get();
    imap.expectUsedUp();
    smtp.expectUsedUp();
}

TEST(IMAPProviderSend, ComposesOnAWorker)
{
    OutgoingMessage message = someMessage();
    message.attachments = {{QUuid(), u"a"_s, u"a/b"_s, QByteArray(1'000'000, 'x')}};
    Providing providing({}, accepting(), sendingOver(u"smtp.gmail.com"_s));
    Begun<void> sending(providing->send(message, std::nullopt));
    EXPECT_TRUE(providing.smtp.openings().isEmpty()) << "nothing was composed before the call came back";
    sending.get();
}

TEST(IMAPProviderSend, IsKeptAliveWhileItSends)
{
    ScriptedServer smtp(accepting());
    auto provider = IMAPProvider::create(sendingOver(u"smtp.gmail.com"_s), MailAuth::password(u"secret"_s),
                                         nullptr, smtp.factory());
    const std::weak_ptr<IMAPProvider> watched = provider;
    Begun<void> sending(provider->send(someMessage(), std::nullopt));
    provider.reset();
    sending.get();
    settle();
    EXPECT_TRUE(watched.expired());
    smtp.expectUsedUp();
}

// --- Drafts

constexpr std::string_view draftsListed = R"(
    C: P4 LIST "" "*"
    S: * LIST () "/" Drafts
    S: P4 OK
    C: P5 APPEND "Drafts" (\Draft \Seen) [LITERAL]
    S: P5 OK
)";

TEST(IMAPProviderDrafts, StoresADraftThatDoesNotCountAsUnread)
{
    Providing providing(session(draftsListed));
    await(providing->saveDraft(someMessage(), std::nullopt));
    const ParsedMessage draft = MIMEParser::parse(providing.server.connection(0).kept().value(0));
    EXPECT_EQ(draft.headers.subject(), u"Hello");
    EXPECT_EQ(draft.headers.value(u"Bcc"), u"\"Dora\" <dora@y>"_s) << "a draft keeps its blind copies";
    EXPECT_EQ(draft.textBody, u"Hi\r\n"_s);
}

TEST(IMAPProviderDrafts, CreatesAMissingMailboxForDrafts)
{
    Providing providing(session(R"(
        C: P4 LIST "" "*"
        S: * LIST () "/" INBOX
        S: P4 OK
        C: P5 CREATE "Drafts"
        S: P5 OK
        C: P6 APPEND "Drafts" (\Draft \Seen) [LITERAL]
        S: P6 OK
    )"));
    await(providing->saveDraft(someMessage(), std::nullopt));
}

TEST(IMAPProviderDrafts, RemovesTheOldDraftOnlyAfterTheNewOneIsStored)
{
    Providing providing({session(draftsListed).first().then(R"(
        C: P6 SELECT "Drafts"
        S: P6 OK
        C: P7 UID STORE 9 +FLAGS.SILENT (\Deleted)
        S: P7 OK
        C: P8 UID EXPUNGE 9
        S: P8 OK
    )")});
    await(providing->saveDraft(someMessage(), u"9.0:Drafts"_s));
    Providing refused(session(R"(
        C: P4 LIST "" "*"
        S: * LIST () "/" Drafts
        S: P4 OK
        C: P5 APPEND "Drafts" (\Draft \Seen) [LITERAL]
        S: P5 NO over quota
    )"));
    expectProtocolError(refused->saveDraft(someMessage(), u"9.0:Drafts"_s), u"over quota"_s);
}

TEST(IMAPProviderDrafts, StoresADraftThoughTheOldOneCannotBeRemoved)
{
    Providing providing({session(draftsListed).first().then("C: P6 SELECT \"Drafts\"\nS: P6 NO no")});
    await(providing->saveDraft(someMessage(), u"9.0:Drafts"_s));
    Providing nameless(session(draftsListed));
    await(nameless->saveDraft(someMessage(), u"nonsense"_s));
}

OutgoingMessage withID()
{
    OutgoingMessage message = someMessage();
    message.messageID = u"1@x.example"_s;
    return message;
}

QString messageIDIn(const QByteArray& bytes)
{
    return MIMEParser::parse(bytes).headers.messageID().value_or(QString());
}

TEST(IMAPProviderDrafts, StoresADraftAgainOnlyWhereItIsNotThere)
{
    const Script lost = signedIn().then("C: P4 LIST \"\" \"*\"\nS: * LIST () \"/\" Drafts\nS: P4 OK\n"
                                        "C: P5 STATUS \"Drafts\" (UIDNEXT UIDVALIDITY)\n"
                                        "S: * STATUS Drafts (UIDNEXT 30 UIDVALIDITY 4)\nS: P5 OK\n"
                                        "C: P6 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\n[CLOSE]");
    const Script looking = signedIn().then("C: P4 SELECT \"Drafts\"\nS: * OK [UIDVALIDITY 4]\nS: P4 OK\n"
                                           "C: P5 UID SEARCH UID 30:* HEADER Message-ID \"<1@x.example>\"");
    Providing there({lost, Script(looking).then("S: * SEARCH 31\nS: P5 OK")});
    await(there->saveDraft(withID(), std::nullopt));
    // What the last number stands for is an older state of the draft.
    Providing missing(
        {lost, Script(looking).then("S: * SEARCH 29\nS: P5 OK\n"
                                    "C: P6 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\nS: P6 OK")});
    await(missing->saveDraft(withID(), std::nullopt));
    EXPECT_EQ(missing.server.connection(1).kept(), missing.server.connection(0).kept());
    EXPECT_EQ(messageIDIn(missing.server.connection(1).kept().value(0)), u"<1@x.example>");
}

TEST(IMAPProviderDrafts, NeedsNoNumbersWhereTheMessageIDIsFresh)
{
    ScriptedServer server({signedIn().then("C: P4 LIST \"\" \"*\"\nS: * LIST () \"/\" Drafts\nS: P4 OK\n"
                                           "C: P5 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\n[CLOSE]"),
                           signedIn().then("C: P4 SELECT \"Drafts\"\nS: P4 NO no")});
    const auto provider =
        IMAPProvider::create(someAccount(), MailAuth::password(u"secret"_s), nullptr, server.factory());
    expectProtocolError(provider->saveDraft(someMessage(), std::nullopt), u"no"_s);
    server.expectUsedUp();
    const QString id = messageIDIn(server.connection(0).kept().value(0));
    EXPECT_TRUE(QRegularExpression(u"^<[0-9a-f-]{36}@x\\.example>$"_s).match(id).hasMatch())
        << id.toStdString();
}

TEST(IMAPProviderDrafts, RemovesNoOtherMessageInPlaceOfADraft)
{
    // The number of the draft belongs to another message under another UIDVALIDITY, or the id is of another
    // form.
    Providing providing(
        {session(draftsListed).first().then("C: P6 SELECT \"Drafts\"\nS: * OK [UIDVALIDITY 8]\nS: P6 OK")});
    await(providing->saveDraft(someMessage(), u"9.7:Drafts"_s));
    Providing old(session(draftsListed));
    await(old->saveDraft(someMessage(), u"9:Drafts"_s));
    Providing sending(
        {session(sentCopy).first().then("C: P6 SELECT \"Drafts\"\nS: * OK [UIDVALIDITY 8]\nS: P6 OK")},
        accepting());
    await(sending->send(someMessage(), u"9.7:Drafts"_s));
}

// --- What was sent

TEST(IMAPProviderSend, FilesTheCopyUnderTheMessageIDOfWhatWentOut)
{
    for (const OutgoingMessage& message : {someMessage(), withID()}) {
        Providing providing(session(sentCopy), accepting());
        await(providing->send(message, std::nullopt));
        const QString sent = messageIDIn(providing.smtp.connection(0).kept().value(0));
        EXPECT_EQ(messageIDIn(providing.server.connection(0).kept().value(0)), sent);
        EXPECT_EQ(sent == u"<1@x.example>", message.messageID.has_value());
        EXPECT_TRUE(sent.endsWith(u"@x.example>"_s));
    }
}

TEST(IMAPProviderSend, MakesAMessageIDForASenderWithoutAUsableDomain)
{
    for (const QString& address : {u"ann"_s, u"ann@"_s, u"ann@münchen"_s, u"ann@x> <y"_s, QString()}) {
        OutgoingMessage message = someMessage();
        message.from.address = address;
        Providing providing(session(draftsListed));
        await(providing->saveDraft(message, std::nullopt));
        const QString id = messageIDIn(providing.server.connection(0).kept().value(0));
        EXPECT_TRUE(id.endsWith(address == u"ann"_s ? u"@ann>"_s : u"@localhost>"_s)) << id.toStdString();
    }
}

TEST(IMAPProviderSend, FindsWhatWasSentByItsMessageIDInAMailboxThatIsSelectedAnew)
{
    Providing providing(session(R"(
        C: P4 LIST "" "*"
        S: * LIST (\Sent) "/" Out
        S: P4 OK
        C: P5 SELECT "Out"
        S: * OK [UIDVALIDITY 4]
        S: P5 OK
        C: P6 UID SEARCH HEADER Message-ID "<1@x.example>"
        S: * SEARCH 8
        S: P6 OK
        C: P7 SELECT "Out"
        S: * OK [UIDVALIDITY 4]
        S: P7 OK
        C: P8 UID SEARCH HEADER Message-ID "<2@x.example>"
        S: * SEARCH
        S: P8 OK
        C: P9 SELECT "Out"
        S: P9 OK
        C: P10 UID SEARCH HEADER Message-ID "<3@x.example>"
        S: P10 NO not now
    )"));
    EXPECT_TRUE(await(providing->wasSent(u"1@x.example"_s)));
    EXPECT_FALSE(await(providing->wasSent(u"2@x.example"_s)));
    expectProtocolError(providing->wasSent(u"3@x.example"_s), u"not now"_s);
    EXPECT_FALSE(await(providing->wasSent(QString())));
}

TEST(IMAPProviderSend, HasSentNothingWhereThereIsNoSentMailbox)
{
    Providing providing(session("C: P4 LIST \"\" \"*\"\nS: * LIST () \"/\" INBOX\nS: P4 OK"));
    EXPECT_FALSE(await(providing->wasSent(u"1@x.example"_s)));
    Providing unreachable({Script("[REFUSED]")});
    EXPECT_THROW(await(unreachable->wasSent(u"1@x.example"_s)), LocalizedError);
}

// --- The test of new settings

Task<> testing(ScriptedServer& imap, ScriptedServer& smtp)
{
    return IMAPProvider::testConnection(*someAccount().server, MailAuth::password(u"secret"_s),
                                        Providing::bothServers(imap, smtp));
}

TEST(IMAPConnectionTest, SignsInToBothServersOneAfterTheOther)
{
    ScriptedServer imap({signedIn()});
    ScriptedServer smtp({smtpSession("C: QUIT\nS: 221")});
    await(testing(imap, smtp));
    imap.expectUsedUp();
    smtp.expectUsedUp();
    EXPECT_TRUE(imap.connection(0).isClosed());
    EXPECT_TRUE(smtp.connection(0).isClosed());
    EXPECT_EQ(imap.openings(), QList<ScriptedServer::Opening>({{u"imap.x.example"_s, 993, true}}));
    EXPECT_EQ(smtp.openings(), QList<ScriptedServer::Opening>({{u"smtp.x.example"_s, 465, true}}));
}

TEST(IMAPConnectionTest, FailsAsTheIMAPServerDoesAndTriesNoSMTP)
{
    for (const auto& [script, kind] :
         {std::pair{"S: * BYE no", MailError::Kind::protocolError},
          std::pair{"S: * OK\nC: P1 CAPABILITY\nS: P1 OK\nC: P2 LOGIN \"ann\" \"secret\"\nS: P2 NO no",
                    MailError::Kind::notSignedIn}}) {
        ScriptedServer imap({Script(script)});
        ScriptedServer smtp({});
        try {
            await(testing(imap, smtp));
            ADD_FAILURE() << "nothing failed";
        } catch (const MailError& error) {
            EXPECT_EQ(error.kind(), kind);
        }
        EXPECT_TRUE(imap.connection(0).isClosed());
        EXPECT_TRUE(smtp.openings().isEmpty());
    }
}

TEST(IMAPConnectionTest, FailsAsTheSMTPServerDoesWithBothConnectionsClosed)
{
    ScriptedServer refusing(
        {Script("S: 220 smtp\nC: EHLO [127.0.0.1]\nS: 250 AUTH PLAIN\nC: AUTH PLAIN AGFubgBzZWNyZXQ=\n"
                "S: 535 no")});
    ScriptedServer imap({signedIn()});
    expectMailError(testing(imap, refusing), MailError::Kind::notSignedIn);
    EXPECT_TRUE(imap.connection(0).isClosed());
    EXPECT_TRUE(refusing.connection(0).isClosed());
    ScriptedServer unreachable({Script("[REFUSED]")});
    ScriptedServer again({signedIn()});
    try {
        await(testing(again, unreachable));
        ADD_FAILURE() << "nothing failed";
    } catch (const LocalizedError& error) {
        EXPECT_EQ(error.localizedText(), u"Connection refused");
    }
}

// --- Memory

/// Agrees to everything at once and keeps nothing: an IMAP and an SMTP server that cost no memory.
class AgreeableTransport final : public MailTransport {
public:
    /// Adds to `taken` what it is sent, in bytes.
    AgreeableTransport(bool isSMTP, std::shared_ptr<qint64> taken)
        : m_taken(std::move(taken))
        , m_replies(isSMTP ? "220 hello\r\n" : "* OK hello\r\n")
        , m_isSMTP(isSMTP)
    {}

    Task<> send(QByteArray data) override
    {
        *m_taken += data.size();
        m_replies += m_isSMTP ? smtpReply(data) : imapReply(data);
        co_return;
    }
    Task<QByteArray> receive() override
    {
        if (m_replies.isEmpty())
            throw MailError::connectionClosed();
        co_return std::exchange(m_replies, {});
    }
    Task<> startTLS() override { co_return; }
    void close() override {}

private:
    QByteArray smtpReply(const QByteArray& data)
    {
        if (std::exchange(m_expectsData, data == "DATA\r\n"))
            return "250 taken\r\n";
        if (data.startsWith("EHLO"))
            return "250 AUTH PLAIN\r\n";
        if (data.startsWith("AUTH"))
            return "235 welcome\r\n";
        if (data.startsWith("QUIT"))
            return "221 bye\r\n";
        return m_expectsData ? "354 go on\r\n" : "250 ok\r\n";
    }

    QByteArray imapReply(const QByteArray& data)
    {
        if (std::exchange(m_expectsData, false))
            return m_tag + " OK done\r\n";
        m_tag = data.first(data.indexOf(' '));
        m_expectsData = data.contains(" AUTHENTICATE ") || data.contains(" APPEND ");
        if (m_expectsData)
            return "+ go on\r\n";
        return "* CAPABILITY IMAP4rev1 AUTH=PLAIN\r\n* LIST () \"/\" Sent\r\n" + m_tag + " OK done\r\n";
    }

    std::shared_ptr<qint64> m_taken;
    QByteArray m_replies;
    bool m_isSMTP;
    bool m_expectsData = false;
    QByteArray m_tag;
};

/// The largest amount of memory that the process has had in use, in bytes.
qint64 peakOfMemory()
{
    QFile status(u"/proc/self/status"_s);
    EXPECT_TRUE(status.open(QIODevice::ReadOnly));
    static const QRegularExpression peak(u"VmHWM:\\s*(\\d+) kB"_s);
    const QRegularExpressionMatch match = peak.match(QString::fromLatin1(status.readAll()));
    EXPECT_TRUE(match.hasMatch());
    return match.captured(1).toLongLong() * 1024;
}

/// Lets the peak begin anew from what is in use now.
void forgetPeakOfMemory()
{
    QFile reset(u"/proc/self/clear_refs"_s);
    ASSERT_TRUE(reset.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    ASSERT_EQ(reset.write("5"), 1);
}

TEST(IMAPProviderSend, SendsTheLargestAttachmentInLessThanSixTimesItsMemory)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers keep memory that is free";
#endif
    const auto smtp = std::make_shared<qint64>();
    const auto imap = std::make_shared<qint64>();
    const TransportFactory factory = [smtp, imap](const QString&, int port, bool) {
        return [](bool isSMTP, std::shared_ptr<qint64> taken) -> Task<std::shared_ptr<MailTransport>> {
            co_return std::make_shared<AgreeableTransport>(isSMTP, taken);
        }(port == 465, port == 465 ? smtp : imap);
    };
    const auto provider =
        IMAPProvider::create(someAccount(), MailAuth::password(u"secret"_s), nullptr, factory);
    await(provider->send(someMessage(), std::nullopt)); // everything is loaded and started now

    forgetPeakOfMemory();
    const qint64 before = peakOfMemory();
    OutgoingMessage message = someMessage();
    constexpr qsizetype size = MessageComposer::maxAttachmentBytes;
    message.attachments = {{QUuid(), u"a"_s, u"a/b"_s, QByteArray(size, 'x')}};
    await(provider->send(message, std::nullopt));
    const qint64 growth = peakOfMemory() - before;
    EXPECT_GT(*smtp, size * 4 / 3);
    EXPECT_GT(*imap, size * 4 / 3);
    EXPECT_GT(growth, size) << "the attachment itself counts";
    EXPECT_LT(growth, 6 * size);
    RecordProperty("growthInPercentOfTheAttachment", static_cast<int>(growth * 100 / size));
}

} // namespace
} // namespace Larkhaven
