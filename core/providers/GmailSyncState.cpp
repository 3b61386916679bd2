#include "providers/GmailSyncState.h"

#include "domain/Coding.h"
#include "providers/GmailMessage.h"

#include <QJsonArray>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The rows have one box, whose note is the position in the history.
const QString& theBox()
{
    static const QString name = u""_s;
    return name;
}

/// Reads the form of before logs: "historyId", left out where there is none; "messages", a list of rows; and
/// "unconfirmed", a list of ids, left out where it is empty. "rawSenders" is 1 where the rows tell of senders
/// what their raw fields hold.
RowBoxes decodedSnapshot(const QByteArray& json)
{
    const QJsonObject object = Coding::object(Coding::parse(json));
    RowBox box;
    box.note = Coding::optionalString(object, "historyId"_L1).value_or(QString()).toUtf8();
    const QList<QString> unconfirmed = GmailMessage::strings(object["unconfirmed"_L1]);
    const QSet<QString> unconfirmedIDs(unconfirmed.cbegin(), unconfirmed.cend());
    const QJsonArray rows = Coding::array(object, "messages"_L1);
    for (const auto row : rows) {
        const MessageSummary summary = MessageSummary::fromJSON(Coding::object(row));
        // Stored before senders were read raw, it has lost what they pretended, and is fetched anew.
        if (object.value("rawSenders"_L1) == 1 || !summary.from)
            box.rows.insert(summary.id.toUtf8(), PackedRow::of(summary, unconfirmedIDs.contains(summary.id)));
    }
    return {{theBox(), box}};
}

/// The same with these labels.
PackedRow::State labelled(PackedRow::State state, const QList<QString>& labelIDs)
{
    MessageSummary row;
    GmailMessage::setLabels(row, labelIDs);
    return PackedRow::State::of(row, state.isUnconfirmed);
}

PackedRow::State relabelled(const PackedRow::State& state, const QList<QString>& add,
                            const QList<QString>& remove)
{
    const QSet<QString> removed(remove.cbegin(), remove.cend());
    QList<QString> labels = state.labelIDs;
    labels.removeIf([&removed](const QString& label) { return removed.contains(label); });
    return labelled(state, labels + add);
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

GmailSyncState::GmailSyncState(QUuid accountID, std::shared_ptr<MailCache> cache)
    : m_accountID(accountID)
    , m_rows(std::move(cache), u"gmail"_s, RowStore::Ties::goBeyondTheLimit)
{}

Task<> GmailSyncState::load()
{
    return m_rows.load(decodedSnapshot);
}

std::optional<QString> GmailSyncState::historyId() const
{
    const RowBox* const box = m_rows.box(theBox());
    return box && !box->note.isEmpty() ? std::optional(QString::fromUtf8(box->note)) : std::nullopt;
}

void GmailSyncState::setHistoryId(const QString& id)
{
    m_rows.setNote(theBox(), id.toUtf8());
}

void GmailSyncState::setBaseline(const QString& id)
{
    m_baseline = ++m_changes;
    setHistoryId(id);
    const QList<QByteArray> keys = m_rows.box(theBox())->rows.keys();
    for (const QByteArray& key : keys) {
        PackedRow::State state = m_rows.row(theBox(), key)->unpackedState();
        state.isUnconfirmed = true;
        m_rows.setState(theBox(), key, state.packed());
    }
}

GmailSyncState::Summaries GmailSyncState::summaries(const QList<QString>& ids) const
{
    Summaries found;
    for (const QString& id : ids) {
        if (const PackedRow* const row = m_rows.row(theBox(), id.toUtf8()))
            found.insert(id, row->summary(id, m_accountID));
    }
    return found;
}

bool GmailSyncState::isUnconfirmed(const QString& id) const
{
    const PackedRow* const row = m_rows.row(theBox(), id.toUtf8());
    return row && row->unpackedState().isUnconfirmed;
}

void GmailSyncState::store(MessageSummary summary, const Look& look)
{
    m_rows.put(theBox(), summary.id.toUtf8(), PackedRow::of(summary, isUnconfirmed(summary.id)));
    confirm(summary.id, summary.labelIDs, look);
}

void GmailSyncState::confirm(const QString& id, const QList<QString>& labelIDs, const Look& look)
{
    const PackedRow* const known = m_rows.row(theBox(), id.toUtf8());
    if (!known)
        return;
    PackedRow::State state = labelled(known->unpackedState(), labelIDs);
    // An answer may be older than the position that the history goes on from.
    state.isUnconfirmed = m_baseline > look.m_since;
    const QList<Change> meanwhile = changesSince(id, look);
    for (const Change& change : meanwhile) {
        if (change.isDeletion) {
            remove(id);
            return;
        }
        state = relabelled(state, change.add, change.remove);
        state.isUnconfirmed = state.isUnconfirmed || change.isOvertaken;
    }
    m_rows.setState(theBox(), id.toUtf8(), state.packed());
}

void GmailSyncState::remove(const QString& id)
{
    note(id, {.number = ++m_changes, .source = Source::history, .isDeletion = true});
    m_rows.remove(theBox(), id.toUtf8());
}

void GmailSyncState::applyTo(const QString& id, const Change& change)
{
    note(id, change);
    const PackedRow* const known = m_rows.row(theBox(), id.toUtf8());
    if (!known)
        return;
    PackedRow::State state = relabelled(known->unpackedState(), change.add, change.remove);
    state.isUnconfirmed = state.isUnconfirmed || change.isOvertaken;
    m_rows.setState(theBox(), id.toUtf8(), state.packed());
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

} // namespace Larkhaven
