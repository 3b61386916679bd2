#include "Gmail.h"
#include "domain/Coding.h"
#include "format/MIMEParser.h"
#include "http/HTTPMessage.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QByteArray uploads = "/upload/gmail/v1/users/me/";

/// Labels, and their changes.
class GmailChangesTest : public GmailTest {
protected:
    void begin(const QByteArrayList& messages)
    {
        setInbox(messages);
        await(inbox());
        asked();
    }

    static QByteArray batch(const QByteArray& ids, const QByteArray& add, const QByteArray& remove)
    {
        return R"(POST messages/batchModify {"addLabelIds":[)" + add + R"(],"ids":[)" + ids +
               R"(],"removeLabelIds":[)" + remove + "]}";
    }
    static QByteArray newLabel(const QByteArray& name)
    {
        return R"(POST labels {"labelListVisibility":"labelShow","messageListVisibility":"show","name":")" +
               name + "\"}";
    }

    /// The one request of a change that succeeds.
    QByteArray requestOf(Task<> change)
    {
        acceptsBatches = true;
        await(std::move(change));
        const QByteArrayList requests = asked();
        EXPECT_EQ(requests.size(), 1);
        return requests.value(0);
    }

    MessageSummary row(qsizetype index) { return await(inbox()).messages.value(index); }

    const MailLabel label{u"Label_5"_s, u"a"_s};
    const QList<QString> two{u"a"_s, u"b"_s};
};

TEST_F(GmailChangesTest, AreTheirLabels)
{
    setInbox({"a", "b"});
    const QByteArray both = R"("a","b")";
    EXPECT_EQ(requestOf(provider->setRead(true, two)), batch(both, "", R"("UNREAD")"));
    EXPECT_EQ(requestOf(provider->setRead(false, two)), batch(both, R"("UNREAD")", ""));
    EXPECT_EQ(requestOf(provider->setStarred(true, two)), batch(both, R"("STARRED")", ""));
    EXPECT_EQ(requestOf(provider->setStarred(false, two)), batch(both, "", R"("STARRED")"));
    EXPECT_EQ(requestOf(provider->archive(two)), batch(both, "", R"("INBOX","SPAM","TRASH")"));
    EXPECT_EQ(requestOf(provider->moveToInbox(two)), batch(both, R"("INBOX")", R"("TRASH","SPAM")"));
    EXPECT_EQ(requestOf(provider->markSpam(two)), batch(both, R"("SPAM")", R"("INBOX")"));
    EXPECT_EQ(requestOf(provider->moveToLabel(two, label)),
              batch(both, R"("Label_5")", R"("INBOX","SPAM","TRASH")"));
    EXPECT_EQ(requestOf(provider->setLabel(label, true, two)), batch(both, R"("Label_5")", ""));
    EXPECT_EQ(requestOf(provider->setLabel(label, false, two)), batch(both, "", R"("Label_5")"));
}

TEST_F(GmailChangesTest, OfNothingSendNothing)
{
    await(provider->setRead(true, {}));
    await(provider->trash({}));
    EXPECT_EQ(asked(), QByteArrayList());
}

TEST_F(GmailChangesTest, ReachTheRowsOnceTheServiceHasTakenThem)
{
    begin({"a", "b"});
    acceptsBatches = true;
    await(provider->setStarred(true, {u"a"_s}));
    restart();
    EXPECT_TRUE(row(0).isStarred) << "kept";
    await(provider->setStarred(true, {u"b"_s}));
    EXPECT_TRUE(row(1).isStarred);
}

TEST_F(GmailChangesTest, LeaveTheRowsAsTheyAreWhereTheyAreRefused)
{
    begin({"a"});
    on(batch(R"("a")", R"("STARRED")", ""), {WebReply{400, R"({"error":{"message":"No"}})"}});
    expectMailError(provider->setStarred(true, {u"a"_s}), MailError::Kind::http, u"No"_s);
    EXPECT_FALSE(row(0).isStarred);
    EXPECT_EQ(asked().count(listRequest("&labelIds=INBOX")), 0);
}

