#pragma once

#include "domain/Mailbox.h"
#include "domain/Message.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QUuid>

#include <functional>
#include <optional>

namespace Larkhaven {

/// The listing on screen: the pages of one mailbox or search as the service gave them, and the changes that
/// the service is being told of, laid over them.
///
/// Rows, total and "has more" are always derived from these two, so that nothing has to be put back when the
/// service refuses a change: the change leaves, and what the service gave shows again. An accepted change
/// stays until the answer to a load has arrived that was begun after the acceptance, since an older answer
/// knows nothing of it.
///
/// Rows stay on screen while the first page of the next listing is on its way. They keep belonging to the
/// listing that they came from: no page of the next one ever holds them.
///
/// A value without waits; used on one thread.
class Listing {
public:
    /// What is listed, and in pages of which size.
    struct Key {
        QUuid accountID;
        MailboxRef ref = MailboxRef::system(Mailbox::inbox);
        std::optional<QString> query;
        int pageSize = 0;

        bool operator==(const Key&) const = default;
    };
    /// One question to the service. Of several the newest counts.
    struct Load {
        quint64 number = 0;
        quint64 listing = 0;
        int page = 0;
    };
    /// What the user did to messages of one account.
    struct Change {
        QUuid accountID;
        QSet<QString> ids;
        std::function<void(MessageSummary&)> edit; ///< empty for a removal
        /// Where a removal takes the rows from; absent: from every mailbox of the account.
        std::optional<MailboxRef> from;
    };

    /// Begins another listing, unless the key is that of this one. The rows on screen stay. Whether an
    /// earlier listing has ended.
    bool begin(const Key& key);
    /// Begins the same listing anew: no page and no total is known.
    void restart();
    /// Takes the rows off the screen.
    void clearRows();
    /// Drops the pages that were kept, but not the one on screen.
    void forgetPages();
    /// The account is gone: nothing of it stays.
    void forgetAccount(const QUuid& accountID);

    // --- Loading
    /// The load is the newest from now on.
    Load beginLoad(int page);
    /// Makes every load under way an old one.
    void dropLoads() { m_newest.number = ++m_lastLoad; }
    const Load& newest() const { return m_newest; }
    bool isNewest(const Load& load) const { return load.number == m_newest.number; }
    bool isOfThisListing(const Load& load) const { return load.listing == m_number; }
    /// Takes the answer to the newest load of this listing, and shows it.
    void take(const Load& load, const MessagePage& answer);
    /// Shows a page that was kept; whether there is one.
    bool show(int page);
    /// Shows what an earlier run of the program had of the first page, unless there is something of this
    /// listing to show.
    void showOld(const MessagePage& page);
    bool hasPage(int page) const { return m_pages.contains(page); }

    // --- Changes
    /// Lays the change over the rows; gives its number.
    quint64 lay(const Change& change);
    /// The service has made the change.
    void accept(quint64 change);
    /// The service has refused the change.
    void refuse(quint64 change);

    // --- What is on screen
    quint64 number() const { return m_number; }
    const Key& key() const { return m_key; }
    int pageIndex() const { return m_pageIndex; }
    /// Of the pages that are asked for.
    int pageSize() const { return m_key.pageSize; }
    /// The rows with all changes.
    QList<MessageSummary> rows() const;
    /// Whether the rows are those of this listing, and not of the one before.
    bool showsOwnRows() const { return m_shown && m_shownListing == m_number; }
    /// Whether the service has answered for what is shown.
    bool isAnswered() const { return showsOwnRows() && m_shown->load > 0; }
    bool hasMore() const { return showsOwnRows() && m_shown->answer.hasMore; }
    /// How many messages the listing has, where the service knows.
    std::optional<qint64> total() const;

private:
    struct Page {
        MessagePage answer;
        quint64 load = 0; ///< the load that it is the answer to; 0 for what an earlier run had
    };
    struct Total {
        qint64 count = 0;
        quint64 load = 0;
    };
    struct LaidChange {
        quint64 number = 0;
        quint64 listing = 0; ///< in which it was made
        Change change;
        /// The last load that was begun before the service had made the change; absent while it is told.
        std::optional<quint64> acceptedAfter;
    };

    static bool isUnknownTo(quint64 load, const LaidChange& laid);
    void layOver(QList<MessageSummary>& rows, const LaidChange& laid, const MailboxRef& ref) const;
    void retire(const LaidChange& laid);
    /// How many messages the wanted removals take from what the service counted.
    qint64 hiddenFromTotal(const std::function<bool(const LaidChange&)>& isWanted) const;

    Key m_key;
    quint64 m_number = 0;
    QHash<int, Page> m_pages;
    std::optional<Page> m_shown;
    quint64 m_shownListing = 0;
    Key m_shownKey;
    int m_pageIndex = 0;
    std::optional<Total> m_total;
    QList<LaidChange> m_changes; ///< in the order in which the user made them
    Load m_newest;
    quint64 m_lastLoad = 0;
    quint64 m_lastChange = 0;
};

} // namespace Larkhaven
