#include "support/GmailService.h"

#include "support/GmailAnswers.h"
#include "support/GmailSearch.h"
#include "support/RawHeaders.h"

#include <QHash>
#include <QJsonDocument>

#include <algorithm>
#include <ranges>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// Where the request names no size.
constexpr int usualPage = 100;
constexpr qsizetype mostIds = 1000;
constexpr qsizetype longestLabelName = 225;
/// Labels that a client can't put on a message or take off it.
const QSet<QString> fixedLabels{u"SENT"_s, u"DRAFT"_s, u"CHAT"_s};

QSet<QString> set(const QStringList& ids)
{
    return {ids.begin(), ids.end()};
}

QStringList strings(const QJsonValue& value)
{
    QStringList result;
    for (const QJsonValue& entry : value.toArray())
        result.append(entry.toString());
    return result;
}

} // namespace

GmailService::GmailService(const QString& address)
    : m_mailbox(address)
{}

void GmailService::refuse(const GoogleError& error)
{
    note(m_request + u": "_s + error.message);
    throw error;
}

WebReply GmailService::answer(const WebRequest& request)
{
    m_request = QString::fromUtf8(request.method + ' ' + request.target);
    try {
        const GmailCall call = m_methods.read(request, m_violations);
        const QJsonObject object = serve(call);
        if (object.isEmpty() && call.fields == std::nullopt)
            return {.status = 204};
        const QJsonObject left = call.fields ? call.fields->applied(object).toObject() : object;
        return {.body = QJsonDocument(left).toJson(),
                .headers = {{"Content-Type", "application/json; charset=UTF-8"}}};
    } catch (const GoogleError& error) {
        return error.reply();
    }
}

QJsonObject GmailService::serve(const GmailCall& call)
{
    using Method = QJsonObject (GmailService::*)(const GmailCall&);
    static const QHash<QString, Method> methods{{u"getProfile"_s, &GmailService::profile},
                                                {u"messages.list"_s, &GmailService::listMessages},
                                                {u"messages.get"_s, &GmailService::getMessage},
                                                {u"messages.batchModify"_s, &GmailService::batchModify},
                                                {u"messages.modify"_s, &GmailService::modifyMessage},
                                                {u"messages.trash"_s, &GmailService::trash},
                                                {u"messages.untrash"_s, &GmailService::trash},
                                                {u"messages.send"_s, &GmailService::send},
                                                {u"history.list"_s, &GmailService::history},
                                                {u"labels.list"_s, &GmailService::listLabels},
                                                {u"labels.get"_s, &GmailService::getLabel},
                                                {u"labels.create"_s, &GmailService::createLabel},
                                                {u"labels.patch"_s, &GmailService::updateLabel},
                                                {u"labels.update"_s, &GmailService::updateLabel},
                                                {u"labels.delete"_s, &GmailService::deleteLabel},
                                                {u"drafts.list"_s, &GmailService::listDrafts},
                                                {u"drafts.get"_s, &GmailService::getDraft},
                                                {u"drafts.create"_s, &GmailService::createDraft},
                                                {u"drafts.update"_s, &GmailService::updateDraft},
                                                {u"drafts.delete"_s, &GmailService::deleteDraft},
                                                {u"drafts.send"_s, &GmailService::sendDraft}};
    const Method method = methods.value(call.method);
    if (!method)
        refuse({501, call.method + u" isn't modelled"_s, u"UNIMPLEMENTED"_s});
    return (this->*method)(call);
}

QJsonObject GmailService::profile(const GmailCall&)
{
    return {{u"emailAddress"_s, m_mailbox.address()},
            {u"messagesTotal"_s, m_mailbox.messageCount()},
            {u"threadsTotal"_s, m_mailbox.threadCount()},
            {u"historyId"_s, QString::number(m_mailbox.historyId())}};
}

// --- Messages

/// What isn't there may be gone; what never was there is nothing to ask for.
void GmailService::refuseUnknown(const QString& id)
{
    if (m_mailbox.isGone(id))
        throw GoogleError::notFound();
    refuse(GoogleError::notFound());
}

const GmailMailbox::Message& GmailService::message(const QString& id)
{
    const GmailMailbox::Message* const found = m_mailbox.message(id);
    if (!found)
        refuseUnknown(id);
    return *found;
}

