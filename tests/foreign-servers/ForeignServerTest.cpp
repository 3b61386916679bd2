#include "integration/CutConnections.h"
#include "integration/Mailboxes.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// Plain text on the loopback interface, whatever the settings say.
Task<std::shared_ptr<MailTransport>> openPlain(QString host, int port, bool)
{
    std::shared_ptr<MailTransport> transport = StreamTransport::open(host, port, false);
    co_return transport;
}

/// The server that "run" has started, with an empty account.
std::shared_ptr<IMAPProvider> provider(const TransportFactory& factory = openPlain)
{
    Account account;
    account.id = QUuid(u"{01234567-89ab-cdef-0123-456789abcdef}"_s);
    account.provider = ProviderKind::imap;
    account.email = u"mara@larkhaven.example"_s;
    ServerSettings settings;
    settings.username = u"mara"_s;
    settings.imapHost = u"127.0.0.1"_s;
    settings.imapPort = qEnvironmentVariableIntValue("FOREIGN_IMAP_PORT");
    account.server = settings;
    return IMAPProvider::create(account, MailAuth::password(u"any"_s), nullptr, factory);
}

OutgoingMessage note(const QString& subject)
{
    OutgoingMessage message;
    message.from = EmailAddress(std::nullopt, u"mara@larkhaven.example"_s);
    message.subject = subject;
    return message;
}

QStringList pathsOf(IMAPProvider& some)
{
    QStringList paths;
    const QList<MailLabel> labels = await(some.listLabels());
    for (const MailLabel& label : labels)
        paths.append(label.path);
    return paths;
}

qsizetype countOf(IMAPProvider& some, Mailbox role)
{
    return Mailboxes::list(some, role).messages.size();
}

TEST(ForeignServer, LetsDraftsBeSavedAndMessagesBeArchivedOnAnAccountWithAnInboxAlone)
{
    const auto some = provider();
    await(some->saveDraft(note(u"draft"_s), std::nullopt));
    const MessagePage drafts = Mailboxes::list(*some, Mailbox::drafts);
    ASSERT_EQ(drafts.messages.size(), 1);
    await(some->archive({drafts.messages.first().id}));
    EXPECT_EQ(countOf(*some, Mailbox::drafts), 0);
    const MessagePage archived = Mailboxes::list(*some, Mailbox::archive);
    ASSERT_EQ(archived.messages.size(), 1);
    EXPECT_EQ(archived.messages.first().subject, u"draft");
    EXPECT_EQ(pathsOf(*some), QStringList()) << "both have roles";
}

TEST(ForeignServer, LetsFoldersBeMadeRenamedAndDeletedWhileTheyAreOpen)
{
    const auto some = provider();
    const MailLabel made = await(some->createLabel(u"Work/Plans"_s));
    EXPECT_EQ(made.path, u"Work/Plans");
    await(some->saveDraft(note(u"plan"_s), std::nullopt));
    await(some->moveToLabel({Mailboxes::list(*some, Mailbox::drafts).messages.first().id}, made));
    EXPECT_EQ(Mailboxes::list(*some, MailboxRef::label(made)).messages.size(), 1);
    const MailLabel renamed = await(some->renameLabel(made, u"Work/Ideas"_s));
    EXPECT_EQ(Mailboxes::list(*some, MailboxRef::label(renamed)).messages.size(), 1);
    EXPECT_TRUE(pathsOf(*some).contains(u"Work/Ideas"_s));
    EXPECT_FALSE(pathsOf(*some).contains(u"Work/Plans"_s));
    Mailboxes::list(*some, MailboxRef::label(renamed));
    await(some->deleteLabel(renamed));
    EXPECT_FALSE(pathsOf(*some).contains(u"Work/Ideas"_s));
}

TEST(ForeignServer, LosesAndDoublesNothingThatIsMoved)
{
    const MailLabel folder = await(provider()->createLabel(u"Kept"_s));
    CutConnections::moveMessages([](const TransportFactory& factory) { return provider(factory); }, openPlain,
                                 folder, {});
}

TEST(ForeignServer, LosesAndDoublesNothingThatIsMovedByCopies)
{
    const MailLabel folder = await(provider()->createLabel(u"KeptByCopies"_s));
    CutConnections::moveMessages([](const TransportFactory& factory) { return provider(factory); }, openPlain,
                                 folder, "MOVE");
}

TEST(ForeignServer, LosesAndDoublesNoDraft)
{
    await(provider()->createLabel(u"Trash"_s));
    CutConnections::saveDrafts([](const TransportFactory& factory) { return provider(factory); }, openPlain);
}

} // namespace
} // namespace Larkhaven
