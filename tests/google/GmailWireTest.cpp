#include "GmailFixture.h"
#include "domain/MailError.h"
#include "http/HTTPMessage.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/RawHeaders.h"

#include <QFile>

#include <gmock/gmock.h>
#include <iostream>

using namespace Qt::StringLiterals;

// The provider of a Google account over the doubles: what only the wire shows.

namespace Larkhaven {
namespace {

using Failure = GoogleServices::Failure;

const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);

class GmailWireTest : public testing::Test {
protected:
    MessagePage list(const MailboxRef& ref, qint64 offset = 0, qint64 limit = 50, bool refresh = true)
    {
        return await(provider().listMessages(ref, std::nullopt, offset, limit, refresh));
    }

    GmailProvider& provider() { return fixture.provider(); }
    GmailMailbox& mailbox() { return fixture.mailbox(); }

    static OutgoingMessage text()
    {
        OutgoingMessage message;
        message.from = {std::nullopt, u"user@gmail.com"_s};
        message.to = {{std::nullopt, u"bob@example.org"_s}};
        message.subject = u"Boat"_s;
        message.body = u"It sails."_s;
        message.messageID = u"text@example.org"_s;
        return message;
    }

    void TearDown() override { EXPECT_EQ(services.violations(), QStringList()); }

    GmailFixture fixture;
    GoogleServices& services = fixture.services;
};

// --- Tokens

TEST_F(GmailWireTest, RefreshesOnceForTwentyRequestsWithAnExpiredToken)
{
    QList<Begun<std::optional<QString>>> begun;
    const QString id = fixture.receive("a");
    await(provider().threadID(id));
    services.expireTokens();
    services.setDelay(30);
    for (int number = 0; number < 20; ++number)
        begun.append(Begun<std::optional<QString>>(provider().threadID(id)));
    for (Begun<std::optional<QString>>& task : begun)
        EXPECT_EQ(task.get(), id);
    EXPECT_EQ(services.google().refreshes(), 1);
    EXPECT_EQ(services.count("GET"), 1 + 20 + 20) << "each of them once with each token";
}

TEST_F(GmailWireTest, AsksNoMoreOfARevokedGrantThanItMust)
{
    const QString id = fixture.receive("a");
    services.revokeGrant();
    QList<Begun<std::optional<QString>>> begun;
    services.setDelay(30);
    for (int number = 0; number < 20; ++number)
        begun.append(Begun<std::optional<QString>>(provider().threadID(id)));
    for (Begun<std::optional<QString>>& task : begun) {
        try {
            task.get();
            ADD_FAILURE() << "nothing failed";
        } catch (const MailError& error) {
            EXPECT_EQ(error.kind(), MailError::Kind::notSignedIn);
        }
    }
    EXPECT_EQ(services.count("GET"), 20);
    EXPECT_LE(services.google().refreshes(), 20);
    EXPECT_GE(services.google().refreshes(), 1);
}

TEST_F(GmailWireTest, KeepsARefreshTokenThatIsRenewed)
{
    services.google().setRotation(OAuthDouble::Rotation::renewed);
    const QString id = fixture.receive("a");
    for (int time = 0; time < 3; ++time) {
        services.expireTokens();
        EXPECT_EQ(await(provider().threadID(id)), id);
    }
    EXPECT_EQ(services.google().refreshes(), 3);
}

// --- Limits

TEST_F(GmailWireTest, WaitsLongerEachTimeInBothStylesOfLimits)
{
    const QString id = fixture.receive("a");
    for (const Failure style : {Failure::tooMany, Failure::rateLimited}) {
        const qsizetype before = fixture.sleeps().size();
        services.failNext(3, style);
        EXPECT_EQ(await(provider().threadID(id)), id);
        const QList<std::chrono::milliseconds> waits = fixture.sleeps().sliced(before);
        ASSERT_EQ(waits.size(), 3);
        for (int wait = 0; wait < 3; ++wait) {
            EXPECT_GE(waits[wait].count(), 1000 << wait);
            EXPECT_LE(waits[wait].count(), (1000 << wait) + 500);
        }
        services.failNext(4, style);
        expectMailError(provider().threadID(id), MailError::Kind::rateLimited);
        services.forgetRequests();
    }
}

TEST_F(GmailWireTest, HasFiveRequestsForRowsAndFourForTheTrashAtOnce)
{
    QList<QString> ids;
    for (int number = 0; number < 30; ++number)
        ids.append(fixture.receive(QByteArray::number(number)));
    services.setDelay(20);
    EXPECT_EQ(list(inbox).messages.size(), 30);
    EXPECT_EQ(services.mostInFlight("GET messages/"), 5);
    await(provider().trash(ids));
    EXPECT_EQ(services.mostInFlight("POST messages/"), 4);
    EXPECT_EQ(mailbox().total(u"TRASH"_s), 30);
    QList<MailLabel> labels;
    for (int number = 0; number < 20; ++number) {
        const QString name = QString::number(number);
        labels.append({mailbox().createLabel(name), name});
    }
    // However many count.
    Begun<QHash<QString, qint64>> first(provider().counts(labels));
    Begun<QHash<QString, qint64>> second(provider().counts(labels));
    first.get();
    second.get();
    EXPECT_EQ(services.mostInFlight("GET labels/"), 5);
}

TEST_F(GmailWireTest, HasFiveRequestsForRowsAtOnceHoweverManyPagesAreWanted)
{
    for (int number = 0; number < 30; ++number)
        fixture.receive(QByteArray::number(number));
    services.setDelay(20);
    const auto page = [this](qint64 offset) {
        return provider().listMessages(inbox, std::nullopt, offset, 10, false);
    };
    Begun<MessagePage> first(page(0));
    Begun<MessagePage> second(page(10));
    Begun<MessagePage> third(page(20));
    EXPECT_EQ(first.get().messages.size() + second.get().messages.size() + third.get().messages.size(), 30);
    EXPECT_EQ(services.mostInFlight("GET messages/"), 5);
}

// --- Ids

TEST_F(GmailWireTest, EscapesEveryIdThatTheServiceGives)
{
    const QStringList odd{u"a/b"_s,  u"a+b"_s,     u"100%"_s,
                          u"a b"_s,  u"%2F"_s,     u"../x"_s,
                          u"?q=#"_s, u"ä\u2028"_s, u".."_s + QString(u'/').repeated(300)};
    for (const QString& id : odd) {
        const QString name = u"Label %1"_s.arg(odd.indexOf(id));
        const QString label = mailbox().createLabel(name, u"labelShow"_s, u"show"_s, u"Label_"_s + id);
        mailbox().insert({.raw = GmailFixture::raw("odd"), .labelIds = {u"INBOX"_s, label}, .id = id});
        const MailLabel known{label, name};
        EXPECT_EQ(list(MailboxRef::label(known)).messages.value(0).id, id);
        await(provider().setStarred(true, {id}));
        await(provider().trash({id}));
        await(provider().setLabel(known, false, {id}));
        EXPECT_EQ(mailbox().message(id)->labelIds, (QSet<QString>{u"TRASH"_s, u"STARRED"_s}));
        EXPECT_EQ(await(provider().fetchRaw(id)), mailbox().message(id)->raw);
        EXPECT_EQ(await(provider().threadID(id)), id);
        await(provider().renameLabel(known, u"Other"_s + name));
        await(provider().deleteLabel(known));
        EXPECT_TRUE(mailbox().isGone(label));
    }
}

// --- At once

TEST_F(GmailWireTest, KnowsWhatAnotherClientDidWhileTheRowWasUnderWay)
{
    list(inbox);
    const QString id = fixture.receive("a");
    services.setAfterHook([&](const WebRequest& request, WebReply reply) {
        if (request.target.contains("format=metadata")) {
            mailbox().modify(id, {u"STARRED"_s}, {u"UNREAD"_s});
            reply.delay = 500;
        }
        return reply;
    });
    Begun<MessagePage> begun(provider().listMessages(inbox, std::nullopt, 0, 50, true));
    ASSERT_TRUE(waitUntil([&] { return services.inFlight("GET messages/") == 1; }));
    Begun<MessagePage> other(
        provider().listMessages(MailboxRef::system(Mailbox::spam), std::nullopt, 0, 50, true));
    EXPECT_TRUE(waitUntil([&] { return services.requests().last().contains("labelIds=SPAM"); }));
    EXPECT_EQ(services.inFlight("GET messages/"), 1) << "the history came first";
    begun.get();
    other.get();
    EXPECT_EQ(list(inbox).messages, QList<MessageSummary>{fixture.row(*mailbox().message(id))});
}

TEST_F(GmailWireTest, ForgetsAPageThatIsOlderThanTheHistory)
{
    fixture.receive("a");
    list(inbox);
    fixture.receive("b");
    bool isOlder = true;
    services.setAfterHook([&](const WebRequest& request, WebReply reply) {
        if (request.target.contains("/messages?") && std::exchange(isOlder, false)) {
            fixture.receive("c");
            reply.delay = 500;
        }
        return reply;
    });
    Begun<MessagePage> begun(provider().listMessages(inbox, std::nullopt, 0, 50, true));
    ASSERT_TRUE(waitUntil([&] { return services.inFlight("GET messages?") == 1; }));
    list(MailboxRef::system(Mailbox::spam));
    EXPECT_EQ(begun.get().messages.size(), 3);
    EXPECT_EQ(list(inbox, 0, 50, false).messages.size(), 3);
}

// --- Many

qint64 memory(const char* name)
{
    QFile file(u"/proc/self/status"_s);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray status = file.readAll();
    return status.sliced(status.indexOf(name) + qstrlen(name) + 1).trimmed().split(' ').first().toLongLong() /
           1024;
}

/// From now on the peak is measured anew.
void forgetPeak()
{
    QFile file(u"/proc/self/clear_refs"_s);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("5");
}

TEST_F(GmailWireTest, PagesThroughALabelOf200000MessagesWithoutReadingItTwice)
{
    constexpr int many = 200'000;
    constexpr qint64 size = 50;
    const MailLabel label{mailbox().createLabel(u"Many"_s), u"Many"_s};
    for (int number = 0; number < many; ++number)
        mailbox().insert({.raw = "From: a@b\r\nSubject: c\r\n\r\n", .labelIds = {label.id}});
    const MailboxRef ref = MailboxRef::label(label);
    list(ref, 0, size);
    services.forgetRequests();
    forgetPeak();
    const qint64 before = memory("VmRSS:");
    EXPECT_EQ(await(provider().lastPageOffset(ref, std::nullopt, size)), many - size);
    EXPECT_EQ(services.count("GET /gmail/v1/users/me/messages?"), many / 500 - 1) << "the first one is known";
    services.forgetRequests();
    for (const qint64 offset : {many - size, many / 2 / size * size, qint64{0}}) {
        const MessagePage page = list(ref, offset, size);
        EXPECT_EQ(page.messages.size(), size);
        EXPECT_EQ(page.hasMore, offset + size < many);
        EXPECT_EQ(page.total, many);
    }
    EXPECT_EQ(services.count("GET /gmail/v1/users/me/messages?"), 0);
    EXPECT_EQ(services.count("GET /gmail/v1/users/me/messages/"), 2 * size) << "the first page is known";
    const qint64 growth = memory("VmHWM:") - before;
    std::cout << "peak of memory: " << growth << " MiB above " << before << " MiB\n";
#if !defined(__SANITIZE_ADDRESS__)
    // What the sanitizer keeps of freed memory is not ours.
    EXPECT_LT(growth, 200);
#endif
}

TEST_F(GmailWireTest, EndsAListingThatNeverDoes)
{
    int pages = 0;
    services.setHook([&](const WebRequest& request) -> std::optional<WebReply> {
        if (!request.target.contains("/messages?"))
            return std::nullopt;
        ++pages;
        QByteArray ids;
        for (int number = 0; number < 500; ++number)
            ids += (number == 0 ? "{\"id\":\"" : ",{\"id\":\"") + QByteArray::number(pages * 500 + number) +
                   "\"}";
        return WebReply{200, "{\"messages\":[" + ids + "],\"nextPageToken\":\"" + QByteArray::number(pages) +
                                 "\"}"};
    });
    EXPECT_EQ(await(provider().lastPageOffset(inbox, std::nullopt, 50)), 200'000 - 50);
    EXPECT_EQ(pages, 400);
}

TEST_F(GmailWireTest, EndsHistoryAndDraftsThatNeverDo)
{
    fixture.receive("a");
    list(inbox);
    int pages = 0;
    services.setHook([&](const WebRequest& request) -> std::optional<WebReply> {
        if (!request.target.contains("/history?") && !request.target.contains("/drafts?maxResults"))
            return std::nullopt;
        return WebReply{200,
                        "{\"historyId\":\"5\",\"nextPageToken\":\"" + QByteArray::number(++pages) + "\"}"};
    });
    list(inbox);
    EXPECT_EQ(pages, 10'000);
    pages = 0;
    await(provider().saveDraft(text(), u"none"_s));
    EXPECT_EQ(pages, 10'000);
    EXPECT_EQ(mailbox().drafts().size(), 1);
}

TEST_F(GmailWireTest, EndsWhereAPageTokenIsRepeated)
{
    fixture.receive("a");
    list(inbox);
    services.setHook([&](const WebRequest& request) -> std::optional<WebReply> {
        for (const QByteArray part : {"/history?", "/drafts?maxResults", "/messages?"}) {
            if (request.target.contains(part))
                return WebReply{200, R"({"historyId":"5","nextPageToken":"again"})"};
        }
        return std::nullopt;
    });
    services.forgetRequests();
    list(MailboxRef::system(Mailbox::spam));
    await(provider().saveDraft(text(), u"none"_s));
    EXPECT_EQ(services.count("GET /gmail/v1/users/me/history?"), 2);
    EXPECT_EQ(services.count("GET /gmail/v1/users/me/messages?"), 2);
    EXPECT_EQ(services.count("GET /gmail/v1/users/me/drafts?"), 2);
}

// --- Nothing twice

TEST_F(GmailWireTest, SendsAPostOnceThatIsDroppedAfterItWasRead)
{
    await(provider().listLabels());
    services.failNext(1, Failure::dropAfter, "messages/send");
    OutgoingMessage reply = text();
    reply.threadID = fixture.receive("a");
    try {
        await(provider().send(reply));
        ADD_FAILURE() << "nothing failed";
    } catch (const MailError& error) {
        EXPECT_TRUE(error.mayHaveBeenSent());
        EXPECT_EQ(error.localizedText(), u"Mail protocol error: The server closed the connection."_s);
    }
    EXPECT_EQ(services.count("POST"), 1);
    EXPECT_EQ(mailbox().total(u"SENT"_s), 1);
    EXPECT_TRUE(await(provider().wasSent(u"text@example.org"_s)));
}

TEST_F(GmailWireTest, PutsBackEachChangeOfPlace)
{
    const MailLabel work = await(provider().createLabel(u"Work"_s));
    const QString inInbox = fixture.receive("a", {u"INBOX"_s, u"UNREAD"_s});
    const QString labelled = fixture.receive("b", {u"INBOX"_s, work.id});
    const QList<QString> both{inInbox, labelled};
    list(inbox);
    const auto isAsBefore = [&] {
        return mailbox().message(inInbox)->labelIds == QSet<QString>{u"INBOX"_s, u"UNREAD"_s} &&
               mailbox().message(labelled)->labelIds == QSet<QString>{u"INBOX"_s, work.id};
    };
    const auto archive = [&] { return provider().archive(both); };
    const auto trash = [&] { return provider().trash(both); };
    const auto spam = [&] { return provider().markSpam(both); };
    const auto label = [&] { return provider().moveToLabel(both, work); };
    for (const std::function<Task<>()>& change :
         QList<std::function<Task<>()>>{archive, trash, spam, label}) {
        await(change());
        EXPECT_FALSE(isAsBefore());
        EXPECT_TRUE(await(provider().canPutBack(both)));
        await(provider().putBack(both));
        EXPECT_TRUE(isAsBefore());
        EXPECT_EQ(list(inbox).messages.size(), 2);
    }
}

TEST_F(GmailWireTest, ChangesNothingTwiceWhereTheConnectionDrops)
{
    const QString id = fixture.receive("a");
    const MailLabel label{mailbox().createLabel(u"Work"_s), u"Work"_s};
    list(inbox);
    for (const Failure failure : {Failure::dropBefore, Failure::dropAfter}) {
        services.forgetRequests();
        services.failNext(1, failure, "messages/batchModify");
        EXPECT_THROW(await(provider().setRead(true, {id})), LocalizedError);
        services.failNext(1, failure, "messages/" + id.toLatin1() + "/trash");
        EXPECT_THROW(await(provider().trash({id})), LocalizedError);
        services.failNext(1, failure, "drafts?uploadType");
        EXPECT_THROW(await(provider().saveDraft(text())), LocalizedError);
        services.failNext(1, failure, "labels/");
        EXPECT_THROW(await(provider().renameLabel(label, u"Home"_s)), LocalizedError);
        EXPECT_EQ(services.count("POST") + services.count("PATCH"), 4);
    }
    EXPECT_EQ(mailbox().drafts().size(), 1);
    EXPECT_EQ(mailbox().label(label.id)->name, u"Home"_s);
    EXPECT_TRUE(list(inbox).messages.isEmpty()) << "what was done is seen with the next look";
}

} // namespace
} // namespace Larkhaven
