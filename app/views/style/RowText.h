#pragma once

#include "domain/Account.h"
#include "domain/Mailbox.h"
#include "domain/Message.h"

#include <QDateTime>
#include <QString>

/// The texts of a row of the message table. Pure functions.
namespace Larkhaven::RowText {

/// Who the row is from: the name, or the addresses where it can't be trusted; in the Sent and Drafts
/// mailboxes whom it goes to, with "me" for the account's own address.
QString sender(const MessageSummary& row, const MailboxRef& mailbox, const std::optional<Account>& account);
/// The subject or "(no subject)".
QString subject(const MessageSummary& row);
/// The time of a date of today, "Yesterday", or the short date, with its year only where it isn't that of
/// `now`.
QString date(const QDateTime& date, const QDateTime& now);
/// The short form of a time, without seconds.
QString time(const QTime& time);
/// Bytes in decimal units.
QString size(qint64 bytes);

} // namespace Larkhaven::RowText
