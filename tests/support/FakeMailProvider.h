#pragma once

#include "domain/MailProvider.h"
#include "platform/Wakeup.h"

#include <exception>
#include <functional>
#include <memory>

namespace Larkhaven {

/// A mail service in memory, with a script of what goes wrong and when answers come.
///
/// Every operation is noted in `calls` as its name and its arguments, separated by blanks. Its answer and its
/// failure are settled at the moment of the call; it completes at once, or, while the operation is held, when
/// `complete` says so, in any order. A completed change is seen in later listings. Main thread.
class FakeMailProvider final : public MailProvider, public std::enable_shared_from_this<FakeMailProvider> {
public:
    static std::shared_ptr<FakeMailProvider> create(Account account);

    // --- What the service holds
    /// All rows of a mailbox, newest first; with a query, those that the search finds.
    void setListing(const MailboxRef& ref, const QList<MessageSummary>& rows, const QString& query = {});
    /// A new message comes in on top of the listing.
    void receive(const MailboxRef& ref, const MessageSummary& row, const QString& query = {});
    /// Whether pages tell how many messages the whole listing has. At first they do.
    void setTotalIsKnown(bool isKnown) { m_isTotalKnown = isKnown; }
    /// The answer of one coming `listMessages`, in the order of the calls, in place of a slice of a listing.
    void scriptPage(const MessagePage& page) { m_scriptedPages.append(page); }
    void setLabels(const QList<MailLabel>& labels) { m_labels = labels; }
    void setCounts(const QHash<QString, qint64>& counts) { m_counts = counts; }
    void setRaw(const QString& id, const QByteArray& message) { m_raw.insert(id, message); }
    /// The Message-IDs that `wasSent` finds.
    void setSentIDs(const QSet<QString>& messageIDs) { m_sentIDs = messageIDs; }
    void setThreadID(const QString& id, const QString& threadID) { m_threadIDs.insert(id, threadID); }
    void setSupportsLabels(bool isSupported) { m_supportsLabels = isSupported; }
    /// Whether what was moved can be put back. At first it can't.
    void setCanPutBack(bool isPossible) { m_canPutBack = isPossible; }

    // --- What goes wrong
    /// The next call of the operation fails.
    template <typename Error>
    void failNext(const QString& operation, const Error& error)
    {
        m_failures[operation].append(std::make_exception_ptr(error));
    }
    /// Every later call of the operation fails, until `heal`.
    template <typename Error>
    void failAlways(const QString& operation, const Error& error)
    {
        m_standingFailures.insert(operation, std::make_exception_ptr(error));
    }
    void heal() { m_standingFailures.clear(); }
    /// No later call fails.
    void forgetFailures()
    {
        m_failures.clear();
        heal();
    }

    // --- When answers come
    /// Later calls of the operation wait.
    void hold(const QString& operation) { m_held.insert(operation); }
    void stopHolding(const QString& operation) { m_held.remove(operation); }
    /// The calls that wait, in the order of their coming.
    QStringList pending() const;
    /// Lets the waiting call at the place in `pending` go on, from the event loop.
    void complete(qsizetype index);
    void completeAll();

    // --- What was asked
    const QStringList& calls() const { return m_calls; }
    QStringList calls(const QString& operation) const;
    void forgetCalls() { m_calls.clear(); }
    struct Sent {
        OutgoingMessage message;
        std::optional<QString> draftID;
    };
    const QList<Sent>& sent() const { return m_sent; }
    const QList<Sent>& savedDrafts() const { return m_savedDrafts; }
    void forgetSaved() { m_savedDrafts.clear(); }

    // --- MailProvider
    using MailProvider::saveDraft;
    using MailProvider::send;
    const Account& account() const override { return m_account; }
    Task<MessagePage> listMessages(MailboxRef ref, std::optional<QString> query, qint64 offset, qint64 limit,
                                   bool refresh) override;
    Task<qint64> lastPageOffset(MailboxRef ref, std::optional<QString> query, qint64 pageSize) override;
    Task<QList<MailLabel>> listLabels() override;
    Task<QByteArray> fetchRaw(QString id) override;
    Task<std::optional<QString>> threadID(QString id) override;
    Task<> setRead(bool read, QList<QString> ids) override;
    Task<> setStarred(bool starred, QList<QString> ids) override;
    Task<> archive(QList<QString> ids) override;
    Task<> trash(QList<QString> ids) override;
    Task<> moveToInbox(QList<QString> ids) override;
    Task<> markSpam(QList<QString> ids) override;
    Task<> moveToLabel(QList<QString> ids, MailLabel label) override;
    Task<bool> canPutBack(QList<QString> ids) override;
    Task<> putBack(QList<QString> ids) override;
    Task<> send(OutgoingMessage message, std::optional<QString> draftID) override;
    Task<bool> wasSent(QString messageID) override;
    Task<> saveDraft(OutgoingMessage message, std::optional<QString> draftID) override;
    Task<qint64> inboxUnreadCount() override;
    Task<QHash<QString, qint64>> counts(QList<MailLabel> labels) override;
    bool supportsLabels() const override { return m_supportsLabels; }
    Task<MailLabel> createLabel(QString name) override;
    Task<MailLabel> renameLabel(MailLabel label, QString newName) override;
    Task<> deleteLabel(MailLabel label) override;
    Task<> setLabel(MailLabel label, bool applied, QList<QString> ids) override;

private:
    struct Waiting {
        QString call;
        std::shared_ptr<Wakeup> wakeup;
    };

    explicit FakeMailProvider(Account account)
        : m_account(std::move(account))
    {}

    Task<> perform(QString operation, QStringList arguments);
    Task<> removing(QString operation, QList<QString> ids, QStringList arguments);
    std::exception_ptr takeFailure(const QString& operation);
    QList<MessageSummary> listing(const MailboxRef& ref, const std::optional<QString>& query) const;
    MessagePage page(const MailboxRef& ref, const std::optional<QString>& query, qint64 offset, qint64 limit);
    void change(const QList<QString>& ids, const std::function<void(MessageSummary&)>& change);

    Account m_account;
    QHash<QString, QList<MessageSummary>> m_listings; ///< by mailbox and query
    bool m_isTotalKnown = true;
    QList<MessagePage> m_scriptedPages;
    QList<MailLabel> m_labels;
    QHash<QString, qint64> m_counts;
    QHash<QString, QByteArray> m_raw;
    QHash<QString, QString> m_threadIDs;
    QSet<QString> m_sentIDs;
    bool m_supportsLabels = false;
    bool m_canPutBack = false;
    QHash<QString, QList<MessageSummary>> m_beforeRemoval; ///< the listings, before the last of them
    QHash<QString, QList<std::exception_ptr>> m_failures;
    QHash<QString, std::exception_ptr> m_standingFailures;
    QSet<QString> m_held;
    QList<Waiting> m_waiting;
    QStringList m_calls;
    QList<Sent> m_sent;
    QList<Sent> m_savedDrafts;
};

} // namespace Larkhaven
