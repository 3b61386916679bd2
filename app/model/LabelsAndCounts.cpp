#include "model/LabelsAndCounts.h"

#include "platform/Tasks.h"

#include <QPointer>

#include <algorithm>

namespace Larkhaven {

LabelsAndCounts::LabelsAndCounts(Accounts& accounts, QObject* parent)
    : QObject(parent)
    , m_accounts(accounts)
{}

LabelsAndCounts::Requests& LabelsAndCounts::requests(const QUuid& accountID)
{
    Requests& requests = m_requests[accountID];
    if (!requests.labels) {
        const QPointer<LabelsAndCounts> self(this);
        requests.labels =
            Coalescer::create([self, accountID] { return self ? self->askForLabels(accountID) : nothing(); });
        requests.counts =
            Coalescer::create([self, accountID] { return self ? self->askForCounts(accountID) : nothing(); });
    }
    return requests;
}

Task<> LabelsAndCounts::loadLabels(QUuid accountID)
{
    return requests(accountID).labels->request();
}

Task<> LabelsAndCounts::loadCounts(QUuid accountID)
{
    return requests(accountID).counts->request();
}

Task<> LabelsAndCounts::askForLabels(QUuid accountID)
{
    const QPointer<LabelsAndCounts> self(this);
    const Accounts::Session session = m_accounts.session(accountID);
    if (!session)
        co_return;
    const Outcome<QList<MailLabel>> answer = co_await settled(session->listLabels());
    if (!self || !m_accounts.isCurrent(session))
        co_return;
    tell(accountID, answer.failure);
    if (answer.failure)
        co_return;
    const QList<MailLabel> before = m_labels.value(accountID);
    const QList<MailLabel> labels = answer.value->first(std::min(answer.value->size(), labelLimit));
    if (m_labels.contains(accountID) && before == labels)
        co_return;
    m_labels.insert(accountID, labels);
    Q_EMIT labelsChanged(accountID, before);
}

Task<> LabelsAndCounts::askForCounts(QUuid accountID)
{
    const QPointer<LabelsAndCounts> self(this);
    const Accounts::Session session = m_accounts.session(accountID);
    if (!session)
        co_return;
    const Outcome<QHash<QString, qint64>> answer = co_await settled(session->counts(labels(accountID)));
    if (!self || !m_accounts.isCurrent(session))
        co_return;
    tell(accountID, answer.failure);
    if (answer.failure)
        co_return;
    if (m_counts.value(accountID) == *answer.value)
        co_return;
    m_counts.insert(accountID, *answer.value);
    Q_EMIT countsChanged();
}

void LabelsAndCounts::tell(const QUuid& accountID, const std::exception_ptr& failure)
{
    if (failure)
        Q_EMIT failed(accountID, failure);
    else
        Q_EMIT answered(accountID);
}

void LabelsAndCounts::forget(const QUuid& accountID)
{
    m_requests.remove(accountID);
    // Nobody has to leave a label that is only no longer known.
    if (m_labels.remove(accountID))
        Q_EMIT labelsChanged(accountID, {});
    if (m_counts.remove(accountID))
        Q_EMIT countsChanged();
}

} // namespace Larkhaven
