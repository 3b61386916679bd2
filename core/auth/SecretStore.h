#pragma once

#include "auth/Credential.h"

#include <QHash>
#include <QUuid>

#include <mutex>
#include <optional>

namespace Larkhaven {

/// Where the credentials of accounts live, one for each account. Callable from any thread; a call may block
/// for the length of a call to the system's keychain.
class SecretStore {
public:
    virtual ~SecretStore() = default;

    /// The stored credential, or nothing. Fails with an error of the store, or `DecodingError`.
    virtual std::optional<Credential> load(const QUuid& accountID) = 0;
    /// As `load`, but nothing only where the store states that there is none: fails where it can't be asked.
    virtual std::optional<Credential> find(const QUuid& accountID) { return load(accountID); }
    /// Stores the credential, replacing what was there. Fails with an error of the store.
    virtual void save(const Credential& credential, const QUuid& accountID) = 0;
    /// Removes the credential. Removing what isn't there is no failure.
    virtual void remove(const QUuid& accountID) = 0;
};

/// Holds credentials for the length of a sign-in, before the account exists.
class InMemorySecretStore final : public SecretStore {
public:
    std::optional<Credential> load(const QUuid& accountID) override;
    void save(const Credential& credential, const QUuid& accountID) override;
    void remove(const QUuid& accountID) override;

private:
    std::mutex m_lock;
    QHash<QUuid, Credential> m_items;
};

} // namespace Larkhaven
