#include "format/MIMEParser.h"
#include "integration/Mailboxes.h"
#include "integration/SubmissionTest.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

constexpr auto thirdAddress = "ole@larkhaven.example";
const QStringList thirdAccount{u"--user"_s, QString::fromLatin1(thirdAddress)};

EmailAddress person(const QString& name, const char* address)
{
    return {name, QString::fromLatin1(address)};
}

OutgoingAttachment file(const QString& name, const QString& type, const QByteArray& data)
{
    return {QUuid::createUuid(), name, type, data};
}

OutgoingMessage letter()
{
    QByteArray everyByte;
    for (int byte = 0; byte < 256; ++byte)
        everyByte.append(static_cast<char>(byte));
    OutgoingMessage message;
    message.from = person(u"Mara Jansen"_s, MailServer::address);
    message.to = {person(u"Theo Brückner"_s, MailServer::secondAddress)};
    message.cc = {person(u"Mara"_s, MailServer::address)};
    message.bcc = {person(u"Ole"_s, thirdAddress)};
    message.subject = u"Grüße aus Köln und 京都 📚"_s;
    message.body = u"Lieber Theo,\n\n.\n..dots and a From line:\nFrom here on.\nЖизнь 🙂"_s;
    message.htmlBody = u"<p>Lieber <b>Theo</b> – 京都</p>"_s;
    message.attachments = {file(u"every byte.bin"_s, u"application/octet-stream"_s, everyByte.repeated(300)),
                           file(u"Übersicht 予定.pdf"_s, u"application/pdf"_s, "%PDF-1.7\r\n.\r\nend")};
    return message;
}

QString withLineFeeds(const std::optional<QString>& text)
{
    return text.value_or(u"absent"_s).replace("\r\n"_L1, "\n"_L1).trimmed();
}

void expectEqual(const ParsedMessage& arrived, const OutgoingMessage& written)
{
    EXPECT_EQ(arrived.headers.subject(), written.subject);
    EXPECT_EQ(arrived.headers.from(), QList<EmailAddress>{written.from});
    EXPECT_EQ(arrived.headers.to(), written.to);
    EXPECT_EQ(arrived.headers.cc(), written.cc);
    EXPECT_EQ(withLineFeeds(arrived.textBody), written.body);
    EXPECT_EQ(withLineFeeds(arrived.htmlBody), written.htmlBody);
    ASSERT_EQ(arrived.attachments.size(), written.attachments.size());
    for (qsizetype index = 0; index < written.attachments.size(); ++index) {
        EXPECT_EQ(arrived.attachments[index].filename, written.attachments[index].filename);
        EXPECT_EQ(arrived.attachments[index].mimeType, written.attachments[index].mimeType);
        EXPECT_EQ(arrived.attachments[index].data, written.attachments[index].data);
    }
}

class Sending : public SubmissionTest, public testing::WithParamInterface<ConnectionSecurity> {
protected:
    void sendsTheLetter()
    {
        const std::shared_ptr<IMAPProvider> provider = server().providerOf(server().account(GetParam()));
        const OutgoingMessage message = letter();
        await(provider->send(message));

        for (const char* receiver : {MailServer::secondAddress, MailServer::address, thirdAddress}) {
            const QByteArray raw = Mailboxes::onlyMessage(*server().providerOf(receiver), Mailbox::inbox);
            expectEqual(MIMEParser::parse(raw), message);
            EXPECT_FALSE(raw.contains("\nBcc:"));
            EXPECT_FALSE(raw.contains("ole@"));
        }
        const MessagePage sent = Mailboxes::list(*provider, Mailbox::sent);
        ASSERT_EQ(sent.messages.size(), 1);
        EXPECT_TRUE(sent.messages.first().isRead);
        const QByteArray copy = await(provider->fetchRaw(sent.messages.first().id));
        expectEqual(MIMEParser::parse(copy), message);
        EXPECT_TRUE(copy.contains("\nBcc: \"Ole\" <ole@larkhaven.example>\r\n"));
    }
};