TEST_F(GmailChangesTest, OfManyMessagesGoInPiecesOfAThousandAndKeepWhatSucceeded)
{
    static_assert(GmailProvider::batchLimit == 1000);
    begin({"m0", "m1000"});
    QList<QString> all;
    for (int number = 0; number < 2001; ++number)
        all.append(u"m%1"_s.arg(number));
    int batches = 0;
    QList<qsizetype> sizes;
    server.setHandler([&](const WebRequest& request) {
        sizes.append(QJsonDocument::fromJson(request.body)["ids"_L1].toArray().size());
        return WebReply{++batches == 2 ? 500 : 200, ""};
    });
    expectMailError(provider->setStarred(true, all), MailError::Kind::http);
    EXPECT_EQ(sizes, (QList<qsizetype>{1000, 1000})) << "the third isn't tried";
    await(provider->setRead(true, all));
    EXPECT_EQ(sizes, (QList<qsizetype>{1000, 1000, 1000, 1000, 1}));
    server.setHandler([](const WebRequest&) { return WebReply{404, "{}"}; });
    EXPECT_TRUE(row(0).isStarred);
    EXPECT_FALSE(row(1).isStarred);
}

TEST_F(GmailChangesTest, GoOutOneAfterTheOther)
{
    begin({"a"});
    acceptsBatches = true;
    std::vector<Begun<void>> changes;
    for (int number = 0; number < 6; ++number)
        changes.emplace_back(number % 2 == 0 ? provider->setStarred(true, {u"a"_s})
                                             : provider->setStarred(false, {u"a"_s}));
    for (Begun<void>& change : changes)
        change.get();
    const QByteArrayList requests = asked();
    ASSERT_EQ(requests.size(), 6);
    for (int number = 0; number < 6; ++number)
        EXPECT_EQ(requests[number], number % 2 == 0 ? batch(R"("a")", R"("STARRED")", "")
                                                    : batch(R"("a")", "", R"("STARRED")"));
    EXPECT_FALSE(row(0).isStarred);
}

TEST_F(GmailChangesTest, PutMessagesInTheTrashOneByOne)
{
    begin({"a", "b"});
    on("POST messages/a/trash", QByteArray("{}"));
    on("POST messages/b/trash", QByteArray("{}"));
    await(provider->trash(two));
    EXPECT_EQ(askedSorted(), (QByteArrayList{"POST messages/a/trash", "POST messages/b/trash"}));
    EXPECT_EQ(server.requests().last().body, "");
    EXPECT_EQ(row(0).mailbox, u"Trash");
    EXPECT_EQ(row(1).labelIDs, QList<QString>{u"TRASH"_s});
}

TEST_F(GmailChangesTest, LeaveAllRowsAsTheyAreWhereOneCannotBePutInTheTrash)
{
    begin({"a", "b"});
    on("POST messages/a/trash", QByteArray("{}"));
    onFailure("POST messages/b/trash", 500);
    expectMailError(provider->trash(two), MailError::Kind::http);
    EXPECT_EQ(row(0).mailbox, u"Inbox");
}

// --- Labels

TEST_F(GmailChangesTest, MakeALabelAndThoseAboveIt)
{
    on("GET labels", R"({"labels":[{"id":"Label_1","name":"x","type":"user"}]})");
    on(newLabel("a"), R"({"id":"Label_2"})");
    on(newLabel("a/b"), R"({"id":"Label_3"})");
    EXPECT_EQ(await(provider->createLabel(u"  a / b  "_s)), (MailLabel{u"Label_3"_s, u"a/b"_s}));
    EXPECT_EQ(asked(), (QByteArrayList{"GET labels", newLabel("a"), newLabel("a/b")}));
}

TEST_F(GmailChangesTest, MakeNoLabelThatIsThereAbove)
{
    on("GET labels", R"({"labels":[{"id":"Label_1","name":"a","type":"user"}]})");
    on(newLabel("a/b"), R"({"id":"Label_2"})");
    on(newLabel("a/b/c"), R"({"id":"Label_3"})");
    EXPECT_EQ(await(provider->createLabel(u"/a//b/ c\t"_s)).path, u"a/b/c");
    EXPECT_EQ(asked(), (QByteArrayList{"GET labels", newLabel("a/b"), newLabel("a/b/c")}));
}