int GmailService::pageSize(const GmailCall& call) const
{
    const int asked = call.value(u"maxResults"_s).toInt();
    return std::min(asked > 0 ? asked : usualPage, m_largestPage);
}

QJsonObject GmailService::listMessages(const GmailCall& call)
{
    const QSet<QString> labelIds = set(call.query.value(u"labelIds"_s));
    for (const QString& id : labelIds) {
        if (m_mailbox.isGone(id))
            throw GoogleError::badRequest(u"Invalid label: "_s + id);
        if (!m_mailbox.label(id))
            refuse(GoogleError::badRequest(u"Invalid label: "_s + id));
    }
    const GmailSearch search(call.value(u"q"_s), m_mailbox);
    const bool isAll = call.value(u"includeSpamTrash"_s) == u"true"_s || search.reachesSpamAndTrash();
    QMap<QString, QStringList> listing = call.query;
    for (const QString& name : {u"pageToken"_s, u"fields"_s, u"maxResults"_s})
        listing.remove(name);
    QString key;
    for (const auto& [name, values] : listing.asKeyValueRange())
        key += name + u'=' + values.join(u',') + u'&';

    std::optional<GmailMailbox::Place> behind;
    if (call.has(u"pageToken"_s)) {
        behind = GmailAnswers::place(call.value(u"pageToken"_s), key);
        if (!behind)
            refuse(GoogleError::badRequest(u"Invalid pageToken"_s));
    }
    QJsonArray page;
    GmailMailbox::Place last{};
    bool hasMore = false;
    const int size = pageSize(call);
    m_mailbox.visit(
        labelIds, behind, [&](const GmailMailbox::Place& place, const GmailMailbox::Message& message) {
            const bool isHidden =
                !isAll && (message.labelIds.contains(u"SPAM"_s) || message.labelIds.contains(u"TRASH"_s));
            if (isHidden || !search.matches(message))
                return true;
            hasMore = page.size() == size;
            if (hasMore)
                return false;
            page.append(GmailAnswers::reference(message));
            last = place;
            return true;
        });
    QJsonObject answer{{u"resultSizeEstimate"_s, page.size() + (hasMore ? 1 : 0)}};
    if (!page.isEmpty())
        answer.insert(u"messages"_s, page);
    if (hasMore)
        answer.insert(u"nextPageToken"_s, GmailAnswers::token(key, last.date, last.number));
    return answer;
}

QJsonObject GmailService::getMessage(const GmailCall& call)
{
    const QString format = call.has(u"format"_s) ? call.value(u"format"_s) : u"full"_s;
    if (format == u"full"_s)
        refuse({501, u"The format \"full\" isn't modelled"_s, u"UNIMPLEMENTED"_s});
    return GmailAnswers::message(message(call.path.value(u"id"_s)), format,
                                 call.query.value(u"metadataHeaders"_s));
}

/// The labels of a change; each of them is there and can be changed.
QSet<QString> GmailService::changedLabels(const QJsonValue& ids)
{
    const QStringList named = strings(ids);
    for (const QString& id : named) {
        const GoogleError error = GoogleError::badRequest(u"Invalid label: "_s + id);
        if (m_mailbox.isGone(id))
            throw error;
        if (!m_mailbox.label(id) || fixedLabels.contains(id))
            refuse(error);
    }
    return set(named);
}

QJsonObject GmailService::batchModify(const GmailCall& call)
{
    const QStringList ids = strings(call.body.value(u"ids"_s));
    const QSet<QString> add = changedLabels(call.body.value(u"addLabelIds"_s));
    const QSet<QString> remove = changedLabels(call.body.value(u"removeLabelIds"_s));
    if (ids.isEmpty())
        refuse(GoogleError::badRequest(u"No message ids specified"_s));
    if (ids.size() > mostIds)
        refuse(GoogleError::badRequest(u"Too many message ids"_s));
    if (set(ids).size() != ids.size())
        refuse(GoogleError::badRequest(u"A message id stands there twice"_s));
    if (add.isEmpty() && remove.isEmpty())
        refuse(GoogleError::badRequest(u"No label add or removes specified"_s));
    if (add.intersects(remove))
        refuse(GoogleError::badRequest(u"Cannot both add and remove the same label"_s));
    // Ids that aren't there are no failure.
    for (const QString& id : ids)
        m_mailbox.modify(id, add, remove);
    return {};
}

