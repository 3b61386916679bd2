#include "support/GoogleServices.h"

#include "http/SecureHTTP.h"
#include "support/Await.h"
#include "support/FieldMask.h"
#include "support/QtPrinters.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using Failure = GoogleServices::Failure;

class GoogleServicesTest : public testing::Test {
protected:
    HTTPRequest request(const QByteArray& method, const QByteArray& path) const
    {
        return {"https://gmail.googleapis.com/gmail/v1/users/me/" + path,
                method,
                {{"Authorization", "Bearer " + token}, {"Accept", "application/json"}}};
    }

    HTTPRequest json(const QByteArray& method, const QByteArray& path, const QByteArray& body) const
    {
        HTTPRequest result = request(method, path);
        result.setHeader("Content-Type", "application/json");
        result.body = body;
        return result;
    }

    HTTPRequest upload(const QByteArray& method, const QByteArray& path, const QByteArray& metadata,
                       const QByteArray& raw) const
    {
        HTTPRequest result = request(method, {});
        result.url =
            "https://gmail.googleapis.com/upload/gmail/v1/users/me/" + path + "?uploadType=multipart";
        result.setHeader("Content-Type", "multipart/related; boundary=b_1");
        result.body = "--b_1\r\nContent-Type: application/json; charset=UTF-8\r\n\r\n" + metadata +
                      "\r\n--b_1\r\nContent-Type: message/rfc822\r\n\r\n" + raw + "\r\n--b_1--\r\n";
        return result;
    }

    QJsonObject send(const HTTPRequest& asked, int status = 200, const Place& where = Place::current())
    {
        const HTTPResponse response = await(SecureHTTP::send(asked));
        if (response.status != status)
            ADD_FAILURE_AT(where.file, where.line)
                << "status " << response.status << ": " << response.body.toStdString();
        return QJsonDocument::fromJson(response.body).object();
    }

    QJsonObject get(const QByteArray& path, const Place& where = Place::current())
    {
        return send(request("GET", path), 200, where);
    }

    /// The request is refused so, and noted once.
    void expectViolation(const HTTPRequest& asked, int status, const Place& where = Place::current())
    {
        const qsizetype before = services.violations().size();
        const QJsonObject answer = send(asked, status, where);
        const QJsonObject error = answer.value(u"error"_s).toObject();
        if (services.violations().size() != before + 1)
            ADD_FAILURE_AT(where.file, where.line)
                << "noted: " << services.violations().sliced(before).join(u'\n').toStdString();
        if (error.value(u"code"_s) != status || error.value(u"message"_s).toString().isEmpty() ||
            error.value(u"status"_s).toString().isEmpty())
            ADD_FAILURE_AT(where.file, where.line) << "no error of Google";
    }

    /// The request is refused, but a correct client might have made it.
    void expectRefusal(const HTTPRequest& asked, int status, const Place& where = Place::current())
    {
        send(asked, status, where);
        if (!services.violations().isEmpty())
            ADD_FAILURE_AT(where.file, where.line) << services.violations().constFirst().toStdString();
    }

    static QByteArray raw(const QByteArray& subject, const QByteArray& text = "Text")
    {
        return "From: Ann <ann@example.org>\r\nTo: user@gmail.com\r\nSubject: " + subject +
               "\r\nMessage-ID: <" + subject + "@example.org>\r\n\r\n" + text + "\r\n";
    }

    QString receive(const QByteArray& subject, const QSet<QString>& labelIds = {u"INBOX"_s, u"UNREAD"_s})
    {
        return services.mailbox().insert({.raw = raw(subject), .labelIds = labelIds});
    }

    static QStringList ids(const QJsonObject& answer, const QString& list = u"messages"_s)
    {
        QStringList result;
        for (const QJsonValue& entry : answer.value(list).toArray())
            result.append(entry[u"id"_s].toString());
        return result;
    }

    void TearDown() override
    {
        if (!expectsViolations) {
            EXPECT_EQ(services.violations(), QStringList());
        }
    }

    GoogleServices services;
    QByteArray token = services.google().grant().accessToken.toUtf8();
    bool expectsViolations = false;
};

// --- The description

