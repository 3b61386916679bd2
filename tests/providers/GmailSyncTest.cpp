#include "Gmail.h"
#include "domain/Coding.h"
#include "platform/Wakeup.h"
#include "providers/GmailMessage.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// A page of the history.
QByteArray history(const QByteArray& records, const QByteArray& position, const QByteArray& rest = {})
{
    return "{\"history\":[" + records + "],\"historyId\":\"" + position + "\"" + rest + "}";
}

QByteArray labelsAdded(const QByteArray& id, const QByteArray& labels)
{
    return R"({"labelsAdded":[{"message":{"id":")" + id + R"("},"labelIds":[)" + labels + "]}]}";
}

QByteArray labelsRemoved(const QByteArray& id, const QByteArray& labels)
{
    return R"({"labelsRemoved":[{"message":{"id":")" + id + R"("},"labelIds":[)" + labels + "]}]}";
}

QByteArray deleted(const QByteArray& id)
{
    return R"({"messagesDeleted":[{"message":{"id":")" + id + R"("}}]})";
}

class GmailSyncTest : public GmailTest {
protected:
    /// Lists the Inbox, so that the state knows its rows and the position 100.
    void begin(const QByteArrayList& messages)
    {
        setInbox(messages);
        await(inbox(0, 10, true));
        asked();
    }

    MessageSummary row(qsizetype index, bool refresh = true)
    {
        return await(inbox(0, 10, refresh)).messages.value(index);
    }
};

// --- Following the history

TEST_F(GmailSyncTest, BeginsWithThePositionOfNow)
{
    setInbox({"a"});
    EXPECT_EQ(idsOf(await(inbox(0, 10, true))), QStringList{u"a"_s});
    EXPECT_EQ(log.first(), "GET profile?fields=historyId");
    asked();
    on(historyRequest("100"), history({}, "101"));
    await(inbox(0, 10, true));
    EXPECT_EQ(asked(), (QByteArrayList{historyRequest("100"), "GET labels/INBOX?fields=messagesTotal"}))
        << "nothing has changed, and nothing is read again";
    on(historyRequest("101"), history({}, "102"));
    await(inbox(0, 10, true));
    EXPECT_EQ(asked().first(), historyRequest("101"));
}

TEST_F(GmailSyncTest, AsksForNothingWhereNoNewsIsWanted)
{
    begin({"a"});
    await(inbox(0, 10, false));
    EXPECT_EQ(asked(), QByteArrayList{"GET labels/INBOX?fields=messagesTotal"});
}

TEST_F(GmailSyncTest, MakesARowReadThatHasLostTheLabelOfTheUnread)
{
    setInbox({"a"});
    addRow("a", R"("INBOX","UNREAD")");
    EXPECT_FALSE(row(0).isRead);
    on(historyRequest("100"), history(labelsRemoved("a", R"("UNREAD")"), "101"));
    EXPECT_TRUE(row(0).isRead);
}

TEST_F(GmailSyncTest, AppliesEachRecordInItsOrder)
{
    begin({"a"});
    on(historyRequest("100"),
       history(labelsAdded("a", R"("STARRED","TRASH","STARRED")") + ',' + labelsRemoved("a", R"("INBOX")") +
                   ',' + labelsAdded("a", R"("UNREAD")") + ',' + labelsRemoved("a", R"("UNREAD")"),
               "105"));
    const MessageSummary changed = row(0);
    EXPECT_TRUE(changed.isStarred);
    EXPECT_TRUE(changed.isRead);
    EXPECT_EQ(changed.mailbox, u"Trash");
    EXPECT_EQ(changed.labelIDs, (QList<QString>{u"STARRED"_s, u"TRASH"_s}));
}

TEST_F(GmailSyncTest, ReadsTheListingAnewAfterAnyRecord)
{
    begin({"a"});
    addRow("b");
    on(listRequest("&labelIds=INBOX"), ids({"b", "a"}));
    on(historyRequest("100"), history(R"({"messagesAdded":[{"message":{"id":"b"}}]})", "101"));
    EXPECT_EQ(idsOf(await(inbox(0, 10, true))), (QStringList{u"b"_s, u"a"_s}));
    const QByteArrayList requests = asked();
    EXPECT_TRUE(requests.contains(rowRequest("b")));
    EXPECT_FALSE(requests.contains(rowRequest("a"))) << "what is known isn't asked for again";
}

