#include "Gmail.h"
#include "domain/Coding.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class GmailListingTest : public GmailTest {
protected:
    Task<MessagePage> list(const MailboxRef& ref, std::optional<QString> query = std::nullopt)
    {
        return provider->listMessages(ref, std::move(query), 0, 10, false);
    }

    int answered = 0;

    /// The listing request that a mailbox and a search lead to.
    QByteArray listRequestOf(const MailboxRef& ref, const std::optional<QString>& query = std::nullopt)
    {
        asked();
        restart();
        try {
            await(list(ref, query));
        } catch (const MailError&) {
        }
        const QByteArrayList requests = asked();
        return requests.isEmpty() ? QByteArray() : requests.first();
    }
};

// --- Listings

TEST_F(GmailListingTest, AsksForAMailboxByItsLabel)
{
    const QList<std::pair<Mailbox, QByteArray>> queries{
        {Mailbox::inbox, "&labelIds=INBOX"},
        {Mailbox::starred, "&labelIds=STARRED"},
        {Mailbox::sent, "&labelIds=SENT"},
        {Mailbox::drafts, "&labelIds=DRAFT"},
        {Mailbox::archive, ""},
        {Mailbox::spam, "&labelIds=SPAM&includeSpamTrash=true"},
        {Mailbox::trash, "&labelIds=TRASH&includeSpamTrash=true"}};
    for (const auto& [role, query] : queries)
        EXPECT_EQ(listRequestOf(MailboxRef::system(role)), listRequest(query));
    EXPECT_EQ(listRequestOf(MailboxRef::label({u"Label_7"_s, u"a"_s})), listRequest("&labelIds=Label_7"));
    EXPECT_EQ(listRequestOf(MailboxRef::system(Mailbox::spam), u"from:a+b c"_s),
              listRequest("&labelIds=SPAM&q=from:a+b c&includeSpamTrash=true"));
}

TEST_F(GmailListingTest, TakesAnEmptySearchForNone)
{
    EXPECT_EQ(listRequestOf(MailboxRef::system(Mailbox::inbox), QString()), listRequest("&labelIds=INBOX"));
    setInbox({"a"});
    restart();
    EXPECT_EQ(await(list(MailboxRef::system(Mailbox::inbox))).total, 1);
    asked();
    EXPECT_EQ(await(list(MailboxRef::system(Mailbox::inbox), QString())).total, 1);
    EXPECT_EQ(asked(), QByteArrayList{"GET labels/INBOX?fields=messagesTotal"}) << "the same listing";
}

TEST_F(GmailListingTest, ShowsAPageInTheServicesOrder)
{
    setInbox({"c", "a", "b"});
    const MessagePage page = await(inbox());
    EXPECT_EQ(idsOf(page), (QStringList{u"c"_s, u"a"_s, u"b"_s}));
    EXPECT_FALSE(page.hasMore);
    EXPECT_EQ(page.total, 3);
    EXPECT_EQ(askedSorted(),
              (QByteArrayList{"GET labels/INBOX?fields=messagesTotal", rowRequest("a"), rowRequest("b"),
                              rowRequest("c"), listRequest("&labelIds=INBOX")}));
    await(inbox());
    EXPECT_EQ(asked(), QByteArrayList{"GET labels/INBOX?fields=messagesTotal"});
}

TEST_F(GmailListingTest, KnowsWhetherAFurtherPageExists)
{
    setInbox({"a", "b", "c"});
    EXPECT_FALSE(await(inbox(0, 3)).hasMore) << "exactly as many as there are";
    EXPECT_TRUE(await(inbox(0, 2)).hasMore);
    EXPECT_FALSE(await(inbox(2, 2)).hasMore);
    EXPECT_EQ(idsOf(await(inbox(2, 2))), QStringList{u"c"_s});
    EXPECT_EQ(idsOf(await(inbox(10, 2))), QStringList());
}

TEST_F(GmailListingTest, ReadsAFurtherPageOfIdsOnlyWhereItIsNeeded)
{
    setInbox({"a", "b"});
    addRow("c");
    on(listRequest("&labelIds=INBOX"), ids({"a", "b"}, R"(,"nextPageToken":"p2","resultSizeEstimate":3)"));
    const QByteArray second =
        "GET messages?maxResults=500&fields=messages/id,nextPageToken,resultSizeEstimate"
        "&pageToken=p2&labelIds=INBOX";
    on(second, ids({"c"}));
    const MessagePage page = await(inbox(0, 1));
    EXPECT_TRUE(page.hasMore);
    EXPECT_FALSE(asked().contains(second));
    EXPECT_EQ(idsOf(await(inbox(1, 1))), QStringList{u"b"_s}) << "the one more tells of the next page";
    EXPECT_TRUE(asked().contains(second));
}