TEST_F(GoogleServicesTest, RefusesWhatIsNotDescribed)
{
    expectsViolations = true;
    const QByteArray id = receive("a").toLatin1();
    expectViolation(request("GET", "message"), 404);
    expectViolation(request("PATCH", "messages/" + id), 404);
    expectViolation(request("GET", "messages/" + id + "/x/y"), 404);
    expectViolation(request("GET", "messages?maxResult=5"), 400);
    expectViolation(request("GET", "messages?maxResults=many"), 400);
    expectViolation(request("GET", "messages?includeSpamTrash=yes"), 400);
    expectViolation(request("GET", "messages?q=a&q=b"), 400);
    expectViolation(request("GET", "messages?q"), 400);
    expectViolation(request("GET", "messages/" + id + "?format=short"), 400);
    expectViolation(request("GET", "messages?access_token=t"), 400);
    expectViolation(request("GET", "messages?fields=messages/subject"), 400);
    expectViolation(request("GET", "messages?fields=messages("), 400);
    expectViolation(request("GET", "messages?fields=messages/id/x"), 400);
    expectViolation(json("GET", "profile", "{}"), 400);
    expectViolation(json("POST", "messages/" + id + "/trash", "{}"), 400);
    expectViolation(json("POST", "labels", "[]"), 400);
    expectViolation(json("POST", "labels", R"({"name":5})"), 400);
    expectViolation(json("POST", "labels", R"({"name":"a","colour":"b"})"), 400);
    expectViolation(json("POST", "labels", R"({"name":"a","labelListVisibility":"show"})"), 400);
    expectViolation(json("POST", "messages/batchModify", R"({"ids":"a"})"), 400);
    HTTPRequest plain = json("POST", "labels", R"({"name":"a"})");
    plain.setHeader("Content-Type", "text/plain");
    expectViolation(plain, 400);
    HTTPRequest other = request("GET", {});
    other.url = "https://gmail.googleapis.com/gmail/v1/users/you/profile";
    expectViolation(other, 403);
    expectViolation(request("DELETE", "messages/" + id), 501);
    EXPECT_EQ(services.mailbox().labelNamed(u"a"_s), nullptr);
}

TEST_F(GoogleServicesTest, NotesHeadersThatTellOfTheProgram)
{
    expectsViolations = true;
    HTTPRequest asked = request("GET", "profile");
    asked.setHeader("Accept-Language", "de");
    send(asked);
    EXPECT_EQ(services.violations(), QStringList{u"header: accept-language: de"_s});
}

TEST_F(GoogleServicesTest, AsksForATokenThatIsGood)
{
    services.expireTokens();
    expectRefusal(request("GET", "profile"), 401);
    token = services.google().grant().accessToken.toUtf8();
    EXPECT_EQ(get("profile").value(u"emailAddress"_s), u"user@gmail.com"_s);
    services.revokeGrant();
    expectRefusal(request("GET", "profile"), 401);
}

TEST_F(GoogleServicesTest, NotesATokenThatWasNeverGivenOut)
{
    expectsViolations = true;
    token = "other";
    send(request("GET", "profile"), 401);
    HTTPRequest without = request("GET", "profile");
    without.removeHeader("Authorization");
    send(without, 401);
    EXPECT_EQ(services.violations().size(), 2);
}

TEST(FieldMask, LeavesTheNamedFields)
{
    const QJsonObject whole =
        QJsonDocument::fromJson(R"({"a":[{"b":1,"c":{"d":2,"e":3}},{"b":4}],"f":5,"g":6})").object();
    const auto left = [&](const QString& text) {
        return QJsonDocument(FieldMask::parse(text)->applied(whole).toObject())
            .toJson(QJsonDocument::Compact);
    };
    EXPECT_EQ(left(u"f"_s), R"({"f":5})");
    EXPECT_EQ(left(u"a/b,g"_s), R"({"a":[{"b":1},{"b":4}],"g":6})");
    EXPECT_EQ(left(u"a(b,c/e)"_s), R"({"a":[{"b":1,"c":{"e":3}},{"b":4}]})");
    EXPECT_EQ(left(u"a/*,x"_s), R"({"a":[{"b":1,"c":{"d":2,"e":3}},{"b":4}]})");
    for (const QString& text : {u""_s, u"a,"_s, u"a("_s, u"a(b"_s, u"a)"_s, u"a//b"_s, u"a b"_s})
        EXPECT_FALSE(FieldMask::parse(text)) << text.toStdString();
}

// --- Messages

