#include "auth/TokenManager.h"

#include "domain/MailError.h"
#include "platform/Tasks.h"

namespace Larkhaven {

TokenManager::TokenManager(QUuid accountID, OAuthClient client, std::shared_ptr<SecretStore> store)
    : m_accountID(accountID)
    , m_client(std::move(client))
    , m_store(std::move(store))
{}

std::shared_ptr<TokenManager> TokenManager::create(QUuid accountID, OAuthClient client,
                                                   std::shared_ptr<SecretStore> store)
{
    return std::shared_ptr<TokenManager>(new TokenManager(accountID, std::move(client), std::move(store)));
}

std::optional<QString> TokenManager::known() const
{
    return m_cached && m_cached->isValid(leeway) ? std::optional(m_cached->accessToken) : std::nullopt;
}

Task<QString> TokenManager::validToken(bool forceRefresh)
{
    const auto self = shared_from_this();
    if (m_retired.stop_requested())
        throw MailError::cancelled();
    if (const std::optional<QString> token = known(); token && !forceRefresh)
        co_return QString(*token);
    // The one under way counts for whoever comes meanwhile, and so does any later one.
    const quint64 wanted = m_isObtaining ? m_begun : m_begun + 1;
    const Turnstile::Turn turn = co_await m_turnstile.enter();
    if (m_retired.stop_requested())
        throw MailError::cancelled();
    // A token from the store is none to who was refused.
    const bool isAnswered = m_ended >= wanted && (m_last.hasAskedService || !forceRefresh);
    if (!isAnswered) {
        const quint64 number = ++m_begun;
        m_isObtaining = true;
        const Outcome outcome = co_await obtain(forceRefresh);
        m_isObtaining = false;
        m_ended = number;
        m_last = outcome;
    }
    if (m_last.failure)
        std::rethrow_exception(m_last.failure);
    co_return QString(m_last.token);
}

Task<TokenManager::Outcome> TokenManager::obtain(bool forceRefresh)
{
    Outcome outcome;
    try {
        if (!m_cached)
            co_await load();
        if (forceRefresh || !known()) {
            outcome.hasAskedService = true;
            co_await refresh();
        }
        outcome.token = m_cached->accessToken;
    } catch (...) {
        outcome.failure = std::current_exception();
    }
    co_return outcome;
}

Task<> TokenManager::load()
{
    // A keyring that can't be asked is a failure of its own, and no sign-in that is gone.
    const auto find = [store = m_store, accountID = m_accountID] { return store->find(accountID); };
    const std::optional<Credential> stored = co_await runOnWorker(find);
    if (stored && stored->tokens())
        m_cached = *stored->tokens();
}

Task<> TokenManager::refresh()
{
    if (!m_cached || !m_cached->refreshToken)
        throw MailError::notSignedIn();
    const QString refreshToken = *m_cached->refreshToken;
    const TokenSet tokens = co_await m_client.refresh(refreshToken, m_retired.get_token());
    if (m_retired.stop_requested())
        throw MailError::cancelled();
    m_cached = tokens;
    const auto save = [store = m_store, accountID = m_accountID, tokens] {
        store->save(Credential::oauth(tokens), accountID);
    };
    co_await runOnWorker(save);
}

Task<> TokenManager::retire()
{
    const auto self = shared_from_this();
    m_retired.request_stop();
    const Turnstile::Turn turn = co_await m_turnstile.enter();
}

} // namespace Larkhaven
