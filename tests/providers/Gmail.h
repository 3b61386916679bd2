#pragma once

#include "domain/ServiceEndpoints.h"
#include "providers/GmailProvider.h"
#include "store/AESGCMCipher.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/WebServer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QUrl>

#include <algorithm>
#include <deque>
#include <memory>

namespace Larkhaven {

/// One token that is always good.
class SteadyToken final : public TokenSource {
public:
    Task<QString> validToken(bool) override { co_return QStringLiteral("a-steady-token"); }
};

/// A Gmail provider and a service that answers from a table. Each request is logged as its method and its
/// target below the base, percent-decoded, and a JSON body behind them.
class GmailTest : public testing::Test {
protected:
    using Replies = std::deque<WebReply>;

    GmailTest() { restart(); }

    /// A new provider on the same cache.
    void restart(bool hasCache = true)
    {
        account.id = QUuid::fromString(QStringLiteral("11111111-2222-3333-4444-555555555555"));
        account.provider = ProviderKind::google;
        account.email = QStringLiteral("me@example.org");
        const auto cipher = std::make_shared<AESGCMCipher>(QByteArray(AESGCMCipher::keySize, 'k'));
        cache = hasCache ? std::make_shared<MailCache>(folder.path() + QStringLiteral("/cache"), cipher,
                                                       100'000'000)
                         : nullptr;
        provider = GmailProvider::create(account, std::make_shared<SteadyToken>(), cache,
                                         [this](std::chrono::milliseconds, const std::stop_token&) {
                                             ++sleeps;
                                             return slept();
                                         });
    }

    /// Answers this request, each time that it comes; several answers in turn, the last one from then on.
    void on(const QByteArray& request, const Replies& replies) { table[request] = replies; }
    void on(const QByteArray& request, const QByteArray& json) { table[request] = {WebReply{200, json}}; }
    void onFailure(const QByteArray& request, int status) { table[request] = {WebReply{status, "{}"}}; }

    static QByteArray listRequest(const QByteArray& rest)
    {
        return "GET messages?maxResults=500&fields=messages/id,nextPageToken,resultSizeEstimate" + rest;
    }
    static QByteArray rowRequest(const QByteArray& id)
    {
        return "GET messages/" + id +
               "?format=metadata&metadataHeaders=From&metadataHeaders=To&metadataHeaders=Subject"
               "&metadataHeaders=Date";
    }
    static QByteArray labelsRequest(const QByteArray& id)
    {
        return "GET messages/" + id + "?format=minimal&fields=id,labelIds";
    }
    static QByteArray historyRequest(const QByteArray& start, const QByteArray& token = {})
    {
        return "GET history?startHistoryId=" + start + "&maxResults=500" +
               (token.isEmpty() ? QByteArray() : "&pageToken=" + token);
    }
    static QByteArray ids(const QByteArrayList& ids, const QByteArray& rest = {})
    {
        QByteArrayList messages;
        for (const QByteArray& id : ids)
            messages.append("{\"id\":\"" + id + "\"}");
        return "{\"messages\":[" + messages.join(',') + "]" + rest + "}";
    }
    static QByteArray message(const QByteArray& id, const QByteArray& labels = "\"INBOX\"")
    {
        return "{\"id\":\"" + id + "\",\"labelIds\":[" + labels + "],\"internalDate\":\"1767225600000\"}";
    }
    /// A message that is listed and can be asked for.
    void addRow(const QByteArray& id, const QByteArray& labels = "\"INBOX\"")
    {
        on(rowRequest(id), message(id, labels));
    }
    /// An Inbox of these, and a history that begins at 100.
    void setInbox(const QByteArrayList& messages)
    {
        on(listRequest("&labelIds=INBOX"), ids(messages));
        for (const QByteArray& id : messages)
            addRow(id);
        on("GET labels/INBOX?fields=messagesTotal",
           "{\"messagesTotal\":" + QByteArray::number(messages.size()) + "}");
        on("GET profile?fields=historyId", R"({"historyId":"100"})");
    }

    Task<MessagePage> inbox(qint64 offset = 0, qint64 limit = 10, bool refresh = false)
    {
        return provider->listMessages(MailboxRef::system(Mailbox::inbox), std::nullopt, offset, limit,
                                      refresh);
    }
    static QStringList idsOf(const MessagePage& page)
    {
        QStringList ids;
        for (const MessageSummary& row : page.messages)
            ids.append(row.id);
        return ids;
    }

    /// What was asked since the last call, in its order.
    QByteArrayList asked() { return std::exchange(log, {}); }
    QByteArrayList askedSorted()
    {
        QByteArrayList sorted = asked();
        std::ranges::sort(sorted);
        return sorted;
    }

    QTemporaryDir folder;
    Account account;
    QHash<QByteArray, Replies> table;
    QByteArrayList log;
    int sleeps = 0;
    bool acceptsBatches = false;
    WebServer server{[this](const WebRequest& request) { return answer(request); }};
    std::shared_ptr<MailCache> cache;
    std::shared_ptr<GmailProvider> provider;

private:
    static Task<bool> slept() { co_return true; }

    WebReply answer(const WebRequest& request)
    {
        const QByteArray base = "/gmail/v1/users/me/";
        const QByteArray path =
            request.target.startsWith(base) ? request.target.sliced(base.size()) : request.target;
        QByteArray name = request.method + ' ' + QByteArray::fromPercentEncoding(path);
        if (request.header("content-type") == "application/json")
            name += ' ' + request.body;
        log.append(name);
        if (acceptsBatches && path == "messages/batchModify")
            return {200, ""};
        const auto found = table.find(name);
        if (found == table.end())
            return {404, R"({"error":{"code":404,"message":"Requested entity was not found."}})"};
        const WebReply reply = found->front();
        if (found->size() > 1)
            found->pop_front();
        return reply;
    }
};

} // namespace Larkhaven
