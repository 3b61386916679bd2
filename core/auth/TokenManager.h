#pragma once

#include "auth/OAuthClient.h"
#include "auth/SecretStore.h"
#include "domain/TokenSource.h"
#include "platform/Turnstile.h"

#include <QUuid>

#include <exception>
#include <memory>
#include <optional>
#include <stop_token>

namespace Larkhaven {

/// The tokens of one account, which renew themselves. At most one refresh runs at a time, however many ask,
/// and a new token is in the store before anybody gets it. The store is asked on a worker: a keyring may ask
/// the user first. Main thread; a call keeps the object alive.
class TokenManager final : public TokenSource, public std::enable_shared_from_this<TokenManager> {
public:
    /// A token that ends sooner is renewed before it is used.
    static constexpr std::chrono::seconds leeway{60};

    /// `store` must not be null. Reads nothing yet.
    static std::shared_ptr<TokenManager> create(QUuid accountID, OAuthClient client,
                                                std::shared_ptr<SecretStore> store);

    const QUuid& accountID() const { return m_accountID; }

    /// Fails with `MailError::notSignedIn` where there is no refresh token or the service refuses it, with an
    /// error of the store, as `OAuthClient::refresh`, and with `MailError::cancelled` once it is retired.
    Task<QString> validToken(bool forceRefresh) override;

    /// Ends its use, for an account that is removed or signed in anew: a refresh under way is given up, and
    /// nothing is stored any more once this has ended.
    Task<> retire();

private:
    /// What the last one who had the turn came by.
    struct Outcome {
        QString token;
        std::exception_ptr failure;
        bool hasAskedService = false;
    };

    TokenManager(QUuid accountID, OAuthClient client, std::shared_ptr<SecretStore> store);

    /// The token that is known, if it is good.
    std::optional<QString> known() const;
    Task<Outcome> obtain(bool forceRefresh);
    Task<> load();
    Task<> refresh();

    const QUuid m_accountID;
    const OAuthClient m_client;
    const std::shared_ptr<SecretStore> m_store;
    std::optional<TokenSet> m_cached;
    Turnstile m_turnstile;
    quint64 m_begun = 0; ///< number of the last one who obtained a token
    bool m_isObtaining = false;
    quint64 m_ended = 0; ///< number of the one that `m_last` is of
    Outcome m_last;
    std::stop_source m_retired;
};

} // namespace Larkhaven
