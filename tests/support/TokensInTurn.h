#pragma once

#include "domain/MailError.h"
#include "domain/TokenSource.h"

#include <QList>
#include <QStringList>

namespace Larkhaven {

/// Gives tokens in turn and notes how it was asked; fails with `notSignedIn` when none is left.
class TokensInTurn final : public TokenSource {
public:
    explicit TokensInTurn(QStringList tokens)
        : m_tokens(std::move(tokens))
    {}

    Task<QString> validToken(bool forceRefresh) override
    {
        asked.append(forceRefresh);
        if (m_tokens.isEmpty())
            throw MailError::notSignedIn();
        co_return m_tokens.takeFirst();
    }

    /// The `forceRefresh` of each call.
    QList<bool> asked;

private:
    QStringList m_tokens;
};

} // namespace Larkhaven
