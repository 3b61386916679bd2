#pragma once

#include "protocols/IMAPValue.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace Larkhaven {

/// What a FETCH response says of a message besides its UID, flags and date, by the names of the items. A view
/// of the response: it makes nothing, and each look-up costs what the response has items.
class IMAPFetchItems {
public:
    IMAPFetchItems() = default;
    explicit IMAPFetchItems(IMAPValues pairs)
        : m_pairs(std::move(pairs))
    {}

    /// The value of the item, whose name is given in capitals; of doubles the last, absent if there is none.
    std::optional<IMAPValue> value(QLatin1StringView name) const;
    bool contains(QLatin1StringView name) const { return value(name).has_value(); }
    bool isEmpty() const;

private:
    IMAPValues m_pairs;
};

/// The body of one FETCH response (RFC 3501, 7.4.2).
struct IMAPFetch {
    std::optional<qint64> uid;
    QList<QString> flags;                ///< as the server wrote them
    bool hasFlags = false;               ///< whether the server told the flags at all
    std::optional<QString> internalDate; ///< unparsed
    IMAPFetchItems items;                ///< everything else

    IMAPFetch() = default;
    /// Reads the values inside the parentheses in pairs; a lone last one is ignored.
    explicit IMAPFetch(const IMAPValues& list);

    /// The bytes of the first item whose name begins with "BODY[", copied from the response; absent if there
    /// is none.
    std::optional<QByteArray> body() const { return m_body.data(); }
    /// Whether there is such an item with bytes, which isn't copied for it.
    bool hasBody() const { return !m_body.isNil() && !m_body.isList(); }

private:
    IMAPValue m_body = IMAPValue::nil();
};

} // namespace Larkhaven
