#include "providers/GmailMessage.h"

#include "support/QtPrinters.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QUuid account = QUuid::createUuid();

MessageSummary summaryOf(const QByteArray& json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    EXPECT_TRUE(document.isObject()) << json.toStdString();
    return GmailMessage::summary(document.object(), account);
}

TEST(GmailMessage, BecomesARow)
{
    const MessageSummary row =
        summaryOf(R"({"id":"m1","threadId":"t1","labelIds":["UNREAD","STARRED","INBOX"],
        "snippet":"Tom &amp; Jerry&#39;s &lt;b&gt;","sizeEstimate":1234,"internalDate":"1767225600250",
        "payload":{"mimeType":"multipart/mixed","headers":[
            {"name":"from","value":"=?utf-8?q?J=C3=B6rg?= <j@example.org>, second@example.org"},
            {"name":"TO","value":"a@example.org, B <b@example.org>"},
            {"name":"Subject","value":"=?utf-8?q?Gr=C3=BC=C3=9Fe?="},
            {"name":"Date","value":"Thu, 1 Jan 1970 00:00:00 +0000"}]}})");
    EXPECT_EQ(row.id, u"m1");
    EXPECT_EQ(row.accountID, account);
    EXPECT_EQ(row.from, EmailAddress(u"Jörg"_s, u"j@example.org"_s));
    EXPECT_EQ(row.to,
              (QList<EmailAddress>{{std::nullopt, u"a@example.org"_s}, {u"B"_s, u"b@example.org"_s}}));
    EXPECT_EQ(row.subject, u"Grüße");
    EXPECT_EQ(row.snippet, u"Tom & Jerry's <b>");
    EXPECT_EQ(row.date, QDateTime(QDate(2026, 1, 1), QTime(0, 0, 0, 250), Qt::UTC));
    EXPECT_FALSE(row.isRead);
    EXPECT_TRUE(row.isStarred);
    EXPECT_TRUE(row.hasAttachments);
    EXPECT_EQ(row.size, 1234);
    EXPECT_EQ(row.mailbox, u"Inbox");
    EXPECT_EQ(row.labelIDs, (QList<QString>{u"INBOX"_s, u"STARRED"_s, u"UNREAD"_s}));
}

TEST(GmailMessage, KeepsTheSendersThatItsFieldsHaveBeforeTheyAreDecoded)
{
    const auto row = [](const QByteArray& headers) {
        return summaryOf(R"({"id":"m1","payload":{"headers":[)" + headers + "]}}");
    };
    const MessageSummary spoofed =
        row(R"({"name":"From","value":"\"Promotions@shop.example\", <service@evil.example>"})");
    EXPECT_EQ(spoofed.realSender().shown(), u"service@evil.example");
    EXPECT_EQ(spoofed.realSender().names, Sender::Names::lookLikeAnotherAddress);
    const MessageSummary twice =
        row(R"({"name":"From","value":"Ann <ann@x>"},{"name":"FROM","value":"bob@x"})");
    EXPECT_EQ(twice.realSender().shown(), u"ann@x, bob@x");
    const MessageSummary several = row(R"({"name":"From","value":"Ann <ann@x>, bob@x"})");
    EXPECT_EQ(several.realSender().shown(), u"ann@x, bob@x");
    EXPECT_TRUE(several.realSender().isClear) << "a row doesn't know the Sender field";
    EXPECT_EQ(row(R"({"name":"From","value":"Ann <ann@x>, ANN@x"})").sender, std::nullopt);
}

TEST(GmailMessage, WithNothingButItsIdIsARowOfNow)
{
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const MessageSummary row = summaryOf(R"({"id":"m1"})");
    EXPECT_EQ(row.from, std::nullopt);
    EXPECT_TRUE(row.to.isEmpty());
    EXPECT_EQ(row.subject, u"");
    EXPECT_EQ(row.snippet, u"");
    EXPECT_GE(row.date, before);
    EXPECT_LE(row.date, QDateTime::currentDateTimeUtc());
    EXPECT_TRUE(row.isRead);
    EXPECT_FALSE(row.isStarred);
    EXPECT_FALSE(row.hasAttachments);
    EXPECT_EQ(row.size, 0);
    EXPECT_EQ(row.mailbox, u"All Mail");
    EXPECT_TRUE(row.labelIDs.isEmpty());
}

TEST(GmailMessage, TakesTheDateFieldWhereTheServiceTellsNoDateThatCanBe)
{
    const QDateTime written(QDate(2026, 2, 3), QTime(4, 5, 6), Qt::UTC);
    for (const QByteArray date : {R"("")", R"("x")", "1767225600250", "null", R"("9223372036854775807")"}) {
        const MessageSummary row = summaryOf(
            R"({"internalDate":)" + date +
            R"(,"payload":{"headers":[{"name":"Date","value":"Tue, 3 Feb 2026 04:05:06 +0000"}]}})");
        EXPECT_EQ(row.date, written) << date.toStdString();
    }
}

