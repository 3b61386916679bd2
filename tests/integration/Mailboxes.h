#pragma once

#include "providers/IMAPProvider.h"

#include <QByteArray>

/// What tests look up in mailboxes.
namespace Larkhaven::Mailboxes {

/// The newest messages of a view, as the server has them now.
MessagePage list(IMAPProvider& provider, const MailboxRef& ref);
MessagePage list(IMAPProvider& provider, Mailbox role);

/// Waits until as many messages as wanted have arrived; throws if they don't.
MessagePage arrived(IMAPProvider& provider, Mailbox role, qsizetype count);

/// Waits for the one message of a mailbox; throws if there is none or another.
QByteArray onlyMessage(IMAPProvider& provider, Mailbox role);

} // namespace Larkhaven::Mailboxes