TEST_P(Sending, WithAUTHPLAINArrivesAsWrittenAndLeavesACopyThatKnowsTheBlindCopies)
{
    start(thirdAccount);
    if (IsSkipped())
        return;
    sendsTheLetter();
    EXPECT_TRUE(server().submissionLog().contains("sasl_method=PLAIN"));
}

TEST_P(Sending, WithAUTHLOGINWhereTheServerOffersNothingElseArrivesAsWritten)
{
    start(thirdAccount + QStringList{u"--smtp-set"_s, u"smtpd_sasl_mechanism_filter=login"_s});
    if (IsSkipped())
        return;
    sendsTheLetter();
    EXPECT_TRUE(server().submissionLog().contains("sasl_method=LOGIN"));
}

INSTANTIATE_TEST_SUITE_P(OverTLSAndSTARTTLS, Sending,
                         testing::Values(ConnectionSecurity::tls, ConnectionSecurity::startTLS),
                         [](const auto& security) { return storedText(security.param).toStdString(); });

class Drafts : public SubmissionTest {
protected:
    void SetUp() override { start(thirdAccount); }

    QByteArray draftFlags()
    {
        return server().doveadm({u"fetch"_s, u"-u"_s, QString::fromLatin1(MailServer::address), u"flags"_s,
                                 u"mailbox"_s, u"Drafts"_s, u"all"_s});
    }
};

TEST_F(Drafts, AreStoredAsReadDraftsAndGoWhenTheirMessageIsSent)
{
    const std::shared_ptr<IMAPProvider> provider = server().providerOf(MailServer::address);
    OutgoingMessage message = letter();
    message.subject = u"first thoughts"_s;
    await(provider->saveDraft(message));
    EXPECT_EQ(draftFlags().trimmed(), "flags: \\Seen \\Draft \\Recent");

    // Resumed: the window writes another draft in its place.
    const QString first = Mailboxes::list(*provider, Mailbox::drafts).messages.first().id;
    message.subject = u"second thoughts"_s;
    await(provider->saveDraft(message, first));
    const MessagePage drafts = Mailboxes::list(*provider, Mailbox::drafts);
    ASSERT_EQ(drafts.messages.size(), 1);
    EXPECT_EQ(drafts.messages.first().subject, u"second thoughts");
    const QByteArray stored = await(provider->fetchRaw(drafts.messages.first().id));
    expectEqual(MIMEParser::parse(stored), message);
    EXPECT_TRUE(stored.contains("\nBcc: "));

    await(provider->send(message, drafts.messages.first().id));
    EXPECT_TRUE(Mailboxes::list(*provider, Mailbox::drafts).messages.isEmpty());
    expectEqual(MIMEParser::parse(
                    Mailboxes::onlyMessage(*server().providerOf(MailServer::secondAddress), Mailbox::inbox)),
                message);
}

TEST_F(Drafts, StayWhereTheServerRefusesTheMessage)
{
    const std::shared_ptr<IMAPProvider> provider = server().providerOf(MailServer::address);
    OutgoingMessage message = letter();
    await(provider->saveDraft(message));
    const QString draft = Mailboxes::list(*provider, Mailbox::drafts).messages.first().id;
    message.to.append(EmailAddress(std::nullopt, u"nobody@larkhaven.example"_s));
    expectProtocolError(provider->send(message, draft),
                        u"The mail server said: 550 5.1.1 <nobody@larkhaven.example>: Recipient address "
                        "rejected: User unknown in virtual mailbox table"_s);
    EXPECT_EQ(Mailboxes::list(*provider, Mailbox::drafts).messages.size(), 1);
    EXPECT_TRUE(Mailboxes::list(*provider, Mailbox::sent).messages.isEmpty());
    EXPECT_TRUE(
        Mailboxes::list(*server().providerOf(MailServer::secondAddress), Mailbox::inbox).messages.isEmpty());
}

} // namespace
} // namespace Larkhaven
