#pragma once

#include "domain/Message.h"

#include <QList>
#include <QStringView>

#include <optional>

/// Reads the addresses of header fields in the shapes that mail has (RFC 5322, 3.4, and the obsolete form
/// with the name in a comment). Total functions without state, callable from any thread, in time linear in
/// their input.
///
/// NB: no address is validated beyond the "@" of a bare one. Comments don't protect commas, and groups aren't
/// known: what they leave behind has either no address or stands in the address as it is.
namespace Larkhaven::AddressParser {

/// The most addresses that `parseList` gives.
inline constexpr qsizetype maxAddresses = 1'000'000;

/// The addresses of a header value whose encoded words are decoded, in their order. Commas within double
/// quotes or angle brackets don't separate. Pieces without an address are dropped.
QList<EmailAddress> parseList(QStringView text);

/// The longest address that counts as one that mail can go to, in octets of UTF-8 (RFC 5321, 4.5.3.1 allows
/// 64 and 255 with an "@" between them).
inline constexpr qsizetype longestAddress = 512;

/// Whether mail can go to the address as it stands: one "@" with something on both sides, and no character
/// that means something between addresses, ends a line, isn't seen or turns the direction of the text.
/// `MessageComposer::formatAddress` writes such an address unchanged.
bool isSendable(QStringView address);

/// One address; absent where there is none.
///
///     address = [ name ] "<" text ">"  /  text "(" name ")"  /  text with "@"
std::optional<EmailAddress> parseOne(QStringView text);

} // namespace Larkhaven::AddressParser
