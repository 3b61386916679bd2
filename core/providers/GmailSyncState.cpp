#include "providers/GmailSyncState.h"

#include "domain/Coding.h"
#include "platform/Tasks.h"
#include "providers/GmailMessage.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <functional>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

const QString& snapshotName()
{
    static const QString name = u"gmail"_s;
    return name;
}

/// Says, with 1, that the rows tell of senders what their raw fields hold. Left out where none has a sender.
constexpr QLatin1StringView rawSenders("rawSenders");

/// The stored form: "historyId", left out where there is none; "messages", a list of rows; and "unconfirmed",
/// a list of ids, left out where it is empty.
struct Snapshot {
    std::optional<QString> historyId;
    QHash<QString, MessageSummary> messages;
    QSet<QString> unconfirmed;

    static Snapshot decode(const QByteArray& json)
    {
        const QJsonObject object = Coding::object(Coding::parse(json));
        Snapshot snapshot;
        snapshot.historyId = Coding::optionalString(object, "historyId"_L1);
        const QJsonArray rows = Coding::array(object, "messages"_L1);
        for (const auto row : rows) {
            MessageSummary summary = MessageSummary::fromJSON(Coding::object(row));
            // Stored before senders were read raw, it has lost what they pretended, and is fetched anew.
            if (object.value(rawSenders) != 1 && summary.from)
                continue;
            snapshot.messages.insert(summary.id, summary);
        }
        for (const QString& id : GmailMessage::strings(object["unconfirmed"_L1])) {
            if (snapshot.messages.contains(id))
                snapshot.unconfirmed.insert(id);
        }
        return snapshot;
    }

    QByteArray encode() const
    {
        QJsonArray rows;
        for (const MessageSummary& summary : messages)
            rows.append(summary.toJSON());
        QJsonObject object{{u"messages"_s, rows}};
        if (std::ranges::any_of(messages, [](const MessageSummary& row) { return row.from.has_value(); }))
            object.insert(rawSenders, 1);
        if (historyId)
            object.insert(u"historyId"_s, *historyId);
        if (!unconfirmed.isEmpty())
            object.insert(u"unconfirmed"_s, QJsonArray::fromStringList(unconfirmed.values()));
        return QJsonDocument(object).toJson(QJsonDocument::Compact);
    }
};

/// Drops the oldest rows until `limit` are left.
void trim(QHash<QString, MessageSummary>& messages, qsizetype limit)
{
    if (messages.size() <= limit)
        return;
    QList<std::pair<QDateTime, QString>> byDate;
    for (const MessageSummary& summary : std::as_const(messages))
        byDate.append({summary.date, summary.id});
    std::ranges::nth_element(byDate, byDate.begin() + limit, std::greater());
    for (const auto& [date, id] : byDate.sliced(limit))
        messages.remove(id);
}

} // namespace

// --- Look

GmailSyncState::Look::Look(GmailSyncState& state, QList<QString> ids)
    : m_state(state)
    , m_ids(std::move(ids))
    , m_since(state.m_changes)
{
    for (const QString& id : m_ids)
        ++m_state.m_looks[id];
}

GmailSyncState::Look::~Look()
{
    for (const QString& id : m_ids) {
        if (--m_state.m_looks[id] > 0)
            continue;
        m_state.m_looks.remove(id);
        m_state.m_recent.remove(id);
    }
}

void GmailSyncState::note(const QString& id, Change change)
{
    if (m_looks.contains(id))
        m_recent[id].append(std::move(change));
}

QList<GmailSyncState::Change> GmailSyncState::changesSince(const QString& id, const Look& look) const
{
    QList<Change> changes = m_recent.value(id);
    changes.removeIf([&look](const Change& change) { return change.number <= look.m_since; });
    return changes;
}

// --- The state

GmailSyncState::GmailSyncState(std::shared_ptr<MailCache> cache)
    : m_cache(std::move(cache))
{}

void GmailSyncState::setHistoryId(const QString& id)
{
    m_isDirty = m_isDirty || m_historyId != id;
    m_historyId = id;
}

void GmailSyncState::setBaseline(const QString& id)
{
    m_baseline = ++m_changes;
    setHistoryId(id);
    m_isDirty = m_isDirty || !m_messages.isEmpty();
    m_unconfirmed = QSet<QString>(m_messages.keyBegin(), m_messages.keyEnd());
}

void GmailSyncState::setUnconfirmed(const QString& id, bool isUnconfirmed)
{
    if (m_unconfirmed.contains(id) == isUnconfirmed)
        return;
    m_isDirty = true;
    if (isUnconfirmed)
        m_unconfirmed.insert(id);
    else
        m_unconfirmed.remove(id);
}

