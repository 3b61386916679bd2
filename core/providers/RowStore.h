#pragma once

#include "platform/Turnstile.h"
#include "providers/RowBoxes.h"
#include "store/MailCache.h"

#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

namespace Larkhaven {

/// The rows that an account's service is known to have, kept across launches in a sealed log of the account's
/// cache.
///
/// Nobody waits for a change to be stored: changes are gathered and written `gathering` after the first one,
/// and when the store goes. A process that is killed loses no more than those. What is stored is only a
/// cache: a failure to read it leaves the store empty, and one to write it is made up for by the next write.
///
/// Main thread; whoever waits for `load` keeps the store alive.
class RowStore {
public:
    /// About the most rows that are kept over all boxes.
    static constexpr qsizetype rowLimit = 20'000;
    static constexpr std::chrono::milliseconds gathering{2000};

    /// What happens to rows with the date of the last one that is kept.
    enum class Ties { stay, goBeyondTheLimit };

    /// Rows of the form in which they were stored before there were logs. Runs on a worker and fails with
    /// `LocalizedError`.
    using Import = std::function<RowBoxes(const QByteArray& snapshot)>;

    /// `name` is that of the log, and of the snapshot before it. `cache` may be null: then nothing is kept
    /// across launches.
    RowStore(std::shared_ptr<MailCache> cache, QString name, Ties ties);
    ~RowStore();
    RowStore(const RowStore&) = delete;
    RowStore& operator=(const RowStore&) = delete;

    /// Reads what is stored, once. Whoever changes the rows or relies on them does so first.
    Task<> load(Import import);

    const RowBoxes& boxes() const { return m_boxes; }
    /// Null where it isn't known.
    const RowBox* box(const QString& name) const;
    const PackedRow* row(const QString& box, const QByteArray& key) const;

    /// An empty box, in the place of any that there is.
    void makeBox(const QString& name, const QByteArray& note);
    void dropBox(const QString& name);
    void setNote(const QString& box, const QByteArray& note);
    /// Into a box that is made where there is none, as is the one of a note.
    void put(const QString& box, const QByteArray& key, const PackedRow& row);
    /// Nothing happens to what isn't known.
    void setState(const QString& box, const QByteArray& key, const QByteArray& state);
    /// Drops the rows of the box for which `isGone` holds.
    void removeIf(const QString& box, const std::function<bool(const QByteArray& key)>& isGone);
    void remove(const QString& box, const QByteArray& key);

    /// Writes what has changed, at once.
    void save();

private:
    void changed();
    void trim();

    RowBox& madeBox(const QString& name);

    const std::shared_ptr<MailCache> m_cache;
    const QString m_name;
    const Ties m_ties;
    RowBoxes m_boxes;
    RowRecords::Changes m_changes;
    quint64 m_owner = 0;
    bool m_isWholeWanted = false; ///< what is stored isn't what the changes go on from
    bool m_isLoaded = false;
    QTimer m_saving;
    Turnstile m_turn;
};

} // namespace Larkhaven
