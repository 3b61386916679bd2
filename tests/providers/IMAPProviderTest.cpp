#include "providers/IMAPProvider.h"

#include "Providing.h"
#include "platform/Tasks.h"
#include "platform/Wakeup.h"
#include "support/Await.h"
#include "support/IMAPScripts.h"
#include "support/QtPrinters.h"

#include <QCoreApplication>
#include <QTranslator>

#include <algorithm>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);
const MailboxRef starred = MailboxRef::system(Mailbox::starred);
const QString goneText = u"This message is no longer on the server."_s;

QStringList idsOf(const MessagePage& page)
{
    QStringList ids;
    for (const MessageSummary& summary : page.messages)
        ids.append(summary.id);
    return ids;
}

/// The first listing of an Inbox with the messages 3 and 5, from the tag P4 on.
constexpr std::string_view firstListing = R"(
    C: P4 SELECT "INBOX"
    S: * OK [UIDVALIDITY 7] ok
    S: P4 OK
    C: P5 UID SEARCH ALL
    S: * SEARCH 3 5
    S: P5 OK
    C: P6 UID FETCH 3,5 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
    S: * 1 FETCH (UID 3 FLAGS (\Seen) INTERNALDATE " 3-Mar-2026 10:11:12 +0100" RFC822.SIZE 300 BODY[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)] {16}
    S: Subject: three
    S: )
    S: * 2 FETCH (UID 5 FLAGS (\FLAGGED) RFC822.SIZE 500 BODY[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)] {15}
    S: Subject: five
    S: )
    S: P6 OK
    C: P7 LIST "" "*"
    S: * LIST () "/" INBOX
    S: P7 OK
)";

Script listedOnce(std::string_view further = {}, const Place& where = Place::current())
{
    return signedIn("MOVE UIDPLUS", Chunks::whole, where).then(firstListing).then(further);
}

// --- The connection

TEST(IMAPProvider, NeedsServerSettings)
{
    Account account = someAccount();
    account.server.reset();
    ScriptedServer server({});
    try {
        IMAPProvider::create(account, MailAuth::password(u"x"_s), nullptr, server.factory());
        ADD_FAILURE() << "nothing failed";
    } catch (const MailError& error) {
        EXPECT_EQ(error.kind(), MailError::Kind::unsupported);
        EXPECT_EQ(error.text(), u"Missing server settings.");
    }
}

TEST(IMAPProvider, ConnectsNothingBeforeItsFirstOperation)
{
    Providing providing({});
    settle();
    EXPECT_TRUE(providing.server.openings().isEmpty());
    EXPECT_EQ(providing->account(), someAccount());
    EXPECT_FALSE(providing->supportsLabels());
}

TEST(IMAPProvider, RunsOperationsThatBeginTogetherOneAfterTheOther)
{
    // The second one sees what the first has selected, and no commands interleave.
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P4 OK
        C: P5 UID FETCH 3 (UID BODY.PEEK[])
        S: * 1 FETCH (UID 3 BODY[] three)
        S: P5 OK
        C: P6 UID FETCH 5 (UID BODY.PEEK[])
        S: * 1 FETCH (UID 5 BODY[] five)
        S: P6 OK
        C: P7 STATUS "INBOX" (UNSEEN MESSAGES)
        S: * STATUS INBOX (UNSEEN 2 MESSAGES 9)
        S: P7 OK
    )"));
    Begun<QByteArray> first(providing->fetchRaw(u"3.7:INBOX"_s));
    Begun<QByteArray> second(providing->fetchRaw(u"5.7:INBOX"_s));
    Begun<qint64> third(providing->inboxUnreadCount());
    EXPECT_EQ(third.get(), 2);
    EXPECT_EQ(second.get(), "five");
    EXPECT_EQ(first.get(), "three");
    EXPECT_EQ(providing.server.openings().size(), 1);
}

TEST(IMAPProvider, ReconnectsOnceWhereTheServerDroppedTheConnection)
{
    for (const std::string_view end : {"[CLOSE]", "C: P5 STATUS \"INBOX\" (UNSEEN MESSAGES)\n[CLOSE]",
                                       "C: P5 STATUS \"INBOX\" (UNSEEN MESSAGES)\n[TIMEOUT]",
                                       "C: P5 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: * BYE idle"}) {
        constexpr std::string_view count =
            "C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: * STATUS INBOX (UNSEEN 2)\nS: P4 OK";
        Providing providing({signedIn().then(count).then(end), signedIn().then(count)});
        EXPECT_EQ(await(providing->inboxUnreadCount()), 2);
        EXPECT_EQ(await(providing->inboxUnreadCount()), 2);
        EXPECT_EQ(providing.server.openings().size(), 2);
        EXPECT_TRUE(providing.server.connection(0).isClosed());
        EXPECT_FALSE(providing.server.connection(1).isClosed());
    }
}

TEST(IMAPProvider, RunsTheWholeOperationAgainOnAFreshConnection)
{
    Providing providing(
        {signedIn().then(
             "C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 UID STORE 3 +FLAGS.SILENT (\\Seen)\n[CLOSE]"),
         signedIn().then(
             "C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 UID STORE 3 +FLAGS.SILENT (\\Seen)\nS: P5 OK")});
    await(providing->setRead(true, {u"3.0:INBOX"_s}));
}

TEST(IMAPProvider, RetriesAnOperationAtMostOnce)
{
    const std::string_view dying = "C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)\n[CLOSE]";
    Providing providing({signedIn().then(dying), signedIn().then(dying),
                         signedIn().then("C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: P4 OK")});
    expectProtocolError(providing->inboxUnreadCount(), u"The server closed the connection."_s);
    EXPECT_EQ(providing.server.openings().size(), 2);
    // The next operation may heal again.
    EXPECT_EQ(await(providing->inboxUnreadCount()), 0);
}

TEST(IMAPProvider, TakesAServersRefusalInTheWordsOfALostConnectionForNoDeath)
{
    Providing providing(session("C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)\n"
                                "S: P4 NO The server closed the connection. It stopped responding."));
    expectProtocolError(providing->inboxUnreadCount(),
                        u"The server closed the connection. It stopped responding."_s);
    EXPECT_FALSE(providing.server.connection(0).isClosed());
}

/// Translates every text into one that has nothing of it.
class ForeignLanguage final : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char*, const char*, const char*, int) const override { return u"Ach!"_s; }
};

TEST(IMAPProvider, ReconnectsWhateverTheLanguageOfTheUser)
{
    ForeignLanguage language;
    QCoreApplication::installTranslator(&language);
    constexpr std::string_view count =
        "C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: * STATUS INBOX (UNSEEN 2)\nS: P4 OK";
    for (const std::string_view end : {"[CLOSE]", "[TIMEOUT]", "S: * BYE and not the words that we know"}) {
        Providing providing(
            {signedIn().then("C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)").then(end), signedIn().then(count)});
        EXPECT_EQ(await(providing->inboxUnreadCount()), 2);
    }
    QCoreApplication::removeTranslator(&language);
}

TEST(IMAPProvider, FailsAtOnceWhereTheConnectionIsRefused)
{
    Providing providing({Script("[REFUSED]")});
    try {
        await(providing->inboxUnreadCount());
        ADD_FAILURE() << "nothing failed";
    } catch (const LocalizedError& error) {
        EXPECT_EQ(error.localizedText(), u"Connection refused");
    }
    EXPECT_EQ(providing.server.openings().size(), 1);
}

TEST(IMAPProvider, DoesNotRepeatAnAttemptToConnectThatFails)
{
    Providing providing(
        {Script("[CLOSE]"), signedIn().then("C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: P4 OK")});
    expectProtocolError(providing->inboxUnreadCount(), u"The server closed the connection."_s);
    EXPECT_EQ(providing.server.openings().size(), 1);
    EXPECT_EQ(await(providing->inboxUnreadCount()), 0);
}

TEST(IMAPProvider, KeepsTheConnectionAfterARefusalAndLetsTheNextOneIn)
{
    Providing providing(
        session("C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: P4 NO not now\n"
                "C: P5 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: * STATUS INBOX (UNSEEN 1)\nS: P5 OK"));
    Begun<qint64> refused(providing->inboxUnreadCount());
    Begun<qint64> second(providing->inboxUnreadCount());
    EXPECT_EQ(second.get(), 1);
    EXPECT_THROW(refused.get(), MailError);
    EXPECT_FALSE(providing.server.connection(0).isClosed());
}

TEST(IMAPProvider, HealsAfterAResponseThatWasTooLarge)
{
    // The rest of such a message must not be taken for responses to the next command.
    Providing providing(
        {signedIn().then("C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 UID FETCH 3 (UID BODY.PEEK[])\n"
                         "S: * 1 FETCH (UID 3 BODY[] {104857601}"),
         signedIn().then(
             "C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: * STATUS INBOX (UNSEEN 4)\nS: P4 OK")});
    expectProtocolError(providing->fetchRaw(u"3.0:INBOX"_s), u"Server response too large."_s);
    EXPECT_EQ(await(providing->inboxUnreadCount()), 4);
}

