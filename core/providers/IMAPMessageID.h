#pragma once

#include "domain/MailError.h"

#include <QList>
#include <QString>

#include <optional>

namespace Larkhaven {

/// The id of a message of an IMAP account: "{uid}.{uidValidity}:{wire name of the mailbox}", such as
/// "4711.7:INBOX". A UID is good only under the UIDVALIDITY that it was told under (RFC 3501, 2.3.1.1): under
/// another the same number may mean another message, so the id carries both. Pure values, for any thread.
struct IMAPMessageID {
    qint64 uid = 0;         ///< 1 to 2^32 - 1
    qint64 uidValidity = 0; ///< 0 where the server told none
    QString mailbox;        ///< wire name, never empty; it may hold further colons

    /// Reads an id as `text` writes it; absent for every other text.
    static std::optional<IMAPMessageID> parse(const QString& text);
    QString text() const;

    bool operator==(const IMAPMessageID&) const = default;
};

/// Messages of one mailbox.
struct IMAPMessageGroup {
    QString mailbox;
    qint64 uidValidity = 0;
    QList<qint64> uids; ///< in the order of the ids

    bool operator==(const IMAPMessageGroup&) const = default;
};

namespace IMAPMessageIDs {

bool isUID(qint64 number);

/// The messages by their mailboxes, sorted by name. Fails with `unknownMessage` where any id can't be read,
/// and with `goneFromServer` where ids of one mailbox are of different UIDVALIDITYs, one of which must be
/// old.
QList<IMAPMessageGroup> grouped(const QList<QString>& ids);

/// `protocolError` "Unknown message."
MailError unknownMessage();
/// `unsupported` "This message is no longer on the server."
MailError goneFromServer();

} // namespace IMAPMessageIDs

} // namespace Larkhaven
