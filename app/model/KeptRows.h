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

/// The page of the mailbox; absent where none is kept, or none that can be read. Rows that name another
/// account than `accountID` make it unreadable. Main thread; the work is done on workers.
Task<std::optional<Page>> read(std::shared_ptr<MailCache> cache, QUuid accountID, MailboxRef ref);
/// Keeps the page in place of an earlier one.
Task<> write(std::shared_ptr<MailCache> cache, MailboxRef ref, Page page);

} // namespace Larkhaven::KeptRows