TEST(IMAPProvider, IsKeptAliveByAnOperationUnderWay)
{
    ScriptedServer server(
        session("C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: * STATUS INBOX (UNSEEN 4)\nS: P4 OK"));
    auto provider =
        IMAPProvider::create(someAccount(), MailAuth::password(u"secret"_s), nullptr, server.factory());
    const std::weak_ptr<IMAPProvider> watched = provider;
    Begun<qint64> first(provider->inboxUnreadCount());
    provider.reset();
    EXPECT_EQ(first.get(), 4);
    settle();
    EXPECT_TRUE(watched.expired());
    server.expectUsedUp();
}

// --- Labels

TEST(IMAPProvider, ListsLabelsAfreshEachTime)
{
    Providing providing(session(R"(
        C: P4 LIST "" "*"
        S: * LIST () "." INBOX
        S: * LIST () "." "INBOX.Sent Items"
        S: * LIST (\Noselect) "." INBOX.Trash
        S: * LIST () "." INBOX.Work
        S: P4 OK
        C: P5 LIST "" "*"
        S: * LIST () "." INBOX
        S: P5 OK
    )"));
    EXPECT_EQ(await(providing->listLabels()), QList<MailLabel>({{u"INBOX.Work"_s, u"Work"_s}}));
    EXPECT_TRUE(await(providing->listLabels()).isEmpty());
}

TEST(IMAPProvider, CreatesALabelBelowTheInboxWhereEverythingIs)
{
    Providing providing(session(R"(
        C: P4 LIST "" "*"
        S: * LIST () "." INBOX
        S: * LIST () "." INBOX.Sent
        S: P4 OK
        C: P5 CREATE "INBOX.Projects.2024"
        S: P5 OK
        C: P6 LIST "" "*"
        S: * LIST () "." INBOX.Projects.2024
        S: P6 OK
    )"));
    EXPECT_EQ(await(providing->createLabel(u"Projects/2024"_s)),
              (MailLabel{u"INBOX.Projects.2024"_s, u"Projects/2024"_s}));
}

TEST(IMAPProvider, CreatesALabelWithTheDelimiterLastSeen)
{
    Providing providing(session(R"(
        C: P4 LIST "" "*"
        S: * LIST () "." INBOX
        S: P4 OK
        C: P5 CREATE "Projects.2024"
        S: P5 OK
        C: P6 LIST "" "*"
        S: * LIST () "." INBOX
        S: P6 OK
    )"));
    // The server's list doesn't hold it, so nobody knows its delimiter.
    EXPECT_EQ(await(providing->createLabel(u"Projects/2024"_s)),
              (MailLabel{u"Projects.2024"_s, u"Projects.2024"_s}));
}

TEST(IMAPProvider, RefusesAnEmptyNameOfALabel)
{
    Providing providing(session(""));
    expectUnsupported(providing->createLabel(u"  /  "_s), u"Please enter a name."_s);
    expectUnsupported(providing->renameLabel({u"x"_s, u"x"_s}, u""_s), u"Please enter a name."_s);
}

TEST(IMAPProvider, RenamesALabelAndForgetsWhatItKnewOfIt)
{
    Providing providing(session(R"(
        C: P4 SELECT "Work"
        S: P4 OK
        C: P5 UID SEARCH ALL
        S: * SEARCH
        S: P5 OK
        C: P6 LIST "" "*"
        S: * LIST () "/" Work
        S: P6 OK
        C: P7 SELECT "INBOX"
        S: P7 OK
        C: P8 RENAME "Work" "Office/Work"
        S: P8 OK
        C: P9 SELECT "Work"
        S: P9 NO gone
    )"));
    const MailboxRef work = MailboxRef::label({u"Work"_s, u"Work"_s});
    providing.list(work);
    EXPECT_EQ(await(providing->renameLabel({u"Work"_s, u"Work"_s}, u"Office/Work"_s)),
              (MailLabel{u"Office/Work"_s, u"Office/Work"_s}));
    expectProtocolError(providing->listMessages(work, std::nullopt, 0, 50, false), u"gone"_s);
}

TEST(IMAPProvider, LeavesAFolderBeforeItIsDeletedOrOneAboveItIsRenamed)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX.a.b"
        S: P4 OK
        C: P5 UID STORE 3 +FLAGS.SILENT (\Seen)
        S: P5 OK
        C: P6 LIST "" "*"
        S: * LIST () "." INBOX.a.b
        S: P6 OK
        C: P7 SELECT "INBOX"
        S: P7 OK
        C: P8 RENAME "INBOX.a" "INBOX.c"
        S: P8 OK
        C: P9 SELECT "INBOX.c.b"
        S: P9 OK
        C: P10 UID STORE 3 +FLAGS.SILENT (\Seen)
        S: P10 OK
        C: P11 DELETE "INBOX.c.bc"
        S: P11 OK
        C: P12 SELECT "INBOX"
        S: P12 OK
        C: P13 DELETE "INBOX.c.b"
        S: P13 OK
    )"));
    await(providing->setRead(true, {u"3.0:INBOX.a.b"_s}));
    EXPECT_EQ(await(providing->renameLabel({u"INBOX.a"_s, u"a"_s}, u"c"_s)),
              (MailLabel{u"INBOX.c"_s, u"c"_s}));
    await(providing->setRead(true, {u"3.0:INBOX.c.b"_s}));
    await(providing->deleteLabel({u"INBOX.c.bc"_s, u"bc"_s}));
    await(providing->deleteLabel({u"INBOX.c.b"_s, u"b"_s}));
}

TEST(IMAPProvider, RefusesAFolderNameThatHoldsTheServersDelimiter)
{
    Providing providing(session("C: P4 LIST \"\" \"*\"\nS: * LIST () \".\" INBOX\nS: P4 OK"));
    const QString refusal = u"A folder name can’t contain “.”."_s;
    expectUnsupported(providing->createLabel(u"Projects/v1.2"_s), refusal);
    expectUnsupported(providing->renameLabel({u"Work"_s, u"Work"_s}, u"v1.2"_s), refusal);
}

TEST(IMAPProvider, MakesFoldersInThePersonalNamespace)
{
    Providing providing(session(R"(
        C: P4 LIST "" "*"
        S: * LIST () "." INBOX
        S: * LIST () "." public
        S: P4 OK
        C: P5 NAMESPACE
        S: * NAMESPACE (("INBOX." ".")) NIL (("public" "." "X-PARAM" ("a" "b")))
        S: P5 OK
        C: P6 CREATE "INBOX.Work"
        S: P6 OK
        C: P7 LIST "" "*"
        S: * LIST () "." INBOX.Work
        S: P7 OK
        C: P8 SELECT "INBOX"
        S: P8 OK
        C: P9 CREATE "INBOX.Archive"
        S: P9 NO quota
    )",
                                "MOVE NAMESPACE"));
    EXPECT_EQ(await(providing->createLabel(u"Work"_s)), (MailLabel{u"INBOX.Work"_s, u"Work"_s}));
    expectProtocolError(providing->archive({u"3.0:INBOX"_s}), u"quota"_s);
}

TEST(IMAPProvider, MakesFoldersBelowTheInboxWhereTheTopLevelIsRefused)
{
    Providing providing(session(R"(
        C: P4 LIST "" "*"
        S: * LIST () "." INBOX
        S: P4 OK
        C: P5 CREATE "Work"
        S: P5 NO Invalid mailbox name.
        C: P6 CREATE "INBOX.Work"
        S: P6 OK
        C: P7 LIST "" "*"
        S: * LIST () "." INBOX.Work
        S: P7 OK
    )"));
    EXPECT_EQ(await(providing->createLabel(u"Work"_s)), (MailLabel{u"INBOX.Work"_s, u"Work"_s}));
    Providing drafts(session(R"(
        C: P4 LIST "" "*"
        S: * LIST () "." INBOX
        S: P4 OK
        C: P5 CREATE "Drafts"
        S: P5 NO Invalid mailbox name.
        C: P6 CREATE "INBOX.Drafts"
        S: P6 OK
        C: P7 APPEND "INBOX.Drafts" (\Draft \Seen) [LITERAL]
        S: P7 OK
    )"));
    await(drafts->saveDraft({}));
}

TEST(IMAPProvider, TellsTheFirstRefusalWhereNoPlaceIsGood)
{
    Providing providing(session(R"(
        C: P4 LIST "" "*"
        S: * LIST () "." INBOX
        S: P4 OK
        C: P5 CREATE "Work"
        S: P5 NO first
        C: P6 CREATE "INBOX.Work"
        S: P6 NO second
    )"));
    expectProtocolError(providing->createLabel(u"Work"_s), u"first"_s);
    Providing elsewhere(session("C: P4 LIST \"\" \"*\"\nS: * LIST () \".\" Other\nS: P4 OK\n"
                                "C: P5 CREATE \"Work\"\nS: P5 NO quota"));
    expectProtocolError(elsewhere->createLabel(u"Work"_s), u"quota"_s);
}

TEST(IMAPProvider, MakesAFolderBelowTheInboxOnceThoughTheAnswerWasLost)
{
    Providing providing({signedIn().then(R"(
        C: P4 LIST "" "*"
        S: * LIST () "." INBOX
        S: P4 OK
        C: P5 CREATE "Work"
        S: P5 NO no
        C: P6 CREATE "INBOX.Work"
        [CLOSE]
    )"),
                         signedIn().then(R"(
        C: P4 CREATE "Work"
        S: P4 NO no
        C: P5 LIST "" "*"
        S: * LIST () "." INBOX
        S: * LIST () "." INBOX.Work
        S: P5 OK
        C: P6 CREATE "INBOX.Work"
        S: P6 NO there is one
        C: P7 LIST "" "*"
        S: * LIST () "." INBOX.Work
        S: P7 OK
    )")});
    EXPECT_EQ(await(providing->createLabel(u"Work"_s)), (MailLabel{u"INBOX.Work"_s, u"Work"_s}));
}

TEST(IMAPProvider, FilesNothingInAnotherUsersMailbox)
{
    // Whether the server can tell whose it is or not.
    const std::string_view listing = R"(
        C: P4 SELECT "INBOX"
        S: P4 OK
        C: P5 LIST "" "*"
        S: * LIST () "." INBOX
        S: * LIST () "." user.bob.Trash
        S: P5 OK
    )";
    Providing silent(session(listing));
    expectUnsupported(silent->trash({u"3.0:INBOX"_s}), u"This account has no Trash mailbox."_s);
    Providing telling(
        {session(listing, "MOVE NAMESPACE")
             .first()
             .then(
                 "C: P6 NAMESPACE\nS: * NAMESPACE ((\"INBOX.\" \".\")) ((\"user.\" \".\")) NIL\nS: P6 OK")});
    expectUnsupported(telling->trash({u"3.0:INBOX"_s}), u"This account has no Trash mailbox."_s);
    expectUnsupported(telling->markSpam({u"3.0:INBOX"_s}), u"This account has no Junk mailbox."_s);
    Providing refusing({session(listing, "MOVE NAMESPACE").first().then("C: P6 NAMESPACE\nS: P6 BAD what?")});
    expectUnsupported(refusing->trash({u"3.0:INBOX"_s}), u"This account has no Trash mailbox."_s);
    expectUnsupported(refusing->trash({u"3.0:INBOX"_s}), u"This account has no Trash mailbox."_s);
}

TEST(IMAPProvider, AsksForNoNamespacesWhereAnAttributeTellsTheRole)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: P4 OK
        C: P5 LIST "" "*"
        S: * LIST (\Trash) "." INBOX.Bin
        S: * LIST () "." Trash
        S: P5 OK
        C: P6 UID MOVE 3 "INBOX.Bin"
        S: P6 OK
    )",
                                "MOVE NAMESPACE"));
    await(providing->trash({u"3.0:INBOX"_s}));
}

TEST_F(CachedIMAPProvider, KnowsWhatLiesInAndBelowARenamedFolderUnderItsNewName)
{
    const auto files = cache();
    const auto box = [](qint64 uid, const QString& mailbox) {
        MessageSummary summary;
        summary.id = QString::number(uid) + u".7:"_s + mailbox;
        summary.mailbox = u"old"_s;
        return IMAPBox{7, {{uid, summary}}};
    };
    IMAPBoxes boxes;
    for (const QString& mailbox : {u"a"_s, u"a.b"_s, u"a.b.c"_s, u"ab"_s})
        boxes.insert(mailbox, box(3, mailbox));
    await(files->writeSnapshot(u"imap"_s, IMAPSnapshot::encode(boxes)));
    {
        Providing providing(session("C: P4 LIST \"\" \"*\"\nS: * LIST () \".\" a\nS: P4 OK\n"
                                    "C: P5 RENAME \"a\" \"x.y\"\nS: P5 OK"),
                            files);
        await(providing->renameLabel({u"a"_s, u"a"_s}, u"x/y"_s));
    }
    const IMAPBoxes kept = IMAPSnapshot::decode(await(files->readSnapshot(u"imap"_s)).value());
    QStringList mailboxes = kept.keys();
    mailboxes.sort();
    EXPECT_EQ(mailboxes, QStringList({u"ab"_s, u"x.y"_s, u"x.y.b"_s, u"x.y.b.c"_s}));
    EXPECT_EQ(kept.value(u"x.y.b"_s).messages.value(3).id, u"3.7:x.y.b");
    EXPECT_EQ(kept.value(u"x.y.b"_s).messages.value(3).mailbox, u"x/y/b");
    EXPECT_EQ(kept.value(u"ab"_s).messages.value(3).mailbox, u"old");
}

TEST(IMAPProvider, DeletesALabel)
{
    Providing providing(session("C: P4 DELETE \"Work\"\nS: P4 OK"));
    await(providing->deleteLabel({u"Work"_s, u"Work"_s}));
}

TEST(IMAPProvider, TakesACreatedMailboxWhoseAnswerWasLostForDone)
{
    Providing providing({signedIn().then("C: P4 LIST \"\" \"*\"\nS: * LIST () \"/\" INBOX\nS: P4 OK\n"
                                         "C: P5 CREATE \"Work\"\n[CLOSE]"),
                         signedIn().then("C: P4 CREATE \"Work\"\nS: P4 NO [ALREADYEXISTS] there is one\n"
                                         "C: P5 LIST \"\" \"*\"\nS: * LIST () \"/\" Work\nS: P5 OK")});
    EXPECT_EQ(await(providing->createLabel(u"Work"_s)), (MailLabel{u"Work"_s, u"Work"_s}));
}

TEST(IMAPProvider, TakesARenamedMailboxWhoseAnswerWasLostForDone)
{
    Providing providing({signedIn().then("C: P4 LIST \"\" \"*\"\nS: * LIST () \"/\" a\nS: P4 OK\n"
                                         "C: P5 RENAME \"a\" \"b\"\n[CLOSE]"),
                         signedIn().then("C: P4 RENAME \"a\" \"b\"\nS: P4 NO [NONEXISTENT] no a\n"
                                         "C: P5 LIST \"\" \"*\"\nS: * LIST () \"/\" b\nS: P5 OK")});
    EXPECT_EQ(await(providing->renameLabel({u"a"_s, u"a"_s}, u"b"_s)), (MailLabel{u"b"_s, u"b"_s}));
}

TEST(IMAPProvider, TakesADeletedMailboxWhoseAnswerWasLostForDone)
{
    for (const std::string_view list : {"S: * LIST () \"/\" b", "S: * LIST (\\Noselect) \"/\" a"}) {
        Providing providing(
            {signedIn().then("C: P4 DELETE \"a\"\n[CLOSE]"),
             signedIn()
                 .then("C: P4 DELETE \"a\"\nS: P4 NO [NONEXISTENT] no a\nC: P5 LIST \"\" \"*\"")
                 .then(list)
                 .then("S: P5 OK")});
        await(providing->deleteLabel({u"a"_s, u"a"_s}));
    }
}

TEST(IMAPProvider, TakesAnArchiveWhoseCreationWasDoneBeforeForDone)
{
    Providing providing({signedIn().then("C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 LIST \"\" \"*\"\nS: P5 OK\n"
                                         "C: P6 CREATE \"Archive\"\n[TIMEOUT]"),
                         signedIn().then("C: P4 SELECT \"INBOX\"\nS: P4 OK\n"
                                         "C: P5 CREATE \"Archive\"\nS: P5 NO there is one\n"
                                         "C: P6 LIST \"\" \"*\"\nS: * LIST () \"/\" Archive\nS: P6 OK\n"
                                         "C: P7 UID MOVE 3 \"Archive\"\nS: P7 OK")});
    await(providing->archive({u"3.0:INBOX"_s}));
}

TEST(IMAPProvider, PassesTheRefusalOfASecondTryOnWhereTheListDoesNotShowTheChange)
{
    const std::string_view unchanged =
        "C: P5 LIST \"\" \"*\"\nS: * LIST () \"/\" a\nS: * LIST (\\Noselect) \"/\" n\nS: P5 OK";
    Providing created(
        {signedIn().then(
             "C: P4 LIST \"\" \"*\"\nS: * LIST () \"/\" a\nS: P4 OK\nC: P5 CREATE \"n\"\n[CLOSE]"),
         signedIn().then("C: P4 CREATE \"n\"\nS: P4 NO over quota").then(unchanged)});
    expectProtocolError(created->createLabel(u"n"_s), u"over quota"_s);
    Providing renamed({signedIn().then("C: P4 LIST \"\" \"*\"\nS: P4 OK\nC: P5 RENAME \"a\" \"b\"\n[CLOSE]"),
                       signedIn().then("C: P4 RENAME \"a\" \"b\"\nS: P4 NO no").then(unchanged)});
    expectProtocolError(renamed->renameLabel({u"a"_s, u"a"_s}, u"b"_s), u"no"_s);
    Providing deleted({signedIn().then("C: P4 DELETE \"a\"\n[CLOSE]"),
                       signedIn().then("C: P4 DELETE \"a\"\nS: P4 NO no").then(unchanged)});
    expectProtocolError(deleted->deleteLabel({u"a"_s, u"a"_s}), u"no"_s);
}

TEST(IMAPProvider, PassesARefusalOfTheFirstTryOnAtOnce)
{
    Providing providing(session("C: P4 LIST \"\" \"*\"\nS: * LIST () \"/\" Work\nS: P4 OK\n"
                                "C: P5 CREATE \"Work\"\nS: P5 NO [ALREADYEXISTS] there is one\n"
                                "C: P6 RENAME \"gone\" \"Work\"\nS: P6 NO none\n"
                                "C: P7 DELETE \"gone\"\nS: P7 NO none"));
    expectProtocolError(providing->createLabel(u"Work"_s), u"[ALREADYEXISTS] there is one"_s);
    expectProtocolError(providing->renameLabel({u"gone"_s, u"gone"_s}, u"Work"_s), u"none"_s);
    expectProtocolError(providing->deleteLabel({u"gone"_s, u"gone"_s}), u"none"_s);
}

TEST(IMAPProvider, KeepsTheServersDelimiterAcrossConnections)
{
    Providing providing({signedIn().then("C: P4 LIST \"\" \"*\"\nS: * LIST () \".\" INBOX\n"
                                         "S: * LIST () \".\" INBOX.a\nS: P4 OK\n[CLOSE]"),
                         signedIn().then("C: P4 RENAME \"INBOX.a\" \"INBOX.b.c\"\nS: P4 OK")});
    await(providing->listLabels());
    EXPECT_EQ(await(providing->renameLabel({u"INBOX.a"_s, u"a"_s}, u"b/c"_s)),
              (MailLabel{u"INBOX.b.c"_s, u"b/c"_s}));
}

TEST(IMAPProvider, PutsNoLabelsOnMessages)
{
    Providing providing({});
    for (const bool applied : {true, false})
        expectUnsupported(providing->setLabel({u"Work"_s, u"Work"_s}, applied, {u"1.0:INBOX"_s}),
                          u"Labels can't be added to messages in this account; use Move To."_s);
}

TEST(IMAPProvider, HasNoConversationsAndAsksNobodyForThem)
{
    Providing providing({});
    EXPECT_EQ(await(providing->threadID(u"1.0:INBOX"_s)), std::nullopt);
    EXPECT_EQ(await(providing->threadID(u"unknown"_s)), std::nullopt);
}

// --- Searches

QStringList shown(const QList<IMAPArg>& args)
{
    QStringList pieces;
    for (const IMAPArg& arg : args)
        pieces.append(arg.text() ? *arg.text() : u"literal "_s + QString::fromUtf8(*arg.literal()));
    return pieces;
}

TEST(IMAPSearch, AsksForEverythingOrForTheFlagged)
{
    EXPECT_EQ(shown(IMAPListings::searchArgs(inbox, std::nullopt)), QStringList(u"ALL"_s));
    EXPECT_EQ(shown(IMAPListings::searchArgs(inbox, u"   "_s)), QStringList(u"ALL"_s));
    EXPECT_EQ(shown(IMAPListings::searchArgs(starred, std::nullopt)), QStringList(u"FLAGGED"_s));
    EXPECT_EQ(shown(IMAPListings::searchArgs(starred, u" "_s)), QStringList(u"FLAGGED"_s));
}

TEST(IMAPSearch, AsksForAText)
{
    EXPECT_EQ(shown(IMAPListings::searchArgs(inbox, u" invoice "_s)),
              QStringList({u"TEXT "_s, u"\"invoice\""_s}));
    EXPECT_EQ(shown(IMAPListings::searchArgs(starred, u"invoice"_s)),
              QStringList({u"FLAGGED "_s, u"TEXT "_s, u"\"invoice\""_s}));
}

TEST(IMAPSearch, AsksForASenderInAnyCaseOfTheOperatorAndKeepsTheTerms)
{
    EXPECT_EQ(shown(IMAPListings::searchArgs(inbox, u"from:   ann"_s)),
              QStringList({u"FROM "_s, u"\"ann\""_s}));
    EXPECT_EQ(shown(IMAPListings::searchArgs(inbox, u"FROM:Ann"_s)), QStringList({u"FROM "_s, u"\"Ann\""_s}));
    EXPECT_EQ(shown(IMAPListings::searchArgs(inbox, u"from:"_s)), QStringList({u"FROM "_s, u"\"\""_s}));
    EXPECT_EQ(shown(IMAPListings::searchArgs(inbox, u"x from:ann"_s)),
              QStringList({u"TEXT "_s, u"\"x from:ann\""_s}));
}

TEST(IMAPSearch, TellsTheCharsetWhereATermIsNoASCII)
{
    EXPECT_EQ(shown(IMAPListings::searchArgs(starred, u"Grüße"_s)),
              QStringList({u"CHARSET UTF-8 "_s, u"FLAGGED "_s, u"TEXT "_s, u"literal Grüße"_s}));
}

TEST(IMAPProvider, SendsANonASCIISearchTermAsALiteral)
{
    Providing providing(
        {signedIn()
             .then("C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 UID SEARCH CHARSET UTF-8 TEXT {2}\nS: +")
             .client("\xC3\xBC\r\n")
             .then("S: * SEARCH\nS: P5 OK")});
    EXPECT_EQ(providing.list(inbox, 0, 50, true, u"ü"_s).total, 0);
}

// --- Listing

TEST(IMAPProvider, ListsAPageNewestFirstWithWhatItsHeadersTell)
{
    const QByteArray header =
        "Date: Tue, 3 Mar 2026 10:11:12 +0100\r\nFrom: =?utf-8?Q?J=C3=BCrgen?= <j@x.example>, b@x\r\n"
        "To: ann@x.example, Bob <bob@x.example>\r\nSubject: =?utf-8?B?R3LDvMOfZQ==?=\r\n"
        "Content-Type: Multipart/Mixed; boundary=x\r\n\r\n";
    Providing providing(
        {signedIn()
             .then("C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK\nC: P5 UID SEARCH ALL\n"
                   "S: * SEARCH 9\nS: P5 OK\nC: P6 UID FETCH 9 (UID FLAGS INTERNALDATE RFC822.SIZE "
                   "BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])")
             .server("* 1 FETCH (UID 9 FLAGS (\\seen \\Flagged) RFC822.SIZE 1234 BODY[HEADER.FIELDS (DATE "
                     "FROM TO SUBJECT CONTENT-TYPE)] {" +
                     QByteArray::number(header.size()) + "}\r\n" + header + ")\r\n")
             .then("S: P6 OK\nC: P7 LIST \"\" \"*\"\nS: * LIST () \".\" INBOX\nS: P7 OK")});
    const MessagePage page = providing.list();
    MessageSummary expected;
    expected.id = u"9.7:INBOX"_s;
    expected.accountID = someAccount().id;
    expected.from = EmailAddress(u"Jürgen"_s, u"j@x.example"_s);
    expected.to = {EmailAddress(std::nullopt, u"ann@x.example"_s),
                   EmailAddress(u"Bob"_s, u"bob@x.example"_s)};
    expected.subject = u"Grüße"_s;
    expected.date = QDateTime(QDate(2026, 3, 3), QTime(9, 11, 12), Qt::UTC);
    expected.isRead = true;
    expected.isStarred = true;
    expected.hasAttachments = true;
    expected.size = 1234;
    expected.mailbox = u"Inbox"_s;
    ASSERT_EQ(page.messages.size(), 1);
    EXPECT_EQ(page.messages[0].toJSON(), expected.toJSON());
    EXPECT_FALSE(page.hasMore);
    EXPECT_EQ(page.total, 1);
}

TEST(IMAPProvider, ListsNothingOfAnEmptyMailbox)
{
    Providing providing(
        session("C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 UID SEARCH ALL\nS: * SEARCH\nS: P5 OK"));
    const MessagePage page = providing.list();
    EXPECT_TRUE(page.messages.isEmpty());
    EXPECT_FALSE(page.hasMore);
    EXPECT_EQ(page.total, 0);
    EXPECT_EQ(await(providing->lastPageOffset(inbox, std::nullopt, 50)), 0);
}

TEST(IMAPProvider, ListsNothingBehindTheEnd)
{
    Providing providing({listedOnce()});
    providing.list();
    const MessagePage page = providing.list(inbox, 50, 50, false);
    EXPECT_TRUE(page.messages.isEmpty());
    EXPECT_FALSE(page.hasMore);
    EXPECT_EQ(page.total, 2);
}

TEST(IMAPProvider, ListsPagesOfTheSameListingWithoutASearch)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P4 OK
        C: P5 UID SEARCH ALL
        S: * SEARCH 3 5 4 0 5 4294967296 -1
        S: P5 OK
        C: P6 UID FETCH 4:5 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
        S: * 1 FETCH (UID 4 BODY[X] "")
        S: * 1 FETCH (UID 5 BODY[X] "")
        S: P6 OK
        C: P7 LIST "" "*"
        S: P7 OK
        C: P8 UID FETCH 3 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
        S: * 1 FETCH (UID 3 BODY[X] "")
        S: P8 OK
    )"));
    const MessagePage first = providing.list(inbox, 0, 2, false);
    EXPECT_EQ(idsOf(first), QStringList({u"5.7:INBOX"_s, u"4.7:INBOX"_s}));
    EXPECT_TRUE(first.hasMore);
    EXPECT_EQ(first.total, 3) << "what is no UID, and doubles, don't count";
    const MessagePage second = providing.list(inbox, 2, 2, false);
    EXPECT_EQ(idsOf(second), QStringList(u"3.7:INBOX"_s));
    EXPECT_FALSE(second.hasMore);
    EXPECT_EQ(await(providing->lastPageOffset(inbox, std::nullopt, 2)), 2);
    EXPECT_EQ(await(providing->lastPageOffset(inbox, std::nullopt, 0)), 0);
}