TEST_F(GmailChangesTest, MakeLabelsOneAfterTheOther)
{
    on("GET labels",
       {WebReply{200, "{}"}, WebReply{200, R"({"labels":[{"id":"L1","name":"a","type":"user"}]})"}});
    on(newLabel("a"), R"({"id":"L1"})");
    on(newLabel("a/b"), R"({"id":"L2"})");
    on(newLabel("a/c"), R"({"id":"L3"})");
    Begun<MailLabel> first(provider->createLabel(u"a/b"_s));
    Begun<MailLabel> second(provider->createLabel(u"a/c"_s));
    first.get();
    second.get();
    EXPECT_EQ(asked(),
              (QByteArrayList{"GET labels", newLabel("a"), newLabel("a/b"), "GET labels", newLabel("a/c")}));
}

TEST_F(GmailChangesTest, RefuseALabelWithoutANameWithoutAnyRequest)
{
    for (const QString& name : {u"///"_s, u""_s, u" \t/ "_s}) {
        expectUnsupported(provider->createLabel(name), u"Please enter a name."_s);
        expectUnsupported(provider->renameLabel(label, name), u"Please enter a name."_s);
    }
    EXPECT_EQ(asked(), QByteArrayList());
}

TEST_F(GmailChangesTest, FailWhereTheNewLabelHasNoId)
{
    on("GET labels", QByteArray("{}"));
    on(newLabel("a"), QByteArray("{}"));
    expectProtocolError(provider->createLabel(u"a"_s), u"Gmail didn't return the new label."_s);
}

TEST_F(GmailChangesTest, RenameALabelWithItsChildrenAndNothingElse)
{
    on("GET labels",
       R"({"labels":[{"id":"L0","name":"ab","type":"user"},{"id":"L3","name":"a/b/c","type":"user"},
        {"id":"L2","name":"a/b","type":"user"},{"id":"L1","name":"a","type":"user"}]})");
    const QByteArrayList patches{R"(PATCH labels/L1 {"name":"x"})", R"(PATCH labels/L3 {"name":"x/b/c"})",
                                 R"(PATCH labels/L2 {"name":"x/b"})"};
    for (const QByteArray& patch : patches)
        on(patch, QByteArray("{}"));
    EXPECT_EQ(await(provider->renameLabel({u"L1"_s, u"a"_s}, u" x "_s)), (MailLabel{u"L1"_s, u"x"_s}));
    EXPECT_EQ(asked(), QByteArrayList{"GET labels"} + patches);
}

TEST_F(GmailChangesTest, NameARenamedLabelInItsRows)
{
    setInbox({"a"});
    addRow("a", R"("Label_1")");
    on("GET labels", R"({"labels":[{"id":"Label_1","name":"old","type":"user"}]})");
    on(R"(PATCH labels/Label_1 {"name":"new"})", QByteArray("{}"));
    EXPECT_EQ(row(0).mailbox, u"old");
    await(provider->renameLabel({u"Label_1"_s, u"old"_s}, u"new"_s));
    EXPECT_EQ(row(0).mailbox, u"new");
}

TEST_F(GmailChangesTest, PassARenameThatFailsHalfWayOn)
{
    on("GET labels",
       R"({"labels":[{"id":"L1","name":"a","type":"user"},{"id":"L2","name":"a/b","type":"user"}]})");
    on(R"(PATCH labels/L1 {"name":"x"})", QByteArray("{}"));
    onFailure(R"(PATCH labels/L2 {"name":"x/b"})", 409);
    expectMailError(provider->renameLabel({u"L1"_s, u"a"_s}, u"x"_s), MailError::Kind::http);
}

TEST_F(GmailChangesTest, DeleteALabel)
{
    on("DELETE labels/Label_5", QByteArray());
    await(provider->deleteLabel(label));
    EXPECT_EQ(asked(), QByteArrayList{"DELETE labels/Label_5"});
}

/// Messages as they are, and those that are written.
class GmailWritingTest : public GmailTest {
protected:
    GmailWritingTest()
    {
        message.from = {u"Me"_s, u"me@example.org"_s};
        message.to = {{std::nullopt, u"you@example.org"_s}};
        message.bcc = {{std::nullopt, u"blind@example.org"_s}};
        message.subject = u"Hello"_s;
        message.body = u"Text"_s;
        message.messageID = u"id-1@example.org"_s;
    }

