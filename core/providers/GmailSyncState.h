#pragma once

#include "domain/Message.h"
#include "providers/RowStore.h"

#include <QHash>
#include <QSet>

#include <memory>
#include <optional>

namespace Larkhaven {

/// The local picture of a Gmail mailbox: the rows that are known, and the position in the server's history up
/// to which their labels are true. Kept across launches by `RowStore`.
///
/// The newest word wins. Whoever asks the server for a message's labels, or changes them, holds a `Look`
/// meanwhile: what was applied since it began is laid over the answer. A row whose labels can't be known from
/// that, or from the history, is unconfirmed: they are to be read anew when it is shown.
///
/// Main thread; whoever waits for an operation keeps the object alive.
class GmailSyncState {
public:
    using Summaries = QHash<QString, MessageSummary>;

    /// A request for labels of messages that is under way.
    class Look {
    public:
        Look(GmailSyncState& state, QList<QString> ids);
        ~Look();
        Look(const Look&) = delete;
        Look& operator=(const Look&) = delete;

    private:
        friend class GmailSyncState;
        GmailSyncState& m_state;
        const QList<QString> m_ids;
        const quint64 m_since;
    };
    /// `cache` may be null.
    GmailSyncState(QUuid accountID, std::shared_ptr<MailCache> cache);

    /// Reads what is stored, once. Whoever relies on the state does so first.
    Task<> load();

    std::optional<QString> historyId() const;
    void setHistoryId(const QString& id);
    /// The position behind changes that nobody has told of, as where the last one has expired, or there was
    /// none: what is known is unconfirmed.
    void setBaseline(const QString& id);

    /// Those of the ids that are known.
    Summaries summaries(const QList<QString>& ids) const;
    /// Takes the row of an answer to the look; it goes again where the message was deleted meanwhile.
    void store(MessageSummary summary, const Look& look);
    /// Takes the labels of an answer to the look, which confirms the row.
    void confirm(const QString& id, const QList<QString>& labelIDs, const Look& look);
    bool isUnconfirmed(const QString& id) const;
    /// The message is gone.
    void remove(const QString& id);
    /// Labels that were added to and removed from messages, as the history has it; a message that isn't known
    /// stays so.
    void apply(const QList<QString>& ids, const QList<QString>& add, const QList<QString>& remove);
    /// The same for a change of ours that the server has taken while the look was held. What the history has
    /// told of these messages meanwhile may be older or newer, which leaves them unconfirmed.
    void apply(const QList<QString>& ids, const QList<QString>& add, const QList<QString>& remove,
               const Look& look);

private:
    enum class Source { ourChange, history };
    struct Change {
        quint64 number = 0;
        QList<QString> add = {};
        QList<QString> remove = {};
        Source source = Source::history;
        bool isDeletion = false;
        /// Of ours, and the history has told of the message meanwhile: which of the two is newer isn't known.
        bool isOvertaken = false;
    };

    void note(const QString& id, Change change);
    /// What was applied to the message since the look began.
    QList<Change> changesSince(const QString& id, const Look& look) const;
    void applyTo(const QString& id, const Change& change);

    const QUuid m_accountID;
    RowStore m_rows;
    QHash<QString, int> m_looks;            ///< how many are at a message
    QHash<QString, QList<Change>> m_recent; ///< of those messages
    quint64 m_changes = 0;
    quint64 m_baseline = 0; ///< number of the change that the last one was
};

} // namespace Larkhaven
