#include "model/CheckResults.h"

#include "domain/LocalizedError.h"
#include "domain/ServiceEndpoints.h"

#include <QUrl>

#include <algorithm>

namespace Larkhaven {

namespace {

QString hostOf(const Account& account)
{
    return account.server ? account.server->imapHost : QUrl(ServiceEndpoints::Google::gmail).host();
}

} // namespace

CheckResults::CheckResults(QObject* parent)
    : QObject(parent)
{}

std::optional<QString> CheckResults::failureText(const QUuid& accountID) const
{
    const auto found = std::ranges::find(m_failures, accountID, &Failure::accountID);
    return found == m_failures.end() ? std::nullopt : std::optional(found->text);
}

void CheckResults::succeed(const QUuid& accountID, Of of)
{
    if (of == Of::listing)
        m_lastChecked.insert(accountID, QDateTime::currentDateTimeUtc());
    const auto isOver = [&](const Failure& failure) {
        return failure.accountID == accountID && (of == Of::listing || failure.of == of);
    };
    if (m_failures.removeIf(isOver) > 0)
        Q_EMIT changed();
}

void CheckResults::remember(const QUuid& accountID, const QDateTime& lastChecked)
{
    const QDateTime known = m_lastChecked.value(accountID);
    if (known.isValid() && known >= lastChecked)
        return;
    m_lastChecked.insert(accountID, lastChecked);
    const auto failed = std::ranges::find(m_failures, accountID, &Failure::accountID);
    if (failed == m_failures.end())
        return;
    failed->lastChecked = lastChecked;
    Q_EMIT changed();
}

void CheckResults::fail(const Account& account, Of of, const std::exception_ptr& failure)
{
    const QString text =
        isUnreachable(failure) ? tr("Can’t reach %1.").arg(hostOf(account)) : localizedText(failure);
    const Failure failed{account.id, text, m_lastChecked.value(account.id), of};
    const auto known = std::ranges::find(m_failures, account.id, &Failure::accountID);
    if (known == m_failures.end())
        m_failures.append(failed);
    else
        *known = failed;
    Q_EMIT changed();
}

void CheckResults::forget(const QUuid& accountID)
{
    m_lastChecked.remove(accountID);
    if (m_failures.removeIf([&](const Failure& failure) { return failure.accountID == accountID; }) > 0)
        Q_EMIT changed();
}

bool CheckResults::isUnreachable(const std::exception_ptr& failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const LocalizedError& error) {
        return error.isUnreachable();
    } catch (...) {
        return false;
    }
}

} // namespace Larkhaven
