#include "model/WatchedTokens.h"

#include "domain/MailError.h"

namespace Larkhaven {

WatchedTokens::WatchedTokens(std::shared_ptr<TokenSource> tokens, std::function<void()> refused)
    : m_tokens(std::move(tokens))
    , m_refused(std::move(refused))
{}

std::shared_ptr<WatchedTokens> WatchedTokens::create(std::shared_ptr<TokenSource> tokens,
                                                     std::function<void()> refused)
{
    return std::shared_ptr<WatchedTokens>(new WatchedTokens(std::move(tokens), std::move(refused)));
}

Task<QString> WatchedTokens::validToken(bool forceRefresh)
{
    const auto self = shared_from_this();
    try {
        const QString token = co_await m_tokens->validToken(forceRefresh);
        // One that the service has refused already comes again as long as its time lasts.
        if (forceRefresh || token != m_last)
            m_isRefused = false;
        m_last = token;
        co_return QString(token);
    } catch (const MailError& error) {
        if (error.kind() == MailError::Kind::notSignedIn) {
            m_isRefused = true;
            m_refused();
        }
        throw;
    }
}

} // namespace Larkhaven
