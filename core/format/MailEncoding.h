#pragma once

#include "format/TextEncoding.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

/// The transfer encodings, charsets and header encodings of internet mail (RFC 2045, RFC 2047, RFC 4648).
///
/// Total functions without state, callable from any thread: bad input gives degraded text or no bytes, never
/// a failure. All run in time linear in their input.
namespace Larkhaven::MailEncoding {

/// A content transfer encoding (RFC 2045, 6) that changes bytes, or `identity`: "7bit", "8bit", "binary" and
/// rubbish.
enum class TransferEncoding { identity, base64, quotedPrintable };

/// Which one a Content-Transfer-Encoding field names; white space around it and case are no difference.
TransferEncoding transferEncoding(const std::optional<QString>& name);

/// Base64 (RFC 2045, 6.8). Whatever is not of the alphabet is passed over, padding and line ends included.
/// Empty where the characters that count are 4n + 1.
QByteArray decodeBase64(QByteArrayView bytes);

/// Quoted-printable (RFC 2045, 6.7), or the "Q" encoding (RFC 2047, 4.2) with `underscoreAsSpace`. A "=" that
/// starts neither an octet nor a soft line break stands for itself. White space at the end of a line is kept.
QByteArray decodeQuotedPrintable(QByteArrayView bytes, bool underscoreAsSpace);

/// The bytes with the Content-Transfer-Encoding undone; a copy where there is nothing to undo.
QByteArray decodeTransfer(QByteArrayView bytes, TransferEncoding encoding);
QByteArray decodeTransfer(QByteArrayView bytes, const std::optional<QString>& name);

/// Base64 in lines of 76 characters, joined with CRLF; none follows the last line.
QByteArray encodeBase64Lines(QByteArrayView bytes);

/// The charset of that name: one of the common ones, else what the registry of IANA has
/// (`TextEncoding::fromRegistry`). Spaces and double quotes around the name are passed over. UTF-8 where the
/// name is absent, empty or unknown.
///
/// NB: ASCII is UTF-8. A message that declares ASCII and holds 8-bit UTF-8 reads correctly so.
TextEncoding charsetEncoding(const std::optional<QString>& name);
TextEncoding encodingNamed(QStringView name);

/// The text of the bytes: in the charset named, else in UTF-8, else in Windows-1252, whichever reads all of
/// it; else in UTF-8 with every invalid sequence repaired to U+FFFD.
QString decodeText(QByteArrayView bytes, const std::optional<QString>& charset);
QString decodeText(QByteArrayView bytes, const TextEncoding& declared);

/// Longest header value, in bytes of UTF-8, that `decodeHeader` reads whole. Of a longer one with encoded
/// words in it the first `maxHeaderCharacters` user-perceived characters are kept.
inline constexpr qsizetype maxHeaderBytes = 65'536;
inline constexpr qsizetype maxHeaderCharacters = 65'536;

/// Replaces the encoded words (RFC 2047) of a header value. White space between two of them disappears. A
/// word with an encoding other than "B" and "Q" stays as it stands; so does everything from the first
/// malformed word on.
///
/// NB: RFC 2047 wants white space around an encoded word and none inside; neither is asked for, since mail in
/// the wild breaks both. Each word is converted to text by itself.
QString decodeHeader(const QString& text);

/// The longest user-perceived character that one encoded word holds, in octets of UTF-8: no line of a message
/// has more than 998 (RFC 5322, 2.1.1).
inline constexpr qsizetype longestWordCharacter = 600;

/// A header value in ASCII: the text itself if it is ASCII, else encoded words (RFC 2047) in UTF-8 and
/// base64, each of at most 44 base64 characters of whole user-perceived characters, joined with CRLF and a
/// space. A single character that is longer than a word may be makes one of its own, up to
/// `longestWordCharacter` octets; one that is longer still is cut between its code points.
QString encodeHeader(const QString& text);

/// The text in such encoded words, also where it is ASCII.
QString encodeWords(const QString& text);

/// Base64url (RFC 4648, 5), with or without padding; "+" and "/" are taken as well. Absent where anything
/// else is in it, or where the length can't be.
std::optional<QByteArray> base64URLDecode(const QString& text);

/// Base64url without padding.
QString base64URLEncode(QByteArrayView bytes);

/// The text with each control character of ASCII (below U+0020, and U+007F) replaced by a space: fit for one
/// header line, which it can't break out of.
QString headerSafe(const QString& text);

} // namespace Larkhaven::MailEncoding