TEST_F(GmailSyncTest, ForgetsAMessageThatWasDeleted)
{
    begin({"a", "b"});
    onFailure(rowRequest("a"), 404);
    on(historyRequest("100"), history(deleted("a"), "101"));
    EXPECT_EQ(idsOf(await(inbox(0, 10, true))), QStringList{u"b"_s});
    EXPECT_TRUE(asked().contains(rowRequest("a"))) << "the listing names it still";
}

TEST_F(GmailSyncTest, FollowsAllPagesAndKeepsTheChangeOfTheFirst)
{
    begin({"a"});
    on(historyRequest("100"), history(labelsAdded("a", R"("STARRED")"), "101", R"(,"nextPageToken":"p2")"));
    on(historyRequest("100", "p2"), history({}, "102"));
    EXPECT_TRUE(row(0).isStarred);
    EXPECT_TRUE(asked().contains(listRequest("&labelIds=INBOX")));
    on(historyRequest("102"), history({}, "102"));
    row(0);
    EXPECT_EQ(asked().first(), historyRequest("102"));
}

TEST_F(GmailSyncTest, EndsWhereTheHistoryRepeatsItsTokenAndReadsLabelsAnew)
{
    begin({"a"});
    on(historyRequest("100"), history({}, "101", R"(,"nextPageToken":"p2")"));
    on(historyRequest("100", "p2"), history({}, "102", R"(,"nextPageToken":"p2")"));
    on(labelsRequest("a"), R"({"id":"a","labelIds":["TRASH"]})");
    EXPECT_EQ(row(0).mailbox, u"Trash") << "which stood on a page that never came";
    EXPECT_EQ(asked(), (QByteArrayList{historyRequest("100"), historyRequest("100", "p2"),
                                       listRequest("&labelIds=INBOX"), labelsRequest("a"),
                                       "GET labels/INBOX?fields=messagesTotal"}));
    on(historyRequest("102"), history({}, "102"));
    row(0);
    EXPECT_EQ(asked().first(), historyRequest("102"));
}

TEST_F(GmailSyncTest, GoesOnWithWhatIsKnownWhereTheHistoryFails)
{
    begin({"a"});
    for (const WebReply& reply : {WebReply{500, "{}"}, WebReply{200, "<html>"},
                                  WebReply{.end = WebReply::End::drop}, WebReply{401, "{}"}}) {
        on(historyRequest("100"), {reply});
        EXPECT_EQ(idsOf(await(inbox(0, 10, true))), QStringList{u"a"_s});
        EXPECT_FALSE(asked().contains(listRequest("&labelIds=INBOX")));
    }
    on(historyRequest("100"), history(labelsAdded("a", R"("STARRED")"), "101"));
    EXPECT_TRUE(row(0).isStarred) << "from the same position";
}

TEST_F(GmailSyncTest, PassesOverRecordsOfWrongTypes)
{
    begin({"a"});
    on(historyRequest("100"),
       history(R"(1,[],{"messagesDeleted":7,"labelsAdded":[3,{},{"message":"a","labelIds":["STARRED"]},
                  {"message":{"id":"a"},"labelIds":"STARRED"},{"message":{"id":"a"},"labelIds":[1,"Label_3"]}]})",
               "101"));
    EXPECT_EQ(row(0).labelIDs, (QList<QString>{u"INBOX"_s, u"Label_3"_s}));
}

TEST_F(GmailSyncTest, AsksOnceForTheNewsOfTwoWhoWantThem)
{
    begin({"a"});
    on(historyRequest("100"), history({}, "100"));
    std::vector<Begun<MessagePage>> pages;
    for (int number = 0; number < 5; ++number)
        pages.emplace_back(inbox(0, 10, true));
    for (Begun<MessagePage>& page : pages)
        page.get();
    EXPECT_EQ(asked().count(historyRequest("100")), 2) << "one under way, and one for all who came later";
}

