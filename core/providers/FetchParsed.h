#pragma once

#include "domain/MailProvider.h"
#include "format/MIMEParser.h"

#include <memory>

namespace Larkhaven {

/// `fetchRaw` of the message and its parsing on a worker, for every provider. Fails as `fetchRaw` does.
/// `provider` must not be null.
Task<ParsedMessage> fetchParsed(std::shared_ptr<MailProvider> provider, QString id);

} // namespace Larkhaven
