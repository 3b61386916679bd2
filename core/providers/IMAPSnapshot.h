#pragma once

#include "providers/RowBoxes.h"

#include <QByteArray>

namespace Larkhaven {

/// What is known of the messages of an IMAP account: a box for each mailbox, by its wire name, with a row for
/// each UID and the UIDVALIDITY (RFC 3501, 2.3.1.1) under which they are valid as its note, both in decimal.
namespace IMAPRows {

QByteArray key(qint64 uid);
QByteArray note(qint64 uidValidity);
qint64 uid(const QByteArray& key);
qint64 uidValidity(const RowBox& box);

} // namespace IMAPRows

/// The form in which rows were stored before there were logs: a JSON object by wire name; a box has the keys
/// "uidValidity" and "messages", which is an object of summaries by their UIDs in decimal; "rawSenders" is 1
/// where any of them has a sender.
namespace IMAPSnapshot {

/// Fails with `DecodingError`. Summaries whose id isn't the one of their UID, box and mailbox are left out,
/// and those with a sender that was stored without "rawSenders". A pure function for a worker.
RowBoxes decode(const QByteArray& json);

} // namespace IMAPSnapshot

} // namespace Larkhaven