TEST_F(GoogleServicesTest, PagesAListingFromItsNewestMessage)
{
    QStringList made;
    for (int number = 0; number < 7; ++number)
        made.prepend(receive(QByteArray::number(number)));
    receive("spam", {u"SPAM"_s});
    receive("sent", {u"SENT"_s});
    QStringList listed;
    QByteArray next;
    QList<qsizetype> sizes;
    do {
        const QJsonObject page = get("messages?labelIds=INBOX&maxResults=3" + next);
        listed += ids(page);
        sizes.append(ids(page).size());
        next = page.value(u"nextPageToken"_s).toString().toLatin1();
        if (!next.isEmpty())
            next.prepend("&pageToken=");
        // What comes in between is no part of the later pages.
        receive("later");
    } while (!next.isEmpty());
    EXPECT_EQ(listed, made);
    EXPECT_EQ(sizes, (QList<qsizetype>{3, 3, 1}));
    EXPECT_EQ(ids(get("messages")).size(), 11) << "all but spam";
    EXPECT_EQ(ids(get("messages?includeSpamTrash=true")).size(), 12);
    EXPECT_EQ(ids(get("messages?labelIds=SPAM&includeSpamTrash=true")).size(), 1);
    EXPECT_TRUE(ids(get("messages?labelIds=SENT&labelIds=INBOX")).isEmpty());
}

TEST_F(GoogleServicesTest, TakesAPageTokenForItsListingAlone)
{
    receive("a");
    receive("b");
    const QByteArray next = get("messages?maxResults=1").value(u"nextPageToken"_s).toString().toLatin1();
    expectsViolations = true;
    expectViolation(request("GET", "messages?labelIds=INBOX&pageToken=" + next), 400);
    expectViolation(request("GET", "messages?pageToken=x"), 400);
}

TEST_F(GoogleServicesTest, SearchesForWordsAndFields)
{
    const QString boat = receive("boat");
    const QString sent = services.mailbox().insert(
        {.raw = "From: user@gmail.com\r\nTo: bob@example.org\r\nSubject: Re: Boat\r\nMessage-ID: <x+y@z>"
                "\r\n\r\nsee you",
         .labelIds = {u"SENT"_s}});
    const auto found = [this](const QByteArray& query) {
        return ids(get("messages?q=" + query.toPercentEncoding()));
    };
    EXPECT_EQ(found("boat"), (QStringList{sent, boat}));
    EXPECT_EQ(found("\"see you\""), QStringList{sent});
    EXPECT_EQ(found("boat from:ANN"), QStringList{boat});
    EXPECT_EQ(found("boat -from:ann"), QStringList{sent});
    EXPECT_EQ(found("in:sent rfc822msgid:<x+y@z>"), QStringList{sent});
    EXPECT_EQ(found("in:sent rfc822msgid:x@z"), QStringList());
    EXPECT_EQ(found("is:unread"), QStringList{boat});
}

TEST_F(GoogleServicesTest, GivesAMessageInTheFormatsThatAreAskedFor)
{
    const QString id = services.mailbox().insert(
        {.raw = "From: a@b\r\nX-Other: c\r\nSubject: long\r\n line\r\n\r\nIt's <5 & \"more\">",
         .labelIds = {u"INBOX"_s},
         .internalDate = 1'800'000'000'000,
         .id = u"a/b+c %"_s});
    const QByteArray path = "messages/" + id.toUtf8().toPercentEncoding();
    EXPECT_EQ(get(path + "?format=minimal"),
              (QJsonObject{{u"id"_s, id},
                           {u"threadId"_s, id},
                           {u"labelIds"_s, QJsonArray{u"INBOX"_s}},
                           {u"snippet"_s, u"It&#39;s &lt;5 &amp; &quot;more&quot;&gt;"_s},
                           {u"historyId"_s, u"1001"_s},
                           {u"internalDate"_s, u"1800000000000"_s},
                           {u"sizeEstimate"_s, services.mailbox().message(id)->raw.size()}}));
    const QJsonObject payload = get(path + "?format=metadata&metadataHeaders=subject&metadataHeaders=From")
                                    .value(u"payload"_s)
                                    .toObject();
    EXPECT_EQ(payload.value(u"mimeType"_s), u"text/plain"_s);
    EXPECT_EQ(QJsonDocument(payload.value(u"headers"_s).toArray()).toJson(QJsonDocument::Compact),
              R"([{"name":"From","value":"a@b"},{"name":"Subject","value":"long line"}])");
    const QJsonObject whole = get(path + "?format=raw&fields=raw");
    EXPECT_EQ(whole.size(), 1);
    EXPECT_EQ(
        QByteArray::fromBase64(whole.value(u"raw"_s).toString().toLatin1(), QByteArray::Base64UrlEncoding),
        services.mailbox().message(id)->raw);
    services.mailbox().remove(id);
    expectRefusal(request("GET", path + "?format=raw"), 404);
    expectsViolations = true;
    // No listing has named it.
    expectViolation(request("GET", "messages/none?format=raw"), 404);
}

