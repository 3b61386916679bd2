#include "domain/Coding.h"
#include "domain/MailError.h"
#include "domain/ServiceEndpoints.h"
#include "format/MailEncoding.h"
#include "format/MessageComposer.h"
#include "platform/Tasks.h"
#include "providers/GmailMessage.h"
#include "providers/GmailProvider.h"
#include "providers/GmailRequest.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QUuid>

#include <algorithm>

using namespace Qt::StringLiterals;

// What the provider of a Google account reads whole, sends and stores.

namespace Larkhaven {

using GmailRequest::get;

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(GmailProvider)
};

/// A message of 50 MB, the largest that Gmail has, in base64, with room to spare.
constexpr qsizetype longestRawAnswer = 128 * 1024 * 1024;

QString cacheKey(const QString& id)
{
    return u"gmail:"_s + id;
}

QByteArray rawContent(const QByteArray& answer)
{
    const QJsonValue raw = QJsonDocument::fromJson(answer)["raw"_L1];
    const std::optional<QByteArray> bytes =
        raw.isString() ? MailEncoding::base64URLDecode(raw.toString()) : std::nullopt;
    if (!bytes)
        throw MailError::protocolError(Texts::tr("Message has no raw content"));
    return *bytes;
}

/// The multipart form of an upload: the metadata, and the message as it is (RFC 2387).
QByteArray uploadBody(const QByteArray& boundary, const QJsonObject& metadata, const OutgoingMessage& message)
{
    const QByteArray raw = MessageComposer::build(message, QDateTime::currentDateTimeUtc());
    const QByteArray json = QJsonDocument(metadata).toJson(QJsonDocument::Compact);
    QByteArray body;
    body.reserve(raw.size() + json.size() + 3 * boundary.size() + 200);
    body += "--" + boundary + "\r\nContent-Type: application/json; charset=UTF-8\r\n\r\n" + json;
    body += "\r\n--" + boundary + "\r\nContent-Type: message/rfc822\r\n\r\n";
    body += raw;
    body += "\r\n--" + boundary + "--\r\n";
    return body;
}

/// The failure of a request that sends a message: whether it went out is told with it.
[[noreturn]] void rethrowOfSending(const std::exception_ptr& failure)
{
    if (!GmailRequest::mayHaveArrived(failure))
        std::rethrow_exception(failure);
    try {
        std::rethrow_exception(failure);
    } catch (const MailError& error) {
        throw error.afterHandingOver();
    } catch (const HTTPError& error) {
        const bool isSilent = error.kind() == HTTPError::Kind::timedOut;
        throw(isSilent ? MailError::connectionSilent() : MailError::connectionClosed()).afterHandingOver();
    }
}

} // namespace

// --- Reading

Task<QByteArray> GmailProvider::fetchRaw(QString id)
{
    const auto self = shared_from_this();
    if (m_cache) {
        const std::optional<QByteArray> stored = co_await m_cache->read(cacheKey(id));
        QByteArray bytes = stored.value_or(QByteArray());
        if (stored)
            co_return bytes;
    }
    const Query query{{u"format"_s, u"raw"_s}};
    AuthorizedAPI::Request request = get("messages/" + GmailRequest::escaped(id), query);
    request.mostBody = longestRawAnswer;
    const QByteArray answer = co_await m_api.request(request);
    const auto decode = [answer] { return rawContent(answer); };
    QByteArray bytes = co_await runOnWorker(decode);
    if (m_cache)
        co_await m_cache->write(cacheKey(id), bytes);
    co_return bytes;
}

Task<std::optional<QString>> GmailProvider::threadID(QString id)
{
    const auto self = shared_from_this();
    const Query query{{u"format"_s, u"minimal"_s}};
    const QByteArray answer = co_await m_api.request(get("messages/" + GmailRequest::escaped(id), query));
    const QString thread = QJsonDocument::fromJson(answer)["threadId"_L1].toString();
    co_return thread.isEmpty() ? std::nullopt : std::optional(thread);
}

Task<bool> GmailProvider::wasSent(QString messageID)
{
    const auto self = shared_from_this();
    if (messageID.isEmpty())
        co_return false;
    const Query query{{u"maxResults"_s, u"1"_s},
                      {u"fields"_s, u"messages/id"_s},
                      {u"labelIds"_s, GmailMessage::SystemLabel::sent},
                      {u"q"_s, u"rfc822msgid:"_s + messageID}};
    const QJsonObject answer = co_await m_api.requestJSON(get("messages", query));
    co_return !answer["messages"_L1].toArray().isEmpty();
}

// --- Writing

Task<std::optional<QString>> GmailProvider::findDraft(Query search, std::function<bool(QString)> isMeant)
{
    std::optional<QString> token;
    for (int page = 0; page < mostPages; ++page) {
        Query query{{u"maxResults"_s, u"500"_s}, {u"fields"_s, u"drafts(id,message/id),nextPageToken"_s}};
        if (token)
            query.append({u"pageToken"_s, *token});
        const QJsonObject answer = co_await m_api.requestJSON(get("drafts", query + search));
        const QJsonArray drafts = answer["drafts"_L1].toArray();
        for (const auto draft : drafts) {
            const QString id = draft["id"_L1].toString();
            if (!id.isEmpty() && isMeant(draft["message"_L1]["id"_L1].toString()))
                co_return std::optional(id);
        }
        const QJsonValue next = answer["nextPageToken"_L1];
        if (!next.isString() || next.toString() == token)
            break;
        token = next.toString();
    }
    co_return std::nullopt;
}

