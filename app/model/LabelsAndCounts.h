#pragma once

#include "domain/Mailbox.h"
#include "model/Accounts.h"
#include "platform/Coalescer.h"

#include <QHash>
#include <QObject>

#include <exception>
#include <memory>

namespace Larkhaven {

/// The labels and the unread counts of all accounts, as their services gave them last.
///
/// For each account at most one request of a kind is running and one is waiting, however often it is asked:
/// answers come in the order of their questions, and an older one never replaces a newer one. The answer of
/// an account that was repaired or removed meanwhile is dropped. A failure leaves what was there.
///
/// Main thread. Operations hold the object weakly.
class LabelsAndCounts : public QObject {
    Q_OBJECT

public:
    /// The most labels of an account that are taken from what its service lists, its first ones: the sidebar
    /// and the menus hold an item for each.
    static constexpr qsizetype labelLimit = 10'000;

    explicit LabelsAndCounts(Accounts& accounts, QObject* parent = nullptr);

    bool hasLabels(const QUuid& accountID) const { return m_labels.contains(accountID); }
    QList<MailLabel> labels(const QUuid& accountID) const { return m_labels.value(accountID); }
    /// By `MailboxRef::id`.
    QHash<QString, qint64> counts(const QUuid& accountID) const { return m_counts.value(accountID); }

    /// Ends once an answer has come that was asked for after the call.
    Task<> loadLabels(QUuid accountID);
    Task<> loadCounts(QUuid accountID);
    /// Nothing is known of the account any more. Requests under way no longer hold up new ones.
    void forget(const QUuid& accountID);

Q_SIGNALS:
    void labelsChanged(const QUuid& accountID, const QList<MailLabel>& before);
    void countsChanged();
    /// A service has answered, or not.
    void answered(const QUuid& accountID);
    void failed(const QUuid& accountID, const std::exception_ptr& failure);

private:
    struct Requests {
        std::shared_ptr<Coalescer> labels;
        std::shared_ptr<Coalescer> counts;
    };

    Requests& requests(const QUuid& accountID);
    Task<> askForLabels(QUuid accountID);
    Task<> askForCounts(QUuid accountID);
    void tell(const QUuid& accountID, const std::exception_ptr& failure);

    Accounts& m_accounts;
    QHash<QUuid, QList<MailLabel>> m_labels;
    QHash<QUuid, QHash<QString, qint64>> m_counts;
    QHash<QUuid, Requests> m_requests;
};

} // namespace Larkhaven
