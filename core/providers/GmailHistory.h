#pragma once

#include "providers/GmailSyncState.h"

#include <QJsonArray>

/// What the Gmail API tells of the history of a mailbox (reference of the Gmail API v1, `users.history`).
namespace Larkhaven::GmailHistory {

/// Applies the records of one answer to the state, in their order; what is missing or of another type is
/// passed over. Linear in the records and in the labels of the messages that they name: what they say of one
/// message is gathered and applied once. Main thread.
void apply(const QJsonArray& records, GmailSyncState& state);

} // namespace Larkhaven::GmailHistory
