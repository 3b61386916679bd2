#pragma once

#include "domain/MailProvider.h"

#include <QString>

namespace Larkhaven {

/// The only way to an OAuth access token of an account. Main thread.
class TokenSource {
public:
    virtual ~TokenSource() = default;

    /// A token that is good for at least another minute. `forceRefresh` is set after the service refused the
    /// last one. Fails with `MailError::notSignedIn` where none can be had any more.
    virtual Task<QString> validToken(bool forceRefresh) = 0;
};

} // namespace Larkhaven