TEST_F(GoogleServicesTest, ChangesLabelsAndRecordsIt)
{
    const QString one = receive("a");
    const QString other = receive("b");
    const QByteArray start = "history?startHistoryId=" + QByteArray::number(services.mailbox().historyId());
    send(json("POST", "messages/batchModify",
              R"({"addLabelIds":["STARRED"],"ids":[")" + one.toLatin1() +
                  R"(","none"],"removeLabelIds":["UNREAD"]})"),
         204);
    send(request("POST", "messages/" + other.toLatin1() + "/trash"));
    EXPECT_EQ(services.mailbox().message(one)->labelIds, (QSet<QString>{u"INBOX"_s, u"STARRED"_s}));
    EXPECT_EQ(services.mailbox().message(other)->labelIds, (QSet<QString>{u"TRASH"_s, u"UNREAD"_s}));
    EXPECT_EQ(services.mailbox().total(u"INBOX"_s), 1);
    EXPECT_EQ(services.mailbox().unread(u"TRASH"_s), 1);
    services.mailbox().remove(other);
    EXPECT_EQ(services.mailbox().total(u"TRASH"_s), 0);
    EXPECT_EQ(services.mailbox().unread(u"TRASH"_s), 0);
    const QString later = receive("c");

    const QJsonObject answer = get(start);
    EXPECT_EQ(answer.value(u"historyId"_s), QString::number(services.mailbox().historyId()));
    QStringList changes;
    for (const QJsonValue& record : answer.value(u"history"_s).toArray()) {
        for (const QString& name :
             {u"messagesAdded"_s, u"messagesDeleted"_s, u"labelsAdded"_s, u"labelsRemoved"_s}) {
            for (const QJsonValue& entry : record[name].toArray())
                changes.append(name + u' ' + entry[u"message"_s][u"id"_s].toString() + u' ' +
                               entry[u"labelIds"_s].toVariant().toStringList().join(u','));
        }
    }
    EXPECT_EQ(changes,
              (QStringList{u"labelsAdded %1 STARRED"_s.arg(one), u"labelsRemoved %1 UNREAD"_s.arg(one),
                           u"labelsAdded %1 TRASH"_s.arg(other), u"labelsRemoved %1 INBOX"_s.arg(other),
                           u"messagesDeleted %1 "_s.arg(other), u"messagesAdded %1 "_s.arg(later)}));
}

TEST_F(GoogleServicesTest, PagesHistoryAndExpiresIt)
{
    const QByteArray position = QByteArray::number(services.mailbox().historyId());
    for (int number = 0; number < 5; ++number)
        receive(QByteArray::number(number));
    QList<qsizetype> sizes;
    QByteArray next;
    do {
        const QJsonObject page = get("history?maxResults=2&startHistoryId=" + position + next);
        sizes.append(page.value(u"history"_s).toArray().size());
        next = page.value(u"nextPageToken"_s).toString().toLatin1();
        if (!next.isEmpty())
            next.prepend("&pageToken=");
    } while (!next.isEmpty());
    EXPECT_EQ(sizes, (QList<qsizetype>{2, 2, 1}));
    services.expireHistory();
    expectRefusal(request("GET", "history?startHistoryId=" + position), 404);
    const QByteArray now = get("profile").value(u"historyId"_s).toString().toLatin1();
    EXPECT_FALSE(get("history?startHistoryId=" + now).contains(u"history"_s));
}