TEST(GmailMessage, OfWrongTypesIsAnEmptyRow)
{
    const MessageSummary row = summaryOf(R"({"id":7,"labelIds":"INBOX","snippet":[],"sizeEstimate":"9",
        "payload":{"mimeType":1,"headers":[1,{"name":1,"value":2},{"value":"x"},{"name":"Subject"}]}})");
    EXPECT_EQ(row.id, u"");
    EXPECT_EQ(row.subject, u"");
    EXPECT_EQ(row.size, 0);
    EXPECT_TRUE(summaryOf(R"({"payload":[],"labelIds":[1,null,"A"]})").labelIDs == QList<QString>{u"A"_s});
    EXPECT_EQ(summaryOf(R"({"payload":{"headers":{}}})").subject, u"");
}

TEST(GmailMessage, IsInOnePlaceByItsLabels)
{
    const QList<std::pair<QList<QString>, QString>> places{
        {{u"INBOX"_s, u"TRASH"_s, u"SPAM"_s, u"DRAFT"_s, u"SENT"_s}, u"Trash"_s},
        {{u"INBOX"_s, u"SPAM"_s, u"DRAFT"_s, u"SENT"_s}, u"Spam"_s},
        {{u"INBOX"_s, u"DRAFT"_s, u"SENT"_s}, u"Drafts"_s},
        {{u"INBOX"_s, u"SENT"_s, u"Label_1"_s}, u"Inbox"_s},
        {{u"SENT"_s, u"Label_1"_s}, u"Sent"_s},
        {{u"UNREAD"_s, u"Label_2"_s, u"Label_10"_s, u"CATEGORY_SOCIAL"_s}, u"Label_10,Label_2"_s},
        {{u"UNREAD"_s, u"STARRED"_s}, u"All Mail"_s},
        {{}, u"All Mail"_s}};
    for (const auto& [labels, text] : places)
        EXPECT_EQ(GmailMessage::mailboxText(labels), text);
}

TEST(GmailMessage, InTheTrashWithAUserLabelIsInTheTrash)
{
    EXPECT_EQ(GmailMessage::mailboxText({u"Label_1"_s, u"TRASH"_s}), u"Trash");
}

TEST(GmailMessage, HasAttachmentsWhereItIsMixedAndNotWhereItIsAnAlternative)
{
    EXPECT_TRUE(summaryOf(R"({"payload":{"mimeType":"multipart/mixed"}})").hasAttachments);
    EXPECT_FALSE(summaryOf(R"({"payload":{"mimeType":"multipart/alternative"}})").hasAttachments);
    EXPECT_FALSE(summaryOf(R"({"payload":{"mimeType":"text/plain"}})").hasAttachments);
}

TEST(GmailMessage, KeepsEachLabelOnce)
{
    MessageSummary row;
    GmailMessage::setLabels(row, {u"UNREAD"_s, u"INBOX"_s, u"UNREAD"_s});
    EXPECT_EQ(row.labelIDs, (QList<QString>{u"INBOX"_s, u"UNREAD"_s}));
    EXPECT_FALSE(row.isRead);
    GmailMessage::setLabels(row, {u"STARRED"_s});
    EXPECT_TRUE(row.isRead);
    EXPECT_TRUE(row.isStarred);
    EXPECT_EQ(row.mailbox, u"All Mail");
}

TEST(GmailMessage, NamesTheLabelsOfAMailboxText)
{
    EXPECT_EQ(GmailMessage::labelsIn(u"Label_1,Label_2"_s), (QStringList{u"Label_1"_s, u"Label_2"_s}));
    EXPECT_EQ(GmailMessage::labelsIn(u"Inbox"_s), QStringList());
}

TEST(GmailMessage, TakesNoMoreOfTheSenderThanARowNeeds)
{
    const QByteArray subject(3000, 's');
    const QByteArray snippet(3000, 'n');
    QByteArray recipients;
    for (int number = 0; number < 200; ++number)
        recipients += "a" + QByteArray::number(number) + "@example.org,";
    const MessageSummary row =
        summaryOf(R"({"snippet":")" + snippet + R"(","payload":{"headers":[{"name":"Subject","value":")" +
                  subject + R"("},{"name":"To","value":")" + recipients + R"("}]}})");
    EXPECT_EQ(row.subject.size(), 2000);
    EXPECT_EQ(row.snippet.size(), 1000);
    EXPECT_EQ(row.to.size(), 100);
}

} // namespace
} // namespace Larkhaven
