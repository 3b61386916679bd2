#include "providers/GmailProvider.h"

#include "domain/MailError.h"
#include "domain/ServiceEndpoints.h"
#include "platform/TaskGroup.h"
#include "providers/GmailHistory.h"
#include "providers/GmailMessage.h"
#include "providers/GmailRequest.h"

#include <QCoreApplication>
#include <QJsonArray>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

// The provider of a Google account: listings, the rows behind them, and the history. What it changes is in
// GmailProviderChanges.cpp, what it writes in GmailProviderWriting.cpp.

namespace Larkhaven {

using GmailRequest::get;

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(GmailProvider)
};

/// The longest page of the listing and of the history that the service gives.
const QString longestPage = u"500"_s;

SecureHTTP::QueryItem fields(const QString& names)
{
    return {u"fields"_s, names};
}

/// The label that stands for a mailbox; empty for the archive, which is everything.
QString labelID(const MailboxRef& ref)
{
    namespace SystemLabel = GmailMessage::SystemLabel;
    if (const MailLabel* label = ref.label())
        return label->id;
    switch (*ref.role()) {
    case Mailbox::inbox:
        return SystemLabel::inbox;
    case Mailbox::starred:
        return SystemLabel::starred;
    case Mailbox::sent:
        return SystemLabel::sent;
    case Mailbox::drafts:
        return SystemLabel::draft;
    case Mailbox::spam:
        return SystemLabel::spam;
    case Mailbox::trash:
        return SystemLabel::trash;
    case Mailbox::archive:
        break;
    }
    return {};
}

QList<SecureHTTP::QueryItem> specification(const MailboxRef& ref, const std::optional<QString>& query)
{
    QList<SecureHTTP::QueryItem> items;
    const QString label = labelID(ref);
    if (!label.isEmpty())
        items.append({u"labelIds"_s, label});
    if (query && !query->isEmpty())
        items.append({u"q"_s, *query});
    if (ref.role() == Mailbox::spam || ref.role() == Mailbox::trash)
        items.append({u"includeSpamTrash"_s, u"true"_s});
    return items;
}

std::optional<QString> optionalText(const QJsonValue& value)
{
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

std::optional<qint64> optionalInteger(const QJsonValue& value)
{
    constexpr qint64 none = std::numeric_limits<qint64>::min();
    const qint64 number = value.toInteger(none);
    return number == none ? std::nullopt : std::optional(number);
}

} // namespace

std::shared_ptr<GmailProvider> GmailProvider::create(Account account, std::shared_ptr<TokenSource> tokens,
                                                     std::shared_ptr<MailCache> cache,
                                                     AuthorizedAPI::Sleep sleep)
{
    const QByteArray base(ServiceEndpoints::Google::gmail.data(), ServiceEndpoints::Google::gmail.size());
    return std::shared_ptr<GmailProvider>(new GmailProvider(
        std::move(account), AuthorizedAPI(base, std::move(tokens), std::move(sleep)), std::move(cache)));
}

GmailProvider::GmailProvider(Account account, AuthorizedAPI api, std::shared_ptr<MailCache> cache)
    : m_account(std::move(account))
    , m_api(std::move(api))
    , m_cache(std::move(cache))
    , m_state(m_account.id, m_cache)
    , m_syncs(Coalescer::create([this] { return sync(); }))
{}

Task<QString> GmailProvider::profileAddress(std::shared_ptr<TokenSource> tokens, std::stop_token stop)
{
    const QByteArray base(ServiceEndpoints::Google::gmail.data(), ServiceEndpoints::Google::gmail.size());
    const AuthorizedAPI api(base, tokens);
    const QJsonObject profile = co_await api.requestJSON(get("profile"), stop);
    const QString address = profile["emailAddress"_L1].toString();
    if (address.isEmpty())
        throw MailError::protocolError(Texts::tr("No email in Gmail profile"));
    co_return QString(address);
}

// --- Listing

