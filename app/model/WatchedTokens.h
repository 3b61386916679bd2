#pragma once

#include "domain/TokenSource.h"

#include <functional>
#include <memory>

namespace Larkhaven {

/// The tokens of an account under the eyes of whoever shows whether its sign-in still works. A listing may go
/// on from what is cached where the service refuses, and then says nothing of it. Main thread; a call keeps
/// the object alive.
class WatchedTokens final : public TokenSource, public std::enable_shared_from_this<WatchedTokens> {
public:
    /// `tokens` must not be null. `refused` is called each time that no token could be had because the grant
    /// is gone.
    static std::shared_ptr<WatchedTokens> create(std::shared_ptr<TokenSource> tokens,
                                                 std::function<void()> refused);

    Task<QString> validToken(bool forceRefresh) override;

    /// Whether the grant is gone, as far as is known: no other token has come since one couldn't be had.
    bool isRefused() const { return m_isRefused; }

private:
    WatchedTokens(std::shared_ptr<TokenSource> tokens, std::function<void()> refused);

    const std::shared_ptr<TokenSource> m_tokens;
    const std::function<void()> m_refused;
    QString m_last; ///< the token that came last
    bool m_isRefused = false;
};

} // namespace Larkhaven