QJsonObject GmailService::modifyMessage(const GmailCall& call)
{
    const QString id = call.path.value(u"id"_s);
    const QSet<QString> add = changedLabels(call.body.value(u"addLabelIds"_s));
    const QSet<QString> remove = changedLabels(call.body.value(u"removeLabelIds"_s));
    if (add.isEmpty() && remove.isEmpty())
        refuse(GoogleError::badRequest(u"No label add or removes specified"_s));
    message(id);
    m_mailbox.modify(id, add, remove);
    return GmailAnswers::labelled(id, message(id).threadId, message(id).labelIds);
}

QJsonObject GmailService::trash(const GmailCall& call)
{
    const QString id = call.path.value(u"id"_s);
    message(id);
    if (call.method == u"messages.trash"_s)
        m_mailbox.trash(id);
    else
        m_mailbox.modify(id, {}, {u"TRASH"_s});
    return GmailAnswers::labelled(id, message(id).threadId, message(id).labelIds);
}

// --- Sending

QByteArray GmailService::uploaded(const GmailCall& call, bool isSent)
{
    if (!call.message)
        refuse({501, u"A message that isn't uploaded isn't modelled"_s, u"UNIMPLEMENTED"_s});
    checkMessage(*call.message, isSent);
    return *call.message;
}

/// A message has a sender, and one that goes out somebody to go to.
void GmailService::checkMessage(const QByteArray& raw, bool isSent)
{
    if (raw.count('\n') != raw.count("\r\n") || raw.count('\r') != raw.count("\r\n"))
        refuse(GoogleError::badRequest(u"The message has a line that doesn't end with CR LF"_s));
    if (RawHeaders::value(raw, u"From"_s).isEmpty())
        refuse(GoogleError::badRequest(u"The message has no sender"_s));
    const bool isAddressed =
        std::ranges::any_of(QStringList{u"To"_s, u"Cc"_s, u"Bcc"_s},
                            [&](const QString& name) { return RawHeaders::value(raw, name).contains(u'@'); });
    if (isSent && !isAddressed)
        refuse(GoogleError::badRequest(u"Recipient address required"_s));
}

/// The thread that the metadata name; empty where they name none.
QString GmailService::thread(const QJsonObject& message)
{
    const QString id = message.value(u"threadId"_s).toString();
    if (!id.isEmpty() && !m_mailbox.hasThread(id))
        refuseUnknown(id);
    return id;
}

QJsonObject GmailService::send(const GmailCall& call)
{
    const QByteArray raw = uploaded(call, true);
    const QString id = m_mailbox.insert({.raw = raw, .labelIds = {u"SENT"_s}, .threadId = thread(call.body)});
    return GmailAnswers::labelled(id, message(id).threadId, message(id).labelIds);
}

// --- History

QJsonObject GmailService::history(const GmailCall& call)
{
    using Change = GmailMailbox::Change;
    static const QHash<Change, QString> types{{Change::messageAdded, u"messageAdded"_s},
                                              {Change::messageDeleted, u"messageDeleted"_s},
                                              {Change::labelAdded, u"labelAdded"_s},
                                              {Change::labelRemoved, u"labelRemoved"_s}};
    bool isNumber = false;
    quint64 position = call.value(u"startHistoryId"_s).toULongLong(&isNumber);
    if (!isNumber)
        refuse(GoogleError::badRequest(u"Invalid value at 'startHistoryId'"_s));
    if (!m_mailbox.isHistoryKnown(position))
        throw GoogleError::notFound();
    const QString key = u"history "_s + call.value(u"startHistoryId"_s);
    if (call.has(u"pageToken"_s)) {
        const std::optional<GmailMailbox::Place> place = GmailAnswers::place(call.value(u"pageToken"_s), key);
        if (!place)
            refuse(GoogleError::badRequest(u"Invalid pageToken"_s));
        position = place->number;
    }
    const QStringList wanted = call.query.value(u"historyTypes"_s);
    const QString labelId = call.value(u"labelId"_s);
    QJsonArray page;
    QJsonObject answer{{u"historyId"_s, QString::number(m_mailbox.historyId())}};
    const auto& records = m_mailbox.history();
    const int size = pageSize(call);
    for (auto record = std::ranges::upper_bound(records, position, {}, &GmailMailbox::HistoryRecord::id);
         record != records.end(); ++record) {
        if ((!wanted.isEmpty() && !wanted.contains(types.value(record->change))) ||
            (!labelId.isEmpty() && !(record->after | record->labelIds).contains(labelId)))
            continue;
        if (page.size() == size) {
            answer.insert(u"nextPageToken"_s, GmailAnswers::token(key, 0, std::prev(record)->id));
            break;
        }
        page.append(GmailAnswers::history(*record));
    }
    if (!page.isEmpty())
        answer.insert(u"history"_s, page);
    return answer;
}

