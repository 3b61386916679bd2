#pragma once

#include "protocols/IMAPResponse.h"

#include <QHash>
#include <QList>
#include <QString>

#include <optional>

namespace Larkhaven {

/// Where copies of messages lie, as a server tells in the response code COPYUID (RFC 4315, 3).
///
/// What is moved by it must be those messages and no others, so it is read strictly: anything out of place
/// makes it none. Pure functions; callable from any thread.
struct IMAPCopyUID {
    /// The most messages that are read.
    static constexpr qsizetype messageLimit = 1000;

    qint64 uidValidity = 0; ///< of the target, 1 to 2^32 - 1
    QHash<qint64, qint64>
        copies; ///< UIDs in the target by those in the source; both 1 to 2^32 - 1, each once

    /// Reads a response code with its brackets, "[COPYUID 38505 304,319:320 3956:3958]"; absent where it is
    /// anything else, holds more than `messageLimit` messages, or sets of different sizes, or a UID twice.
    static std::optional<IMAPCopyUID> parse(const QString& code);
    /// The code in the answer to a command that copied these messages, the response that ended it included;
    /// absent where there is none, or another one beside it, or it isn't of exactly these.
    static std::optional<IMAPCopyUID> find(const QList<IMAPResponse>& responses, const QList<qint64>& uids);

    bool operator==(const IMAPCopyUID&) const = default;
};

} // namespace Larkhaven
