#pragma once

#include "auth/SecretStore.h"

#include <memory>
#include <mutex>
#include <optional>

namespace Larkhaven {

/// The credential of one account as it was read last, in front of where it is stored: whoever asks again asks
/// no keyring, which may ask the user each time. What is saved is stored first. Callable from any thread.
class KnownSecret final : public SecretStore {
public:
    /// `secrets` must not be null.
    KnownSecret(std::shared_ptr<SecretStore> secrets, std::optional<Credential> known);

    /// Never fails.
    std::optional<Credential> load(const QUuid& accountID) override;
    void save(const Credential& credential, const QUuid& accountID) override;
    void remove(const QUuid& accountID) override;

private:
    const std::shared_ptr<SecretStore> m_secrets;
    std::mutex m_lock;
    std::optional<Credential> m_known;
};

} // namespace Larkhaven
