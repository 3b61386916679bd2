#include "domain/MailError.h"
#include "integration/MailServer.h"
#include "protocols/StreamTransport.h"
#include "providers/FetchParsed.h"
#include "safety/HTMLSanitizer.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);

MessagePage page(IMAPProvider& provider, const MailboxRef& ref,
                 const std::optional<QString>& query = std::nullopt)
{
    return await(provider.listMessages(ref, query, 0, 500, true));
}

QByteArray letter(const QByteArray& subject)
{
    return "From: Ann <ann@example.org>\r\nTo: mara@larkhaven.example\r\nSubject: " + subject +
           "\r\nDate: Tue, 3 Mar 2026 10:11:12 +0000\r\nMessage-ID: <" + subject.toHex() +
           "@example.org>\r\nContent-Type: text/plain; charset=utf-8\r\n\r\nHello " + subject + ".\r\n";
}

TEST(Dovecot, ListsTheSampleMailboxOverTLS)
{
    const MailServer server({u"--messages"_s, u"demo"_s});
    const std::shared_ptr<IMAPProvider> provider = server.provider(ConnectionSecurity::tls);
    const MessagePage first = page(*provider, inbox);
    EXPECT_GT(first.messages.size(), 200);
    EXPECT_EQ(first.total, first.messages.size());
    EXPECT_FALSE(first.hasMore);
}

TEST(Dovecot, ListsTheSameOverSTARTTLS)
{
    const MailServer server({u"--messages"_s, u"demo"_s});
    const MessagePage overTLS = page(*server.provider(ConnectionSecurity::tls), inbox);
    const MessagePage overSTARTTLS = page(*server.provider(ConnectionSecurity::startTLS), inbox);
    EXPECT_GT(overTLS.messages.size(), 200);
    EXPECT_EQ(overTLS, overSTARTTLS);
}

TEST(Dovecot, RefusesAWrongPasswordAsALostSignIn)
{
    const MailServer server;
    const std::shared_ptr<IMAPProvider> provider =
        IMAPProvider::create(server.account(), MailAuth::password(u"wrong"_s), nullptr, MailTransports::open);
    try {
        page(*provider, inbox);
        FAIL() << "the server let us in";
    } catch (const MailError& error) {
        EXPECT_EQ(error.kind(), MailError::Kind::notSignedIn);
    }
}

TEST(Dovecot, MapsRolesToFoldersAndListsTheOthersByTheirDecodedPaths)
{
    const MailServer server({u"--messages"_s, u"demo"_s});
    const std::shared_ptr<IMAPProvider> provider = server.provider();
    QStringList paths;
    for (const MailLabel& label : await(provider->listLabels()))
        paths.append(label.path);
    EXPECT_TRUE(paths.contains(u"Projekte/Entwürfe & Ideen"_s)) << paths.join(u' ').toStdString();
    EXPECT_TRUE(paths.contains(u"旅行/京都"_s));
    EXPECT_FALSE(paths.contains(u"Sent"_s));
    for (const Mailbox role : allMailboxes)
        EXPECT_GT(page(*provider, MailboxRef::system(role)).messages.size(), 0)
            << storedText(role).toStdString();
    const auto counts = await(provider->counts({}));
    EXPECT_GT(counts.value(inbox.id()), 0);
    EXPECT_EQ(counts.value(inbox.id()), await(provider->inboxUnreadCount()));
}

TEST(Dovecot, ReadsEveryMessageOfTheSampleMailbox)
{
    const MailServer server({u"--messages"_s, u"demo"_s});
    const std::shared_ptr<IMAPProvider> provider = server.provider();
    int read = 0;
    for (const Mailbox role : allMailboxes) {
        for (const MessageSummary& row : page(*provider, MailboxRef::system(role)).messages) {
            const ParsedMessage message = await(fetchParsed(provider, row.id));
            const SanitizedHTML shown = message.htmlBody
                                            ? HTMLSanitizer::sanitize(*message.htmlBody, {false, {}, true})
                                            : HTMLSanitizer::plainText(message.textBody.value_or(QString()));
            EXPECT_TRUE(shown.document.startsWith("<!DOCTYPE html>"_L1));
            EXPECT_EQ(message.headers.subject(), row.subject);
            ++read;
        }
    }
    EXPECT_GT(read, 300);
}