Task<std::optional<QString>> GmailProvider::draftToReplace(OutgoingMessage message,
                                                           std::optional<QString> draftID)
{
    std::optional<QString> draft;
    if (draftID) {
        const auto isMeant = [draftID](const QString& messageID) { return messageID == draftID; };
        draft = co_await findDraft({}, isMeant);
    }
    const QString messageID = message.messageID.value_or(QString());
    if (!draft && m_unsureDrafts.contains(messageID)) {
        const Query search{{u"q"_s, u"rfc822msgid:"_s + messageID}};
        const auto isAny = [](const QString&) { return true; };
        draft = co_await findDraft(search, isAny);
    }
    co_return draft;
}

Task<> GmailProvider::upload(Upload upload, OutgoingMessage message)
{
    const Outcome<void> outcome = co_await settled(uploadOnce(upload, message));
    if (!outcome.failure)
        co_return;
    // The conversation may be gone. What wasn't found has sent and stored nothing.
    if (!message.threadID || !GmailRequest::isNotFound(outcome.failure))
        std::rethrow_exception(outcome.failure);
    message.threadID.reset();
    co_await uploadOnce(upload, message);
}

Task<> GmailProvider::uploadOnce(Upload upload, OutgoingMessage message)
{
    const QJsonObject inThread =
        message.threadID ? QJsonObject{{u"threadId"_s, *message.threadID}} : QJsonObject();
    QJsonObject metadata = inThread;
    if (upload.kind == Upload::Kind::draft)
        metadata = {{u"message"_s, inThread}};
    if (upload.draftID)
        metadata.insert(u"id"_s, *upload.draftID);
    const QByteArray boundary = "lh_" + Coding::fromUuid(QUuid::createUuid()).toLatin1();
    const auto compose = [boundary, metadata, message] { return uploadBody(boundary, metadata, message); };
    AuthorizedAPI::Request request;
    request.body = co_await runOnWorker(compose);
    request.contentType = "multipart/related; boundary=" + boundary;
    request.method = upload.draftID ? "PUT" : "POST";
    QByteArray path = upload.kind == Upload::Kind::message ? "messages/send" : "drafts";
    if (upload.draftID)
        path += '/' + GmailRequest::escaped(*upload.draftID);
    request.path = QByteArray(ServiceEndpoints::Google::gmailUpload.data(),
                              ServiceEndpoints::Google::gmailUpload.size()) +
                   path + "?uploadType=multipart";
    co_await m_api.request(request);
}

Task<bool> GmailProvider::updateDraft(QString draftID, OutgoingMessage message)
{
    const Upload update{Upload::Kind::draft, draftID};
    const Outcome<void> outcome = co_await settled(upload(update, message));
    if (outcome.failure && !GmailRequest::isNotFound(outcome.failure))
        std::rethrow_exception(outcome.failure);
    co_return !outcome.failure;
}

Task<> GmailProvider::send(OutgoingMessage message, std::optional<QString> draftID)
{
    const auto self = shared_from_this();
    const std::optional<QString> draft = co_await draftToReplace(message, draftID);
    bool isUpToDate = false;
    if (draft)
        isUpToDate = co_await updateDraft(*draft, message);
    const Upload whole{Upload::Kind::message, std::nullopt};
    Task<> sending = isUpToDate ? sendDraft(*draft) : upload(whole, message);
    const Outcome<void> outcome = co_await settled(std::move(sending));
    if (outcome.failure)
        rethrowOfSending(outcome.failure);
    m_unsureDrafts.remove(message.messageID.value_or(QString()));
}

Task<> GmailProvider::sendDraft(QString draftID)
{
    const QJsonObject json{{u"id"_s, draftID}};
    co_await m_api.request(GmailRequest::withJSON("POST", "drafts/send", json));
}

Task<> GmailProvider::saveDraft(OutgoingMessage message, std::optional<QString> draftID)
{
    const auto self = shared_from_this();
    const std::optional<QString> draft = co_await draftToReplace(message, draftID);
    bool isReplaced = false;
    if (draft)
        isReplaced = co_await updateDraft(*draft, message);
    if (!isReplaced) {
        const Upload made{Upload::Kind::draft, std::nullopt};
        const Outcome<void> outcome = co_await settled(upload(made, message));
        if (outcome.failure) {
            if (message.messageID && GmailRequest::mayHaveArrived(outcome.failure))
                m_unsureDrafts.insert(*message.messageID);
            std::rethrow_exception(outcome.failure);
        }
    }
    m_unsureDrafts.remove(message.messageID.value_or(QString()));
}

} // namespace Larkhaven