TEST_F(GmailListingTest, TellsTheEstimateForASearchAndWhereTheCountFails)
{
    setInbox({"a"});
    on(listRequest("&labelIds=INBOX&q=x"), ids({"a"}, R"(,"resultSizeEstimate":201)"));
    EXPECT_EQ(await(list(MailboxRef::system(Mailbox::inbox), u"x"_s)).total, 201);
    EXPECT_FALSE(asked().contains("GET labels/INBOX?fields=messagesTotal"));
    on(listRequest("&labelIds=INBOX"), ids({"a"}, R"(,"resultSizeEstimate":5)"));
    for (const WebReply& reply :
         {WebReply{500, "{}"}, WebReply{200, "{}"}, WebReply{200, R"({"messagesTotal":"x"})"},
          WebReply{200, R"({"messagesTotal":-1})"}}) {
        on("GET labels/INBOX?fields=messagesTotal", {reply});
        EXPECT_EQ(await(inbox()).total, 5);
    }
}

TEST_F(GmailListingTest, CountsTheArchiveByTheProfile)
{
    on(listRequest(""), ids({"a"}));
    addRow("a");
    on("GET profile?fields=messagesTotal", R"({"messagesTotal":77})");
    EXPECT_EQ(await(list(MailboxRef::system(Mailbox::archive))).total, 77);
}

TEST_F(GmailListingTest, ShowsNothingOfAnEmptyListing)
{
    on(listRequest("&labelIds=INBOX"), WebReply{200, "{}"}.body);
    EXPECT_TRUE(await(inbox()).messages.isEmpty());
    restart();
    on(listRequest("&labelIds=INBOX"), QByteArray());
    EXPECT_TRUE(await(inbox()).messages.isEmpty());
}

TEST_F(GmailListingTest, PassesAFailedPageOnAndAsksAgain)
{
    setInbox({"a"});
    on(listRequest("&labelIds=INBOX"),
       {WebReply{500, R"({"error":{"message":"Sorry"}})"}, WebReply{200, ids({"a"})}});
    expectMailError(inbox(), MailError::Kind::http, u"Sorry"_s);
    EXPECT_EQ(idsOf(await(inbox())), QStringList{u"a"_s});
}

TEST_F(GmailListingTest, SkipsEntriesWithoutAnIdAndShowsADoubleOnce)
{
    setInbox({"a"});
    on(listRequest("&labelIds=INBOX"), R"({"messages":[{"id":"a"},{},{"id":7},{"id":""},1,{"id":"a"}]})");
    EXPECT_EQ(idsOf(await(inbox())), QStringList{u"a"_s});
    EXPECT_EQ(askedSorted(), (QByteArrayList{"GET labels/INBOX?fields=messagesTotal", rowRequest("a"),
                                             listRequest("&labelIds=INBOX")}));
}

// --- Rows

TEST_F(GmailListingTest, LeavesOutARowThatIsGone)
{
    setInbox({"a", "b"});
    onFailure(rowRequest("a"), 404);
    EXPECT_EQ(idsOf(await(inbox())), QStringList{u"b"_s});
}

TEST_F(GmailListingTest, FailsWhereARowCannotBeHadAndAsksForNoMoreThanFiveBeyondIt)
{
    QByteArrayList messages;
    for (int number = 0; number < 50; ++number)
        messages.append("m" + QByteArray::number(number));
    setInbox(messages);
    onFailure(rowRequest("m0"), 500);
    expectMailError(inbox(0, 50), MailError::Kind::http);
    qsizetype rows = 0;
    for (const QByteArray& request : asked())
        rows += request.contains("format=metadata");
    EXPECT_LT(rows, 15);
}

TEST_F(GmailListingTest, TakesNoRowUnderAnotherId)
{
    setInbox({"a"});
    on(rowRequest("a"), message("b"));
    EXPECT_EQ(idsOf(await(inbox())), QStringList());
    on(listRequest("&labelIds=INBOX&q=x"), ids({"b"}));
    await(list(MailboxRef::system(Mailbox::inbox), u"x"_s));
    EXPECT_TRUE(asked().contains(rowRequest("b"))) << "nothing was taken for it";
}

TEST_F(GmailListingTest, EscapesAnIdInAPath)
{
    on(listRequest("&labelIds=INBOX"), ids({"a/b+c%2F d..é"}));
    await(inbox());
    const QByteArray target = server.requests()[1].target;
    EXPECT_TRUE(target.startsWith("/gmail/v1/users/me/messages/a%2Fb%2Bc%252F%20d..%C3%A9?"))
        << target.toStdString();
}

TEST_F(GmailListingTest, AsksForTheRowsOfTwoPagesOnce)
{
    setInbox({"a", "b"});
    Begun<MessagePage> first(inbox());
    Begun<MessagePage> second(inbox());
    EXPECT_EQ(idsOf(first.get()), idsOf(second.get()));
    const QByteArrayList requests = asked();
    EXPECT_EQ(requests.count(rowRequest("a")), 1);
    EXPECT_EQ(requests.count(rowRequest("b")), 1);
}

TEST_F(GmailListingTest, NamesTheUserLabelsOfARow)
{
    setInbox({"a", "b", "c"});
    addRow("a", R"("Label_2","Label_1")");
    addRow("b", R"("Label_9")");
    on("GET labels", R"({"labels":[{"id":"Label_1","name":"Work","type":"user"},
        {"id":"Label_2","name":"Play/Chess","type":"user"}]})");
    const MessagePage page = await(inbox());
    EXPECT_EQ(page.messages[0].mailbox, u"Work, Play/Chess");
    EXPECT_EQ(page.messages[1].mailbox, u"All Mail") << "no such label";
    EXPECT_EQ(page.messages[2].mailbox, u"Inbox");
    EXPECT_EQ(asked().count("GET labels"), 1);
}