// --- An expired position

TEST_F(GmailSyncTest, ReadsAllIdsAnewAfterItsPositionHasExpiredAndNoKnownRow)
{
    begin({"a", "b"});
    onFailure(historyRequest("100"), 404);
    on("GET profile?fields=historyId", R"({"historyId":"900"})");
    on(labelsRequest("a"), R"({"id":"a","labelIds":["INBOX","STARRED"]})");
    on(labelsRequest("b"), R"({"id":"b","labelIds":["INBOX","UNREAD"]})");
    const MessagePage page = await(inbox(0, 10, true));
    EXPECT_TRUE(page.messages[0].isStarred);
    EXPECT_FALSE(page.messages[1].isRead);
    const QByteArrayList requests = askedSorted();
    EXPECT_EQ(requests, (QByteArrayList{historyRequest("100"), "GET labels/INBOX?fields=messagesTotal",
                                        labelsRequest("a"), labelsRequest("b"),
                                        listRequest("&labelIds=INBOX"), "GET profile?fields=historyId"}));
    on(historyRequest("900"), history({}, "900"));
    await(inbox(0, 10, true));
    EXPECT_EQ(asked(), (QByteArrayList{historyRequest("900"), "GET labels/INBOX?fields=messagesTotal"}))
        << "once for each row";
}

TEST_F(GmailSyncTest, StaysWhereItIsWhereNoNewPositionCanBeHad)
{
    begin({"a"});
    onFailure(historyRequest("100"), 404);
    onFailure("GET profile?fields=historyId", 500);
    EXPECT_EQ(idsOf(await(inbox(0, 10, true))), QStringList{u"a"_s});
    EXPECT_FALSE(asked().contains(listRequest("&labelIds=INBOX"))) << "no change is reported";
    await(inbox(0, 10, true));
    EXPECT_EQ(asked().first(), historyRequest("100"));
}

TEST_F(GmailSyncTest, ConfirmsARowOnlyWhenItIsShown)
{
    begin({"a", "b"});
    onFailure(historyRequest("100"), 404);
    on(labelsRequest("a"), R"({"id":"a","labelIds":["INBOX"]})");
    on(labelsRequest("b"), R"({"id":"b","labelIds":["INBOX"]})");
    await(inbox(0, 1, true));
    QByteArrayList requests = asked();
    EXPECT_TRUE(requests.contains(labelsRequest("a")));
    EXPECT_FALSE(requests.contains(labelsRequest("b")));
    await(inbox(1, 1));
    EXPECT_TRUE(asked().contains(labelsRequest("b")));
}

TEST_F(GmailSyncTest, DropsAnUnconfirmedRowThatIsGone)
{
    begin({"a", "b"});
    onFailure(historyRequest("100"), 404);
    onFailure(labelsRequest("a"), 404);
    on(labelsRequest("b"), R"({"id":"b","labelIds":["INBOX"]})");
    EXPECT_EQ(idsOf(await(inbox(0, 10, true))), QStringList{u"b"_s});
}

TEST_F(GmailSyncTest, ShowsARowThatCannotBeConfirmedAndAsksAgainNextTime)
{
    begin({"a"});
    onFailure(historyRequest("100"), 404);
    on(labelsRequest("a"), {WebReply{500, "{}"}, WebReply{200, R"({"id":"a","labelIds":["TRASH"]})"}});
    EXPECT_EQ(row(0).mailbox, u"Inbox");
    EXPECT_EQ(row(0, false).mailbox, u"Trash");
}

TEST_F(GmailSyncTest, RemembersAcrossLaunchesWhatIsToBeConfirmed)
{
    begin({"a", "b"});
    onFailure(historyRequest("100"), 404);
    on("GET profile?fields=historyId", R"({"historyId":"900"})");
    on(labelsRequest("a"), R"({"id":"a","labelIds":["INBOX"]})");
    on(labelsRequest("b"), R"({"id":"b","labelIds":["TRASH"]})");
    await(inbox(0, 1, true));
    restart();
    asked();
    EXPECT_EQ(await(inbox(0, 10)).messages[1].mailbox, u"Trash");
    const QByteArrayList requests = asked();
    EXPECT_FALSE(requests.contains(labelsRequest("a")));
    EXPECT_TRUE(requests.contains(labelsRequest("b")));
}

