#include "model/ComposeRecovery.h"

#include "platform/Tasks.h"

#include <QCborArray>
#include <QCborMap>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

const QString listName = u"compose"_s;

QString textName(const QUuid& id)
{
    return u"compose:"_s + id.toString(QUuid::WithoutBraces);
}

QString filesName(const QUuid& id)
{
    return u"compose-files:"_s + id.toString(QUuid::WithoutBraces);
}

void insert(QCborMap& map, QLatin1StringView key, const std::optional<QString>& value)
{
    if (value)
        map.insert(key, *value);
}

std::optional<QString> text(const QCborMap& map, QLatin1StringView key)
{
    const QCborValue value = map.value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

QByteArray encodedText(const ComposeDraft& draft)
{
    QCborMap map{{u"to"_s, draft.to},           {u"cc"_s, draft.cc},     {u"bcc"_s, draft.bcc},
                 {u"subject"_s, draft.subject}, {u"body"_s, draft.body}, {u"isRichText"_s, draft.isRichText}};
    insert(map, "inReplyTo"_L1, draft.inReplyTo);
    insert(map, "threadID"_L1, draft.threadID);
    insert(map, "draftMessageID"_L1, draft.draftMessageID);
    map.insert("wasSending"_L1, draft.wasSending);
    map.insert("originAccountID"_L1, QCborValue(draft.originAccountID));
    insert(map, "initialHTML"_L1, draft.initialHTML);
    map.insert("references"_L1, QCborArray::fromStringList(draft.references));
    return map.toCborValue().toCbor();
}

QByteArray encodedFiles(const QList<OutgoingAttachment>& attachments)
{
    QCborArray array;
    for (const OutgoingAttachment& attachment : attachments) {
        array.append(QCborMap{{u"filename"_s, attachment.filename},
                              {u"mimeType"_s, attachment.mimeType},
                              {u"data"_s, attachment.data}});
    }
    return array.toCborValue().toCbor();
}

QList<OutgoingAttachment> decodedFiles(const QByteArray& bytes)
{
    QList<OutgoingAttachment> attachments;
    const QCborArray array = QCborValue::fromCbor(bytes).toArray();
    for (const auto& value : array) {
        const QCborMap map = value.toMap();
        attachments.append({QUuid::createUuid(), map.value("filename"_L1).toString(),
                            map.value("mimeType"_L1).toString(), map.value("data"_L1).toByteArray()});
    }
    return attachments;
}

ComposeDraft decoded(const QUuid& id, const QUuid& accountID, const QByteArray& bytes,
                     const QByteArray& files)
{
    const QCborMap map = QCborValue::fromCbor(bytes).toMap();
    ComposeDraft draft;
    draft.id = id;
    draft.accountID = accountID;
    draft.originAccountID = map.value("originAccountID"_L1).toUuid(accountID);
    draft.to = map.value("to"_L1).toString();
    draft.cc = map.value("cc"_L1).toString();
    draft.bcc = map.value("bcc"_L1).toString();
    draft.subject = map.value("subject"_L1).toString();
    draft.body = map.value("body"_L1).toString();
    draft.isRichText = map.value("isRichText"_L1).toBool();
    draft.wasSending = map.value("wasSending"_L1).toBool();
    draft.inReplyTo = text(map, "inReplyTo"_L1);
    draft.threadID = text(map, "threadID"_L1);
    draft.draftMessageID = text(map, "draftMessageID"_L1);
    draft.initialHTML = text(map, "initialHTML"_L1);
    const QCborArray references = map.value("references"_L1).toArray();
    for (const auto& reference : references)
        draft.references.append(reference.toString());
    draft.attachments = decodedFiles(files);
    return draft;
}

QList<QUuid> decodedList(const QByteArray& bytes)
{
    QList<QUuid> ids;
    const QCborArray array = QCborValue::fromCbor(bytes).toArray();
    for (const auto& value : array) {
        const QUuid id = value.toUuid();
        if (!id.isNull() && ids.size() < ComposeRecovery::maxDrafts)
            ids.append(id);
    }
    return ids;
}

/// Attachments never change but as a whole; their bytes need no look.
bool hasSameFiles(const ComposeDraft& left, const ComposeDraft& right)
{
    return std::ranges::equal(left.attachments, right.attachments, {}, &OutgoingAttachment::id,
                              &OutgoingAttachment::id);
}

} // namespace