    static QByteArray drafts(const QByteArray& rest = {})
    {
        return "GET drafts?maxResults=500&fields=drafts(id,message/id),nextPageToken" + rest;
    }
    void acceptUploads()
    {
        for (const QByteArray& request : {"POST " + uploads + "messages/send", "POST " + uploads + "drafts",
                                          "PUT " + uploads + "drafts/d1"})
            on(request + "?uploadType=multipart", QByteArray("{}"));
        on(R"(POST drafts/send {"id":"d1"})", QByteArray("{}"));
    }
    /// The metadata of the last upload; its form is checked to the byte.
    QJsonObject metadata()
    {
        WebRequest upload;
        for (const WebRequest& request : server.requests()) {
            if (request.target.startsWith(uploads))
                upload = request;
        }
        const QByteArray type = upload.header("content-type").value_or(QByteArray());
        const QByteArray start = "multipart/related; boundary=lh_";
        EXPECT_TRUE(type.startsWith(start)) << type.toStdString();
        const QByteArray boundary = "lh_" + type.sliced(start.size());
        EXPECT_EQ(boundary.size(), 39);
        const QByteArray head = "--" + boundary + "\r\nContent-Type: application/json; charset=UTF-8\r\n\r\n";
        const QByteArray middle = "\r\n--" + boundary + "\r\nContent-Type: message/rfc822\r\n\r\n";
        const QByteArray tail = "\r\n--" + boundary + "--\r\n";
        const qsizetype border = upload.body.indexOf(middle);
        EXPECT_TRUE(upload.body.startsWith(head));
        EXPECT_TRUE(upload.body.endsWith(tail));
        EXPECT_GT(border, 0);
        raw = upload.body.sliced(border + middle.size()).chopped(tail.size());
        EXPECT_FALSE(raw.contains(boundary));
        return QJsonDocument::fromJson(upload.body.first(border).sliced(head.size())).object();
    }

    OutgoingMessage message;
    QByteArray raw;
};

TEST_F(GmailWritingTest, ReadsAMessageOnceAndThenFromTheCache)
{
    const QByteArray bytes = "Subject: x\r\n\r\n\xff\xfe?>";
    const QByteArray encoded = bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
    on("GET messages/a?format=raw", "{\"raw\":\"" + encoded + "\"}");
    EXPECT_EQ(await(provider->fetchRaw(u"a"_s)), bytes) << "without padding";
    EXPECT_EQ(asked().size(), 1);
    restart();
    EXPECT_EQ(await(provider->fetchRaw(u"a"_s)), bytes);
    EXPECT_EQ(asked(), QByteArrayList()) << "also where there is no network";
}

TEST_F(GmailWritingTest, FailsWhereAMessageHasNoContent)
{
    for (const QByteArray answer :
         {"{}", "", "<html>", "[]", R"({"raw":7})", R"({"raw":"!!!"})", R"({"raw":"abcde"})"}) {
        on("GET messages/a?format=raw", answer);
        expectProtocolError(provider->fetchRaw(u"a"_s), u"Message has no raw content"_s);
    }
}

TEST_F(GmailWritingTest, FindsTheConversationOfAMessage)
{
    on("GET messages/a?format=minimal", {WebReply{200, R"({"threadId":"t1"})"}, WebReply{200, "{}"},
                                         WebReply{200, "<html>"}, WebReply{200, R"({"threadId":""})"}});
    EXPECT_EQ(await(provider->threadID(u"a"_s)), u"t1");
    EXPECT_EQ(await(provider->threadID(u"a"_s)), std::nullopt);
    EXPECT_EQ(await(provider->threadID(u"a"_s)), std::nullopt);
    EXPECT_EQ(await(provider->threadID(u"a"_s)), std::nullopt);
    expectMailError(provider->threadID(u"b"_s), MailError::Kind::http, u"Requested entity was not found."_s);
}

// --- Sending

TEST_F(GmailWritingTest, SendsAMessageWithItsBlindCopies)
{
    acceptUploads();
    await(provider->send(message));
    EXPECT_EQ(asked(), QByteArrayList{"POST " + uploads + "messages/send?uploadType=multipart"});
    EXPECT_EQ(metadata(), QJsonObject());
    EXPECT_TRUE(raw.contains("\r\nBcc: blind@example.org\r\n"));
    EXPECT_TRUE(raw.contains("Message-ID: <id-1@example.org>\r\n"));
    EXPECT_EQ(MIMEParser::parse(raw).textBody, u"Text");
}

