#include "providers/IMAPTransfers.h"

#include "Providing.h"
#include "format/MIMEParser.h"
#include "support/Await.h"
#include "support/IMAPScripts.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const MailLabel work{u"Work"_s, u"Work"_s};

/// The answer to a FETCH of what messages are known by: UID, size and Message-ID.
QByteArray known(qint64 uid, qint64 size, const QByteArray& messageID)
{
    return "* 1 FETCH (UID " + QByteArray::number(uid) + " RFC822.SIZE " + QByteArray::number(size) +
           " BODY[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)] \"Message-ID: " + messageID + "\")\r\n";
}

constexpr std::string_view selected = "C: P4 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P4 OK";
constexpr std::string_view next =
    "C: P5 STATUS \"Work\" (UIDNEXT UIDVALIDITY)\nS: * STATUS Work (UIDNEXT 40 UIDVALIDITY 2)\nS: P5 OK";
constexpr std::string_view fetchOriginals =
    "C: P5 UID FETCH 3,5 (UID RFC822.SIZE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)])";

/// A connection that is lost before the answer to the COPY of two messages.
Script lostCopy(const QByteArray& capabilities = "UIDPLUS")
{
    return signedIn(capabilities).then(selected).then(next).then("C: P6 UID COPY 3,5 \"Work\"\n[CLOSE]");
}

/// The connection after it, up to the look at the target, which has these messages since.
Script lookingConnection(const QByteArray& uids, const QByteArray& fetched, const QByteArray& uidSet,
                         const QByteArray& capabilities = "UIDPLUS")
{
    Script script = signedIn(capabilities).then(selected).then(fetchOriginals);
    script.server(known(3, 300, "<a@x>") + known(5, 500, "<b@x>"))
        .then("S: P5 OK\nC: P6 SELECT \"Work\"\nS: * OK [UIDVALIDITY 2]\nS: P6 OK\nC: P7 UID SEARCH UID 40:* "
              "ALL")
        .server("* SEARCH " + uids + "\r\n")
        .then("S: P7 OK");
    if (!uidSet.isEmpty())
        script
            .client("P8 UID FETCH " + uidSet +
                    " (UID RFC822.SIZE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)])\r\n")
            .server(fetched)
            .then("S: P8 OK\nC: P9 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P9 OK");
    return script;
}

const QStringList& both()
{
    static const QStringList ids({u"3.7:INBOX"_s, u"5.7:INBOX"_s});
    return ids;
}

