#include "providers/IMAPFolders.h"

#include "Listings.h"
#include "Providing.h"
#include "StoredRows.h"
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
                                "MOVE NAMESPACE UIDPLUS"));
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
                                "MOVE NAMESPACE UIDPLUS"));
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
    await(files->writeSnapshot(u"imap"_s, oldSnapshot(boxes)));
    {
        Providing providing(session("C: P4 LIST \"\" \"*\"\nS: * LIST () \".\" a\nS: P4 OK\n"
                                    "C: P5 RENAME \"a\" \"x.y\"\nS: P5 OK"),
                            files);
        await(providing->renameLabel({u"a"_s, u"a"_s}, u"x/y"_s));
    }
    const IMAPBoxes kept = storedBoxes(files);
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

} // namespace
} // namespace Larkhaven