TEST(IMAPProvider, FindsTheLastPageOfFiftyAndOfFiftyOneMessages)
{
    for (const auto& [count, offset] : {std::pair{50, 0}, std::pair{51, 50}}) {
        QByteArray uids;
        for (int uid = 1; uid <= count; ++uid)
            uids += ' ' + QByteArray::number(uid);
        Providing providing({signedIn()
                                 .then("C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 UID SEARCH ALL")
                                 .server("* SEARCH" + uids + "\r\n")
                                 .then("S: P5 OK")});
        EXPECT_EQ(await(providing->lastPageOffset(inbox, std::nullopt, 50)), offset);
    }
}

TEST(IMAPProvider, ShowsAMessageThatWasReadElsewhereAsReadWithoutFetchingItsHeader)
{
    Providing providing({listedOnce(R"(
        C: P8 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P8 OK
        C: P9 UID SEARCH ALL
        S: * SEARCH 3 5
        S: P9 OK
        C: P10 UID FETCH 3,5 (UID FLAGS)
        S: * 1 FETCH (UID 3 FLAGS (\Seen))
        S: * 2 FETCH (UID 5 FLAGS (\SEEN))
        S: P10 OK
    )")});
    MessagePage page = providing.list();
    EXPECT_FALSE(page.messages[0].isRead);
    EXPECT_TRUE(page.messages[0].isStarred);
    page = providing.list();
    EXPECT_EQ(idsOf(page), QStringList({u"5.7:INBOX"_s, u"3.7:INBOX"_s}));
    EXPECT_TRUE(page.messages[0].isRead);
    EXPECT_FALSE(page.messages[0].isStarred);
    EXPECT_EQ(page.messages[0].subject, u"five");
}

TEST(IMAPProvider, LeavesAMessageOutThatVanishedMeanwhile)
{
    Providing providing({listedOnce(R"(
        C: P8 UID FETCH 3,5 (UID FLAGS)
        S: * 1 FETCH (UID 3 FLAGS ())
        S: P8 OK
    )")});
    providing.list();
    const MessagePage page = providing.list(inbox, 0, 50, false);
    EXPECT_EQ(idsOf(page), QStringList(u"3.7:INBOX"_s));
    EXPECT_EQ(page.total, 2);
}

TEST(IMAPProvider, FetchesEverythingAnewAfterUIDVALIDITYChanged)
{
    Providing providing({listedOnce(R"(
        C: P8 SELECT "INBOX"
        S: * OK [UIDVALIDITY 8]
        S: P8 OK
        C: P9 UID SEARCH ALL
        S: * SEARCH 3
        S: P9 OK
        C: P10 UID FETCH 3 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
        S: * 1 FETCH (UID 3 BODY[X] "Subject: another")
        S: P10 OK
    )")});
    providing.list();
    const MessagePage page = providing.list();
    ASSERT_EQ(idsOf(page), QStringList(u"3.8:INBOX"_s));
    EXPECT_EQ(page.messages[0].subject, u"another");
}

TEST_F(CachedIMAPProvider, CountsAMailboxWithoutUIDVALIDITYAsValidityZero)
{
    const auto files = cache();
    {
        Providing providing(
            session("C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 UID SEARCH ALL\nS: * SEARCH\nS: P5 OK"), files);
        providing.list();
    }
    EXPECT_EQ(await(files->readSnapshot(u"imap"_s)), R"({"INBOX":{"messages":{},"uidValidity":0}})");
}

TEST(IMAPProvider, TakesTheDateOfABrokenHeaderFromTheServerOrElseFromTheClock)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: P4 OK
        C: P5 UID SEARCH ALL
        S: * SEARCH 1 2 3
        S: P5 OK
        C: P6 UID FETCH 1:3 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
        S: * 1 FETCH (UID 1 INTERNALDATE " 3-Mar-2026 10:11:12 +0100" BODY[X] "Date: some day")
        S: * 2 FETCH (UID 2 INTERNALDATE "someday" BODY[X] "Date: some day")
        S: * 3 FETCH (UID 3 INTERNALDATE "03-Mar-2026 10:11:12 +0100" BODY[X] "")
        S: P6 OK
        C: P7 LIST "" "*"
        S: P7 OK
    )"));
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const MessagePage page = providing.list();
    const QDateTime told(QDate(2026, 3, 3), QTime(9, 11, 12), Qt::UTC);
    EXPECT_EQ(page.messages[0].date, told);
    EXPECT_EQ(page.messages[2].date, told);
    EXPECT_GE(page.messages[1].date, before);
    EXPECT_LE(page.messages[1].date, QDateTime::currentDateTimeUtc());
}

TEST(IMAPProvider, DoesNotLetAnUnaskedFetchBlankASummary)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: P4 OK
        C: P5 UID SEARCH ALL
        S: * SEARCH 3
        S: P5 OK
        C: P6 UID FETCH 3 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
        S: * 1 FETCH (UID 3 FLAGS (\Seen) BODY[X] "Subject: three")
        S: * 1 FETCH (UID 3 FLAGS ())
        S: * 9 FETCH (UID 99 BODY[X] "Subject: unasked")
        S: * 9 FETCH (BODY[X] "Subject: nameless")
        S: P6 OK
        C: P7 LIST "" "*"
        S: P7 OK
    )"));
    const MessagePage page = providing.list();
    ASSERT_EQ(idsOf(page), QStringList(u"3.0:INBOX"_s));
    EXPECT_EQ(page.messages[0].subject, u"three");
}

TEST_F(CachedIMAPProvider, DeletesNoSummaryWhereNothingIsFlagged)
{
    const auto files = cache();
    {
        Providing providing({listedOnce(R"(
            C: P8 SELECT "INBOX"
            S: * OK [UIDVALIDITY 7]
            S: P8 OK
            C: P9 UID SEARCH FLAGGED
            S: * SEARCH
            S: P9 OK
        )")},
                            files);
        providing.list();
        const MessagePage page = providing.list(starred);
        EXPECT_TRUE(page.messages.isEmpty());
        EXPECT_EQ(page.total, 0);
    }
    const IMAPBoxes boxes = IMAPSnapshot::decode(await(files->readSnapshot(u"imap"_s)).value());
    EXPECT_EQ(boxes.value(u"INBOX"_s).messages.size(), 2);
}

TEST_F(CachedIMAPProvider, ForgetsSummariesThatTheMailboxHoldsNoMore)
{
    const auto files = cache();
    {
        Providing providing({listedOnce(R"(
            C: P8 SELECT "INBOX"
            S: * OK [UIDVALIDITY 7]
            S: P8 OK
            C: P9 UID SEARCH ALL
            S: * SEARCH 5
            S: P9 OK
            C: P10 UID FETCH 5 (UID FLAGS)
            S: * 1 FETCH (UID 5 FLAGS (\Flagged))
            S: P10 OK
        )")},
                            files);
        providing.list();
        EXPECT_EQ(idsOf(providing.list()), QStringList(u"5.7:INBOX"_s));
    }
    const IMAPBoxes boxes = IMAPSnapshot::decode(await(files->readSnapshot(u"imap"_s)).value());
    EXPECT_EQ(boxes.value(u"INBOX"_s).messages.keys(), QList<qint64>(1, 5));
    EXPECT_EQ(boxes.value(u"INBOX"_s).uidValidity, 7);
}

TEST_F(CachedIMAPProvider, KnowsSummariesAcrossLaunches)
{
    {
        Providing providing({listedOnce()}, cache());
        providing.list();
    }
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P4 OK
        C: P5 UID SEARCH ALL
        S: * SEARCH 3 5
        S: P5 OK
        C: P6 UID FETCH 3,5 (UID FLAGS)
        S: * 1 FETCH (UID 3 FLAGS ())
        S: * 2 FETCH (UID 5 FLAGS ())
        S: P6 OK
    )"),
                        cache());
    const MessagePage page = providing.list();
    ASSERT_EQ(page.messages.size(), 2);
    EXPECT_EQ(page.messages[0].subject, u"five");
}

TEST_F(CachedIMAPProvider, IgnoresASnapshotThatCannotBeRead)
{
    const auto files = cache();
    await(files->writeSnapshot(u"imap"_s, "no JSON"));
    Providing providing({listedOnce()}, files);
    EXPECT_EQ(providing.list().messages.size(), 2);
}

TEST_F(CachedIMAPProvider, DropsTheOldestOfTwentyThousandAndOneSummariesAtTheNextWrite)
{
    const auto files = cache();
    IMAPBox box{7, {}};
    for (qint64 uid = 1; uid <= 20'001; ++uid) {
        MessageSummary summary;
        summary.id = QString::number(uid) + u".7:Old"_s;
        summary.date = QDateTime::fromSecsSinceEpoch(1'000'000'000 + uid, Qt::UTC);
        box.messages.insert(uid, summary);
    }
    IMAPBoxes boxes;
    boxes.insert(u"Old"_s, box);
    await(files->writeSnapshot(u"imap"_s, IMAPSnapshot::encode(boxes)));
    {
        Providing providing(session("C: P4 SELECT \"Old\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK\n"
                                    "C: P5 UID STORE 7 +FLAGS.SILENT (\\Seen)\nS: P5 OK"),
                            files);
        await(providing->setRead(true, {u"7.7:Old"_s}));
    }
    const IMAPBoxes kept = IMAPSnapshot::decode(await(files->readSnapshot(u"imap"_s)).value());
    EXPECT_EQ(kept.value(u"Old"_s).messages.size(), 20'000);
    EXPECT_FALSE(kept.value(u"Old"_s).messages.contains(1));
    EXPECT_TRUE(kept.value(u"Old"_s).messages.value(7).isRead);
}

TEST_F(CachedIMAPProvider, KeepsASnapshotThatNobodyListedYetWhenALabelIsDeleted)
{
    const auto files = cache();
    {
        Providing providing({listedOnce()}, files);
        providing.list();
    }
    {
        Providing providing(session("C: P4 DELETE \"Work\"\nS: P4 OK"), files);
        await(providing->deleteLabel({u"Work"_s, u"Work"_s}));
    }
    const IMAPBoxes boxes = IMAPSnapshot::decode(await(files->readSnapshot(u"imap"_s)).value());
    EXPECT_EQ(boxes.value(u"INBOX"_s).messages.size(), 2);
}

TEST(IMAPProvider, HasNoMailboxForARoleThatTheServerLacks)
{
    Providing providing(session("C: P4 LIST \"\" \"*\"\nS: P4 OK"));
    expectUnsupported(providing->listMessages(MailboxRef::system(Mailbox::sent), std::nullopt, 0, 50, true),
                      u"This account has no Sent mailbox."_s);
}

TEST(IMAPProvider, ShowsThePathOfAFolderInItsRows)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX.Work.&APw-"
        S: P4 OK
        C: P5 UID SEARCH ALL
        S: * SEARCH 1
        S: P5 OK
        C: P6 UID FETCH 1 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
        S: * 1 FETCH (UID 1 BODY[X] "")
        S: P6 OK
        C: P7 LIST "" "*"
        S: * LIST () "." INBOX.Work.&APw-
        S: P7 OK
    )"));
    const MessagePage page = providing.list(MailboxRef::label({u"INBOX.Work.&APw-"_s, u"Work/ü"_s}));
    ASSERT_EQ(page.messages.size(), 1);
    EXPECT_EQ(page.messages[0].mailbox, u"Work/ü");
    EXPECT_EQ(page.messages[0].id, u"1.0:INBOX.Work.&APw-");
}

// --- Counts

TEST(IMAPProvider, CountsUnreadMessagesAndAllDrafts)
{
    Providing providing(session(R"(
        C: P4 LIST "" "*"
        S: * LIST () "/" INBOX
        S: * LIST () "/" Junk
        S: * LIST () "/" Drafts
        S: P4 OK
        C: P5 STATUS "INBOX" (UNSEEN MESSAGES)
        C: P6 STATUS "Junk" (UNSEEN MESSAGES)
        C: P7 STATUS "Drafts" (UNSEEN MESSAGES)
        C: P8 STATUS "Quiet" (UNSEEN MESSAGES)
        C: P9 STATUS "Work" (UNSEEN MESSAGES)
        S: * STATUS INBOX (UNSEEN 3 MESSAGES 30)
        S: P5 OK
        S: P6 NO no
        S: * STATUS Drafts (UNSEEN 0 MESSAGES 2)
        S: P7 OK
        S: * STATUS Work (UNSEEN 5 MESSAGES 9)
        S: * STATUS Quiet (UNSEEN 0 MESSAGES 9)
        S: P8 OK
        S: P9 OK
    )"));
    const QHash<QString, qint64> expected{
        {u"system:inbox"_s, 3}, {u"system:drafts"_s, 2}, {u"label:Work"_s, 5}};
    EXPECT_EQ(await(providing->counts({{u"Work"_s, u"Work"_s}, {u"Quiet"_s, u"Quiet"_s}})), expected);
}

TEST(IMAPProvider, CountsAgainOnAFreshConnectionWhereTheOldOneIsDead)
{
    const std::string_view list = "C: P4 LIST \"\" \"*\"\nS: P4 OK\nC: P5 STATUS \"INBOX\" (UNSEEN MESSAGES)";
    Providing providing(
        {signedIn().then(list).then("[CLOSE]"),
         signedIn().then(
             "C: P4 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: * STATUS INBOX (UNSEEN 3)\nS: P4 OK")});
    EXPECT_EQ(await(providing->counts({})), (QHash<QString, qint64>{{u"system:inbox"_s, 3}}));
}

/// Labels from "a00" on.
QList<MailLabel> manyLabels(qsizetype count)
{
    QList<MailLabel> labels;
    for (qsizetype index = 0; index < count; ++index) {
        const QString name = u"a%1"_s.arg(index, 2, 10, QChar(u'0'));
        labels.append({name, name});
    }
    return labels;
}

/// A batch of STATUS commands from this tag on, all sent before anything is answered.
Script& countBatch(Script& script, int tag, const QStringList& mailboxes)
{
    QByteArray commands;
    QByteArray answers;
    for (const QString& mailbox : mailboxes) {
        const QByteArray number = QByteArray::number(tag++);
        commands += "P" + number + " STATUS \"" + mailbox.toUtf8() + "\" (UNSEEN MESSAGES)\r\n";
        answers += "* STATUS " + mailbox.toUtf8() + " (UNSEEN 1)\r\nP" + number + " OK\r\n";
    }
    return script.client(commands).server(answers);
}

TEST(IMAPProvider, LetsWhatTheUserWaitsForPassACountAndAListOfLabels)
{
    // The message was asked for last.
    Script script = signedIn().then("C: P4 LIST \"\" \"*\"\nS: P4 OK\nC: P5 SELECT \"INBOX\"\nS: P5 OK\n"
                                    "C: P6 UID FETCH 3 (UID BODY.PEEK[])\n"
                                    "S: * 1 FETCH (UID 3 BODY[] three)\nS: P6 OK\n"
                                    "C: P7 LIST \"\" \"*\"\nS: P7 OK\n"
                                    "C: P8 STATUS \"INBOX\" (UNSEEN MESSAGES)\nS: P8 OK");
    countBatch(script, 9, {u"INBOX"_s, u"a"_s});
    Providing providing({script});
    Begun<QHash<QString, qint64>> counting(providing->counts({{u"a"_s, u"a"_s}}));
    Begun<QList<MailLabel>> listing(providing->listLabels());
    Begun<qint64> badge(providing->inboxUnreadCount());
    Begun<QByteArray> opening(providing->fetchRaw(u"3.0:INBOX"_s));
    EXPECT_EQ(opening.get(), "three");
    EXPECT_FALSE(listing.isDone());
    EXPECT_EQ(counting.get().size(), 2);
    EXPECT_TRUE(listing.isDone());
    EXPECT_TRUE(badge.isDone());
}

TEST(IMAPProvider, GivesWayBetweenTheBatchesOfACount)
{
    QList<QByteArray> sent;
    struct Answering final : MailTransport {
        explicit Answering(QList<QByteArray>& lines)
            : m_lines(lines)
        {}
        Task<> send(QByteArray data) override
        {
            for (const QByteArray& line : data.chopped(2).split('\n')) {
                m_lines.append(line.trimmed());
                const QByteArray tag = line.first(line.indexOf(' '));
                if (line.contains("CAPABILITY"))
                    m_answers += "* CAPABILITY LOGIN\r\n";
                if (line.contains("FETCH"))
                    m_answers += "* 1 FETCH (UID 3 BODY[] three)\r\n";
                m_answers += tag + " OK\r\n";
            }
            m_wakeup.notify();
            co_return;
        }
        Task<QByteArray> receive() override
        {
            while (m_answers.isEmpty())
                co_await m_wakeup.wait(std::chrono::milliseconds(-1));
            QByteArray answers = std::exchange(m_answers, {});
            co_await sleepFor(std::chrono::milliseconds(1), {});
            co_return answers;
        }
        Task<> startTLS() override { co_return; }
        void close() override {}

        QList<QByteArray>& m_lines;
        QByteArray m_answers = "* OK\r\n";
        Wakeup m_wakeup;
    };
    const auto transport = std::make_shared<Answering>(sent);
    const TransportFactory factory = [transport](const QString&, int, bool) {
        return [](std::shared_ptr<MailTransport> given) -> Task<std::shared_ptr<MailTransport>> {
            co_return given;
        }(transport);
    };
    const auto provider =
        IMAPProvider::create(someAccount(), MailAuth::password(u"secret"_s), nullptr, factory);
    Begun<QHash<QString, qint64>> counting(provider->counts(manyLabels(60)));
    const auto statuses = [&sent] {
        return std::ranges::count_if(sent, [](const QByteArray& line) { return line.contains("STATUS"); });
    };
    EXPECT_TRUE(waitUntil([&] { return statuses() > 0; }));
    EXPECT_EQ(statuses(), IMAPClient::pipelineLimit) << "so many at once and no more";
    EXPECT_EQ(await(provider->fetchRaw(u"3.0:INBOX"_s)), "three");
    EXPECT_EQ(statuses(), IMAPClient::pipelineLimit);
    counting.get();
    EXPECT_EQ(statuses(), 61);
}

TEST(IMAPProvider, MakesOneCountForAllWhoAskWhileAnotherIsMade)
{
    Script script = signedIn().then("C: P4 LIST \"\" \"*\"\nS: P4 OK");
    countBatch(script, 5, {u"INBOX"_s});
    countBatch(script, 6, {u"INBOX"_s, u"a"_s});
    Providing providing({script});
    Begun<QHash<QString, qint64>> first(providing->counts({}));
    Begun<QHash<QString, qint64>> second(providing->counts({{u"a"_s, u"a"_s}}));
    Begun<QHash<QString, qint64>> third(providing->counts({}));
    Begun<QHash<QString, qint64>> fourth(providing->counts({{u"a"_s, u"a"_s}}));
    const QHash<QString, qint64> inboxOnly{{u"system:inbox"_s, 1}};
    const QHash<QString, qint64> both{{u"system:inbox"_s, 1}, {u"label:a"_s, 1}};
    EXPECT_EQ(first.get(), inboxOnly);
    EXPECT_EQ(second.get(), both);
    EXPECT_EQ(third.get(), inboxOnly);
    EXPECT_EQ(fourth.get(), both);
}

TEST(IMAPProvider, TellsAFailedCountToAllWhoShareItAndCountsAgainForTheNext)
{
    Script script = signedIn().then("C: P4 LIST \"\" \"*\"\nS: P4 NO first\nC: P5 LIST \"\" \"*\"\n"
                                    "S: P5 NO second\nC: P6 LIST \"\" \"*\"\nS: P6 OK");
    countBatch(script, 7, {u"INBOX"_s});
    Providing providing({script});
    Begun<QHash<QString, qint64>> first(providing->counts({}));
    Begun<QHash<QString, qint64>> second(providing->counts({}));
    Begun<QHash<QString, qint64>> third(providing->counts({}));
    EXPECT_THROW(first.get(), MailError);
    for (Begun<QHash<QString, qint64>>* shared : {&second, &third}) {
        try {
            shared->get();
            ADD_FAILURE() << "nothing failed";
        } catch (const MailError& error) {
            EXPECT_EQ(error.text(), u"second");
        }
    }
    EXPECT_EQ(await(providing->counts({})).value(u"system:inbox"_s), 1);
}

// --- Raw messages

TEST(IMAPProvider, KnowsNoMessageByAnIDThatItCannotRead)
{
    Providing providing({});
    for (const QString& id : {u"abc"_s, u""_s, u":INBOX"_s, u"x:INBOX"_s, u"3:INBOX"_s})
        expectProtocolError(providing->fetchRaw(id), u"Unknown message."_s);
}

TEST_F(CachedIMAPProvider, FetchesAMessageOnceWhereItKnowsTheMailbox)
{
    Providing providing(
        {listedOnce(
            "C: P8 UID FETCH 3 (UID BODY.PEEK[])\nS: * 1 FETCH (UID 3 BODY[] {5}\nS: hello)\nS: P8 OK")},
        cache());
    providing.list();
    EXPECT_EQ(await(providing->fetchRaw(u"3.7:INBOX"_s)), "hello");
    EXPECT_EQ(await(providing->fetchRaw(u"3.7:INBOX"_s)), "hello");
}

TEST_F(CachedIMAPProvider, AsksTheServerWhereItDoesNotKnowTheMailboxAndFillsTheCache)
{
    const auto files = cache();
    Providing providing(
        session("C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK\n"
                "C: P5 UID FETCH 3 (UID BODY.PEEK[])\nS: * 1 FETCH (UID 3 BODY[] one)\nS: P5 OK\n"
                "C: P6 UID FETCH 3 (UID BODY.PEEK[])\nS: * 1 FETCH (UID 3 BODY[] two)\nS: P6 OK"),
        files);
    await(files->write(u"imap:7:3:INBOX"_s, "cached"));
    EXPECT_EQ(await(providing->fetchRaw(u"3.7:INBOX"_s)), "one");
    EXPECT_EQ(await(files->read(u"imap:7:3:INBOX"_s)), "one");
    EXPECT_EQ(await(providing->fetchRaw(u"3.7:INBOX"_s)), "two");
}

TEST_F(CachedIMAPProvider, ServesNoOtherMessageAfterUIDVALIDITYChanged)
{
    const auto files = cache();
    await(files->write(u"imap:8:3:INBOX"_s, "of another time"));
    Providing providing(
        {listedOnce("C: P8 UID FETCH 3 (UID BODY.PEEK[])\nS: * 1 FETCH (UID 3 BODY[] one)\nS: P8 OK")},
        files);
    providing.list();
    EXPECT_EQ(await(providing->fetchRaw(u"3.7:INBOX"_s)), "one");
    EXPECT_EQ(await(files->read(u"imap:7:3:INBOX"_s)), "one");
}

TEST(IMAPProvider, TellsThatAMessageIsGone)
{
    Providing providing(
        session("C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 UID FETCH 3 (UID BODY.PEEK[])\nS: P5 OK\n"
                "C: P6 UID FETCH 3 (UID BODY.PEEK[])\nS: * 1 FETCH (UID 3 BODY[] NIL)\nS: P6 OK"));
    expectUnsupported(providing->fetchRaw(u"3.0:INBOX"_s), goneText);
    expectUnsupported(providing->fetchRaw(u"3.0:INBOX"_s), goneText);
}

TEST(IMAPProvider, TakesNoOtherMessageForTheOneThatItAskedFor)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: P4 OK
        C: P5 UID FETCH 3 (UID BODY.PEEK[])
        S: * 8 FETCH (FLAGS (\Seen))
        S: * 9 FETCH (UID 4 BODY[] other)
        S: * 7 FETCH (UID 3 FLAGS ())
        S: * 7 FETCH (UID 3 BODY[] right)
        S: P5 OK
        C: P6 UID FETCH 3 (UID BODY.PEEK[])
        S: * 7 FETCH (BODY[] nameless)
        S: P6 OK
        C: P7 UID FETCH 3 (UID BODY.PEEK[])
        S: * 9 FETCH (UID 4 BODY[] other)
        S: P7 OK
    )"));
    EXPECT_EQ(await(providing->fetchRaw(u"3.0:INBOX"_s)), "right");
    EXPECT_EQ(await(providing->fetchRaw(u"3.0:INBOX"_s)), "nameless");
    expectUnsupported(providing->fetchRaw(u"3.0:INBOX"_s), goneText);
}

TEST(IMAPProvider, TakesTheMailboxOfAnIDFromBehindTheFirstColon)
{
    Providing providing(session("C: P4 SELECT \"a:b\"\nS: P4 OK\nC: P5 UID FETCH 3 (UID BODY.PEEK[])\nS: * 1 "
                                "FETCH (UID 3 BODY[] x)\nS: P5 OK"));
    EXPECT_EQ(await(providing->fetchRaw(u"3.0:a:b"_s)), "x");
}

// --- Another UIDVALIDITY

TEST(IMAPProvider, TouchesNothingWhereTheMailboxWasMadeUnderAnotherUIDVALIDITY)
{
    Providing providing({listedOnce("[CLOSE]"),
                         signedIn().then("C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 8]\nS: P4 OK")});
    providing.list();
    expectUnsupported(providing->setRead(true, {u"3.7:INBOX"_s}), goneText);
    expectUnsupported(providing->setStarred(false, {u"3.7:INBOX"_s}), goneText);
    expectUnsupported(providing->trash({u"3.7:INBOX"_s}), goneText);
    expectUnsupported(providing->moveToLabel({u"3.7:INBOX"_s}, {u"x"_s, u"x"_s}), goneText);
    expectUnsupported(providing->fetchRaw(u"3.7:INBOX"_s), goneText);
}

// --- Flags

TEST(IMAPProvider, SetsTheReadFlagWithOneStoreForEachMailbox)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: P4 OK
        C: P5 UID STORE 3:5 +FLAGS.SILENT (\Seen)
        S: P5 OK
        C: P6 SELECT "Work"
        S: P6 OK
        C: P7 UID STORE 9 +FLAGS.SILENT (\Seen)
        S: P7 OK
    )"));
    await(providing->setRead(true, {u"5.0:INBOX"_s, u"9.0:Work"_s, u"3.0:INBOX"_s, u"4.0:INBOX"_s}));
}

