#pragma once

#include "domain/MailError.h"

namespace Larkhaven {

/// The `protocolError` of an answer that passes a bound of its size: less that is asked for may pass. The
/// connection is closed.
class ResponseTooLarge : public MailError {
public:
    explicit ResponseTooLarge(const QString& text)
        : MailError(protocolError(text))
    {}
};

} // namespace Larkhaven
