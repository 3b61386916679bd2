#pragma once

#include "auth/OAuthClient.h"
#include "auth/SecretStore.h"
#include "domain/TokenSource.h"

#include <QUuid>

#include <memory>
#include <optional>

namespace Larkhaven {

/// The tokens of one account, which renew themselves. At most one refresh runs at a time, however many ask,
/// and a new token is in the store before anybody gets it. Main thread; a call keeps the object alive.
class TokenManager final : public TokenSource, public std::enable_shared_from_this<TokenManager> {
public:
    /// `store` must not be null. Reads nothing yet.
    static std::shared_ptr<TokenManager> create(QUuid accountID, OAuthClient client,
                                                std::shared_ptr<SecretStore> store);

    const QUuid& accountID() const { return m_accountID; }

    /// Fails with `MailError::notSignedIn` where there is no refresh token or the service refuses it, with an
    /// error of the store, and as `OAuthClient::refresh`.
    Task<QString> validToken(bool forceRefresh) override;

private:
    TokenManager(QUuid accountID, OAuthClient client, std::shared_ptr<SecretStore> store);

    QUuid m_accountID;
    OAuthClient m_client;
    std::shared_ptr<SecretStore> m_store;
    std::optional<TokenSet> m_cached;
};

} // namespace Larkhaven