TEST_F(GmailSyncTest, ConfirmsRowsThatItKnewBeforeItHadAnyPosition)
{
    setInbox({"a"});
    onFailure("GET profile?fields=historyId", 500);
    await(inbox(0, 10, true));
    on("GET profile?fields=historyId", R"({"historyId":"100"})");
    on(labelsRequest("a"), R"({"id":"a","labelIds":["SPAM"]})");
    EXPECT_EQ(row(0).mailbox, u"Spam");
}

// --- The snapshot

TEST_F(GmailSyncTest, KnowsItsRowsAndItsPositionAfterARestart)
{
    begin({"a"});
    restart();
    on(historyRequest("100"), history({}, "100"));
    EXPECT_EQ(idsOf(await(inbox(0, 10, true))), QStringList{u"a"_s});
    EXPECT_EQ(asked(), (QByteArrayList{historyRequest("100"), listRequest("&labelIds=INBOX"),
                                       "GET labels/INBOX?fields=messagesTotal"}))
        << "ids come from the service, rows from the snapshot";
}

TEST_F(GmailSyncTest, BeginsAnewWhereItsSnapshotIsBad)
{
    setInbox({"a"});
    for (const QByteArray bad : {"", "no", "[]", "{}", R"({"messages":[{"id":"a"}]})", R"({"messages":{}})",
                                 R"({"messages":[],"historyId":7})"}) {
        restart();
        await(cache->removeAll());
        await(cache->writeSnapshot(u"gmail"_s, bad));
        restart();
        asked();
        await(inbox(0, 10, true));
        EXPECT_EQ(asked().first(), "GET profile?fields=historyId") << bad.toStdString();
    }
}

TEST_F(GmailSyncTest, WorksWithoutACache)
{
    restart(false);
    begin({"a"});
    EXPECT_EQ(idsOf(await(inbox())), QStringList{u"a"_s});
}

TEST_F(GmailSyncTest, ShowsAPageOfMessagesThatAreOlderThanAllThatASnapshotHolds)
{
    QJsonArray newer;
    for (qsizetype number = 0; number < RowStore::rowLimit; ++number) {
        MessageSummary known;
        known.id = u"n%1"_s.arg(number);
        known.accountID = account.id;
        known.date = QDateTime(QDate(2030, 1, 1), QTime(), Qt::UTC);
        newer.append(known.toJSON());
    }
    const QJsonObject snapshot{{u"historyId"_s, u"100"_s}, {u"messages"_s, newer}};
    await(cache->writeSnapshot(u"gmail"_s, QJsonDocument(snapshot).toJson()));
    restart();
    setInbox({"a"});
    EXPECT_EQ(idsOf(await(inbox())), QStringList{u"a"_s});
}

TEST_F(GmailSyncTest, FetchesRowsAnewWhoseSendersWereStoredBeforeTheyWereReadRaw)
{
    const auto stored = [&](bool isRaw) {
        MessageSummary row;
        row.id = u"a"_s;
        row.accountID = account.id;
        row.from = EmailAddress(std::nullopt, u"ceo@bank.example"_s);
        QJsonObject snapshot{{u"historyId"_s, u"100"_s}, {u"messages"_s, QJsonArray{row.toJSON()}}};
        if (isRaw)
            snapshot.insert(u"rawSenders"_s, 1);
        return QJsonDocument(snapshot).toJson();
    };
    for (const bool isRaw : {true, false}) {
        await(cache->writeSnapshot(u"gmail"_s, stored(isRaw)));
        restart();
        setInbox({"a"});
        const MessagePage page = await(inbox());
        ASSERT_EQ(page.messages.size(), 1);
        EXPECT_EQ(page.messages.first().from.has_value(), isRaw) << "the service's own word has no sender";
    }
}

// --- The state by itself