TEST_F(GmailWritingTest, SendsAReplyInItsConversation)
{
    acceptUploads();
    message.threadID = u"t1"_s;
    await(provider->send(message));
    EXPECT_EQ(metadata(), (QJsonObject{{u"threadId"_s, u"t1"_s}}));
}

TEST_F(GmailWritingTest, SendsOnceMoreWithoutAConversationThatIsGone)
{
    const QByteArray request = "POST " + uploads + "messages/send?uploadType=multipart";
    on(request, {WebReply{404, "{}"}, WebReply{200, "{}"}});
    message.threadID = u"t1"_s;
    await(provider->send(message));
    EXPECT_EQ(asked(), (QByteArrayList{request, request}));
    EXPECT_EQ(metadata(), QJsonObject());
    asked();
    on(request, {WebReply{400, "{}"}, WebReply{200, "{}"}});
    expectMailError(provider->send(message), MailError::Kind::http);
    EXPECT_EQ(asked(), QByteArrayList{request}) << "any other failure is one";
    message.threadID.reset();
    on(request, {WebReply{404, "{}"}, WebReply{200, "{}"}});
    expectMailError(provider->send(message), MailError::Kind::http);
}

TEST_F(GmailWritingTest, SendsTheDraftThatTheMessageWas)
{
    acceptUploads();
    message.threadID = u"t1"_s;
    on(drafts(), R"({"drafts":[{"id":"d0","message":{"id":"m0"}},{"id":"d9"},1]})");
    on(drafts(), R"({"drafts":[{"id":"d0","message":{"id":"m0"}},{"id":"d9"},1],"nextPageToken":"p2"})");
    on(drafts("&pageToken=p2"), R"({"drafts":[{"id":"d1","message":{"id":"m1"}}],"nextPageToken":"p3"})");
    await(provider->send(message, u"m1"_s));
    EXPECT_EQ(asked(), (QByteArrayList{drafts(), drafts("&pageToken=p2"),
                                       "PUT " + uploads + "drafts/d1?uploadType=multipart",
                                       R"(POST drafts/send {"id":"d1"})"}));
    EXPECT_EQ(metadata(),
              (QJsonObject{{u"id"_s, u"d1"_s}, {u"message"_s, QJsonObject{{u"threadId"_s, u"t1"_s}}}}));
}

TEST_F(GmailWritingTest, SendsAMessageWhoseDraftIsGoneByItself)
{
    acceptUploads();
    on(drafts(), R"({"drafts":[{"id":"d0","message":{"id":"m0"}}]})");
    await(provider->send(message, u"m1"_s));
    EXPECT_EQ(asked(), (QByteArrayList{drafts(), "POST " + uploads + "messages/send?uploadType=multipart"}));
    on(drafts(), R"({"drafts":[{"id":"d1","message":{"id":"m1"}}]})");
    onFailure("PUT " + uploads + "drafts/d1?uploadType=multipart", 404);
    await(provider->send(message, u"m1"_s));
    EXPECT_EQ(asked().last(), "POST " + uploads + "messages/send?uploadType=multipart") << "gone since";
}

TEST_F(GmailWritingTest, EndsTheSearchForADraftWhereATokenIsRepeated)
{
    acceptUploads();
    on(drafts(), R"({"nextPageToken":"p2"})");
    on(drafts("&pageToken=p2"), R"({"nextPageToken":"p2"})");
    await(provider->saveDraft(message, u"m1"_s));
    EXPECT_EQ(asked().size(), 3);
}

TEST_F(GmailWritingTest, SendsNothingWhereTheDraftCannotBeLookedFor)
{
    onFailure(drafts(), 500);
    expectMailError(provider->send(message, u"m1"_s), MailError::Kind::http);
    EXPECT_EQ(asked().size(), 1);
}

