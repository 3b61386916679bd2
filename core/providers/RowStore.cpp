#include "providers/RowStore.h"

#include "domain/LocalizedError.h"
#include "platform/Tasks.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Larkhaven {

RowStore::RowStore(std::shared_ptr<MailCache> cache, QString name, Ties ties)
    : m_cache(std::move(cache))
    , m_name(std::move(name))
    , m_ties(ties)
{
    m_saving.setSingleShot(true);
    m_saving.setInterval(gathering);
    QObject::connect(&m_saving, &QTimer::timeout, &m_saving, [this] { save(); });
}

RowStore::~RowStore()
{
    save();
}

Task<> RowStore::load(Import import)
{
    // Whoever comes while the first one reads waits for it, so that nobody works on rows that are about to be
    // replaced.
    const Turnstile::Turn turn = co_await m_turn.enter();
    if (std::exchange(m_isLoaded, true) || !m_cache)
        co_return;
    const MailCache::Log log = co_await m_cache->readLog(m_name);
    m_owner = log.owner;
    // The first log takes it away, so that it comes from a program of before logs.
    const std::optional<QByteArray> snapshot = co_await m_cache->readSnapshot(m_name);
    const auto decode = [log, snapshot, import] {
        if (snapshot)
            return import(*snapshot);
        RowBoxes boxes;
        for (const QByteArray& record : log.records)
            RowRecords::apply(boxes, record);
        return boxes;
    };
    m_isWholeWanted = snapshot.has_value();
    try {
        const RowBoxes boxes = co_await runOnWorker(decode);
        m_boxes = boxes;
    } catch (const LocalizedError&) {
        // It is only a cache: the next listing fetches anew.
        m_isWholeWanted = true;
    }
}

const RowBox* RowStore::box(const QString& name) const
{
    const auto found = m_boxes.constFind(name);
    return found == m_boxes.cend() ? nullptr : &*found;
}

const PackedRow* RowStore::row(const QString& boxName, const QByteArray& key) const
{
    const RowBox* const found = box(boxName);
    if (!found)
        return nullptr;
    const auto row = found->rows.constFind(key);
    return row == found->rows.cend() ? nullptr : &*row;
}

void RowStore::makeBox(const QString& name, const QByteArray& note)
{
    m_boxes.insert(name, {note, {}});
    m_changes.boxMade(name);
    changed();
}

void RowStore::dropBox(const QString& name)
{
    if (!m_boxes.remove(name))
        return;
    m_changes.boxGone(name);
    changed();
}

RowBox& RowStore::madeBox(const QString& name)
{
    if (!m_boxes.contains(name))
        makeBox(name, {});
    return m_boxes[name];
}

void RowStore::setNote(const QString& box, const QByteArray& note)
{
    QByteArray& known = madeBox(box).note;
    if (std::exchange(known, note) == note)
        return;
    m_changes.noteChanged(box);
    changed();
}

void RowStore::put(const QString& box, const QByteArray& key, const PackedRow& row)
{
    madeBox(box).rows.insert(key, row);
    m_changes.rowChanged(box, key);
    changed();
}

void RowStore::setState(const QString& boxName, const QByteArray& key, const QByteArray& state)
{
    const auto box = m_boxes.find(boxName);
    if (box == m_boxes.end())
        return;
    const auto row = box->rows.find(key);
    if (row == box->rows.end() || row->state == state)
        return;
    row->state = state;
    m_changes.stateChanged(boxName, key);
    changed();
}

void RowStore::removeIf(const QString& boxName, const std::function<bool(const QByteArray& key)>& isGone)
{
    const auto box = m_boxes.find(boxName);
    if (box == m_boxes.end())
        return;
    box->rows.removeIf([&](auto row) {
        if (!isGone(row.key()))
            return false;
        m_changes.rowChanged(boxName, row.key());
        changed();
        return true;
    });
}

void RowStore::remove(const QString& boxName, const QByteArray& key)
{
    const auto box = m_boxes.find(boxName);
    if (box == m_boxes.end() || !box->rows.remove(key))
        return;
    m_changes.rowChanged(boxName, key);
    changed();
}

void RowStore::changed()
{
    // From the first change on, so that changes without end don't put off the writing.
    if (m_cache && !m_saving.isActive())
        m_saving.start();
}

void RowStore::save()
{
    m_saving.stop();
    if (!m_cache || !m_isLoaded || m_changes.isEmpty())
        return;
    trim();
    const bool isWhole = std::exchange(m_isWholeWanted, false);
    const RowRecords::Changes changes = std::exchange(m_changes, {});
    m_cache->updateLog(m_name, m_owner, isWhole ? QByteArray() : changes.record(m_boxes),
                       [boxes = m_boxes] { return RowRecords::whole(boxes); });
}

void RowStore::trim()
{
    struct Dated {
        qint64 date;
        const QString* box;
        const QByteArray* key;
    };
    qsizetype count = 0;
    for (const RowBox& box : std::as_const(m_boxes))
        count += box.rows.size();
    if (count <= rowLimit)
        return;
    std::vector<Dated> rows;
    rows.reserve(static_cast<std::size_t>(count));
    for (auto box = m_boxes.cbegin(); box != m_boxes.cend(); ++box) {
        for (auto row = box->rows.cbegin(); row != box->rows.cend(); ++row)
            rows.push_back({row->date(), &box.key(), &row.key()});
    }
    const auto isNewer = [](const Dated& left, const Dated& right) { return left.date > right.date; };
    const auto lastKept = rows.begin() + (rowLimit - 1);
    std::ranges::nth_element(rows, lastKept, isNewer);
    const qint64 cutoff = lastKept->date;
    std::vector<std::pair<QString, QByteArray>> gone;
    for (auto row = lastKept + 1; row != rows.end(); ++row) {
        if (m_ties == Ties::goBeyondTheLimit || row->date < cutoff)
            gone.emplace_back(*row->box, *row->key);
    }
    for (const auto& [box, key] : gone)
        remove(box, key);
    m_saving.stop();
}

} // namespace Larkhaven
