#include "support/FakeMailProvider.h"

#include "domain/MailError.h"

#include <algorithm>
#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr std::chrono::milliseconds noTimeout{-1};

QString keyOf(const MailboxRef& ref, const QString& query)
{
    return ref.id() + u'?' + query;
}

QString word(bool value)
{
    return value ? u"true"_s : u"false"_s;
}

} // namespace

std::shared_ptr<FakeMailProvider> FakeMailProvider::create(Account account)
{
    return std::shared_ptr<FakeMailProvider>(new FakeMailProvider(std::move(account)));
}

void FakeMailProvider::setListing(const MailboxRef& ref, const QList<MessageSummary>& rows,
                                  const QString& query)
{
    m_listings.insert(keyOf(ref, query), rows);
}

void FakeMailProvider::receive(const MailboxRef& ref, const MessageSummary& row, const QString& query)
{
    m_listings[keyOf(ref, query)].prepend(row);
}

QStringList FakeMailProvider::pending() const
{
    QStringList calls;
    for (const Waiting& waiting : m_waiting)
        calls.append(waiting.call);
    return calls;
}

void FakeMailProvider::complete(qsizetype index)
{
    m_waiting.takeAt(index).wakeup->notify();
}

void FakeMailProvider::completeAll()
{
    while (!m_waiting.isEmpty())
        complete(0);
}

QStringList FakeMailProvider::calls(const QString& operation) const
{
    QStringList found;
    for (const QString& call : m_calls) {
        if (call.section(u' ', 0, 0) == operation)
            found.append(call);
    }
    return found;
}

std::exception_ptr FakeMailProvider::takeFailure(const QString& operation)
{
    QList<std::exception_ptr>& failures = m_failures[operation];
    return failures.isEmpty() ? m_standingFailures.value(operation) : failures.takeFirst();
}

Task<> FakeMailProvider::perform(QString operation, QStringList arguments)
{
    const auto self = shared_from_this();
    const QString call = (QStringList(operation) + arguments).join(u' ');
    m_calls.append(call);
    const std::exception_ptr failure = takeFailure(operation);
    if (m_held.contains(operation)) {
        const auto wakeup = std::make_shared<Wakeup>();
        m_waiting.append({call, wakeup});
        co_await wakeup->wait(noTimeout);
    }
    if (failure)
        std::rethrow_exception(failure);
}

QList<MessageSummary> FakeMailProvider::listing(const MailboxRef& ref,
                                                const std::optional<QString>& query) const
{
    return m_listings.value(keyOf(ref, query.value_or(QString())));
}

MessagePage FakeMailProvider::page(const MailboxRef& ref, const std::optional<QString>& query, qint64 offset,
                                   qint64 limit)
{
    if (!m_scriptedPages.isEmpty())
        return m_scriptedPages.takeFirst();
    const QList<MessageSummary> rows = listing(ref, query);
    MessagePage answer;
    answer.messages = rows.mid(offset, limit);
    answer.hasMore = offset + limit < rows.size();
    if (m_isTotalKnown)
        answer.total = rows.size();
    return answer;
}

void FakeMailProvider::change(const QList<QString>& ids, const std::function<void(MessageSummary&)>& change)
{
    for (QList<MessageSummary>& rows : m_listings) {
        for (MessageSummary& row : rows) {
            if (ids.contains(row.id))
                change(row);
        }
    }
}

Task<MessagePage> FakeMailProvider::listMessages(MailboxRef ref, std::optional<QString> query, qint64 offset,
                                                 qint64 limit, bool refresh)
{
    const MessagePage answer = page(ref, query, offset, limit);
    QStringList arguments{ref.id(), u"offset=%1"_s.arg(offset), u"limit=%1"_s.arg(limit),
                          u"refresh=%1"_s.arg(word(refresh))};
    if (query)
        arguments.append(u"query=%1"_s.arg(*query));
    const Task<> step = perform(u"listMessages"_s, arguments);
    co_await step;
    co_return answer;
}

Task<qint64> FakeMailProvider::lastPageOffset(MailboxRef ref, std::optional<QString> query, qint64 pageSize)
{
    const qint64 count = listing(ref, query).size();
    const qint64 offset = count == 0 || pageSize < 1 ? 0 : (count - 1) / pageSize * pageSize;
    const Task<> step = perform(u"lastPageOffset"_s, {ref.id(), u"pageSize=%1"_s.arg(pageSize)});
    co_await step;
    co_return offset;
}

Task<QList<MailLabel>> FakeMailProvider::listLabels()
{
    const QList<MailLabel> answer = m_labels;
    const Task<> step = perform(u"listLabels"_s, {});
    co_await step;
    co_return answer;
}

Task<QByteArray> FakeMailProvider::fetchRaw(QString id)
{
    const std::optional<QByteArray> answer =
        m_raw.contains(id) ? std::optional(m_raw.value(id)) : std::nullopt;
    const Task<> step = perform(u"fetchRaw"_s, {id});
    co_await step;
    if (!answer)
        throw MailError::protocolError(u"This message is no longer on the server."_s);
    co_return QByteArray(*answer);
}

Task<std::optional<QString>> FakeMailProvider::threadID(QString id)
{
    const std::optional<QString> answer =
        m_threadIDs.contains(id) ? std::optional(m_threadIDs.value(id)) : std::nullopt;
    const Task<> step = perform(u"threadID"_s, {id});
    co_await step;
    co_return answer;
}

