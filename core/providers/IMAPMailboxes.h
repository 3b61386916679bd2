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
using Namespaces = IMAPClient::Namespaces;

/// Whether the wire name is that of the Inbox, which servers spell in any case (RFC 3501, 5.1).
bool isInbox(const QString& wireName);

/// Whether a mailbox of that wire name is there, and not merely a node above others.
bool contains(const Listing& mailboxes, const QString& wireName);

/// The hierarchy delimiter that the server told last; absent where it told none.
std::optional<QString> delimiter(const Listing& mailboxes);

/// The mailbox of a role: by its special-use attribute (RFC 6154), which beats any name, then by the names
/// that are in use. Inbox and starred are "INBOX".
///
/// Names count only at the top level, directly below INBOX, and in what the server calls personal: a mailbox
/// "user.bob.Sent" is another user's, and what is filed there reaches that user. Where namespaces are told,
/// nothing in another user's or a shared one counts, whatever its attributes. Of several mailboxes, those
/// that lie directly below the top level, INBOX or a personal namespace go before deeper ones.
std::optional<QString> find(Mailbox role, const Listing& mailboxes, const Namespaces& namespaces = {});

/// Whether the namespaces decide about the role: there is a mailbox that may have it by its name, or by its
/// attribute deeper than directly below INBOX, and none that surely has it.
bool isForNamespacesToTell(Mailbox role, const Listing& mailboxes);

/// The wire name under which a missing mailbox of the role is made. It is one of those by which `find` knows
/// the role, and so is never translated.
QString nameToCreate(Mailbox role);

/// The text shown for a wire name: decoded, "/" between levels, without the "INBOX" below which some servers
/// keep everything.
QString displayPath(const QString& wireName, const std::optional<QString>& delimiter);

/// The mailboxes that aren't the Inbox or another role's, nor mere nodes, in the order of labels.
QList<MailLabel> labels(const Listing& mailboxes, const Namespaces& namespaces = {});

/// Where a mailbox is made: what its wire name begins with, and what separates its levels.
struct Place {
    QString prefix;
    QString delimiter;

    bool operator==(const Place&) const = default;
};

/// Where new mailboxes belong, in the order of trial: in the personal namespace where it is told; else where
/// all others are, if that is below INBOX; else at the top level, and below INBOX where that is refused.
/// `delimiter` is the server's.
QList<Place> placesForNew(const Listing& mailboxes, const Namespaces& namespaces, const QString& delimiter);

/// Where the mailbox is.
Place placeOf(const QString& wireName, const Namespaces& namespaces, const QString& delimiter);

/// Whether the path that a user typed, in which "/" separates levels, is a name: whether anything is left of
/// it without blanks, and whether a level of it holds the server's delimiter.
enum class Naming { good, empty, holdsDelimiter };
Naming naming(const QString& path, const QString& delimiter);

/// The wire name for a path that is a name. A path that begins with the place, or with any namespace, is
/// taken for the whole of it.
QString wireName(const QString& path, const Place& place, const Namespaces& namespaces = {});

} // namespace IMAPMailboxes

} // namespace Larkhaven