TEST_F(GoogleServicesTest, RefusesChangesThatACorrectClientWouldNotMake)
{
    expectsViolations = true;
    const QByteArray id = receive("a").toLatin1();
    const auto change = [&](const QByteArray& idList, const QByteArray& add, const QByteArray& remove) {
        return json("POST", "messages/batchModify",
                    R"({"ids":[)" + idList + R"(],"addLabelIds":[)" + add + R"(],"removeLabelIds":[)" +
                        remove + "]}");
    };
    QByteArray many;
    for (int number = 0; number <= 1000; ++number)
        many += (number == 0 ? "\"" : ",\"") + QByteArray::number(number) + '"';
    expectViolation(change("", R"("STARRED")", ""), 400);
    expectViolation(change(many, R"("STARRED")", ""), 400);
    expectViolation(change(R"("a","a")", R"("STARRED")", ""), 400);
    expectViolation(change(R"("a")", "", ""), 400);
    expectViolation(change(R"("a")", R"("Label_9")", ""), 400);
    expectViolation(change(R"("a")", R"("SENT")", ""), 400);
    expectViolation(change(R"("a")", R"("INBOX")", R"("INBOX")"), 400);
    EXPECT_EQ(services.mailbox().history().size(), 1U) << "nothing was changed";
}

// --- Labels

TEST_F(GoogleServicesTest, KeepsLabelsWithTheirCounts)
{
    const QJsonObject made =
        send(json("POST", "labels", R"({"name":"Work","labelListVisibility":"labelHide"})"));
    const QString id = made.value(u"id"_s).toString();
    EXPECT_EQ(made, (QJsonObject{{u"id"_s, id},
                                 {u"name"_s, u"Work"_s},
                                 {u"type"_s, u"user"_s},
                                 {u"labelListVisibility"_s, u"labelHide"_s},
                                 {u"messageListVisibility"_s, u"show"_s}}));
    expectRefusal(json("POST", "labels", R"({"name":"work"})"), 409);
    const QString read = receive("a", {id});
    receive("b", {id, u"UNREAD"_s});
    services.mailbox().insert({.raw = raw("c"), .labelIds = {id, u"UNREAD"_s}, .threadId = read});
    EXPECT_EQ(
        get("labels/" + id.toLatin1() + "?fields=messagesUnread,messagesTotal,threadsTotal,threadsUnread"),
        (QJsonObject{{u"messagesTotal"_s, 3},
                     {u"messagesUnread"_s, 2},
                     {u"threadsTotal"_s, 2},
                     {u"threadsUnread"_s, 2}}));
    EXPECT_EQ(send(json("PATCH", "labels/" + id.toLatin1(), R"({"name":"Home"})")).value(u"name"_s),
              u"Home"_s);
    send(request("DELETE", "labels/" + id.toLatin1()), 204);
    EXPECT_FALSE(services.mailbox().message(read)->labelIds.contains(id));
    EXPECT_EQ(services.mailbox().history().back().change, GmailMailbox::Change::labelRemoved);
    expectRefusal(request("GET", "labels/" + id.toLatin1()), 404);
    // Another client may have deleted it.
    expectRefusal(request("GET", "messages?labelIds=" + id.toLatin1()), 400);
    EXPECT_EQ(get("labels").value(u"labels"_s).toArray().size(), 14);
}

TEST_F(GoogleServicesTest, RefusesToChangeSystemLabels)
{
    expectsViolations = true;
    expectViolation(json("PATCH", "labels/INBOX", R"({"name":"a"})"), 400);
    expectViolation(request("DELETE", "labels/INBOX"), 400);
    expectViolation(json("POST", "labels", R"({"name":" a"})"), 400);
    expectViolation(json("POST", "labels", R"({"name":"a//b"})"), 400);
}

// --- Drafts and sending

TEST_F(GoogleServicesTest, GivesADraftAnotherMessageWithEachUpdate)
{
    const QString thread = receive("a");
    const QJsonObject made =
        send(upload("POST", "drafts", R"({"message":{"threadId":")" + thread.toLatin1() + "\"}}", raw("b")));
    const QByteArray draft = made.value(u"id"_s).toString().toLatin1();
    const QString first = made[u"message"_s][u"id"_s].toString();
    EXPECT_EQ(made[u"message"_s][u"threadId"_s], thread);
    const QJsonObject updated =
        send(upload("PUT", "drafts/" + draft, R"({"id":")" + draft + R"(","message":{}})", raw("c")));
    const QString second = updated[u"message"_s][u"id"_s].toString();
    EXPECT_NE(first, second);
    EXPECT_EQ(services.mailbox().message(first), nullptr);
    EXPECT_EQ(get("drafts?maxResults=500&fields=drafts(id,message/id),nextPageToken"),
              (QJsonObject{
                  {u"drafts"_s, QJsonArray{QJsonObject{{u"id"_s, QString::fromLatin1(draft)},
                                                       {u"message"_s, QJsonObject{{u"id"_s, second}}}}}}}));
    const QJsonObject sent = send(json("POST", "drafts/send", R"({"id":")" + draft + "\"}"));
    EXPECT_TRUE(services.mailbox().drafts().isEmpty());
    EXPECT_EQ(services.mailbox().message(second), nullptr);
    const GmailMailbox::Message* const message = services.mailbox().message(sent.value(u"id"_s).toString());
    ASSERT_TRUE(message);
    EXPECT_EQ(message->raw, raw("c"));
    EXPECT_EQ(message->threadId, thread);
    EXPECT_EQ(message->labelIds, QSet<QString>{u"SENT"_s});
    expectRefusal(json("POST", "drafts/send", R"({"id":")" + draft + "\"}"), 404);
}