Task<MessagePage> GmailProvider::listMessages(MailboxRef ref, std::optional<QString> query, qint64 offset,
                                              qint64 limit, bool refresh)
{
    const auto self = shared_from_this();
    co_await m_state.load();
    if (refresh)
        co_await m_syncs->request();
    // The one beyond the page tells whether there is a next one.
    const Listings::Entry entry = co_await listing(ref, query, offset + limit + 1);
    const qint64 count = entry.items.size();
    const qint64 start = std::clamp<qint64>(offset, 0, count);
    const QList<QString> ids = entry.items.sliced(start, std::clamp<qint64>(limit, 0, count - start));
    const SyncState::Summaries known = co_await completeRows(ids);
    MessagePage page;
    page.messages = co_await rows(ids, known);
    page.hasMore = count > offset + limit || !entry.exhausted;
    page.total = co_await total(ref, query, entry.estimate);
    co_return page;
}

Task<GmailProvider::Listings::Entry> GmailProvider::listing(MailboxRef ref, std::optional<QString> query,
                                                            qint64 count)
{
    const Query items = specification(ref, query);
    const Listings::Fetch fetch = [this, items](std::optional<QString> continuation) {
        return fetchPage(items, std::move(continuation));
    };
    Listings::Entry entry =
        co_await m_index.ensure(ref.id() + u'|' + query.value_or(QString()), count, fetch);
    co_return entry;
}

Task<GmailProvider::Listings::Page> GmailProvider::fetchPage(Query specification,
                                                             std::optional<QString> continuation)
{
    Query query{{u"maxResults"_s, longestPage}, fields(u"messages/id,nextPageToken,resultSizeEstimate"_s)};
    if (continuation)
        query.append({u"pageToken"_s, *continuation});
    const QJsonObject answer = co_await m_api.requestJSON(get("messages", query + specification));
    Listings::Page page;
    const QJsonArray messages = answer["messages"_L1].toArray();
    for (const auto message : messages) {
        const QString id = message["id"_L1].toString();
        if (!id.isEmpty())
            page.items.append(id);
    }
    page.next = optionalText(answer["nextPageToken"_L1]);
    page.estimate = optionalInteger(answer["resultSizeEstimate"_L1]);
    co_return page;
}

GmailProvider::Lacking GmailProvider::lacking(const QList<QString>& ids) const
{
    const SyncState::Summaries known = m_state.summaries(ids);
    Lacking lacking;
    QSet<QString> seen;
    for (const QString& id : ids) {
        if (seen.contains(id))
            continue;
        seen.insert(id);
        if (!known.contains(id))
            lacking.rows.append(id);
        else if (m_state.isUnconfirmed(id))
            lacking.labels.append(id);
    }
    return lacking;
}

Task<GmailProvider::SyncState::Summaries> GmailProvider::completeRows(QList<QString> ids)
{
    Lacking wanted = lacking(ids);
    if (wanted.rows.isEmpty() && wanted.labels.isEmpty())
        co_return m_state.summaries(ids);
    // Of two pages that share rows, the second finds them.
    const Turnstile::Turn turn = co_await m_rowTurn.enter();
    wanted = lacking(ids);
    const auto fetch = [this](QString id, std::stop_token stop) { return fetchRow(id, std::move(stop)); };
    co_await inGroup(wanted.rows, readingWidth, fetch);
    const auto confirm = [this](QString id, std::stop_token stop) { return confirmRow(id, std::move(stop)); };
    // Those that can't be read wait for the next time that they are shown.
    co_await settled(inGroup(wanted.labels, readingWidth, confirm));
    co_return m_state.summaries(ids);
}

Task<> GmailProvider::fetchRow(QString id, std::stop_token stop)
{
    const SyncState::Look look(m_state, {id});
    const Query query{{u"format"_s, u"metadata"_s},
                      {u"metadataHeaders"_s, u"From"_s},
                      {u"metadataHeaders"_s, u"To"_s},
                      {u"metadataHeaders"_s, u"Subject"_s},
                      {u"metadataHeaders"_s, u"Date"_s}};
    const QByteArray path = "messages/" + GmailRequest::escaped(id);
    const Outcome<QJsonObject> answer = co_await settled(m_api.requestJSON(get(path, query), stop));
    // It was deleted since the listing was read.
    if (answer.failure && GmailRequest::isNotFound(answer.failure))
        co_return;
    if (answer.failure)
        std::rethrow_exception(answer.failure);
    MessageSummary summary = GmailMessage::summary(*answer.value, m_account.id);
    if (summary.id == id)
        m_state.store(std::move(summary), look);
}

