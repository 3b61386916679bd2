#pragma once

#include "domain/Account.h"
#include "protocols/MailAuth.h"
#include "protocols/MailTransport.h"

#include <stop_token>

/// Proves a set of server settings before an account is stored with them.
namespace Larkhaven::ConnectionTrial {

/// Signs in to the IMAP server, and then to the submission server. A failure of either passes on as it is.
///
/// A requested stop, from any thread, ends the trial at once with `MailError::cancelled`, whatever it waits
/// for: its connection is closed, one that is still being opened as soon as it is there. Main thread.
Task<> run(ServerSettings settings, MailAuth auth, TransportFactory factory, std::stop_token stop);

} // namespace Larkhaven::ConnectionTrial