TEST_F(GoogleServicesTest, PagesDrafts)
{
    for (int number = 0; number < 5; ++number)
        services.mailbox().createDraft(raw("a"));
    const QJsonObject first = get("drafts?maxResults=3");
    const QJsonObject second =
        get("drafts?maxResults=3&pageToken=" + first.value(u"nextPageToken"_s).toString().toLatin1());
    EXPECT_EQ(ids(first, u"drafts"_s) + ids(second, u"drafts"_s),
              QStringList(services.mailbox().drafts().keys()));
    EXPECT_FALSE(second.contains(u"nextPageToken"_s));
    services.mailbox().createDraft(raw("b"));
    EXPECT_EQ(ids(get("drafts?q=rfc822msgid:b@example.org"), u"drafts"_s),
              QStringList{services.mailbox().drafts().lastKey()});
    services.setLargestPage(4);
    EXPECT_EQ(ids(get("drafts?maxResults=500"), u"drafts"_s).size(), 4);
}

TEST_F(GoogleServicesTest, SendsIntoAThreadThatIsThere)
{
    const QString thread = receive("a");
    const QJsonObject sent =
        send(upload("POST", "messages/send", R"({"threadId":")" + thread.toLatin1() + "\"}", raw("b")));
    EXPECT_EQ(sent.value(u"threadId"_s), thread);
    const QString other = receive("c");
    services.mailbox().remove(other);
    expectRefusal(upload("POST", "messages/send", R"({"threadId":")" + other.toLatin1() + "\"}", raw("b")),
                  404);
    EXPECT_EQ(services.mailbox().messageCount(), 2);
}

TEST_F(GoogleServicesTest, ReadsUploadsStrictly)
{
    expectsViolations = true;
    const HTTPRequest good = upload("POST", "messages/send", "{}", raw("a"));
    const auto changed = [&](const QByteArray& before, const QByteArray& after) {
        HTTPRequest request = good;
        request.body->replace(before, after);
        return request;
    };
    expectViolation(changed("\r\n--b_1--\r\n", "\r\n--b_1--"), 400);
    expectViolation(changed("charset=UTF-8", "charset=utf-8"), 400);
    expectViolation(changed("message/rfc822", "text/plain"), 400);
    expectViolation(changed("--b_1\r\nContent-Type: m", "--b_1\nContent-Type: m"), 400);
    expectViolation(changed("Text\r\n", "Text\n"), 400);
    expectViolation(changed("To: user@gmail.com\r\n", ""), 400);
    expectViolation(changed("From: Ann <ann@example.org>\r\n", ""), 400);
    expectViolation(changed("\r\n\r\n{}", "\r\n\r\n{\"id\":5}"), 400);
    HTTPRequest other = good;
    other.setHeader("Content-Type", "multipart/mixed; boundary=b_1");
    expectViolation(other, 400);
    other = good;
    other.url.replace("multipart", "media");
    expectViolation(other, 400);
    other = upload("POST", "messages/x/trash", "{}", raw("a"));
    expectViolation(other, 404);
    EXPECT_EQ(services.mailbox().messageCount(), 0);
    send(good);
    EXPECT_EQ(services.mailbox().messageCount(), 1);
}

// --- Failures

