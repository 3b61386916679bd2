#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

namespace Larkhaven {

/// What an address book tells of one contact.
struct Contact {
    QString givenName;
    QString middleName;
    QString familyName;
    QString nickname;
    QString organization;
    QStringList emails; ///< as written

    bool operator==(const Contact&) const = default;
};

/// Reads the vCards of address books (RFC 6350, RFC 2426, and those of version 2.1), which come from
/// strangers. Total, pure, from any thread, linear in the text.
///
/// Only the properties N, FN, NICKNAME, ORG and EMAIL are looked at. NB: the quoted-printable encoding of
/// version 2.1 is left as it is.
namespace VCard {

/// In characters; a longer card is no card.
inline constexpr qsizetype longestCard = 4'000'000;
/// In characters; the rest of a longer value is dropped.
inline constexpr qsizetype longestValue = 1'000;
/// Addresses of one contact beyond these are dropped.
inline constexpr qsizetype mostEmails = 100;

/// The contact of the first card in the text; absent where there is none.
std::optional<Contact> parse(QStringView text);

} // namespace VCard

} // namespace Larkhaven
