#include "integration/CutConnections.h"
#include "integration/Mailboxes.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/ScriptedTransport.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// Plain text on the loopback interface, whatever the settings say.
Task<std::shared_ptr<MailTransport>> openPlain(QString host, int port, bool)
{
    std::shared_ptr<MailTransport> transport = StreamTransport::open(host, port, false);
    co_return transport;
}

/// The server that was started for the tests. Mara's account has an INBOX alone at first.
std::shared_ptr<IMAPProvider> provider(const TransportFactory& factory = openPlain,
                                       const QString& username = u"mara"_s)
{
    Account account;
    account.id = QUuid(u"{01234567-89ab-cdef-0123-456789abcdef}"_s);
    account.provider = ProviderKind::imap;
    account.email = u"mara@larkhaven.example"_s;
    ServerSettings settings;
    settings.username = username;
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

qsizetype countOf(IMAPProvider& some, const MailLabel& folder)
{
    return Mailboxes::list(some, MailboxRef::label(folder)).messages.size();
}

MailLabel labelAt(IMAPProvider& some, const QString& path)
{
    const QList<MailLabel> labels = await(some.listLabels());
    const auto found = std::ranges::find(labels, path, &MailLabel::path);
    if (found == labels.end())
        throw std::runtime_error("there is no " + path.toStdString());
    return *found;
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

TEST(ForeignServer, LetsFoldersBeRenamedAndDeletedWhileOneBelowThemIsOpen)
{
    const auto some = provider();
    await(some->createLabel(u"Travel"_s));
    const MailLabel below = await(some->createLabel(u"Travel/Bergen"_s));
    await(some->saveDraft(note(u"fjord"_s), std::nullopt));
    await(some->moveToLabel({Mailboxes::list(*some, Mailbox::drafts).messages.first().id}, below));
    EXPECT_EQ(countOf(*some, below), 1);
    const MailLabel above = labelAt(*some, u"Travel"_s);
    countOf(*some, below);
    const MailLabel renamed = await(some->renameLabel(above, u"Journeys"_s));
    EXPECT_EQ(renamed.path, u"Journeys");
    const MailLabel followed = labelAt(*some, u"Journeys/Bergen"_s);
    EXPECT_EQ(countOf(*some, followed), 1);
    EXPECT_FALSE(pathsOf(*some).contains(u"Travel/Bergen"_s));
    countOf(*some, followed);
    await(some->deleteLabel(followed));
    await(some->deleteLabel(renamed));
    EXPECT_TRUE(pathsOf(*some).filter(u"Journeys"_s).isEmpty());
}

TEST(ForeignServer, KeepsEveryLetterOfAFoldersName)
{
    const auto some = provider();
    const QString path = u"Pläne & 旅/R&D"_s;
    const MailLabel made = await(some->createLabel(path));
    EXPECT_EQ(made.path, path);
    EXPECT_EQ(labelAt(*some, path), made);
    EXPECT_EQ(countOf(*some, made), 0);
    await(some->deleteLabel(made));
    EXPECT_FALSE(pathsOf(*some).contains(path));
}

TEST(ForeignServer, KeepsADotInAFoldersNameOrRefusesIt)
{
    const auto some = provider();
    const QStringList before = pathsOf(*some);
    try {
        const MailLabel made = await(some->createLabel(u"v1.2"_s));
        EXPECT_EQ(made.path, u"v1.2");
        EXPECT_EQ(pathsOf(*some).filter(u"v1"_s), QStringList(u"v1.2"_s));
        await(some->deleteLabel(made));
    } catch (const MailError& error) {
        EXPECT_EQ(error.localizedText(), u"A folder name can’t contain “.”."_s);
    }
    EXPECT_EQ(pathsOf(*some), before);
}

TEST(ForeignServer, MakesRenamesAndDeletesFoldersOnceHoweverConnectionsEnd)
{
    CutConnections::changeFolders([](const TransportFactory& factory) { return provider(factory); },
                                  openPlain);
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

// --- Folders of another user, who lets Nora do everything in them

std::shared_ptr<IMAPProvider> noras(const TransportFactory& factory = openPlain)
{
    return provider(factory, u"nora"_s);
}

QList<MailLabel> sharedFolders(IMAPProvider& some)
{
    QList<MailLabel> shared = await(some.listLabels());
    shared.removeIf([](const MailLabel& label) { return !label.path.contains(u"/bob/"_s); });
    return shared;
}

TEST(SharedFolders, AreFoldersLikeOthersAndHaveNoRole)
{
    const auto some = noras();
    QStringList names;
    for (const MailLabel& label : sharedFolders(*some))
        names.append(label.path.section(u'/', -1));
    names.sort();
    EXPECT_EQ(names, QStringList({u"Archive"_s, u"Drafts"_s, u"Junk"_s, u"Sent"_s, u"Trash"_s}));
}

/// Whether an operation fails for want of a mailbox of one's own.
bool isRefused(Task<> operation)
{
    try {
        await(std::move(operation));
    } catch (const MailError& error) {
        return error.kind() == MailError::Kind::unsupported;
    }
    return false;
}

Task<> look(std::shared_ptr<IMAPProvider> some, Mailbox role)
{
    co_await some->listMessages(MailboxRef::system(role), std::nullopt, 0, 1, true);
}

void expectSharedFoldersAreEmpty(IMAPProvider& some)
{
    const QList<MailLabel> shared = sharedFolders(some);
    EXPECT_EQ(shared.size(), 5);
    for (const MailLabel& label : shared)
        EXPECT_EQ(countOf(some, label), 0) << label.path.toStdString();
}

TEST(SharedFolders, GetNothingThatIsFiledByARole)
{
    const auto some = noras();
    for (const QString& subject : {u"archived"_s, u"junk"_s, u"thrown away"_s, u"kept"_s})
        await(some->saveDraft(note(subject), std::nullopt));
    const auto draftCalled = [&some](const QString& subject) {
        const MessagePage drafts = Mailboxes::list(*some, Mailbox::drafts);
        const auto found = std::ranges::find(drafts.messages, subject, &MessageSummary::subject);
        return QList<QString>(1, found->id);
    };
    await(some->archive(draftCalled(u"archived"_s)));
    EXPECT_TRUE(isRefused(some->markSpam(draftCalled(u"junk"_s))));
    EXPECT_TRUE(isRefused(some->trash(draftCalled(u"thrown away"_s))));
    await(some->createLabel(u"Junk"_s));
    await(some->createLabel(u"Trash"_s));
    await(some->markSpam(draftCalled(u"junk"_s)));
    await(some->trash(draftCalled(u"thrown away"_s)));
    for (const Mailbox role : {Mailbox::archive, Mailbox::spam, Mailbox::trash, Mailbox::drafts})
        EXPECT_EQ(countOf(*some, role), 1) << int(role);
    expectSharedFoldersAreEmpty(*some);
}

TEST(SharedFolders, GetNoCopyOfWhatIsSent)
{
    const Script session("S: 220 smtp\nC: EHLO [127.0.0.1]\nS: 250 AUTH PLAIN\n"
                         "C: AUTH PLAIN AG5vcmEAYW55\nS: 235 welcome\n"
                         "C: MAIL FROM:<mara@larkhaven.example>\nS: 250\n"
                         "C: RCPT TO:<hidden@y.example>\nS: 250\nC: DATA\nS: 354\n[MESSAGE]\n"
                         "S: 250 taken\nC: QUIT\nS: 221\n");
    ScriptedServer submission({session, session});
    const int port = qEnvironmentVariableIntValue("FOREIGN_IMAP_PORT");
    const TransportFactory factory = [port, smtp = submission.factory()](const QString& host, int asked,
                                                                         bool implicitTLS) {
        return asked == port ? openPlain(host, asked, implicitTLS) : smtp(host, asked, implicitTLS);
    };
    const auto some = noras(factory);
    OutgoingMessage message = note(u"for one alone"_s);
    message.bcc = {EmailAddress(std::nullopt, u"hidden@y.example"_s)};
    await(some->send(message, std::nullopt));
    EXPECT_TRUE(isRefused(look(some, Mailbox::sent)));
    expectSharedFoldersAreEmpty(*some);

    await(some->createLabel(u"Sent"_s));
    await(some->send(message, std::nullopt));
    submission.expectUsedUp();
    EXPECT_EQ(countOf(*some, Mailbox::sent), 1);
    expectSharedFoldersAreEmpty(*some);
}

} // namespace
} // namespace Larkhaven
