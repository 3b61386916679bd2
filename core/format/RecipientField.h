#pragma once

#include "domain/Message.h"

#include <QList>
#include <QString>
#include <QStringView>

#include <optional>

/// The text of a field in which a user types recipients. Pure functions, callable from any thread, linear in
/// their input.
///
///     field  = [ piece ] *( ( "," / ";" / line-end ) [ piece ] )
///     piece  = [ phrase ] "<" address ">" [ comment ]  /  address [ comment ]
///     phrase = *( text / quoted-string / comment )
///
/// Within a quoted string, a comment and angle brackets nothing separates (RFC 5322, 3.2.2, 3.2.4, 3.4). One
/// that is never closed is none: it hides nobody who follows. In contrast to `AddressParser`, which takes
/// whatever it can get out of the headers of other people, nothing here is dropped and nothing is guessed.
namespace Larkhaven::RecipientField {

/// What stands between two separators.
struct Piece {
    QString text; ///< as typed, without white space around it; never empty
    /// Whom it names; absent where it isn't exactly one address with a name or without. That the address can
    /// be sent to is not said: see `AddressParser::isSendable`.
    std::optional<EmailAddress> address;

    bool operator==(const Piece&) const = default;
};

/// A field has no more pieces than these; the rest of a longer one makes one piece that is no address.
inline constexpr qsizetype mostPieces = 200'000;

/// The pieces in their order; those with nothing in them are left out.
QList<Piece> read(QStringView field);

/// What a header field of a stored draft keeps of text that is no address: base64 (RFC 4648, 4) of its UTF-8,
/// in lines of at most 76 characters, folded.
QString kept(const QString& text);

/// The text that such a field keeps. What is no base64 in it is passed over.
QString restored(const QString& value);

} // namespace Larkhaven::RecipientField