TEST_F(GmailListingTest, ShowsRowsWhoseLabelsHaveNoNames)
{
    setInbox({"a"});
    addRow("a", R"("Label_2")");
    onFailure("GET labels", 500);
    EXPECT_EQ(await(inbox()).messages.first().mailbox, u"All Mail");
}

// --- Last page

TEST_F(GmailListingTest, FindsTheLastPage)
{
    const auto last = [this](qint64 pageSize) {
        return await(provider->lastPageOffset(MailboxRef::system(Mailbox::inbox), std::nullopt, pageSize));
    };
    on(listRequest("&labelIds=INBOX"), QByteArray("{}"));
    EXPECT_EQ(last(50), 0);
    restart();
    on(listRequest("&labelIds=INBOX"), ids(QByteArrayList(50, "a"), R"(,"nextPageToken":"p2")"));
    on("GET "
       "messages?maxResults=500&fields=messages/"
       "id,nextPageToken,resultSizeEstimate&pageToken=p2&labelIds=INBOX",
       ids({"z"}));
    EXPECT_EQ(last(50), 50) << "51 messages";
    EXPECT_EQ(last(51), 0);
    EXPECT_EQ(last(10), 50);
    EXPECT_EQ(last(0), 0);
    EXPECT_EQ(asked().size(), 3);
}

// --- Labels and counts

TEST_F(GmailListingTest, ListsTheUsersLabelsInTheirOrder)
{
    on("GET labels", R"({"labels":[{"id":"INBOX","name":"INBOX","type":"system"},
        {"id":"Label_3","name":"b","type":"user"},{"id":"Label_1","name":"a/c","type":"user"},
        {"id":"Label_2","name":"a","type":"user","labelListVisibility":"labelHide"},
        {"id":5,"name":"x","type":"user"},{"id":"Label_4","type":"user"},{"id":"Label_5","name":"y"}]})");
    EXPECT_EQ(await(provider->listLabels()),
              (QList<MailLabel>{{u"Label_2"_s, u"a"_s}, {u"Label_1"_s, u"a/c"_s}, {u"Label_3"_s, u"b"_s}}));
}

TEST_F(GmailListingTest, CountsWhatTheSidebarShows)
{
    const auto request = [](const QByteArray& id) {
        return "GET labels/" + id + "?fields=messagesUnread,messagesTotal";
    };
    on(request("INBOX"), R"({"messagesUnread":3,"messagesTotal":9})");
    on(request("SPAM"), R"({"messagesTotal":9})");
    on(request("DRAFT"), R"({"messagesUnread":1,"messagesTotal":4})");
    on(request("Label_1"), R"({"messagesUnread":2})");
    onFailure(request("Label_2"), 500);
    const QHash<QString, qint64> counts =
        await(provider->counts({{u"Label_1"_s, u"a"_s}, {u"Label_2"_s, u"b"_s}, {u"Label_3"_s, u"c"_s}}));
    EXPECT_EQ(counts, (QHash<QString, qint64>{
                          {u"system:inbox"_s, 3}, {u"system:drafts"_s, 4}, {u"label:Label_1"_s, 2}}));
    EXPECT_EQ(asked().size(), 6);
}

TEST_F(GmailListingTest, CountsNoFurtherWhereTheRateIsLimited)
{
    QList<MailLabel> labels;
    for (int number = 0; number < 50; ++number)
        labels.append({u"Label_%1"_s.arg(number), QString::number(number)});
    server.setHandler([this](const WebRequest&) {
        ++answered;
        return WebReply{429, "{}"};
    });
    EXPECT_TRUE(await(provider->counts(labels)).isEmpty());
    EXPECT_LE(answered, 5 * 4) << "those that were under way";
}

TEST_F(GmailListingTest, CountsTheUnreadOfTheInbox)
{
    on("GET labels/INBOX?fields=messagesUnread",
       {WebReply{200, R"({"messagesUnread":3})"}, WebReply{200, "{}"}});
    EXPECT_EQ(await(provider->inboxUnreadCount()), 3);
    EXPECT_EQ(await(provider->inboxUnreadCount()), 0);
}

// --- The profile

TEST_F(GmailListingTest, ReadsTheAddressOfTheProfile)
{
    on("GET profile", {WebReply{200, R"({"emailAddress":"me@gmail.example"})"}, WebReply{200, "{}"},
                       WebReply{200, R"({"emailAddress":""})"}});
    const auto address = [] { return GmailProvider::profileAddress(std::make_shared<SteadyToken>()); };
    EXPECT_EQ(await(address()), u"me@gmail.example");
    expectProtocolError(address(), u"No email in Gmail profile"_s);
    expectProtocolError(address(), u"No email in Gmail profile"_s);
}

} // namespace
} // namespace Larkhaven