Task<> GmailProvider::confirmRow(QString id, std::stop_token stop)
{
    const SyncState::Look look(m_state, {id});
    const Query query{{u"format"_s, u"minimal"_s}, fields(u"id,labelIds"_s)};
    const QByteArray path = "messages/" + GmailRequest::escaped(id);
    const Outcome<QJsonObject> answer = co_await settled(m_api.requestJSON(get(path, query), stop));
    if (answer.failure && GmailRequest::isNotFound(answer.failure)) {
        m_state.remove(id);
        co_return;
    }
    if (answer.failure)
        std::rethrow_exception(answer.failure);
    if ((*answer.value)["id"_L1].toString() == id)
        m_state.confirm(id, GmailMessage::strings((*answer.value)["labelIds"_L1]), look);
}

Task<QList<MessageSummary>> GmailProvider::rows(QList<QString> ids, SyncState::Summaries known)
{
    const auto hasUnknownLabel = [this](const MessageSummary& summary) {
        const QStringList labels = GmailMessage::labelsIn(summary.mailbox);
        return std::ranges::any_of(labels, [this](const QString& id) { return !m_labelNames.contains(id); });
    };
    // Without their names the rows are still worth showing.
    if (std::ranges::any_of(std::as_const(known), hasUnknownLabel))
        co_await settled(listLabels());
    QList<MessageSummary> rows;
    for (const QString& id : std::as_const(ids)) {
        // Taken out, so that a listing that names a message twice shows it once.
        MessageSummary summary = known.take(id);
        if (summary.id.isEmpty())
            continue;
        const QStringList labels = GmailMessage::labelsIn(summary.mailbox);
        if (!labels.isEmpty()) {
            QStringList names;
            for (const QString& label : labels) {
                if (m_labelNames.contains(label))
                    names.append(m_labelNames.value(label));
            }
            summary.mailbox = names.isEmpty() ? GmailMessage::mailboxText({}) : names.join(u", ");
        }
        rows.append(summary);
    }
    co_return rows;
}

Task<std::optional<qint64>> GmailProvider::total(MailboxRef ref, std::optional<QString> query,
                                                 std::optional<qint64> estimate)
{
    std::optional<qint64> total = estimate;
    if (query && !query->isEmpty())
        co_return total;
    const QString label = labelID(ref);
    const QByteArray path = label.isEmpty() ? "profile" : "labels/" + GmailRequest::escaped(label);
    const Query asked{fields(u"messagesTotal"_s)};
    const Outcome<QJsonObject> answer = co_await settled(m_api.requestJSON(get(path, asked)));
    const std::optional<qint64> counted =
        answer.value ? optionalInteger((*answer.value)["messagesTotal"_L1]) : std::nullopt;
    if (counted && *counted >= 0)
        total = counted;
    co_return total;
}

Task<qint64> GmailProvider::lastPageOffset(MailboxRef ref, std::optional<QString> query, qint64 pageSize)
{
    const auto self = shared_from_this();
    const Listings::Entry entry = co_await listing(ref, query, std::numeric_limits<qint64>::max());
    const qint64 count = entry.items.size();
    co_return count > 0 && pageSize >= 1 ? (count - 1) / pageSize* pageSize : 0;
}

// --- The history

Task<> GmailProvider::sync()
{
    bool hasChanged = false;
    try {
        if (m_state.historyId()) {
            hasChanged = co_await followHistory();
        } else {
            co_await takeBaseline();
            hasChanged = true;
        }
    } catch (const std::exception&) {
        // A listing goes on from what is known.
    }
    if (hasChanged)
        m_index.clear();
}

Task<bool> GmailProvider::followHistory()
{
    bool hasChanged = false;
    bool isWhole = false;
    QString position = *m_state.historyId();
    const QString start = position;
    std::optional<QString> token;
    for (int page = 0; page < mostPages; ++page) {
        Query query{{u"startHistoryId"_s, start}, {u"maxResults"_s, longestPage}};
        if (token)
            query.append({u"pageToken"_s, *token});
        const Outcome<QJsonObject> answer = co_await settled(m_api.requestJSON(get("history", query)));
        if (answer.failure && GmailRequest::isNotFound(answer.failure)) {
            co_await takeBaseline();
            co_return true;
        }
        if (answer.failure)
            std::rethrow_exception(answer.failure);
        const QJsonArray records = (*answer.value)["history"_L1].toArray();
        GmailHistory::apply(records, m_state);
        hasChanged = hasChanged || !records.isEmpty();
        position = optionalText((*answer.value)["historyId"_L1]).value_or(position);
        const std::optional<QString> next = optionalText((*answer.value)["nextPageToken"_L1]);
        isWhole = !next;
        if (isWhole || next == token)
            break;
        token = next;
    }
    // What stands on pages that weren't read is never told again.
    if (isWhole)
        m_state.setHistoryId(position);
    else
        m_state.setBaseline(position);
    co_return hasChanged || !isWhole;
}

