#pragma once

#include "domain/Account.h"
#include "protocols/MailAuth.h"
#include "protocols/MailTransport.h"

#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>

/// Proves a set of server settings before an account is stored with them.
namespace Larkhaven::ConnectionTrial {

/// The server that is asked.
enum class Server {
    incoming, ///< IMAP
    outgoing, ///< SMTP submission
};

/// Hears of each server before its connection is opened, and of none once both have accepted: what was heard
/// last is what a failure is about. Main thread.
using Progress = std::function<void(std::optional<Server>)>;

/// How long a server to which STARTTLS is spoken may say nothing before it is asked whether it expects TLS.
inline constexpr std::chrono::milliseconds greetingPatience{10'000};

/// Signs in to the IMAP server, and then to the submission server. A failure of either passes on as it is.
///
/// A server that expects TLS at once waits in silence for who waits for its greeting. Therefore a second
/// connection tries TLS where no byte has come after `patience`; if it gets a greeting, the trial ends with
/// `MailError::unsupported`, which names the right security. Whatever else comes of it, the first goes on.
///
/// A requested stop, from any thread, ends the trial at once with `MailError::cancelled`, whatever it waits
/// for: its connections are closed, one that is still being opened as soon as it is there. Main thread.
Task<> run(ServerSettings settings, MailAuth auth, TransportFactory factory, std::stop_token stop,
           Progress progress = {}, std::chrono::milliseconds patience = greetingPatience);

} // namespace Larkhaven::ConnectionTrial
