#pragma once

#include "domain/Mailbox.h"
#include "protocols/IMAPClient.h"

#include <QList>
#include <QString>

#include <optional>

namespace Larkhaven {

/// How the mailboxes of an IMAP server map to roles, labels and names for the user. Pure functions.
namespace IMAPMailboxes {

using Listing = QList<IMAPClient::ListedMailbox>;

/// Whether the wire name is that of the Inbox, which servers spell in any case (RFC 3501, 5.1).
bool isInbox(const QString& wireName);

/// Whether a mailbox of that wire name is there, and not merely a node above others.
bool contains(const Listing& mailboxes, const QString& wireName);

/// The hierarchy delimiter that the server told last; absent where it told none.
std::optional<QString> delimiter(const Listing& mailboxes);

/// The mailbox of a role: by its special-use attribute (RFC 6154), which beats any name, then by the names
/// that are in use. Inbox and starred are "INBOX".
std::optional<QString> find(Mailbox role, const Listing& mailboxes);

/// The wire name under which a missing mailbox of the role is made. It is one of those by which `find` knows
/// the role, and so is never translated.
QString nameToCreate(Mailbox role);

/// The text shown for a wire name: decoded, "/" between levels, without the "INBOX" below which some servers
/// keep everything.
QString displayPath(const QString& wireName, const std::optional<QString>& delimiter);

/// The mailboxes that aren't the Inbox or another role's, nor mere nodes, in the order of labels.
QList<MailLabel> labels(const Listing& mailboxes);

/// The wire name for a path that a user typed, below "INBOX" where the server keeps everything there; absent
/// where nothing of it is left. `delimiter` is the server's.
std::optional<QString> wireName(const QString& path, const Listing& mailboxes, const QString& delimiter);

} // namespace IMAPMailboxes

} // namespace Larkhaven
