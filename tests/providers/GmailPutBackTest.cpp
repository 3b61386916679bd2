#include "providers/GmailPutBack.h"

#include "Gmail.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class GmailPutBackTest : public GmailTest {
protected:
    /// Lists an Inbox of these messages with these labels, in JSON.
    void begin(const QList<std::pair<QByteArray, QByteArray>>& messages)
    {
        QByteArrayList ids;
        for (const auto& [id, labels] : messages)
            ids.append(id);
        setInbox(ids);
        for (const auto& [id, labels] : messages)
            addRow(id, labels);
        await(inbox());
        asked();
        acceptsBatches = true;
    }

    static QByteArray batch(const QByteArray& ids, const QByteArray& add, const QByteArray& remove)
    {
        return R"(POST messages/batchModify {"addLabelIds":[)" + add + R"(],"ids":[)" + ids +
               R"(],"removeLabelIds":[)" + remove + "]}";
    }
    QList<QString> labels(qsizetype row)
    {
        QList<QString> labels = await(inbox()).messages.value(row).labelIDs;
        std::ranges::sort(labels);
        return labels;
    }

    const QString refusal = u"These messages can’t be moved back."_s;
    const QList<QString> two{u"a"_s, u"b"_s};
    const MailLabel label{u"Label_5"_s, u"five"_s};
};

TEST_F(GmailPutBackTest, GivesEachMessageItsFormerLabelsInOneRequestForEachDifference)
{
    begin({{"a", R"("INBOX","UNREAD")"}, {"b", R"("INBOX","SPAM")"}, {"c", R"("INBOX")"}});
    const QList<QString> all{u"a"_s, u"b"_s, u"c"_s};
    await(provider->archive(all));
    asked();
    EXPECT_TRUE(await(provider->canPutBack({u"c"_s, u"a"_s, u"b"_s})));
    await(provider->putBack(all));
    EXPECT_EQ(asked(), (QByteArrayList{batch(R"("a","c")", R"("INBOX")", ""),
                                       batch(R"("b")", R"("INBOX","SPAM")", "")}));
    EXPECT_EQ(labels(0), (QList<QString>{u"INBOX"_s, u"UNREAD"_s}));
    EXPECT_EQ(labels(1), (QList<QString>{u"INBOX"_s, u"SPAM"_s}));
    EXPECT_EQ(labels(2), QList<QString>{u"INBOX"_s});
}

TEST_F(GmailPutBackTest, TakesOnlyWhatTheChangeGave)
{
    begin({{"a", R"("INBOX")"}, {"b", R"("INBOX","Label_5")"}});
    await(provider->moveToLabel(two, label));
    await(provider->setStarred(true, {u"a"_s}));
    asked();
    EXPECT_TRUE(await(provider->canPutBack(two))) << "a star is no change of place";
    await(provider->putBack(two));
    EXPECT_EQ(asked(), (QByteArrayList{batch(R"("a")", R"("INBOX")", R"("Label_5")"),
                                       batch(R"("b")", R"("INBOX")", "")}));
    EXPECT_EQ(labels(0), (QList<QString>{u"INBOX"_s, u"STARRED"_s})) << "which stays";
}

TEST_F(GmailPutBackTest, ReturnsFromSpamAndFromTheInbox)
{
    begin({{"a", R"("INBOX")"}, {"b", R"("TRASH")"}});
    await(provider->markSpam({u"a"_s}));
    asked();
    await(provider->putBack({u"a"_s}));
    EXPECT_EQ(asked(), QByteArrayList{batch(R"("a")", R"("INBOX")", R"("SPAM")")});
    await(provider->moveToInbox({u"b"_s}));
    asked();
    await(provider->putBack({u"b"_s}));
    EXPECT_EQ(asked(), QByteArrayList{batch(R"("b")", R"("TRASH")", R"("INBOX")")});
}

TEST_F(GmailPutBackTest, TakesMessagesOutOfTheTrashOneByOne)
{
    begin({{"a", R"("INBOX")"}, {"b", R"("Label_5")"}});
    for (const QByteArray id : {"a", "b"}) {
        on("POST messages/" + id + "/trash", QByteArray("{}"));
        on("POST messages/" + id + "/untrash", QByteArray("{}"));
    }
    await(provider->trash(two));
    asked();
    EXPECT_TRUE(await(provider->canPutBack(two)));
    await(provider->putBack(two));
    EXPECT_EQ(asked(), (QByteArrayList{"POST messages/a/untrash", batch(R"("a")", R"("INBOX")", ""),
                                       "POST messages/b/untrash"}));
    EXPECT_EQ(labels(0), QList<QString>{u"INBOX"_s});
    EXPECT_EQ(labels(1), QList<QString>{u"Label_5"_s});
    restart();
    EXPECT_EQ(labels(1), QList<QString>{u"Label_5"_s}) << "kept";
}

