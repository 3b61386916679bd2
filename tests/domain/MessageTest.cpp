#include "domain/Message.h"

#include "domain/Coding.h"
#include "support/QtPrinters.h"

#include <QJsonDocument>

#include <functional>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

QJsonObject object(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}

QByteArray written(const QJsonObject& stored)
{
    return QJsonDocument(stored).toJson(QJsonDocument::Compact);
}

MessageSummary someSummary()
{
    MessageSummary summary;
    summary.id = u"4711:INBOX"_s;
    summary.accountID = QUuid(u"{01234567-89ab-cdef-0123-456789abcdef}"_s);
    summary.from = EmailAddress(u"Ann"_s, u"ann@x.example"_s);
    summary.to = {EmailAddress(std::nullopt, u"bob@x.example"_s), EmailAddress(u"Cy"_s, u"cy@x.example"_s)};
    summary.subject = u"Grüße"_s;
    summary.date = QDateTime(QDate(2001, 1, 2), QTime(0, 0, 1, 500), Qt::UTC);
    summary.isRead = true;
    summary.size = 1234;
    summary.mailbox = u"Inbox"_s;
    summary.labelIDs = {u"a"_s, u"b"_s};
    return summary;
}

constexpr auto summaryJSON =
    R"({"accountID":"01234567-89AB-CDEF-0123-456789ABCDEF","date":86401.5,)"
    R"("from":{"address":"ann@x.example","name":"Ann"},"hasAttachments":false,"id":"4711:INBOX",)"
    R"("isRead":true,"isStarred":false,"labelIDs":["a","b"],"mailbox":"Inbox","size":1234,"snippet":"",)"
    R"("subject":"Grüße","to":[{"address":"bob@x.example"},{"address":"cy@x.example","name":"Cy"}]})";

TEST(EmailAddress, StoresNoNameThatIsOnlySpaces)
{
    EXPECT_EQ(EmailAddress(u"  "_s, u"ann@x.example"_s).name, std::nullopt);
    EXPECT_EQ(EmailAddress(u"\r\n\t"_s, u"ann@x.example"_s).name, std::nullopt);
    EXPECT_EQ(EmailAddress(u""_s, u"ann@x.example"_s).name, std::nullopt);
}

TEST(EmailAddress, TrimsItsNameAndItsAddress)
{
    const EmailAddress address(u"\n Ann  Example\t"_s, u" ann@x.example\r\n"_s);
    EXPECT_EQ(address.name, u"Ann  Example"_s);
    EXPECT_EQ(address.address, u"ann@x.example");
}

TEST(EmailAddress, IsShownByItsNameOrWhatStandsBeforeTheAtSign)
{
    EXPECT_EQ(EmailAddress(u"Ann"_s, u"a@x.example"_s).displayName(), u"Ann");
    EXPECT_EQ(EmailAddress(std::nullopt, u"a@x.example"_s).displayName(), u"a");
    EXPECT_EQ(EmailAddress(std::nullopt, u"@x"_s).displayName(), u"x");
    EXPECT_EQ(EmailAddress(std::nullopt, u"local"_s).displayName(), u"local");
    EXPECT_EQ(EmailAddress(std::nullopt, u"@"_s).displayName(), u"");
    EXPECT_EQ(EmailAddress(std::nullopt, u""_s).displayName(), u"");
}

TEST(EmailAddress, IsWrittenWithoutAnAbsentName)
{
    EXPECT_EQ(written(EmailAddress(std::nullopt, u"a@x"_s).toJSON()), R"({"address":"a@x"})");
    EXPECT_EQ(written(EmailAddress(u"A"_s, u"a@x"_s).toJSON()), R"({"address":"a@x","name":"A"})");
    EXPECT_EQ(EmailAddress::fromJSON(object(R"({"address":"a@x"})")), EmailAddress(std::nullopt, u"a@x"_s));
    EXPECT_THROW(EmailAddress::fromJSON(object(R"({"name":"A"})")), DecodingError);
}

TEST(EmailAddress, IsReadAsItWasStoredWithoutTrimming)
{
    const EmailAddress address = EmailAddress::fromJSON(object(R"({"address":" a@x ","name":" "})"));
    EXPECT_EQ(address.name, u" "_s);
    EXPECT_EQ(address.address, u" a@x ");
}

TEST(MessageSummary, IsWrittenByItsFieldNamesWithTimesSinceTheYear2001)
{
    EXPECT_EQ(written(someSummary().toJSON()), summaryJSON);
}

