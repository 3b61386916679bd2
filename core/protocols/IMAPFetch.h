#pragma once

#include "protocols/IMAPValue.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include <optional>

namespace Larkhaven {

/// The body of one FETCH response (RFC 3501, 7.4.2).
struct IMAPFetch {
    std::optional<qint64> uid;
    QList<QString> flags;                ///< as the server wrote them
    bool hasFlags = false;               ///< whether the server told the flags at all
    std::optional<QString> internalDate; ///< unparsed
    QHash<QString, IMAPValue> items;     ///< everything else by its name in capitals; of doubles the last
    std::optional<QByteArray> body;      ///< of the first item whose name begins with "BODY["

    IMAPFetch() = default;
    /// Reads the values inside the parentheses in pairs; a lone last one is ignored.
    explicit IMAPFetch(const QList<IMAPValue>& list);
};

} // namespace Larkhaven