GmailSyncState::Summaries GmailSyncState::summaries(const QList<QString>& ids) const
{
    Summaries found;
    for (const QString& id : ids) {
        const auto known = m_messages.constFind(id);
        if (known != m_messages.cend())
            found.insert(id, *known);
    }
    return found;
}

void GmailSyncState::store(MessageSummary summary, const Look& look)
{
    const QString id = summary.id;
    const QList<QString> labelIDs = summary.labelIDs;
    m_messages.insert(id, std::move(summary));
    m_isDirty = true;
    confirm(id, labelIDs, look);
}

void GmailSyncState::confirm(const QString& id, const QList<QString>& labelIDs, const Look& look)
{
    const auto known = m_messages.find(id);
    if (known == m_messages.end())
        return;
    const QList<QString> before = known->labelIDs;
    GmailMessage::setLabels(*known, labelIDs);
    // An answer may be older than the position that the history goes on from.
    bool isUnconfirmed = m_baseline > look.m_since;
    const QList<Change> meanwhile = changesSince(id, look);
    for (const Change& change : meanwhile) {
        if (change.isDeletion) {
            remove(id);
            return;
        }
        relabel(*known, change.add, change.remove);
        isUnconfirmed = isUnconfirmed || change.isOvertaken;
    }
    m_isDirty = m_isDirty || known->labelIDs != before;
    setUnconfirmed(id, isUnconfirmed);
}

void GmailSyncState::remove(const QString& id)
{
    note(id, {.number = ++m_changes, .source = Source::history, .isDeletion = true});
    m_isDirty = m_messages.remove(id) || m_isDirty;
    m_unconfirmed.remove(id);
}

void GmailSyncState::relabel(MessageSummary& summary, const QList<QString>& add, const QList<QString>& remove)
{
    const QSet<QString> removed(remove.cbegin(), remove.cend());
    QList<QString> labels = summary.labelIDs;
    labels.removeIf([&removed](const QString& label) { return removed.contains(label); });
    GmailMessage::setLabels(summary, labels + add);
}

void GmailSyncState::applyTo(const QString& id, const Change& change)
{
    note(id, change);
    const auto known = m_messages.find(id);
    if (known == m_messages.end())
        return;
    relabel(*known, change.add, change.remove);
    m_isDirty = true;
    if (change.isOvertaken)
        setUnconfirmed(id, true);
}

void GmailSyncState::apply(const QList<QString>& ids, const QList<QString>& add, const QList<QString>& remove)
{
    ++m_changes;
    for (const QString& id : ids)
        applyTo(id, {.number = m_changes, .add = add, .remove = remove, .source = Source::history});
}

void GmailSyncState::apply(const QList<QString>& ids, const QList<QString>& add, const QList<QString>& remove,
                           const Look& look)
{
    ++m_changes;
    for (const QString& id : ids) {
        const QList<Change> meanwhile = changesSince(id, look);
        const bool isOvertaken = std::ranges::any_of(
            meanwhile, [](const Change& change) { return change.source == Source::history; });
        applyTo(id, {.number = m_changes,
                     .add = add,
                     .remove = remove,
                     .source = Source::ourChange,
                     .isOvertaken = isOvertaken});
    }
}

// --- The snapshot

Task<> GmailSyncState::load()
{
    // Whoever comes while the first one reads waits for it.
    const Turnstile::Turn turn = co_await m_turn.enter();
    if (std::exchange(m_isLoaded, true) || !m_cache)
        co_return;
    const std::optional<QByteArray> stored = co_await m_cache->readSnapshot(snapshotName());
    if (!stored)
        co_return;
    const auto decode = [json = *stored] { return Snapshot::decode(json); };
    try {
        Snapshot snapshot = co_await runOnWorker(decode);
        m_historyId = snapshot.historyId;
        m_messages = std::move(snapshot.messages);
        m_unconfirmed = std::move(snapshot.unconfirmed);
    } catch (const LocalizedError&) {
        // The snapshot is only a cache: the next listing fetches anew.
    }
}

Task<> GmailSyncState::persist()
{
    // One writer at a time: an older state must not be written over a newer one.
    const Turnstile::Turn turn = co_await m_turn.enter();
    if (!m_cache || !std::exchange(m_isDirty, false))
        co_return;
    trim(m_messages, summaryLimit);
    m_unconfirmed.removeIf([this](const QString& id) { return !m_messages.contains(id); });
    const Snapshot snapshot{m_historyId, m_messages, m_unconfirmed};
    const auto encode = [snapshot] { return snapshot.encode(); };
    const QByteArray json = co_await runOnWorker(encode);
    co_await m_cache->writeSnapshot(snapshotName(), json);
}

} // namespace Larkhaven
