#include "auth/SecretStore.h"

namespace Larkhaven {

std::optional<Credential> InMemorySecretStore::load(const QUuid& accountID)
{
    const std::lock_guard guard(m_lock);
    const auto found = m_items.constFind(accountID);
    return found == m_items.cend() ? std::nullopt : std::optional(*found);
}

void InMemorySecretStore::save(const Credential& credential, const QUuid& accountID)
{
    const std::lock_guard guard(m_lock);
    m_items.insert(accountID, credential);
}

void InMemorySecretStore::remove(const QUuid& accountID)
{
    const std::lock_guard guard(m_lock);
    m_items.remove(accountID);
}

} // namespace Larkhaven