TEST(IMAPTransfers, CopiesFlagsAndExpungesWhereTheServerCannotMove)
{
    Providing uidPlus({signedIn("UIDPLUS").then(selected).then(next).then(R"(
        C: P6 UID COPY 3,5 "Work"
        S: P6 OK
        C: P7 UID STORE 3,5 +FLAGS.SILENT (\Deleted)
        S: P7 OK
        C: P8 UID EXPUNGE 3,5
        S: P8 OK
    )")});
    await(uidPlus->moveToLabel(both(), work));
    // What the messages are known by is asked for while they are there.
    Providing plain({signedIn("").then(selected).then(fetchOriginals).then(R"(
        S: P5 OK
        C: P6 STATUS "Work" (UIDNEXT UIDVALIDITY)
        S: P6 OK
        C: P7 UID COPY 3,5 "Work"
        S: P7 OK
        C: P8 UID STORE 3,5 +FLAGS.SILENT (\Deleted)
        S: P8 OK
        C: P9 EXPUNGE
        S: P9 OK
    )")});
    await(plain->moveToLabel(both(), work));
}

TEST(IMAPTransfers, CopiesNothingTwiceWhereTheAnswerToTheCopyWasLost)
{
    Providing providing(
        {lostCopy(),
         lookingConnection("40 41", known(40, 300, "<a@x>") + known(41, 500, "<b@x>"), "40:41").then(R"(
        C: P10 UID STORE 3,5 +FLAGS.SILENT (\Deleted)
        S: P10 OK
        C: P11 UID EXPUNGE 3,5
        S: P11 OK
    )")});
    await(providing->moveToLabel(both(), work));
}

TEST(IMAPTransfers, CopiesAgainWhatIsNotInTheTarget)
{
    // The last message of the target is told though its number is too low; another one came meanwhile, one is
    // of another size, and one can't be told from others.
    const QByteArray found = known(41, 300, "<c@x>") + known(42, 301, "<a@x>") +
                             "* 1 FETCH (UID 43 RFC822.SIZE 300)\r\n" + known(44, 500, "<b@x>") +
                             known(39, 300, "<a@x>");
    Providing providing({lostCopy(), lookingConnection("39 41 42 43 44", found, "41:44").then(R"(
        C: P10 STATUS "Work" (UIDNEXT UIDVALIDITY)
        S: * STATUS Work (UIDNEXT 45 UIDVALIDITY 2)
        S: P10 OK
        C: P11 UID COPY 3 "Work"
        S: P11 OK
        C: P12 UID STORE 3,5 +FLAGS.SILENT (\Deleted)
        S: P12 OK
        C: P13 UID EXPUNGE 3,5
        S: P13 OK
    )")});
    await(providing->moveToLabel(both(), work));
}

TEST(IMAPTransfers, TakesOneCopyForOneMessageHoweverManyAreAlike)
{
    Script looking = signedIn("UIDPLUS").then(selected).then(fetchOriginals);
    looking.server(known(3, 300, "<a@x>") + known(5, 300, "<a@x>"))
        .then("S: P5 OK\nC: P6 SELECT \"Work\"\nS: * OK [UIDVALIDITY 2]\nS: P6 OK\n"
              "C: P7 UID SEARCH UID 40:* ALL\nS: * SEARCH 40\nS: P7 OK\n"
              "C: P8 UID FETCH 40 (UID RFC822.SIZE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)])")
        .server(known(40, 300, "<a@x>"))
        .then("S: P8 OK\nC: P9 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P9 OK\n"
              "C: P10 STATUS \"Work\" (UIDNEXT UIDVALIDITY)\nS: P10 OK");
    // One of the two is copied; which of them is all the same, and so the script ends here.
    ScriptedServer server({lostCopy(), looking.then("[CLOSE]")});
    const auto provider =
        IMAPProvider::create(someAccount(), MailAuth::password(u"secret"_s), nullptr, server.factory());
    expectProtocolError(provider->moveToLabel(both(), work), u"The server closed the connection."_s);
    server.expectUsedUp();
}

TEST(IMAPTransfers, CopiesEverythingAgainWhereNothingArrived)
{
    Providing providing({lostCopy(), lookingConnection("12", {}, {}).then(R"(
        C: P8 SELECT "INBOX"
        S: * OK [UIDVALIDITY 7]
        S: P8 OK
        C: P9 STATUS "Work" (UIDNEXT UIDVALIDITY)
        S: * STATUS Work (UIDNEXT 40 UIDVALIDITY 2)
        S: P9 OK
        C: P10 UID COPY 3,5 "Work"
        S: P10 OK
        C: P11 UID STORE 3,5 +FLAGS.SILENT (\Deleted)
        S: P11 OK
        C: P12 UID EXPUNGE 3,5
        S: P12 OK
    )")});
    await(providing->moveToLabel(both(), work));
}

TEST(IMAPTransfers, OnlyDeletesWhereTheCopyWasAnswered)
{
    for (const std::string_view lost :
         {"C: P7 UID STORE 3,5 +FLAGS.SILENT (\\Deleted)\n[CLOSE]",
          "C: P7 UID STORE 3,5 +FLAGS.SILENT (\\Deleted)\nS: P7 OK\nC: P8 UID EXPUNGE 3,5\n[TIMEOUT]"}) {
        Providing providing({signedIn("UIDPLUS")
                                 .then(selected)
                                 .then(next)
                                 .then("C: P6 UID COPY 3,5 \"Work\"\nS: P6 OK")
                                 .then(lost),
                             signedIn("UIDPLUS").then(selected).then(R"(
        C: P5 UID STORE 3,5 +FLAGS.SILENT (\Deleted)
        S: P5 OK
        C: P6 UID EXPUNGE 3,5
        S: P6 OK
    )")});
        await(providing->moveToLabel(both(), work));
    }
}

TEST(IMAPTransfers, LooksAgainWhenTheUserTriesAgain)
{
    // Both connections of the first move were lost; the copies may have gone elsewhere since.
    Providing providing(
        {lostCopy(), signedIn("UIDPLUS").then("C: P4 SELECT \"INBOX\"\n[CLOSE]"),
         lookingConnection("40 41", known(40, 300, "<a@x>") + known(41, 500, "<b@x>"), "40:41")
             .then("C: P10 UID STORE 3,5 +FLAGS.SILENT (\\Deleted)\nS: P10 OK\n"
                   "C: P11 UID EXPUNGE 3,5\nS: P11 NO not now\n"
                   "C: P12 UID FETCH 3,5 (UID RFC822.SIZE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID "
                   "DATE FROM SUBJECT)])")
             .server(known(3, 300, "<a@x>") + known(5, 500, "<b@x>"))
             .then("S: P12 OK\nC: P13 SELECT \"Work\"\nS: * OK [UIDVALIDITY 2]\nS: P13 OK\n"
                   "C: P14 UID SEARCH UID 40:* ALL\nS: P14 OK\n"
                   "C: P15 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P15 OK")
             .then("C: P16 STATUS \"Work\" (UIDNEXT UIDVALIDITY)\nS: P16 OK\n"
                   "C: P17 UID COPY 3,5 \"Work\"\nS: P17 OK\n"
                   "C: P18 UID STORE 3,5 +FLAGS.SILENT (\\Deleted)\nS: P18 OK\n"
                   "C: P19 UID EXPUNGE 3,5\nS: P19 OK")});
    expectProtocolError(providing->moveToLabel(both(), work), u"The server closed the connection."_s);
    expectProtocolError(providing->moveToLabel(both(), work), u"not now"_s);
    await(providing->moveToLabel(both(), work));
}

TEST(IMAPTransfers, LooksThroughTheWholeTargetWhereItsNumbersHaveChanged)
{
    Script looking = signedIn("UIDPLUS").then(selected).then(fetchOriginals);
    looking.server(known(3, 300, "<a@x>") + known(5, 500, "<b@x>"))
        .then("S: P5 OK\nC: P6 SELECT \"Work\"\nS: * OK [UIDVALIDITY 3]\nS: P6 OK\n"
              "C: P7 UID SEARCH ALL\nS: * SEARCH 1 2\nS: P7 OK\n"
              "C: P8 UID FETCH 1:2 (UID RFC822.SIZE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)])")
        .server(known(1, 300, "<a@x>") + known(2, 500, "<b@x>"))
        .then("S: P8 OK\nC: P9 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 7]\nS: P9 OK\n"
              "C: P10 UID STORE 3,5 +FLAGS.SILENT (\\Deleted)\nS: P10 OK\nC: P11 UID EXPUNGE 3,5\nS: P11 OK");
    Providing providing({lostCopy(), looking});
    await(providing->moveToLabel(both(), work));
}

TEST(IMAPTransfers, TouchesNothingWhereTheSourceChangedBehindTheLook)
{
    Script looking = signedIn("UIDPLUS").then(selected).then(fetchOriginals);
    looking.server(known(3, 300, "<a@x>"))
        .then("S: P5 OK\nC: P6 SELECT \"Work\"\nS: * OK [UIDVALIDITY 2]\nS: P6 OK\n"
              "C: P7 UID SEARCH UID 40:* ALL\nS: P7 OK\n"
              "C: P8 SELECT \"INBOX\"\nS: * OK [UIDVALIDITY 8]\nS: P8 OK");
    Providing providing({lostCopy(), looking});
    expectUnsupported(providing->moveToLabel(both(), work), u"This message is no longer on the server."_s);
}

TEST(IMAPTransfers, TakesAMoveWhoseAnswerWasLostForDone)
{
    const Script lost = signedIn().then(selected).then("C: P5 UID MOVE 3,5 \"Work\"\n[CLOSE]");
    const Script again =
        signedIn().then(selected).then("C: P5 UID MOVE 3,5 \"Work\"\nS: P5 NO no such messages\n"
                                       "C: P6 UID SEARCH UID 3,5");
    Providing done({lost, Script(again).then("S: * SEARCH\nS: P6 OK")});
    await(done->moveToLabel(both(), work));
    Providing left({lost, Script(again).then("S: * SEARCH 5\nS: P6 OK")});
    expectProtocolError(left->moveToLabel(both(), work), u"no such messages"_s);
    Providing first({signedIn().then(selected).then("C: P5 UID MOVE 3,5 \"Work\"\nS: P5 NO over quota")});
    expectProtocolError(first->moveToLabel(both(), work), u"over quota"_s);
}

// --- Drafts that are saved again

OutgoingMessage draft(const QString& text, const QString& messageID = u"1@x.example"_s)
{
    OutgoingMessage message;
    message.from = EmailAddress(u"Ann"_s, u"ann@x.example"_s);
    message.subject = text;
    message.messageID = messageID;
    return message;
}

constexpr std::string_view lists = "C: P4 LIST \"\" \"*\"\nS: * LIST () \"/\" Drafts\nS: P4 OK";
constexpr std::string_view appendedFirst = "C: P5 STATUS \"Drafts\" (UIDNEXT UIDVALIDITY)\n"
                                           "S: * STATUS Drafts (UIDNEXT 30 UIDVALIDITY 4)\nS: P5 OK\n"
                                           "C: P6 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\n[CLOSE]";
constexpr std::string_view appended = "C: P4 STATUS \"Drafts\" (UIDNEXT UIDVALIDITY)\nS: P4 OK\n"
                                      "C: P5 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\n[CLOSE]";
constexpr std::string_view looked = "C: P4 STATUS \"Drafts\" (UIDNEXT UIDVALIDITY)\n"
                                    "S: * STATUS Drafts (UIDNEXT 50 UIDVALIDITY 4)\nS: P4 OK\n"
                                    "C: P5 SELECT \"Drafts\"\nS: * OK [UIDVALIDITY 4]\nS: P5 OK\n"
                                    "C: P6 UID SEARCH UID 30:* HEADER Message-ID \"<1@x.example>\"\n";

/// A provider whose servers are written down one after the other, since they tell what they were told.
class Saving {
public:
    Saving() = default;
    ~Saving() { m_servers.back()->expectUsedUp(); }
    Saving(const Saving&) = delete;
    Saving& operator=(const Saving&) = delete;

    /// From now on new connections find these.
    void serve(const QList<Script>& scripts, const Place& where = Place::current())
    {
        if (!m_servers.empty())
            m_servers.back()->expectUsedUp();
        m_servers.push_back(std::make_unique<ScriptedServer>(scripts, where));
    }
    Task<> save(const OutgoingMessage& message) { return m_provider->saveDraft(message, std::nullopt); }

    /// Saves a draft of which nobody knows whether it is there, and gives what was sent.
    QByteArray loseAnswer(const OutgoingMessage& message = draft(u"first"_s))
    {
        const Script first = signedIn().then(lists).then(appendedFirst);
        const Script further = signedIn().then(appended);
        serve({m_servers.empty() ? first : further, Script("[REFUSED]")});
        EXPECT_THROW(await(save(message)), LocalizedError);
        return m_servers.back()->connection(0).kept().value(0);
    }
    QByteArray kept(qsizetype connection = 0) const
    {
        return m_servers.back()->connection(connection).kept().value(0);
    }

private:
    std::vector<std::unique_ptr<ScriptedServer>> m_servers;
    std::shared_ptr<IMAPProvider> m_provider =
        IMAPProvider::create(someAccount(), MailAuth::password(u"secret"_s), nullptr,
                             [this](const QString& host, int port, bool implicitTLS) {
                                 return m_servers.back()->factory()(host, port, implicitTLS);
                             });
};

/// The answer to a FETCH of what a stored draft is known by.
QByteArray stored(qint64 uid, const QByteArray& messageID, const QByteArray& date)
{
    const QByteArray header = "Date: " + date + "\r\nMessage-ID: " + messageID + "\r\n\r\n";
    return "* 1 FETCH (UID " + QByteArray::number(uid) + " BODY[HEADER.FIELDS (MESSAGE-ID DATE)] {" +
           QByteArray::number(header.size()) + "}\r\n" + header + ")\r\n";
}

QByteArray dateOf(const QByteArray& message)
{
    return MIMEParser::parse(message).headers.value(u"Date").value_or(QString()).toUtf8();
}

TEST(IMAPTransfers, DeletesTheDraftWhoseAnswerWasLostOnceItIsStoredAgain)
{
    Saving saving;
    const QByteArray date = dateOf(saving.loseAnswer());
    const QByteArray id = "<1@x.example>";
    // Another program's state of the draft, an older one, another draft, and one that can't be told from
    // others stay; so does what wasn't asked for.
    const QByteArray found = stored(31, id, date) + stored(29, id, date) +
                             stored(32, id, "Mon, 1 Jan 2001 00:00:00 +0000") +
                             stored(33, "<1@x.example>x", date) + "* 1 FETCH (UID 34)\r\n" +
                             stored(35, id, date) + stored(36, id, date);
    saving.serve({signedIn()
                      .then(looked)
                      .then("S: * SEARCH 29 31 32 33 34 36\nS: P6 OK\n"
                            "C: P7 UID FETCH 31:34,36 (UID BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE)])")
                      .server(found)
                      .then("S: P7 OK\nC: P8 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\nS: P8 OK\n"
                            "C: P9 UID STORE 31,36 +FLAGS.SILENT (\\Deleted)\nS: P9 OK\n"
                            "C: P10 UID EXPUNGE 31,36\nS: P10 OK\n"
                            // What is settled isn't looked for any more.
                            "C: P11 STATUS \"Drafts\" (UIDNEXT UIDVALIDITY)\nS: P11 OK\n"
                            "C: P12 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\nS: P12 OK")});
    await(saving.save(draft(u"second"_s)));
    EXPECT_TRUE(saving.kept().contains("Subject: second")) << "the text may have changed";
    await(saving.save(draft(u"third"_s)));
}

TEST(IMAPTransfers, DeletesEachDraftWhoseAnswerWasLost)
{
    Saving saving;
    const QByteArray first = dateOf(saving.loseAnswer());
    saving.serve({signedIn().then(looked).then("S: * SEARCH\nS: P6 OK\n"
                                               "C: P7 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\n[CLOSE]"),
                  Script("[REFUSED]")});
    EXPECT_THROW(await(saving.save(draft(u"second"_s))), LocalizedError);
    const QByteArray second = dateOf(saving.kept());
    saving.serve({signedIn()
                      .then(looked)
                      .then("S: * SEARCH 49 50\nS: P6 OK\n"
                            "C: P7 UID FETCH 49:50 (UID BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE)])")
                      .server(stored(49, "<1@x.example>", first) + stored(50, "<1@x.example>", second))
                      .then("S: P7 OK\nC: P8 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\nS: P8 OK\n"
                            "C: P9 UID STORE 49:50 +FLAGS.SILENT (\\Deleted)\nS: P9 OK\nC: P10 UID EXPUNGE "
                            "49:50\nS: P10 OK")});
    await(saving.save(draft(u"third"_s)));
}

TEST(IMAPTransfers, StoresADraftAgainWhereWhatIsThereMayBeAnOlderText)
{
    // A second try alone would take the copy for what it sent itself.
    Saving saving;
    const QByteArray date = dateOf(saving.loseAnswer());
    saving.serve(
        {signedIn().then(looked).then("S: * SEARCH\nS: P6 OK\n"
                                      "C: P7 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\n[CLOSE]"),
         signedIn()
             .then("C: P4 SELECT \"Drafts\"\nS: * OK [UIDVALIDITY 4]\nS: P4 OK\n"
                   "C: P5 UID SEARCH UID 30:* HEADER Message-ID \"<1@x.example>\"\nS: * SEARCH 60\nS: P5 OK\n"
                   "C: P6 UID FETCH 60 (UID BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE)])")
             .server(stored(60, "<1@x.example>", date))
             .then(
                 "S: P6 OK\nC: P7 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\nS: P7 OK\n"
                 "C: P8 UID STORE 60 +FLAGS.SILENT (\\Deleted)\nS: P8 OK\nC: P9 UID EXPUNGE 60\nS: P9 OK")});
    await(saving.save(draft(u"second"_s)));
    EXPECT_TRUE(saving.kept(1).contains("Subject: second"));
}

TEST(IMAPTransfers, DeletesNoDraftUntilAnotherOneIsStored)
{
    Saving saving;
    const QByteArray date = dateOf(saving.loseAnswer());
    saving.serve(
        {signedIn()
             .then(looked)
             .then("S: * SEARCH 31\nS: P6 OK\nC: P7 UID FETCH 31 (UID BODY.PEEK[HEADER.FIELDS (MESSAGE-ID "
                   "DATE)])")
             .server(stored(31, "<1@x.example>", date))
             .then("S: P7 OK\nC: P8 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\nS: P8 NO over quota")});
    expectProtocolError(saving.save(draft(u"second"_s)), u"over quota"_s);
}

TEST(IMAPTransfers, DeletesNoDraftThatIsNotSurelyTheOneWhoseAnswerWasLost)
{
    const std::string_view stores = "C: P6 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\nS: P6 OK";
    const std::string_view numberless = "C: P4 STATUS \"Drafts\" (UIDNEXT UIDVALIDITY)\nS: P4 OK\n";
    // Its numbers mean something else now, or mean nothing.
    for (const std::string_view selection :
         {"S: * OK [UIDVALIDITY 5]\nS: P5 OK\n", "S: P5 OK\n", "S: P5 NO no\n"}) {
        Saving saving;
        saving.loseAnswer();
        saving.serve(
            {signedIn().then(numberless).then("C: P5 SELECT \"Drafts\"").then(selection).then(stores)});
        await(saving.save(draft(u"second"_s)));
    }
    // It could be deleted only along with others.
    Saving saving;
    saving.loseAnswer();
    saving.serve({signedIn("MOVE")
                      .then(numberless)
                      .then("C: P5 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\nS: P5 OK")});
    await(saving.save(draft(u"second"_s)));
    // It is another draft.
    Saving other;
    other.loseAnswer();
    other.serve(
        {signedIn().then(numberless).then("C: P5 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\nS: P5 OK")});
    await(other.save(draft(u"second"_s, u"2@x.example"_s)));
}

TEST(IMAPTransfers, StoresADraftOnceThoughTheOneBeforeCannotBeDeleted)
{
    for (const std::string_view end : {"S: P9 NO no", "[CLOSE]"}) {
        Saving saving;
        const QByteArray date = dateOf(saving.loseAnswer());
        saving.serve({signedIn()
                          .then(looked)
                          .then("S: * SEARCH 31\nS: P6 OK\nC: P7 UID FETCH 31 (UID BODY.PEEK[HEADER.FIELDS "
                                "(MESSAGE-ID DATE)])")
                          .server(stored(31, "<1@x.example>", date))
                          .then("S: P7 OK\nC: P8 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\nS: P8 OK\n"
                                "C: P9 UID STORE 31 +FLAGS.SILENT (\\Deleted)")
                          .then(end)});
        await(saving.save(draft(u"second"_s)));
    }
}

TEST(IMAPTransfers, RemembersTheLatestDraftsWhoseAnswersWereLost)
{
    Saving saving;
    saving.loseAnswer(draft(u"first"_s, u"0@x.example"_s));
    for (qsizetype number = 1; number <= IMAPTransfers::unansweredLimit; ++number)
        saving.loseAnswer(draft(u"further"_s, QString::number(number) + u"@x.example"_s));
    saving.serve({signedIn().then(
        "C: P4 STATUS \"Drafts\" (UIDNEXT UIDVALIDITY)\nS: P4 OK\n"
        "C: P5 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\nS: P5 OK\n"
        "C: P6 STATUS \"Drafts\" (UIDNEXT UIDVALIDITY)\nS: P6 OK\nC: P7 SELECT \"Drafts\"\nS: P7 OK\n"
        "C: P8 APPEND \"Drafts\" (\\Draft \\Seen) [LITERAL]\nS: P8 OK")});
    await(saving.save(draft(u"again"_s, u"0@x.example"_s)));
    // That one was remembered for a moment in the place of the next one.
    await(saving.save(draft(u"again"_s, u"2@x.example"_s)));
}

} // namespace
} // namespace Larkhaven