void ComposeRecovery::keep(const ComposeDraft& draft)
{
    const auto known = m_kept.constFind(draft.id);
    const bool isNew = known == m_kept.cend();
    const bool hasMoved = !isNew && known->accountID != draft.accountID;
    const bool hasOtherFiles = isNew || hasMoved || !hasSameFiles(*known, draft);
    const std::optional<ComposeDraft> before = hasMoved ? std::optional(*known) : std::nullopt;
    m_kept.insert(draft.id, draft);
    write(draft, hasOtherFiles);
    if (isNew || hasMoved)
        writeList(draft.accountID);
    if (before) {
        writeList(before->accountID);
        erase(*before);
    }
}

void ComposeRecovery::forget(const QUuid& draftID)
{
    if (!m_kept.contains(draftID))
        return;
    const ComposeDraft draft = m_kept.take(draftID);
    writeList(draft.accountID);
    erase(draft);
}

void ComposeRecovery::forgetAccount(const QUuid& accountID)
{
    m_kept.removeIf([&accountID](const auto& entry) { return entry.value().accountID == accountID; });
}

void ComposeRecovery::rewrite()
{
    QSet<QUuid> accounts;
    for (const ComposeDraft& draft : std::as_const(m_kept)) {
        write(draft, true);
        accounts.insert(draft.accountID);
    }
    for (const QUuid& accountID : std::as_const(accounts))
        writeList(accountID);
}

Task<QList<ComposeDraft>> ComposeRecovery::recovered(QUuid accountID)
{
    const std::shared_ptr<ComposeRecovery> self = shared_from_this();
    QList<ComposeDraft> drafts;
    const std::shared_ptr<MailCache> cache = m_caches(accountID);
    if (!cache)
        co_return drafts;
    const std::optional<QByteArray> list = co_await cache->readSnapshot(listName);
    const QList<QUuid> ids = decodedList(list.value_or(QByteArray()));
    for (const QUuid& id : ids) {
        const std::optional<QByteArray> fields = co_await cache->readSnapshot(textName(id));
        const std::optional<QByteArray> files = co_await cache->readSnapshot(filesName(id));
        if (fields && !m_kept.contains(id))
            drafts.append(decoded(id, accountID, *fields, files.value_or(QByteArray())));
    }
    for (const ComposeDraft& draft : std::as_const(drafts))
        m_kept.insert(draft.id, draft);
    // What was kept meanwhile has written a list without these.
    if (!drafts.isEmpty())
        writeList(accountID);
    co_return drafts;
}

void ComposeRecovery::write(const ComposeDraft& draft, bool withAttachments)
{
    const std::shared_ptr<MailCache> cache = m_caches(draft.accountID);
    if (!cache)
        return;
    if (withAttachments)
        spawn(cache->writeSnapshot(filesName(draft.id), encodedFiles(draft.attachments)), dropFailure);
    spawn(cache->writeSnapshot(textName(draft.id), encodedText(draft)), dropFailure);
}

void ComposeRecovery::writeList(const QUuid& accountID)
{
    const std::shared_ptr<MailCache> cache = m_caches(accountID);
    if (!cache)
        return;
    QCborArray ids;
    for (const ComposeDraft& draft : std::as_const(m_kept)) {
        if (draft.accountID == accountID)
            ids.append(QCborValue(draft.id));
    }
    spawn(cache->writeSnapshot(listName, ids.toCborValue().toCbor()), dropFailure);
}

void ComposeRecovery::erase(const ComposeDraft& draft)
{
    const std::shared_ptr<MailCache> cache = m_caches(draft.accountID);
    if (!cache)
        return;
    spawn(cache->removeSnapshot(textName(draft.id)), dropFailure);
    spawn(cache->removeSnapshot(filesName(draft.id)), dropFailure);
}

} // namespace Larkhaven