class GmailSyncStateTest : public GmailTest {
protected:
    static MessageSummary summary(const QString& id, const QList<QString>& labels, qint64 day = 0)
    {
        MessageSummary row;
        row.id = id;
        row.accountID = QUuid::createUuid();
        row.date = QDateTime(QDate(2000, 1, 1), QTime(), Qt::UTC).addDays(day);
        GmailMessage::setLabels(row, labels);
        return row;
    }

    void know(const QString& id, const QList<QString>& labels)
    {
        const GmailSyncState::Look look(state, {id});
        state.store(summary(id, labels), look);
    }

    QList<QString> labelsOf(const QString& id) { return state.summaries({id}).value(id).labelIDs; }
    bool isKnown(const QString& id) { return state.summaries({id}).contains(id); }

    const QList<QString> watched{u"a"_s, u"b"_s, u"c"_s};
    GmailSyncState state{account.id, cache};
};

TEST_F(GmailSyncStateTest, LaysWhatWasAppliedMeanwhileOverAnAnswer)
{
    const GmailSyncState::Look look(state, watched);
    state.apply({u"a"_s}, {u"STARRED"_s}, {u"UNREAD"_s});
    state.store(summary(u"a"_s, {u"INBOX"_s, u"UNREAD"_s}), look);
    EXPECT_EQ(labelsOf(u"a"_s), (QList<QString>{u"INBOX"_s, u"STARRED"_s}));
}

TEST_F(GmailSyncStateTest, LaysNothingOlderOverAnAnswer)
{
    const GmailSyncState::Look first(state, watched);
    state.apply({u"a"_s}, {u"STARRED"_s}, {});
    const GmailSyncState::Look second(state, watched);
    state.store(summary(u"a"_s, {u"INBOX"_s}), second);
    EXPECT_EQ(labelsOf(u"a"_s), QList<QString>{u"INBOX"_s});
}

TEST_F(GmailSyncStateTest, DropsAnAnswerForAMessageThatWasDeletedMeanwhile)
{
    const GmailSyncState::Look look(state, watched);
    state.remove(u"a"_s);
    state.store(summary(u"a"_s, {}), look);
    EXPECT_FALSE(isKnown(u"a"_s));
}

TEST_F(GmailSyncStateTest, DropsTheLabelsOfARereadingThatWereOvertaken)
{
    know(u"a"_s, {u"INBOX"_s});
    const GmailSyncState::Look look(state, watched);
    state.apply({u"a"_s}, {u"TRASH"_s}, {u"INBOX"_s});
    state.confirm(u"a"_s, {u"INBOX"_s}, look);
    EXPECT_EQ(labelsOf(u"a"_s), QList<QString>{u"TRASH"_s});
    state.confirm(u"unknown"_s, {u"INBOX"_s}, look);
    EXPECT_FALSE(isKnown(u"unknown"_s));
}

TEST_F(GmailSyncStateTest, ConfirmsNoAnswerThatIsOlderThanThePosition)
{
    const GmailSyncState::Look look(state, watched);
    state.setBaseline(u"7"_s);
    state.store(summary(u"a"_s, {}), look);
    EXPECT_TRUE(state.isUnconfirmed(u"a"_s));
    const GmailSyncState::Look later(state, watched);
    state.confirm(u"a"_s, {u"SPAM"_s}, later);
    EXPECT_FALSE(state.isUnconfirmed(u"a"_s));
    EXPECT_EQ(labelsOf(u"a"_s), QList<QString>{u"SPAM"_s});
}

TEST_F(GmailSyncStateTest, LeavesARowUnconfirmedThatTheHistoryAndWeHaveChangedAtOnce)
{
    know(u"a"_s, {});
    know(u"b"_s, {});
    const GmailSyncState::Look ours(state, watched);
    state.apply({u"a"_s}, {}, {u"STARRED"_s});
    state.apply({u"a"_s, u"b"_s}, {u"STARRED"_s}, {}, ours);
    EXPECT_TRUE(state.isUnconfirmed(u"a"_s));
    EXPECT_FALSE(state.isUnconfirmed(u"b"_s));
    const GmailSyncState::Look reading(state, watched);
    const GmailSyncState::Look another(state, watched);
    state.apply({u"c"_s}, {u"UNREAD"_s}, {});
    state.apply({u"c"_s}, {}, {u"UNREAD"_s}, another);
    state.store(summary(u"c"_s, {}), reading);
    EXPECT_TRUE(state.isUnconfirmed(u"c"_s)) << "also one that came to be known only then";
}