TEST_F(GoogleServicesTest, FailsAsItIsToldTo)
{
    const auto status = [this] { return await(SecureHTTP::send(request("GET", "labels"))).status; };
    services.failNext(1, Failure::tooMany);
    EXPECT_EQ(status(), 429);
    services.failNext(1, Failure::rateLimited, "labels");
    const HTTPResponse limited = await(SecureHTTP::send(request("GET", "labels")));
    EXPECT_TRUE(SecureHTTP::isRateLimited(limited.status, limited.body));
    EXPECT_EQ(limited.status, 403);
    services.failNext(2, Failure::serverError);
    EXPECT_EQ(status(), 500);
    EXPECT_EQ(status(), 500);
    services.failNext(1, Failure::unauthorized);
    EXPECT_EQ(status(), 401);
    services.failNext(1, Failure::serverError, "messages");
    EXPECT_EQ(status(), 200) << "of another path";
    services.failNext(1, Failure::cutJSON, "labels");
    EXPECT_TRUE(send(request("GET", "labels")).isEmpty());
}

TEST_F(GoogleServicesTest, DropsConnectionsBeforeAndAfterTheEffect)
{
    services.failNext(1, Failure::dropBefore);
    EXPECT_THROW(await(SecureHTTP::send(json("POST", "labels", R"({"name":"a"})"))), HTTPError);
    EXPECT_EQ(services.mailbox().labelNamed(u"a"_s), nullptr);
    services.failNext(1, Failure::dropAfter);
    EXPECT_THROW(await(SecureHTTP::send(json("POST", "labels", R"({"name":"a"})"))), HTTPError);
    EXPECT_NE(services.mailbox().labelNamed(u"a"_s), nullptr);
    EXPECT_EQ(services.count("POST"), 2) << "nothing is sent twice";
}

TEST_F(GoogleServicesTest, AsksItsHooksBeforeAndAfter)
{
    services.setHook([](const WebRequest& asked) {
        return asked.target.endsWith("/profile") ? std::optional(WebReply{.status = 418}) : std::nullopt;
    });
    send(request("GET", "profile"), 418);
    get("labels");
    services.setHook({});
    services.setAfterHook([](const WebRequest&, WebReply reply) {
        reply.status = 201;
        return reply;
    });
    send(request("GET", "profile"), 201);
}

TEST_F(GoogleServicesTest, CountsRequestsThatWaitForTheirReplies)
{
    services.setDelay(50);
    QList<Begun<HTTPResponse>> begun;
    for (const QByteArray path : {"labels", "labels/INBOX", "labels/SENT", "profile"})
        begun.append(Begun<HTTPResponse>(SecureHTTP::send(request("GET", path))));
    EXPECT_TRUE(waitUntil([&] { return services.inFlight() == 4; }));
    EXPECT_EQ(services.inFlight("GET labels/"), 2);
    for (Begun<HTTPResponse>& task : begun)
        EXPECT_EQ(task.get().status, 200);
    EXPECT_EQ(services.inFlight(), 0);
    EXPECT_EQ(services.mostInFlight(), 4);
    EXPECT_EQ(services.mostInFlight("GET labels/"), 2);
    EXPECT_EQ(services.mostInFlight("POST"), 0);
}

TEST_F(GoogleServicesTest, CountsNoRequestWhoseClientHasGone)
{
    std::stop_source stop;
    services.setHook([](const WebRequest&) { return std::optional(WebReply{.delay = 60'000}); });
    Begun<HTTPResponse> begun(SecureHTTP::send(request("GET", "labels"), stop.get_token()));
    EXPECT_TRUE(waitUntil([&] { return services.inFlight() == 1; }));
    stop.request_stop();
    EXPECT_THROW(begun.get(), MailError);
    EXPECT_TRUE(waitUntil([&] { return services.inFlight() == 0; })) << "the client has gone";
}

TEST_F(GoogleServicesTest, ListsALabelOfManyMessagesPageByPage)
{
    constexpr int many = 200'000;
    for (int number = 0; number < many; ++number)
        services.mailbox().insert({.raw = "From: a@b\r\n\r\n", .labelIds = {u"INBOX"_s}});
    qsizetype listed = 0;
    QByteArray next;
    do {
        const QJsonObject page = get("messages?labelIds=INBOX&maxResults=500" + next);
        listed += ids(page).size();
        next = page.value(u"nextPageToken"_s).toString().toLatin1();
        if (!next.isEmpty())
            next.prepend("&pageToken=");
    } while (!next.isEmpty());
    EXPECT_EQ(listed, many);
    EXPECT_EQ(services.count("GET"), many / 500);
}

} // namespace
} // namespace Larkhaven
