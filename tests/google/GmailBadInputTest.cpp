#include "GmailFixture.h"
#include "domain/MailError.h"
#include "platform/Tasks.h"
#include "support/Await.h"
#include "support/Gzip.h"
#include "support/QtPrinters.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <gtest/gtest.h>
#include <iostream>

using namespace Qt::StringLiterals;

// Every operation on a Google account, with every kind of bad answer in place of each of its requests.

namespace Larkhaven {
namespace {

const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);

// --- Bad answers

using Spoil = WebReply (*)(const WebReply& good);

WebReply whole(int status, const QByteArray& body, const QByteArray& type = "application/json")
{
    return {.status = status, .body = body, .headers = {{"Content-Type", type}}};
}

const QByteArray page =
    "<!DOCTYPE html><html><head><title>Sign in</title></head><body>{\"a\": 1}</body></html>";

/// A head and a body as they go over the wire.
QByteArray wire(const QByteArray& body, const QByteArray& headers = {})
{
    return "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n" + headers + "\r\n" + body;
}

QByteArray length(qsizetype size)
{
    return "Content-Length: " + QByteArray::number(size) + "\r\n";
}

struct BadAnswer {
    const char* name;
    Spoil spoil;
};

const QList<BadAnswer> badAnswers{
    {"HTML", [](const WebReply&) { return whole(200, page, "text/html"); }},
    {"HTML with 404", [](const WebReply&) { return whole(404, page, "text/html"); }},
    {"HTML with 502", [](const WebReply&) { return whole(502, page, "text/html"); }},
    {"HTML with 403", [](const WebReply&) { return whole(403, page, "text/html"); }},
    {"JSON of another shape with 400",
     [](const WebReply&) { return whole(400, R"({"fault":{"why":["x"]}})"); }},
    {"an error with a list for a message",
     [](const WebReply&) { return whole(400, R"({"error":{"code":"x","message":["{}"]}})"); }},
    {"an error whose message is long",
     [](const WebReply&) {
         return whole(400, R"({"error":{"message":")" + QByteArray(1'000'000, 'x') + "\"}}");
     }},
    {"a list", [](const WebReply&) { return whole(200, "[]"); }},
    {"a number", [](const WebReply&) { return whole(200, "7"); }},
    {"null", [](const WebReply&) { return whole(200, "null"); }},
    {"words", [](const WebReply&) { return whole(200, "Service unavailable", "text/plain"); }},
    {"nothing", [](const WebReply&) { return whole(200, ""); }},
    {"no content", [](const WebReply&) { return WebReply{.status = 204}; }},
    {"an empty object", [](const WebReply&) { return whole(200, "{}"); }},
    {"deep nesting", [](const WebReply&) { return whole(200, QByteArray(100'000, '[')); }},
    {"an object in an object, and so on",
     [](const WebReply&) {
         return whole(200, QByteArray("{\"a\":").repeated(2000) + QByteArray(2000, '}'));
     }},
    {"other bytes than UTF-8",
     [](const WebReply&) { return whole(200, "{\"id\":\"\xff\xfe\",\"a\":\"\xc3\"}"); }},
    {"a cut body in its frame",
     [](const WebReply& good) { return whole(200, good.body.first(good.body.size() / 2)); }},
    {"a body that ends early",
     [](const WebReply& good) {
         return WebReply::bytes(wire(good.body.first(good.body.size() / 2), length(good.body.size() + 1)));
     }},
    {"chunks that end early",
     [](const WebReply&) { return WebReply::bytes(wire("5\r\n{\"a\"", "Transfer-Encoding: chunked\r\n")); }},
    {"a head that ends early",
     [](const WebReply&) { return WebReply::bytes("HTTP/1.1 200 OK\r\nContent-Le"); }},
    {"no HTTP", [](const WebReply&) { return WebReply::bytes("220 mail.example.org ESMTP\r\n"); }},
    {"an end of the connection", [](const WebReply&) { return WebReply{.end = WebReply::End::drop}; }},
    {"broken gzip",
     [](const WebReply&) {
         return WebReply{200, "no gzip", {{"Content-Encoding", "gzip"}}};
     }},
    {"cut gzip",
     [](const WebReply& good) {
         const QByteArray body = zipped(good.body + "{}");
         return WebReply{200, body.first(body.size() / 2), {{"Content-Encoding", "gzip"}}};
     }},
    {"an encoding that nobody asked for",
     [](const WebReply& good) {
         return WebReply{200, good.body, {{"Content-Encoding", "br"}}};
     }},
    {"a header of a megabyte",
     [](const WebReply& good) {
         return WebReply{200, good.body, {{"X-Long", QByteArray(1'000'000, 'x')}}};
     }},
    {"a redirect to another host",
     [](const WebReply&) { return WebReply::redirect(302, "https://accounts.google.com/signin"); }},
    {"a redirect without TLS",
     [](const WebReply&) {
         return WebReply::redirect(307, "http://gmail.googleapis.com/gmail/v1/users/me/profile");
     }},
    {"a redirect to nowhere", [](const WebReply&) { return WebReply::redirect(302, "https://"); }},
};

// --- Wrong types

/// The value as one of another type, or with each value within it so changed.
using Change = QJsonValue (*)(const QJsonValue& value);

QJsonValue everywhere(const QJsonValue& value, Change change)
{
    if (value.isArray()) {
        QJsonArray result;
        for (const QJsonValue& entry : value.toArray())
            result.append(everywhere(entry, change));
        return change(result);
    }
    if (value.isObject()) {
        QJsonObject result;
        const QJsonObject object = value.toObject();
        for (auto entry = object.begin(); entry != object.end(); ++entry)
            result.insert(entry.key(), everywhere(entry.value(), change));
        return change(result);
    }
    return change(value);
}

template <QJsonValue (*change)(const QJsonValue&)>
WebReply retyped(const WebReply& good)
{
    // The whole stays an object, so that its fields are read.
    QJsonObject result;
    const QJsonObject object = QJsonDocument::fromJson(good.body).object();
    for (auto entry = object.begin(); entry != object.end(); ++entry)
        result.insert(entry.key(), everywhere(entry.value(), change));
    return whole(good.status == 204 ? 200 : good.status, QJsonDocument(result).toJson());
}

QJsonValue stringsToNumbers(const QJsonValue& value)
{
    return value.isString() ? QJsonValue(-1e300) : value;
}

QJsonValue stringsToObjects(const QJsonValue& value)
{
    return value.isString() ? QJsonValue(QJsonObject{{u"id"_s, value}}) : value;
}

QJsonValue numbersToStrings(const QJsonValue& value)
{
    return value.isDouble() ? QJsonValue(u"many"_s) : value;
}

QJsonValue listsToObjects(const QJsonValue& value)
{
    return value.isArray() ? QJsonValue(QJsonObject{{u"0"_s, value.toArray().first()}}) : value;
}

QJsonValue objectsToLists(const QJsonValue& value)
{
    return value.isObject() ? QJsonValue(QJsonArray{value.toObject().value(u"id"_s)}) : value;
}

QJsonValue everythingToNull(const QJsonValue&)
{
    return QJsonValue::Null;
}

QJsonValue listsWithOthers(const QJsonValue& value)
{
    if (!value.isArray())
        return value;
    QJsonArray list = value.toArray();
    for (const QJsonValue& other :
         {QJsonValue(), QJsonValue(1.5), QJsonValue(u""_s), QJsonValue(QJsonArray{QJsonArray()})})
        list.prepend(other);
    return list;
}

QJsonValue longStrings(const QJsonValue& value)
{
    return value.isString() ? QJsonValue(QString(5'000, u'\u202e')) : value;
}

const QList<BadAnswer> wrongTypes{
    {"numbers for texts", retyped<stringsToNumbers>},  {"objects for texts", retyped<stringsToObjects>},
    {"texts for numbers", retyped<numbersToStrings>},  {"objects for lists", retyped<listsToObjects>},
    {"lists for objects", retyped<objectsToLists>},    {"null for everything", retyped<everythingToNull>},
    {"others in each list", retyped<listsWithOthers>}, {"long texts", retyped<longStrings>},
};

// --- Operations

struct Operation {
    const char* name;
    Task<> (*run)(GmailFixture& fixture, int number);
};

template <typename T>
Task<> finish(Task<T> task)
{
    co_await task;
}

OutgoingMessage text(int number)
{
    OutgoingMessage message;
    message.from = {std::nullopt, u"user@gmail.com"_s};
    message.to = {{std::nullopt, u"bob@example.org"_s}};
    message.subject = u"Boat"_s;
    message.messageID = u"text-%1@example.org"_s.arg(number);
    return message;
}

MailLabel newLabel(GmailFixture& fixture, int number)
{
    const QString name = u"Label of %1"_s.arg(number);
    fixture.mailbox().createLabel(name + u"/Below"_s);
    return {fixture.mailbox().createLabel(name), name};
}

const QList<Operation> operations{
    {"listMessages",
     [](GmailFixture& fixture, int number) {
         for (int count = 0; count < 3; ++count)
             fixture.receive("new" + QByteArray::number(number));
         fixture.mailbox().modify(fixture.mailbox().messages().last().id, {u"STARRED"_s}, {});
         return finish(fixture.provider().listMessages(inbox, std::nullopt, 0, 10, true));
     }},
    {"listMessages of a label after the history has expired",
     [](GmailFixture& fixture, int number) {
         const MailLabel label = newLabel(fixture, number);
         fixture.receive("new", {label.id});
         fixture.mailbox().expireHistory();
         return finish(fixture.provider().listMessages(MailboxRef::label(label), std::nullopt, 0, 10, true));
     }},
    {"lastPageOffset",
     [](GmailFixture& fixture, int number) {
         return finish(fixture.provider().lastPageOffset(inbox, QString::number(number), 10));
     }},
    {"listLabels", [](GmailFixture& fixture, int) { return finish(fixture.provider().listLabels()); }},
    {"counts", [](GmailFixture& fixture, int) { return finish(fixture.provider().counts({})); }},
    {"inboxUnreadCount",
     [](GmailFixture& fixture, int) { return finish(fixture.provider().inboxUnreadCount()); }},
    {"fetchRaw",
     [](GmailFixture& fixture, int) { return finish(fixture.provider().fetchRaw(fixture.receive("raw"))); }},
    {"threadID", [](GmailFixture& fixture,
                    int) { return finish(fixture.provider().threadID(fixture.receive("thread"))); }},
    {"wasSent",
     [](GmailFixture& fixture, int number) {
         return finish(fixture.provider().wasSent(u"text-%1@example.org"_s.arg(number)));
     }},
    {"setRead",
     [](GmailFixture& fixture, int) { return fixture.provider().setRead(true, {fixture.receive("read")}); }},
    {"trash", [](GmailFixture& fixture, int) { return fixture.provider().trash({fixture.receive("gone")}); }},
    {"send",
     [](GmailFixture& fixture, int number) { return fixture.provider().send(text(number), std::nullopt); }},
    {"send of a draft",
     [](GmailFixture& fixture, int number) {
         const QString draft = fixture.mailbox().createDraft(GmailFixture::raw("draft"));
         return fixture.provider().send(text(number), fixture.mailbox().drafts().value(draft));
     }},
    {"saveDraft",
     [](GmailFixture& fixture, int number) {
         const QString draft = fixture.mailbox().createDraft(GmailFixture::raw("draft"));
         return fixture.provider().saveDraft(text(number), fixture.mailbox().drafts().value(draft));
     }},
    {"createLabel",
     [](GmailFixture& fixture, int number) {
         return finish(fixture.provider().createLabel(u"New %1/Below"_s.arg(number)));
     }},
    {"renameLabel",
     [](GmailFixture& fixture, int number) {
         return finish(fixture.provider().renameLabel(newLabel(fixture, number), u"Other %1"_s.arg(number)));
     }},
    {"deleteLabel", [](GmailFixture& fixture,
                       int number) { return fixture.provider().deleteLabel(newLabel(fixture, number)); }},
};

class GmailBadInputTest : public testing::TestWithParam<int> {
protected:
    /// Has the bad answer take the place of each request of the operation, one after the other.
    void spoilEach(const Operation& operation, const BadAnswer& bad)
    {
        constexpr int mostRequests = 60;
        bool isSpoilt = true;
        for (int position = 0; isSpoilt && position < mostRequests; ++position) {
            SCOPED_TRACE(std::string(operation.name) + ", " + bad.name + ", request " +
                         std::to_string(position));
            int request = 0;
            isSpoilt = false;
            fixture.services.setAfterHook([&](const WebRequest& asked, WebReply reply) {
                if (asked.host != "gmail.googleapis.com" || request++ != position)
                    return reply;
                isSpoilt = true;
                return bad.spoil(reply);
            });
            ++m_runs;
            judge(operation.run(fixture, ++m_number));
            EXPECT_LT(request, mostRequests);
            fixture.services.setAfterHook({});
        }
    }

    /// The operation ends; where it fails, in words for the user.
    void judge(Task<> task)
    {
        try {
            await(std::move(task));
        } catch (const LocalizedError& error) {
            ++m_failures;
            const QString words = error.localizedText();
            EXPECT_FALSE(words.trimmed().isEmpty());
            EXPECT_LT(words.size(), 1000);
            for (const QString& raw :
                 {u"{"_s, u"}"_s, u"<"_s, u"DOCTYPE"_s, u"\""_s, u"["_s, u"ya29"_s, u"1//0"_s, u"\u202e"_s})
                EXPECT_FALSE(words.contains(raw)) << words.toStdString();
        } catch (const std::exception& error) {
            ADD_FAILURE() << "an error without words: " << error.what();
        }
    }

    /// What is on the server is shown.
    void expectTruth()
    {
        await(fixture.provider().listLabels());
        for (const Mailbox role :
             {Mailbox::inbox, Mailbox::archive, Mailbox::sent, Mailbox::drafts, Mailbox::trash}) {
            const MailboxRef ref = MailboxRef::system(role);
            const MessagePage shown = await(fixture.provider().listMessages(ref, std::nullopt, 0, 500, true));
            QList<MessageSummary> expected;
            for (const GmailMailbox::Message& message : fixture.listed(ref, std::nullopt).mid(0, 500))
                expected.append(fixture.row(message));
            EXPECT_EQ(shown.messages, expected) << ref.id().toStdString();
        }
        EXPECT_EQ(fixture.services.violations(), QStringList());
    }

    GmailFixture fixture;
    int m_runs = 0;
    int m_failures = 0;

private:
    int m_number = 0;
};

class GmailBadAnswers : public GmailBadInputTest {};
class GmailWrongTypes : public GmailBadInputTest {};

TEST_P(GmailBadAnswers, EndInWordsOrAreGotOver)
{
    const Operation& operation = operations[GetParam()];
    for (const BadAnswer& bad : badAnswers)
        spoilEach(operation, bad);
    expectTruth();
    std::cout << operation.name << ": " << m_runs << " runs, " << m_failures << " failed\n";
    EXPECT_GE(m_runs, 2 * badAnswers.size()) << "each answer was given, and each operation ended without it";
}

TEST_P(GmailWrongTypes, EndInWordsOrAreGotOver)
{
    const Operation& operation = operations[GetParam()];
    for (const BadAnswer& bad : wrongTypes)
        spoilEach(operation, bad);
    std::cout << operation.name << ": " << m_runs << " runs, " << m_failures << " failed\n";
    EXPECT_GE(m_runs, 2 * wrongTypes.size());
}

std::string nameOf(const testing::TestParamInfo<int>& info)
{
    QByteArray name(operations[info.param].name);
    return name.replace(' ', "").toStdString();
}

INSTANTIATE_TEST_SUITE_P(Operations, GmailBadAnswers, testing::Range(0, static_cast<int>(operations.size())),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Operations, GmailWrongTypes, testing::Range(0, static_cast<int>(operations.size())),
                         nameOf);

class GmailOddAnswersTest : public GmailBadInputTest {};

TEST_F(GmailOddAnswersTest, ThatAreCompressedAreRead)
{
    fixture.receive("a");
    fixture.services.setAfterHook([](const WebRequest&, WebReply reply) {
        reply.body = zipped(reply.body);
        reply.headers.append(std::pair<QByteArray, QByteArray>("Content-Encoding", "gzip"));
        return reply;
    });
    expectTruth();
}

TEST_F(GmailOddAnswersTest, ThatComeSlowlyAreRead)
{
    fixture.receive("a");
    fixture.services.setAfterHook([](const WebRequest&, WebReply reply) {
        reply.pieces = 3;
        return reply;
    });
    const MessagePage shown = await(fixture.provider().listMessages(inbox, std::nullopt, 0, 10, true));
    EXPECT_EQ(shown.messages.size(), 1);
}

TEST_F(GmailOddAnswersTest, ThatAreCutAtAnyPointEndInWords)
{
    const QByteArray body = R"({"messagesUnread":5})";
    const QByteArray reply = wire(body, length(body.size()));
    for (qsizetype size = 0; size < reply.size(); ++size) {
        fixture.services.setHook(
            [&](const WebRequest&) { return std::optional(WebReply::bytes(reply.first(size))); });
        judge(finish(fixture.provider().inboxUnreadCount()));
    }
    EXPECT_EQ(m_failures, reply.size());
    fixture.services.setHook([&](const WebRequest&) { return std::optional(WebReply::bytes(reply)); });
    EXPECT_EQ(await(fixture.provider().inboxUnreadCount()), 5);
}

TEST_F(GmailOddAnswersTest, ThatNeverComeEndInWords)
{
    // All of them wait out the same time.
    fixture.services.setHook(
        [](const WebRequest&) { return std::optional(WebReply{.end = WebReply::End::silent}); });
    const QList<QByteArray> asking{"lastPageOffset", "listLabels", "inboxUnreadCount", "fetchRaw",
                                   "threadID",       "wasSent",    "setRead",          "send",
                                   "createLabel",    "deleteLabel"};
    QList<Begun<void>> begun;
    for (const Operation& operation : operations) {
        if (!asking.contains(operation.name))
            continue;
        // Changes through one provider go out one after the other.
        fixture.restart();
        begun.append(Begun<void>(operation.run(fixture, static_cast<int>(begun.size()))));
    }
    EXPECT_EQ(begun.size(), asking.size());
    EXPECT_TRUE(waitUntil([&] { return std::ranges::all_of(begun, &Begun<void>::isDone); },
                          2 * std::chrono::milliseconds(AuthorizedAPI::timeout)));
    for (Begun<void>& task : begun) {
        try {
            task.get();
            ADD_FAILURE() << "nothing failed";
        } catch (const LocalizedError& error) {
            EXPECT_TRUE(error.localizedText().contains(u"stopped responding"_s))
                << error.localizedText().toStdString();
        }
    }
    EXPECT_EQ(fixture.services.allRequests().size(), asking.size()) << "none is sent again";
}

TEST_F(GmailOddAnswersTest, GiveTheWordsOfGooglesError)
{
    fixture.services.setHook([](const WebRequest&) {
        return std::optional(
            whole(400, R"({"error":{"code":400,"message":"Precondition check failed.","status":"X"}})"));
    });
    expectMailError(fixture.provider().listLabels(), MailError::Kind::http, u"Precondition check failed."_s);
}

TEST_F(GmailOddAnswersTest, WithHeadersOfAMegabyteMakeARow)
{
    const QByteArray long1(1'000'000, 'a');
    const QString id = fixture.mailbox().insert(
        {.raw = "From: " + long1 + " <a@b>\r\nTo: " + QByteArray("a@b, ").repeated(200'000) +
                "c@d\r\nSubject: " + long1 + "\r\n\r\nText",
         .labelIds = {u"INBOX"_s}});
    const MessagePage shown = await(fixture.provider().listMessages(inbox, std::nullopt, 0, 10, true));
    ASSERT_EQ(shown.messages.size(), 1);
    EXPECT_EQ(shown.messages[0].id, id);
    EXPECT_EQ(shown.messages[0].snippet, u"Text"_s);
}

} // namespace
} // namespace Larkhaven