TEST_F(GmailPutBackTest, GivesItsPlaceToWhatCameOutOfTheTrashWhereAnotherDidNot)
{
    begin({{"a", R"("INBOX")"}, {"b", R"("INBOX")"}});
    for (const QByteArray id : {"a", "b"})
        on("POST messages/" + id + "/trash", QByteArray("{}"));
    on("POST messages/a/untrash", QByteArray("{}"));
    // The failure comes after the answer for the other one.
    on("POST messages/b/untrash", {WebReply{429, "{}"}, WebReply{429, "{}"}, WebReply{404, "{}"}});
    await(provider->trash(two));
    asked();
    expectMailError(provider->putBack(two), MailError::Kind::http);
    EXPECT_EQ(sleeps, 2);
    EXPECT_EQ(asked().last(), batch(R"("a")", R"("INBOX")", ""));
    EXPECT_EQ(labels(0), QList<QString>{u"INBOX"_s});
    EXPECT_EQ(labels(1), QList<QString>{u"TRASH"_s});
}

TEST_F(GmailPutBackTest, WorksOnceAndForExactlyTheMessagesOfTheLastChange)
{
    begin({{"a", R"("INBOX")"}, {"b", R"("INBOX")"}});
    EXPECT_FALSE(await(provider->canPutBack({})));
    expectUnsupported(provider->putBack(two), refusal);
    await(provider->archive(two));
    EXPECT_FALSE(await(provider->canPutBack({u"a"_s})));
    expectUnsupported(provider->putBack({u"a"_s}), refusal);
    await(provider->putBack(two));
    EXPECT_FALSE(await(provider->canPutBack(two)));
    expectUnsupported(provider->putBack(two), refusal);
    await(provider->archive(two));
    await(provider->markSpam({u"a"_s}));
    EXPECT_FALSE(await(provider->canPutBack(two)));
    EXPECT_TRUE(await(provider->canPutBack({u"a"_s})));
}

TEST_F(GmailPutBackTest, IsNotOfferedAfterAChangeThatFailed)
{
    begin({{"a", R"("INBOX")"}, {"b", R"("INBOX")"}});
    await(provider->archive(two));
    acceptsBatches = false;
    expectMailError(provider->markSpam({u"a"_s}), MailError::Kind::http,
                    u"Requested entity was not found."_s);
    EXPECT_FALSE(await(provider->canPutBack(two)));
    EXPECT_FALSE(await(provider->canPutBack({u"a"_s})));
    acceptsBatches = true;
    await(provider->moveToInbox(two));
    await(provider->archive(two));
    expectMailError(provider->trash({u"a"_s}), MailError::Kind::http, u"Requested entity was not found."_s);
    EXPECT_FALSE(await(provider->canPutBack(two)));
    EXPECT_FALSE(await(provider->canPutBack({u"a"_s})));
}

TEST_F(GmailPutBackTest, PassesARefusalOnAndLeavesTheRows)
{
    begin({{"a", R"("INBOX")"}});
    await(provider->archive({u"a"_s}));
    acceptsBatches = false;
    expectMailError(provider->putBack({u"a"_s}), MailError::Kind::http, u"Requested entity was not found."_s);
    EXPECT_EQ(labels(0), QList<QString>());
}

TEST_F(GmailPutBackTest, IsNotOfferedWhereTheLabelsOfAMessageAreNotKnown)
{
    begin({{"a", R"("INBOX")"}});
    await(provider->archive({u"a"_s, u"unheard of"_s}));
    EXPECT_FALSE(await(provider->canPutBack({u"a"_s, u"unheard of"_s})));
    await(provider->moveToInbox({u"a"_s}));
    await(provider->moveToInbox({u"a"_s}));
    EXPECT_FALSE(await(provider->canPutBack({u"a"_s}))) << "it was there";
}

TEST_F(GmailPutBackTest, IsNotOfferedWhereTheLabelsOfAMessageMayHaveChanged)
{
    setInbox({"a"});
    // The rows are older than the position that the history begins at.
    await(inbox(0, 10, false));
    await(inbox(0, 0, true));
    acceptsBatches = true;
    await(provider->archive({u"a"_s}));
    EXPECT_FALSE(await(provider->canPutBack({u"a"_s})));
}

TEST(GmailPutBack, IsOfAThousandMessagesAtMost)
{
    static_assert(GmailPutBack::messageLimit == 1000);
    QList<QString> ids;
    QHash<QString, MessageSummary> rows;
    for (int number = 0; number < 1000; ++number) {
        ids.append(QString::number(number));
        rows[ids.last()].labelIDs = {u"INBOX"_s};
    }
    const std::optional<GmailPutBack> back = GmailPutBack::of(ids, rows, {}, {u"INBOX"_s});
    ASSERT_TRUE(back);
    EXPECT_EQ(back->steps, (QList<GmailPutBack::Step>{{ids, {u"INBOX"_s}, {}}}));
    EXPECT_EQ(GmailPutBack::of(ids + ids, rows, {}, {u"INBOX"_s}), back) << "each once";
    rows[u"more"_s].labelIDs = {u"INBOX"_s};
    EXPECT_EQ(GmailPutBack::of(ids + QList<QString>{u"more"_s}, rows, {}, {u"INBOX"_s}), std::nullopt);
}

} // namespace
} // namespace Larkhaven
