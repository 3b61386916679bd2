#pragma once

#include "providers/IMAPFolders.h"
#include "providers/IMAPMessageID.h"
#include "providers/RowStore.h"

#include <QSet>

#include <limits>
#include <memory>
#include <optional>

namespace Larkhaven {

/// The listings of an account's mailboxes, and what is known of the messages in them.
///
/// Each listing asks the server for the UIDs of the whole view and fetches only what its page lacks;
/// summaries are kept across launches by `RowStore`, in boxes by mailbox. A box is dropped as soon as
/// its mailbox has another UIDVALIDITY.
///
/// What takes a client runs within a body of the connection. Main thread; whoever waits for an operation
/// keeps this, and the folders, alive.
class IMAPListings {
public:
    using Client = IMAPConnection::Client;
    /// How the rows of a page are asked for, which one failed try teaches the next.
    class Fetching {
    public:
        /// Takes note of an answer that was too large, for which a new connection is needed: half of its
        /// messages are asked for at once from now on, and of a single one only what isn't in its header.
        /// False if nothing is left to ask less of.
        bool askForLess();

    private:
        friend class IMAPListings;
        qsizetype m_groupSize = std::numeric_limits<qsizetype>::max(); ///< 1 where any header is too large
        QSet<qint64> m_headerless;                                     ///< UIDs whose headers are too large
        QList<qint64> m_underway; ///< UIDs that the answer is awaited for
    };
    struct PageRequest {
        MailboxRef ref;
        std::optional<QString> query;
        qint64 offset;
        qint64 limit;
        bool refresh;
        std::shared_ptr<Fetching> fetching; ///< the same for all tries
    };

    /// `cache` may be null.
    IMAPListings(QUuid accountID, std::shared_ptr<MailCache> cache, IMAPFolders& folders)
        : m_accountID(accountID)
        , m_folders(folders)
        , m_rows(std::move(cache), QStringLiteral("imap"), RowStore::Ties::stay)
    {}

    /// The arguments of UID SEARCH for a view. "from:" is the only operator of a query.
    static QList<IMAPArg> searchArgs(const MailboxRef& ref, const std::optional<QString>& query);

    /// Reads what is stored, once. Whoever changes the boxes or relies on them does so first.
    Task<> load();

    /// Fails with `ResponseTooLarge`; what has come until then is known to the next try.
    Task<MessagePage> page(Client client, PageRequest request);
    Task<qint64> lastOffset(Client client, MailboxRef ref, std::optional<QString> query, qint64 pageSize);

    /// Under which the messages of a mailbox are known; absent where nothing is known of it.
    std::optional<qint64> uidValidity(const QString& mailbox) const;
    /// Changes, or forgets, what is known of the messages.
    void setFlag(const QList<IMAPMessageGroup>& groups, bool PackedRow::State::*flag, bool isSet);
    void remove(const QList<IMAPMessageGroup>& groups);
    /// Forgets all that is known of a mailbox.
    void forgetMailbox(const QString& mailbox);
    /// What is known of a mailbox, and of those below it, is known of it under its new name; their messages
    /// have new ids.
    void renameMailbox(const QString& from, const QString& to, const QString& delimiter);
    /// The next page of any view asks the server for its UIDs.
    void forgetUIDs() { m_listings.clear(); }
    /// The same of the views that a flag chooses the messages of.
    void forgetStarredUIDs();

private:
    struct Listing {
        QString mailbox;
        QList<qint64> uids; ///< descending: newest first by arrival
        bool isMatched =
            false; ///< rows that aren't among them were dropped, where they are the whole mailbox
    };
    using Rows = QHash<qint64, PackedRow>; ///< by UID

    Task<Listing> listing(Client client, MailboxRef ref, std::optional<QString> query, bool refresh);
    Task<MessagePage> pageOf(Client client, PageRequest request, Listing listing);
    Task<Rows> refreshFlags(Client client, QString mailbox, Rows known);
    Task<Rows> fetchRows(Client client, QString mailbox, QList<qint64> uids,
                         std::shared_ptr<Fetching> fetching);
    /// Drops the rows of messages that a listing of the whole mailbox doesn't hold; once for each listing.
    void matchRows(const QString& key);
    /// Makes the mailbox one of this UIDVALIDITY: what is known of another is dropped.
    void beginBox(const QString& mailbox, qint64 uidValidity);
    /// Whether what is known of the mailbox is of the UIDVALIDITY of the group.
    bool isCurrent(const IMAPMessageGroup& group) const;

    const QUuid m_accountID;
    IMAPFolders& m_folders;
    QHash<QString, Listing> m_listings; ///< by "{MailboxRef::id}|{query}"
    RowStore m_rows;
};

} // namespace Larkhaven
