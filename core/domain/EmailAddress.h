#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

namespace Larkhaven {

/// A mail address with its optional display name (RFC 5322, 3.4).
struct EmailAddress {
    EmailAddress() = default;
    /// Trims white space and line ends from both; a name left empty becomes absent.
    EmailAddress(const std::optional<QString>& name, const QString& address);

    std::optional<QString> name;
    QString address;

    /// The name if there is one, otherwise what stands before the first "@" of the address.
    QString displayName() const;

    /// Fails with `DecodingError`.
    static EmailAddress fromJSON(const QJsonObject& object);
    QJsonObject toJSON() const;

    bool operator==(const EmailAddress&) const = default;
};
size_t qHash(const EmailAddress& address, size_t seed = 0);

} // namespace Larkhaven