TEST(IMAPProvider, TakesFlagsAway)
{
    Providing providing(
        session("C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 UID STORE 3 -FLAGS.SILENT (\\Seen)\nS: P5 OK\n"
                "C: P6 UID STORE 3 -FLAGS.SILENT (\\Flagged)\nS: P6 OK\n"
                "C: P7 UID STORE 3 +FLAGS.SILENT (\\Flagged)\nS: P7 OK"));
    await(providing->setRead(false, {u"3.0:INBOX"_s}));
    await(providing->setStarred(false, {u"3.0:INBOX"_s}));
    await(providing->setStarred(true, {u"3.0:INBOX"_s}));
}

TEST(IMAPProvider, SearchesAnewAfterAFlagWasSet)
{
    Providing providing({listedOnce(R"(
        C: P8 UID STORE 5 +FLAGS.SILENT (\Seen)
        S: P8 OK
        C: P9 UID SEARCH ALL
        S: * SEARCH 5
        S: P9 OK
        C: P10 UID FETCH 5 (UID FLAGS)
        S: * 2 FETCH (UID 5 FLAGS (\Seen))
        S: P10 OK
    )")});
    providing.list();
    await(providing->setRead(true, {u"5.7:INBOX"_s}));
    EXPECT_EQ(providing.list(inbox, 0, 50, false).total, 1);
}

TEST_F(CachedIMAPProvider, KeepsALocalChangeThatTheServerRefused)
{
    const auto files = cache();
    {
        Providing providing({listedOnce("C: P8 UID STORE 5 +FLAGS.SILENT (\\Seen)\nS: P8 NO no\n"
                                        "C: P9 UID STORE 5 +FLAGS.SILENT (\\Flagged)\nS: P9 OK")},
                            files);
        providing.list();
        expectProtocolError(providing->setRead(true, {u"5.7:INBOX"_s}), u"no"_s);
        await(providing->setStarred(true, {u"5.7:INBOX"_s}));
    }
    const IMAPBoxes boxes = IMAPSnapshot::decode(await(files->readSnapshot(u"imap"_s)).value());
    EXPECT_TRUE(boxes.value(u"INBOX"_s).messages.value(5).isRead);
}

TEST(IMAPProvider, TouchesNothingForAnIDOfTheOldForm)
{
    Providing providing({});
    const QStringList ids({u"5.7:INBOX"_s, u"3:INBOX"_s});
    const QString unknown = u"Unknown message."_s;
    expectProtocolError(providing->setRead(true, ids), unknown);
    expectProtocolError(providing->setStarred(true, ids), unknown);
    expectProtocolError(providing->archive(ids), unknown);
    expectProtocolError(providing->trash(ids), unknown);
    expectProtocolError(providing->markSpam(ids), unknown);
    expectProtocolError(providing->moveToInbox(ids), unknown);
    expectProtocolError(providing->moveToLabel(ids, {u"Work"_s, u"Work"_s}), unknown);
}

TEST(IMAPProvider, TellsTwoMessagesOfOneNumberApartAfterANewListing)
{
    // The number that the mailbox hands out now was another message's before.
    Providing providing({listedOnce(R"(
        C: P8 SELECT "INBOX"
        S: * OK [UIDVALIDITY 8] ok
        S: P8 OK
        C: P9 UID SEARCH ALL
        S: * SEARCH 5
        S: P9 OK
        C: P10 UID FETCH 5 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
        S: * 1 FETCH (UID 5 BODY[X] "Subject: another")
        S: P10 OK
        C: P11 UID STORE 5 +FLAGS.SILENT (\Seen)
        S: P11 OK
    )")});
    const QString before = providing.list().messages.first().id;
    const QString after = providing.list().messages.first().id;
    EXPECT_EQ(before, u"5.7:INBOX");
    EXPECT_EQ(after, u"5.8:INBOX");
    expectUnsupported(providing->setRead(true, {before}), goneText);
    expectUnsupported(providing->moveToInbox({before}), goneText);
    await(providing->setRead(true, {after}));
    expectUnsupported(providing->setRead(true, {after, before}), goneText);
}

TEST(IMAPProvider, ReadsNoUIDVALIDITYBelowZero)
{
    Providing providing(session("C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY -8] ok\nS: P4 OK\n"
                                "C: P5 UID STORE 5 +FLAGS.SILENT (\\Seen)\nS: P5 OK"));
    await(providing->setRead(true, {u"5.0:INBOX"_s}));
}

TEST(IMAPProvider, TouchesNothingForAnIDOfAListingBeforeUIDVALIDITYChanged)
{
    // The open message 3:INBOX was listed under one UIDVALIDITY; a refresh lists the mailbox under another.
    Providing providing({listedOnce("[CLOSE]"), signedIn().then(R"(
        C: P4 SELECT "INBOX"
        S: * OK [UIDVALIDITY 8] ok
        S: P4 OK
        C: P5 UID SEARCH ALL
        S: * SEARCH
        S: P5 OK
    )")});
    providing.list();
    providing.list();
    const QString gone = u"This message is no longer on the server."_s;
    const QStringList ids(u"5.7:INBOX"_s);
    expectUnsupported(providing->moveToLabel(ids, {u"Work"_s, u"Work"_s}), gone);
    expectUnsupported(providing->setRead(true, ids), gone);
    expectUnsupported(providing->trash(ids), gone);
    expectUnsupported(providing->fetchRaw(ids.first()), gone);
}

// --- Moving

TEST(IMAPProvider, CreatesAnArchiveAndUsesItAfterwards)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: P4 OK
        C: P5 LIST "" "*"
        S: * LIST () "/" INBOX
        S: P5 OK
        C: P6 CREATE "Archive"
        S: P6 OK
        C: P7 UID MOVE 3 "Archive"
        S: P7 OK
        C: P8 LIST "" "*"
        S: * LIST () "/" Archive
        S: P8 OK
        C: P9 UID MOVE 4 "Archive"
        S: P9 OK
    )"));
    await(providing->archive({u"3.0:INBOX"_s}));
    await(providing->archive({u"4.0:INBOX"_s}));
}

TEST(IMAPProvider, ArchivesAThousandMessagesWithOneCommand)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: P4 OK
        C: P5 LIST "" "*"
        S: * LIST (\Archive) "/" All
        S: P5 OK
        C: P6 UID MOVE 1:999,2000 "All"
        S: P6 OK
    )"));
    QList<QString> ids{u"2000.0:INBOX"_s};
    for (int uid = 999; uid >= 1; --uid)
        ids.append(QString::number(uid) + u".0:INBOX"_s);
    await(providing->archive(ids));
}

TEST(IMAPProvider, SendsNoMoveForWhatIsInTheArchiveAlready)
{
    Providing providing(session("C: P4 SELECT \"Archive\"\nS: P4 OK\n"
                                "C: P5 LIST \"\" \"*\"\nS: * LIST () \"/\" Archive\nS: P5 OK"));
    await(providing->archive({u"7.0:Archive"_s}));
}

TEST(IMAPProvider, SendsNothingForMessagesThatAreInTheTrashAlready)
{
    Providing providing(session(R"(
        C: P4 SELECT "INBOX"
        S: P4 OK
        C: P5 LIST "" "*"
        S: * LIST (\Trash) "/" Bin
        S: P5 OK
        C: P6 UID MOVE 3 "Bin"
        S: P6 OK
        C: P7 SELECT "ZBin"
        S: P7 OK
        C: P8 UID MOVE 4 "Bin"
        S: P8 OK
        C: P9 SELECT "Bin"
        S: P9 OK
    )"));
    await(providing->trash({u"3.0:INBOX"_s}));
    await(providing->trash({u"4.0:ZBin"_s}));
    await(providing->trash({u"7.0:Bin"_s, u"8.0:Bin"_s}));
}

TEST(IMAPProvider, TellsWhichMailboxIsMissing)
{
    Providing providing(session("C: P4 SELECT \"INBOX\"\nS: P4 OK\nC: P5 LIST \"\" \"*\"\nS: P5 OK"));
    expectUnsupported(providing->trash({u"3.0:INBOX"_s}), u"This account has no Trash mailbox."_s);
    expectUnsupported(providing->markSpam({u"3.0:INBOX"_s}), u"This account has no Junk mailbox."_s);
}

TEST(IMAPProvider, MovesToTheInboxToALabelAndToSpam)
{
    Providing providing(session(R"(
        C: P4 SELECT "Junk"
        S: P4 OK
        C: P5 UID MOVE 3 "INBOX"
        S: P5 OK
        C: P6 UID MOVE 4 "Work"
        S: P6 OK
        C: P7 SELECT "INBOX"
        S: P7 OK
        C: P8 LIST "" "*"
        S: * LIST () "/" Junk
        S: P8 OK
        C: P9 UID MOVE 5 "Junk"
        S: P9 OK
    )"));
    await(providing->moveToInbox({u"3.0:Junk"_s}));
    await(providing->moveToLabel({u"4.0:Junk"_s}, {u"Work"_s, u"Work"_s}));
    await(providing->move({u"5.0:INBOX"_s}, MailboxRef::system(Mailbox::spam)));
}

TEST(IMAPProvider, StopsAtTheFirstMailboxThatFailsAndLeavesTheRestDone)
{
    Providing providing(session(
        "C: P4 SELECT \"A\"\nS: P4 OK\nC: P5 UID MOVE 1 \"X\"\nS: P5 OK\nC: P6 SELECT \"B\"\nS: P6 NO no"));
    expectProtocolError(providing->moveToLabel({u"3.0:C"_s, u"2.0:B"_s, u"1.0:A"_s}, {u"X"_s, u"X"_s}),
                        u"no"_s);
}

TEST_F(CachedIMAPProvider, ForgetsTheSummariesOfMovedMessages)
{
    const auto files = cache();
    {
        Providing providing({listedOnce("C: P8 UID MOVE 3 \"Work\"\nS: P8 OK")}, files);
        providing.list();
        await(providing->moveToLabel({u"3.7:INBOX"_s}, {u"Work"_s, u"Work"_s}));
    }
    const IMAPBoxes boxes = IMAPSnapshot::decode(await(files->readSnapshot(u"imap"_s)).value());
    EXPECT_EQ(boxes.value(u"INBOX"_s).messages.keys(), QList<qint64>(1, 5));
}

} // namespace
} // namespace Larkhaven