TEST(MessageSummary, IsReadBackFromWhatWasWritten)
{
    EXPECT_EQ(MessageSummary::fromJSON(object(summaryJSON)), someSummary());
}

TEST(MessageSummary, IsWrittenWithoutAnAbsentSender)
{
    MessageSummary summary = someSummary();
    summary.from.reset();
    EXPECT_FALSE(summary.toJSON().contains(u"from"_s));
    EXPECT_EQ(MessageSummary::fromJSON(summary.toJSON()), summary);
}

TEST(MessageSummary, IsWrittenWithANegativeTimeBeforeTheYear2001)
{
    MessageSummary summary = someSummary();
    summary.date = QDateTime(QDate(2000, 12, 31), QTime(23, 59, 59), Qt::UTC);
    EXPECT_EQ(summary.toJSON().value(u"date"_s), QJsonValue(-1));
    EXPECT_EQ(MessageSummary::fromJSON(summary.toJSON()).date, summary.date);
}

TEST(MessageSummary, IsRefusedWhereAnyRequiredFieldIsMissing)
{
    const QStringList keys = object(summaryJSON).keys();
    for (const QString& key : keys) {
        QJsonObject stored = object(summaryJSON);
        stored.remove(key);
        if (key == u"from")
            EXPECT_EQ(MessageSummary::fromJSON(stored).from, std::nullopt);
        else
            EXPECT_THROW(MessageSummary::fromJSON(stored), DecodingError) << key.toStdString();
    }
}

TEST(MessageSummary, IsRefusedWhereAFieldIsOfAnotherKind)
{
    const QList<QPair<QString, QJsonValue>> faults{
        {u"to"_s, QJsonObject()},
        {u"to"_s, QJsonArray{1}},
        {u"date"_s, u"2001-01-01"_s},
        {u"date"_s, 1e300},
        {u"isRead"_s, 1},
        {u"size"_s, 1.5},
        {u"size"_s, 1e19},
        {u"labelIDs"_s, QJsonArray{1}},
        {u"labelIDs"_s, u"a"_s},
        {u"accountID"_s, u"0123-4567"_s},
        {u"from"_s, u"ann@x.example"_s},
    };
    for (const auto& [key, wrong] : faults) {
        QJsonObject stored = object(summaryJSON);
        stored.insert(key, wrong);
        EXPECT_THROW(MessageSummary::fromJSON(stored), DecodingError) << key.toStdString();
    }
}

TEST(MessageSummary, IsHashedAndComparedByAllItsFields)
{
    const MessageSummary summary = someSummary();
    const QList<std::function<void(MessageSummary&)>> changes{
        [](MessageSummary& other) { other.id = u"x"_s; },
        [](MessageSummary& other) { other.accountID = QUuid::createUuid(); },
        [](MessageSummary& other) { other.from.reset(); },
        [](MessageSummary& other) { other.to.clear(); },
        [](MessageSummary& other) { other.subject = u"x"_s; },
        [](MessageSummary& other) { other.snippet = u"x"_s; },
        [](MessageSummary& other) { other.date = other.date.addSecs(1); },
        [](MessageSummary& other) { other.isRead = false; },
        [](MessageSummary& other) { other.isStarred = true; },
        [](MessageSummary& other) { other.hasAttachments = true; },
        [](MessageSummary& other) { other.size = 1; },
        [](MessageSummary& other) { other.mailbox = u"x"_s; },
        [](MessageSummary& other) { other.labelIDs.clear(); },
    };
    for (const auto& change : changes) {
        MessageSummary other = summary;
        change(other);
        EXPECT_NE(other, summary);
        EXPECT_NE(qHash(other), qHash(summary));
    }
    EXPECT_EQ(qHash(someSummary()), qHash(summary));
}

TEST(OutgoingAttachment, IsHashedAndComparedByAllItsFields)
{
    const OutgoingAttachment attachment{QUuid::createUuid(), u"a.txt"_s, u"text/plain"_s, "data"};
    QList<OutgoingAttachment> others(4, attachment);
    others[0].id = QUuid::createUuid();
    others[1].filename = u"b.txt"_s;
    others[2].mimeType = u"text/html"_s;
    others[3].data = "other";
    for (const OutgoingAttachment& other : others) {
        EXPECT_NE(other, attachment);
        EXPECT_NE(qHash(other), qHash(attachment));
    }
}

} // namespace
} // namespace Larkhaven
