#include "model/KnownSecret.h"

namespace Larkhaven {

KnownSecret::KnownSecret(std::shared_ptr<SecretStore> secrets, std::optional<Credential> known)
    : m_secrets(std::move(secrets))
    , m_known(std::move(known))
{}

std::optional<Credential> KnownSecret::load(const QUuid&)
{
    const std::scoped_lock lock(m_lock);
    return m_known;
}

void KnownSecret::save(const Credential& credential, const QUuid& accountID)
{
    m_secrets->save(credential, accountID);
    const std::scoped_lock lock(m_lock);
    m_known = credential;
}

void KnownSecret::remove(const QUuid& accountID)
{
    m_secrets->remove(accountID);
    const std::scoped_lock lock(m_lock);
    m_known.reset();
}

} // namespace Larkhaven
