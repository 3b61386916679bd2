#pragma once

#include "domain/EmailAddress.h"

#include <QJsonObject>
#include <QList>
#include <QString>

namespace Larkhaven {

/// Whom a message is from, by the addresses that its From fields hold before anything in them is decoded.
struct Sender {
    /// What the names of the addresses do.
    enum class Names {
        honest,
        lookLikeAnotherAddress, ///< they pretend an address that the field doesn't have
        holdHiddenCharacters,   ///< or nothing in them can be seen
    };

    QList<EmailAddress> addresses; ///< as they stand, their names decoded
    Names names = Names::honest;
    bool isClear = true; ///< one address, or one that stands for several in the Sender field

    /// Whether the names can be shown in place of the addresses.
    bool isTrusted() const { return names == Names::honest && isClear; }
    /// The name where it can be trusted, otherwise all addresses, ", " between them; empty where there are
    /// none. Not bounded beyond what the addresses are.
    QString shown() const;
    /// All addresses, ", " between them.
    QString addressText() const;

    /// Fails with `DecodingError`.
    static Sender fromJSON(const QJsonObject& object);
    QJsonObject toJSON() const;

    bool operator==(const Sender&) const = default;
};
size_t qHash(const Sender& sender, size_t seed = 0);

} // namespace Larkhaven