TEST_F(GmailWritingTest, SaysWhereAMessageMayHaveGoneOut)
{
    const QByteArray request = "POST " + uploads + "messages/send?uploadType=multipart";
    const QList<std::pair<WebReply, bool>> outcomes{{WebReply{.end = WebReply::End::drop}, true},
                                                    {WebReply{500, "{}"}, true},
                                                    {WebReply{503, "{}"}, true},
                                                    {WebReply{400, "{}"}, false},
                                                    {WebReply{401, "{}"}, false},
                                                    {WebReply{429, "{}"}, false}};
    for (const auto& [reply, mayHaveGone] : outcomes) {
        on(request, {reply});
        try {
            await(provider->send(message));
            ADD_FAILURE();
        } catch (const MailError& error) {
            EXPECT_EQ(error.mayHaveBeenSent(), mayHaveGone) << reply.status;
        }
    }
}

TEST_F(GmailWritingTest, NeverHandsAMessageOverTwice)
{
    const QByteArray request = "POST " + uploads + "messages/send?uploadType=multipart";
    on(request, {WebReply{.end = WebReply::End::drop}});
    await(provider->wasSent({}));
    EXPECT_THROW(await(provider->send(message)), MailError);
    EXPECT_EQ(asked(), QByteArrayList{request});
}

TEST_F(GmailWritingTest, LooksForASentMessageByItsMessageID)
{
    on("GET messages?maxResults=1&fields=messages/id&labelIds=SENT&q=rfc822msgid:a+b@example.org",
       {WebReply{200, ids({"m"})}, WebReply{200, "{}"}});
    EXPECT_TRUE(await(provider->wasSent(u"a+b@example.org"_s)));
    EXPECT_FALSE(await(provider->wasSent(u"a+b@example.org"_s)));
    asked();
    EXPECT_FALSE(await(provider->wasSent(QString())));
    EXPECT_EQ(asked(), QByteArrayList());
    expectMailError(provider->wasSent(u"other"_s), MailError::Kind::http,
                    u"Requested entity was not found."_s);
}

// --- Drafts

TEST_F(GmailWritingTest, SavesANewDraft)
{
    acceptUploads();
    message.threadID = u"t1"_s;
    await(provider->saveDraft(message));
    EXPECT_EQ(asked(), QByteArrayList{"POST " + uploads + "drafts?uploadType=multipart"});
    EXPECT_EQ(metadata(), (QJsonObject{{u"message"_s, QJsonObject{{u"threadId"_s, u"t1"_s}}}}));
    message.threadID.reset();
    await(provider->saveDraft(message));
    EXPECT_EQ(metadata(), (QJsonObject{{u"message"_s, QJsonObject()}}));
}

TEST_F(GmailWritingTest, ReplacesADraft)
{
    acceptUploads();
    on(drafts(), R"({"drafts":[{"id":"d1","message":{"id":"m1"}}]})");
    await(provider->saveDraft(message, u"m1"_s));
    EXPECT_EQ(asked(), (QByteArrayList{drafts(), "PUT " + uploads + "drafts/d1?uploadType=multipart"}));
    EXPECT_EQ(metadata(), (QJsonObject{{u"id"_s, u"d1"_s}, {u"message"_s, QJsonObject()}}));
    on(drafts(), QByteArray("{}"));
    await(provider->saveDraft(message, u"m1"_s));
    EXPECT_EQ(asked(), (QByteArrayList{drafts(), "POST " + uploads + "drafts?uploadType=multipart"}));
}

TEST_F(GmailWritingTest, ReplacesWhatAnUnansweredSavingLeftBehind)
{
    acceptUploads();
    const QByteArray request = "POST " + uploads + "drafts?uploadType=multipart";
    on(request, {WebReply{.end = WebReply::End::drop}, WebReply{200, "{}"}});
    EXPECT_THROW(await(provider->saveDraft(message)), HTTPError);
    asked();
    const QByteArray search = drafts("&q=rfc822msgid:id-1@example.org");
    on(search, R"({"drafts":[{"id":"d1","message":{"id":"m1"}}]})");
    await(provider->saveDraft(message));
    EXPECT_EQ(asked(), (QByteArrayList{search, "PUT " + uploads + "drafts/d1?uploadType=multipart"}));
    await(provider->saveDraft(message));
    EXPECT_EQ(asked(), QByteArrayList{request}) << "it is sure again";
}

} // namespace
} // namespace Larkhaven
