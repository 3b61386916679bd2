#pragma once

#include "domain/Mailbox.h"
#include "domain/Message.h"
#include "store/MailCache.h"

#include <QDateTime>

#include <memory>
#include <optional>

namespace Larkhaven::KeptRows {

/// The first page of a mailbox as its service gave it last, kept sealed in the account's cache, so that it
/// shows at once at the next start and without a network.
struct Page {
    MessagePage page;
    QDateTime time; ///< of the answer, in UTC

    bool operator==(const Page&) const = default;
};

/// The most rows that are kept of a mailbox, which is the largest page.
constexpr qsizetype mostRows = 100;

// Main thread; the work is done on workers. None of it keeps the cache alive: the end of the program waits
// for what a cache has begun, and for nothing after that.

/// The page of the mailbox; absent where none is kept, or none that can be read. Rows that name another
/// account than `accountID` make it unreadable.
Task<std::optional<Page>> read(MailCache& cache, const QUuid& accountID, const MailboxRef& ref);
/// Keeps the page in place of an earlier one. Pages are kept in the order of the calls.
Task<> write(MailCache& cache, const MailboxRef& ref, const Page& page);

} // namespace Larkhaven::KeptRows
