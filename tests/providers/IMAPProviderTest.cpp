#include "providers/IMAPProvider.h"

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
            "C: P7 UID FETCH 3 (UID BODY.PEEK[])\nS: * 1 FETCH (UID 3 BODY[] {5}\nS: hello)\nS: P7 OK")},
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
        {listedOnce("C: P7 UID FETCH 3 (UID BODY.PEEK[])\nS: * 1 FETCH (UID 3 BODY[] one)\nS: P7 OK")},
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

TEST(IMAPProvider, AsksAnewForTheStarredAloneAfterAStarWasSet)
{
    Providing providing({listedOnce(R"(
        C: P7 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P7 OK
        C: P8 UID SEARCH FLAGGED
        S: * SEARCH 5
        S: P8 OK
        C: P9 UID FETCH 5 (UID FLAGS)
        S: * 2 FETCH (UID 5 FLAGS (\Flagged))
        S: P9 OK
        C: P10 UID STORE 5 +FLAGS.SILENT (\Seen)
        S: P10 OK
        C: P11 UID FETCH 5 (UID FLAGS)
        S: * 2 FETCH (UID 5 FLAGS (\Flagged \Seen))
        S: P11 OK
        C: P12 UID STORE 5 -FLAGS.SILENT (\Flagged)
        S: P12 OK
        C: P13 UID FETCH 3,5 (UID FLAGS)
        S: * 1 FETCH (UID 3 FLAGS ())
        S: * 2 FETCH (UID 5 FLAGS (\Seen))
        S: P13 OK
        C: P14 UID SEARCH FLAGGED
        S: * SEARCH
        S: P14 OK
    )")});
    const MailboxRef starred = MailboxRef::system(Mailbox::starred);
    providing.list();
    EXPECT_EQ(providing.list(starred).total, 1);
    await(providing->setRead(true, {u"5.7:INBOX"_s}));
    EXPECT_EQ(providing.list(starred, 0, 50, false).total, 1) << "no view chooses by what was read";
    await(providing->setStarred(false, {u"5.7:INBOX"_s}));
    EXPECT_EQ(providing.list(inbox, 0, 50, false).total, 2);
    EXPECT_EQ(providing.list(starred, 0, 50, false).total, 0);
}

TEST_F(CachedIMAPProvider, KeepsALocalChangeThatTheServerRefused)
{
    const auto files = cache();
    {
        Providing providing({listedOnce("C: P7 UID STORE 5 +FLAGS.SILENT (\\Seen)\nS: P7 NO no\n"
                                        "C: P8 UID STORE 5 +FLAGS.SILENT (\\Flagged)\nS: P8 OK")},
                            files);
        providing.list();
        expectProtocolError(providing->setRead(true, {u"5.7:INBOX"_s}), u"no"_s);
        await(providing->setStarred(true, {u"5.7:INBOX"_s}));
    }
    const IMAPBoxes boxes = storedBoxes(files);
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
        C: P7 SELECT "INBOX"
        S: * OK [UIDVALIDITY 8] ok
        S: P7 OK
        C: P8 UID SEARCH ALL
        S: * SEARCH 5
        S: P8 OK
        C: P9 UID FETCH 5 (UID FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)])
        S: * 1 FETCH (UID 5 BODY[X] "Subject: another")
        S: P9 OK
        C: P10 UID STORE 5 +FLAGS.SILENT (\Seen)
        S: P10 OK
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
        Providing providing({listedOnce("C: P7 UID MOVE 3 \"Work\"\nS: P7 OK")}, files);
        providing.list();
        await(providing->moveToLabel({u"3.7:INBOX"_s}, {u"Work"_s, u"Work"_s}));
    }
    const IMAPBoxes boxes = storedBoxes(files);
    EXPECT_EQ(boxes.value(u"INBOX"_s).messages.keys(), QList<qint64>(1, 5));
}

} // namespace
} // namespace Larkhaven