TEST(Dovecot, FindsByTextBySenderAndInOtherScripts)
{
    MailServer server;
    server.deliver(letter("Invoice for the sails"));
    server.deliver(letter("Grüße aus Köln"));
    server.deliver(letter("京都からの手紙"));
    const std::shared_ptr<IMAPProvider> provider = server.provider();
    const auto found = [&provider](const QString& query) {
        QStringList subjects;
        for (const MessageSummary& row : page(*provider, inbox, query).messages)
            subjects.append(row.subject);
        return subjects.join(u'|');
    };
    EXPECT_EQ(found(u"invoice"_s), u"Invoice for the sails");
    EXPECT_EQ(found(u"grüße"_s), u"Grüße aus Köln");
    EXPECT_EQ(found(u"京都"_s), u"京都からの手紙");
    EXPECT_EQ(found(u"from:   ann@example.org"_s), u"京都からの手紙|Grüße aus Köln|Invoice for the sails");
    EXPECT_EQ(found(u"from:nobody"_s), u"");
}

TEST(Dovecot, ShowsAMessageThatWasReadElsewhereAsReadAtTheNextListing)
{
    MailServer server;
    server.deliver(letter("news"));
    const std::shared_ptr<IMAPProvider> provider = server.provider();
    EXPECT_FALSE(page(*provider, inbox).messages.first().isRead);
    server.doveadm({u"flags"_s, u"add"_s, u"-u"_s, QString::fromLatin1(MailServer::address),
                    u"\\Seen \\Flagged"_s, u"mailbox"_s, u"INBOX"_s, u"all"_s});
    const MessageSummary row = page(*provider, inbox).messages.first();
    EXPECT_TRUE(row.isRead);
    EXPECT_TRUE(row.isStarred);
}

TEST(Dovecot, SetsFlagsThatOthersSee)
{
    MailServer server;
    server.deliver(letter("news"));
    const std::shared_ptr<IMAPProvider> provider = server.provider();
    const QString id = page(*provider, inbox).messages.first().id;
    await(provider->setRead(true, {id}));
    await(provider->setStarred(true, {id}));
    const std::shared_ptr<IMAPProvider> other = server.provider();
    EXPECT_TRUE(page(*other, inbox).messages.first().isRead);
    EXPECT_TRUE(page(*other, MailboxRef::system(Mailbox::starred)).messages.first().isStarred);
    await(provider->setRead(false, {id}));
    EXPECT_FALSE(page(*other, inbox).messages.first().isRead);
}

TEST(Dovecot, NeverTakesAnotherMessageForOneOfAnEarlierUIDVALIDITY)
{
    MailServer server;
    server.deliver(letter("old"));
    const std::shared_ptr<IMAPProvider> provider = server.provider();
    const QString id = page(*provider, inbox).messages.first().id;

    const QString user = QString::fromLatin1(MailServer::address);
    server.doveadm({u"mailbox"_s, u"update"_s, u"-u"_s, user, u"--uid-validity"_s, u"4711"_s, u"INBOX"_s});
    // The connection of before still sees the mailbox as it was.
    server.restart();
    const auto isGone = [](auto operation) {
        try {
            await(operation());
        } catch (const MailError& error) {
            return error.localizedText() == u"This message is no longer on the server.";
        }
        return false;
    };
    EXPECT_TRUE(isGone([&] { return provider->fetchRaw(id); }));
    EXPECT_TRUE(isGone([&] { return provider->setRead(true, {id}); }));
    EXPECT_TRUE(isGone([&] { return provider->trash({id}); }));

    const MessagePage anew = page(*provider, inbox);
    ASSERT_EQ(anew.messages.size(), 1);
    EXPECT_EQ(anew.messages.first().subject, u"old");
    EXPECT_FALSE(anew.messages.first().isRead);
    EXPECT_TRUE(await(provider->fetchRaw(anew.messages.first().id)).contains("Hello old."));
}

} // namespace
} // namespace Larkhaven