Task<> FakeMailProvider::setRead(bool read, QList<QString> ids)
{
    const auto self = shared_from_this();
    const Task<> step = perform(u"setRead"_s, QStringList(word(read)) + ids);
    co_await step;
    change(ids, [read](MessageSummary& row) { row.isRead = read; });
}

Task<> FakeMailProvider::setStarred(bool starred, QList<QString> ids)
{
    const auto self = shared_from_this();
    const Task<> step = perform(u"setStarred"_s, QStringList(word(starred)) + ids);
    co_await step;
    change(ids, [starred](MessageSummary& row) { row.isStarred = starred; });
}

Task<> FakeMailProvider::removing(QString operation, QList<QString> ids, QStringList arguments)
{
    const auto self = shared_from_this();
    const Task<> step = perform(operation, arguments);
    co_await step;
    m_beforeRemoval = m_listings;
    for (QList<MessageSummary>& rows : m_listings)
        rows.removeIf([&ids](const MessageSummary& row) { return ids.contains(row.id); });
}

Task<> FakeMailProvider::archive(QList<QString> ids)
{
    return removing(u"archive"_s, ids, ids);
}

Task<> FakeMailProvider::trash(QList<QString> ids)
{
    return removing(u"trash"_s, ids, ids);
}

Task<> FakeMailProvider::moveToInbox(QList<QString> ids)
{
    return removing(u"moveToInbox"_s, ids, ids);
}

Task<> FakeMailProvider::markSpam(QList<QString> ids)
{
    return removing(u"markSpam"_s, ids, ids);
}

Task<> FakeMailProvider::moveToLabel(QList<QString> ids, MailLabel label)
{
    return removing(u"moveToLabel"_s, ids, QStringList(label.id) + ids);
}

Task<bool> FakeMailProvider::canPutBack(QList<QString> ids)
{
    const auto self = shared_from_this();
    const bool isPossible = m_canPutBack;
    const Task<> step = perform(u"canPutBack"_s, ids);
    co_await step;
    co_return isPossible;
}

Task<> FakeMailProvider::putBack(QList<QString> ids)
{
    const auto self = shared_from_this();
    const Task<> step = perform(u"putBack"_s, ids);
    co_await step;
    m_listings = m_beforeRemoval;
}

Task<> FakeMailProvider::send(OutgoingMessage message, std::optional<QString> draftID)
{
    const auto self = shared_from_this();
    const Task<> step = perform(u"send"_s, draftID ? QStringList(*draftID) : QStringList());
    co_await step;
    m_sent.append({message, draftID});
}

Task<bool> FakeMailProvider::wasSent(QString messageID)
{
    const auto self = shared_from_this();
    const bool answer = m_sentIDs.contains(messageID);
    const Task<> step = perform(u"wasSent"_s, {messageID});
    co_await step;
    co_return answer;
}

Task<> FakeMailProvider::saveDraft(OutgoingMessage message, std::optional<QString> draftID)
{
    const auto self = shared_from_this();
    const Task<> step = perform(u"saveDraft"_s, draftID ? QStringList(*draftID) : QStringList());
    co_await step;
    m_savedDrafts.append({message, draftID});
}

Task<qint64> FakeMailProvider::inboxUnreadCount()
{
    const qint64 answer = m_counts.value(MailboxRef::system(Mailbox::inbox).id());
    const Task<> step = perform(u"inboxUnreadCount"_s, {});
    co_await step;
    co_return answer;
}

Task<QHash<QString, qint64>> FakeMailProvider::counts(QList<MailLabel> labels)
{
    const QHash<QString, qint64> answer = m_counts;
    QStringList ids;
    for (const MailLabel& label : labels)
        ids.append(label.id);
    const Task<> step = perform(u"counts"_s, ids);
    co_await step;
    co_return answer;
}

Task<MailLabel> FakeMailProvider::createLabel(QString name)
{
    const auto self = shared_from_this();
    const Task<> step = perform(u"createLabel"_s, {name});
    co_await step;
    const MailLabel label{u"id-%1"_s.arg(name), name};
    m_labels.append(label);
    co_return label;
}

Task<MailLabel> FakeMailProvider::renameLabel(MailLabel label, QString newName)
{
    const auto self = shared_from_this();
    const Task<> step = perform(u"renameLabel"_s, {label.id, newName});
    co_await step;
    const MailLabel renamed{label.id, newName};
    std::ranges::replace(m_labels, label, renamed);
    co_return renamed;
}

Task<> FakeMailProvider::deleteLabel(MailLabel label)
{
    const auto self = shared_from_this();
    const Task<> step = perform(u"deleteLabel"_s, {label.id});
    co_await step;
    m_labels.removeAll(label);
}

Task<> FakeMailProvider::setLabel(MailLabel label, bool applied, QList<QString> ids)
{
    const auto self = shared_from_this();
    const Task<> step = perform(u"setLabel"_s, QStringList{label.id, word(applied)} + ids);
    co_await step;
    change(ids, [label, applied](MessageSummary& row) {
        row.labelIDs.removeAll(label.id);
        if (applied)
            row.labelIDs.append(label.id);
    });
}

} // namespace Larkhaven