Task<> GmailProvider::takeBaseline()
{
    const Query query{fields(u"historyId"_s)};
    const QJsonObject profile = co_await m_api.requestJSON(get("profile", query));
    const QString position = profile["historyId"_L1].toString();
    if (position.isEmpty())
        throw MailError::protocolError(Texts::tr("No history in Gmail profile"));
    m_state.setBaseline(position);
}

// --- Labels and counts

Task<QList<MailLabel>> GmailProvider::allLabels()
{
    const QJsonObject answer = co_await m_api.requestJSON(get("labels"));
    QList<MailLabel> labels;
    const QJsonArray listed = answer["labels"_L1].toArray();
    for (const auto label : listed) {
        const MailLabel found{label["id"_L1].toString(), label["name"_L1].toString()};
        const bool isOwn = label["type"_L1].toString() == "user"_L1;
        if (isOwn && !found.id.isEmpty() && label["name"_L1].isString())
            labels.append(found);
    }
    for (const MailLabel& label : std::as_const(labels))
        m_labelNames.insert(label.id, label.path);
    co_return labels;
}

Task<QList<MailLabel>> GmailProvider::listLabels()
{
    const auto self = shared_from_this();
    QList<MailLabel> labels = co_await allLabels();
    std::ranges::sort(labels, isOrderedBefore);
    co_return labels;
}

Task<QJsonObject> GmailProvider::labelNumbers(QString labelID, QString names, std::stop_token stop)
{
    const Query query{fields(names)};
    QJsonObject answer =
        co_await m_api.requestJSON(get("labels/" + GmailRequest::escaped(labelID), query), stop);
    co_return answer;
}

Task<qint64> GmailProvider::inboxUnreadCount()
{
    const auto self = shared_from_this();
    const QJsonObject numbers =
        co_await labelNumbers(GmailMessage::SystemLabel::inbox, u"messagesUnread"_s, {});
    co_return numbers["messagesUnread"_L1].toInteger(0);
}

Task<QHash<QString, qint64>> GmailProvider::counts(QList<MailLabel> labels)
{
    struct Entry {
        QString key;
        QString labelID;
        QLatin1StringView number;
    };
    const auto self = shared_from_this();
    const Turnstile::Turn turn = co_await m_countTurn.enter();
    constexpr auto unread = "messagesUnread"_L1;
    QList<Entry> entries{
        {MailboxRef::system(Mailbox::inbox).id(), GmailMessage::SystemLabel::inbox, unread},
        {MailboxRef::system(Mailbox::spam).id(), GmailMessage::SystemLabel::spam, unread},
        {MailboxRef::system(Mailbox::drafts).id(), GmailMessage::SystemLabel::draft, "messagesTotal"_L1}};
    for (const MailLabel& label : std::as_const(labels))
        entries.append({MailboxRef::label(label).id(), label.id, unread});
    const auto counts = std::make_shared<QHash<QString, qint64>>();
    const auto countOne = [this, counts](Entry entry, std::stop_token stop) {
        return addCount(counts, entry.key, entry.labelID, entry.number, std::move(stop));
    };
    // What isn't counted is left out.
    co_await settled(inGroup(entries, readingWidth, countOne));
    co_return QHash<QString, qint64>(*counts);
}

Task<> GmailProvider::addCount(std::shared_ptr<QHash<QString, qint64>> counts, QString key, QString labelID,
                               QLatin1StringView number, std::stop_token stop)
{
    const Outcome<QJsonObject> numbers =
        co_await settled(labelNumbers(labelID, u"messagesUnread,messagesTotal"_s, stop));
    // The others would fail as well: each would ask for a new token, or wait as long.
    if (numbers.failure && GmailRequest::isOfAllRequests(numbers.failure))
        std::rethrow_exception(numbers.failure);
    const qint64 count = numbers.value ? (*numbers.value)[number].toInteger(0) : 0;
    if (count > 0)
        counts->insert(key, count);
}

} // namespace Larkhaven
