#include "domain/MailError.h"
#include "integration/MailServer.h"
#include "integration/Mailboxes.h"
#include "integration/RecordingTransport.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <functional>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);

QList<QString> ids(const MessagePage& page)
{
    QList<QString> all;
    for (const MessageSummary& row : page.messages)
        all.append(row.id);
    return all;
}

QStringList bulk(int count)
{
    return {u"--messages"_s, u"bulk=%1"_s.arg(count)};
}

QStringList paths(IMAPProvider& provider)
{
    QStringList found;
    for (const MailLabel& label : await(provider.listLabels()))
        found.append(label.path);
    return found;
}

struct Watched {
    explicit Watched(const MailServer& server)
        : record(std::make_shared<RecordingTransport::Record>())
        , provider(server.providerOf(server.account(), RecordingTransport::factory(record)))
    {}

    std::shared_ptr<RecordingTransport::Record> record;
    std::shared_ptr<IMAPProvider> provider;
};

TEST(Actions, ArchiveAThousandMessagesByOneCommandIntoAMailboxThatIsMadeForThem)
{
    const MailServer server(bulk(1'000) + QStringList{u"--without"_s, u"Archive"_s});
    const Watched watched(server);
    const MessagePage before = Mailboxes::list(*watched.provider, Mailbox::inbox);
    ASSERT_EQ(before.messages.size(), 1'000);
    watched.record->sent.clear();
    await(watched.provider->archive(ids(before)));
    EXPECT_EQ(watched.record->commands("UID MOVE "), 1);
    EXPECT_EQ(watched.record->commands("CREATE "), 1);
    EXPECT_EQ(watched.record->commands("UID COPY "), 0);
    EXPECT_TRUE(Mailboxes::list(*watched.provider, Mailbox::inbox).messages.isEmpty());
    EXPECT_EQ(Mailboxes::list(*watched.provider, Mailbox::archive).messages.size(), 1'000);
}

TEST(Actions, ArchiveIntoTheMailboxThatIsThereAndNothingThatLiesThereAlready)
{
    const MailServer server(bulk(3) + QStringList{u"--without"_s, u"Archive"_s});
    const Watched watched(server);
    const QList<QString> all = ids(Mailboxes::list(*watched.provider, Mailbox::inbox));
    await(watched.provider->archive({all[0]}));
    await(watched.provider->archive({all[1], all[2]}));
    EXPECT_EQ(watched.record->commands("CREATE "), 1);
    const MessagePage archived = Mailboxes::list(*watched.provider, Mailbox::archive);
    EXPECT_EQ(archived.messages.size(), 3);
    await(watched.provider->archive(ids(archived)));
    EXPECT_EQ(watched.record->commands("UID MOVE "), 2);
    EXPECT_EQ(Mailboxes::list(*watched.provider, Mailbox::archive), archived);
}

TEST(Actions, MoveToTrashJunkInboxAndFolders)
{
    const MailServer server(bulk(8));
    const std::shared_ptr<IMAPProvider> provider = server.provider();
    const MailLabel folder = await(provider->createLabel(u"Reisen/日本 & Köln"_s));
    const MessagePage before = Mailboxes::list(*provider, Mailbox::inbox);
    const QList<QString> all = ids(before);
    ASSERT_EQ(all.size(), 8);
    await(provider->trash({all[0], all[1]}));
    await(provider->markSpam({all[2]}));
    await(provider->moveToLabel({all[3], all[4], all[5]}, folder));

    EXPECT_EQ(Mailboxes::list(*provider, Mailbox::trash).messages.size(), 2);
    EXPECT_EQ(Mailboxes::list(*provider, Mailbox::spam).messages.size(), 1);
    const MessagePage moved = Mailboxes::list(*provider, MailboxRef::label(folder));
    ASSERT_EQ(moved.messages.size(), 3);
    EXPECT_EQ(moved.messages.first().subject, before.messages[3].subject);
    EXPECT_EQ(Mailboxes::list(*provider, Mailbox::inbox).messages.size(), 2);

    // A selection may span mailboxes.
    await(provider->moveToInbox(ids(moved) + ids(Mailboxes::list(*provider, Mailbox::trash)) +
                                ids(Mailboxes::list(*provider, Mailbox::spam))));
    EXPECT_EQ(Mailboxes::list(*provider, Mailbox::inbox).messages.size(), 8);
    EXPECT_TRUE(Mailboxes::list(*provider, Mailbox::trash).messages.isEmpty());
}

TEST(Actions, OnTheTrashAndTheJunkOfAnAccountThatHasNoneAreRefused)
{
    const MailServer server(bulk(1) + QStringList{u"--without"_s, u"Trash"_s, u"--without"_s, u"Junk"_s});
    const std::shared_ptr<IMAPProvider> provider = server.provider();
    const QList<QString> all = ids(Mailboxes::list(*provider, Mailbox::inbox));
    expectUnsupported(provider->trash(all), u"This account has no Trash mailbox."_s);
    expectUnsupported(provider->markSpam(all), u"This account has no Junk mailbox."_s);
    EXPECT_EQ(Mailboxes::list(*provider, Mailbox::inbox).messages.size(), 1);
}

TEST(Actions, SetFlagsOnManyMessagesByOneCommand)
{
    const MailServer server(bulk(500));
    const Watched watched(server);
    const QList<QString> all = ids(Mailboxes::list(*watched.provider, Mailbox::inbox));
    await(watched.provider->setRead(true, all));
    await(watched.provider->setStarred(false, all));
    await(watched.provider->setStarred(true, all.first(250)));
    await(watched.provider->setRead(false, all.last(100)));
    EXPECT_EQ(watched.record->commands("UID STORE "), 4);
    const std::shared_ptr<IMAPProvider> other = server.provider();
    EXPECT_EQ(await(other->counts({})).value(inbox.id()), 100);
    EXPECT_EQ(Mailboxes::list(*other, Mailbox::starred).messages.size(), 250);
}

TEST(Actions, CreateRenameAndDeleteFoldersWhateverTheirScript)
{
    const MailServer server;
    const std::shared_ptr<IMAPProvider> provider = server.provider();
    const MailLabel made = await(provider->createLabel(u" Проекты / 2026 & später "_s));
    EXPECT_EQ(made.path, u"Проекты/2026 & später");
    EXPECT_EQ(made.id, u"&BB8EQAQ+BDUEOgRCBEs-/2026 &- sp&AOQ-ter");
    EXPECT_TRUE(paths(*server.provider()).contains(made.path));

    const MailLabel renamed = await(provider->renameLabel(made, u"旅行/京都"_s));
    EXPECT_EQ(renamed.path, u"旅行/京都");
    QStringList found = paths(*server.provider());
    EXPECT_TRUE(found.contains(renamed.path));
    EXPECT_FALSE(found.contains(made.path));

    await(provider->deleteLabel(renamed));
    found = paths(*server.provider());
    EXPECT_FALSE(found.contains(renamed.path));
}

TEST(Actions, CreateFoldersBelowTheInboxWhereTheServerKeepsThemAllThere)
{
    const MailServer server({u"--messages"_s, u"empty"_s, u"--hierarchy"_s, u"inbox"_s});
    const std::shared_ptr<IMAPProvider> provider = server.provider();
    const MailLabel made = await(provider->createLabel(u"Entwürfe/京都"_s));
    EXPECT_TRUE(made.id.startsWith(u"INBOX.Entw&APw-rfe."_s)) << made.id.toStdString();
    EXPECT_EQ(made.path, u"Entwürfe/京都");
    EXPECT_TRUE(paths(*server.provider()).contains(made.path));
}

TEST(Actions, TouchNothingWhenUIDVALIDITYHasChangedSinceTheListing)
{
    MailServer server(bulk(4));
    const std::shared_ptr<IMAPProvider> provider = server.provider();
    const MailLabel folder = await(provider->createLabel(u"folder"_s));
    const QList<QString> all = ids(Mailboxes::list(*provider, Mailbox::inbox));
    server.doveadm({u"mailbox"_s, u"update"_s, u"-u"_s, QString::fromLatin1(MailServer::address),
                    u"--uid-validity"_s, u"4711"_s, u"INBOX"_s});
    // The connection of before still sees the mailbox as it was.
    server.restart();
    const QList<std::function<Task<>()>> operations{
        [&] { return provider->archive(all); },       [&] { return provider->trash(all); },
        [&] { return provider->markSpam(all); },      [&] { return provider->moveToLabel(all, folder); },
        [&] { return provider->setRead(true, all); }, [&] { return provider->setStarred(true, all); },
    };
    for (const auto& operation : operations)
        expectUnsupported(operation(), u"This message is no longer on the server."_s);
    const std::shared_ptr<IMAPProvider> other = server.provider();
    const MessagePage left = Mailboxes::list(*other, Mailbox::inbox);
    EXPECT_EQ(left.messages.size(), 4);
    EXPECT_TRUE(Mailboxes::list(*other, Mailbox::starred).messages.isEmpty());
    EXPECT_TRUE(Mailboxes::list(*other, Mailbox::trash).messages.isEmpty());
}

} // namespace
} // namespace Larkhaven