TEST_F(GmailSyncStateTest, RemembersChangesOfThoseMessagesAloneThatAreAskedFor)
{
    const GmailSyncState::Look look(state, {u"a"_s});
    state.apply({u"a"_s, u"other"_s}, {u"STARRED"_s}, {});
    state.store(summary(u"other"_s, {}), look);
    EXPECT_EQ(labelsOf(u"other"_s), QList<QString>());
    {
        const GmailSyncState::Look second(state, {u"a"_s});
    }
    state.store(summary(u"a"_s, {}), look);
    EXPECT_EQ(labelsOf(u"a"_s), QList<QString>{u"STARRED"_s}) << "as long as anybody asks";
}

TEST_F(GmailSyncStateTest, TakesNoChangeOfOursForOneThatOvertookAnother)
{
    know(u"a"_s, {});
    const GmailSyncState::Look ours(state, watched);
    state.apply({u"a"_s}, {u"STARRED"_s}, {}, ours);
    state.apply({u"a"_s}, {u"UNREAD"_s}, {}, ours);
    EXPECT_FALSE(state.isUnconfirmed(u"a"_s));
}

TEST_F(GmailSyncStateTest, ReadsItsSnapshotOnce)
{
    await(cache->writeSnapshot(u"gmail"_s, R"({"historyId":"1","messages":[]})"));
    await(state.load());
    EXPECT_EQ(state.historyId(), u"1");
    state.setHistoryId(u"5"_s);
    await(state.load());
    EXPECT_EQ(state.historyId(), u"5");
}

TEST_F(GmailSyncStateTest, KeepsTheNewest20000Rows)
{
    static_assert(RowStore::rowLimit == 20'000);
    QJsonArray rows;
    for (int day = 0; day < 20'000; ++day)
        rows.append(summary(u"old%1"_s.arg(day), {}, 1).toJSON());
    rows[0] = summary(u"oldest"_s, {}).toJSON();
    const QJsonObject snapshot{{u"historyId"_s, u"1"_s}, {u"messages"_s, rows}};
    await(cache->writeSnapshot(u"gmail"_s, QJsonDocument(snapshot).toJson()));
    {
        GmailSyncState first(account.id, cache);
        await(first.load());
        const GmailSyncState::Look look(first, {u"new"_s});
        first.store(summary(u"new"_s, {}, 2), look);
    }
    await(state.load());
    EXPECT_TRUE(isKnown(u"new"_s));
    EXPECT_TRUE(isKnown(u"old1"_s));
    EXPECT_FALSE(isKnown(u"oldest"_s));
}

TEST_F(GmailSyncStateTest, KeepsWhatItKnowsAcrossLaunches)
{
    {
        GmailSyncState first(account.id, cache);
        await(first.load());
        EXPECT_EQ(first.historyId(), std::nullopt);
        first.setBaseline(u"4"_s);
        const GmailSyncState::Look look(first, {u"a"_s, u"b"_s});
        first.store(summary(u"a"_s, {u"INBOX"_s, u"UNREAD"_s}), look);
        first.store(summary(u"b"_s, {u"INBOX"_s}), look);
        first.setBaseline(u"5"_s);
        first.confirm(u"a"_s, {u"INBOX"_s, u"STARRED"_s}, GmailSyncState::Look(first, {u"a"_s}));
    }
    await(state.load());
    EXPECT_EQ(state.historyId(), u"5");
    EXPECT_EQ(labelsOf(u"a"_s), (QList<QString>{u"INBOX"_s, u"STARRED"_s}));
    EXPECT_TRUE(state.summaries({u"a"_s}).value(u"a"_s).isRead);
    EXPECT_FALSE(state.isUnconfirmed(u"a"_s));
    EXPECT_TRUE(state.isUnconfirmed(u"b"_s));
}

} // namespace
} // namespace Larkhaven