// --- Labels

QJsonObject GmailService::listLabels(const GmailCall&)
{
    QJsonArray labels;
    for (const GmailMailbox::Label& label : m_mailbox.labels())
        labels.append(GmailAnswers::label(label));
    return {{u"labels"_s, labels}};
}

QJsonObject GmailService::getLabel(const GmailCall& call)
{
    const GmailMailbox::Label* const label = m_mailbox.label(call.path.value(u"id"_s));
    if (!label)
        refuseUnknown(call.path.value(u"id"_s));
    QJsonObject answer = GmailAnswers::label(*label);
    answer.insert(u"messagesTotal"_s, m_mailbox.total(label->id));
    answer.insert(u"messagesUnread"_s, m_mailbox.unread(label->id));
    if (!call.wants(u"threadsTotal"_s) && !call.wants(u"threadsUnread"_s))
        return answer;
    QSet<QString> threads;
    QSet<QString> unread;
    m_mailbox.visit({label->id}, {}, [&](const GmailMailbox::Place&, const GmailMailbox::Message& message) {
        threads.insert(message.threadId);
        if (message.labelIds.contains(u"UNREAD"_s))
            unread.insert(message.threadId);
        return true;
    });
    answer.insert(u"threadsTotal"_s, threads.size());
    answer.insert(u"threadsUnread"_s, unread.size());
    return answer;
}

/// The name in the body, which no label but the one of this id has.
QString GmailService::freeName(const QJsonObject& body, const QString& id)
{
    const QString name = body.value(u"name"_s).toString();
    const bool isOne = !name.isEmpty() && name == name.trimmed() && name.size() <= longestLabelName &&
                       !name.startsWith(u'/') && !name.endsWith(u'/') && !name.contains(u"//"_s);
    const GmailMailbox::Label* const other = m_mailbox.labelNamed(name);
    if (!isOne)
        refuse(GoogleError::badRequest(u"Invalid label name"_s));
    if (other && other->isSystem)
        throw GoogleError::badRequest(u"Invalid label name"_s);
    if (other && other->id != id)
        throw GoogleError{409, u"Label name exists or conflicts"_s, u"ALREADY_EXISTS"_s, u"aborted"_s};
    return name;
}

QJsonObject GmailService::createLabel(const GmailCall& call)
{
    const QString name = freeName(call.body, {});
    const QString id =
        m_mailbox.createLabel(name, call.body.value(u"labelListVisibility"_s).toString(u"labelShow"_s),
                              call.body.value(u"messageListVisibility"_s).toString(u"show"_s));
    return GmailAnswers::label(*m_mailbox.label(id));
}

GmailMailbox::Label GmailService::userLabel(const QString& id)
{
    const GmailMailbox::Label* const label = m_mailbox.label(id);
    if (!label)
        refuseUnknown(id);
    if (label->isSystem)
        refuse(GoogleError::badRequest(u"Invalid update request"_s));
    return *label;
}

QJsonObject GmailService::updateLabel(const GmailCall& call)
{
    GmailMailbox::Label label = userLabel(call.path.value(u"id"_s));
    if (call.body.contains(u"id"_s) && call.body.value(u"id"_s) != label.id)
        refuse(GoogleError::badRequest(u"Label id mismatch"_s));
    if (call.body.contains(u"name"_s) || call.method == u"labels.update"_s)
        label.name = freeName(call.body, label.id);
    label.labelListVisibility = call.body.value(u"labelListVisibility"_s).toString(label.labelListVisibility);
    label.messageListVisibility =
        call.body.value(u"messageListVisibility"_s).toString(label.messageListVisibility);
    m_mailbox.updateLabel(label);
    return GmailAnswers::label(label);
}

