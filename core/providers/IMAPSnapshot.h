#pragma once

#include "domain/Message.h"

#include <QByteArray>
#include <QHash>
#include <QString>

namespace Larkhaven {

/// What is known of one mailbox's messages.
struct IMAPBox {
    qint64 uidValidity = 0; ///< under which the UIDs are valid (RFC 3501, 2.3.1.1)
    QHash<qint64, MessageSummary> messages;

    bool operator==(const IMAPBox&) const = default;
};

/// Boxes by the wire names of their mailboxes.
using IMAPBoxes = QHash<QString, IMAPBox>;

/// The stored form of the boxes: a JSON object by wire name; a box has the keys "uidValidity" and "messages",
/// which is an object of summaries by their UIDs in decimal; "rawSenders" is 1 where any of them has a
/// sender. Pure functions for a worker.
namespace IMAPSnapshot {

/// About the most summaries that are kept over all mailboxes. Those with the date of the last one kept stay
/// as well.
inline constexpr qsizetype summaryLimit = 20'000;

/// Fails with `DecodingError`. Summaries whose id isn't the one of their UID, box and mailbox are left out,
/// and those with a sender that was stored without "rawSenders".
IMAPBoxes decode(const QByteArray& json);
QByteArray encode(const IMAPBoxes& boxes);

/// Drops the oldest summaries where there are more than `summaryLimit`.
void trim(IMAPBoxes& boxes);

} // namespace IMAPSnapshot

} // namespace Larkhaven