QJsonObject GmailService::deleteLabel(const GmailCall& call)
{
    m_mailbox.deleteLabel(userLabel(call.path.value(u"id"_s)).id);
    return {};
}

// --- Drafts

QString GmailService::draftId(const QString& id)
{
    if (!m_mailbox.drafts().contains(id))
        refuseUnknown(id);
    return id;
}

QJsonObject GmailService::listDrafts(const GmailCall& call)
{
    const GmailSearch search(call.value(u"q"_s), m_mailbox);
    const QMap<QString, QString>& drafts = m_mailbox.drafts();
    const QString key = u"drafts "_s + call.value(u"q"_s);
    auto next = drafts.cbegin();
    if (call.has(u"pageToken"_s)) {
        const std::optional<GmailMailbox::Place> place = GmailAnswers::place(call.value(u"pageToken"_s), key);
        if (!place)
            refuse(GoogleError::badRequest(u"Invalid pageToken"_s));
        next = drafts.upperBound(u"r-"_s + QString::number(place->number));
    }
    QJsonArray page;
    QJsonObject answer;
    const int size = pageSize(call);
    QString last;
    for (; next != drafts.cend(); ++next) {
        const GmailMailbox::Message& draft = message(next.value());
        if (!search.matches(draft))
            continue;
        if (page.size() == size) {
            answer.insert(u"nextPageToken"_s, GmailAnswers::token(key, 0, last.sliced(2).toULongLong()));
            break;
        }
        last = next.key();
        page.append(QJsonObject{{u"id"_s, last}, {u"message"_s, GmailAnswers::reference(draft)}});
    }
    answer.insert(u"resultSizeEstimate"_s, page.size());
    if (!page.isEmpty())
        answer.insert(u"drafts"_s, page);
    return answer;
}

QJsonObject GmailService::getDraft(const GmailCall& call)
{
    const QString id = draftId(call.path.value(u"id"_s));
    const QString format = call.has(u"format"_s) ? call.value(u"format"_s) : u"full"_s;
    if (format == u"full"_s)
        refuse({501, u"The format \"full\" isn't modelled"_s, u"UNIMPLEMENTED"_s});
    return {{u"id"_s, id},
            {u"message"_s, GmailAnswers::message(message(m_mailbox.drafts().value(id)), format, {})}};
}

QJsonObject GmailService::createDraft(const GmailCall& call)
{
    const QByteArray raw = uploaded(call, false);
    const QString id = m_mailbox.createDraft(raw, thread(call.body.value(u"message"_s).toObject()));
    const GmailMailbox::Message& stored = message(m_mailbox.drafts().value(id));
    return {{u"id"_s, id},
            {u"message"_s, GmailAnswers::labelled(stored.id, stored.threadId, stored.labelIds)}};
}

QJsonObject GmailService::updateDraft(const GmailCall& call)
{
    const QByteArray raw = uploaded(call, false);
    const QString id = draftId(call.path.value(u"id"_s));
    if (call.body.contains(u"id"_s) && call.body.value(u"id"_s) != id)
        refuse(GoogleError::badRequest(u"Draft id mismatch"_s));
    m_mailbox.updateDraft(id, raw, thread(call.body.value(u"message"_s).toObject()));
    const GmailMailbox::Message& stored = message(m_mailbox.drafts().value(id));
    return {{u"id"_s, id},
            {u"message"_s, GmailAnswers::labelled(stored.id, stored.threadId, stored.labelIds)}};
}

QJsonObject GmailService::deleteDraft(const GmailCall& call)
{
    m_mailbox.removeDraft(draftId(call.path.value(u"id"_s)));
    return {};
}

QJsonObject GmailService::sendDraft(const GmailCall& call)
{
    if (!call.body.contains(u"id"_s))
        refuse(GoogleError::badRequest(u"No draft is named"_s));
    const QString draft = draftId(call.body.value(u"id"_s).toString());
    if (call.message)
        m_mailbox.updateDraft(draft, *call.message, {});
    checkMessage(message(m_mailbox.drafts().value(draft)).raw, true);
    const QString id = m_mailbox.sendDraft(draft);
    return GmailAnswers::labelled(id, message(id).threadId, message(id).labelIds);
}

} // namespace Larkhaven
